#!/usr/bin/env python3
"""Independent look at the sample recordings of tests/data: parses the byte
layouts with struct and plain bit arithmetic (no project code) and compares
samples with what pava-cli reads. Argument: the build's bin directory."""
import json
import os
import struct
import subprocess
import sys

BIN = sys.argv[1] if len(sys.argv) > 1 else "build/bin"
SRC = os.environ.get("PAVA_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
DATA = os.path.join(SRC, "tests", "data")
CLI = os.path.join(BIN, "pava-cli")
SYNC = [644, 367, 860, 413, 527, 149]
failures = []


def check(cond, what):
    if not cond:
        failures.append(what)


def cli(*args):
    out = subprocess.run([CLI, *args], capture_output=True, text=True, check=True).stdout
    return json.loads(out)


def unpack_hrpt1(b):
    """Five bytes: upper eight bits of four words, then their low two bits."""
    return [b[k] * 4 + ((b[4] >> ((3 - k) * 2)) & 3) for k in range(4)]


def unpack_hpt(b):
    """Five bytes as one 40-bit big-endian number of four 10-bit words."""
    v = int.from_bytes(b, "big")
    return [(v >> (30 - 10 * k)) & 0x3FF for k in range(4)]


def hrpt_family(name, sign, nchan_slots, header_words, leader, nch, layout_chrpt):
    d = open(os.path.join(DATA, name), "rb").read()
    check(d[0:4] == sign, f"{name}: sign")
    width, height = struct.unpack_from("<hh", d, 22)
    check(d[96:104] == b"EXT_V004", f"{name}: version")
    check(d[15992:16000] == b"END_HDR_", f"{name}: end mark")
    chan_off = 301 if layout_chrpt else 269
    slots = list(d[chan_off:chan_off + nchan_slots + 1])
    check(slots == [1] * (nchan_slots + 1), f"{name}: channel slots {slots}")
    words = header_words + leader + nch * width
    words4 = (words + 3) // 4 * 4
    rec = words4 * 10 // 8 + 7
    check(len(d) == 16000 + rec * height, f"{name}: size {len(d)} for {height} records of {rec}")
    lines = []
    for i in range(height):
        r = d[16000 + i * rec:16000 + (i + 1) * rec]
        check(r[0:4] == b"FRAM" and r[4:5] in (b"E", b"e"), f"{name}: prefix of record {i}")
        check(struct.unpack_from("<H", r, 5)[0] == rec - 7, f"{name}: byte count of record {i}")
        w = []
        for g in range(words4 // 4):
            w += unpack_hrpt1(r[7 + 5 * g:12 + 5 * g])
        check(w[0:6] == SYNC, f"{name}: sync of record {i}")
        lines.append(w)
    # pava-cli: line 1, channel 2, pixels 0..7 (the last line of a file is empty).
    got = cli("line", os.path.join(DATA, name), "--line", "1", "--channel", "2", "--count", "8")["samples"]
    want = [lines[1][header_words + p * nch + 1] for p in range(8)]
    check(got == want, f"{name}: samples {got} != {want}")
    return width, height


def hpt(name, nch):
    d = open(os.path.join(DATA, name), "rb").read()
    skip = 925 if nch == 5 else 2000
    rec = 13864 if nch == 5 else 27728
    n = (len(d) - skip) // rec
    check((len(d) - skip) % rec == 0, f"{name}: whole records")
    for i in range(n):
        r = d[skip + i * rec:skip + (i + 1) * rec]
        w = unpack_hpt(r[0:5]) + unpack_hpt(r[5:10])
        check(w[0:6] == SYNC, f"{name}: sync of record {i}")
        if nch == 10:
            check(r[-8:-4] == r[-4:], f"{name}: doubled last group of record {i}")
    r = d[skip + rec:skip + 2 * rec]
    w = []
    for g in range(8):
        w += unpack_hpt(r[5 * g:5 * g + 5])
    got = cli("line", os.path.join(DATA, name), "--line", "1", "--channel", "1", "--count", "3")["samples"]
    check(got == [w[0], w[nch], w[2 * nch]], f"{name}: samples {got}")


def raw16(name):
    d = open(os.path.join(DATA, name), "rb").read()
    check(len(d) % 22180 == 0, f"{name}: whole frames")
    w = struct.unpack_from("<11090H", d, 22180)
    check(list(w[0:6]) == SYNC, f"{name}: sync")
    check((w[6] >> 3) & 15 == 13, f"{name}: NOAA 18 address")
    got = cli("line", os.path.join(DATA, name), "--line", "1", "--channel", "4", "--first", "2047", "--count", "1")
    check(got["samples"] == [w[750 + 5 * 2047 + 3]], f"{name}: last pixel")


def mhrpt1(name):
    d = open(os.path.join(DATA, name), "rb").read()
    check(d[0:4] == b"MHRP" and d[248:256] == b"END_HDR_", f"{name}: header")
    n = (len(d) - 256) // 12800
    check(256 + n * 12800 == len(d), f"{name}: whole lines")
    line = d[256 + 12800:256 + 2 * 12800]  # line 1
    data = line[72:254]
    for f in range(1, 50):
        fr = line[f * 256:(f + 1) * 256]
        check(fr[0:4] == b"\x1a\xcf\xfc\x1d", f"{name}: marker of frame {f}")
        data += fr[22:254]
    check(len(data) == 11550, f"{name}: data bytes")
    # Group 0: channel 0, pixels 0-3; group 1: channel 1, pixels 0-3.
    g1 = unpack_hpt(data[5:10])
    got = cli("line", os.path.join(DATA, name), "--line", "1", "--channel", "2", "--count", "4")["samples"]
    check(got == g1, f"{name}: samples {got} != {g1}")


def main():
    if not os.access(CLI, os.X_OK):
        print("pava-cli not built")
        return 77
    hrpt_family("noaa19_sample.hrpt", b"HRPT", 5, 750, 100, 5, False)
    hrpt_family("fy1d_sample.chrpt", b"CHRP", 10, 1600, 100, 10, True)
    hrpt_family("seastar_sample.seaw", b"SEAW", 8, 685, 100, 8, False)
    hpt("noaa19_sample.hpt", 5)
    hpt("fy1d_sample.C10", 10)
    raw16("noaa18_2024-03-05.raw16le")
    mhrpt1("meteor_sample.mhrpt1")
    for f in failures:
        print("FAIL:", f)
    print("samples checked," if not failures else "", len(failures), "failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
