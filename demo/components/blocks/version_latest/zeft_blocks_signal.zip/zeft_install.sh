#!/bin/sh
# Works out the sine tables on this machine and prints how far it is.
set -eu
mkdir -p tables

table() { # its number; a process of its own, and as slow as a real one would be
  sleep 0.8
  awk -v n="$1" 'BEGIN { for (i = 0; i < 256; i++) print sin(n * i / 256) }' >"tables/sine$1.txt"
}

for n in 1 2 3 4 5 6 7 8 9 10; do
  echo "table $n"
  table "$n" &
  wait $!
  printf '%3d%%\n' $((n * 10))
done
