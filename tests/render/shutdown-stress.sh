#!/bin/sh
# Runs the shutdown stress test many times, each run a fresh process (the GL runtime starts once
# per process), and counts failures and sanitizer reports. Run it inside xvfb-run from a build
# directory made with the sanitizers:
#   xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" tests/render/shutdown-stress.sh build-tsan/bin 200
# A ThreadSanitizer build runs with the suppressions beside this script; the test makes its media
# with the ffmpeg tool, which forks from a threaded process, hence die_after_fork=0.
# Logs of runs that failed or reported are kept in $LOG_DIR (default /tmp/shutdown-stress).
bin=$1/test_render_shutdown_stress
here=$(cd "$(dirname "$0")" && pwd)
export TSAN_OPTIONS="${TSAN_OPTIONS:-suppressions=$here/tsan.supp die_after_fork=0}"
count=${2:-200}
logs=${LOG_DIR:-/tmp/shutdown-stress}
mkdir -p "$logs"
failed=0
reported=0
i=0
while [ "$i" -lt "$count" ]; do
    i=$((i + 1))
    log="$logs/run$i.log"
    timeout 300 "$bin" >"$log" 2>&1
    status=$?
    [ "$status" -ne 0 ] && failed=$((failed + 1))
    if grep -qE "ERROR: AddressSanitizer|runtime error:|WARNING: ThreadSanitizer|ERROR: ThreadSanitizer" "$log"; then
        reported=$((reported + 1))
    elif [ "$status" -eq 0 ]; then
        rm -f "$log"
    fi
done
echo "$count runs: $failed failed, $reported with sanitizer reports"
[ "$failed" -eq 0 ] && [ "$reported" -eq 0 ]
