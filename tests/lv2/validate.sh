#!/usr/bin/env bash
# Checks a bundle's descriptions against the LV2 schemas that lv2-dev installs: validate.sh BUNDLE.
set -euo pipefail
bundle=$1
lv2dir=/usr/lib/lv2
if ! command -v sord_validate >/dev/null || [ ! -d "$lv2dir/core.lv2" ]; then
  echo "validate.sh: sord_validate or the LV2 schemas in $lv2dir are missing: run scripts/setup-deps" >&2
  exit 77
fi
# The schema bundles only: the plug-ins installed beside them are not ours to judge.
schemas=()
for bundleDir in "$lv2dir"/*.lv2; do
  if [ -f "$bundleDir/manifest.ttl" ] && ! grep -qs -E 'lv2:binary|ui:binary' "$bundleDir"/manifest.ttl; then
    schemas+=("$bundleDir"/*.ttl)
  fi
done
out=$(sord_validate "${schemas[@]}" "$bundle"/*.ttl 2>&1) || true
echo "$out" | cut -c1-300 | tail -20
echo "$out" | grep -q "Found 0 errors"
