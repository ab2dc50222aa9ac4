"""Writing, and copying packets from one container into another."""

import os
import re
import warnings

from ._frames import address_and_size
from ._library import encoded, forget, library, picture_bytes, pixel_format_number, why
from ._media import Media, _Handle

_CONTAINERS = {"mkv": "matroska", "ts": "mpegts", "m4a": "mp4", "m4v": "mp4", "mpg": "mpeg", "aif": "aiff"}
_PAIR = re.compile(r'([^=,\s]+)=("[^"]*"|[^,\s]*)')


def _value(keys, *names):
    return next((keys[name] for name in names if name in keys), None)


def _with_container(path, options):
    keys = dict(_PAIR.findall(options))
    if _value(keys, "fmt", "f") is None:
        extension = os.path.splitext(os.fspath(path))[1][1:].lower()
        options = "fmt=%s,%s" % (_CONTAINERS.get(extension, extension), options)
    return options, keys


def _frame_bytes(keys):
    if _value(keys, "vcodec", "codec", "codec:v", "c:v") is None:
        return 0
    size = _value(keys, "size") or "%sx%s" % (keys.get("width"), keys.get("height"))
    pixels = _value(keys, "pix", "pix_fmt")
    if not re.fullmatch(r"\d+x\d+", size) or pixels is None:
        raise ValueError("the options of video tell its size and pix: size=640x360,pix=yuv420p")
    return picture_bytes(pixel_format_number(pixels), *map(int, size.split("x")))


class Writer(_Handle):
    """A file that is written. At the end of a `with` it is completed, or abandoned where that ends with an exception."""

    def __init__(self, path, options="", **keys):
        given = ["%s=%s" % (key, "%dx%d" % tuple(value) if key == "size" else value) for key, value in keys.items()]
        options, found = _with_container(path, ",".join(filter(None, given + [options])))
        self._size = _frame_bytes(found)
        forget()
        super().__init__(library.qmio_create_u8(encoded(path), options.encode(), 0))
        if not self._handle:
            raise why("cannot make %s" % path)
        # A misspelt option or encoder is no failure of the library's.
        without = str(why(""))
        if without:
            warnings.warn("%s is made: %s" % (path, without), stacklevel=3)

    def write(self, frame):
        """The next picture: a buffer of exactly one, in the size and pixel format of the options."""
        address, size, keeper = address_and_size(frame)
        if size != self._size:
            raise ValueError("a picture has %d bytes here, not %d" % (self._size, size))
        forget()
        if library.qmio_write_frame(self.handle, address) < 0:
            raise why("the picture cannot be written")
        del keeper

    def write_audio(self, samples, track=0):
        """Sound in the form that the options tell, as much as wanted."""
        address, size, keeper = address_and_size(samples)
        frame = 32768 // 8 * 8  # samples that the library takes at once; a byte and more each
        for begin in range(0, size, frame):
            forget()
            if library.qmio_write_track(self.handle, track, address + begin, min(frame, size - begin)) < 0:
                raise why("the sound cannot be written")
        del keeper

    def finish(self):
        """Completes the file; raises what the encoders, the container or the disk refused since it was made."""
        forget()
        if library.qmio_finish(self.handle) < 0:
            raise why("the file cannot be completed")

    def __exit__(self, kind, *_):
        try:
            if kind is None:
                self.finish()
            else:
                library.qmio_cancel(self.handle)
        finally:
            self.close()


def remux(source, target, options=""):
    """Copies the video and the first track of `source` into another container; nothing is decoded or encoded.

    Returns how many packets were copied.
    """
    options, _ = _with_container(target, options)
    with Media(source) as media:
        forget()
        copy = _Handle(library.qmio_mux_u8(encoded(target), options.encode(), media.handle, media.handle))
        if not copy._handle:
            raise why("cannot make %s" % target)
        with copy:
            return _copy_packets(media, copy)


def _copy_packets(media, copy):
    packets = 0
    while library.qmio_get_frame(media.handle) >= 0:
        result = library.qmio_copy_frame(copy.handle, media.handle)
        if result < 0:
            raise why("a packet cannot be copied")
        packets += result > 0
        library.qmio_release_frame(media.handle)
    forget()
    if library.qmio_finish(copy.handle) < 0:
        raise why("the file cannot be completed")
    return packets
