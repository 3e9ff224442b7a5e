# Cuts a boot of mira-tzlink short at each of its system calls, or fails one
# call with an error, and checks what the next, complete boot leaves.
#
#   python3 inject.py kill|error TOOL STATE_FILE
#
# Runs inside `tools/sandbox --empty`: before every boot it empties /var/db
# and /usr/share and builds the starting state there. strace injects, one
# call per boot, and counts each system call on its own, so call N of the
# recorded boot is named by its name and its rank among calls of that name.
#
# A boot cut short or failed, then a clean boot, must leave what one
# uninterrupted boot leaves: the same entries under /var/db, the clean-up
# marker seen after a boot that ran to its end, and the version record
# wherever the uninterrupted boot wrote one. Where the design cannot manage
# that, the state file pins the place with a `known` line; any other
# difference fails, and so does a pin that matches nothing.
import os, re, signal, subprocess, sys

import sandboxed

ERRORS = ("EIO", "ENOSPC", "EROFS", "EACCES")
# Exit status 1 must come with one of these: a stage let a failure out.
SETTLED = ("Could not prepare time zone directories",
           "Could not reset to system partition",
           "Could not repair localtime link")
# The calls a file system can fail; memory and process calls are left be.
FALLIBLE = set("access faccessat faccessat2 open openat close read write "
               "readlink readlinkat symlink symlinkat unlink unlinkat stat "
               "lstat fstat newfstatat statx getdents64 fchdir fsetxattr "
               "fcntl lseek".split())
TIMEOUT = 10  # seconds; a boot takes milliseconds, so this means a hang
MARKER = "/var/db/timezone/needs_cleanup"
RECORD = "/var/db/timezone/TZVersionDiffRecord"
TRACE = "/var/crash.trace"  # /var is the sandbox's own
CALL = re.compile(r"^(\w+)\((.*)\) += (.*)$")
STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')
END = re.compile(r"^\+\+\+ (?:exited with (\d+)|killed by (SIG\w+))")


def build(entries):
    os.makedirs("/var/db", exist_ok=True)
    # /usr/share is the sandbox's mount point: emptied, never removed.
    subprocess.run(["find", "/var/db", "/usr/share", "-mindepth", "1",
                    "-delete"], check=True)
    for kind, path, value in entries:
        os.makedirs(path if kind == "dir" else os.path.dirname(path),
                    exist_ok=True)
        if kind == "file":
            open(path, "w", encoding="utf-8").write(
                value[1:-1].encode().decode("unicode_escape"))
        elif kind == "link":
            os.symlink(value.removeprefix("-> "), path)


# Every entry under /var/db; the marker is only there or not, since nothing
# reads its contents.
def snapshot():
    entries = {}
    for top, dirs, files in os.walk("/var/db"):
        for path in (os.path.join(top, name) for name in dirs + files):
            if os.path.islink(path):
                entries[path] = "-> " + os.readlink(path)
            elif os.path.isdir(path) or path == MARKER:
                entries[path] = "dir" if os.path.isdir(path) else "present"
            else:
                entries[path] = open(path, "rb").read()
    return entries


# A call as the pins name it: the file of its descriptor (strace -y shows
# it) and the names it passes; never data or addresses.
def describe(name, args):
    fd = re.match(r"(\d+)(?:<([^>]*)>)?", args)
    names = []
    if fd:  # a descriptor on anything but the tool's trees is just a number
        names.append(fd[2] if (fd[2] or "").startswith(("/var/", "/usr/"))
                     else fd[1])
    if name not in ("read", "write", "getdents64"):  # data, not names
        strings = [s for s in STRING.findall(args) if s]
        # readlink's second string is the target it read, not a name.
        names += strings[:1] if name.startswith("readlink") else strings
    return f"{name}({', '.join(names)})"


def run(argv):
    return sandboxed.run(argv, TIMEOUT)


# What is wrong with the way a boot ended, or None.
def fault(status, err, whole_lines=True):
    lines = err.splitlines()
    stray = [l for l in lines if not l.startswith("mira-tzlink: ")]
    settled = any(l.startswith(f"mira-tzlink: {s}: ")
                  for l in lines for s in SETTLED)
    if status < 0:
        return f"died by {signal.Signals(-status).name}"
    if stray and whole_lines:
        return f"wrote {stray[0]!r}"
    if status not in (0, 1) or (status == 1 and not settled):
        return f"exit status {status} with {lines}"
    return None


# One boot from the starting state under strace: its calls as (name,
# description, result), how it ended, and its stderr.
def traced(tool, entries, inject=None):
    build(entries)
    argv = ["strace", "-o", TRACE, "-s", "4096", "-y"]
    status, err = run(argv + (["-e", f"inject={inject}"] if inject else [])
                      + [tool])
    calls, seen = [], {}
    for line in open(TRACE, encoding="utf-8", errors="replace"):
        call, fate = CALL.match(line), END.match(line)
        if call:  # the same call made again is told apart by its number
            what = describe(call[1], call[2])
            seen[what] = seen.get(what, 0) + 1
            what += f" #{seen[what]}" if seen[what] > 1 else ""
            calls.append((call[1], what, call[3]))
        elif fate:
            status = int(fate[1]) if fate[1] else -signal.Signals[fate[2]]
    return calls, status, err


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("kill", "error"):
        sys.exit("usage: python3 inject.py kill|error TOOL STATE_FILE")
    if (status := sandboxed.skip_reason_status()) is not None:
        return status
    mode, tool, state = sys.argv[1:]
    entries, pins = [], set()
    for line in open(state, encoding="utf-8"):
        if line.strip() and not line.startswith("#"):
            kind, path, *value = line.strip().split(" ", 2)
            if kind == "known":
                pins.add(line.strip()[6:])
            else:
                entries.append((kind, path, value[0] if value else None))
    build(entries)
    start_record = snapshot().get(RECORD)
    calls, status, err = traced(tool, entries)
    if fault(status, err):
        sys.exit(f"the uninterrupted boot failed: {fault(status, err)}")
    reference = snapshot()
    # A record the uninterrupted boot did not write is no one's to compare:
    # a later activation may truthfully write its own.
    ignored = {RECORD} if reference.get(RECORD) == start_record else set()
    # What comes before the first path of the tool's own is loading, which
    # no file system error of the tool's can reach. Call 1 is the execve
    # strace makes itself, where it injects nothing.
    first_own = next(i for i, (_, d, _) in enumerate(calls)
                     if "/var/db" in d or "/usr/share" in d)
    places = [(n, ["signal=KILL"]) for n in range(1, len(calls))]
    if mode == "error":
        places = [(n, [f"error={e}" for e in ERRORS])
                  for n in range(first_own, len(calls))
                  if calls[n][0] in FALLIBLE]
    print(f"== {os.path.basename(state)}, {mode}: {len(calls)} calls,"
          f" the tool's own from call {first_own + 1}")
    clean_boots, found, failures, tried, converged = {}, [], [], 0, 0
    for n, actions in places:
        diffs = {}
        for action in actions:
            rank = sum(c[0] == calls[n][0] for c in calls[:n + 1])
            injection = f"{calls[n][0]}:{action}:when={rank}"
            got, status, err = traced(tool, entries, injection)
            killed = action == "signal=KILL"
            tried += 1
            # A call cut off at its start shows no output, so a kill is
            # checked by the names of the calls; an error also by its paths.
            # A line whose own write failed is cut short, but not missing.
            problem = (
                f"missed call {n + 1}"
                if [c[0] for c in got[:n + 1]] != [c[0] for c in calls[:n + 1]]
                or not killed and (got[n][1] != calls[n][1]
                                   or "INJECTED" not in got[n][2])
                else f"did not kill: status {status}"
                if killed and status != -signal.SIGKILL
                else None if killed
                else fault(status, err, not calls[n][1].startswith("write(2)")))
            if problem:
                failures.append(f"{injection}: {problem}")
                continue
            # The clean-up reads the marker after a boot that reached its
            # end. A boot depends on /var/db and /usr/share only, and the
            # latter never changes: one clean boot per state left will do.
            marker_seen = not killed and os.path.exists(MARKER)
            left = frozenset(snapshot().items())
            if left not in clean_boots:
                status, err = run([tool])
                clean_boots[left] = fault(status, err), snapshot()
            failed, after = clean_boots[left]
            if failed:
                failures.append(f"{injection}, then a clean boot: {failed}")
                continue
            after = dict(after)
            if marker_seen:
                after[MARKER] = "present"
            diff = "\n".join(
                f"{p}: {after.get(p, 'missing')}"
                f" (uninterrupted: {reference.get(p, 'missing')})"
                for p in sorted(set(reference) | set(after))
                if p not in ignored and reference.get(p) != after.get(p))
            converged += not diff
            if diff:
                diffs.setdefault(diff, []).append(action.split("=")[1])
        # Neighbouring calls that leave the same difference make one place.
        diff = "\n".join(f"{', '.join(a)}:\n{d}" if mode == "error" else d
                         for d, a in diffs.items())
        count = sum(len(a) for a in diffs.values())
        if found and diff and found[-1][3] == diff:
            found[-1] = (found[-1][0], n, found[-1][2] + count, diff)
        else:
            found.append((n, n, count, diff))
    known, seen = 0, set()
    for first, last, points, diff in (f for f in found if f[3]):
        # For a kill: after the last call done, before the first not done.
        where = (f"kill after {calls[first - 1][1]} before {calls[last][1]}"
                 if mode == "kill" else f"error at {calls[first][1]}"
                 if first == last else
                 f"error from {calls[first][1]} through {calls[last][1]}")
        seen.add(where)
        known += points if where in pins else 0
        if where not in pins:
            failures.append(f"not pinned: {where}")
        print(f"{'known' if where in pins else 'NEW'} {where}"
              f" ({points} injections) leaves\n  " + diff.replace("\n", "\n  "))
    failures += [f"pinned but not seen: {p}" for p in sorted(pins - seen)
                 if p.startswith(mode)]
    print(f"{tried} tried, {converged} converged, {known} in known places,"
          f" {len(failures)} failures")
    for failure in failures:
        print("FAIL " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
