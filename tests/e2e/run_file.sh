#!/bin/sh
# Runs one end-to-end test file in a Wine prefix that nothing else uses
# meanwhile: CTest starts as many files at once as it has jobs, and each
# takes the first free prefix of the end-to-end set (<prefix>-e2e-1 to -N,
# N = ZENT_E2E_PREFIXES, default 2), holding its lock until pytest exits.
# Services, the session and the registry are a prefix's own, so files in two
# prefixes cannot disturb each other; files in one prefix never overlap. The
# Windows unit tests keep the project's prefix itself.
# usage: run_file.sh PYTHON RESULT-NAME TEST-FILE
set -e
python=$1 name=$2 file=$3
root=$(cd "$(dirname "$0")/../.." && pwd)
base=${ZENT_WINEPREFIX:-$root/build/wineprefix}
count=${ZENT_E2E_PREFIXES:-2}
mkdir -p "$(dirname "$base")"
while :; do
  slot=1
  while [ "$slot" -le "$count" ]; do
    # The lock file is not the prefix's own creation lock (<prefix>.lock),
    # which cmake/wine-run takes while it makes the prefix.
    exec 9>"$base-e2e-$slot.busy"
    if flock -n 9; then
      export ZENT_WINEPREFIX="$base-e2e-$slot"
      exec "$python" -m pytest -q -p no:cacheprovider \
        ${ZENT_TEST_RESULTS:+--junitxml="$ZENT_TEST_RESULTS/e2e/$name.xml"} "$file"
    fi
    slot=$((slot + 1))
  done
  sleep 1
done
