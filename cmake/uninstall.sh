#!/bin/sh
# uninstall.sh BUILD-DIRECTORY: takes out what was installed last from this build directory, for the target "uninstall".
# Files go whatever their names are, and the directories that the installation made, as far as they are empty now.
set -u
cd "$1" || exit 1

fail() {
  printf 'uninstall: %s\n' "$1" >&2
  exit 1
}

# The installation noted DESTDIR, the prefix, and the directories that it made.
made=install_directories.txt
newline='
'
[ -f "$made" ] || fail "nothing was installed from $1"
root=$(sed -n 1p "$made")
prefix=$(sed -n 2p "$made")

# made_by_us DIRECTORY: the installation made it, or one above it.
made_by_us() {
  sed 1,2d "$made" | {
    while IFS= read -r top; do
      case $1/ in "$top"/*) return 0 ;; esac
    done
    return 1
  }
}

found=
status=0
directory=
directories=
for manifest in install_manifest.txt install_manifest_tool.txt install_manifest_development.txt; do
  [ -f "$manifest" ] || continue
  found=1
  # The last line has no line end. CMake writes a name that holds a semicolon as two lines.
  file=
  while IFS= read -r line || [ -n "$line" ]; do
    file=${file:+"$file;"}$line
    case $file in
      "$prefix"/*) ;;
      /*) case $prefix in *';'*) continue ;; esac ;;
      *) fail "$manifest lists a name that is not absolute: $file" ;;
    esac
    rm -f "$root$file" || status=1
    [ "$directory" = "$root${file%/*}" ] || directories=$directories$newline$root${file%/*}
    directory=$root${file%/*}
    file=
  done <"$manifest"
done
[ -n "$found" ] || fail "there is no list of what was installed from $1"
[ "$status" = 0 ] || fail "some files are still there; run it again once they can be removed"
printf '%s\n' "${directories#"$newline"}" | sort -ru | while IFS= read -r directory; do
  while [ -d "$directory" ] && made_by_us "$directory"; do
    rmdir "$directory" 2>/dev/null || break
    directory=${directory%/*}
  done
done
rm -f install_manifest.txt install_manifest_tool.txt install_manifest_development.txt "$made"
