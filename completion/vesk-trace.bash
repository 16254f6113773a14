# Completion of bash for vesk-trace, which reads traces and recordings of runs.

_vesk_trace_commands='table summary compare vcd perfetto csv sequence'

# _vesk_trace_options <command>
_vesk_trace_options() {
  local all='--output -o --strict --help'
  case $1 in
    table) echo "--only --atoms --color $all" ;;
    summary) echo "--json $all" ;;
    compare) echo "--lines --no-times $all" ;;
    vcd | perfetto) echo "$all" ;;
    csv) echo "--milliseconds --states $all" ;;
    sequence) echo "--to --most $all" ;;
    *) echo "$_vesk_trace_commands --help --version" ;;
  esac
}

# _vesk_trace_command: the command among the words before the cursor.
_vesk_trace_command() {
  local i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case " $_vesk_trace_commands " in
      *" ${COMP_WORDS[i]} "*) echo "${COMP_WORDS[i]}"; return ;;
    esac
  done
}

# _vesk_trace <program> <word> <word before>: bash calls it with the cursor at the end of the word.
_vesk_trace() {
  local word=$2 before=$3 command words=
  COMPREPLY=()
  # --name=value are three words for bash.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  command=$(_vesk_trace_command)
  case $command:$before in
    sequence:--to) words='plantuml mermaid svg' ;;
    table:--color) words='auto always never' ;;
    *:--only | *:--atoms | *:--lines | *:--most) return ;;
    *)
      if [ -z "$command" ] || { [[ $word == -* ]] && [[ $before != -o && $before != --output ]]; }; then
        words=$(_vesk_trace_options "$command")
      fi
      ;;
  esac
  if [ -n "$words" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _vesk_trace vesk-trace
