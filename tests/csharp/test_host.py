"""Runs the host in C# by mono: test_host.py LIBRARY FOLDER_OF_MEDIA. The ffmpeg program tells what is right."""

import os
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
FRAMES = ["40", "7", "8", "0", "99"]


def output_of(*command, **keys):
    return subprocess.run(list(map(str, command)), check=True, stdout=subprocess.PIPE, text=True, **keys).stdout


def hashes(film):
    """Of every picture as yuv420p, in order."""
    lines = output_of("ffmpeg", "-v", "error", "-i", film, "-map", "0:v:0", "-pix_fmt", "yuv420p", "-f", "framemd5", "-")
    return [line.split(",")[-1].strip() for line in lines.splitlines() if not line.startswith("#")]


def main(library, media):
    film = pathlib.Path(media) / "plain.mp4"
    with tempfile.TemporaryDirectory() as folder:
        host, copy = pathlib.Path(folder) / "host.exe", pathlib.Path(folder) / "Kopie 写.avi"
        output_of("mcs", "-out:%s" % host, HERE / "Host.cs", HERE.parents[1] / "csharp" / "Qmio.cs")
        where = dict(os.environ, LD_LIBRARY_PATH=str(pathlib.Path(library).parent), MONO_PATH=folder)
        lines = output_of("mono", host, film, copy, "/no/such film", *FRAMES, env=where).splitlines()
        wanted = hashes(film)
        assert lines[: len(FRAMES)] == ["%s %s" % (frame, wanted[int(frame)]) for frame in FRAMES], lines
        assert hashes(copy) == [wanted[int(frame)] for frame in FRAMES], "the copy"
        assert lines[len(FRAMES)] == "closed", lines
        assert lines[len(FRAMES) + 1].startswith("-2 ") and "No such file" in lines[len(FRAMES) + 1], lines


main(*sys.argv[1:])
