#!/usr/bin/env bash
# A host finds the module by its three entry points; anything else visible from the file could
# clash with the host's own symbols or other modules.
set -euo pipefail
module=$1
exports=$(nm -D --defined-only "$module" | awk '{print $3}' | sort | tr '\n' ' ')
if [ "$exports" != "ExitDll GetPluginFactory InitDll " ]; then
  echo "unexpected exports of $module: $exports" >&2
  exit 1
fi
echo "exports: $exports"
