#!/usr/bin/python3
"""pava-cli lonlat, render and info on the NOAA 19 HRPT sample bound to its
orbit: elements from --tle, the overlay drawn, a damaged coast file reported
("No coast data available."), a picture without elements drawn without
overlay ("No orbit data available.")."""
import math
import os
import sys
import tempfile

from pavatest import SHARED, SRC, check, cli, finish

sample = os.path.join(SRC, "tests/data/noaa19_sample.hrpt")
tle = os.path.join(SHARED, "testdata/tle/weather_2020-10-26.txt")
if not os.path.exists(sample) or not os.path.exists(tle):
    print("skip: sample or element file missing")
    sys.exit(77)
with tempfile.TemporaryDirectory() as tmp:
    missing, out = os.path.join(tmp, "none.txt"), os.path.join(tmp, "o.png")

    def render(*args, status="ok"):
        """render of the sample into out (written in any case) with the overlay status given."""
        if os.path.exists(out):
            os.remove(out)
        rc, rows, err = cli("render", sample, "-o", out, *args, cwd=tmp)
        check(rc == 0 and rows and rows[0]["status"] == status and os.path.exists(out),
              "render %s: %s %s %s" % (args, rc, rows, err))

    # Positions along the first line: finite, continuous, elements named.
    rc, rows, err = cli("lonlat", sample, "--line", "0", "--x", "0", "--x", "1", "--x", "511",
                        "--tle", tle, cwd=tmp)
    if not check(rc == 0 and len(rows) == 3, "lonlat: " + err):
        finish()
    check(rows[0]["elements"].startswith("element file"), "elements: " + rows[0]["elements"])
    step = math.hypot(rows[1]["lon"] - rows[0]["lon"], rows[1]["lat"] - rows[0]["lat"])
    check(0 < step < 0.2 and all(-90 <= x["lat"] <= 90 for x in rows), "positions: %s" % rows)
    # Without elements: no orbit, for lonlat (failure) and render (drawn).
    rc, rows, err = cli("lonlat", sample, "--line", "0", "--x", "0", "--tle", missing, cwd=tmp)
    check(rc != 0 and "No orbit data available." in err, "lonlat without elements: " + err)
    render("--grid", "--tle", missing, status="No orbit data available.")
    render("--grid", "--tle", tle)  # with elements the grid is drawn
    # A truncated coast file (found as given, in the working directory)
    # draws what it could and says so; the picture is still written.
    coast = os.path.join(SRC, "data/gshhs_c.b")
    if os.path.exists(coast) and not any(os.path.exists(p + "/share/pava/gshhs_i.b")
                                         for p in ("/usr", "/usr/local")):
        with open(coast, "rb") as f, open(os.path.join(tmp, "gshhs_i.b"), "wb") as g:
            g.write(f.read()[:1000] + b"\xff" * 7)
        render("--coast", "--tle", tle, status="No coast data available.")
    # info names the elements in use.
    rc, rows, err = cli("info", sample, cwd=tmp)
    check(rc == 0 and rows and "elements" in rows[0], "info: %s %s" % (rows, err))
finish()
