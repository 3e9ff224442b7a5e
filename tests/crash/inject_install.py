# Cuts `mira-tzctl install` of a tree (copied in) and of a tarball (zic's
# output moved in) short with a kill at each of its system calls
# from the first that touches /var/db (before it, nothing there can have
# changed), and checks what it leaves:
#   - tz_latest names the old update or the complete new set, never a
#     partial one, and no partial set stands under a version's name;
#   - the same install, run again, finishes the job and leaves no hidden
#     leftover;
#   - a boot then activates the new set, and status finds it consistent.
#
#   python3 inject_install.py MIRA_TZCTL MIRA_TZLINK INPUTS
#
# INPUTS is what tests/harness/make_install_inputs built. Runs inside
# `tools/sandbox --empty`, which it empties before every run.
import os, re, shutil, subprocess, sys

import sandboxed
from sandboxed import write

OLD = "/var/db/timezone/tz/2026b.1.0"
NEW = "/var/db/timezone/tz/2099a.1.0"
LATEST = "/var/db/timezone/tz_latest"
TZ = "/var/db/timezone/tz"
ICU_FILES = ("zoneinfo64.res", "metaZones.res", "timezoneTypes.res",
             "windowsZones.res", "icutz44l.dat")
TRACE = "/var/install.trace"  # /var is the sandbox's own
TIMEOUT = 20
CALL = re.compile(r"^(\w+)\((.*)\) += (.*)$")


def build(inputs):
    os.makedirs("/var/db", exist_ok=True)
    # Scratch space on /var/db's file system: a tarball's zic output is
    # moved into the set, a tree is copied.
    os.makedirs("/var/tmp", exist_ok=True)
    subprocess.run(["find", "/var/db", "/usr/share", "-mindepth", "1",
                    "-delete"], check=True)
    system = "/usr/share/zoneinfo.default"
    for zone in ("Etc/UTC", "Asia/Tokyo"):
        os.makedirs(os.path.dirname(f"{system}/{zone}"), exist_ok=True)
        shutil.copy(f"{inputs}/tree-2099a/{zone}", f"{system}/{zone}")
    write(f"{system}/+VERSION", "2026a\n")
    write("/usr/share/icu/icutzformat.txt", "44l\n")
    write(f"{OLD}/zoneinfo/+VERSION", "2026b\n")
    write(f"{OLD}/icutz/icutz44l.dat", "")
    os.symlink(OLD, LATEST)
    os.symlink("/usr/share/zoneinfo.default", "/var/db/timezone/zoneinfo")
    os.symlink("/var/db/timezone/zoneinfo/Asia/Tokyo",
               "/var/db/timezone/localtime")


def run(argv):
    return sandboxed.run(argv, TIMEOUT)


def complete(path):
    zoneinfo = f"{path}/zoneinfo"
    return (os.path.isfile(f"{zoneinfo}/+VERSION")
            and open(f"{zoneinfo}/+VERSION").read() == "2099a\n"
            and all(os.path.isfile(f"{zoneinfo}/{z}")
                    for z in ("Etc/UTC", "Asia/Tokyo", "UTC"))
            and all(os.path.isfile(f"{path}/icutz/{f}") for f in ICU_FILES))


# What is wrong with what a killed install left, or None.
def left_wrong():
    target = os.readlink(LATEST) if os.path.islink(LATEST) else None
    if target not in (OLD, NEW):
        return f"tz_latest names {target!r}"
    for name in os.listdir(TZ):
        path = f"{TZ}/{name}"
        if not name.startswith(".") and path != OLD and not complete(path):
            return f"partial set {path}"
    return None


# What is wrong after the install again, a boot and status, or None.
def finished_wrong(tzctl, tzlink, command):
    status, err = run(command)
    if status != 0:
        return f"install again: status {status}: {err.strip()}"
    if os.readlink(LATEST) != NEW or not complete(NEW):
        return "install again did not publish the set"
    hidden = [n for n in os.listdir(TZ) if n.startswith(".")]
    hidden += [n for n in os.listdir("/var/db/timezone")
               if n.startswith(".tz_latest")]
    if hidden:
        return f"leftovers {hidden}"
    status, err = run([tzlink])
    if os.readlink("/var/db/timezone/zoneinfo") != f"{NEW}/zoneinfo":
        return f"the boot did not activate the set: {err.strip()}"
    status, err = run([tzctl, "status"])
    return None if status == 0 else f"status exits {status}"


# Kills `command` at each of its calls from the first that touches /var/db;
# adds what is wrong afterwards to `failures` and returns the kill count.
def inject_each(command, tzctl, tzlink, inputs, failures):
    build(inputs)
    run(["strace", "-o", TRACE, "-s", "256", "-y"] + command)
    calls = [m[1] for m in map(CALL.match, open(TRACE, errors="replace"))
             if m]
    lines = [l for l in open(TRACE, errors="replace") if CALL.match(l)]
    first = next(i for i, l in enumerate(lines) if "/var/db" in l)
    print(f"== install {command[2].split('/')[-1]}: {len(calls)} calls, "
          f"/var/db from call {first + 1}")
    for n in range(first, len(calls)):
        rank = calls[:n + 1].count(calls[n])
        injection = f"{calls[n]}:signal=KILL:when={rank}"
        build(inputs)
        run(["strace", "-o", TRACE, "-e", f"inject={injection}"] + command)
        problem = left_wrong() or finished_wrong(tzctl, tzlink, command)
        if problem:
            failures.append(f"{injection} ({lines[n].strip()[:80]}): {problem}")
    return len(calls) - first


def main():
    if len(sys.argv) != 4:
        sys.exit("usage: python3 inject_install.py MIRA_TZCTL MIRA_TZLINK INPUTS")
    if (status := sandboxed.skip_reason_status()) is not None:
        return status
    tzctl, tzlink, inputs = sys.argv[1:]
    if os.path.exists(f"{inputs}/missing"):
        print("skipped: " + open(f"{inputs}/missing").read().strip())
        return 77
    failures, kills = [], 0
    for source in ("tree-2099a", "tzdata2099a.tar.gz"):
        command = [tzctl, "install", f"{inputs}/{source}", f"{inputs}/icu-2099a"]
        kills += inject_each(command, tzctl, tzlink, inputs, failures)
    return sandboxed.report(failures,
                            f"{kills} kills, {len(failures)} failures")


if __name__ == "__main__":
    sys.exit(main())
