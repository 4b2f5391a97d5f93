# In each shell: what is offered for a word of a command line. Made with the words of _shadingctl_words, whose lines are
# COMMAND|PLACE|WORDS: PLACE is an option whose value is typed, or - for names of options, or empty for arguments; @file
# and @directory stand for names of such.
_shadingctl_offer() {  # COMMAND BEFORE CURRENT: sets offered
  local place= key
  if [[ $3 == -* ]]; then place=-; fi
  for key in "$1|$2|" "$1|$place|"; do
    if [[ $_shadingctl_words == *$'\n'"$key"* ]]; then
      offered=${_shadingctl_words#*$'\n'"$key"}
      offered=${offered%%$'\n'*}
      return
    fi
  done
}
