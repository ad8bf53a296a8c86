#!/bin/bash
# run.sh PROGRAM: copies two files with `orvflow`, slowly, and interrupts it on the way: by Ctrl-C, by kill -9, and by a node
# that asks for a restart. Each time the same command goes on where the workflow was. The copies lie in backup/.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf backup source started flow.state.xml
mkdir source
seq 1 100000 >source/numbers-1.txt
seq 100000 200000 >source/numbers-2.txt

# RunUntil SIGNAL: runs the workflow and sends the signal after its first checkpoint; without an argument, to its end.
RunUntil() {
  echo "\$ orvflow run flow.xml --checkpoint 0.5"
  touch started
  "$program" run flow.xml --checkpoint 0.5 2>&1 &
  local process=$! status=0
  if (($# > 0)); then
    until [[ flow.state.xml -nt started ]] || ! kill -0 "$process" 2>/dev/null; do sleep 0.05; done
    sleep 0.2
    echo "\$ kill -$1"
    kill "-$1" "$process" || true # It may have ended by itself.
  fi
  wait "$process" 2>/dev/null || status=$?
  echo "exit code $status"
}

set -m # So that Ctrl-C reaches a program in the background.
RunUntil INT
RunUntil KILL
RunUntil
RunUntil

rm started
cmp source/numbers-1.txt backup/numbers-1.txt
cmp source/numbers-2.txt backup/numbers-2.txt
echo "both copies are whole"
