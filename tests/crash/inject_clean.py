# Cuts `mira-tzctl clean` short with a kill at each of its system calls,
# or fails one call with EIO, from the first that touches /var/db, and
# checks what it leaves:
#   - the sets the links name stand whole, and so does every set under a
#     version's name: a set goes by being renamed aside first;
#   - a clean that exits 0 left exactly what an uninterrupted one leaves,
#     and one that failed short of that kept the clean-up marker;
#   - the next clean, run to its end, finishes the job.
#
#   python3 inject_clean.py MIRA_TZCTL
#
# Runs inside `tools/sandbox --empty`, which it empties before every run.
import os, re, subprocess, sys

import sandboxed
from sandboxed import write

TZ = "/var/db/timezone/tz"
MARKER = "/var/db/timezone/needs_cleanup"
# Only its lock matters, not the holder's name a kill may leave in it.
LOCK = "/var/db/timezone/.mira-tzctl.lock"
SYSTEM = "/usr/share/zoneinfo.default"
TRACE = "/var/clean.trace"  # /var is the sandbox's own
TIMEOUT = 20
CALL = re.compile(r"^(\w+)\((.*)\) += (.*)$")
FALLIBLE = set("open openat close read write readlink readlinkat unlink "
               "unlinkat rmdir rename renameat renameat2 stat lstat fstat "
               "newfstatat statx getdents64 flock ftruncate pwrite64 "
               "pread64 fcntl".split())
# Each set: its files. In use: the one the links name. Unnamed: two sets
# and what a clean cut short earlier left.
SETS = {
    "2026b.1.0": ("zoneinfo/+VERSION", "zoneinfo/Etc/UTC", "icutz/a.res"),
    "2025a.1.0": ("zoneinfo/+VERSION", "zoneinfo/Etc/UTC", "icutz/a.res"),
    "2025b.1.0": ("zoneinfo/+VERSION", "zoneinfo/Asia/Tokyo"),
    ".cleaning-2024a.1.0": ("zoneinfo/+VERSION",),
}
IN_USE = "2026b.1.0"


def build():
    os.makedirs("/var/db", exist_ok=True)
    subprocess.run(["find", "/var/db", "/usr/share", "-mindepth", "1",
                    "-delete"], check=True)
    write(f"{SYSTEM}/+VERSION", "2026a\n")
    for name, files in SETS.items():
        for file in files:
            write(f"{TZ}/{name}/{file}", f"{name} {file}\n")
    write(MARKER, "")
    os.symlink(f"{TZ}/{IN_USE}/zoneinfo", "/var/db/timezone/zoneinfo")
    os.symlink(f"{TZ}/{IN_USE}/icutz", "/var/db/timezone/icutz")
    os.symlink(f"{TZ}/{IN_USE}", "/var/db/timezone/tz_latest")


def snapshot():
    entries = {}
    for top, dirs, files in os.walk("/var/db"):
        for path in (os.path.join(top, name) for name in dirs + files):
            entries[path] = ("-> " + os.readlink(path) if os.path.islink(path)
                             else "dir" if os.path.isdir(path)
                             else "" if path == LOCK else open(path).read())
    return entries


def run(argv):
    return sandboxed.run(argv, TIMEOUT)


# What is wrong with what a clean cut short left, or None. Set aside, a
# set may be partly gone; under a version's name, it is whole.
def left_wrong(status, killed, reference):
    for name in os.listdir(TZ):
        if name.startswith("."):
            continue
        files = sorted(os.path.relpath(os.path.join(top, f), f"{TZ}/{name}")
                       for top, _, fs in os.walk(f"{TZ}/{name}") for f in fs)
        if files != sorted(SETS.get(name, ())):
            return f"{name} holds {files}"
    if IN_USE not in os.listdir(TZ):
        return "the set in use is gone"
    done = snapshot() == reference
    if status == 0 and not done:
        return "exit 0, but the clean is not done"
    if not killed and not done and not os.path.exists(MARKER):
        return f"exit {status}, not done, and the marker is gone"
    return None


def differences(reference):
    after = snapshot()
    return [f"{p}: {after.get(p, 'missing')} (should be "
            f"{reference.get(p, 'missing')})"
            for p in sorted(set(after) | set(reference))
            if after.get(p) != reference.get(p)]


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: python3 inject_clean.py MIRA_TZCTL")
    if (status := sandboxed.skip_reason_status()) is not None:
        return status
    command = [sys.argv[1], "clean"]
    build()
    status, err = run(["strace", "-o", TRACE, "-y"] + command)
    if status != 0:
        sys.exit(f"the uninterrupted clean failed: {err.strip()}")
    reference = snapshot()
    lines = [l for l in open(TRACE, errors="replace") if CALL.match(l)]
    calls = [CALL.match(l)[1] for l in lines]
    first = next(i for i, l in enumerate(lines) if "/var/db" in l)
    places = [(n, "signal=KILL") for n in range(first, len(calls))]
    places += [(n, "error=EIO") for n in range(first, len(calls))
               if calls[n] in FALLIBLE]
    print(f"== clean: {len(calls)} calls, /var/db from call {first + 1}")
    failures = []
    for n, action in places:
        rank = calls[:n + 1].count(calls[n])
        injection = f"{calls[n]}:{action}:when={rank}"
        build()
        status, err = run(["strace", "-o", TRACE, "-e", f"inject={injection}"]
                          + command)
        problem = left_wrong(status, action == "signal=KILL", reference)
        if not problem:
            again, err = run(command)
            diff = differences(reference)
            problem = (f"the next clean: exit {again}: {err.strip()}"
                       if again != 0 else
                       "the next clean left " + "; ".join(diff) if diff
                       else None)
        if problem:
            failures.append(f"{injection} ({lines[n].strip()[:80]}): "
                            f"{problem}")
    return sandboxed.report(
        failures, f"{len(places)} injections, {len(failures)} failures")


if __name__ == "__main__":
    sys.exit(main())
