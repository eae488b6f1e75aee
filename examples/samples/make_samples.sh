#!/usr/bin/env bash
# Makes the sample streams beside this script from FFmpeg's test sources (ffmpeg with libx264,
# libx265 and libvpx, and perl). Run it again and the same encoder versions give the same bytes.
#
# The raw streams are shaped as a component gets them:
# - Each is a row of short encodes, one closed sequence after the other. So there are several key
#   frames with their parameter sets, and the first sequence is a single picture.
# - Each sequence ends with an end-of-sequence unit, which lets a reader notice that a file has been
#   cut: its last sequence is then not closed as the others are.
# - One slice a picture, an access-unit delimiter before each, no encoder banner.
# - FFmpeg's encoders write the four-byte start code only before the first unit of an access unit and
#   before parameter sets, and three bytes otherwise. The library's scanner knows the four-byte code
#   alone, so every code is widened; 00 00 01 occurs nowhere else in a byte stream.
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

ff() { ffmpeg -hide_banner -loglevel error -nostdin -y "$@"; }
widen() { perl -0777 -pe 's/(?<!\x00)\x00\x00\x01/\x00\x00\x00\x01/g'; }

source_of() { # <size> <first frame> <past the last frame> [source]
  echo "${4:-testsrc2}=size=$1:rate=24,trim=start_frame=$2:end_frame=$3,setpts=PTS-STARTPTS"
}

bt709="-color_range tv -color_primaries bt709 -color_trc bt709 -colorspace bt709"

avc() { # <quality> <size> <first frame> <past the last frame> [source]: one sequence to stdout
  ff -f lavfi -i "$(source_of "${@:2}")" -pix_fmt yuv420p -fflags +bitexact -flags:v +bitexact \
    -c:v libx264 -threads 1 -preset slow -profile:v main -crf "$1" $bt709 \
    -x264-params "slices=1:aud=1:keyint=250:scenecut=0" \
    -bsf:v filter_units=remove_types=6 -f h264 - | widen
  printf '\x00\x00\x00\x01\x0a'
}

hevc() { # <quality> <pixel format> <more parameters> <size> <first> <past the last> [source]
  ff -f lavfi -i "$(source_of "${@:4}")" -pix_fmt "$2" -fflags +bitexact -flags:v +bitexact \
    -c:v libx265 -preset medium -crf "$1" \
    -x265-params "log-level=none:pools=none:frame-threads=1:info=0:aud=1:repeat-headers=1:keyint=250:scenecut=0:$3" \
    -f hevc - | widen
  printf '\x00\x00\x00\x01\x48\x01'
}

vpx() { # <encoder> <bit rate> <file>
  ff -f lavfi -i "$(source_of 320x180 0 72)" -pix_fmt yuv420p -fflags +bitexact \
    -flags:v +bitexact -c:v "$1" -b:v "$2" -g 24 -threads 1 -deadline good -cpu-used 2 \
    -f ivf "$3"
}

limited709="range=limited:colorprim=bt709:transfer=bt709:colormatrix=bt709"
# Display P3 primaries in a BT.2020 container, 0.005 to 1000 cd/m2; at most 1000, on average 400.
hdr10="range=limited:colorprim=bt2020:transfer=smpte2084:colormatrix=bt2020nc:hdr10=1"
hdr10+=":master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,50)"
hdr10+=":max-cll=1000,400"

{ avc 30 320x192 0 1; avc 30 320x192 1 36; avc 30 320x192 36 72; } > "$work/avc.264"
{ avc 27 178x98 0 1; avc 27 178x98 1 36; } > "$work/avc_crop.264"
{ avc 30 320x192 0 24; avc 30 192x112 24 48; } > "$work/avc_resize.264"
for range in "0 1" "1 36" "36 72"; do hevc 30 yuv420p "$limited709" 320x192 $range; done > "$work/hevc.265"
for range in "0 1" "1 36"; do hevc 30 yuv420p10le "$hdr10" 320x180 $range; done > "$work/hevc10_hdr.265"
vpx libvpx 250k "$work/vp8.ivf"
vpx libvpx-vp9 200k "$work/vp9.ivf"

for file in "$work"/*; do
  size=$(stat -c %s "$file")
  [ "$size" -gt 0 ] && [ "$size" -le 150000 ] || { echo "$(basename "$file"): $size bytes" >&2; exit 1; }
done
mv "$work"/* .
