"""Media for the tests, made by the command-line host; CTest tells where that and the library are."""

import os
import subprocess

import pytest


def make(path, options, frames):
    subprocess.run(
        [os.environ["QMIO_TOOL"], "--quiet", "make", str(path), options, "--frames", str(frames)], check=True
    )
    return path


@pytest.fixture(scope="session")
def film(tmp_path_factory):
    """50 numbered pictures with B-frames, and two tracks of sound."""
    options = "vcodec=mpeg4,g=12,bf=2,size=320x240,acodec=pcm_s16le,ac=2,acodec=pcm_s16le,ac=1,timecode=10:00:00:00"
    return make(tmp_path_factory.mktemp("media") / "film.mov", options, 50)


@pytest.fixture(scope="session")
def whole(film):
    """Every frame of it in order, by FFmpeg's own program."""
    raw = subprocess.run(
        ["ffmpeg", "-v", "error", "-i", str(film), "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-"],
        check=True,
        stdout=subprocess.PIPE,
    ).stdout
    size = 320 * 240 * 3 // 2
    return [raw[at : at + size] for at in range(0, len(raw), size)]
