# Completion of bash for hivequarry-cli: commands and options are those that the program itself names.

_hivequarry_cli() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} program=${COMP_WORDS[0]}
  local general help commands each path=()
  COMPREPLY=()
  case $before in
    --format) COMPREPLY=($(compgen -W 'text csv jsonl rpt' -- "$word")); return ;;
    --level) COMPREPLY=($(compgen -W 'fault odd note' -- "$word")); return ;;
    --as) COMPREPLY=($(compgen -W 'bodyfile tln csv jsonl plaso' -- "$word")); return ;;
  esac
  general=$("$program" --help 2>/dev/null)
  help=$general
  for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}" ''; do
    commands=$(sed -n '/^Subcommands:/,$s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")
    grep -qxF -e "$each" <<<"$commands" || continue
    path+=("$each")
    help=$("$program" "${path[@]}" --help 2>/dev/null)
  done
  if [[ $word == -* ]]; then
    commands=$(grep -ohE '^ *(-[a-z],)?--?[a-z][a-z-]*' <<<"$help"$'\n'"$general" | tr -d ' ' | tr , '\n')
  fi
  COMPREPLY=($(compgen -W "$commands" -- "$word"))
}
complete -o default -F _hivequarry_cli hivequarry-cli
