#!/bin/bash
# run.sh PROGRAM: a nightly backup with `orvflow`, which does not wait for the night: it runs once, a second from now. Of its
# three files one is copied at the second attempt, and one cannot be copied: a folder is in its way.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf backup source log.txt flow.state.xml
mkdir -p source backup/c.txt/c.txt
for name in a b c; do echo "$name" >source/$name.txt; done

clock=/WorkFlowEngine/WorkNodes/Schedule/Instances/Clock/Parameters
echo "\$ orvflow run flow.xml --set $clock/Cron='* * * * * *' --set $clock/Times=1"
"$program" run flow.xml --set "$clock/Cron=* * * * * *" --set "$clock/Times=1" 2>&1
echo "\$ ls -F backup"
ls -F backup
echo "\$ cut -d ' ' -f 2- log.txt"
cut -d ' ' -f 2- log.txt
