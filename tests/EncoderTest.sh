#!/usr/bin/env bash
# The encoder component against FFmpeg and the decoder component.
# EncoderTest.sh <lx2_client> [<emulator>...] <lx2_encoder>
set -uo pipefail
decoder=$1
shift
encoder=("$@")
emulator=("${@:1:$#-1}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0
# What an encoder library of the system doesn't free at its end is not this program's.
echo leak:libx265 >suppressions
export LSAN_OPTIONS=suppressions=$PWD/suppressions:print_suppressions=0

command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed"; exit 77; }

check() {  # check <what> <command...>
    local what=$1
    shift
    if "$@" >why 2>&1; then
        echo "ok    $what"
    else
        failed=1
        echo "FAIL  $what"
        head -5 why
    fi
}

# Runs the component into <name>; its summary goes to <name>.txt, the errors to <name>.err.
encode() {  # encode <name> <argument...>
    local name=$1
    shift
    rm -rf "$name"
    "${encoder[@]}" --out "$name" "$@" >"$name.txt" 2>"$name.err"
}
says() { grep -qE -- "$2" "$1.txt"; }
number() { sed -n "s/^  $2  *\([0-9]*\).*/\1/p" "$1.txt"; }
stream() { ls "$1"/bitstream.*; }
make() {  # make <file> <size> <pixels> <frames>
    ffmpeg -v error -y -f lavfi -i "testsrc2=size=$2:rate=25" -pix_fmt "$3" -frames:v "$4" "${@:5}" "$1"
}
key_frames() { ffprobe -v error -show_entries packet=flags -of csv=p=0 "$(stream "$1")" | grep -c K; }
frames() { ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$(stream "$1")"; }

# Whether FFmpeg decodes what was made to pictures that are near the input: near <name> <input> <dB>
near() {
    local psnr
    psnr=$(ffmpeg -i "$(stream "$1")" -i "$2" -lavfi "[0]settb=AVTB,setpts=N[a];[1]settb=AVTB,setpts=N[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*average:\([0-9.]*\).*/\1/p')
    echo "psnr $psnr"
    [ -n "$psnr" ] && [ "${psnr%.*}" -ge "$3" ]
}
decodes_as() { "${emulator[@]}" "$decoder" "$(stream "$1")" 2>/dev/null | grep -q "frames shown  *$2\$"; }

make clip.y4m 320x192 yuv420p 50
codecs=()
ffmpeg -v error -encoders >encoders
for row in avc:libx264 hevc:libx265 vp8:libvpx vp9:libvpx-vp9; do
    ! grep -q " ${row#*:} " encoders || codecs+=("${row%:*}")
done
check "an encoder is there" test ${#codecs[@]} -gt 0
for codec in "${codecs[@]}"; do
    check "$codec encodes" encode "$codec" --codec "$codec" clip.y4m
    check "$codec: FFmpeg decodes as many frames" test "$(frames "$codec")" -eq 50
    check "$codec: they are near the input" near "$codec" clip.y4m 28
    check "$codec: the summary's PSNR says so too" test "$(number "$codec" PSNR)" -ge 28
    check "$codec: the decoder component shows as many" decodes_as "$codec" 50
    check "$codec: nothing is left open" says "$codec" "^nothing is left open"
    check "$codec: key frames come every 30 frames" test "$(key_frames "$codec")" -eq 2
    encode "$codec.often" --codec "$codec" --at 20:key-frame-interval.value=5 clip.y4m
    check "$codec: the interval changes as it runs" test "$(key_frames "$codec.often")" -eq 7
    encode "$codec.low" --codec "$codec" --at 10:bitrate.value=100000 clip.y4m
    check "$codec: the bitrate changes as it runs" \
        test $(($(number "$codec.low" bytes) * 3)) -lt $(($(number "$codec" bytes) * 2))
    encode "$codec.coarse" --codec "$codec" --set vendor.qp-range.min=45 clip.y4m
    check "$codec: the QP range holds" \
        test "$(number "$codec.coarse" PSNR)" -lt "$(number "$codec" PSNR)"
done

# Configuration is in buffers of its own, with the flag, and a frame that ends the stream says so.
config() { [ "$(grep -c 'CODEC_CONFIG' "$1/component.log")" -eq "$2" ]; }
check "codec configuration is flagged" config avc 2
check "VP8 has none" config vp8 0
check "the last access unit ends the stream" grep -q 'flags=.*EOS' <(tail -1 avc/component.log)

for format in mirel-nv12 nv12 yv12 tp10 rgba; do
    check "from $format" encode "$format" --format $format clip.y4m
    check "from $format: near the input" near "$format" clip.y4m 25
done
check "HDR" encode hdr --hdr --codec hevc clip.y4m
check "HDR: the hardware reads the metadata" says hdr "color at the hardware .*BT2020 .*ST2084 .*R\(0.679"
"${emulator[@]}" "$decoder" "$(stream hdr)" >hdr.decoded.txt 2>&1
check "HDR: the decoder component finds it in the stream" says hdr.decoded "BT2020 .*ST2084 .*R\(0.68000, 0.32000\)"

# Raw frames, whose planes are where they are said to be.
make nv12.yuv 176x144 nv12 5 -f rawvideo
make ref.y4m 176x144 yuv420p 5
make yv12.yuv 176x144 yuv420p 5 -vf format=yuv420p,shuffleplanes=0:2:1 -f rawvideo
for layout in nv12 yv12; do
    check "raw $layout" encode raw_$layout --size 176x144 --pixels $layout $layout.yuv
    check "raw $layout: near the input" near raw_$layout ref.y4m 30
done
for size in 175x143 1x1 2x17; do
    make odd.y4m 176x144 yuv420p 3 -vf scale=${size/x/:}
    check "a size of $size" encode odd odd.y4m
    check "a size of $size: as many frames" test "$(number odd "frames decoded again")" -eq 3
done
head -c 150000 nv12.yuv >short.yuv
encode short --size 176x144 --pixels nv12 short.yuv
check "a short last frame fails" test $? -eq 1
check "and is told" says short "^error: short.yuv: the last frame has 35952 of 38016 bytes"
check "the frames before it are encoded" test "$(frames short)" -eq 3
head -c 100000 clip.y4m >short.y4m
encode shorty short.y4m
check "a short Y4M frame is told" says shorty "^error: short.y4m: the last frame has"
mkdir full
ln -s /dev/full full/bitstream.264
check "a stream that can't be written fails" test "$("${encoder[@]}" --out full >full.txt; echo $?)" -eq 1

failed_with() {  # failed_with <status> <argument>...
    local status=$1
    shift
    "${encoder[@]}" "$@" >refused 2>&1
    [ $? -eq "$status" ] && [ "$(grep -vc -e '^lx2_encoder \[' -e '^Encodes' -e '^  --' refused)" -eq 1 ]
}
: >empty.y4m
echo 'YUV4MPEG2 W16 H16 C444' >full444.y4m
for file in missing.y4m empty.y4m nv12.yuv full444.y4m; do
    check "$file is refused in one line" failed_with 1 "$file"
done
for arguments in --nonsense "--codec av1" "--format x" "--size 0x4 --pixels nv12 a" "--size 16x16 a" \
    "--size 16x16x --pixels nv12 a" "--pixels abgr" "--set nobody=1" "--set bitrate.value=3abc" \
    "--set bitrate.value=5" "--set key-frame-interval.value=0" "--set vendor.qp-range.min=60" \
    "--at x:bitrate.value=1" "--at 5:nobody=1" "--at 5:bitrate.value=1" "--hdr" "a b" "--out"; do
    # shellcheck disable=SC2086 # several arguments
    check "refused in one line: $arguments" failed_with 2 $arguments
done
check "--help is no mistake" "${encoder[@]}" --help

exit $failed
