# Completion of bash for the programs that run models of the VESK engine.
#
# For a program of your own, name it after loading this file, for example in ~/.bashrc:
#
#   . /usr/share/bash-completion/completions/vesk-model
#   complete -F _vesk_model philosophers token-ring
#
# That works for ./philosophers too. Where the package bash-completion is installed, a link with the
# program's name has the same effect and is loaded when it is needed:
#
#   ln -s /usr/share/bash-completion/completions/vesk-model \
#     ~/.local/share/bash-completion/completions/philosophers

# -h and -r are left out because the engine refuses them.
_vesk_options='--execute --explore --realtime --random --quiet --trace --dfs --bfs --interactive
  --opt1 --opt2 --disable-output --output --limit --help --simout --seed -o -l -s'

# Those of the programs that inspect models, besides.
_vesk_inspect_options='--dot --json --record --why --replay --check --promises --steps --version'

# _vesk_files <beginning> [<suffix>]: folders, and the files of the suffix.
_vesk_files() {
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

# _vesk_output_names <beginning>: folders, and the names of earlier explorations.
_vesk_output_names() {
  _vesk_files "$1" .aut
  COMPREPLY=("${COMPREPLY[@]%.aut}")
}

# _vesk_operands <program> <beginning>
_vesk_operands() {
  case ${1##*/} in
    vesk-pnml | vesk-pnml-inspect) _vesk_files "$2" .pnml ;;
    *) _vesk_files "$2" ;;
  esac
}

# _vesk_model <program> <word> <word before>: bash calls it with the cursor at the end of the word.
_vesk_model() {
  local word=$2 before=$3 i options=$_vesk_options
  case $1 in *-inspect) options+=" $_vesk_inspect_options" ;; esac
  COMPREPLY=()
  # --name=value are three words for bash.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [ "${COMP_WORDS[i]}" = -- ]; then
      _vesk_operands "$1" "$word"
      return
    fi
  done
  case $before in
    -s | --simout) _vesk_files "$word" ;;
    -o | --output) _vesk_output_names "$word" ;;
    --record | --replay) _vesk_files "$word" ;;
    -l | --limit | --seed | --steps) ;;
    *)
      case $word in
        -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
        *) _vesk_operands "$1" "$word" ;;
      esac
      ;;
  esac
}

# The name under which this file was found is the name of a program.
complete -F _vesk_model "${BASH_SOURCE[0]##*/}"
