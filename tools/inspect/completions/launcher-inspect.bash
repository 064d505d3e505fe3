# Completion of launcher-inspect for bash.

_launcher_inspect() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $previous in
    --home | --working-directory)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      ;;
    --client-version) ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "--client-version --home --working-directory --json --mask
        --version --help" -- "$current")
      ;;
  esac
}

complete -F _launcher_inspect launcher-inspect
