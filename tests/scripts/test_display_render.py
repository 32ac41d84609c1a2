#!/usr/bin/python3
"""pava-cli render of the NOAA-18 HRPT sample: grey and false-colour pixels
against values computed from the sample's words and the drawing's formulas
(channel c of pixel p at word 750 + 5p + c of a frame; linear luminance table
v*256/(max-min); NOAA's default map: red = green = trunc(1.1 ch2), blue = ch1).
Skips (77) when the sample cannot be opened as a picture."""
import os
import struct
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

WORDS = 11090


def lum(v, lo, hi, n=256):
    if v < lo:
        return 0
    if v > hi:
        return n - 1
    return min(n - 1, (v - lo) * n // (hi - lo))


def f32(x):
    return struct.unpack("f", struct.pack("f", x))[0]


def main():
    bindir = sys.argv[1]
    cli = os.path.join(bindir, "pava-cli")
    shared = os.environ.get("PAVA_SHARED_DIR", os.path.join(os.path.dirname(__file__), "../../../shared"))
    sample = os.path.join(shared, "testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be")
    data = open(sample, "rb").read()
    frames = [struct.unpack(">%dH" % WORDS, data[i * WORDS * 2:(i + 1) * WORDS * 2])
              for i in range(len(data) // (WORDS * 2))]

    def chan(c, x, y):
        return frames[y][750 + 5 * x + (c - 1)]

    with tempfile.TemporaryDirectory() as tmp:
        grey = os.path.join(tmp, "grey.png")
        r = subprocess.run([cli, "render", sample, "-o", grey, "--channel", "2", "--lum", "100:900"],
                           capture_output=True, text=True)
        if r.returncode != 0 and "can't open" in r.stderr:
            print("skip: the sample does not open yet:", r.stderr.strip())
            return 77
        if r.returncode != 0:
            print("render failed:", r.stderr)
            return 1
        im = Image.open(grey).convert("RGB")
        w, h = im.size
        if (w, h) != (2048, len(frames)):
            print("size", im.size)
            return 1
        bad = 0
        for y in range(0, h, 3):
            for x in range(0, w - 1, 37):  # the last column is past the picture's edge
                e = lum(chan(2, x, y), 100, 900)
                if im.getpixel((x, y)) != (e, e, e):
                    bad += 1
                    if bad < 5:
                        print("grey", x, y, im.getpixel((x, y)), "expected", e)
        fc = os.path.join(tmp, "fc.png")
        r = subprocess.run([cli, "render", sample, "-o", fc, "--false-colour", "--lum", "0:1023"],
                           capture_output=True, text=True)
        if r.returncode != 0:
            print("render failed:", r.stderr)
            return 1
        im = Image.open(fc).convert("RGB")
        for y in range(0, h, 3):
            for x in range(0, w - 1, 41):
                rg = min(1023, int(f32(f32(1.1) * chan(2, x, y))))
                e = (lum(rg, 0, 1023), lum(rg, 0, 1023), lum(chan(1, x, y), 0, 1023))
                if im.getpixel((x, y)) != e:
                    bad += 1
                    if bad < 10:
                        print("false colour", x, y, im.getpixel((x, y)), "expected", e)
        print("mismatches:", bad)
        return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
