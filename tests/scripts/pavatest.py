"""Shared by the python script tests (argument: the build's bin directory):
paths, pava-cli runs with their JSON lines, failures collected to the end."""
import importlib
import json
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SRC = os.environ.get("PAVA_SOURCE_DIR", os.path.join(HERE, "..", ".."))
SHARED = os.environ.get("PAVA_SHARED_DIR", os.path.join(SRC, "..", "shared"))
TLE = os.path.join(SRC, "data", "weather.txt")
CLI = os.path.join(os.path.abspath(sys.argv[1]), "pava-cli")
failures = []


def need(*modules):
    """Debian's modules (they live with the system interpreter); a skip without them."""
    try:
        return [importlib.import_module(m) for m in modules]
    except ImportError:
        if sys.executable != "/usr/bin/python3" and os.path.exists("/usr/bin/python3"):
            os.execv("/usr/bin/python3", ["/usr/bin/python3"] + sys.argv)
        print("skip: missing", *modules)
        sys.exit(77)


def check(cond, what):
    if not cond:
        failures.append(what)
        print("FAIL:", what)
    return cond


def cli(*args, cwd=None, home=None, timeout=300):
    """Runs pava-cli (HOME=home when given): (status, its JSON lines, standard error)."""
    env = dict(os.environ, HOME=home) if home else None
    p = subprocess.run([CLI, *map(str, args)], capture_output=True, text=True, cwd=cwd, env=env,
                       timeout=timeout)
    rows = [json.loads(l) for l in p.stdout.splitlines() if l.startswith("{")]
    return p.returncode, rows, p.stderr


def must(*args, **kw):
    """pava-cli that has to succeed: its JSON lines; the test fails at once otherwise."""
    st, rows, err = cli(*args, **kw)
    if st != 0:
        print("FAIL: pava-cli", *args, "status", st, err)
        sys.exit(1)
    return rows


def finish():
    print("%d failures" % len(failures))
    sys.exit(1 if failures else 0)
