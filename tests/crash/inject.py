"""Cuts a boot of mira-tzlink short at each of its system calls, or fails
one call with an error, and checks what the next, complete boot leaves.

  python3 inject.py kill|error TOOL STATE_FILE

It must run inside `tools/sandbox --empty`: before every boot it empties
/var/db and /usr/share and builds the starting state there. strace does the
injecting, one call per boot. strace counts each system call on its own, so
call N of the recorded boot is named by its name and its rank among the
calls of that name (the third close, say).

A boot that was cut short or saw an error, followed by a clean boot, must
leave what one uninterrupted boot leaves: the same entries under /var/db,
the clean-up marker seen after a boot that ran to its end, and the version
record wherever the uninterrupted boot wrote one. Where the design cannot
manage that, the state file pins the place with a `known` line; any other
difference fails, and so does a pin that matches nothing.
"""

import collections
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time

ERRORS = ("EIO", "ENOSPC", "EROFS", "EACCES")
# Exit status 1 must come with one of these: a stage let a failure out.
SETTLED = ("Could not prepare time zone directories",
           "Could not reset to system partition",
           "Could not repair localtime link")
# The calls a file system can fail; memory and process calls are left be.
FALLIBLE = {"access", "faccessat", "faccessat2", "open", "openat", "close",
            "read", "write", "readlink", "readlinkat", "symlink",
            "symlinkat", "unlink", "unlinkat", "stat", "lstat", "fstat",
            "newfstatat", "statx", "getdents64", "fchdir", "fsetxattr",
            "fcntl", "lseek"}
TIMEOUT = 10  # seconds; a boot takes milliseconds, so this means a hang
MARKER = "/var/db/timezone/needs_cleanup"
RECORD = "/var/db/timezone/TZVersionDiffRecord"
TRACE = "/var/crash.trace"  # /var is the sandbox's own
CALL = re.compile(r"^(\w+)\((.*)\) += (.*)$")
STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')
END = re.compile(r"^\+\+\+ (exited with (\d+)|killed by (SIG\w+))")


def read_state_file(path):
    """The entries to build, and the contexts of the pinned places."""
    entries, pins = [], set()
    for line in open(path, encoding="utf-8"):
        line = line.strip()
        if not line or line.startswith("#"):
            continue
        kind, rest = line.split(" ", 1)
        if kind == "known":
            pins.add(rest)
        elif kind == "dir":
            entries.append((kind, rest, None))
        elif kind == "file":
            path, text = rest.split(" ", 1)
            text = text[1:-1].encode().decode("unicode_escape")
            entries.append((kind, path, text))
        elif kind == "link":
            path, target = rest.split(" -> ", 1)
            entries.append((kind, path, target))
        else:
            sys.exit(f"bad state line: {line}")
    return entries, pins


def build(entries):
    """The starting state, on empty trees."""
    for top in ("/var/db", "/usr/share"):
        os.makedirs(top, exist_ok=True)
        for entry in os.scandir(top):  # /usr/share is a mount point
            if entry.is_dir(follow_symlinks=False):
                shutil.rmtree(entry.path)
            else:
                os.unlink(entry.path)
    for kind, path, value in entries:
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if kind == "dir":
            os.makedirs(path, exist_ok=True)
        elif kind == "file":
            with open(path, "w", encoding="utf-8") as f:
                f.write(value)
        else:
            os.symlink(value, path)


def snapshot():
    """Every entry under /var/db: link targets, file contents, directories.
    The marker is only there or not: nothing reads its contents."""
    entries = {}
    for top, dirs, files in os.walk("/var/db"):
        for name in dirs + files:
            path = os.path.join(top, name)
            if os.path.islink(path):
                entries[path] = "-> " + os.readlink(path)
            elif os.path.isdir(path):
                entries[path] = "dir"
            elif path == MARKER:
                entries[path] = "present"
            else:
                with open(path, "rb") as f:
                    entries[path] = json.dumps(f.read().decode("latin-1"))
    return entries


def describe(name, args):
    """A call as the pins name it: the file of its descriptor (strace -y
    shows it) and the names it passes; never data or addresses."""
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


def read_trace():
    """The calls as (name, description, result), and how the boot ended:
    its exit status, or minus the signal that ended it."""
    calls, end, seen = [], None, {}
    for line in open(TRACE, encoding="utf-8", errors="replace"):
        call, fate = CALL.match(line), END.match(line)
        if call:
            # The same call made again is told apart by its number.
            what = describe(call[1], call[2])
            seen[what] = seen.get(what, 0) + 1
            what += f" #{seen[what]}" if seen[what] > 1 else ""
            calls.append((call[1], what, call[3]))
        elif fate:
            end = int(fate[2]) if fate[2] else -signal.Signals[fate[3]]
    return calls, end


def run(argv):
    """Exit status (negative: the signal; None: a hang) and stderr."""
    proc = subprocess.Popen(argv, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, start_new_session=True)
    try:
        _, err = proc.communicate(timeout=TIMEOUT)
    except subprocess.TimeoutExpired:
        os.killpg(proc.pid, signal.SIGKILL)
        proc.communicate()
        return None, ""
    return proc.returncode, err.decode(errors="replace")


def fault(status, err, whole_lines=True):
    """What is wrong with the way a boot ended, or None."""
    if status is None:
        return f"no end within {TIMEOUT} s"
    if status < 0:
        return f"died by {signal.Signals(-status).name}"
    lines = err.splitlines()
    stray = [l for l in lines if not l.startswith("mira-tzlink: ")]
    if stray and whole_lines:
        return f"wrote {stray[0]!r}"
    settled = any(l.startswith(f"mira-tzlink: {s}: ")
                  for l in lines for s in SETTLED)
    if status not in (0, 1) or (status == 1 and not settled):
        return f"exit status {status} with {lines}"
    return None


class Harness:
    def __init__(self, tool, entries):
        self.tool, self.entries = tool, entries
        self.clean_boots = {}  # the state a boot starts from: its outcome
        self.endings = collections.Counter()  # exit status and settled line

    def traced(self, inject=None):
        """One boot from the starting state under strace: the calls it
        made, how it ended, and its stderr."""
        build(self.entries)
        argv = ["strace", "-o", TRACE, "-s", "4096", "-y"]
        argv += ["-e", f"inject={inject}"] if inject else []
        status, err = run(argv + [self.tool])
        calls, end = read_trace()
        return calls, status if end is None else end, err

    def record(self):
        build(self.entries)
        self.start_record = snapshot().get(RECORD)
        calls, status, err = self.traced()
        if fault(status, err):
            sys.exit(f"the uninterrupted boot failed: {fault(status, err)}")
        self.calls, self.reference = calls, snapshot()
        # strace counts each call by itself: call n is the k-th of its name.
        self.ranks = [sum(c[0] == name for c in calls[:n + 1])
                      for n, (name, _, _) in enumerate(calls)]
        # What comes before the first path of the tool's own is loading,
        # which no file system error of the tool's can reach.
        self.first_own = next(i for i, (_, d, _) in enumerate(calls)
                              if "/var/db" in d or "/usr/share" in d)

    def difference(self, got):
        expected = dict(self.reference)
        # A record the uninterrupted boot did not write is no one's to
        # compare: a later activation may truthfully write its own.
        if expected.get(RECORD) == self.start_record:
            expected.pop(RECORD, None)
            got.pop(RECORD, None)
        return "\n".join(
            f"{path}: {got.get(path, 'missing')}"
            f" (uninterrupted: {expected.get(path, 'missing')})"
            for path in sorted(set(expected) | set(got))
            if expected.get(path) != got.get(path))

    def inject(self, n, action):
        """A boot with call n altered, then a clean boot: what went wrong
        (or None), and the difference to the uninterrupted boot."""
        name, what, _ = self.calls[n]
        injection = f"{name}:{action}:when={self.ranks[n]}"
        calls, status, err = self.traced(injection)
        killed = action == "signal=KILL"
        # A call cut off at its start shows no output, so a kill is checked
        # by the names of the calls; an error also by the call's own paths.
        road = [c[0] for c in calls[:n + 1]]
        if road != [c[0] for c in self.calls[:n + 1]] or not killed and (
                calls[n][1] != what or "INJECTED" not in calls[n][2]):
            return f"{injection} missed call {n + 1}: the boot went another way", ""
        if killed and status != -signal.SIGKILL:
            return f"{injection} did not kill: status {status}", ""
        # A line whose own write failed is cut short, but not missing.
        cut = what.startswith("write(2)")
        if not killed and fault(status, err, not cut):
            return f"{injection}: {fault(status, err, not cut)}", ""
        if not killed:
            ended = [s for s in SETTLED if f"{s}: " in err]
            self.endings[f"{status} {' / '.join(ended)}".strip()] += 1
        # The clean-up reads the marker after a boot that reached its end.
        marker_seen = not killed and os.path.exists(MARKER)
        # A boot depends on nothing but /var/db and /usr/share, and the
        # latter never changes: one clean boot from each state left is
        # enough.
        left = frozenset(snapshot().items())
        if left not in self.clean_boots:
            status, err = run([self.tool])
            self.clean_boots[left] = fault(status, err), snapshot()
        failed, got = self.clean_boots[left]
        if failed:
            return f"{injection}, then a clean boot: {failed}", ""
        got = dict(got)
        if marker_seen:
            got[MARKER] = "present"
        return None, self.difference(got)


def places(h, mode):
    """Where the mode injects: (call index, the strace actions) in order."""
    if mode == "kill":
        # Call 1 is the execve that strace makes itself, where it injects
        # nothing; the tool has not started yet.
        return [(n, ["signal=KILL"]) for n in range(1, len(h.calls))]
    return [(n, [f"error={e}" for e in ERRORS])
            for n in range(h.first_own, len(h.calls))
            if h.calls[n][0] in FALLIBLE]


def context(h, mode, first, last):
    """Where neighbouring injections that leave the same thing lie: for a
    kill, after the last call done and before the first one not done."""
    if mode == "kill":
        return f"kill after {h.calls[first - 1][1]} before {h.calls[last][1]}"
    if first == last:
        return f"error at {h.calls[first][1]}"
    return f"error from {h.calls[first][1]} through {h.calls[last][1]}"


def inject_all(h, mode):
    """tried, converged, places as (context, injections, difference),
    failures. Neighbouring calls that leave the same difference make one
    place."""
    tried, converged, found, failures = 0, 0, [], []
    for n, actions in places(h, mode):
        diffs = {}
        for action in actions:
            failed, diff = h.inject(n, action)
            tried += 1
            converged += not failed and not diff
            failures += [failed] if failed else []
            if diff:
                diffs.setdefault(diff, []).append(action.split("=")[1])
        diff = "\n".join(f"{', '.join(a)}:\n{d}" if mode == "error" else d
                         for d, a in diffs.items())
        count = sum(len(a) for a in diffs.values())
        if found and diff and found[-1][3] == diff:
            found[-1] = (found[-1][0], n, found[-1][2] + count, diff)
        else:
            found.append((n, n, count, diff))
    return tried, converged, [(context(h, mode, first, last), points, diff)
                              for first, last, points, diff in found
                              if diff], failures


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("kill", "error"):
        sys.exit(__doc__.split("\n\n")[1])
    if os.environ.get("MIRA_TZLINK_SANDBOX") != "1":
        sys.exit("refusing to empty /var/db outside tools/sandbox --empty")
    if not shutil.which("strace"):
        sys.exit("strace is missing: apt-get install strace")
    mode, tool, state = sys.argv[1:]
    entries, pins = read_state_file(state)
    started = time.monotonic()
    h = Harness(tool, entries)
    h.record()
    print(f"== {os.path.basename(state)}, {mode}: {len(h.calls)} calls,"
          f" the tool's own from call {h.first_own + 1}")
    tried, converged, found, failures = inject_all(h, mode)
    known = 0
    for where, points, diff in found:
        pinned = where in pins
        known += points if pinned else 0
        if not pinned:
            failures.append(f"not pinned: {where}")
        print(f"{'known' if pinned else 'NEW'} {where} ({points} injections)"
              " leaves\n  " + diff.replace("\n", "\n  "))
    seen = {where for where, _, _ in found}
    failures += [f"pinned but not seen: {p}" for p in sorted(pins - seen)
                 if p.startswith(mode)]
    print(f"{tried} tried, {converged} converged, {known} in known places,"
          f" {len(failures)} failures; {time.monotonic() - started:.1f} s")
    for ending, count in sorted(h.endings.items()):
        print(f"  {count} boots ended with status {ending}")
    for failure in failures:
        print("FAIL " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
