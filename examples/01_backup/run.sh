#!/bin/bash
# run.sh PROGRAM: backs up a folder with `orvflow` and shows the end of the report. The copies lie in backup/, the report is
# report.txt, both beside this script.
#
# The folder is the system's licence texts; where there are none, one with some files is made.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

source=/usr/share/common-licenses
if [[ ! -d $source ]]; then
  source=$PWD/source
  mkdir -p "$source/more"
  for number in 1 2 3; do
    seq "$number" $((number * 1000)) >"$source/numbers-$number.txt"
  done
  : >"$source/more/empty.txt"
fi

rm -rf backup report.txt
echo "\$ orvflow run flow.xml --set /Jobs/Backup/SourceFolder=$source"
"$program" run flow.xml --set "/Jobs/Backup/SourceFolder=$source"
echo "\$ tail -n 4 report.txt"
tail -n 4 report.txt
