#!/bin/bash
# run.sh PROGRAM: packs the folder `letters` into letters.zip, unpacks that into `copy` and compares; then tries to unpack an
# archive that would write beside its folder. Needs tar.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"

rm -rf letters letters.zip copy foreign foreign.tar log.txt flow.state.xml
mkdir -p letters/june
echo "Dear Ann" >letters/short.txt
for number in {1..20000}; do echo "line $number"; done >letters/june/long.txt
tar -cf foreign.tar --transform 's|^letters|letters/../..|' letters/short.txt 2>/dev/null

echo "\$ orvflow run flow.xml"
"$program" run flow.xml
echo "\$ cut -c 22- log.txt"
cut -c 22- log.txt
echo "\$ diff -r letters copy && ls -d foreign*"
diff -r letters copy && ls -d foreign*
