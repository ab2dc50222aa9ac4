"""Audio and video files by frame number.

    import qmio

    with qmio.open("film.mp4") as media:
        frame = media[100]                      # BGRA, rows x pixels x 4; numpy.asarray(frame) shares its memory
        for frame in media[0:250:25]:
            print(frame.number, frame[0][0][:])
        sound = media.tracks[0].read(48000, 4800)

    with qmio.create("copy.mp4", vcodec="libx264", size=(640, 360), pix="bgra", r=25) as file:
        file.write(frame)

    qmio.remux("film.mkv", "film.mp4")

What fails raises qmio.Error with the library's reason. A Media serves one thread at a time. The library is looked for as
libqmio.so.3 (qmio.dll), or where the environment variable QMIO_LIBRARY says.
"""

from ._library import Error, library
from ._media import Media, Track
from ._writing import Writer, remux

__all__ = ["Error", "Media", "Track", "Writer", "create", "open", "remux", "version"]

version = library.qmio_get_file_info(None, b"ver").decode()


def open(path, options=None, format="bgra", size=None):
    """Opens a file or an address for reading.

    options   as of qmio_open_u8: "count=1,rotate=1"
    format    of the frames: bgra, rgba, argb, abgr, rgb24, bgr24, gray, gray16le, rgb48le, rgba64le give rows of pixels;
              any other, as yuv420p, all its planes one after the other as bytes
    size      (width, height) to which they are scaled; the file's own without
    """
    return Media(path, options, format, size)


def create(path, options="", **keys):
    """Makes a file: qmio.create("a.mp4", vcodec="libx264", size=(640, 360), pix="bgra", acodec="aac", ar=48000, ac=2).

    options   more of them in one text, and those that are no Python names: "b:v=2M,movflags=faststart"
    Without fmt the extension tells the container.
    """
    return Writer(path, options, **keys)
