#!/usr/bin/env python3
"""Takes frames and sound levels of many files, on one machine or on many.

    survey.py 'films/*.mp4' --out survey                        on this machine, a process for each processor
    survey.py 'films/*.mp4' --out survey --scheduler HOST:8786  by the workers of a Dask scheduler

Work is cut into ranges of frames that begin with key frames, so that no worker decodes what another one does, and into
stretches of sound. A worker that dies is no loss: its ranges go to the others. All workers see the files by the same paths
and have the packages qmio and distributed.

Makes in the folder: frames.csv (file, frame, seconds, brightness 0 to 255, change since the frame before in the table), sound.csv
(file, track, seconds, rms and peak in dBFS), failed.csv (file, reason) and for each film a contact sheet.
"""

import argparse
import csv
import glob
import math
import os
import sys

import numpy
import qmio
from distributed import Client, as_completed

THUMBNAIL = (160, 90)
COLUMNS = 8
MOST_ON_SHEET = 64
RANGE = 100  # frames of one task at least; from there the next key frame ends it
STRETCH = 60  # seconds of sound in one task
SILENCE = -144.0  # dBFS: what 24 bits can tell


# ---- what a worker does ----


def examine(path):
    """How a file is cut: ranges of frames and stretches of sound."""
    with qmio.open(path) as media:
        frames = len(media)
        starts = [0]
        for key in sorted(media.key_frames()):
            if starts[-1] + RANGE <= key < frames:
                starts.append(key)
        ranges = list(zip(starts, starts[1:] + [frames])) if frames > 0 else []
        seconds = media.duration or 0
        sound = [(track.number, at) for track in media.tracks for at in range(0, math.ceil(seconds), STRETCH)]
        return ranges, sound


def take_frames(path, first, end, every):
    """The frames of a range whose numbers `every` divides: (number, seconds, brightness, thumbnail)."""
    taken = []
    with qmio.open(path, format="rgb24", size=THUMBNAIL) as media:
        rate = media.frame_rate
        for number in range(-(-first // every) * every, end, every):
            picture = numpy.array(media[number])
            seconds = float(number / rate) if rate else math.nan
            taken.append((number, seconds, float(picture.mean()), picture))
    return taken


def decibels(value):
    return max(20 * math.log10(value), SILENCE) if value > 0 else SILENCE


def take_levels(path, number, start):
    """Of each second of a stretch of sound: (track, seconds, rms, peak)."""
    levels = []
    with qmio.open(path) as media:
        track = media.tracks[number]
        for second in range(start, start + STRETCH):
            samples = numpy.asarray(track.read(second * track.rate, track.rate))
            if len(samples) == 0:
                break
            rms = math.sqrt(float(numpy.mean(numpy.square(samples, dtype="float64"))))
            levels.append((number, second, decibels(rms), decibels(float(numpy.abs(samples).max()))))
    return levels


# ---- what is made of it ----


class Survey:
    def __init__(self, client, every):
        self._client = client
        self._every = every
        self.pictures = {}  # file: {number: (seconds, brightness, thumbnail)}
        self.levels = {}  # file: [(track, second, rms, peak)]
        self.failed = {}  # file: reason

    def run(self, paths):
        """Hands out tasks, and further ones as files turn out to have them."""
        # A task is done by who is free, and by another one where that worker dies: up to ten of them.
        def submit(*task):
            return self._client.submit(*task, pure=False, retries=10)

        kinds = {submit(examine, path): (examine, path) for path in paths}
        running, done = as_completed(list(kinds)), 0
        for future in running:
            kind, path = kinds.pop(future)
            done += 1
            if future.status != "finished":
                self.failed.setdefault(path, str(future.exception()))
            elif kind is examine:
                ranges, sound = future.result()
                more = {submit(take_frames, path, *range_, self._every): (take_frames, path) for range_ in ranges}
                more.update({submit(take_levels, path, *stretch): (take_levels, path) for stretch in sound})
                kinds.update(more)
                running.update(list(more))
            else:
                self._take(kind, path, future.result())
            show_progress(done, done + len(kinds))

    def _take(self, kind, path, results):
        if kind is take_frames:
            self.pictures.setdefault(path, {}).update({number: rest for number, *rest in results})
        else:
            self.levels.setdefault(path, []).extend(results)

    def write(self, folder):
        os.makedirs(folder, exist_ok=True)
        write_table(folder, "frames.csv", ("file", "frame", "seconds", "brightness", "change"), self._frame_rows())
        write_table(folder, "sound.csv", ("file", "track", "seconds", "rms", "peak"), self._sound_rows())
        write_table(folder, "failed.csv", ("file", "reason"), sorted(self.failed.items()))
        for number, (path, pictures) in enumerate(sorted(self.pictures.items())):
            name = "%04d-%s.png" % (number, os.path.splitext(os.path.basename(path))[0])
            write_sheet(os.path.join(folder, name), [pictures[frame][2] for frame in sorted(pictures)])

    def _frame_rows(self):
        for path, pictures in sorted(self.pictures.items()):
            before = None
            for number in sorted(pictures):
                seconds, brightness, picture = pictures[number]
                change = 0.0 if before is None else float(numpy.abs(picture.astype("int16") - before).mean())
                before = picture.astype("int16")
                yield path, number, "%.3f" % seconds, "%.2f" % brightness, "%.2f" % change

    def _sound_rows(self):
        for path, levels in sorted(self.levels.items()):
            for track, second, rms, peak in sorted(levels):
                yield path, track, second, "%.2f" % rms, "%.2f" % peak


def show_progress(done, known):
    if sys.stderr.isatty():
        width = 40
        bar = "#" * (width * done // known)
        sys.stderr.write("\r[%-*s] %d of %d%s" % (width, bar, done, known, "\n" if done == known else ""))


def write_table(folder, name, head, rows):
    with open(os.path.join(folder, name), "w", newline="", encoding="utf-8", errors="surrogateescape") as file:
        table = csv.writer(file)
        table.writerow(head)
        table.writerows(rows)


def write_sheet(path, pictures):
    """Some of the pictures, spread over all, in rows."""
    chosen = pictures[:: -(-len(pictures) // MOST_ON_SHEET)]
    width, height = THUMBNAIL
    rows = -(-len(chosen) // COLUMNS)
    sheet = numpy.zeros((rows * height, COLUMNS * width, 3), "uint8")
    for place, picture in enumerate(chosen):
        top, left = place // COLUMNS * height, place % COLUMNS * width
        sheet[top : top + height, left : left + width] = picture
    with qmio.create(path, fmt="image2", vcodec="png", pix="rgb24", size=(COLUMNS * width, rows * height), r=1) as file:
        file.write(sheet)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("pattern", nargs="+", help="files, or patterns in quotes; ** stands for folders")
    parser.add_argument("--out", required=True, help="folder of the results")
    parser.add_argument("--every", type=int, default=25, help="take each frame whose number this divides (25)")
    parser.add_argument("--scheduler", help="HOST:PORT of a Dask scheduler, or the file that it wrote; none: this machine")
    parser.add_argument("--workers", type=int, help="processes on this machine; its processors without")
    arguments = parser.parse_args()
    if arguments.every < 1:
        parser.error("--every is 1 at least")
    paths = sorted({path for pattern in arguments.pattern for path in glob.glob(pattern, recursive=True)})
    if not paths:
        parser.error("no such file")
    with connect(arguments) as client:
        survey = Survey(client, arguments.every)
        survey.run([os.path.abspath(path) for path in paths])
    survey.write(arguments.out)
    for path, reason in sorted(survey.failed.items()):
        print("%s: %s" % (path, reason), file=sys.stderr)
    return 1 if survey.failed else 0


def connect(arguments):
    if arguments.scheduler is None:
        return Client(n_workers=arguments.workers, threads_per_worker=1, dashboard_address=None)
    if os.path.exists(arguments.scheduler):
        return Client(scheduler_file=arguments.scheduler)
    return Client(arguments.scheduler)


if __name__ == "__main__":
    sys.exit(main())
