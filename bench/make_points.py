#!/usr/bin/python3
"""Writes a point file for the benchmark, values survey-sized (projected
metres) and the same for the same count and seed, so runs compare.

    make_points.py COUNT OUTPUT [SEED]           XYZ: an identifier and three
        coordinates with three decimals, separated by ",", CR LF line ends.
    make_points.py --pnezd COUNT OUTPUT [SEED]   the same points as another
        program exports them: a header line, point, northing, easting,
        elevation and a code column, LF line ends."""
import random
import sys

CODES = ("CP", "TREE", "FENCE", "BLDG", "MH", "EP")


def main():
    args = sys.argv[1:]
    pnezd = bool(args) and args[0] == "--pnezd"
    if pnezd:
        args = args[1:]
    if len(args) not in (2, 3):
        sys.exit("usage: make_points.py [--pnezd] COUNT OUTPUT [SEED]")
    count = int(args[0])
    seed = int(args[2]) if len(args) == 3 else 1
    rng = random.Random(seed)
    lines = ["Point,Northing,Easting,Elevation,Code\n"] if pnezd else []
    for n in range(1, count + 1):
        # Millimetres as integers, so every value has exactly three decimals.
        x = rng.randrange(600_000_000, 700_000_000)
        y = rng.randrange(6_800_000_000, 6_900_000_000)
        z = rng.randrange(0, 2_000_000)
        if pnezd:
            lines.append("%d,%d.%03d,%d.%03d,%d.%03d,%s\n"
                         % (n, y // 1000, y % 1000, x // 1000, x % 1000, z // 1000, z % 1000,
                            CODES[n % len(CODES)]))
        else:
            lines.append("%d,%d.%03d,%d.%03d,%d.%03d\r\n"
                         % (n, x // 1000, x % 1000, y // 1000, y % 1000, z // 1000, z % 1000))
    with open(args[1], "w", newline="", encoding="ascii") as out:
        out.writelines(lines)


if __name__ == "__main__":
    main()
