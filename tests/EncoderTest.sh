#!/usr/bin/env bash
# The client and the encoder component against FFmpeg and the decoder component.
# EncoderTest.sh [<emulator>...] <lx2_client>
set -uo pipefail
client=("$@")
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

# Encodes into the folder <name>; the summary goes to <name>.txt, standard error to <name>.err.
encode() {  # encode <name> <argument...>
    local name=$1
    shift
    rm -rf "$name"
    "${client[@]}" --encode --out "$name" "$@" >"$name.txt" 2>"$name.err" || { cat "$name.txt" "$name.err"; false; }
}
says() { grep -qE -- "$2" "$1.txt" || { cat "$1.txt"; false; }; }
number() { sed -n "s/^  $2  *\([0-9]*\).*/\1/p" "$1.txt"; }
stream() { ls "$1"/bitstream.*; }
make() {  # make <file> <size> <pixels> <frames> [<option>...]
    ffmpeg -v error -y -f lavfi -i "testsrc2=size=$2:rate=25" -pix_fmt "$3" -frames:v "$4" "${@:5}" "$1"
}
probe() { ffprobe -v error -select_streams v -show_entries "$2" -of csv=p=0 "$(stream "$1")"; }
key_frames() { probe "$1" packet=flags | grep -c K; }
frames() { ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$(stream "$1")"; }

# Whether FFmpeg decodes what was made to pictures that are near the input: near <name> <input> <dB>
near() {
    local psnr
    psnr=$(ffmpeg -i "$(stream "$1")" -i "$2" -lavfi "[0]settb=AVTB,setpts=N[a];[1]settb=AVTB,setpts=N[b];[a][b]psnr" \
        -f null - 2>&1 | sed -n 's/.*average:\([0-9.]*\).*/\1/p')
    echo "psnr $psnr"
    [ -n "$psnr" ] && [ "${psnr%.*}" -ge "$3" ]
}
decodes_as() { "${client[@]}" "$(stream "$1")" >d.txt 2>&1; grep -q "frames shown  *$2\$" d.txt || { cat d.txt; false; }; }

make clip.y4m 320x192 yuv420p 50
make deep.mkv 320x192 yuv420p10le 10 -c:v ffv1
for codec in avc hevc; do
    kind=(--set output.media-type.value=video/$codec)
    check "$codec encodes" encode $codec "${kind[@]}" clip.y4m
    check "$codec: FFmpeg decodes as many frames" test "$(frames $codec)" -eq 50
    check "$codec: they are near the input" near $codec clip.y4m 28
    check "$codec: the decoder component shows as many" decodes_as $codec 50
    check "$codec: nothing is left open" says $codec "^nothing is left open"
    check "$codec: a key frame comes each second" test "$(key_frames $codec)" -eq 2
    check "$codec: which the client is told" test "$(number $codec "key frames")" -eq 2
    check "$codec: the configuration goes ahead" test "$(number $codec "codec config, bytes")" -gt 20
    check "$codec: all bytes are written" \
        test "$(number $codec bytes)" -eq "$(stat -c %s "$(stream $codec)")"
    encode $codec.low "${kind[@]}" --set coded.bitrate.value=100000 clip.y4m
    check "$codec: the bitrate holds" \
        test $(($(number $codec.low bytes) * 3)) -lt $(($(number $codec bytes) * 2))
    encode $codec.coarse "${kind[@]}" --set vendor.lx2-encoder.qp-min=45 clip.y4m
    check "$codec: the quantizer's range holds" \
        test $(($(number $codec.coarse bytes) * 2)) -lt "$(number $codec bytes)"
    for rate in 24000/1001 30000/1001 60000/1001 25/1; do
        make rate.mp4 64x48 yuv420p 5 -vf "settb=AVTB,setpts=N/($rate)/TB" -r $rate
        check "$codec: $rate frames a second" encode rate "${kind[@]}" rate.mp4
        check "$codec: are in the stream" test "$(probe rate stream=r_frame_rate)" = $rate
        check "$codec: and said" says rate " $rate frames a second"
    done
done
check "10 bit" encode deep --set output.media-type.value=video/hevc deep.mkv
check "10 bit: stays that" test "$(probe deep stream=pix_fmt)" = yuv420p10le
check "10 bit: near the input" near deep deep.mkv 28
check "10 bit for an encoder of eight" encode deep8 deep.mkv
check "10 bit for an encoder of eight: near the input" near deep8 deep.mkv 28

x265=log-level=none:colorprim=bt2020:transfer=smpte2084:colormatrix=bt2020nc
x265+=:master-display="G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,50)":max-cll=1000,400
make hdr.mp4 320x192 yuv420p10le 5 -c:v libx265 -x265-params "$x265"
check "HDR" encode hdr --set output.media-type.value=video/hevc hdr.mp4
check "HDR: the component is told of it" says hdr "color .*BT2020 .*ST2084 "
hdr_settings=()
for setting in red.x=0.68 red.y=0.32 green.x=0.265 green.y=0.69 blue.x=0.15 blue.y=0.06 white.x=0.3127 white.y=0.329 \
    max-luminance=1000 min-luminance=0.005; do
    hdr_settings+=(--set raw.hdr-static-info.mastering.$setting)
done
check "HDR that is set" encode set "${kind[@]}" "${hdr_settings[@]}" --set raw.hdr-static-info.max-cll=999.6 deep.mkv
side_data() { ffprobe -v error -show_frames -read_intervals "%+#1" "$1" | grep -E '^(red|green|blue|white|max|min)_'; }
same_display() { [ "$(side_data hdr.mp4 | grep -Fxcf <(side_data "$(stream hdr)"))" -ge 9 ]; }
check "HDR: the stream has it, as exactly as the display's record" same_display
check "HDR: and the colors" test "$(probe hdr stream=color_space,color_transfer,color_primaries)" = bt2020nc,smpte2084,bt2020
check "HDR: light levels are whole" grep -q '^max_content=1000$' <(side_data "$(stream hdr)")
check "HDR that is set is in the stream" \
    test "$(side_data "$(stream set)" | grep -cE '^(green_y=34500/50000|max_luminance=10000000/10000|max_content=1000)$')" -eq 3

for size in 175x143 1x1 2x17; do
    make odd.mkv 176x144 yuv420p 3 -vf scale=${size/x/:} -c:v ffv1
    check "a size of $size" encode odd odd.mkv
    check "a size of $size: as many frames" test "$(frames odd)" -eq 3
done
check "a size of 2x17: the last row is repeated" test "$(probe odd stream=width,height)" = 2,18
for input in rgb24 yuv444p yuv422p10le gray; do
    make any.mkv 320x192 $input 3 -c:v ffv1
    check "$input" encode any any.mkv
    check "$input: near the input" near any any.mkv 24
done
make fields.mp4 320x192 yuv420p 10 -vf interlace -flags +ilme+ildct -c:v libx264 -x264-params tff=1
check "interlaced video" encode fields fields.mp4
check "interlaced video is said" says fields "interlaced  *[0-9]+ frames, encoded as progressive"
make full.mp4 64x48 yuvj420p 3 -color_primaries bt709 -color_trc bt709 -colorspace bt709
check "full range" encode full full.mp4
check "full range is in the stream, and its colors" \
    test "$(probe full stream=color_range,color_space,color_transfer,color_primaries)" = pc,bt709,bt709,bt709
check "a made picture" encode made
check "a made picture: as many frames" decodes_as made 60
check "dumps" encode dump --set vendor.lx2-encoder-dump.value="$work" clip.y4m
check "dumps: the frames" cmp frames.yuv <(ffmpeg -v error -i clip.y4m -f rawvideo -pix_fmt nv12 -)
check "dumps: the stream" cmp <(tail -c 20000 bitstream.264) <(tail -c 20000 "$(stream dump)")

head -c 150000 clip.y4m >short.y4m
check "a short file fails" test "$(encode short short.y4m >&2; echo $?)" -eq 1
check "and is told" says short "^error: short.y4m: "
check "the frames before it are encoded" test "$(frames short)" -eq 1
mkdir full_disk
ln -s /dev/full full_disk/bitstream.264
check "a stream that can't be written fails" \
    test "$("${client[@]}" --encode --out full_disk clip.y4m >full.txt; echo $?)" -eq 1
: >empty.y4m
for file in missing.y4m empty.y4m suppressions; do
    "${client[@]}" --encode $file >refused 2>&1
    check "$file is refused" test $? -eq 1 -a "$(grep -c "^lx2_client: $file: " refused)" -eq 1
done
for value in bitrate.value=5 frame-rate.value=0 ; do
    "${client[@]}" --encode --set coded.$value clip.y4m >refused 2>&1
    check "$value is refused" test $? -eq 2
done

"${client[@]}" --check "$(dirname "${client[-1]}")/../lib/liblx2_encoder.so" >check.txt 2>&1
check "the component passes the checks" test $? -eq 0
cat check.txt | grep -A3 FAIL
exit $failed
