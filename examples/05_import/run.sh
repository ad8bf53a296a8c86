#!/bin/bash
# run.sh PROGRAM: imports three files at the same time with `orvflow`, kills it with kill -9 on the way, and lets the same
# command go on: each row is imported once.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf data log.txt flow.state.xml started
mkdir data
for name in north south west; do seq -f "$name,%g" 1 30 >data/$name.csv; done

echo "\$ orvflow run flow.xml --checkpoint 0.2"
touch started
"$program" run flow.xml --checkpoint 0.2 2>&1 &
process=$!
until [[ flow.state.xml -nt started && -e data/west.csv.imported ]] || ! kill -0 "$process" 2>/dev/null; do sleep 0.05; done
echo "\$ kill -KILL"
kill -KILL "$process" || true
status=0
wait "$process" 2>/dev/null || status=$?
echo "exit code $status"
sleep 0.3 # The programs that it ran have ended as well: nothing is imported any more.
rows=$(cat data/*.imported | wc -l)
sleep 0.3
((rows < 90 && rows == $(cat data/*.imported | wc -l))) && echo "nothing runs on"

echo "\$ orvflow run flow.xml --checkpoint 0.2"
"$program" run flow.xml --checkpoint 0.2 2>&1
rm started
for name in north south west; do diff <(sed 's/$/,imported/' data/$name.csv) data/$name.csv.imported; done
echo "each of $(cat data/*.imported | wc -l) rows was imported once"
cut -d ' ' -f 2- log.txt
