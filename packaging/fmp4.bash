# bash completion for fmp4: commands, their options, and file names.
_fmp4() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i
  local commands="probe info frames export package boxes verify repair serve version"
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ " $commands " == *" ${COMP_WORDS[i]} "* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  local options="--help --plugin --quiet --no-progress"
  case $command in
    "") options+=" --version" ;;
    info | boxes) options+=" --json" ;;
    verify) options+=" --decode --json" ;;
    repair) options+=" --accept-loss --dry-run" ;;
    frames) options+=" --json --from --to --count --random" ;;
    export) options+=" --video --audio --captions --channel --service --from --to --count --exact --force" ;;
    package) options+=" --output --gop --no-audio --captions --start --count --force --json" ;;
    serve) options+=" --port --json" ;;
  esac
  case $previous in
    --from | --to | --count | --random | --gop | --start | --port | --service) return ;;  # numbers
    --channel)
      mapfile -t COMPREPLY < <(compgen -W "CC1 CC2 CC3 CC4" -- "$word")
      return
      ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  elif [[ -z $command && $previous != --plugin ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -F _fmp4 fmp4
