#!/usr/bin/env bash
# Makes what the fuzzers begin with, a folder for each target:
#   make_seeds.sh FOLDER
set -euo pipefail

folder=$1
rm -rf "$folder"
mkdir -p "$folder"/{read_memory,options,memory_header,configuration,frame_index,shared_files,write_memory}

# Operations as bytes, and how many they are: what the targets take from the end.
operations='\x00\x03\x01\x05\x03\x07\x07\x02\x10\x06\x02\x02\x01\x08\x00\x00\x0a\x20\x00\x01\x0f'

make_film() {
    local name=$1
    shift
    ffmpeg -v error -nostdin -y -f lavfi -i testsrc=size=48x32:rate=25:duration=0.4 \
        -f lavfi -i sine=sample_rate=8000:duration=0.4 -threads 1 -fflags +bitexact "$@" "$folder/film"
    # The options of the library's opening are chosen by the last byte but one.
    { cat "$folder/film" && printf '%b' "$operations"; } >"$folder/read_memory/$name"
    rm "$folder/film"
}

make_film mp4 -c:v mpeg4 -bf 1 -g 4 -c:a aac -f mp4
make_film h264.mp4 -c:v libx264 -preset ultrafast -g 4 -bf 1 -c:a aac -f mp4
make_film fragmented.mp4 -c:v libx264 -preset ultrafast -g 4 -an -movflags frag_keyframe+empty_moov -f mp4
make_film mov -c:v mjpeg -q:v 20 -c:a pcm_s16le -timecode 10:00:00:00 -f mov
make_film mkv -c:v libx264 -preset ultrafast -g 4 -c:a flac -f matroska
make_film webm -c:v libvpx -deadline realtime -c:a libopus -f webm
make_film avi -c:v mpeg4 -bf 1 -g 4 -c:a pcm_s16le -f avi
make_film ts -c:v mpeg2video -g 4 -bf 2 -c:a mp2 -ar 16000 -f mpegts
make_film mpg -c:v mpeg1video -an -f mpeg
make_film mxf -c:v mpeg2video -s 64x64 -g 4 -c:a pcm_s16le -ar 48000 -f mxf
make_film flv -c:v flv1 -c:a libmp3lame -ar 11025 -f flv
make_film asf -c:v wmv2 -c:a wmav2 -f asf
make_film nut -c:v ffv1 -an -f nut
make_film gif -c:v gif -an -f gif
make_film png -c:v png -an -frames:v 1 -f image2pipe
make_film wav -vn -c:a adpcm_ms -f wav
make_film ogg -vn -c:a flac -f ogg

number=0
while IFS= read -r line; do
    # An odd last byte opens, an even one creates.
    number=$((number + 1))
    printf '%s%b' "$line" "\x0$((number % 2))" >"$folder/options/$number"
    printf '%s%b' "$line" "\x0$(((number + 1) % 2))" >"$folder/options/${number}_other"
done <<'END'
threads=1,count=1,rotate=1,matrix=file
fmt=mp4,vcodec=libx264,preset=ultrafast,size=32x32,pix=yuv420p,b:v=2M,acodec=aac,ar=48000,ac=2,afmt=fltp
fmt=mpegts,probesize=1M,analyzeduration=1000000,fflags=+genpts
open_timeout=2.5,cancel=12,timeout=1000000
fmt=matroska vcodec=ffv1 width=16 height=16 r=30000/1001 metadata="title=a, b,artist=c" tag:v:language="deu"
fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=32x32,top=1,vtag=MJPG,acodec=pcm_s16le,ar=8k,channels=1,ab=64k
fmt=mov,vcodec=mpeg4,bf=2,g=4,timecode=10:00:00;00,movflags=faststart+frag_keyframe,strict:v=experimental
fmt=mxf,vcodec=mpeg2video,size=64x64,acodec=pcm_s16le,sample_rate=48000,ch_layout=5.1,sample_fmt=s16
threads=2,thread_type=frame,skip_frame=nokey,max_pixels=100000,codec:v=libvpx,c:a=flac
END

printf '%b' '20\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00' >"$folder/header"
for options in 0 1 2 3 4; do
    { cat "$folder/header" && head -c 32 /dev/zero && printf '%b' "\x0$options\x01\x00"; } >"$folder/memory_header/write$options"
done
ffmpeg -v error -nostdin -y -f lavfi -i testsrc=size=16x16 -frames:v 1 -fflags +bitexact -f image2pipe -c:v png "$folder/png"
size=$(stat -c %s "$folder/png")
printf '%-28s' "$(printf '%X' "$size")" | tr ' ' '\0' | cat - "$folder/png" <(printf '%b' '\x01\x01') >"$folder/memory_header/read"
rm "$folder/png" "$folder/header"

cat >"$folder/configuration/all" <<'END'
<qmio>
  <log>warning</log> <log_file>/tmp/x.log</log_file> <log_to_file>1</log_to_file>
  <trace><open>1</open><seek>1</seek></trace>
  <encoding>win1251</encoding> <scale_alg>0x10</scale_alg> <num_cores>3</num_cores>
  <max_pixels>1000</max_pixels> <max_streams>20</max_streams> <frame_cache>10</frame_cache>
  <decoder>h264_v4l2m2m</decoder> <encoder><!-- none -->mpeg4</encoder>
  <format option="probesize">10000000</format> <codec option="threads"><![CDATA[1]]></codec>
</qmio>
END
printf '<a><encoding>932</encoding><nested_open>1</nested_open></a>' >"$folder/configuration/small"

for target in frame_index shared_files write_memory; do
    for number in $(seq 12); do
        # As octal escapes, since awk's own characters would be those of the locale.
        printf '%b' "$(awk -v seed="$number" 'BEGIN { srand(seed); for (i = 0; i < 120; ++i) printf "\\0%03o", int(rand() * 256) }')" \
            >"$folder/$target/$number"
    done
done
touch "$folder/stamp"
