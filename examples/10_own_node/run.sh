#!/bin/bash
# run.sh PROGRAM: builds the plug-in of this folder against the installed OrvWorkFlow, and runs its workflow.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

# Show COMMAND...: the command, and what it prints.
Show() {
  echo "\$ $*"
  "$@"
}
# Build COMMAND...: the same for one that prints what differs from machine to machine, unless it fails.
Build() {
  echo "\$ $*"
  "$@" >build.txt 2>&1 || { cat build.txt; exit 1; }
}
orvflow() { "$program" "$@"; }

rm -rf build build.txt lines.txt flow.state.xml
Build cmake -B build
Build cmake --build build
Show orvflow inspect --plugin-path build LineNodes
Show orvflow run --plugin-path build flow.xml
Show cat lines.txt
