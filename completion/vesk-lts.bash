# Completion of bash for vesk-lts, which reads the files of explorations.

_vesk_lts_commands='info path convert compare page'

# _vesk_lts_options <command>
_vesk_lts_options() {
  case $1 in
    info) echo '--json --plot --help' ;;
    path) echo '--deadlock --to --label --text --error --from --json --help' ;;
    convert) echo '--to --output -o --deadlock-loops --states --force --around --radius --help' ;;
    compare) echo '--most --json --help' ;;
    page) echo '--output -o --around --radius --help' ;;
    *) echo "$_vesk_lts_commands --help --version" ;;
  esac
}

# _vesk_lts_command: the command among the words before the cursor.
_vesk_lts_command() {
  local i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case " $_vesk_lts_commands " in
      *" ${COMP_WORDS[i]} "*) echo "${COMP_WORDS[i]}"; return ;;
    esac
  done
}

# _vesk_lts_files <beginning> [<suffix>]: folders, and the files of the suffix.
_vesk_lts_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(
    if [ -n "${2-}" ]; then
      compgen -d -- "$1"
      compgen -f -X "!*$2" -- "$1"
    else
      compgen -f -- "$1"
    fi | sort -u
  )
}

# _vesk_lts_names <beginning>: folders, and the names of explorations.
_vesk_lts_names() {
  _vesk_lts_files "$1" .aut
  COMPREPLY=("${COMPREPLY[@]%.aut}")
}

# _vesk_lts <program> <word> <word before>: bash calls it with the cursor at the end of the word.
_vesk_lts() {
  local word=$2 before=$3 command
  COMPREPLY=()
  # --name=value are three words for bash.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  command=$(_vesk_lts_command)
  case $command:$before in
    convert:--to) mapfile -t COMPREPLY < <(compgen -W 'aut dot json csv' -- "$word"); return ;;
    *:--plot | *:--output | *:-o) _vesk_lts_files "$word"; return ;;
    *:--to | *:--from | *:--label | *:--text | *:--around | *:--radius | *:--most) return ;;
  esac
  if [ -z "$command" ] || [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_vesk_lts_options "$command")" -- "$word")
  else
    _vesk_lts_names "$word"
  fi
}

complete -F _vesk_lts vesk-lts
