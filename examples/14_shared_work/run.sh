#!/bin/bash
# run.sh PROGRAM: a run of `orvflow` deals 90 files to three others. One of these is killed and comes back later; each file is hashed
# once all the same.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf in net ./*.log ./*.state.xml*
mkdir in
for number in {01..90}; do echo "file $number" >"in/$number.txt"; done
declare -A process
trap 'kill -KILL "${process[@]}" 2>/dev/null || true' EXIT

Start() {
  echo "\$ WORKER=$1 orvflow run worker.xml --state $1.state.xml &"
  WORKER=$1 "$program" run worker.xml --state "$1.state.xml" >>"$1.log" 2>&1 &
  process[$1]=$!
}

Office() {
  "$program" run flow.xml >>office.log 2>&1 &
  process[office]=$!
  echo "\$ orvflow run flow.xml &"
}

for worker in east south west; do Start $worker; done
Office
# South is at work.
until [[ -e south.state.xml.record ]] && (($(tr -d '\0' <south.state.xml.record | wc -c) >= 6000)); do
  kill -0 "${process[south]}"
  sleep 0.05
done
echo "\$ kill -KILL south"
kill -KILL "${process[south]}"
wait "${process[south]}" 2>/dev/null || true
# The others do all but what it has.
sleep 3
if kill -0 "${process[office]}" 2>/dev/null; then echo "the office waits for south"; fi
Start south
status=0
wait "${process[office]}" || status=$?
echo "the office: exit code $status"
# What came last is done, too.
sleep 2
for worker in east south west; do
  kill -INT "${process[$worker]}"
  wait "${process[$worker]}" 2>/dev/null || true
  "$program" dict get $worker.state.xml /Done | tr ' ' '\n' | grep . >$worker.log
  # All of them have worked.
  [[ -s $worker.log ]] || echo "$worker has done nothing"
done
echo "\$ cat east.log south.log west.log | wc -l"
cat east.log south.log west.log | wc -l
echo "\$ sort east.log south.log west.log | uniq -d | wc -l"
sort east.log south.log west.log | uniq -d | wc -l
cat in/*.txt >/dev/null
if diff <(sort east.log south.log west.log) <(sha256sum in/* | cut -d ' ' -f 1 | sort) >/dev/null; then
  echo "each file was hashed once"
fi
