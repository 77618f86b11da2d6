#!/usr/bin/env bash
# The agent's main job, under Wine, on the stand-ins of the suite, the driver
# and the driver's service.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export ZENT_BUILD_WIN=$root/build/win PYTHONDONTWRITEBYTECODE=1
exec /usr/bin/python3 "$root/scripts/demo.py"
