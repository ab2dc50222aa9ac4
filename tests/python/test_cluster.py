"""The example that surveys many files, by a scheduler and two workers of which one is killed on the way, and without."""

import csv
import math
import os
import pathlib
import signal
import subprocess
import sys
import time

import numpy
import pytest

distributed = pytest.importorskip("distributed")
from conftest import make  # noqa: E402

SURVEY = pathlib.Path(__file__).parents[2] / "examples" / "cluster" / "survey.py"
FRAMES, EVERY = 300, 7


@pytest.fixture(scope="module")
def films(tmp_path_factory):
    folder = tmp_path_factory.mktemp("films")
    options = "vcodec=mpeg4,g=30,bf=2,size=640x480,acodec=pcm_s16le,ac=2,ar=48000"
    for number in range(4):
        make(folder / ("film%d.mov" % number), options, FRAMES)
    (folder / "text.mov").write_text("no film\n")
    return folder


def survey(films, folder, *arguments):
    command = [sys.executable, str(SURVEY), str(films / "*.mov"), "--out", str(folder), "--every", str(EVERY)]
    return subprocess.Popen(command + [str(argument) for argument in arguments], stderr=subprocess.PIPE, text=True)


def table(folder, name):
    with open(folder / name, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


@pytest.fixture(scope="module")
def alone(films, tmp_path_factory):
    """By one process of this machine."""
    folder = tmp_path_factory.mktemp("alone")
    run = survey(films, folder, "--workers", 1)
    _, errors = run.communicate(timeout=200)
    assert run.returncode == 1 and "text.mov" in errors, errors
    return folder


def test_frames_are_those_that_were_asked_for(films, alone):
    taken = [(row["file"], int(row["frame"])) for row in table(alone, "frames.csv")]
    paths = [str(films / ("film%d.mov" % number)) for number in range(4)]
    assert taken == [(path, number) for path in paths for number in range(0, FRAMES, EVERY)]
    assert {float(row["seconds"]) for row in table(alone, "frames.csv")} == {
        round(number / 25, 3) for number in range(0, FRAMES, EVERY)
    }


def test_levels_are_those_of_the_sound_that_ffmpeg_decodes(films, alone):
    film = str(films / "film0.mov")
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", film, "-f", "f32le", "-"], check=True, stdout=subprocess.PIPE)
    samples = numpy.frombuffer(raw.stdout, "float32").reshape(-1, 2).astype("float64")
    rows = [row for row in table(alone, "sound.csv") if row["file"] == film]
    assert len(rows) == math.ceil(len(samples) / 48000) == FRAMES // 25
    for row in rows:
        second = samples[int(row["seconds"]) * 48000 :][:48000]
        assert float(row["rms"]) == pytest.approx(20 * math.log10(math.sqrt((second**2).mean())), abs=0.01)
        assert float(row["peak"]) == pytest.approx(20 * math.log10(abs(second).max()), abs=0.01)


def test_what_is_no_film_is_told_and_stops_nothing(films, alone):
    (failed,) = table(alone, "failed.csv")
    assert failed["file"] == str(films / "text.mov") and "Invalid data" in failed["reason"]
    assert len(list(alone.glob("*.png"))) == 4


@pytest.fixture
def cluster(tmp_path):
    """The file that tells where the scheduler is, and the two workers."""
    where = tmp_path / "scheduler.json"
    scheduler = ["--host", "127.0.0.1", "--port", "0", "--no-dashboard", "--scheduler-file", str(where)]
    worker = ["--scheduler-file", str(where), "--nthreads", "1", "--no-nanny", "--no-dashboard"]
    worker += ["--host", "127.0.0.1", "--local-directory", str(tmp_path)]
    log = open(tmp_path / "log", "w")
    start = lambda module, options: subprocess.Popen(  # noqa: E731
        [sys.executable, "-m", module] + options, stdout=log, stderr=log, cwd=tmp_path
    )
    processes = [start("distributed.cli.dask_scheduler", scheduler)]
    processes += [start("distributed.cli.dask_worker", worker + ["--name", name]) for name in ("first", "second")]
    with distributed.Client(scheduler_file=str(where), timeout=60) as client:
        client.wait_for_workers(2, timeout=60)
        yield where, client, processes[1:]
    for process in processes:
        process.kill()
        process.wait()
    log.close()


def has_results(client, name):
    workers = client.scheduler_info()["workers"]
    address = next(address for address, worker in workers.items() if worker["name"] == name)
    return bool(client.has_what().get(address))


def test_a_worker_that_is_killed_is_no_loss(films, alone, cluster, tmp_path):
    where, client, workers = cluster
    run = survey(films, tmp_path / "out", "--scheduler", where)
    while run.poll() is None and not has_results(client, "first"):
        time.sleep(0.01)
    assert run.poll() is None, "nothing was done by the worker that is to die"
    os.kill(workers[0].pid, signal.SIGKILL)
    _, errors = run.communicate(timeout=200)
    assert run.returncode == 1, errors
    for name in ("frames.csv", "sound.csv", "failed.csv"):
        assert table(tmp_path / "out", name) == table(alone, name), name
    for sheet in alone.glob("*.png"):
        assert (tmp_path / "out" / sheet.name).read_bytes() == sheet.read_bytes()
