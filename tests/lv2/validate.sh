#!/usr/bin/env bash
# Checks a bundle's descriptions against the LV2 schemas that lv2-dev installs: validate.sh BUNDLE.
set -euo pipefail
bundle=$1
specs=/usr/lib/lv2
if ! command -v sord_validate >/dev/null || [ ! -d "$specs/core.lv2" ]; then
  echo "validate.sh: sord_validate or the LV2 schemas in $specs are missing: run scripts/setup-deps" >&2
  exit 77
fi
# The specifications only: the plug-ins installed beside them are not ours to judge.
schemas=()
for spec in "$specs"/*.lv2; do
  if grep -qs -E 'lv2:Specification|owl:Ontology' "$spec"/manifest.ttl; then
    schemas+=("$spec"/*.ttl)
  fi
done
out=$(sord_validate "${schemas[@]}" "$bundle"/*.ttl 2>&1) || true
echo "$out" | cut -c1-300 | tail -20
echo "$out" | grep -q "Found 0 errors"
