#!/usr/bin/env bash
# A host finds the module by its three entry points; anything else visible from the file could
# clash with the host's own symbols or other modules.
#   check_exports.sh MODULE [OBJDUMP]   (OBJDUMP reads a Windows DLL's export table)
set -euo pipefail
module=$1
case $module in
  *.dll)
    # The names of the export table, from the lines "[   n] Name" below its header.
    exports=$("${2:-x86_64-w64-mingw32-objdump}" -p "$module" |
      sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/p' | awk '/^\t\[/ {print $NF}' | sort | tr '\n' ' ')
    ;;
  *)
    exports=$(nm -D --defined-only "$module" | awk '{print $3}' | sort | tr '\n' ' ')
    ;;
esac
if [ "$exports" != "ExitDll GetPluginFactory InitDll " ]; then
  echo "unexpected exports of $module: $exports" >&2
  exit 1
fi
echo "exports: $exports"
