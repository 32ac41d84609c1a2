#!/usr/bin/python3
"""Where the moon's right ascension differs from PyEphem, and why.

Evaluates the moon series Pava uses (Meeus, Astronomical Algorithms ch. 47,
first-edition mean elements, the 16 longitude/distance and 12 latitude terms
of calc_moon) independently of the C++ code, at the 401 moments of the orbit
oracle test, against PyEphem's topocentric apparent RA from latitude 0,
longitude 0. Then adds, one at a time, what the series leaves out: nutation
(apparent longitude, true obliquity), the additive terms A1/A2/L'-F, and the
next 16 terms of table 47.A. Only the last closes the gap: the difference
comes from the truncated term list, not from comparing the wrong quantity.

Usage: /usr/bin/python3 tools/moon_terms_check.py   (needs python3-ephem)
"""
import math

import ephem

D2R = math.pi / 180
# (D, M, M', F, longitude 1e-6 deg, distance m)
LD = [(0, 0, 1, 0, 6288774, -20905355), (2, 0, -1, 0, 1274027, -3699111),
      (2, 0, 0, 0, 658314, -2955968), (0, 0, 2, 0, 213618, -569925), (0, 1, 0, 0, -185116, 48888),
      (0, 0, 0, 2, -114332, -3149), (2, 0, -2, 0, 58793, 246158), (2, -1, -1, 0, 57066, -152138),
      (2, 0, 1, 0, 53322, -170733), (2, -1, 0, 0, 45758, -204586), (0, 1, -1, 0, -40923, -129620),
      (1, 0, 0, 0, -34720, 108743), (0, 1, 1, 0, -30383, 104755), (2, 0, 0, -2, 15327, 0),
      (0, 0, 1, 2, -12528, 0), (0, 0, 1, -2, 10980, 79661)]
LB = [(0, 0, 0, 1, 5128122), (0, 0, 1, 1, 280602), (0, 0, 1, -1, 277693), (2, 0, 0, -1, 173237),
      (2, 0, -1, 1, 55413), (2, 0, -1, -1, 46271), (2, 0, 0, 1, 32573), (0, 0, 2, 1, 17198),
      (2, 0, 1, -1, 9266), (0, 0, 2, -1, 8822), (2, -1, 0, -1, 8216), (2, 0, -2, -1, 4324)]
# The next longitude terms of table 47.A (not used by Pava).
NEXT = [(4, 0, -1, 0, 10675), (0, 0, 3, 0, 10034), (4, 0, -2, 0, 8548), (2, 1, -1, 0, -7888),
        (2, 1, 0, 0, -6766), (1, 0, -1, 0, -5163), (1, 1, 0, 0, 4987), (2, -1, 1, 0, 4036),
        (2, 0, 2, 0, 3994), (4, 0, 0, 0, 3861), (2, 0, -3, 0, 3665), (0, 1, -2, 0, -2689),
        (2, 0, -1, 2, -2602), (2, -1, -2, 0, 2390), (1, 0, 1, 0, -2348), (2, -2, 0, 0, 2236)]


def ra_diff(unix, nut, add, extra):
    jd = unix / 86400.0 + 2440587.5
    y = (jd - 2451545.0) / 365.25
    T = (jd + (62.92 + 0.32217 * y + 0.005589 * y * y) / 86400 - 2451545.0) / 36525
    Lp = 218.3164591 + 481267.88134236 * T
    D = (297.8502042 + 445267.1115168 * T) * D2R
    M = (357.5291092 + 35999.0502909 * T) * D2R
    Mp = (134.9634114 + 477198.8676313 * T + 0.008997 * T * T) * D2R
    F = (93.2720993 + 483202.0175273 * T - 0.0034029 * T * T) * D2R
    E = 1 - 0.002516 * T
    arg = lambda d, m, mp, f: d * D + m * M + mp * Mp + f * F
    lam = Lp + sum(E ** abs(m) * l * math.sin(arg(d, m, mp, f)) for d, m, mp, f, l, _ in LD) / 1e6
    bet = sum(E ** abs(m) * b * math.sin(arg(d, m, mp, f)) for d, m, mp, f, b in LB) / 1e6
    dist = (385000.56 + sum(E ** abs(m) * r * math.cos(arg(d, m, mp, f))
                            for d, m, mp, f, _, r in LD) / 1000) / 6378.135
    eps = (23.4392911111111 - 46.815 * T / 3600) * D2R
    if add:
        lam += (3958 * math.sin((119.75 + 131.849 * T) * D2R) + 1962 * math.sin(Lp * D2R - F) +
                318 * math.sin((53.09 + 479264.290 * T) * D2R)) / 1e6
    if extra:
        lam += sum(E ** abs(m) * l * math.sin(arg(d, m, mp, f)) for d, m, mp, f, l in NEXT) / 1e6
    if nut:
        om, L = (125.04452 - 1934.136261 * T) * D2R, (280.4665 + 36000.7698 * T) * D2R
        lam += (-17.20 * math.sin(om) - 1.32 * math.sin(2 * L) - 0.23 * math.sin(2 * Lp * D2R) +
                0.21 * math.sin(2 * om)) / 3600
        eps += (9.20 * math.cos(om) + 0.57 * math.cos(2 * L) + 0.10 * math.cos(2 * Lp * D2R) -
                0.09 * math.cos(2 * om)) / 3600 * D2R
    lam, bet = lam * D2R, bet * D2R
    a = math.atan2(math.sin(lam) * math.cos(eps) - math.tan(bet) * math.sin(eps), math.cos(lam))
    d = math.asin(math.sin(bet) * math.cos(eps) + math.cos(bet) * math.sin(eps) * math.sin(lam))
    obs = ephem.Observer()
    obs.lat = obs.lon = "0"
    obs.elevation, obs.pressure = 0, 0
    obs.date = ephem.Date(jd - 2415020.0)
    moon = ephem.Moon()
    moon.compute(obs)
    lst = float(obs.sidereal_time())
    x = dist * math.cos(d) * math.cos(a) - math.cos(lst)
    yy = dist * math.cos(d) * math.sin(a) - math.sin(lst)
    diff = abs(math.degrees(math.atan2(yy, x)) - math.degrees(moon.ra)) % 360
    return min(diff, 360 - diff)


moments = [946684800 + 3600 * 7 + 1234 + 2366734 * i for i in range(401)]
for label, opts in [("terms as used", (False, False, False)),
                    ("+ nutation", (True, False, False)),
                    ("+ nutation, additive terms", (True, True, False)),
                    ("+ nutation, additive, next 16 terms", (True, True, True))]:
    d = [ra_diff(t, *opts) for t in moments]
    print("%-38s largest RA difference %.4f deg, %d of 401 above 0.05" %
          (label, max(d), sum(x > 0.05 for x in d)))
