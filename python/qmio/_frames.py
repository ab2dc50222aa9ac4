"""Pictures and sound as ctypes arrays: they have the buffer protocol, so that numpy takes them without a copy."""

import ctypes
import functools
import sys

from ._library import picture_bytes, pixel_format_number

# What a pixel of one plane is made of.
PIXELS = {
    "bgra": (ctypes.c_uint8, 4),
    "rgba": (ctypes.c_uint8, 4),
    "argb": (ctypes.c_uint8, 4),
    "abgr": (ctypes.c_uint8, 4),
    "bgr24": (ctypes.c_uint8, 3),
    "rgb24": (ctypes.c_uint8, 3),
    "gray": (ctypes.c_uint8, 1),
    "gray16le": (ctypes.c_uint16, 1),
    "rgb48le": (ctypes.c_uint16, 3),
    "rgba64le": (ctypes.c_uint16, 4),
}


@functools.lru_cache(maxsize=None)
def frame_type(pixel, width, height):
    """Rows of pixels of channels; rows of pixels for one channel; bytes for formats in planes. Instances have `number`."""
    if pixel in PIXELS:
        value, channels = PIXELS[pixel]
        array = (value * channels if channels > 1 else value) * width * height
    else:
        array = ctypes.c_uint8 * picture_bytes(pixel_format_number(pixel), width, height)
    return type("Frame", (array,), {"number": -1, "__doc__": "A picture: rows, pixels, channels."})


class Frames:
    """Hands out arrays of one type, and those again that nobody has any more: making one costs as much as a conversion."""

    def __init__(self, array_type, keep=3):
        self._type = array_type
        self._made = []
        self._keep = keep

    def next(self):
        for index in range(len(self._made)):
            # The list and the argument of the call: nobody else, no view of it either, since a view has its owner.
            if sys.getrefcount(self._made[index]) == 2:
                return self._made[index]
        frame = self._type()
        self._made = (self._made + [frame])[-self._keep :]
        return frame


# dtype: (code of qmio.h, type)
SAMPLES = {
    "uint8": (8, ctypes.c_uint8),
    "int16": (16, ctypes.c_int16),
    "int32": (32, ctypes.c_int32),
    "int64": (128, ctypes.c_int64),
    "float32": (0, ctypes.c_float),
    "float64": (64, ctypes.c_double),
}


def address_and_size(data):
    """Where the bytes of a buffer lie that has no gaps, how many, and what keeps them there."""
    view = memoryview(data)
    if not view.c_contiguous:
        raise ValueError("the rows of the buffer have gaps")
    flat = view.cast("B") if view.nbytes else view
    if view.readonly:
        keeper = ctypes.create_string_buffer(flat.tobytes(), view.nbytes)
    else:
        keeper = (ctypes.c_char * view.nbytes).from_buffer(flat)
    return ctypes.addressof(keeper), view.nbytes, keeper
