#!/bin/sh
# import.sh FILE: takes the rows of FILE into FILE.imported, slowly, and goes on behind the last row that is whole there.
done=0
[ -e "$1.imported" ] && done=$(wc -l <"$1.imported")
tail -n +$((done + 1)) "$1" | while read -r row; do
  echo "$row,imported" >>"$1.imported"
  sleep 0.05
done
