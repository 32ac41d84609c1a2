#!/usr/bin/env python3
"""Independent look at the sample recordings of tests/data: parses the byte
layouts with struct and plain bit arithmetic (no project code) and compares
samples with what pava-cli reads."""
import os
import struct

from pavatest import SRC, check, finish, must

DATA = os.path.join(SRC, "tests", "data")
SYNC = [644, 367, 860, 413, 527, 149]


def samples(name, *args):
    """pava-cli line of a sample: its samples."""
    return must("line", os.path.join(DATA, name), "--line", "1", *args)[0]["samples"]


def unpack_hrpt1(b):
    """Five bytes: upper eight bits of four words, then their low two bits."""
    return [b[k] * 4 + ((b[4] >> ((3 - k) * 2)) & 3) for k in range(4)]


def unpack_hpt(b):
    """Five bytes as one 40-bit big-endian number of four 10-bit words."""
    v = int.from_bytes(b, "big")
    return [(v >> (30 - 10 * k)) & 0x3FF for k in range(4)]


def hrpt_family(name, sign, nchan_slots, header_words, nch, chan_off):
    d = open(os.path.join(DATA, name), "rb").read()
    width, height = struct.unpack_from("<hh", d, 22)
    check(d[0:4] == sign and d[96:104] == b"EXT_V004" and d[15992:16000] == b"END_HDR_",
          f"{name}: sign, version, end mark")
    slots = list(d[chan_off:chan_off + nchan_slots + 1])
    check(slots == [1] * (nchan_slots + 1), f"{name}: channel slots {slots}")
    words4 = (header_words + 100 + nch * width + 3) // 4 * 4  # 100 leader words
    rec = words4 * 10 // 8 + 7
    check(len(d) == 16000 + rec * height, f"{name}: size {len(d)} for {height} records of {rec}")
    lines = []
    for i in range(height):
        r = d[16000 + i * rec:16000 + (i + 1) * rec]
        w = [x for g in range(words4 // 4) for x in unpack_hrpt1(r[7 + 5 * g:12 + 5 * g])]
        check(r[0:4] == b"FRAM" and r[4:5] in (b"E", b"e") and w[0:6] == SYNC
              and struct.unpack_from("<H", r, 5)[0] == rec - 7,
              f"{name}: prefix, byte count, sync of record {i}")
        lines.append(w)
    # Line 1, channel 2, pixels 0..7 (the last line of a file is empty).
    got = samples(name, "--channel", "2", "--count", "8")
    want = [lines[1][header_words + p * nch + 1] for p in range(8)]
    check(got == want, f"{name}: samples {got} != {want}")


def hpt(name, nch):
    d = open(os.path.join(DATA, name), "rb").read()
    skip, rec = (925, 13864) if nch == 5 else (2000, 27728)
    check((len(d) - skip) % rec == 0, f"{name}: whole records")
    for i in range((len(d) - skip) // rec):
        r = d[skip + i * rec:skip + (i + 1) * rec]
        w = unpack_hpt(r[0:5]) + unpack_hpt(r[5:10])
        check(w[0:6] == SYNC, f"{name}: sync of record {i}")
        if nch == 10:
            check(r[-8:-4] == r[-4:], f"{name}: doubled last group of record {i}")
    r = d[skip + rec:skip + 2 * rec]
    w = [x for g in range(8) for x in unpack_hpt(r[5 * g:5 * g + 5])]
    got = samples(name, "--channel", "1", "--count", "3")
    check(got == [w[0], w[nch], w[2 * nch]], f"{name}: samples {got}")


def raw16(name):
    d = open(os.path.join(DATA, name), "rb").read()
    w = struct.unpack_from("<11090H", d, 22180)
    check(len(d) % 22180 == 0 and list(w[0:6]) == SYNC and (w[6] >> 3) & 15 == 13,
          f"{name}: whole frames, sync, NOAA 18 address")
    got = samples(name, "--channel", "4", "--first", "2047", "--count", "1")
    check(got == [w[750 + 5 * 2047 + 3]], f"{name}: last pixel")


def mhrpt1(name):
    d = open(os.path.join(DATA, name), "rb").read()
    check(d[0:4] == b"MHRP" and d[248:256] == b"END_HDR_" and (len(d) - 256) % 12800 == 0,
          f"{name}: header, whole lines")
    line = d[256 + 12800:256 + 2 * 12800]  # line 1
    data = line[72:254]
    for f in range(1, 50):
        fr = line[f * 256:(f + 1) * 256]
        check(fr[0:4] == b"\x1a\xcf\xfc\x1d", f"{name}: marker of frame {f}")
        data += fr[22:254]
    check(len(data) == 11550, f"{name}: data bytes")
    # Group 0: channel 0, pixels 0-3; group 1: channel 1, pixels 0-3.
    got = samples(name, "--channel", "2", "--count", "4")
    check(got == unpack_hpt(data[5:10]), f"{name}: samples {got} != {unpack_hpt(data[5:10])}")


hrpt_family("noaa19_sample.hrpt", b"HRPT", 5, 750, 5, 269)
hrpt_family("fy1d_sample.chrpt", b"CHRP", 10, 1600, 10, 301)
hrpt_family("seastar_sample.seaw", b"SEAW", 8, 685, 8, 269)
hpt("noaa19_sample.hpt", 5)
hpt("fy1d_sample.C10", 10)
raw16("noaa18_2024-03-05.raw16le")
mhrpt1("meteor_sample.mhrpt1")
finish()
