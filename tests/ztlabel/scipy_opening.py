#!/usr/bin/env python3
"""Opens the bright voxels of a volume by one step and labels the rest with all 26 neighbours.

Usage: scipy_opening.py FILE.nii.gz THRESHOLD. Reads unsigned bytes; prints the number of voxels of each
component, in the raster order of their first voxels. Exits with 77 where scipy is not installed.
"""
import gzip
import struct
import sys

try:
    import numpy
    from scipy import ndimage
except ImportError:
    sys.exit(77)

with gzip.open(sys.argv[1]) as file:
    data = file.read()
nx, ny, nz = struct.unpack_from("<3h", data, 42)
start = int(struct.unpack_from("<f", data, 108)[0])
voxels = numpy.frombuffer(data, numpy.uint8, nx * ny * nz, start).reshape(nz, ny, nx)
mask = voxels >= float(sys.argv[2])
faces = ndimage.generate_binary_structure(3, 1)
mask = ndimage.binary_erosion(mask, faces, border_value=1)
mask = ndimage.binary_dilation(mask, faces)
labels, count = ndimage.label(mask, numpy.ones((3, 3, 3)))
print(*numpy.bincount(labels.ravel(), minlength=count + 1)[1:])
