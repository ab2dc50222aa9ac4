#!/usr/bin/env bash
# write_page.sh TABLE: the page that is published, around the table that the program printed.
set -euo pipefail

cat <<'END'
# Benchmarks

Made by `./dev bench`: every figure is the mean of two rounds in which all contenders take turns. Higher is better. The last
two columns tell how many times as fast as the plain FFmpeg loop the library is, by the clock and by the processor time of the
process.

The plain loop is what a host would write without the library: it decodes with FFmpeg's threads, and for a frame by number it
seeks to the key frame before and decodes forward. The library's pictures are compared with it byte for byte before they are
timed; of the other libraries, whose colours are converted in ways of their own, every picture has to look like the wanted one
more than like any other, and how many did not is told beside the figure. "Back by 1" and "to and fro" take the others minutes,
so the others do a tenth and a fifth of that work. "Frames passed" are those of the film between the first and the last that
was asked for; "the same again" is one frame fifty times; the queue is a reader that runs ahead in a thread of its own; "open
and count" is `count=1` against a loop that reads all packets. Where a loop is wrong its speed says little: in a transport
stream it starts at another picture than it asked for. Files are written against the `ffmpeg` program.

![Pictures by number, as parts of the plain loop's speed](benchmarks.svg)

END
cat "$1"
