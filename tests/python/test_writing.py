import numpy
import pytest
import qmio

GRAY = dict(vcodec="ffv1", size=(64, 48), pix="gray", r=25)


def pictures(count):
    return [numpy.full((48, 64), 5 * number, numpy.uint8) for number in range(count)]


def test_what_is_written_is_read(tmp_path):
    sound = (numpy.arange(2 * 60000) % 2000).astype(numpy.int16).reshape(-1, 2)
    name = tmp_path / "a.mkv"
    with qmio.create(name, "ar=48000,ac=2,afmt=s16", acodec="pcm_s16le", **GRAY) as file:
        for picture in pictures(10):
            file.write(picture)
        file.write_audio(sound)
    with qmio.open(name, format="gray") as media:
        assert [bytes(frame) for frame in media] == [picture.tobytes() for picture in pictures(10)]
        assert (numpy.asarray(media.tracks[0].read(0, 60000, dtype="int16")) == sound).all()


def test_bytes_are_taken_as_well_as_arrays(tmp_path):
    with qmio.create(tmp_path / "a.mkv", **GRAY) as file:
        file.write(bytes([7]) * (64 * 48))
    with qmio.open(tmp_path / "a.mkv", format="gray") as media:
        assert set(bytes(media[0])) == {7}


def test_a_picture_of_another_size_is_refused(tmp_path):
    with qmio.create(tmp_path / "a.mkv", **GRAY) as file:
        with pytest.raises(ValueError):
            file.write(bytes(64 * 48 - 1))
        with pytest.raises(ValueError):
            file.write(pictures(1)[0][:, ::2])
        file.write(pictures(1)[0])


def test_video_without_a_size_is_refused(tmp_path):
    with pytest.raises(ValueError):
        qmio.create(tmp_path / "a.mkv", vcodec="ffv1", pix="gray")


def test_the_reason_is_told(tmp_path):
    with pytest.raises(qmio.Error, match="No such file or directory"):
        qmio.create(tmp_path / "absent" / "a.mkv", **GRAY)
    with pytest.raises(qmio.Error, match="nonsense"):
        qmio.create(tmp_path / "a.nonsense", **GRAY)


def test_what_a_file_is_made_without_is_told(tmp_path):
    with pytest.warns(UserWarning, match="unused options: presett"):
        qmio.create(tmp_path / "a.mkv", presett="fast", **GRAY).close()
    with pytest.warns(UserWarning, match="no encoder is called acc"):
        qmio.create(tmp_path / "a.mkv", "ar=48000,ac=2,afmt=s16", acodec="acc", **GRAY).close()


def test_packets_are_copied_into_another_container(tmp_path, film, whole):
    assert qmio.remux(film, tmp_path / "copy.mkv") > 50
    with qmio.open(tmp_path / "copy.mkv", format="yuv420p") as media:
        assert media.text("format").startswith("matroska")
        assert [bytes(frame) for frame in media] == whole
        assert len(media.tracks) == 1


def test_a_source_that_cannot_be_opened_leaves_nothing(tmp_path):
    with pytest.raises(qmio.Error):
        qmio.remux(tmp_path / "absent.mov", tmp_path / "copy.mkv")
    assert list(tmp_path.iterdir()) == []
