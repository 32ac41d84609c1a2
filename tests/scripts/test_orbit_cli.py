#!/usr/bin/env python3
"""pava-cli orbit commands: JSON shape, time order, error statuses."""
import math

from pavatest import TLE, check, cli, finish

# tle: every satellite, then a selection.
rc, rows, _ = cli("tle", TLE)
check(rc == 0 and len(rows) == 15, "tle lists 15 satellites")
rc, rows, _ = cli("tle", TLE, "--select", "NOAA*;METOP-?")
names = [r["name"] for r in rows]
check(names == ["NOAA 15", "NOAA 18", "METOP-A", "NOAA 19", "METOP-B", "NOAA 20", "METOP-C",
                "NOAA 21"], "tle --select keeps file order: %s" % names)
n19 = rows[3]  # degrees and radians, bstar expanded, epoch as ISO time to the ms
check(abs(n19["d_inclination"] - 99.1965) < 1e-4 and abs(n19["inclination"] - math.radians(
    99.1965)) < 1e-6 and abs(n19["bstar"] - 0.29872e-4) < 1e-12
      and n19["epoch"] == "2020-10-26T20:33:56.200Z", "NOAA 19 elements %s" % n19)

# position: inertial km, sub-satellite point, height.
rc, rows, _ = cli("position", "--tle", TLE, "--sat", "NOAA 19", "--at", "2020-10-27T00:00:00Z",
                  "--at", "2020-10-27T00:00:01.500Z")
check(rc == 0 and len(rows) == 2 and rows[1]["time"] == "2020-10-27T00:00:01.500Z",
      "position: two moments, milliseconds kept")
r = rows[0]
check(abs(math.hypot(r["x"], r["y"], r["z"]) - 6378.135 - r["height_km"]) < 1e-6
      and 800 < r["height_km"] < 900 and -180 <= r["lon"] <= 180 and -90 <= r["lat"] <= 90,
      "NOAA 19 position, height from the radius: %s" % r)

# look: angles in degrees.
rc, rows, _ = cli("look", "--tle", TLE, "--sat", "NOAA 19", "--observer", "52,5,10",
                  "--at", "2020-10-27T05:40:00Z")
check(rc == 0 and len(rows) == 1 and rows[0]["elevation"] > 20 and 0 <= rows[0]["azimuth"] < 360
      and {"range_km", "x", "y"} <= set(rows[0]), "look: NOAA 19 up at 05:40 %s" % rows)

# passes: count, then hours; time order, fields.
where = ("--tle", TLE, "--observer", "52,5,10", "--from", "2020-10-27T00:00:00Z")
rc, rows, _ = cli("passes", "--sat", "NOAA 1?;METOP-?", "--count", "8", *where)
rises = [r["rise"] for r in rows]
check(rc == 0 and len(rows) == 8 and rises == sorted(rises), "passes --count 8 in time order")
check(all(r["rise"] < r["culmination"] < r["set"] and {"sat", "going_south", "east"} <= set(r)
          for r in rows), "pass fields, rise < culmination < set")
rc, rows, _ = cli("passes", "--sat", "NOAA 19", "--hours", "24", "--min-elev", "10.5", *where)
check(rc == 0 and len(rows) >= 3 and all(r["max_elevation"] >= 10.5 and r["rise"] <
                                         "2020-10-28T00:00:00" for r in rows),
      "passes within --hours with a fractional minimum elevation")

# sun and moon.
rc, rows, _ = cli("sun", "--at", "2020-06-21T12:00:00Z")
check(rc == 0 and abs(rows[0]["lat"] - 23.435) < 0.02, "sun: solstice latitude")
rc, rows, _ = cli("moon", "--at", "2020-10-31T14:49:00Z")
check(rc == 0 and 98 <= rows[0]["illumination"] <= 102 and 0 <= rows[0]["ra"] < 360, "moon: full")
check(cli("moon", "--at", "2020-10-31T14:49:00Z", "--observer", "45,0,0")[0] == 0, "moon observer")

# Errors: a clear message, a non-zero status and no rows.
n19 = ("--tle", TLE, "--sat", "NOAA 19")
for args, msg in [
        (("tle", "/nonexistent/weather.txt"), "NORAD-file '/nonexistent/weather.txt' not found"),
        (("position", *n19, "--at", "yesterday"), "bad time"),
        (("look", "--tle", TLE, "--sat", "NOAA 99", "--observer", "52,5,10",
          "--at", "2020-10-27T00:00:00Z"), "NOAA 99"),  # unknown satellite
        (("passes", *n19, "--observer", "95,5,0", "--from", "2020-10-27T00:00:00Z", "--count",
          "1"), "bad observer"),
        (("passes", *n19, "--observer", "52,5,0", "--from", "2020-10-27T00:00:00Z"), "--count")]:
    rc, rows, err = cli(*args)
    check(rc != 0 and msg in err and not rows, "%s: %s" % (" ".join(args), err))
finish()
