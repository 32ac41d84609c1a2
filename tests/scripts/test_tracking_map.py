#!/usr/bin/env python3
"""pava-cli track --map: the world map PNG with the satellites where skyfield
puts them (geocentric sub-satellite points), the observer's mark at its pixel
and the sub-solar point lit while its antipode is in the night."""
import math
import os
import tempfile

from pavatest import TLE, check, finish, must, need

Image, api, framelib = need("PIL.Image", "skyfield.api", "skyfield.framelib")

with tempfile.TemporaryDirectory() as d:
    png = os.path.join(d, "map.png")
    out = must("track", "--map", png, "--from", "2020-10-27T06:00:00Z", "--elements", TLE,
               "--observer", "52,5", "--sats", "NOAA 19;METOP-B;FENGYUN 3D", "--current",
               "METOP-B", "--size", "1440x720", timeout=60)[0]
    img = Image.open(png).convert("RGB")
check(img.size == (1440, 720) and (out["observer"]["x"], out["observer"]["y"]) == (740, 152)
      and img.getpixel((740, 152)) == (0, 0, 255), "size %s, observer %s, mark %s" % (
          img.size, out["observer"], img.getpixel((740, 152))))

ts = api.load.timescale()
t = ts.utc(2020, 10, 27, 6, 0, 0)
lines = open(TLE).read().splitlines()
tle = {lines[i].strip(): (lines[i + 1], lines[i + 2]) for i in range(0, len(lines) - 2, 3)}
check(len(out["sats"]) == 3, "three satellites: %s" % out["sats"])
for s in out["sats"]:
    sat = api.EarthSatellite(*tle[s["name"]], s["name"], ts)
    x, y, z = sat.at(t).frame_xyz(framelib.itrs).km
    lon, lat = math.degrees(math.atan2(y, x)), math.degrees(math.atan2(z, math.hypot(x, y)))
    dlon = (s["lon"] - lon + 180) % 360 - 180
    check(abs(dlon) < 0.05 and abs(s["lat"] - lat) < 0.05,
          "%s at %.3f,%.3f, skyfield %.3f,%.3f" % (s["name"], s["lon"], s["lat"], lon, lat))
    colour = (255, 0, 0) if s["current"] else (128, 0, 0)
    check(img.getpixel((s["x"], s["y"])) == colour,
          "%s mark %s" % (s["name"], img.getpixel((s["x"], s["y"]))))
# Day and night: the sub-solar point is lit, its antipode is not.
sx, sy = out["sun"]["x"], out["sun"]["y"]
lit, dark = img.getpixel((sx, sy + 3)), img.getpixel(((sx + 720) % 1440, 719 - sy + 3))
check(sum(lit) > 1.5 * sum(dark), "sun side %s, night side %s" % (lit, dark))
finish()
