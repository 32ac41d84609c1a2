#!/usr/bin/env python3
"""pava-cli record through the board emulator: HRPT, Meteor, Metop and FY-3
recordings equal the source (CADUs after Reed-Solomon), headers rewritten, files
renamed after the satellite; loss of sync and a vanishing device end the pass;
no board gives the connection error. FY-3 frames: Metop CVCDUs with another
spacecraft id, parity by Debian's libfec (encode_rs_ccsds)."""
import ctypes
import ctypes.util
import glob
import os
import struct
import sys
import tempfile

from pavatest import SHARED, check, cli, finish

DATA = os.path.join(SHARED, "testdata")
HRPT = os.path.join(DATA, "hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be")
LRPT = os.path.join(DATA, "ccsds/meteor_m2_lrpt_2025-09-14.cadu")
ASM = bytes([0x1A, 0xCF, 0xFC, 0x1D])


def record(d, *args):
    """pava-cli record in directory d (also its home): (status, passes, stderr)."""
    os.makedirs(d, exist_ok=True)
    return cli("record", "--dir", d, *args, cwd=d, home=d, timeout=120)


def emulate(d, typ, src, frames, *extra):
    """One pass of the emulated board replaying src."""
    return record(d, "--type", typ, "--channels", "a", "--once", "--emulate", src, "--frames",
                  frames, "--start-after", "1", *extra)


def cyclic_match(rec, src):
    """True when rec is a run of consecutive source frames (wrapping)."""
    return any(rec and f == rec[0] and all(rec[i] == src[(k + i) % len(src)]
                                           for i in range(len(rec))) for k, f in enumerate(src))


def hrpt_lines(path, wpf=11090):
    """Frames of an HRPT record file: 16000-byte header, 7-byte prefix, 4 words in 5 bytes."""
    b = open(path, "rb").read()
    groups = (wpf + 3) // 4
    size = 7 + groups * 5
    out, flags = [], []
    for off in range(16000, len(b) - size + 1, size):
        r = b[off:off + size]
        flags.append(r[:5])
        words = [(q[k] << 2) | ((q[4] >> (6 - 2 * k)) & 3)
                 for q in (r[7 + 5 * g:12 + 5 * g] for g in range(groups)) for k in range(4)]
        out.append(tuple(words[:wpf]))
    return b[:16000], out, flags


def frames_of(path, header):
    b = open(path, "rb").read()
    return b[:header], [b[o:o + 1024] for o in range(header, len(b) - 1023, 1024)]


def with_scid(cadu, scid):
    """The CADU with another spacecraft id; parity of the four interleaved codewords by libfec."""
    b = bytearray(cadu)
    b[4] = (b[4] & 0xC0) | (scid >> 2)
    b[5] = (b[5] & 0x3F) | ((scid & 3) << 6)
    for j in range(4):
        data = (ctypes.c_ubyte * 223)(*[b[4 + 4 * i + j] for i in range(223)])
        par = (ctypes.c_ubyte * 32)()
        fec.encode_rs_ccsds(data, par, 0)
        for i in range(32):
            b[4 + 4 * (223 + i) + j] = par[i]
    return bytes(b)


if not ctypes.util.find_library("fec"):
    print("libfec missing")
    sys.exit(77)
fec = ctypes.CDLL(ctypes.util.find_library("fec"))
with tempfile.TemporaryDirectory() as top:
    src_hrpt = open(HRPT, "rb").read()
    src_words = [tuple(((src_hrpt[i] << 8 | src_hrpt[i + 1]) & 0x3FF)
                       for i in range(f * 22180, (f + 1) * 22180, 2)) for f in range(30)]

    # HRPT: lines equal the source, header with count and satellite, renamed.
    st, passes, err = emulate(d := os.path.join(top, "hrpt"), "hrpt", HRPT, 45, "--satname")
    check(st == 0 and len(passes) == 1, "hrpt status %d, %s: %s" % (st, passes, err))
    if passes:
        p = passes[0]
        check(p["frames"] == 45 and p["satellite"] == "NOAA 18"
              and os.path.basename(p["file"]).startswith("NOAA-18"), "hrpt result, name %s" % p)
        check(glob.glob(os.path.join(d, "*.*")) == [p["file"]], "hrpt only file %s" % os.listdir(d))
        hdr, lines, flags = hrpt_lines(p["file"])
        check(hdr[:4] == b"HRPT" and struct.unpack_from("<h", hdr, 24)[0] == 45
              and hdr[4:11] == b"NOAA 18", "hrpt header %s" % hdr[:32])
        check(len(lines) == 45 and cyclic_match(lines, src_words), "hrpt %d lines" % len(lines))
        check(all(f == b"FRAME" for f in flags), "hrpt in sync %s" % set(flags))
    check("Wait for in-sync." in err and "Stop recording after 45 frames." in err
          and "Line 40..." in err, "hrpt batch log " + err)

    # Meteor (1024-byte frames, mode 2 words): frames equal, name METEOR.
    src = frames_of(LRPT, 0)[1]
    st, passes, err = emulate(os.path.join(top, "meteor"), "m2hrpt", LRPT, 100, "--satname")
    check(st == 0 and len(passes) == 1, "meteor status: " + err)
    if passes:
        p = passes[0]
        hdr, frames = frames_of(p["file"], 1024)
        check(len(frames) == 100 and cyclic_match(frames, src), "meteor %d frames" % len(frames))
        check(hdr[:4] == b"M2HR" and hdr[4:14] == b"METEOR-MN2", "meteor header %s" % hdr[:32])
        check(p["frames"] == 2 and p["satellite"] == "METEOR-MN2"
              and os.path.basename(p["file"]).startswith("METEOR-MN2"), "meteor result %s" % p)

    # Metop and FY-3, also with bit errors: frames after RS equal the source.
    raw = bytes.fromhex("".join(open(os.path.join(DATA, "rs/cvcdus.hex")).read().split()))
    base = [ASM + raw[i * 1020:(i + 1) * 1020] for i in range(4)]
    cases = [("metop", base, "METOP-A", []),
             ("metop", base, "METOP-A", ["--bit-errors", "0.0005", "--log-rs", "rs.log"]),
             ("fy3c", [with_scid(f, 51) for f in base], "FY3-C", []),
             ("fy3d", [with_scid(f, 52) for f in base], "FY3-D", ["--bit-errors", "0.0005"])]
    for i, (typ, frames_src, name, extra) in enumerate(cases):
        os.mkdir(d := os.path.join(top, f"q{i}"))
        open(srcf := os.path.join(d, "src.cadu"), "wb").write(b"".join(frames_src) * 2)
        st, passes, err = emulate(d, typ, srcf, 60, "--rs", "1", *extra)
        tag = f"{typ}{extra}"
        if not check(st == 0 and len(passes) == 1, tag + " status: " + err):
            continue
        p = passes[0]
        hdr, frames = frames_of(p["file"], 1024)
        # Correction writes back the data symbols (bytes 4..895); with bit
        # errors the marker and parity stay as received.
        data = (lambda fs: [f[4:896] for f in fs]) if extra else (lambda fs: fs)
        check(len(frames) == 60 and cyclic_match(data(frames), data(frames_src)),
              f"{tag} {len(frames)} frames, {p}")
        check(p["satellite"] == name and (p["corrected"] > 0) == bool(extra)
              and p["uncorrectable"] == 0, f"{tag} satellite, RS {p}")
        check(hdr[:4] == ASM and hdr[109] == 1, f"{tag} header {hdr[:16]}")
        if "--log-rs" in extra:
            log = open(os.path.join(d, "rs.log")).read()
            check(log == "Satellite: METOP\nline nr  Corr.    Uncorr. \n" and
                  "Opened rs.log for RS logging" in err, "rs log %r" % log)

    # Loss of sync longer than the limit ends the pass (HRPT: 3 frames).
    st, passes, err = emulate(os.path.join(top, "sync"), "hrpt", HRPT, 200, "--stop-after", "3",
                              "--sync-loss-from", "40", "--sync-loss-frames", "100")
    check(len(passes) == 1 and passes[0]["stop"] == "out of sync" and passes[0]["frames"] < 60,
          "outsync %s" % passes)

    # The device vanishing mid-pass: a closed, valid file with the frames so far.
    st, passes, err = record(os.path.join(top, "vanish"), "--type", "hrpt", "--channels", "a",
                             "--emulate", HRPT, "--frames", "500", "--start-after", "1",
                             "--vanish-after", "1000000")
    check(len(passes) == 1 and passes[0]["stop"] == "device lost", "vanish pass %s" % passes)
    check("Lost connection" in err, "vanish message " + err)
    if passes:
        hdr, lines, _ = hrpt_lines(passes[0]["file"])
        n = struct.unpack_from("<h", hdr, 24)[0]
        size = os.path.getsize(passes[0]["file"])
        check(n == passes[0]["frames"] == len(lines) and n > 30 and (size - 16000) % 13872 == 0
              and cyclic_match(lines, src_words), "vanish file %s" % ((n, size),))

    # No board: the connection error, as in batch mode.
    st, passes, err = record(top, "--type", "hrpt", "--channels", "a", "--once", "--backend",
                             "emulator")
    check(st != 0 and err == "Can't connect to decoder via USB \n.", "no board %r" % err)

    # A recorded file replayed with --sim records the same lines again.
    first = glob.glob(os.path.join(top, "hrpt", "*"))[0]
    st, passes, err = record(os.path.join(top, "sim"), "--type", "hrpt", "--channels", "a",
                             "--once", "--sim", first)
    check(st == 0 and len(passes) == 1 and passes[0]["frames"] == 45 and
          hrpt_lines(passes[0]["file"])[1] == hrpt_lines(first)[1], "sim %s" % passes)
finish()
