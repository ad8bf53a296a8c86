#!/bin/bash
# run.sh PROGRAM: two runs of `orvflow` with a Mosquitto between them. One is killed, then the broker, whose data is wiped, then the
# other one; the work is complete all the same.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"
PATH=$PATH:/usr/sbin
command -v mosquitto >/dev/null || { echo "run.sh: there is no mosquitto (Debian: apt-get install mosquitto)" >&2; exit 1; }

rm -rf broker orders.txt ./*.log ./*.state.xml*
declare -A process
trap 'kill -KILL "${process[@]}" 2>/dev/null || true' EXIT
export BROKER_PORT=$((20000 + $$ % 10000))

StartBroker() {
  mkdir -p broker/data
  cat >broker/conf <<CONF
user $(id -un)
listener $BROKER_PORT 127.0.0.1
allow_anonymous true
persistence true
persistence_location $PWD/broker/data/
CONF
  echo "\$ mosquitto -c broker/conf &"
  mosquitto -c broker/conf 2>>broker/log &
  process[mosquitto]=$!
}

Start() {
  echo "\$ orvflow run $1.xml &"
  "$program" run "$1.xml" >>"$1.log" 2>&1 &
  process[$1]=$!
}

Kill() {
  echo "\$ kill -KILL $1"
  kill -KILL "${process[$1]}" || true
  wait "${process[$1]}" 2>/dev/null || true
}

# Until the record of a run is so long.
Until() {
  until (($(cat "$1.state.xml.record" 2>/dev/null | tr -d '\0' | wc -c) >= $2)) || ! kill -0 "${process[$1]}" 2>/dev/null; do
    sleep 0.05
  done
}

StartBroker
Start south
Start north
Until north 8000
Kill north
Start north
Until south 20000
Kill mosquitto
echo "\$ rm -r broker/data"
rm -r broker/data
StartBroker
Kill south
Start south
for run in south north; do
  status=0
  wait "${process[$run]}" || status=$?
  echo "\$ cat $run.log"
  # What was at work when it was killed differs.
  sed 's/ it goes on from its record where it was: .*/ it goes on from its record/' "$run.log"
  echo "exit code $status"
  ((status == 0)) || exit 1 # The other one would wait for it.
done
echo "\$ cut -c 1-50 orders.txt"
cut -c 1-50 orders.txt
echo "\$ tr -cd , < orders.txt | wc -c"
tr -cd , < orders.txt | wc -c
