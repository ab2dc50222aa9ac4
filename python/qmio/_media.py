"""Reading: pictures by number, sound by sample."""

import ctypes
from fractions import Fraction

from ._frames import SAMPLES, Frames, frame_type
from ._library import Error, Picture, Times, encoded, forget, library, pixel_format_number, why

_HELD = 1  # QMIO_PICTURE_HELD
_VIDEO_PACKET = 1  # QMIO_PACKET_VIDEO
_CONTAINER, _VIDEO = -1, -2
_UNKNOWN_TIME = -(2**63)
_SAMPLES_AT_ONCE = 2**20


class _Handle:
    """A MediaHandle, closed once: by `close`, at the end of a `with`, or when nobody has it any more."""

    def __init__(self, handle):
        self._handle = handle

    @property
    def handle(self):
        if not self._handle:
            raise ValueError("the file is closed")
        return self._handle

    def close(self):
        handle, self._handle = self._handle, None
        if handle:
            library.qmio_close(handle)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __del__(self):
        if getattr(self, "_handle", None):
            self.close()

    def _text(self, part, key):
        size = library.qmio_get_text(self.handle, part, key.encode(), None, 0)
        if size < 0:
            return None
        text = ctypes.create_string_buffer(size + 1)
        library.qmio_get_text(self.handle, part, key.encode(), text, size + 1)
        return text.value.decode("utf-8", "replace")

    def param(self, key):
        """A number about the file: qmio_get_file_param."""
        return library.qmio_get_file_param(self.handle, key.encode())


class Track:
    """A track of sound."""

    def __init__(self, media, number):
        self._media = media
        self.number = number
        self.rate = self.param("file_sample_rate")
        self.channels = self.param("file_channels")
        self._form = None

    def __repr__(self):
        return "<qmio.Track %d: %s, %d Hz, %d channels>" % (self.number, self.text("codec"), self.rate, self.channels)

    def text(self, key):
        """Codec, language, any tag of the track: qmio_get_text. None where the file does not tell."""
        return self._media._text(self.number, key)

    def param(self, key):
        return library.qmio_get_stream_param(self._media.handle, key.encode(), self.number)

    def read(self, start, count, rate=None, channels=None, dtype="float32"):
        """`count` samples from the sample `start` on, fewer at the end: an array of samples of channels.

        rate and channels are the track's own unless they are given; dtype is one of uint8, int16, int32, int64, float32,
        float64. The position is counted in the rate that is delivered.
        """
        channels = channels or self.channels
        code, value = SAMPLES[dtype]
        self._choose((channels, rate or self.rate, code))
        buffer = (value * channels * max(count, 0))()
        room = ctypes.sizeof(buffer)
        forget()
        got = library.qmio_read_sound(self._media.handle, self.number, start, count, buffer, room)
        if got < 0:
            raise why("no sound can be read: %d" % got)
        return buffer if got == count else (value * channels * got).from_buffer(buffer)

    def _choose(self, form):
        if form != self._form:
            library.qmio_set_track(self._media.handle, self.number)
            library.qmio_set_dst_audio(self._media.handle, *form)
            self._form = form


def _number_at(times):
    time = times.pts if times.pts != _UNKNOWN_TIME else times.dts
    if time == _UNKNOWN_TIME or times.time_base_den == 0 or times.frame_rate_den == 0:
        return None
    seconds = Fraction(times.time_base_num, times.time_base_den) * (time - times.start)
    return round(seconds * Fraction(times.frame_rate_num, times.frame_rate_den))


class Media(_Handle):
    """A file that is read. media[n] is frame n, media[a:b:c] frames one after the other, `for frame in media` all of them.

    Frames are ctypes arrays of rows, pixels and channels: numpy.asarray(frame) shares their memory. Each has its `number`.
    """

    def __init__(self, path, options=None, format="bgra", size=None):
        self._source = (encoded(path), options.encode() if options else None)
        forget()
        super().__init__(library.qmio_open_u8(*self._source))
        if not self._handle:
            raise why("cannot open %s" % path)
        self.format = format
        self.width, self.height = size or (self.param("width"), self.param("height"))
        self._reader = None  # the iteration that reading stands behind
        self._frames = self._picture = None
        if self.param("nvideo") > 0:
            self._prepare()
        self.tracks = [Track(self, number) for number in range(self.param("naudio"))]

    def _prepare(self):
        number = pixel_format_number(self.format)
        library.qmio_set_dst_fmt(self.handle, number)
        kind = frame_type(self.format, self.width, self.height)
        self._frames = Frames(kind)
        self._picture = Picture(format=number, width=self.width, height=self.height, alignment=1)
        self._picture.line_size = ctypes.sizeof(kind) // self.height
        self._reference = ctypes.byref(self._picture)

    def __repr__(self):
        return "<qmio.Media %d x %d, %d frames, %d tracks>" % (self.width, self.height, len(self), len(self.tracks))

    def __len__(self):
        """Frames by the file's own word; exact with the option count=1."""
        return max(self.param("frames"), 0) if self._frames else 0

    @property
    def frame_rate(self):
        """Frames a second; None when unknown."""
        seconds = self.param("frame_rate_den")
        return Fraction(self.param("frame_rate_num"), seconds) if seconds > 0 else None

    @property
    def duration(self):
        """Seconds; None when unknown."""
        microseconds = self.param("duration_us")
        return microseconds / 1e6 if microseconds not in (_UNKNOWN_TIME, -1) else None

    def text(self, key):
        """Format, title, any tag of the container: qmio_get_text. None where the file does not tell."""
        return self._text(_CONTAINER, key)

    def video_text(self, key):
        """Codec, colour, any tag of the video."""
        return self._text(_VIDEO, key)

    def key_frames(self):
        """Numbers of the key frames, as their times tell: every packet of the file is read, and none decoded.

        Decoding begins with them. Who shares a file among several readers cuts it there; any frame is exact without.
        """
        numbers, times = [], Times()
        with _Handle(library.qmio_open_u8(*self._source)) as packets:
            while (kind := library.qmio_get_frame(packets.handle)) >= 0:
                is_key = kind == _VIDEO_PACKET and library.qmio_get_time_param(packets.handle, b"key", None)
                if is_key and library.qmio_get_time_param(packets.handle, b"packet", ctypes.byref(times)):
                    numbers.append(_number_at(times))
                library.qmio_release_frame(packets.handle)
        return [number for number in numbers if number is not None]

    def timecode(self, frame):
        text = ctypes.create_string_buffer(24)
        if library.qmio_timecode(self.handle, frame, text, len(text)) < 0:
            raise why("the file has no frame rate")
        return text.value.decode()

    def __getitem__(self, index):
        if isinstance(index, slice):
            return (self[number] for number in range(*index.indices(len(self))))
        number = index + len(self) if index < 0 else index
        self._reader = None
        frame = self._sought(number) if number >= 0 else None
        if frame is None:
            raise IndexError("frame %d is not in the file" % index)
        return frame

    def __iter__(self):
        """Every frame, from the first on. Other frames may be asked for on the way."""
        reader, next_number = object(), 0
        if self._frames is None:
            return
        while True:
            if self._reader is not reader:
                frame = self._sought(next_number)
                self._reader = reader
            else:
                frame = self._read()
            if frame is None:
                return
            next_number = frame.number + 1
            yield frame

    def _sought(self, number):
        if self._frames is None:
            raise Error("the file has no video")
        forget()
        if library.qmio_seek_frame(self.handle, number) != number:
            return None
        frame = self._read()
        if frame is None and self.param("dts_frame") == number:
            frame = self._deliver(library.imio_get_buf)  # a still picture is read once, and held from then on
        return frame

    def _read(self):
        """The next picture, None at the end; damaged packets are passed over, as the library's own examples do."""
        frame = self._frames.next()
        self._picture.data = ctypes.addressof(frame)
        result = library.imio_read_frame(self.handle, self._reference)
        while result < 0:
            result = library.imio_read_frame(self.handle, self._reference)
        if result <= _HELD:
            result = library.imio_video_pkt(self.handle, self._reference, None)
        if result <= _HELD:
            return None
        frame.number = self.param("dts_frame")
        return frame

    def _deliver(self, call):
        frame = self._frames.next()
        self._picture.data = ctypes.addressof(frame)
        if call(self.handle, self._reference) <= 0:
            return None
        frame.number = self.param("dts_frame")
        return frame
