#!/bin/bash
# run.sh PROGRAM: watches the folder `in` with `orvflow`; what comes is hashed, logged in log.txt and moved to `done`. The run is
# stopped, then killed; what comes while nothing runs is taken by the next one.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf in done log.txt flow.state.xml flow.state.xml.record
mkdir in done
touch log.txt

# Starts the run, waits until the log has that many lines, and ends the run by a signal.
RunUntil() {
  echo "\$ orvflow run flow.xml"
  "$program" run flow.xml 2>&1 &
  local process=$! status=0
  until (($(wc -l <log.txt) >= $1)) || ! kill -0 "$process" 2>/dev/null; do sleep 0.05; done
  sleep 0.2
  echo "\$ kill -$2"
  kill "-$2" "$process" || true
  wait "$process" 2>/dev/null || status=$?
  echo "exit code $status"
}

echo first >in/a.txt
echo second >in/b.txt
RunUntil 2 TERM
echo third >in/c.txt
RunUntil 3 KILL
echo fourth >in/d.txt
echo fifth >in/unfinished.part
RunUntil 4 TERM

echo "\$ cut -c 22-40 log.txt"
cut -c 22-40 log.txt
echo "\$ ls in done"
ls in done
