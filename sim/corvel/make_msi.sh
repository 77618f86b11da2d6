#!/bin/sh
# Builds Corvel's installer: wixl lays out files, service and registry, then
# msibuild adds what wixl cannot write: the knobs that Corvel's uninstaller
# reads through AppSearch, the type-19 action that fails it (1603) and the
# ScheduleReboot that makes it ask for a reboot (3010).
#   make_msi.sh OUTPUT.msi PRODUCT_NAME PRODUCT_CODE COMPONENT_GUID BIN_DIR WXS
set -eu
out=$1 name=$2 code=$3 component=$4 bin=$5 wxs=$6
work=$out.tables
rm -rf "$work" "$out"
mkdir -p "$work"
# wixl takes the files' sources relative to the working folder only.
(cd "$bin" && wixl -a x64 -D ProductName="$name" -D ProductCode="$code" -D ComponentGuid="$component" -D BinDir=. \
  -o "$out" "$wxs")

tab=$(printf '\t')
# Knob values are DWORDs, read raw (type 2) from the 64-bit view (0x10):
# 1 reads as "#1".
cat >"$work/RegLocator.idt" <<TABLE
Signature_${tab}Root${tab}Key${tab}Name${tab}Type
s72${tab}i2${tab}s255${tab}S255${tab}I2
RegLocator${tab}Signature_
UninstallFailsKnob${tab}2${tab}SOFTWARE\\ZentSim\\corvel${tab}UninstallFails${tab}18
UninstallNeedsRebootKnob${tab}2${tab}SOFTWARE\\ZentSim\\corvel${tab}UninstallNeedsReboot${tab}18
SelfProtectionFlag${tab}2${tab}SOFTWARE\\Halvane\\Corvel Agent${tab}SelfProtection${tab}18
TABLE
cat >"$work/AppSearch.idt" <<TABLE
Property${tab}Signature_
s72${tab}s72
AppSearch${tab}Property${tab}Signature_
UNINSTALLFAILS${tab}UninstallFailsKnob
UNINSTALLNEEDSREBOOT${tab}UninstallNeedsRebootKnob
SELFPROTECTIONON${tab}SelfProtectionFlag
TABLE
cat >"$work/CustomAction.idt" <<TABLE
Action${tab}Type${tab}Source${tab}Target${tab}ExtendedType
s72${tab}i2${tab}S72${tab}S255${tab}I4
CustomAction${tab}Action
RefuseRemoval${tab}19${tab}${tab}Corvel Agent cannot be removed now.${tab}
TABLE
# wixl sequences AppSearch only for searches of its own. The refusal comes
# before InstallInitialize: a refused removal leaves everything in place.
msiinfo export "$out" InstallExecuteSequence >"$work/InstallExecuteSequence.idt"
grep -q "^AppSearch${tab}" "$work/InstallExecuteSequence.idt" ||
  printf 'AppSearch\t\t50\n' >>"$work/InstallExecuteSequence.idt"
cat >>"$work/InstallExecuteSequence.idt" <<TABLE
RefuseRemoval${tab}REMOVE="ALL" AND (UNINSTALLFAILS="#1" OR SELFPROTECTIONON="#1")${tab}1450
ScheduleReboot${tab}REMOVE="ALL" AND UNINSTALLNEEDSREBOOT="#1"${tab}6500
TABLE
msibuild "$out" -i "$work/RegLocator.idt" -i "$work/AppSearch.idt" -i "$work/CustomAction.idt" \
  -i "$work/InstallExecuteSequence.idt"
rm -rf "$work"
