#!/usr/bin/env python3
"""Make street_scan.csv from the raw packets of a rotating laser scanner.

    make_street_scan.py <test_velodyne_VLP16.rawlog> <street_scan.csv>

The input is the file of that name in Debian's package mrpt-common
(datasets directory; gzip). It holds one recording: 75 data packets of
1206 bytes as the sensor sent them. The coordinates follow the sensor's
published manual: y along azimuth 0, x along azimuth 90 degrees, z up.
"""

import gzip
import math
import struct
import sys

PACKET_SIZE = 1206
BLOCKS_PER_PACKET = 12
BLOCK_SIZE = 100
BLOCK_FLAG = b"\xff\xee"
CHANNELS = 16
FIRINGS_PER_BLOCK = 2          # every block holds two rounds of the 16 lasers
FULL_TURN = 36000              # azimuth unit: 0.01 degree
RANGE_UNIT = 0.002             # metre
STRONGEST_RETURN, MODEL_16_CHANNELS = 0x37, 0x22   # the packet's last two bytes

# Elevation of each laser in firing order, degrees.
ELEVATION = (-15, 1, -13, 3, -11, 5, -9, 7, -7, 9, -5, 11, -3, 13, -1, 15)

# Time from one laser to the next and from one round to the next, microseconds.
LASER_PERIOD = 2.304
ROUND_PERIOD = 55.296

MAX_RANGE = 25.0               # metre, along the beam
MAX_HEIGHT = -1.0              # metre above the sensor: the road and what stands low on it


def packets(raw):
    """Yield the packets: 12 flagged blocks, 4 bytes of time, return mode, model."""
    start = raw.find(BLOCK_FLAG)
    while start >= 0 and start + PACKET_SIZE <= len(raw):
        packet = raw[start:start + PACKET_SIZE]
        flags = [packet[i * BLOCK_SIZE:i * BLOCK_SIZE + 2] for i in range(BLOCKS_PER_PACKET)]
        if all(flag == BLOCK_FLAG for flag in flags):
            if tuple(packet[-2:]) != (STRONGEST_RETURN, MODEL_16_CHANNELS):
                raise ValueError(f"unexpected return mode or model {packet[-2:].hex()} at byte {start}")
            yield packet
            start = raw.find(BLOCK_FLAG, start + PACKET_SIZE)
        else:
            start = raw.find(BLOCK_FLAG, start + 1)


def turn_per_block(azimuths, block):
    """Azimuth gained during one block; the last block of a packet repeats the one before."""
    first = min(block, len(azimuths) - 2)
    return (azimuths[first + 1] - azimuths[first]) % FULL_TURN


def points(packet):
    """Yield (range, x, y, z) in metres for every echo of one packet."""
    blocks = [struct.unpack_from("<H" + "HB" * 32, packet, i * BLOCK_SIZE + 2)
              for i in range(BLOCKS_PER_PACKET)]
    azimuths = [block[0] for block in blocks]
    for number, block in enumerate(blocks):
        turn_per_microsecond = turn_per_block(azimuths, number) / (FIRINGS_PER_BLOCK * ROUND_PERIOD)
        for shot in range(FIRINGS_PER_BLOCK * CHANNELS):
            distance = block[1 + 2 * shot] * RANGE_UNIT
            if distance == 0.0:            # no echo
                continue
            firing, channel = divmod(shot, CHANNELS)
            time = firing * ROUND_PERIOD + channel * LASER_PERIOD
            azimuth = math.radians((azimuths[number] + turn_per_microsecond * time) / 100.0)
            elevation = math.radians(ELEVATION[channel])
            horizontal = distance * math.cos(elevation)
            yield (distance, horizontal * math.sin(azimuth), horizontal * math.cos(azimuth),
                   distance * math.sin(elevation))


def read_points(path):
    with gzip.open(path, "rb") as file:
        raw = file.read()
    number = 0
    found = []
    for packet in packets(raw):
        number += 1
        found.extend(points(packet))
    print(f"{number} packets, {len(found)} points")
    return found


def write_csv(found, out):
    print("# Points on and near a road, from one recording of a rotating 16-beam laser scanner.", file=out)
    print("# Metres in the sensor's frame: z up; cut to range 25 m and z below -1 m.", file=out)
    print("# Origin: Debian package mrpt-common 1:2.5.8+ds-2, datasets/test_velodyne_VLP16.rawlog.", file=out)
    print("# Licence: BSD-3-Clause, notice in LICENSES.md. Made by make_street_scan.py.", file=out)
    print("x,y,z", file=out)
    for _, x, y, z in found:
        print(f"{x:.3f},{y:.3f},{z:.3f}", file=out)


def main():
    source, target = sys.argv[1:3]
    found = [p for p in read_points(source) if p[0] <= MAX_RANGE and p[3] < MAX_HEIGHT]
    with open(target, "w", encoding="utf-8") as out:
        write_csv(found, out)
    print(f"{len(found)} points kept")


if __name__ == "__main__":
    main()
