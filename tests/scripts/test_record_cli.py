#!/usr/bin/env python3
"""pava-cli record through the board emulator: HRPT, Meteor, Metop and FY-3
sources recorded equal the source (CADUs after Reed-Solomon), the header is
rewritten with the frame count and satellite, the file is renamed after the
satellite; the pass ends on loss of sync, on the tracker's abort and when the
device vanishes (leaving a valid file); no board gives the connection error.

FY-3 frames are made from the Metop CVCDUs with the spacecraft id changed and
the parity recomputed by Debian's libfec (encode_rs_ccsds)."""
import ctypes
import ctypes.util
import glob
import json
import os
import struct
import subprocess
import sys
import tempfile

BIN = sys.argv[1]
SHARED = os.environ.get("PAVA_SHARED_DIR", os.path.join(os.path.dirname(__file__), "../../../shared"))
DATA = os.path.join(SHARED, "testdata")
HRPT = os.path.join(DATA, "hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be")
LRPT = os.path.join(DATA, "ccsds/meteor_m2_lrpt_2025-09-14.cadu")
ASM = bytes([0x1A, 0xCF, 0xFC, 0x1D])
failures = []


def check(name, cond, detail=""):
    if not cond:
        failures.append(f"{name}: {detail}")
        print(f"FAIL {name}: {detail}")


def record(tmp, *args):
    """Runs pava-cli record in its own directory and home; (status, passes, stderr)."""
    env = dict(os.environ, HOME=tmp)
    p = subprocess.run([os.path.join(BIN, "pava-cli"), "record", "--dir", tmp, *args], cwd=tmp,
                       env=env, capture_output=True, text=True, timeout=120)
    passes = [json.loads(l) for l in p.stdout.splitlines() if l.startswith("{")]
    return p.returncode, passes, p.stderr


def cyclic_match(rec, src):
    """True when rec is a run of consecutive source frames (wrapping)."""
    if not rec:
        return False
    for k, f in enumerate(src):
        if f == rec[0]:
            return all(rec[i] == src[(k + i) % len(src)] for i in range(len(rec)))
    return False


def hrpt_lines(path, wpf=11090):
    """Frames of an HRPT record file: 16000-byte header, 7-byte prefix, 4 words in 5 bytes."""
    b = open(path, "rb").read()
    groups = (wpf + 3) // 4
    size = 7 + groups * 5
    out, flags = [], []
    for off in range(16000, len(b) - size + 1, size):
        r = b[off:off + size]
        flags.append(r[:5])
        words = []
        for g in range(groups):
            q = r[7 + 5 * g:12 + 5 * g]
            for k in range(4):
                words.append((q[k] << 2) | ((q[4] >> (6 - 2 * k)) & 3))
        out.append(tuple(words[:wpf]))
    return b[:16000], out, flags


def frames_of(path, header, size=1024):
    b = open(path, "rb").read()
    return b[:header], [b[o:o + size] for o in range(header, len(b) - size + 1, size)]


def rs_encode_cadu(cadu):
    """Parity of the four interleaved codewords by libfec."""
    fec = ctypes.CDLL(ctypes.util.find_library("fec"))
    b = bytearray(cadu)
    for j in range(4):
        data = (ctypes.c_ubyte * 223)(*[b[4 + 4 * i + j] for i in range(223)])
        par = (ctypes.c_ubyte * 32)()
        fec.encode_rs_ccsds(data, par, 0)
        for i in range(32):
            b[4 + 4 * (223 + i) + j] = par[i]
    return bytes(b)


def metop_frames():
    hx = "".join(open(os.path.join(DATA, "rs/cvcdus.hex")).read().split())
    raw = bytes.fromhex(hx)
    return [ASM + raw[i * 1020:(i + 1) * 1020] for i in range(4)]


def with_scid(cadu, scid):
    b = bytearray(cadu)
    b[4] = (b[4] & 0xC0) | (scid >> 2)
    b[5] = (b[5] & 0x3F) | ((scid & 3) << 6)
    return rs_encode_cadu(bytes(b))


def main():
    if not ctypes.util.find_library("fec"):
        print("libfec missing")
        return 77
    with tempfile.TemporaryDirectory() as top:
        src_hrpt = open(HRPT, "rb").read()
        src_words = [tuple(((src_hrpt[i] << 8 | src_hrpt[i + 1]) & 0x3FF)
                           for i in range(f * 22180, (f + 1) * 22180, 2)) for f in range(30)]

        # HRPT: lines equal the source, header with count and satellite, renamed.
        d = os.path.join(top, "hrpt")
        os.mkdir(d)
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--once", "--emulate",
                                 HRPT, "--frames", "45", "--start-after", "1", "--satname")
        check("hrpt status", st == 0, err)
        check("hrpt one pass", len(passes) == 1, passes)
        if passes:
            p = passes[0]
            check("hrpt result", p["frames"] == 45 and p["satellite"] == "NOAA 18", p)
            check("hrpt renamed", os.path.basename(p["file"]).startswith("NOAA-18"), p["file"])
            check("hrpt only file", glob.glob(os.path.join(d, "*.*")) == [p["file"]],
                  os.listdir(d))
            hdr, lines, flags = hrpt_lines(p["file"])
            check("hrpt header", hdr[:4] == b"HRPT" and struct.unpack_from("<h", hdr, 24)[0] == 45
                  and hdr[4:11] == b"NOAA 18", hdr[:32])
            check("hrpt lines", len(lines) == 45 and cyclic_match(lines, src_words),
                  f"{len(lines)} lines")
            check("hrpt in sync", all(f == b"FRAME" for f in flags), set(flags))
        check("hrpt batch log", "Wait for in-sync." in err and "Stop recording after 45 frames."
              in err and "Line 40..." in err, err)

        # Meteor (1024-byte frames, mode 2 words): frames equal, name METEOR.
        d = os.path.join(top, "meteor")
        os.mkdir(d)
        src = frames_of(LRPT, 0)[1]
        st, passes, err = record(d, "--type", "m2hrpt", "--channels", "a", "--once", "--emulate",
                                 LRPT, "--frames", "100", "--start-after", "1", "--satname")
        check("meteor status", st == 0 and len(passes) == 1, err)
        if passes:
            p = passes[0]
            hdr, frames = frames_of(p["file"], 1024)
            check("meteor frames", len(frames) == 100 and cyclic_match(frames, src), len(frames))
            check("meteor header", hdr[:4] == b"M2HR" and hdr[4:14] == b"METEOR-MN2", hdr[:32])
            check("meteor result", p["frames"] == 2 and p["satellite"] == "METEOR-MN2", p)
            check("meteor renamed", os.path.basename(p["file"]).startswith("METEOR-MN2"),
                  p["file"])

        # Metop with bit errors: frames after RS equal the source.
        base = metop_frames()
        cases = [("metop", base, "METOP-A", []),
                 ("metop", base, "METOP-A", ["--bit-errors", "0.0005", "--log-rs", "rs.log"]),
                 ("fy3c", [with_scid(f, 51) for f in base], "FY3-C", []),
                 ("fy3d", [with_scid(f, 52) for f in base], "FY3-D", ["--bit-errors", "0.0005"])]
        for i, (typ, frames_src, name, extra) in enumerate(cases):
            d = os.path.join(top, f"q{i}")
            os.mkdir(d)
            srcf = os.path.join(d, "src.cadu")
            open(srcf, "wb").write(b"".join(frames_src) * 2)
            st, passes, err = record(d, "--type", typ, "--channels", "a", "--once", "--emulate",
                                     srcf, "--frames", "60", "--start-after", "1", "--rs", "1",
                                     *extra)
            tag = f"{typ}{extra}"
            check(tag + " status", st == 0 and len(passes) == 1, err)
            if not passes:
                continue
            p = passes[0]
            hdr, frames = frames_of(p["file"], 1024)
            # Correction writes back the data symbols (bytes 4..895); with bit
            # errors the marker and parity stay as received.
            data = (lambda fs: [f[4:896] for f in fs]) if extra else (lambda fs: fs)
            check(tag + " frames", len(frames) == 60 and cyclic_match(data(frames), data(frames_src)),
                  f"{len(frames)} frames, {p}")
            check(tag + " satellite", p["satellite"] == name, p)
            check(tag + " corrected", (p["corrected"] > 0) == bool(extra) and
                  p["uncorrectable"] == 0, p)
            check(tag + " header", hdr[:4] == ASM and hdr[109] == 1, hdr[:16])
            if "--log-rs" in extra:
                log = open(os.path.join(d, "rs.log")).read()
                check("rs log", log == "Satellite: METOP\nline nr  Corr.    Uncorr. \n" and
                      "Opened rs.log for RS logging" in err, repr(log))

        # Loss of sync longer than the limit ends the pass (HRPT: 3 frames).
        d = os.path.join(top, "sync")
        os.mkdir(d)
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--once", "--emulate",
                                 HRPT, "--frames", "200", "--start-after", "1", "--stop-after",
                                 "3", "--sync-loss-from", "40", "--sync-loss-frames", "100")
        check("outsync", len(passes) == 1 and passes[0]["stop"] == "out of sync" and
              passes[0]["frames"] < 60, passes)
        # ... and 0 never ends it.
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--once", "--emulate",
                                 HRPT, "--frames", "80", "--start-after", "1", "--stop-after",
                                 "0", "--sync-loss-from", "40", "--sync-loss-frames", "20")
        check("outsync never", len(passes) == 1 and passes[0]["stop"] == "frames" and
              passes[0]["frames"] == 80, passes)

        # The tracker's abort.
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--once", "--emulate",
                                 HRPT, "--frames", "80", "--start-after", "1", "--abort-after",
                                 "12", "--no-save")
        check("abort", len(passes) == 1 and passes[0]["stop"] == "aborted" and
              passes[0]["frames"] == 12, passes)

        # The device vanishing mid-pass: a closed, valid file with the frames so far.
        d = os.path.join(top, "vanish")
        os.mkdir(d)
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--emulate", HRPT,
                                 "--frames", "500", "--start-after", "1", "--vanish-after",
                                 "1000000")
        check("vanish pass", len(passes) == 1 and passes[0]["stop"] == "device lost", passes)
        check("vanish message", "Lost connection" in err, err)
        if passes:
            hdr, lines, _ = hrpt_lines(passes[0]["file"])
            n = struct.unpack_from("<h", hdr, 24)[0]
            size = os.path.getsize(passes[0]["file"])
            check("vanish file", n == passes[0]["frames"] == len(lines) and n > 30 and
                  (size - 16000) % 13872 == 0 and cyclic_match(lines, src_words), (n, size))

        # No board: the connection error, as in batch mode.
        st, passes, err = record(top, "--type", "hrpt", "--channels", "a", "--once",
                                 "--backend", "emulator")
        check("no board", st != 0 and err == "Can't connect to decoder via USB \n.", repr(err))

        # A recorded file replayed with --sim records the same lines again.
        first = glob.glob(os.path.join(top, "hrpt", "*"))[0]
        d = os.path.join(top, "sim")
        os.mkdir(d)
        st, passes, err = record(d, "--type", "hrpt", "--channels", "a", "--once", "--sim", first)
        check("sim", st == 0 and len(passes) == 1 and passes[0]["frames"] == 45 and
              hrpt_lines(passes[0]["file"])[1] == hrpt_lines(first)[1], passes)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
