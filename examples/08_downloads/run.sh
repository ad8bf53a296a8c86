#!/bin/bash
# run.sh PROGRAM: fetches the files that SHA256SUMS lists from a server on this machine, two at a time, into `files`; one of
# them is not what the list says. Needs python3 for the server.
set -euo pipefail
program=$(realpath "${1:?usage: run.sh PROGRAM}")
cd "$(dirname "$0")"
command -v python3 >/dev/null || { echo "run.sh: python3 is needed for the server" >&2; exit 1; }

rm -rf files server log.txt server.txt flow.state.xml SHA256SUMS
mkdir files server
for name in apples bananas cherries dates; do
  for number in {1..5000}; do echo "$name $number"; done >"server/$name.txt"
done
(cd server && sha256sum ./*.txt) | sed 's|\./||' >SHA256SUMS
echo "and one more" >>server/cherries.txt

python3 -u -m http.server --bind 127.0.0.1 --directory server 0 >server.txt 2>&1 &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true' EXIT
until grep -q ' port ' server.txt; do
  kill -0 "$server" 2>/dev/null || { cat server.txt >&2; exit 1; }
  sleep 0.05
done
SERVER=http://127.0.0.1:$(sed -nE '1s/.* port ([0-9]+).*/\1/p' server.txt)
export SERVER

echo "\$ orvflow run flow.xml"
"$program" run flow.xml
echo "\$ cut -c 22- log.txt | sort"
cut -c 22- log.txt | sort
echo "\$ ls files"
ls files
