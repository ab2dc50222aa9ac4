#!/bin/sh
# make_media.sh OUT GENERATOR REFERENCE [REAL]
#   Makes the tests' media in OUT, each file named for its trait and followed by FILE.frames, the hashes of the pictures
#   that the ffmpeg program decodes from it; OUT/real gets the same for every video of the folder REAL.
#   GENERATOR and REFERENCE are the built numbered_frames and reference_frames.
#   What OUT was made from is stamped into it: while that has not changed, a second run does nothing.
set -eu

out=$1 generator=$2 reference=$3 real=${4:-}
here=$(cd "$(dirname "$0")" && pwd)

fingerprint() {
    cat "$here"/make_media.sh "$here"/numbered_frames.cpp "$here"/numbered_picture.h \
        "$here"/reference_frames.cpp "$here"/picture_hash.h
    ffmpeg -version | head -n 1
    [ -z "$real" ] || ls -ln "$real"
}

# ffmpeg, quiet, never asking, never reading this script's input.
ff() { ffmpeg -hide_banner -loglevel error -nostdin -y "$@"; }

# encode SIZE COUNT RATE FILE ARGUMENT...: numbered pictures into FILE.
encode() {
    size=$1 count=$2 rate=$3 file=$4
    shift 4
    "$generator" y4m "${size%x*}" "${size#*x}" "$count" "$rate" |
        ffmpeg -hide_banner -loglevel error -y -i - "$@" "$file"
}

x264() { echo "-c:v libx264 -preset veryfast -pix_fmt yuv420p -x264-params scenecut=0:$1"; }

make_gops() {
    encode 320x192 150 25:1 plain.mp4 $(x264 keyint=50:min-keyint=50:bframes=2)
    encode 320x192 120 25:1 bframes_open_gop.mp4 $(x264 keyint=24:min-keyint=24:bframes=3:open-gop=1)
    encode 320x192 300 25:1 long_gop.mp4 $(x264 keyint=120:min-keyint=120:bframes=3)
    encode 320x192 90 25:1 h264.ts $(x264 keyint=30:min-keyint=30:bframes=3)
    encode 320x192 96 25:1 h264_open_gop.ts $(x264 keyint=24:min-keyint=24:bframes=3:open-gop=1)
    encode 320x192 90 25:1 h264.mkv $(x264 keyint=30:min-keyint=30:bframes=3)
    encode 320x192 60 25:1 raw.h264 $(x264 keyint=20:min-keyint=20:bframes=2)
    encode 320x192 90 25:1 fragmented.mp4 $(x264 keyint=30:min-keyint=30:bframes=2) -movflags frag_keyframe+empty_moov
    encode 320x192 90 25:1 intra_refresh.mp4 $(x264 keyint=45:min-keyint=45:bframes=0:intra-refresh=1)
    tail -c +20000 h264.ts >starts_inside_gop.ts
}

make_codecs() {
    encode 320x192 90 25:1 mpeg2.ts -c:v mpeg2video -g 15 -bf 2 -b:v 2M
    encode 320x192 90 25:1 mpeg2.mpg -c:v mpeg2video -g 15 -bf 2 -b:v 2M
    encode 320x192 90 25:1 raw.m2v -c:v mpeg2video -g 15 -bf 2 -b:v 2M
    encode 320x192 90 25:1 mpeg4_bframes.avi -c:v mpeg4 -g 40 -bf 2 -b:v 1M
    encode 320x192 90 25:1 mpeg4_no_bframes.avi -c:v mpeg4 -g 40 -bf 0 -b:v 1M
    encode 320x192 60 25:1 hevc_open_gop.mp4 -c:v libx265 -preset ultrafast \
        -x265-params log-level=error:keyint=20:min-keyint=20:bframes=3:open-gop=1:scenecut=0
    encode 320x192 60 25:1 hevc.ts -c:v libx265 -preset ultrafast \
        -x265-params log-level=error:keyint=20:min-keyint=20:bframes=3:open-gop=0:scenecut=0
    encode 320x192 60 25:1 vp9_alt_ref.webm -c:v libvpx-vp9 -deadline good -cpu-used 5 -row-mt 1 \
        -auto-alt-ref 1 -lag-in-frames 16 -g 30 -b:v 600k
    encode 320x192 60 25:1 vp8_alt_ref.webm -c:v libvpx -deadline good -cpu-used 5 \
        -auto-alt-ref 1 -lag-in-frames 16 -g 30 -b:v 600k
    encode 320x192 40 25:1 mjpeg.avi -c:v mjpeg -q:v 4
    encode 320x192 20 25:1 prores.mov -c:v prores_ks -profile:v 2
    encode 320x192 20 25:1 ffv1.mkv -c:v ffv1
    encode 320x192 20 25:1 png.mkv -c:v png
    encode 320x192 20 25:1 numbers.gif
}

make_rates() {
    encode 320x192 90 30000:1001 rate_30000_1001.mp4 $(x264 keyint=30:bframes=2)
    encode 320x192 90 24000:1001 rate_24000_1001.mkv $(x264 keyint=30:bframes=2)
    encode 320x192 90 60:1 rate_60.mkv $(x264 keyint=30:bframes=2)
    vfr='setpts=(N+floor(N/3))/25/TB'
    encode 320x192 90 25:1 vfr.mp4 -vf "$vfr" -fps_mode passthrough $(x264 keyint=30:bframes=2)
    encode 320x192 90 25:1 vfr.mkv -vf "$vfr" -fps_mode passthrough $(x264 keyint=30:bframes=2)
    encode 320x192 60 25:1 starts_at_8s.mp4 -output_ts_offset 8 $(x264 keyint=30:bframes=2)
    encode 320x192 60 25:1 starts_at_8s.mkv -output_ts_offset 8 $(x264 keyint=30:bframes=2)
    encode 320x192 60 25:1 starts_at_8s.ts -output_ts_offset 8 $(x264 keyint=30:bframes=2)
    ff -ss 1.04 -i plain.mp4 -c copy edit_list.mp4
}

make_fields() {
    for order in tff bff; do
        top=$([ $order = tff ] && echo 1 || echo 0)
        encode 320x192 30 25:1 h264_$order.mp4 -vf setfield=$order $(x264 keyint=15:bframes=2:$order=1)
        encode 320x192 30 25:1 mpeg2_$order.ts -vf setfield=$order \
            -c:v mpeg2video -flags +ilme+ildct -top $top -g 15 -bf 2 -b:v 3M
    done
}

make_sizes() {
    for size in 200x112 340x120 426x120 854x120; do
        encode $size 20 25:1 "width_${size%x*}.mp4" $(x264 keyint=10:bframes=2)
    done
    encode 161x121 20 25:1 odd_161x121.webm -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M
    encode 163x91 10 25:1 odd_163x91.mkv -c:v ffv1
    encode 161x120 10 25:1 odd_161x120.mkv -c:v ffv1
    encode 322x91 10 25:1 odd_322x91.mkv -c:v ffv1
    encode 18x10 10 25:1 tiny_18x10.mkv -c:v ffv1
    encode 320x192 20 25:1 size_before.ts $(x264 keyint=10:bframes=0)
    encode 480x272 20 25:1 size_after.ts $(x264 keyint=10:bframes=0)
    cat size_before.ts size_after.ts >size_grows.ts
    cat size_after.ts size_before.ts >size_shrinks.ts
    rm size_before.ts size_after.ts
}

make_stills() {
    encode 161x121 1 25:1 still.png
    encode 161x121 1 25:1 still.jpg -q:v 3
    encode 160x96 1 25:1 still_alpha.png -vf 'format=rgba,colorchannelmixer=ag=0.7:aa=0.2'
    encode 320x192 1 25:1 one_frame.mp4 $(x264 bframes=2)
    encode 320x192 1 25:1 one_frame.avi -c:v mpeg2video -bf 2
}

make_pixels() {
    alpha='format=rgba,colorchannelmixer=ag=0.7:aa=0.2'
    encode 320x192 20 25:1 alpha_ffv1.mkv -vf "$alpha" -c:v ffv1 -pix_fmt bgra
    encode 320x192 20 25:1 alpha_prores.mov -vf "$alpha" -c:v prores_ks -profile:v 4444 -pix_fmt yuva444p10le
    encode 320x192 20 25:1 alpha_qtrle.mov -vf "$alpha" -c:v qtrle -pix_fmt argb
    encode 320x192 30 25:1 ten_bit.mp4 -c:v libx264 -preset veryfast -pix_fmt yuv420p10le -g 15
    encode 320x192 20 25:1 full_range_444.mp4 -c:v libx264 -preset veryfast -pix_fmt yuvj444p -g 10
    encode 320x192 20 25:1 gray.mkv -c:v ffv1 -pix_fmt gray
    encode 320x192 20 25:1 rgb24.avi -c:v rawvideo -pix_fmt bgr24
    "$generator" bgr0 322 96 10 25:1 | ffmpeg -hide_banner -loglevel error -y \
        -f rawvideo -pix_fmt bgr0 -video_size 322x96 -framerate 25 -i - -c:v copy zero_padding.nut
}

make_sound() {
    ff -f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 -c:a pcm_s16le tone.wav
    ff -i plain.mp4 -f lavfi -i sine=frequency=440:duration=6 -f lavfi -i sine=frequency=880:duration=6 \
        -map 0:v -map 1:a -map 2:a -c:v copy -c:a aac -shortest two_audio_tracks.mp4
    tracks=$(for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17; do printf ' -map 1:a'; done)
    ff -i h264.mkv -f lavfi -i sine=sample_rate=8000:duration=1 -map 0:v $tracks -c:v copy -c:a pcm_u8 seventeen_audio_tracks.mkv
    ff -i tone.wav -i still.png -map 0:a -map 1:v -c:a flac -c:v copy -disposition:v attached_pic cover_picture.flac
}

# Matroska as it is sent while it is still being made: no duration, no index, nothing of it known beforehand.
make_live() {
    live='-f matroska -live 1'
    encode 320x192 60 25:1 pipe:1 $live $(x264 keyint=20:bframes=3) >live_h264.mkv
    encode 320x192 60 25:1 pipe:1 $live -c:v libx265 -preset ultrafast \
        -x265-params log-level=error:keyint=20:bframes=3 >live_hevc.mkv
    encode 320x192 60 25:1 pipe:1 $live -c:v mpeg2video -g 15 -bf 2 -b:v 2M >live_mpeg2.mkv
    encode 320x192 60 25:1 pipe:1 $live -c:v mpeg4 -g 20 -bf 2 -b:v 1M >live_mpeg4.mkv
    encode 320x192 60 25:1 pipe:1 $live -c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M >live_vp8.mkv
}

# Small files for the tests of opening, of damage and of sources that are no files.
make_opening() {
    picture=testsrc2=size=160x96:rate=25:duration
    tone=sine=sample_rate=8000:duration
    ff -f lavfi -i $picture=2 -f lavfi -i sine=440:duration=2 -f lavfi -i sine=660:duration=2 -map 0 -map 1 -map 2 \
        -c:v mpeg4 -q:v 4 -bf 0 -g 12 -c:a:0 pcm_s16le -c:a:1 mp2 two_tracks_pcm_mp2.mkv
    ff -f lavfi -i $picture=4 -c:v mpeg2video -g 1 -q:v 4 intra_mpeg2.ts
    ff -f lavfi -i $picture=1 -frames:v 1 -fps_mode vfr -c:v msmpeg4v3 no_average_rate.asf
    ff -f lavfi -i $picture=1 -f lavfi -i $tone=1 -c:v libx264 -bf 2 -g 10 -c:a aac small_h264_aac.mp4
    ff -f lavfi -i $picture=1 -f lavfi -i $tone=1 -c:v mpeg4 -bf 1 -g 10 -c:a pcm_u8 small_mpeg4_pcm.avi
    ff -f lavfi -i $picture=1 -c:v libvpx -deadline realtime -cpu-used 8 -g 10 -b:v 200k small_vp8.webm
}

# What ffprobe says of the first video stream, one line each: width, height, pixel format.
first_video() {
    ffprobe -v error -select_streams v:0 -show_entries stream=width,height,pix_fmt \
        -of default=nokey=1:noprint_wrappers=1 "$1" 2>/dev/null | head -n 3
}

# reference FILE LIST: what the ffmpeg program decodes from the first video stream, every picture once and unscaled.
# Damaged pictures count only if a decoder hands them out by itself, which the program by default asks it to do.
reference() {
    set -- "$1" "$2" $(first_video "$1")
    [ "${3:-0}" -gt 0 ] || return 0
    ff -noautorotate -flags -output_corrupt -i "$1" -map 0:v:0 -autoscale 0 -fps_mode passthrough -f rawvideo - \
        2>/dev/null | "$reference" "$5" "$3" "$4" "$2" || {
        echo "no reference for $1" >&2
        rm -f "$2"
    }
}

make_references() {
    for path in "$real"/*; do
        [ ! -f "$path" ] || reference "$path" "real/$(basename "$path").frames"
    done &
    # A change of size in mid-stream has no reference: its pictures are told by their numbers alone.
    for file in *.*; do
        case $file in size_*) ;; *) reference "$file" "$file.frames" ;; esac
    done
    wait $!
}

make_all() {
    mkdir real
    make_gops
    make_codecs &
    make_rates
    make_fields
    make_sizes
    make_stills
    make_pixels
    wait $!
    make_sound
    make_live
    make_opening
    make_references
}

mkdir -p "$out"
exec 9>"$out.lock"
flock 9
stamp=$(fingerprint | sha256sum)
if [ "$stamp" = "$(cat "$out/stamp" 2>/dev/null || true)" ]; then
    exit 0
fi
fresh="$out.making"
rm -rf "$fresh"
mkdir -p "$fresh"
(cd "$fresh" && make_all)
echo "$stamp" >"$fresh/stamp"
rm -rf "$out"
mv "$fresh" "$out"
