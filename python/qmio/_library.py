"""The library as ctypes sees it: where it lies, and the calls that the rest of the package makes."""

import ctypes
import os
import sys
from ctypes import POINTER, c_char_p, c_int, c_int32, c_int64, c_longlong, c_uint8, c_uint32, c_uint64, c_void_p


class Picture(ctypes.Structure):
    """imio_picture of qmio.h."""

    _fields_ = [
        ("format", c_int32),
        ("reserved0", c_uint32),
        ("data", c_void_p),
        ("reserved1", c_uint64),
        ("width", c_int32),
        ("height", c_int32),
        ("line_size", c_int32),
        ("reserved2", c_uint32 * 3),
        ("alignment", c_int32),
        ("reserved3", c_uint32 * 5),
        ("reserved4", c_uint64),
    ]


class Times(ctypes.Structure):
    """qmio_time_param of qmio.h."""

    _fields_ = [
        ("pts", c_int64),
        ("dts", c_int64),
        ("start", c_int64),
        ("duration", c_int64),
        ("time_base_num", c_int32),
        ("time_base_den", c_int32),
        ("frame_rate_num", c_int32),
        ("frame_rate_den", c_int32),
        ("container_start", c_int64),
        ("container_duration", c_int64),
        ("frame_count", c_int64),
    ]


# name: (result, arguments). A handle is a pointer that nobody looks into.
_PROTOTYPES = {
    "qmio_alloc": (c_void_p, [c_int]),
    "qmio_close": (c_int, [c_void_p]),
    "qmio_cancel": (c_int, [c_void_p]),
    "qmio_copy_frame": (c_int, [c_void_p, c_void_p]),
    "qmio_create_u8": (c_void_p, [c_char_p, c_char_p, c_uint32]),
    "qmio_finish": (c_int, [c_void_p]),
    "qmio_get_file_info": (c_char_p, [c_void_p, c_char_p]),
    "qmio_get_file_param": (c_int64, [c_void_p, c_char_p]),
    "qmio_get_frame": (c_int, [c_void_p]),
    "qmio_get_id": (ctypes.c_ssize_t, [c_char_p, c_char_p]),
    "qmio_get_stream_param": (c_int64, [c_void_p, c_char_p, c_int]),
    "qmio_get_text": (c_int, [c_void_p, c_int, c_char_p, c_char_p, c_int]),
    "qmio_get_time_param": (c_int, [c_void_p, c_char_p, POINTER(Times)]),
    "qmio_image_fill_arrays": (
        c_int,
        [POINTER(c_void_p), POINTER(c_int), c_void_p, c_int, c_int, c_int, c_int],
    ),
    "qmio_mux_u8": (c_void_p, [c_char_p, c_char_p, c_void_p, c_void_p]),
    "qmio_open_u8": (c_void_p, [c_char_p, c_char_p]),
    "qmio_read_sound": (c_int, [c_void_p, c_int, c_int64, c_int, c_void_p, c_int]),
    "qmio_release_frame": (c_int, [c_void_p]),
    "qmio_seek_frame": (c_int, [c_void_p, c_int]),
    "qmio_set_dst_audio": (c_int, [c_void_p, c_int, c_int, c_int]),
    "qmio_set_dst_fmt": (c_int, [c_void_p, c_int]),
    "qmio_set_track": (c_int, [c_void_p, c_int]),
    "qmio_timecode": (c_int, [c_void_p, c_longlong, c_char_p, c_int]),
    "qmio_why": (c_int, [c_char_p, c_int]),
    "qmio_write_frame": (c_int, [c_void_p, c_void_p]),
    "qmio_write_track": (c_int, [c_void_p, c_int, c_void_p, c_int]),
    "imio_get_buf": (c_int, [c_void_p, POINTER(Picture)]),
    "imio_read_frame": (c_int, [c_void_p, POINTER(Picture)]),
    "imio_video_pkt": (c_int, [c_void_p, POINTER(Picture), c_void_p]),
}


def _load():
    name = "qmio.dll" if sys.platform == "win32" else "libqmio.so.3"
    library = ctypes.CDLL(os.environ.get("QMIO_LIBRARY") or name)
    for function, (result, arguments) in _PROTOTYPES.items():
        prototype = getattr(library, function)
        prototype.restype = result
        prototype.argtypes = arguments
    return library


library = _load()


class Error(Exception):
    """What the library could not do: its reason as text, FFmpeg's negative number of the cause as `code`."""

    def __init__(self, text, code=0):
        super().__init__(text)
        self.code = code


def why(otherwise):
    """The Error of this thread's last failed call; with the text `otherwise` where the library tells none."""
    text = ctypes.create_string_buffer(2048)
    code = library.qmio_why(text, len(text))
    return Error(text.value.decode("utf-8", "replace") or otherwise, code)


def forget():
    """Drops what an earlier call of this thread left, so that `why` tells of the next one alone."""
    library.qmio_why(None, 0)


def encoded(path):
    return os.fspath(path).encode("utf-8", "surrogateescape") if not isinstance(path, bytes) else path


def picture_bytes(pixel_format, width, height):
    """Bytes of a picture whose planes and rows follow one another without gaps."""
    size = library.qmio_image_fill_arrays(
        (c_void_p * 4)(), (c_int * 4)(), None, pixel_format, width, height, 1
    )
    if size <= 0:
        raise Error("there is no picture of %d x %d in this pixel format" % (width, height), size)
    return size


def pixel_format_number(name):
    number = library.qmio_get_id(name.encode(), b"pix")
    if number < 0:
        raise ValueError("there is no pixel format %r" % name)
    return number
