#!/bin/sh
# Checks and runs the workflow; exit code 0 when all is well. ORVFLOW names another program than the one in the PATH.
set -eu
cd "$(dirname "$0")"
orvflow=${ORVFLOW:-orvflow}
"$orvflow" check flow.xml
"$orvflow" run --fresh --timeout 60 flow.xml
