#!/usr/bin/env python3
"""A day of the tracking cycle on a simulated clock (pava-cli track --simulate)
against the board emulator and hamlib's rotctld (dummy rotor): every pass
above the minimum elevation that the tracker can take in turn is followed,
with one rise and one set each, at the times skyfield predicts; rotctld got
the targets of the passes and ends where the last target sent (the park
position, away from the dummy rotor's start) put it."""
import calendar
import os
import shutil
import socket
import subprocess
import sys
import time

from pavatest import HERE, TLE, check, cli, finish, need

need("skyfield")
START = 1603756800  # 2020-10-27T00:00:00Z
HOURS = 24
LAT, LON = 52.0, 5.0
ELEV_DET = 10
PARK = (123.4, 20.0)  # not where the dummy rotor starts (0, 0)
TOL = 3.0  # seconds between the model and the oracle at rise and set

if not shutil.which("rotctld"):
    print("rotctld missing")
    sys.exit(77)
# Passes predicted by skyfield, from an hour before the start (passes in
# progress); computed while the simulation runs.
oracle = subprocess.Popen([sys.executable, os.path.join(HERE, "orbit_oracle.py"), "passes", TLE,
                           str(LAT), str(LON), "0", str(START - 3600), str(HOURS + 2)],
                          stdout=subprocess.PIPE, text=True)
with socket.socket() as s:
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
rot = subprocess.Popen(["rotctld", "-m", "1", "-T", "127.0.0.1", "-t", str(port)],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def rotctl_pos():
    """The rotor's position through rotctld's "p" command."""
    with socket.create_connection(("127.0.0.1", port), timeout=3) as c:
        c.sendall(b"p\n")
        f = c.makefile()
        return [float(f.readline()), float(f.readline())]


def unix(ev):
    return calendar.timegm(time.strptime(ev["time"][:19], "%Y-%m-%dT%H:%M:%S"))


try:
    for _ in range(100):
        try:
            rotctl_pos()
            break
        except OSError:
            time.sleep(0.05)
    t0 = time.time()
    st, events, err = cli("track", "--simulate", "--from", "2020-10-27T00:00:00Z", "--hours",
                          HOURS, "--elements", TLE, "--observer", "%g,%g" % (LAT, LON),
                          "--elev-det", ELEV_DET, "--sats", "*", "--nr", "3", "--board-emulator",
                          "--rotctld", "127.0.0.1:%d" % port, "--park", "%g,%g" % PARK,
                          "--no-exec")
    print("simulated %d h in %.1f s" % (HOURS, time.time() - t0))
    check(st == 0, "exit status %d: %s" % (st, err[-300:]))
    out, _ = oracle.communicate(timeout=300)
    check(oracle.returncode == 0, "oracle failed")
    passes, cur = [], {}  # (rise, set, max_alt, name); rises still open
    for name, kind, t, alt in (l.split() for l in out.splitlines() if l.strip()):
        name, t, alt = name.replace("_", " "), float(t), float(alt)
        if kind == "0":
            cur[name] = [t, -90.0]
        elif kind == "1" and name in cur:
            cur[name][1] = max(cur[name][1], alt)
        elif kind == "2" and name in cur:
            passes.append((cur[name][0], t, cur.pop(name)[1], name))
    passes.sort()

    followed, open_rise = [], None  # (name, rise, set)
    for ev in events:
        if ev["event"] == "rise":
            check(open_rise is None, "doubled rise at %s" % ev["time"])
            open_rise = (ev["sat"], unix(ev))
        elif ev["event"] == "set":
            check(open_rise is not None and open_rise[0] == ev["sat"],
                  "set without its rise at %s" % ev["time"])
            if open_rise:
                followed.append((ev["sat"], open_rise[1], unix(ev)))
            open_rise = None
    aborts = [ev for ev in events if ev["event"] == "abort"]
    check(len(aborts) == len(followed), "one abort per set: %d vs %d" %
          (len(aborts), len(followed)))

    # The tracker takes the earliest pass still to come (or in progress) when
    # a list is built, and the next one at each set. Passes near the minimum
    # elevation may fall either way between the models.
    t, i, end = START, 0, START + HOURS * 3600
    while True:
        mandatory = [q for q in passes if q[1] > t + 1 and q[2] >= ELEV_DET + 0.3]
        optional = [q for q in passes if q[1] > t + 1 and abs(q[2] - ELEV_DET) < 0.3]
        if not mandatory or mandatory[0][0] > end - 60:
            break
        want = mandatory[0]
        if i >= len(followed):
            check(want[1] > end, "missed pass %s rising %d" % (want[3], want[0]))
            break
        name, rise, st = followed[i]
        cand = [want] + [q for q in optional if q[0] <= want[0] + TOL]
        match = [q for q in cand if q[3] == name and abs(q[1] - st) <= TOL]
        check(match, "pass %d: followed %s %d..%d, expected %s %d..%d" %
              (i, name, rise, st, want[3], want[0], want[1]))
        if match:
            check(abs(rise - max(match[0][0], t)) <= TOL + 1,
                  "rise of %s at %d, predicted %d" % (name, rise, match[0][0]))
        t = st
        i += 1
    print("followed %d passes" % len(followed))
    check(len(followed) >= 10, "a day holds more passes")

    summ = events[-1]
    check(summ["event"] == "summary", "summary last")
    # What rotctld acknowledged: "P az el" rotor events.
    sent = [ev for ev in events
            if ev["event"] == "rotor" and ev.get("detail", "").startswith("P ")]
    check(len(sent) > 20 * len(followed), "rotctld got %d targets for %d passes" %
          (len(sent), len(followed)))
    in_pass = [ev for ev in sent if float(ev["detail"].split()[2]) > 5.0]
    check(len(in_pass) > 10 * len(followed), "only %d targets above 5 degrees" % len(in_pass))
    az, el = [float(v) for v in sent[-1]["detail"].split()[1:3]] if sent else (None, None)
    check((az, el) == PARK, "last target sent %s,%s, park %s" % (az, el, PARK))
    check(abs(summ["last_target"]["az"] - PARK[0]) < 0.05 and
          abs(summ["last_target"]["el"] - PARK[1]) < 0.05,
          "summary target %s" % summ["last_target"])
    # The dummy rotor moves about 6 degrees a second: wait for it to arrive.
    deadline, pos, arrived = time.time() + 40, None, False
    while az is not None and not arrived and time.time() < deadline:
        time.sleep(0.2)
        pos = rotctl_pos()
        arrived = abs(pos[0] - az) < 0.2 and abs(pos[1] - el) < 0.2
    check(arrived, "rotctld at %s, last target %s,%s" % (pos, az, el))
finally:
    if oracle.poll() is None:
        oracle.kill()
    rot.terminate()
    rot.wait()
finish()
