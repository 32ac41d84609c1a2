#!/usr/bin/python3
"""The coast overlay that pava-cli render draws on a synthetic pass lies on the
land/sea edges of channel 2: a clear-sky daylight pass over the North Sea,
Denmark and Norway is rendered with and without --coast; the pixels that
differ are the overlay, and each one's distance to the nearest land/sea edge
of the plain rendering must have a median of at most 1 pixel and a 95th
percentile of at most 2. Only what the program shows is used: the overlay is
placed by the program's own georeferencing of the recording."""
import os
import subprocess
import sys
import tempfile

try:
    from PIL import Image
except ImportError:
    if sys.executable != "/usr/bin/python3" and os.path.exists("/usr/bin/python3"):
        os.execv("/usr/bin/python3", ["/usr/bin/python3"] + sys.argv)
    print("skip: python3-pil not available")
    sys.exit(77)

R = 8  # search radius for the nearest edge


def run(cmd, env):
    r = subprocess.run(cmd, capture_output=True, text=True, env=env)
    if r.returncode != 0:
        print(" ".join(cmd), "failed:", r.stderr)
        sys.exit(1)


def main():
    cli = os.path.join(sys.argv[1], "pava-cli")
    src = os.environ.get("PAVA_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "../.."))
    tle = os.path.join(src, "data/weather.txt")
    with tempfile.TemporaryDirectory() as tmp:
        env = dict(os.environ, HOME=tmp)  # default preferences
        rec = os.path.join(tmp, "pass.hrpt")
        # Metop-B crosses Europe in mid-morning: sun well up; no clouds.
        run([cli, "synth", "--sat", "METOP-B", "--tle", tle, "--start", "2020-10-26T10:07:30Z",
             "--seconds", "60", "--format", "hrpt", "--clouds", "0", "-o", rec], env)
        plain, coast = os.path.join(tmp, "plain.png"), os.path.join(tmp, "coast.png")
        base = [cli, "render", rec, "--channel", "2", "--lum", "0:1023", "--tle", tle]
        run(base + ["-o", plain], env)
        run(base + ["-o", coast, "--coast"], env)
        a = Image.open(plain).convert("RGB")
        b = Image.open(coast).convert("RGB")
        w, h = a.size
        pa, pb = a.load(), b.load()
        grey = [[pa[x, y][0] for x in range(w)] for y in range(h)]
        flat = sorted(v for row in grey for v in row)
        lo, hi = flat[len(flat) // 50], flat[len(flat) * 49 // 50]
        if hi - lo < 10:
            print("no land/sea contrast in channel 2:", lo, hi)
            return 1
        thr = (lo + hi) / 2
        land = [[v > thr for v in row] for row in grey]
        edge = [[False] * w for _ in range(h)]
        for y in range(h - 1):
            for x in range(w - 1):
                if land[y][x] != land[y][x + 1] or land[y][x] != land[y + 1][x]:
                    edge[y][x] = True
        offsets = sorted(((dx * dx + dy * dy) ** 0.5, dx, dy)
                         for dy in range(-R, R + 1) for dx in range(-R, R + 1))
        dist = []
        for y in range(h):
            for x in range(w):
                if pa[x, y] == pb[x, y]:
                    continue
                best = R + 1
                for d, dx, dy in offsets:
                    if d > R:
                        break
                    nx, ny = x + dx, y + dy
                    if 0 <= nx < w and 0 <= ny < h and edge[ny][nx]:
                        best = d
                        break
                dist.append(best)
        if len(dist) < 500:
            print("too little coast drawn:", len(dist))
            return 1
        dist.sort()
        median, p95 = dist[len(dist) // 2], dist[len(dist) * 95 // 100]
        print("coast pixels %d, median %.2f px, 95th percentile %.2f px" % (len(dist), median, p95))
        return 0 if median <= 1.0 and p95 <= 2.0 else 1


if __name__ == "__main__":
    sys.exit(main())
