#!/usr/bin/env python3
"""Makes coins_edges.csv: edge points of the image coins.png that Debian's python3-skimage ships.

Usage: make_coins_edges.py <coins.png> <coins_edges.csv>   (needs python3-skimage, python3-numpy)

Canny's detector finds the edge pixels. Each is moved along the gradient to the vertex of the
parabola through the gradient's magnitude at it and at one pixel to either side, which places
edges of coins to about a tenth of a pixel.
"""
import sys

import numpy
from scipy import ndimage
from skimage import feature, io

SIGMA = 2.0  # of the smoothing, in pixels

HEADER = """\
# Edge points of coins on a dark ground, from one photograph. Pixels: x to the right, y down, the
# centre of the first pixel is (0, 0). Places are sub-pixel.
# Origin: Debian package python3-skimage 0.19.3-8, skimage/data/coins.png (Brooklyn Museum, Greek
# coins from Pompeii; no known copyright restrictions). Made by make_coins_edges.py.
x,y
"""


def refined_edges(image):
    smooth = ndimage.gaussian_filter(image, SIGMA)
    gy, gx = numpy.gradient(smooth)
    magnitude = numpy.hypot(gx, gy)
    rows, cols = numpy.nonzero(feature.canny(image, sigma=SIGMA))
    length = magnitude[rows, cols]
    ux, uy = gx[rows, cols] / length, gy[rows, cols] / length

    def at(step):
        return ndimage.map_coordinates(magnitude, [rows + step * uy, cols + step * ux], order=1,
                                       mode="nearest")

    before, here, after = at(-1.0), at(0.0), at(1.0)
    curvature = before - 2.0 * here + after
    shift = numpy.where(curvature < 0.0, 0.5 * (before - after) / numpy.minimum(curvature, -1e-12), 0.0)
    shift = numpy.clip(shift, -0.7, 0.7)
    return numpy.column_stack([cols + shift * ux, rows + shift * uy])


def main():
    source, target = sys.argv[1:3]
    points = refined_edges(io.imread(source).astype(float) / 255.0)
    with open(target, "w", encoding="utf-8") as out:
        out.write(HEADER)
        for x, y in points:
            out.write(f"{x:.2f},{y:.2f}\n")
    print(f"{len(points)} points")


if __name__ == "__main__":
    main()
