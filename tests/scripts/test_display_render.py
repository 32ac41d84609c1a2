#!/usr/bin/python3
"""pava-cli render of the NOAA-18 HRPT sample: grey and false-colour pixels
against values computed from the sample's words and the drawing's formulas
(channel c of pixel p at word 750 + 5p + c of a frame; linear luminance table
v*256/(max-min); NOAA's default map: red = green = trunc(1.1 ch2), blue = ch1).
Skips (77) when the sample cannot be opened as a picture."""
import os
import struct
import sys
import tempfile

from pavatest import SHARED, check, cli, finish, need

Image, = need("PIL.Image")
WORDS = 11090


def lum(v, lo, hi, n=256):
    return 0 if v < lo else n - 1 if v > hi else min(n - 1, (v - lo) * n // (hi - lo))


def f32(x):
    return struct.unpack("f", struct.pack("f", x))[0]


sample = os.path.join(SHARED, "testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be")
data = open(sample, "rb").read()
frames = [struct.unpack_from(">%dH" % WORDS, data, i * WORDS * 2)
          for i in range(len(data) // (WORDS * 2))]


def chan(c, x, y):
    return frames[y][750 + 5 * x + (c - 1)]


def compare(what, args, xstep, expect):
    """Renders with args; every third line, every xstep-th column against expect(x, y)."""
    png = os.path.join(tmp, what + ".png")
    rc, _, err = cli("render", sample, "-o", png, *args)
    if rc != 0 and "can't open" in err:
        print("skip: the sample does not open yet:", err.strip())
        sys.exit(77)
    if not check(rc == 0, "render %s: %s" % (what, err)):
        finish()
    im = Image.open(png).convert("RGB")
    if not check(im.size == (2048, len(frames)), "%s size %s" % (what, im.size)):
        finish()
    bad = [(x, y, im.getpixel((x, y)), expect(x, y)) for y in range(0, im.size[1], 3)
           for x in range(0, 2047, xstep)  # the last column is past the picture's edge
           if im.getpixel((x, y)) != expect(x, y)]
    check(not bad, "%s: %d mismatches (x, y, got, expected) %s" % (what, len(bad), bad[:5]))


def false_colour(x, y):
    rg = lum(min(1023, int(f32(f32(1.1) * chan(2, x, y)))), 0, 1023)
    return (rg, rg, lum(chan(1, x, y), 0, 1023))


with tempfile.TemporaryDirectory() as tmp:
    compare("grey", ["--channel", "2", "--lum", "100:900"], 37,
            lambda x, y: (lum(chan(2, x, y), 100, 900),) * 3)
    compare("false colour", ["--false-colour", "--lum", "0:1023"], 41, false_colour)
finish()
