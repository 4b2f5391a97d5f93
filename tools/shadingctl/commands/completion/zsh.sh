_shadingctl() {
  local before=$words[CURRENT-1] command= offered= i
  if compset -P '--*='; then before=${IPREFIX%=}; fi
  for ((i = CURRENT - 1; i > 1; --i)); do
    if [[ $words[i] != -* ]]; then command=$words[i]; fi
  done
  _shadingctl_offer "$command" "$before" "$PREFIX"
  case $offered in
    @file) _files ;;
    @directory) _files -/ ;;
    *) compadd -- ${=offered} ;;
  esac
}

_shadingctl "$@"
