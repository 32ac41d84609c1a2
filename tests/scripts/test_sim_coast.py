#!/usr/bin/python3
"""The coast overlay that pava-cli render draws on a synthetic pass lies on the
land/sea edges of channel 2: a clear-sky daylight pass over the North Sea,
Denmark and Norway is rendered with and without --coast; the pixels that
differ are the overlay, and each one's distance to the nearest land/sea edge
of the plain rendering must have a median of at most 1 pixel and a 95th
percentile of at most 2. Only what the program shows is used: the overlay is
placed by the program's own georeferencing of the recording."""
import os
import tempfile

from pavatest import TLE, check, finish, must, need

Image, = need("PIL.Image")
R = 8  # search radius for the nearest edge

with tempfile.TemporaryDirectory() as tmp:
    rec = os.path.join(tmp, "pass.hrpt")
    # Metop-B crosses Europe in mid-morning: sun well up; no clouds. The
    # default preferences (an empty home).
    must("synth", "--sat", "METOP-B", "--tle", TLE, "--start", "2020-10-26T10:07:30Z",
         "--seconds", "60", "--format", "hrpt", "--clouds", "0", "-o", rec, home=tmp)
    plain, coast = os.path.join(tmp, "plain.png"), os.path.join(tmp, "coast.png")
    base = ["render", rec, "--channel", "2", "--lum", "0:1023", "--tle", TLE]
    must(*base, "-o", plain, home=tmp)
    must(*base, "-o", coast, "--coast", home=tmp)
    a = Image.open(plain).convert("RGB")
    b = Image.open(coast).convert("RGB")
    w, h = a.size
    pa, pb = a.load(), b.load()
    grey = [[pa[x, y][0] for x in range(w)] for y in range(h)]
    flat = sorted(v for row in grey for v in row)
    lo, hi = flat[len(flat) // 50], flat[len(flat) * 49 // 50]
    if not check(hi - lo >= 10, "no land/sea contrast in channel 2: %d %d" % (lo, hi)):
        finish()
    thr = (lo + hi) / 2
    land = [[v > thr for v in row] for row in grey]
    edge = [[land[y][x] != land[y][x + 1] or land[y][x] != land[y + 1][x]
             if x < w - 1 and y < h - 1 else False for x in range(w)] for y in range(h)]
    offsets = sorted(((dx * dx + dy * dy) ** 0.5, dx, dy)
                     for dy in range(-R, R + 1) for dx in range(-R, R + 1))
    offsets = [o for o in offsets if o[0] <= R]
    dist = []
    for y in range(h):
        for x in range(w):
            if pa[x, y] != pb[x, y]:
                dist.append(next((d for d, dx, dy in offsets if 0 <= x + dx < w
                                  and 0 <= y + dy < h and edge[y + dy][x + dx]), R + 1))
    if not check(len(dist) >= 500, "too little coast drawn: %d" % len(dist)):
        finish()
    dist.sort()
    median, p95 = dist[len(dist) // 2], dist[len(dist) * 95 // 100]
    print("coast pixels %d, median %.2f px, 95th percentile %.2f px" % (len(dist), median, p95))
    check(median <= 1.0 and p95 <= 2.0, "coast off the land/sea edges")
finish()
