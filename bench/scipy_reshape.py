"""Times scipy and numpy on a cube: the means of its blocks of 2 x 2 x 2, or its axes exchanged.

Usage: scipy_reshape.py (mean | exchange) TYPE SIDE; prints the seconds of the fastest way.
"""
import sys
import time

import numpy
from scipy import ndimage

TYPES = {"byte": numpy.uint8, "ushort": numpy.uint16, "float": numpy.float32,
         "double": numpy.float64}

work, name, side = sys.argv[1], sys.argv[2], int(sys.argv[3])
volume = (numpy.arange(side ** 3, dtype=numpy.uint32) % 201).astype(TYPES[name])
volume = volume.reshape(side, side, side)
half = side // 2


def mean_by_reshaping():
    blocks = volume.reshape(half, 2, half, 2, half, 2)
    return blocks.mean(axis=(1, 3, 5)).astype(volume.dtype)


def mean_by_filter():
    return ndimage.uniform_filter(volume, 2)[1::2, 1::2, 1::2].copy()


def exchange():
    return numpy.ascontiguousarray(volume.transpose(2, 1, 0))


def seconds(way):
    start = time.perf_counter()
    way()
    return time.perf_counter() - start


WAYS = {"mean": [mean_by_reshaping, mean_by_filter], "exchange": [exchange]}
print(min(seconds(way) for way in WAYS[work] for _ in range(2)))
