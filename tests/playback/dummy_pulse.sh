#!/bin/sh
# Starts or stops a PulseAudio server with one dummy sink for the audio output tests.
# Usage: dummy_pulse.sh start|stop <runtime folder>
# The pipe sink keeps time by the system clock, so the sink plays at real speed with no reader on
# the pipe, and the server lives in a folder of its own so parallel runs never share it.
set -eu
action=$1
dir=$2
pidfile="$dir/pulse/pid"

stop_server() {
  if [ -f "$pidfile" ]; then
    kill "$(cat "$pidfile")" 2>/dev/null || true
    rm -f "$pidfile"
  fi
}

case "$action" in
start)
  mkdir -p "$dir"
  chmod 700 "$dir"
  stop_server
  XDG_RUNTIME_DIR="$dir" pulseaudio -D --exit-idle-time=-1 -n \
    --load=module-native-protocol-unix \
    --load="module-pipe-sink sink_name=dummy file=$dir/dummy.fifo use_system_clock_for_timing=yes rate=48000 channels=2 format=float32le" \
    --log-target=file:"$dir/pulse.log"
  XDG_RUNTIME_DIR="$dir" pactl info >/dev/null
  ;;
stop)
  stop_server
  ;;
*)
  echo "usage: $0 start|stop <runtime folder>" >&2
  exit 2
  ;;
esac
