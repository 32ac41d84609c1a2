#!/usr/bin/python3
"""Pixel positions of an AVHRR scan from Debian's pyorbital (independent oracle).

Usage: pyorbital_oracle.py LINE1 LINE2 ANGLE_DEG T1[,T2...] X1[,X2...]
T: line times in seconds since 1970 (UTC); X: pixels of a 2048-pixel scan
counted as pava counts them (sensor angle ANGLE*(1024-x)/1024). Every pixel
is taken at its line's time. Prints "lon lat" in degrees per (T, X), T major.
"""
import sys
from datetime import datetime, timezone

import numpy as np
from pyorbital.geoloc import ScanGeometry, compute_pixels, get_lonlatalt
from pyorbital.orbital import Orbital


def main():
    line1, line2, angle = sys.argv[1], sys.argv[2], float(sys.argv[3])
    times = [float(t) for t in sys.argv[4].split(",")]
    xs = np.array([float(x) for x in sys.argv[5].split(",")])
    orb = Orbital("sat", line1=line1, line2=line2)
    # Same sensor angles as pava: pyorbital's avhrr() takes (p/1023.5 - 1) * -A.
    fovs = np.vstack(((xs * 1023.5 / 1024.0 / 1023.5 - 1) * np.deg2rad(-angle),
                      np.zeros(len(xs))))
    for t in times:
        geom = ScanGeometry(fovs, np.zeros(len(xs)))
        start = datetime.fromtimestamp(t, tz=timezone.utc).replace(tzinfo=None)
        st = geom.times(start)
        pix = compute_pixels(orb, geom, st)
        lon, lat, _ = get_lonlatalt(pix, st)
        for a, b in zip(lon, lat):
            print("%.6f %.6f" % (a, b))


if __name__ == "__main__":
    main()
