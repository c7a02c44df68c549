#!/bin/sh
# usage: pack COMPONENTS OUT
#
# Packs the sample components below COMPONENTS into OUT, made if need be.
#
# A folder DIR/ARCHIVE with a version.info becomes OUT/DIR/ARCHIVE, packed as the name's ending says.
# A line "PATH BYTES" in its generated.txt stands for a file of noise, which makes a download worth
# watching. An archive's date is the day of the build in version.info, for the updater compares the
# two. Packing again gives the same bytes.
set -eu
export LC_ALL=C TZ=UTC # one order of the files and one clock everywhere
[ $# = 2 ] || { echo "usage: pack COMPONENTS OUT" >&2; exit 2; }
components=$(readlink -f "$1")
mkdir -p "$2"
out=$(readlink -f "$2")
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
trap 'exit 1' INT TERM

# The folder that the updater expects in an archive of this name.
component_dir() {
  case $1 in
    zeft_bsp_*) dir=${1#zeft_bsp_}; echo "${dir%%.*}" ;;
    *) echo "${1%.*}" ;;
  esac
}

generate() { # the folder of a component
  [ -e "$1/generated.txt" ] || return 0
  while read -r path bytes; do
    mkdir -p "$(dirname "$1/$path")"
    head -c "$bytes" /dev/zero |
      openssl enc -aes-128-ctr -K 5a454654 -iv 00 2>/dev/null >"$1/$path"
  done <"$1/generated.txt"
  rm "$1/generated.txt"
}

pack() { # the archive, the folder in the working directory, the date of all of it
  rm -f "$1"
  case $1 in
    *.zip) find "$2" | sort | zip -1qXy "$1" -@ ;;
    *.tar.xz) make_tar "$2" "$3" | xz -1 >"$1" ;;
    *.tar.gz) make_tar "$2" "$3" | gzip -n >"$1" ;;
    *.tar.bz2) make_tar "$2" "$3" | bzip2 >"$1" ;;
    *.tar.7z)
      make_tar "$2" "$3" >"$2.tar"
      touch -d "$3" "$2.tar"
      7z a -mx=1 "$1" "$2.tar" >/dev/null
      rm "$2.tar" ;;
    *) echo "pack: no way to pack $1" >&2; exit 1 ;;
  esac
  touch -d "$3" "$1"
}

make_tar() { # the folder, the date of all of it
  tar -c --sort=name --owner=0 --group=0 --numeric-owner --mtime="$2" "$1"
}

cd "$stage"
find "$components" -name version.info | sort | while read -r info; do
  source=${info%/*}
  archive=$out/${source#"$components/"}
  dir=$(component_dir "${source##*/}")
  date="$(sed -n 's/^build: //p' "$info" | tr . -) 12:00"

  cp -R "$source" "$dir"
  generate "$dir"
  find "$dir" -exec touch -h -d "$date" {} +
  mkdir -p "$(dirname "$archive")"
  pack "$archive" "$dir" "$date"
  rm -rf "$dir"
done
