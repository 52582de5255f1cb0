#!/usr/bin/env bash
# Tremolin.lv2 against the peer LV2 step sequencer (x42-plugins' 8x8 step sequencer), measured in
# the same run, blocks of 64 and 512 frames: lilv's lv2bench of both, and lv2_bench, which rolls a
# transport and reports it every block so that both actually play, with the host's own share
# measured alone. Gives each time and Tremolin's ratio to the peer. A benchmark, not a test.
#
#   bench/lv2bench.sh [BUILD_DIR]      (default build/release)
set -euo pipefail
build=$(cd "${1:-build/release}" && pwd)
tremolin=https://tremolin.invalid/lv2/tremolin
peer=http://gareus.org/oss/lv2/stepseq#s8n8
export LV2_PATH="$build/lv2/bundles:/usr/lib/lv2"
if [ ! -d "$build/lv2/bundles/Tremolin.lv2" ]; then
  echo "lv2bench.sh: no bundle in $build; build it first (cmake --build $build --target tremolin_lv2_bundle lv2_bench)" >&2
  exit 1
fi
if ! lv2info "$peer" >/dev/null 2>&1; then
  echo "lv2bench.sh: the peer $peer is not installed (x42-plugins): run scripts/setup-deps" >&2
  exit 1
fi

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "n/a" }'; }

echo "lv2bench (no transport: Tremolin stands still, the peer runs free at its own tempo)"
blocks=1048576
for block in 64 512; do
  # lv2bench prints "SECONDS URI": the time of all the blocks' runs.
  t=$(lv2bench -b "$block" -n $((block * blocks)) "$tremolin" 2>/dev/null | awk -v u="$tremolin" '$2 == u { print $1 }')
  p=$(lv2bench -b "$block" -n $((block * blocks)) "$peer" 2>/dev/null | awk -v u="$peer" '$2 == u { print $1 }')
  tn=$(awk -v s="$t" -v n="$blocks" 'BEGIN { printf "%.1f", s * 1e9 / n }')
  pn=$(awk -v s="$p" -v n="$blocks" 'BEGIN { printf "%.1f", s * 1e9 / n }')
  echo "  block $block: Tremolin $tn ns, peer $pn ns a block; ratio $(ratio "$tn" "$pn")"
done

if [ -x "$build/bench/lv2_bench" ]; then
  echo "lv2_bench (rolling transport at 120 BPM, a position every block, both playing)"
  out=$("$build/bench/lv2_bench" --benchmark_min_time=1 --benchmark_format=csv 2>/dev/null | grep -E '^"(HostAlone|Tremolin|PeerStepSequencer)/')
  for block in 64 512; do
    host=$(echo "$out" | awk -F, '$1 == "\"HostAlone/'"$block"'\"" { print $4 }')
    t=$(echo "$out" | awk -F, '$1 == "\"Tremolin/'"$block"'\"" { print $4 }')
    p=$(echo "$out" | awk -F, '$1 == "\"PeerStepSequencer/'"$block"'\"" { print $4 }')
    tn=$(awk -v a="$t" -v h="$host" 'BEGIN { printf "%.1f", a - h }')
    pn=$(awk -v a="$p" -v h="$host" 'BEGIN { printf "%.1f", a - h }')
    printf "  block %s: host alone %.1f ns; Tremolin %.1f ns (%s without the host), peer %.1f ns (%s);" \
      "$block" "$host" "$t" "$tn" "$p" "$pn"
    echo " ratio $(ratio "$t" "$p") ($(ratio "$tn" "$pn") without the host)"
  done
else
  echo "lv2_bench is not built in $build (the release preset builds benchmarks)"
fi
