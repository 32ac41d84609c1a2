#!/usr/bin/python3
"""Orbit references from Debian's python3-sgp4, python3-skyfield and python3-ephem;
rows of whitespace-separated values on standard output:
  sgp4 FILE OFFSET_MIN...  TEME km at epoch + offsets: "norad unix_ms x y z"
  passes FILE LAT LON ALT_M START_UNIX HOURS  geometric-horizon events:
                           "name kind unix alt_deg" (kind 0 rise, 1 culmination, 2 set)
  sun UNIX...              sub-solar point: "unix lon lat" (degrees)
  moon UNIX...             topocentric RA/Dec (degrees) and illuminated fraction
                           from 0 N 0 E, sea level: "unix ra dec phase"
  sgp4bench N              pure-Python propagations per second
"""
import datetime
import math
import sys
import time


def element_sets(path):
    """(name, line1, line2) for every line-1/line-2 pair of an element file."""
    with open(path, encoding="latin-1") as f:
        lines = [l.rstrip("\r\n") for l in f]
    out = []
    for i in range(1, len(lines)):
        if lines[i - 1].startswith("1 ") and lines[i].startswith("2 "):
            # The program's name rule: cut at "(", trailing blanks removed.
            name = lines[i - 2].split("(")[0].rstrip() if i >= 2 else ""
            out.append((name, lines[i - 1][:69], lines[i][:69]))
    return out


def cmd_sgp4(args):
    from sgp4.api import Satrec, WGS72
    path, offsets = args[0], [float(a) for a in args[1:]]
    for name, l1, l2 in element_sets(path):
        sat = Satrec.twoline2rv(l1, l2, WGS72)
        epoch_unix = (sat.jdsatepoch - 2440587.5 + sat.jdsatepochF) * 86400.0
        for off in offsets:
            # Whole milliseconds, so that both sides compute the same moment.
            t_ms = round((epoch_unix + off * 60.0) * 1000.0)
            days, ms = divmod(t_ms, 86400000)
            e, r, v = sat.sgp4(2440587.5 + days, ms / 86400000.0)
            if e != 0:
                continue
            print(sat.satnum, t_ms, "%.9f %.9f %.9f" % tuple(r))


def cmd_passes(args):
    from skyfield.api import EarthSatellite, load, wgs84
    path = args[0]
    lat, lon, alt = float(args[1]), float(args[2]), float(args[3])
    start, hours = float(args[4]), float(args[5])
    ts = load.timescale(builtin=True)
    t0 = ts.from_datetime(datetime.datetime.fromtimestamp(start, datetime.timezone.utc))
    t1 = ts.tt_jd(t0.tt + hours / 24.0)
    here = wgs84.latlon(lat, lon, elevation_m=alt)
    for name, l1, l2 in element_sets(path):
        sat = EarthSatellite(l1, l2, name, ts)
        times, kinds = sat.find_events(here, t0, t1, altitude_degrees=0.0)
        for t, k in zip(times, kinds):
            if k != 1:
                # find_events stops refining early on slow (grazing) passes:
                # bisect skyfield's own altitude to the millisecond.
                t = refine_crossing(ts, sat, here, t)
            alt_deg = (sat - here).at(t).altaz()[0].degrees
            print(name.replace(" ", "_"), int(k), "%.3f" % t.utc_datetime().timestamp(),
                  "%.6f" % alt_deg)


def refine_crossing(ts, sat, here, t):
    def alt(tt):
        return (sat - here).at(ts.tt_jd(tt)).altaz()[0].degrees
    lo, hi = t.tt - 30.0 / 86400.0, t.tt + 30.0 / 86400.0
    alo, ahi = alt(lo), alt(hi)
    if (alo < 0.0) == (ahi < 0.0):
        return t
    while (hi - lo) * 86400.0 > 1e-3:
        mid = (lo + hi) / 2.0
        amid = alt(mid)
        if (amid < 0.0) == (alo < 0.0):
            lo, alo = mid, amid
        else:
            hi = mid
    return ts.tt_jd((lo + hi) / 2.0)


def ephem_at(body, unix):
    """body computed from latitude 0, longitude 0, sea level, no refraction; the observer."""
    import ephem
    obs = ephem.Observer()
    obs.lat, obs.lon, obs.elevation, obs.pressure = "0", "0", 0, 0
    obs.date = ephem.Date(unix / 86400.0 + 25567.5)  # ephem counts days from 1899-12-31 12:00
    body.compute(obs)
    return obs


def cmd_sun(args):
    import ephem
    for a in args:
        s = ephem.Sun()
        obs = ephem_at(s, float(a))
        lon = math.degrees(float(s.g_ra) - float(obs.sidereal_time()))
        print(a, "%.6f %.6f" % ((lon + 180.0) % 360.0 - 180.0, math.degrees(float(s.g_dec))))


def cmd_moon(args):
    import ephem
    for a in args:
        m = ephem.Moon()
        ephem_at(m, float(a))
        print(a, "%.6f %.6f %.6f" % (math.degrees(float(m.ra)), math.degrees(float(m.dec)),
                                     m.moon_phase))


def cmd_sgp4bench(args):
    from sgp4.api import Satrec, WGS72
    n = int(args[0])
    sat = Satrec.twoline2rv(
        "1 33591U 09005A   20300.85690046  .00000008  00000-0  29872-4 0  9998",
        "2 33591  99.1965 309.6298 0014858  69.1900 291.0860 14.12436128603681", WGS72)
    t = time.perf_counter()
    for i in range(n):
        sat.sgp4_tsince(i * 0.1)
    dt = time.perf_counter() - t
    print("%.1f" % (n / dt))


if __name__ == "__main__":
    cmds = {"sgp4": cmd_sgp4, "passes": cmd_passes, "sun": cmd_sun, "moon": cmd_moon,
            "sgp4bench": cmd_sgp4bench}
    if len(sys.argv) < 2 or sys.argv[1] not in cmds:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    cmds[sys.argv[1]](sys.argv[2:])
