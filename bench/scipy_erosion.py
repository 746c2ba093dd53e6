#!/usr/bin/env python3
"""Times scipy.ndimage.binary_erosion on a mask of bytes: scipy_erosion.py FILE NX NY NZ.

Outside the grid counts as set. Prints the seconds of the fastest of three runs and how many voxels
are left.
"""
import sys
import time

import numpy
from scipy import ndimage

dims = [int(n) for n in sys.argv[2:5]]
mask = numpy.fromfile(sys.argv[1], numpy.uint8).reshape(dims[::-1]).astype(bool)
seconds = []
for _ in range(3):
    start = time.perf_counter()
    eroded = ndimage.binary_erosion(mask, border_value=1)
    seconds.append(time.perf_counter() - start)
print(min(seconds), int(eroded.sum()))
