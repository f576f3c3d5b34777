# shellcheck shell=sh disable=SC2154,SC3013
# steps.sh: what ./demo and ./check have in common. They source it in the top directory of the source, once they have
# set me, their name for messages, and called_from, the directory that they were started in.

# Standard input may be closed, or be a terminal that nothing here is to read from.
exec </dev/null

fail() {
  for line in "$@"; do
    printf '%s: %s\n' "$me" "$line" >&2
  done
  exit 1
}

# take_arguments "$@": sets builds, the directory that holds a build directory for each preset, "build" or what -B says.
take_arguments() {
  builds=build
  case $#:${1-} in
    0:) ;;
    2:-B) builds=$2 ;;
    *) fail "usage: ./$me [-B DIRECTORY]" ;;
  esac
  case $builds in
    '') fail "usage: ./$me [-B DIRECTORY]" ;;
    /* | build) ;;
    *) builds=$called_from/$builds ;;
  esac
}

# in_cache FILE ENTRY: the value of an entry of a CMakeCache.txt.
in_cache() { sed -n "s/^$2:[A-Z]*=//p" "$1"; }

# place PRESET: makes the build directory of a preset, unless there is one that can be used, and sets tree to it.
place() {
  tree=$builds/$1
  elsewhere="or build in another directory: ./$me -B DIRECTORY"
  if ! mkdir -p "$tree" 2>/dev/null && [ ! -d "$tree" ]; then
    fail "can't make the directory $tree: the source is read-only, or belongs to somebody else." \
      "Build in another directory: ./$me -B DIRECTORY"
  fi
  cache=$tree/CMakeCache.txt
  if ! [ -w "$tree" ] || { [ -e "$cache" ] && ! [ -w "$cache" ]; }; then
    fail "can't write to $tree: it is read-only, or another user made it." \
      "Let that user remove it (rm -r $tree), $elsewhere"
  fi
  if [ -e "$cache" ]; then
    # CMake notes whole names in there, and does not work in a directory that has another name now. (-ef is no part of
    # POSIX, but of dash, bash and busybox.)
    made_as=$(in_cache "$cache" CMAKE_CACHEFILE_DIR)
    made_for=$(in_cache "$cache" CMAKE_HOME_DIRECTORY)
    if ! [ "$made_as/CMakeCache.txt" -ef "$cache" ] || ! [ "$made_for/CMakeLists.txt" -ef CMakeLists.txt ]; then
      fail "$tree was made as $made_as, for the source in $made_for: one of them was moved or copied since." \
        "Remove it (rm -r $tree) and run ./$me again, $elsewhere"
    fi
  fi
}

# configure PRESET OPTION...: also says what went wrong, which CMake prints on standard error.
configure() {
  preset=$1
  shift
  cmake --preset "$preset" -B "$tree" "$@" >/dev/null || fail "CMake can't configure $tree, see above"
}

# build OPTION...: "--" says that there are none.
build() {
  { cmake --build "$tree" "$@" 2>&1 && echo "status 0" || echo "status $?"; } |
    tools/progress build || fail "the build failed, see above"
}
