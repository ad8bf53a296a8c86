#!/bin/bash
# run.sh PROGRAM: makes a host of one's own with `orvflow new`, builds it against the installed OrvWorkFlow, stops its workflow
# after three deliveries and lets it go on in another process.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

Show() {
  echo "\$ $*"
  "$@" || echo "exit code $?"
}
# For a command that prints what differs from machine to machine, unless it fails.
Build() {
  echo "\$ $*"
  "$@" >build.txt 2>&1 || { cat build.txt; exit 1; }
}
orvflow() { "$program" "$@"; }

rm -rf TickHost build.txt
Show orvflow new host TickHost
Build cmake -S TickHost -B TickHost/build
Build cmake --build TickHost/build
cd TickHost
Show build/TickHost flow.xml 3
Show build/TickHost flow.xml
