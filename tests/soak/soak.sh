#!/usr/bin/env bash
# The decoder component over a long stream, with too few buffers, a blit and a display-metadata library
# that fail now and then, and a disk that fills up: every frame reaches the framework, nothing is left
# open, and memory stays flat.
# soak.sh <lx2_client> <folder of the flaky libraries> <folder of the real ones> [frames]
set -uo pipefail
client=$1
flaky=$2
real=$3
frames=${4:-10000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed"; exit 77; }

ffmpeg -v error -f lavfi -i testsrc2=size=96x64:rate=25 -frames:v "$frames" -c:v libx264 \
    -preset ultrafast -g 100 -x264-params slices=1 -bsf:v h264_mp4toannexb -f h264 "$work/long.264"

# Memory of a process in KiB, once each tenth of a second.
watch_memory() {
    while sed -n 's/^VmRSS:[[:space:]]*\([0-9]*\) kB/\1/p' "/proc/$1/status" 2>/dev/null; do sleep 0.1; done
}

# A file may grow to 16 MiB: the frames fill that after a quarter of the stream.
trap '' XFSZ
(
    ulimit -f $((16 * 1024))
    export LD_LIBRARY_PATH=$flaky:$real
    # The compressed format (MIREL_NV12_CMPX): its frames are converted before they are dumped.
    exec "$client" --slots 4 --set raw.pixel-format.value=$((0x7FA30C06)) --out "$work/out" \
        "$work/long.264" >"$work/summary.txt" 2>"$work/log.txt"
) &
watch_memory $! >"$work/memory"
wait
cat "$work/summary.txt"

failed=0
expect() {  # expect <what> <command...>
    local what=$1
    shift
    "$@" || { failed=1; echo "FAIL  $what"; }
}
value() { sed -n "s/^  $1 *\([0-9]*\)$/\1/p" "$work/summary.txt"; }
logged() { grep -cE "^[56] .*$1" "$work/out/system.log"; }
expect "every frame was decoded" test "$(value frames)" = "$frames"
expect "every frame reached the framework" test "$(value 'frames shown')" = "$frames"
expect "conversions failed now and then" test "$(logged 'LX2ColorConverter')" -gt 0
expect "metadata failed now and then" test "$(logged 'LX2GrallocBuffer')" -gt 0
expect "the frame file stopped growing" test "$(stat -c %s "$work/out/frames.yuv")" -le $((16 << 20))
expect "nothing is left open" grep -q "nothing is left open" "$work/summary.txt"
# The largest of the second quarter of the run and of the last one.
samples=$(wc -l <"$work/memory")
quarter=$((samples / 4))
largest() { sed -n "$1,$2p" "$work/memory" | sort -n | tail -1; }
if [ "$frames" -lt 1000 ] || [ $quarter -lt 2 ]; then
    echo "memory can't be judged by $frames frames: 1000 and more tell"
else
    middle=$(largest $((quarter + 1)) $((quarter * 2)))
    last=$(largest $((quarter * 3 + 1)) "$samples")
    expect "memory is flat ($middle KiB, then $last KiB)" test "$last" -le $((middle + middle / 20 + 1024))
    echo "memory: $middle KiB, then $last KiB"
fi
[ $failed -eq 0 ] && echo "soak: all good"
exit $failed
