# Completion of launcher-inspect for bash.

_launcher_inspect() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  local copies="$HOME/Library/Application Support/VantuOrlixVDILauncher"
  # Bash splits --home=FOLDER into three words.
  if [ "$current" = "=" ]; then
    current=
  elif [ "$previous" = "=" ]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  COMPREPLY=()
  case $previous in
    --home | --working-directory)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      ;;
    --explain)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(cd -- "$copies" >/dev/null 2>&1 && compgen -d -- "$current")
      ;;
    --client-version) ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "--client-version --home --working-directory --explain
        --brief --json --mask --version --help" -- "$current")
      ;;
  esac
}

complete -F _launcher_inspect launcher-inspect
