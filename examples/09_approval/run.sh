#!/bin/bash
# run.sh PROGRAM: a workflow asks whether an invoice is to be paid, and waits for a file that says so. The run that waits is
# killed; the answer comes while nothing runs.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf answer log.txt question.txt flow.state.xml flow.state.xml.record
mkdir answer
touch log.txt

echo "\$ orvflow run flow.xml &"
"$program" run flow.xml 2>&1 &
process=$!
until [[ -s question.txt ]] || ! kill -0 "$process" 2>/dev/null; do sleep 0.05; done
echo "\$ cat question.txt"
cat question.txt
echo "\$ touch answer/perhaps"
touch answer/perhaps
until [[ -s log.txt ]] || ! kill -0 "$process" 2>/dev/null; do sleep 0.05; done
sleep 0.2
echo "\$ kill -KILL"
{ kill -KILL "$process"; wait "$process" || true; } 2>/dev/null
echo "\$ touch answer/yes"
touch answer/yes
echo "\$ orvflow run flow.xml"
"$program" run flow.xml 2>&1
echo "\$ cut -c 22- log.txt"
cut -c 22- log.txt
