"""What sequential_speed.c does, by the Python package: FRAMES SECONDS PROCESSOR_SECONDS."""

import resource
import sys
import time

import qmio

with qmio.open(sys.argv[1]) as media:
    begin, processor_begin = time.perf_counter(), resource.getrusage(resource.RUSAGE_SELF).ru_utime
    frames = sum(1 for _ in media)
    seconds = time.perf_counter() - begin
    print(frames, "%.3f" % seconds, "%.3f" % (resource.getrusage(resource.RUSAGE_SELF).ru_utime - processor_begin))
