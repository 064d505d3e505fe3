# Completion of launcher-inspect for bash, also for 3.2, which has no mapfile and no compopt.

# One answer per line.
_launcher_inspect_offer() {
  local answer
  while IFS= read -r answer; do COMPREPLY+=("$answer"); done
}

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
      _launcher_inspect_offer < <(compgen -d -- "$current")
      ;;
    --explain)
      compopt -o filenames 2>/dev/null
      _launcher_inspect_offer < <(cd -- "$copies" >/dev/null 2>&1 && compgen -d -- "$current")
      ;;
    --client-version) ;;
    *)
      _launcher_inspect_offer < <(compgen -W "--client-version --home --working-directory --explain
        --brief --json --check --mask --version --help" -- "$current")
      ;;
  esac
}

complete -F _launcher_inspect launcher-inspect
