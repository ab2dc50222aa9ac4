#!/usr/bin/env bash
# plot.sh PAGE: draws the rows of pictures by number of the first film of the page's table as SVG on standard output.
set -euo pipefail

rows=$(mktemp)
trap 'rm -f "$rows"' EXIT

# WORK, and the speeds of the library, FFMS2 and OpenCV as parts of the plain loop's. Remarks in brackets are left out.
awk -F' *[|] *' '
    $2 ~ /^H\.264/ && $3 !~ /queue|thread/ {
        sub(/,.*/, "", $3)
        for (column = 4; column <= 7; column++) sub(/ .*/, "", $column)
        printf "\"%s\" %g %g %g\n", $3, $4 / $5, $6 / $5, $7 / $5
    }' "$1" >"$rows"

gnuplot <<END
set terminal svg size 860,420 font "sans,12" background "white"
set style data histogram
set style histogram clustered gap 1
set style fill solid border rgb "#666666"
set boxwidth 0.9
set logscale y
set yrange [0.1:*]
set grid ytics lc rgb "#dddddd"
set ylabel "times the speed of a plain FFmpeg loop"
set key top left
set title "1080p H.264, a key frame every 120 frames"
set xtics rotate by -20
plot "$rows" using 2:xtic(1) title "qmio" lc rgb "#1b6ca8", \
     "" using 3 title "FFMS2" lc rgb "#e0a030", \
     "" using 4 title "OpenCV" lc rgb "#9a9a9a", \
     1 with lines lc rgb "black" notitle
END
