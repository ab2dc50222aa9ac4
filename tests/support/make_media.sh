#!/bin/sh
# make_media.sh OUT PROGRAMS [REAL]
#   Makes the tests' media in OUT, each file named for its trait and followed by FILE.frames, the hashes of the pictures
#   that the ffmpeg program decodes from it, and FILE.sound, those of its sound; OUT/real gets the same for every file of
#   the folder REAL. What is made for its sound alone lies in OUT/sound, for the counting of pictures in OUT/counted.
#   PROGRAMS is the folder of the built numbered_frames, reference_frames, reference_sound and merge_packets.
#   What OUT was made from is stamped into it: while that has not changed, a second run does nothing.
set -eu

out=$1 programs=$2 real=${3:-}
generator=$programs/numbered_frames
here=$(cd "$(dirname "$0")" && pwd)

fingerprint() {
    cat "$here"/make_media.sh "$here"/numbered_frames.cpp "$here"/numbered_picture.h \
        "$here"/reference_frames.cpp "$here"/picture_hash.h \
        "$here"/reference_sound.cpp "$here"/sound_hash.h "$here"/merge_packets.cpp
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
        encode 320x192 30 25:1 h264_$order.mp4 -vf setfield=$order $(x264 keyint=15:bframes=2:$order=1)
        encode 320x192 30 25:1 mpeg2_$order.ts -vf setfield=$order \
            -c:v mpeg2video -flags +ilme+ildct -g 15 -bf 2 -b:v 3M
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

# What tells nothing of its length or a wrong one, or whose pictures are not evenly spaced.
make_uncounted() {
    small='160x96 60 25:1'
    x265='-c:v libx265 -preset ultrafast -x265-params log-level=error:scenecut=0:keyint=16:min-keyint=16:bframes=3'
    uneven='-vf setpts=(N+floor(N/3)+mod(N\,2)*0.4)/25/TB -fps_mode passthrough'
    encode $small counted/raw_open_gop.h264 $(x264 keyint=16:min-keyint=16:bframes=3:b-pyramid=normal:open-gop=1)
    encode $small counted/raw_interlaced.h264 $(x264 keyint=16:min-keyint=16:bframes=2:interlaced=1)
    tail -c +6000 counted/raw_open_gop.h264 >counted/raw_starts_inside_gop.h264
    encode $small counted/raw_open_gop.hevc $x265:open-gop=1:b-pyramid=1
    encode $small counted/raw.hevc $x265:open-gop=0
    encode $small counted/raw.m1v -c:v mpeg1video -g 12 -bf 2
    encode $small counted/raw.m4v -c:v mpeg4 -g 12 -bf 2
    encode $small counted/raw_intra.m2v -c:v mpeg2video -g 1
    encode $small counted/raw.mjpeg -c:v mjpeg
    encode $small counted/raw.h263 -c:v h263 -s 176x144
    encode $small counted/raw.drc -c:v vc2
    encode $small counted/raw_alt_ref_vp8.ivf -c:v libvpx -deadline good -cpu-used 5 -auto-alt-ref 1 -lag-in-frames 16 -g 20
    encode $small counted/raw_alt_ref_vp9.ivf -c:v libvpx-vp9 -deadline good -cpu-used 5 -auto-alt-ref 1 -lag-in-frames 16 -g 20
    encode $small counted/raw.apng -c:v apng
    encode $small counted/no_length.swf -c:v flv
    encode $small counted/no_length.roq -c:v roqvideo -s 256x128 -r 30
    encode $small counted/no_length.asf -c:v msmpeg4
    encode $small counted/no_length_bframes.asf -c:v mpeg4 -g 16 -bf 2
    encode $small counted/no_length_bframes.ts -c:v mpeg4 -g 16 -bf 2
    encode $small counted/no_length_vp8.ogg -c:v libvpx -deadline realtime -cpu-used 8
    encode $small counted/h264_bframes.avi $(x264 keyint=16:min-keyint=16:bframes=3)
    encode $small counted/mpeg1.mpg -c:v mpeg1video -g 12 -bf 2
    encode $small counted/mpeg2.mxf -c:v mpeg2video -g 12 -bf 2
    encode $small counted/uneven.mp4 $uneven $(x264 keyint=16:bframes=3)
    encode $small counted/uneven.mkv $uneven $(x264 keyint=16:bframes=3)
    encode $small counted/uneven.ts $uneven $(x264 keyint=16:bframes=3)
    encode $small counted/uneven.flv $uneven $(x264 keyint=16:bframes=3)
    encode $small counted/uneven.nut $uneven $(x264 keyint=16:bframes=3)
    encode $small counted/uneven.webm $uneven -c:v libvpx -deadline realtime -cpu-used 8
    encode $small counted/uneven.ogv $uneven -c:v libtheora
    ff -ss 0.5 -i counted/uneven.mp4 -c copy counted/uneven_edit_list.mp4
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

# tones CHANNELS RATE SECONDS [FIRST]: noise and a tone of its own in every channel, from FIRST Hz on.
tones() {
    expressions='' channel=0
    while [ $channel -lt "$1" ]; do
        expressions="$expressions|0.4*sin(2*PI*$((${4:-300} + 110 * channel))*t)+0.05*(random($channel)-0.5)"
        channel=$((channel + 1))
    done
    set -- "$1" "$2" "$3" $(echo mono stereo 2.1 4.0 5.0 5.1 6.1 7.1 | cut -d ' ' -f "$1")
    echo "aevalsrc=${expressions#|}:sample_rate=$2:duration=$3:channel_layout=$4"
}

# sound FILE CHANNELS RATE ARGUMENT...: a second and a bit of sound into FILE.
sound() {
    file=sound/$1 source=$(tones "$2" "$3" 1.1)
    shift 3
    ff -f lavfi -i "$source" "$@" "$file"
}

make_sound_codecs() {
    sound mono_u8.wav 1 8000 -c:a pcm_u8
    sound stereo_u8.wav 2 11025 -c:a pcm_u8
    sound stereo_s16.wav 2 44100 -c:a pcm_s16le
    sound three_s16.mov 3 48000 -c:a pcm_s16be
    sound five_one_s24.mov 6 48000 -c:a pcm_s24le
    sound seven_one_s16.wav 8 48000 -c:a pcm_s16le
    sound stereo_s32.mkv 2 96000 -c:a pcm_s32le
    sound stereo_f32.wav 2 44100 -c:a pcm_f32le
    sound stereo_f64.mkv 2 48000 -c:a pcm_f64le
    sound stereo_s64.nut 2 48000 -c:a pcm_s64le
    sound alaw.wav 1 8000 -c:a pcm_alaw
    sound stereo.aac 2 44100 -c:a aac
    sound mono.m4a 1 22050 -c:a aac
    sound five_one_aac.mp4 6 48000 -c:a aac
    sound stereo.ac3 2 32000 -c:a ac3
    sound five_one_ac3.mkv 6 48000 -c:a ac3
    sound five_one_eac3.ts 6 48000 -c:a eac3
    sound stereo_16_bit.flac 2 44100 -c:a flac
    sound five_one_24_bit.flac 6 96000 -c:a flac -sample_fmt s32 -bits_per_raw_sample 24
    sound longest_frames.flac 2 8000 -c:a flac -compression_level 0 -frame_size 65535 -strict experimental
    sound mono.opus 1 48000 -c:a libopus -b:a 48k
    sound five_one_opus.mkv 6 48000 -c:a libopus -b:a 128k
    sound stereo.ogg 2 44100 -c:a libvorbis
    sound five_one_vorbis.mkv 6 48000 -c:a libvorbis
    sound stereo.mp3 2 44100 -c:a libmp3lame
    sound mono.mp3 1 22050 -c:a libmp3lame
    sound no_gapless.mp3 2 32000 -c:a libmp3lame -write_xing 0 -id3v2_version 0
    sound stereo_alac.m4a 2 44100 -c:a alac
    sound five_one_alac_24_bit.m4a 6 48000 -c:a alac -sample_fmt s32p
    sound stereo.wma 2 44100 -c:a wmav2
    sound stereo.mp2 2 48000 -c:a mp2
    sound ima_adpcm.wav 2 22050 -c:a adpcm_ima_wav
    sound stereo.wv 2 44100 -c:a wavpack
    sound stereo.tta 2 44100 -c:a tta
    sound five_one.dts 6 48000 -c:a dca -strict experimental -b:a 1M
    sound stereo.thd 2 48000 -c:a truehd -strict experimental
    sound g722.wav 1 16000 -c:a g722
    sound speex.ogg 1 16000 -c:a libspeex
}

# Several frames of sound in every packet, and sound that changes its form on the way.
make_sound_oddities() {
    "$programs/merge_packets" sound/stereo.mp2 sound/three_frames_per_packet_mp2.mkv 3
    "$programs/merge_packets" sound/stereo.mp2 sound/eight_frames_per_packet_mp2.mkv 8
    sound mono_44100.aac 1 44100 -c:a aac
    sound stereo_22050.aac 2 22050 -c:a aac
    sound five_one_48000.ac3 6 48000 -c:a ac3
    cd sound
    cat mono_44100.aac stereo.aac >mono_then_stereo.aac
    cat stereo.aac mono_44100.aac >stereo_then_mono.aac
    cat stereo.aac stereo_22050.aac >44100_then_22050.aac
    cat stereo.ac3 five_one_48000.ac3 >stereo_32000_then_five_one_48000.ac3
    rm mono_44100.aac stereo_22050.aac five_one_48000.ac3
    cd ..
}

# One file for every number of tracks, and sixteen in another container.
make_tracks() {
    set -f # the sources are full of asterisks
    set -- 1 2 6 1 3 8 2 1 4 2 1 5 1 7 2 1
    inputs='' maps='' track=0
    for channels; do
        inputs="$inputs -f lavfi -i $(tones "$channels" 16000 0.25 $((200 + 37 * track)))"
        maps="$maps -map $track:a"
        track=$((track + 1))
        ff $inputs $maps -c:a pcm_s16le sound/tracks_$track.mkv
    done
    ff $inputs $maps -c:a pcm_s16le sound/tracks_16.mov
    set +f
}

make_mixed_tracks() {
    set -- -f lavfi -i "$(tones 2 48000 1)" -f lavfi -i "$(tones 1 44100 1)" -f lavfi -i "$(tones 6 48000 1)" \
        -f lavfi -i "$(tones 2 96000 1)" -f lavfi -i "$(tones 2 48000 1)" -f lavfi -i "$(tones 1 8000 1)" \
        -f lavfi -i "$(tones 2 22050 1)" -f lavfi -i "$(tones 2 44100 1)" -f lavfi -i "$(tones 2 44100 1)" \
        -f lavfi -i "$(tones 2 16000 1)"
    ff "$@" -map 0 -map 1 -map 2 -map 3 -map 4 -map 5 -map 6 -map 7 -map 8 -map 9 -c:a:0 pcm_s16le -c:a:1 aac \
        -c:a:2 ac3 -c:a:3 flac -c:a:4 libopus -c:a:5 pcm_u8 -c:a:6 libmp3lame -c:a:7 pcm_f32le -c:a:8 libvorbis \
        -c:a:9 pcm_s16le sound/mixed_tracks.mkv
    ff -f lavfi -i "$(tones 2 16000 1)" -f lavfi -i "$(tones 2 48000 1)" -map 0 -map 1 -c:a pcm_s16le \
        sound/low_rate_first.mkv
}

# What ffprobe says of the first video stream, one line each: width, height, pixel format.
first_video() {
    ffprobe -v error -select_streams v:0 -show_entries stream=width,height,pix_fmt \
        -of default=nokey=1:noprint_wrappers=1 "$1" 2>/dev/null | head -n 3
}

# reference FILE LIST: what the ffmpeg program decodes from the first video stream, every picture once and unscaled.
# Damaged pictures count only if a decoder hands them out by itself, which the program by default asks it to do. Fails where
# there is none.
reference() {
    set -- "$1" "$2" $(first_video "$1")
    [ "${3:-0}" -gt 0 ] || return 0
    lost=0
    ff -noautorotate -flags -output_corrupt -i "$1" -map 0:v:0 -noautoscale -fps_mode passthrough -f rawvideo - \
        2>"$2.errors" | "$programs/reference_frames" "$5" "$3" "$4" "$2" || {
        lost=1
        tell_lost "$1" "$2"
        rm -f "$2"
    }
    rm "$2.errors"
    return $lost
}

# A pipe keeps the exit code of its last program alone: that ffmpeg failed shows in that nothing came out of it.
tell_lost() {
    echo "no reference for $1" >&2
    head -n 5 "$2.errors" >&2
}

# The audio streams by ffprobe's word, a line each: sample format, rate, channels.
audio_streams() {
    # Streams of a programme are told twice; the index in front makes them one again.
    ffprobe -v error -select_streams a -show_entries stream=index,sample_fmt,sample_rate,channels -of csv=p=0 "$1" \
        2>/dev/null | grep , | sort -nu | tr ',' ' '
}

# sound_reference FILE LIST: what the ffmpeg program decodes from each audio stream, in the decoder's own format.
sound_reference() {
    audio_streams "$1" | {
        track=0 lost=0
        while read -r _ format rate channels _; do
            case $format in
                u8*) bytes=1 raw=u8 ;;
                s16*) bytes=2 raw=s16le ;;
                s32*) bytes=4 raw=s32le ;;
                s64*) bytes=8 raw=s64le ;;
                flt*) bytes=4 raw=f32le ;;
                dbl*) bytes=8 raw=f64le ;;
                *) bytes=0 raw=none ;;
            esac
            if [ $bytes -gt 0 ] && [ $track -lt 16 ]; then
                ff -i "$1" -map 0:a:$track -c:a pcm_$raw -f data - 2>"$2.errors" |
                    "$programs/reference_sound" $track "$format" $bytes "$channels" "$rate" >>"$2" || {
                    lost=1
                    tell_lost "the sound of $1" "$2"
                }
                rm "$2.errors"
            fi
            track=$((track + 1))
        done
        return $lost
    }
}

make_sound_references() {
    for path in "$real"/*; do
        [ ! -f "$path" ] || sound_reference "$path" "real/$(basename "$path").sound" || true # damaged, some of them
    done &
    for file in *.* sound/*; do
        case $file in
            *.frames | *.sound) ;;
            */tracks_?.mkv | */tracks_1[0-5].mkv) ;; # the beginning of tracks_16.mkv
            *_then_five_one_*) ;;                    # of two forms, which the ffmpeg program brings into one
            *) sound_reference "$file" "$file.sound" ;;
        esac
    done
    wait $!
}

make_references() {
    for path in "$real"/*; do
        [ ! -f "$path" ] || reference "$path" "real/$(basename "$path").frames" || true # damaged, some of them
    done &
    # A change of size in mid-stream has no reference: its pictures are told by their numbers alone.
    for file in *.* counted/*.*; do
        case $file in size_*) ;; *) reference "$file" "$file.frames" ;; esac
    done
    wait $!
}

make_all() {
    mkdir real sound counted
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
    make_uncounted
    make_opening
    make_sound_codecs
    make_sound_oddities
    make_tracks
    make_mixed_tracks
    make_references
    make_sound_references
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
