#!/usr/bin/env bash
# Installs what is missing for the named purposes, with apt-get or Homebrew, and says what that is.
# Usage: scripts/install-packages.sh PURPOSE ...
source "$(dirname "$0")/usage.sh" || exit

# One line per package: purpose, name, reason. LLVM stands for the version of llvm-version.sh. The
# others float within the system's release, which changes them only to mend them.
packages() { if [ "$(uname)" = Darwin ]; then mac_packages; else debian_packages; fi; }

# The compiler is part of Xcode's command line tools.
mac_packages() {
  cat <<'LIST'
build cmake configures the build
build ninja runs the build
build cli11 reads the arguments of launcher-inspect
build fmt lays out its text
build utf8proc tells which characters are printable, and how wide
build nlohmann-json writes its JSON
test googletest test framework
python python runs the programs that the Python package index brings
LIST
}

debian_packages() {
  cat <<'LIST'
build g++ compiles the library
build cmake configures the build
build ninja-build runs the build
build pkg-config finds the libraries of the Linux bridge
build libglib2.0-dev starts processes from inside a host without zombies or leaked descriptors
build libexpat1-dev parses property lists in XML
build libcli11-dev reads the arguments of launcher-inspect
build libfmt-dev lays out its text
build libutf8proc-dev tells which characters are printable, and how wide
build nlohmann-json3-dev writes its JSON
test googletest test framework, compiled with the flags of each build
test libplist-dev reads property lists, as an oracle
test groff-base checks the manual page
test make builds consumers of the package as CMake does by default
test zsh checks the completion for zsh
test fish checks the completion for fish
test jq runs the manual page's examples
test python3-jsonschema validates the JSON report
test strace traces what a process asks of the system
test python3 drives the launches that are disturbed from outside
python python3 runs the programs that the Python package index brings
python python3-pip fetches them
shell shellcheck static analysis of the scripts
docs doxygen makes the reference of the interfaces
packages dpkg-dev finds the libraries that a package depends on
packages lintian checks the packages
roots debootstrap makes a bare system
tidy clang-tidy-LLVM static analysis
libcxx clang-LLVM second compiler
libcxx libc++-LLVM-dev the standard library of macOS
libcxx libc++abi-LLVM-dev its runtime part
gnustep clang-LLVM compiles the bridge for macOS, which gcc cannot
gnustep gobjc the Objective-C runtime
gnustep libgnustep-base-dev Foundation, to run that bridge on Linux
gnustep libblocksruntime-dev the runtime of its completion handler
mutants bubblewrap shows the machine's files read-only to the tests of a mutant
coverage libclang-rt-LLVM-dev counts executed lines
coverage llvm-LLVM lists them
macos lld-LLVM links for macOS
macos llvm-LLVM joins the architectures and lists symbols
leaks valgrind finds memory lost or misused in programs as they ship
fuzz googletest part of the laboratory of the tests
fuzz clang-LLVM compiles the fuzz targets
fuzz libplist-dev reads property lists, as an oracle
fuzz libclang-rt-LLVM-dev libFuzzer and the sanitizers of clang
bench libbenchmark-dev micro-benchmarks with repetitions and random interleaving
bench libplist-dev reads property lists in the baseline
bench libplist-utils plistutil, which the compared scripts call
bench python3 writes the figures
bench gnuplot-nox draws the plot
bench binutils strips the library and lists its relocations
LIST
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "needs root or sudo"
    return 1
  fi
}

# Asks nothing, changes no configuration file of the user, waits for another run, and tells what apt
# says if it fails.
apt() {
  local output
  output=$(as_root flock /var/lib/apt env DEBIAN_FRONTEND=noninteractive apt-get -q \
    -o DPkg::Lock::Timeout=600 -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold \
    "$@" </dev/null 2>&1) || fail "apt-get $1 failed:"$'\n'"$(tail -n 40 <<<"$output")"
}

fail() {
  echo "install-packages.sh: $1" >&2
  exit 1
}

is_installed() {
  if [ "$(uname)" = Darwin ]; then
    brew list --versions "$1" >/dev/null
  else
    dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q '^install ok installed$'
  fi
}

install() {
  if [ "$(uname)" = Darwin ]; then
    brew install --quiet "$@"
  else
    apt update
    apt install --yes --no-install-recommends --no-remove "$@"
  fi
}

require_installer() {
  local installer=apt-get systems='Debian 12, Ubuntu 24.04 or later'
  [ "$(uname)" != Darwin ] || installer=brew systems='macOS with Homebrew'
  command -v "$installer" >/dev/null || fail "needs $installer ($systems)."
}

wrong_purpose() {
  echo "install-packages.sh: the purposes are: $(packages | cut -d ' ' -f 1 | sort -u | xargs)" >&2
  exit 2
}

[ $# -gt 0 ] || wrong_purpose
wanted=
for purpose in "$@"; do
  names=$(packages | awk -v purpose="$purpose" '$1 == purpose { print $2 }')
  [ -n "$names" ] || wrong_purpose
  wanted+=$names$'\n'
done
require_installer
if [[ $wanted == *-LLVM* ]]; then
  # A fresh system has no list of packages yet.
  scripts/llvm-version.sh >/dev/null 2>&1 || apt update
  version=$(scripts/llvm-version.sh)
  wanted=${wanted//LLVM/$version}
fi
wanted=$(sort -u <<<"$wanted")
missing=()
for package in $wanted; do
  is_installed "$package" || missing+=("$package")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
install "${missing[@]}"
