"""Times scipy.ndimage.label on a raw volume of 16-bit elements; prints seconds and the count.

Usage: scipy_label.py FILE NX NY NZ CONNECTIVITY LOWER
"""
import statistics
import sys
import time

import numpy
from scipy import ndimage

path, nx, ny, nz, connectivity, lower = sys.argv[1:]
voxels = numpy.fromfile(path, dtype=numpy.uint16).reshape(int(nz), int(ny), int(nx))
foreground = voxels >= float(lower)
structure = ndimage.generate_binary_structure(3, {6: 1, 18: 2, 26: 3}[int(connectivity)])
seconds = []
for _ in range(5):
    start = time.perf_counter()
    _, count = ndimage.label(foreground, structure)
    seconds.append(time.perf_counter() - start)
print(statistics.median(seconds), count)
