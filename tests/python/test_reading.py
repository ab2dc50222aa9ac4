import subprocess

import numpy
import pytest
import qmio


def test_a_frame_is_an_array_that_numpy_shares(film):
    with qmio.open(film) as media:
        frame = media[10]
        array = numpy.asarray(frame)
        assert array.shape == (240, 320, 4)
        assert array.dtype == numpy.uint8
        assert frame.number == 10
        array[0, 0, 0] ^= 255
        assert frame[0][0][0] == array[0, 0, 0]


def test_frames_by_number_are_those_of_reading_in_order(film, whole):
    with qmio.open(film, format="yuv420p") as media:
        assert len(media) == len(whole) == 50
        for number in (49, 0, 17, 18, 5, -1):
            assert numpy.asarray(media[number]).tobytes() == whole[number]


def test_a_slice_gives_its_frames(film, whole):
    with qmio.open(film, format="yuv420p") as media:
        assert [frame.number for frame in media[40:10:-7]] == [40, 33, 26, 19, 12]
        assert [bytes(frame) for frame in media[3:9:2]] == whole[3:9:2]


def test_iteration_gives_every_frame_and_no_two_share_memory(film, whole):
    with qmio.open(film, format="yuv420p") as media:
        assert [bytes(frame) for frame in media] == whole
        kept = [numpy.asarray(frame) for frame in media]
        assert [array.tobytes() for array in kept] == whole


def test_other_frames_may_be_asked_for_during_an_iteration(film, whole):
    with qmio.open(film, format="yuv420p") as media:
        for number, frame in enumerate(media):
            assert bytes(frame) == whole[number]
            assert bytes(media[49 - number]) == whole[49 - number]


def test_a_frame_that_is_not_there_is_an_index_error(film):
    with qmio.open(film) as media:
        for number in (50, -51, 2**31 - 1):
            with pytest.raises(IndexError):
                media[number]


def test_frames_come_in_the_size_and_format_that_is_asked_for(film):
    with qmio.open(film, format="rgb24", size=(64, 48)) as media:
        assert numpy.asarray(media[0]).shape == (48, 64, 3)
        rgb = numpy.asarray(media[7])
    with qmio.open(film, format="bgra", size=(64, 48)) as media:
        bgra = numpy.asarray(media[7]).astype(int)
        assert abs(bgra[:, :, 2::-1] - rgb).max() < 8
        assert (bgra[:, :, 3] == 255).all()


def test_what_a_file_holds_is_told(film):
    with qmio.open(film) as media:
        assert (media.width, media.height, media.frame_rate, media.duration) == (320, 240, 25, 2.0)
        assert media.video_text("codec") == "mpeg4"
        assert media.timecode(26) == "10:00:01:01"
        assert [track.channels for track in media.tracks] == [2, 1]
        assert media.text("absent") is None


def test_sound_is_that_of_the_track_at_any_place(film):
    raw = subprocess.run(
        ["ffmpeg", "-v", "error", "-i", str(film), "-map", "0:a:0", "-f", "s16le", "-"], check=True, stdout=subprocess.PIPE
    ).stdout
    sound = numpy.frombuffer(raw, numpy.int16).reshape(-1, 2)
    with qmio.open(film) as media:
        for start in (50000, 0, 123):
            got = numpy.asarray(media.tracks[0].read(start, 1000, dtype="int16"))
            assert (got == sound[start : start + 1000]).all()
        assert len(media.tracks[0].read(len(sound) - 10, 100)) == 10
        assert len(media.tracks[0].read(len(sound), 100)) == 0
        assert numpy.asarray(media.tracks[1].read(0, 10, channels=2)).shape == (10, 2)
        assert numpy.asarray(media.tracks[1].read(0, 10)).shape == (10, 1)


def test_a_still_picture_can_be_had_again(tmp_path, film):
    subprocess.run(["ffmpeg", "-v", "error", "-i", str(film), "-frames:v", "1", str(tmp_path / "a.png")], check=True)
    with qmio.open(tmp_path / "a.png") as media:
        assert bytes(media[0]) == bytes(media[0])


def test_the_reason_is_told(tmp_path):
    with pytest.raises(qmio.Error, match="absent.mp4: No such file or directory") as caught:
        qmio.open(tmp_path / "absent.mp4")
    assert caught.value.code == -2


def test_a_closed_file_gives_nothing(film):
    media = qmio.open(film)
    media.close()
    media.close()
    with pytest.raises(ValueError):
        media[0]


def test_key_frames_are_those_of_the_file(film):
    flags = subprocess.run(
        ["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "frame=key_frame", "-of", "csv=p=0", str(film)],
        check=True,
        stdout=subprocess.PIPE,
        text=True,
    ).stdout.split()
    with qmio.open(film) as media:
        assert media.key_frames() == [number for number, flag in enumerate(flags) if flag.startswith("1")]
