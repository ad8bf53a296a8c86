#!/bin/bash
# run.sh PROGRAM: runs a workflow that takes in another one and lets it begin. The copies of both lie in backup/.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf backup source flow.state.xml
mkdir source
seq 1 1000 >source/numbers-1.txt
seq 1001 2000 >source/numbers-2.txt

echo "\$ orvflow run flow.xml --trace=workflow/FireAllReadySignals"
"$program" run flow.xml --trace=workflow/FireAllReadySignals 2>&1 | grep -v -e queue -e 'WorkflowEngine[LU]' |
  sed -E 's/^[0-9]{4}-.{20}//'
cmp source/numbers-1.txt backup/numbers-1.txt
cmp source/numbers-2.txt backup/numbers-2.txt
echo "both workflows have made their copies"
