#!/usr/bin/env bash
# Starts or stops the X server of the window tests: xvfb.sh start|stop DISPLAY_NUMBER STATE_DIR.
# Each build has its own display number, so that test runs of several builds do not meet.
set -euo pipefail
action=$1 number=$2 dir=$3
pidfile="$dir/xvfb-$number.pid"

case $action in
start)
  if [ -e "/tmp/.X$number-lock" ]; then
    old=$(tr -d ' ' <"/tmp/.X$number-lock" 2>/dev/null || true)
    if [ -n "$old" ] && kill -0 "$old" 2>/dev/null; then
      echo "xvfb.sh: display :$number is taken by process $old; stop it or use another build folder" >&2
      exit 1
    fi
    rm -f "/tmp/.X$number-lock" "/tmp/.X11-unix/X$number"
  fi
  # -noreset: by default the server starts over whenever its last client leaves, which happens
  # between two window tests, and refuses the connections that come in meanwhile.
  Xvfb ":$number" -screen 0 1024x768x24 -nolisten tcp -noreset >"$dir/xvfb-$number.log" 2>&1 &
  echo $! >"$pidfile"
  for _ in $(seq 1 100); do
    if [ -S "/tmp/.X11-unix/X$number" ]; then exit 0; fi
    if ! kill -0 "$(cat "$pidfile")" 2>/dev/null; then break; fi
    sleep 0.1
  done
  echo "xvfb.sh: Xvfb did not come up on :$number" >&2
  cat "$dir/xvfb-$number.log" >&2 || true
  exit 1
  ;;
stop)
  if [ -f "$pidfile" ]; then
    pid=$(cat "$pidfile")
    kill "$pid" 2>/dev/null || true
    # Wait for it to go, so that the next run finds the display free.
    for _ in $(seq 1 100); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.05
    done
    rm -f "$pidfile"
  fi
  ;;
*)
  echo "usage: xvfb.sh start|stop DISPLAY_NUMBER STATE_DIR" >&2
  exit 2
  ;;
esac
