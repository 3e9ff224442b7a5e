# What the injection scripts share. They run only inside
# `tools/sandbox --empty`, whose /var and /usr/share they empty before
# every run, and they need strace.
import os, shutil, subprocess, sys


# None when the script may go on; 77, the status of a skipped test, after
# a line saying why, when strace is missing.
def skip_reason_status():
    if os.environ.get("MIRA_TZLINK_SANDBOX") != "1":
        sys.exit("refusing to empty /var/db outside tools/sandbox --empty")
    if not shutil.which("strace"):
        print("skipped: strace not found (apt-get install strace)")
        return 77
    return None


# Exit status and stderr. A hang is killed after `timeout` seconds, with
# every process of its group, and ends in status 137.
def run(argv, timeout):
    proc = subprocess.run(["timeout", "-s", "KILL", str(timeout)] + argv,
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    return proc.returncode, proc.stderr.decode(errors="replace")


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    open(path, "w").write(text)


# Prints each failure, then `summary`; the script's exit status.
def report(failures, summary):
    for failure in failures:
        print("FAIL", failure)
    print(summary)
    return 1 if failures else 0
