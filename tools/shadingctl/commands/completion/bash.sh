# With --format=csv the shell hands over three words; what is typed of the last one is completed either way.
_shadingctl() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= offered= i
  if [[ $current == = ]]; then
    current=
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = COMP_CWORD - 1; i > 0; --i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then command=${COMP_WORDS[i]}; fi
  done
  _shadingctl_offer "$command" "$before" "$current"
  if [[ $offered == @* ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -A "${offered#@}" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$current")
  fi
}

complete -F _shadingctl shadingctl
