#!/usr/bin/python3
"""Writes an XYZ point file for the benchmark: one point per line, an
identifier and three coordinates with three decimals, separated by ",",
CR LF line ends. Values are survey-sized (projected metres) and the same
for the same count and seed, so runs compare."""
import random
import sys


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit("usage: make_points.py COUNT OUTPUT [SEED]")
    count = int(sys.argv[1])
    seed = int(sys.argv[3]) if len(sys.argv) == 4 else 1
    rng = random.Random(seed)
    lines = []
    for n in range(1, count + 1):
        # Millimetres as integers, so every value has exactly three decimals.
        x = rng.randrange(600_000_000, 700_000_000)
        y = rng.randrange(6_800_000_000, 6_900_000_000)
        z = rng.randrange(0, 2_000_000)
        lines.append("%d,%d.%03d,%d.%03d,%d.%03d\r\n"
                     % (n, x // 1000, x % 1000, y // 1000, y % 1000, z // 1000, z % 1000))
    with open(sys.argv[2], "w", newline="", encoding="ascii") as out:
        out.writelines(lines)


if __name__ == "__main__":
    main()
