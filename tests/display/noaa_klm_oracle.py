#!/usr/bin/python3
"""Independent NOAA-15 AVHRR thermal calibration (NOAA KLM User's Guide,
section 7.1.2 and appendix D.1), with numpy, for the display tests.

Each argument is one query; one number is printed per query:
  rad:CH:T              radiance of channel CH (3..5) for scene temperature T (K)
  count:CH:CSP:CBB:TBB:CE  temperature (K) of earth count CE with space count CSP,
                        black-body count CBB and black-body temperature TBB (K)
  prt:K:C               temperature (K) of PRT K (1..4) for count C
"""
import sys

import numpy as np

# Planck constants (mW/(m2 sr cm-4), cm K), KLM Guide 7.1.2.4.
C1 = 1.1910427e-5
C2 = 1.4387752
# NOAA-15, KLM Guide appendix D.1: central wave number, band correction A and B.
NU = {3: 2695.9743, 4: 925.4075, 5: 839.8979}
A = {3: 1.621256, 4: 0.337810, 5: 0.304558}
B = {3: 0.998015, 4: 0.998719, 5: 0.999024}
# Radiance of space and the non-linearity correction of channels 4 and 5
# (channel 3B is linear).
NS = {3: 0.0, 4: -4.50, 5: -3.61}
B0 = {3: 0.0, 4: 4.76, 5: 3.83}
B1 = {3: 0.0, 4: -0.0932, 5: -0.0659}
B2 = {3: 0.0, 4: 0.0004524, 5: 0.0002811}
# PRT conversion: T = d0 + d1 C + d2 C^2.
PRT = {1: (276.60156, 0.051045, 1.36328e-6), 2: (276.62530, 0.050909, 1.47266e-6),
       3: (276.67413, 0.050907, 1.47656e-6), 4: (276.59260, 0.050966, 1.47656e-6)}


def radiance(ch, t):
    nu = np.float64(NU[ch])
    te = A[ch] + B[ch] * np.float64(t)
    return C1 * nu**3 / np.expm1(C2 * nu / te)


def temperature(ch, n):
    nu = np.float64(NU[ch])
    te = C2 * nu / np.log1p(C1 * nu**3 / np.float64(n))
    return (te - A[ch]) / B[ch]


def count_temperature(ch, csp, cbb, tbb, ce):
    nbb = radiance(ch, tbb)
    nlin = NS[ch] + (nbb - NS[ch]) * (csp - ce) / (csp - cbb)
    ncor = B0[ch] + (1.0 + B1[ch]) * nlin + B2[ch] * nlin**2
    return temperature(ch, ncor)


def main():
    for q in sys.argv[1:]:
        f = q.split(":")
        if f[0] == "rad":
            v = radiance(int(f[1]), float(f[2]))
        elif f[0] == "count":
            v = count_temperature(int(f[1]), *[float(x) for x in f[2:6]])
        elif f[0] == "prt":
            d = PRT[int(f[1])]
            c = float(f[2])
            v = d[0] + d[1] * c + d[2] * c * c
        else:
            print("bad query", q, file=sys.stderr)
            return 2
        print("%.9g" % v)
    return 0


if __name__ == "__main__":
    sys.exit(main())
