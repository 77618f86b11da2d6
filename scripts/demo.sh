#!/usr/bin/env bash
# What the agent shows today: ZentAgent.exe is built for 64-bit Windows, needs
# no DLL beyond Windows' own, carries its version resource, and starts and
# ends under Wine. The service, its pipe and its policy work come later.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
exe=$root/build/win/src/mla/apps/zentagent/ZentAgent.exe

echo "== $exe"
file -b "$exe"
echo "== DLLs it imports"
x86_64-w64-mingw32-objdump -p "$exe" | sed -n 's/^\tDLL Name: /  /p'
echo "== version resource"
/usr/bin/python3 - "$exe" <<'PY'
import struct, sys
data = open(sys.argv[1], "rb").read()
at = data.find(struct.pack("<I", 0xFEEF04BD))
if at < 0:
    sys.exit("no version resource")
_, _, fms, fls, pms, pls = struct.unpack_from("<6I", data, at)
part = lambda ms, ls: f"{ms >> 16}.{ms & 0xFFFF}.{ls >> 16}.{ls & 0xFFFF}"
print(f"  file version    {part(fms, fls)}")
print(f"  product version {part(pms, pls)}")
PY
echo "== ZentAgent.exe -service under Wine"
set +e
"$root/cmake/wine-run" "$exe" -service
echo "  exit code $?"
