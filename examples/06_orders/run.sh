#!/bin/bash
# run.sh PROGRAM: imports orders from a CSV file into a database, and sets aside what is none. The database is orders.db, the
# orders set aside are in rejects.csv, both beside this script.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -f orders.csv orders.db rejects.csv report.txt flow.state.xml
cat >orders.csv <<'ORDERS'
id,customer,cents
1,"Miller, Ann",1250
2,Baker,eleven
3,Cook,990
3,Cook,990
4,Smith
5,Potter,100
ORDERS

echo "\$ orvflow run flow.xml"
"$program" run flow.xml
for file in report.txt rejects.csv; do
  echo "\$ cat $file"
  cat "$file"
done
# Once more: nothing is imported twice.
echo "\$ orvflow run flow.xml"
"$program" run flow.xml
echo "\$ cat report.txt"
cat report.txt
