#!/usr/bin/env python3
"""Makes coin_outline.csv: the outline of one coin in coins.png of Debian's python3-skimage, in order.

Usage: make_coin_outline.py <coins.png> <coin_outline.csv>   (needs python3-skimage)

The outline is the level curve of the slightly smoothed image, halfway between coin and ground,
followed by marching squares, which interpolates between pixels.
"""
import sys

from scipy import ndimage
from skimage import io, measure

LEVEL = 0.50  # grey value on the way from the ground (about 0.3) to the coin (about 0.7)
INSIDE = (125, 45)  # row and column of a pixel on the coin, the first one of the second row

HEADER = """\
# Outline of one worn coin, a closed curve in the order of its points (the last one is followed by
# the first). Pixels: x to the right, y down, the centre of the first pixel is (0, 0).
# Origin: Debian package python3-skimage 0.19.3-8, skimage/data/coins.png (Brooklyn Museum, Greek
# coins from Pompeii; no known copyright restrictions). Made by make_coin_outline.py.
x,y
"""


def main():
    source, target = sys.argv[1:3]
    image = ndimage.gaussian_filter(io.imread(source).astype(float) / 255.0, 1.0)
    contours = [c for c in measure.find_contours(image, LEVEL)
                if measure.points_in_poly([INSIDE], c)[0] and (c[0] == c[-1]).all()]
    outline = max(contours, key=len)[:-1]
    with open(target, "w", encoding="utf-8") as out:
        out.write(HEADER)
        for row, col in outline:
            out.write(f"{col:.3f},{row:.3f}\n")
    print(f"{len(outline)} points")


if __name__ == "__main__":
    main()
