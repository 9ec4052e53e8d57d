"""Runs a program and measures it with all its descendants, including orphaned ones.

    python3 process_tree.py PROGRAM [ARGUMENT...]

Prints one line of JSON at the start, a measurement for each line on standard input, and one line
at the end. Exits after the last process has exited. Kills all processes when its standard input
ends. The standard output of the program goes to standard error.
"""

import ctypes
import json
import os
import resource
import select
import signal
import subprocess
import sys
import time
from pathlib import Path

# From linux/prctl.h.
PR_SET_CHILD_SUBREAPER = 36


def report(**values):
    """Prints a line with these values and the time, in milliseconds since the epoch."""
    print(json.dumps({"time": time.time() * 1000, **values}), flush=True)


def read(pid, name):
    """Returns the text of a file of a process in /proc, or "" when the process has exited."""
    try:
        return Path(f"/proc/{pid}/{name}").read_text(errors="replace")
    except OSError:
        return ""


def descendants():
    """Returns the fields of /proc/PID/stat (proc_pid_stat(5)), from the third on, by process ID."""
    stats = {pid: read(pid, "stat").rpartition(")")[2].split() for pid in os.listdir("/proc")
             if pid.isdigit()}
    found = {str(os.getpid()): None}
    # fields[1] is the ID of the parent. A descendant may have a lower ID than its parent, so this
    # repeats until none is added.
    while more := {pid: fields for pid, fields in stats.items()
                   if pid not in found and fields and fields[1] in found}:
        found |= more
    del found[str(os.getpid())]
    return {int(pid): fields for pid, fields in found.items()}


def processor_time(pid):
    """Returns the processor time of a process in seconds; 0 when it has exited."""
    try:
        # The ID of the CPU clock of the process, as clock_getcpuclockid(3) returns it: Python lacks
        # that function. The clock is finer than the ticks in /proc/PID/stat.
        return time.clock_gettime((~pid << 3) | 2)
    except OSError:
        return 0


def measure():
    """Prints the sums over all running descendants; the processor time includes exited ones."""
    exited = resource.getrusage(resource.RUSAGE_CHILDREN)
    processor = exited.ru_utime + exited.ru_stime
    memory = {"Pss:": 0, "Private_Dirty:": 0}
    processes = descendants()
    for pid, fields in processes.items():
        # Fields 16 and 17, as the list begins with field 3: the ticks of the children that the
        # process has reaped.
        children = int(fields[13]) + int(fields[14])
        processor += processor_time(pid) + children / os.sysconf("SC_CLK_TCK")
        for line in read(pid, "smaps_rollup").splitlines():
            name, value = line.split()[:2]
            if name in memory:
                memory[name] += int(value)
    report(processor=processor * 1000, memory=memory["Pss:"],
           privateDirty=memory["Private_Dirty:"],
           processes=[read(pid, "comm").strip() for pid in processes])


def reap():
    """Reaps exited children. Returns whether a child is left."""
    try:
        while os.waitpid(-1, os.WNOHANG)[0] != 0:
            pass
        return True
    except ChildProcessError:
        return False


def kill_all():
    """Kills and reaps all descendants."""
    # Repeats, because a process may fork while the others are killed.
    while reap():
        for pid in descendants():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        time.sleep(0.005)


# Orphaned descendants become children of this process.
ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
# Python writes to this pipe when a child exits (SIGCHLD), but only if the signal has a handler.
exit_reader, exit_writer = os.pipe()
os.set_blocking(exit_writer, False)
signal.signal(signal.SIGCHLD, lambda number, frame: None)
signal.set_wakeup_fd(exit_writer)

start = time.time() * 1000
program = subprocess.Popen(sys.argv[1:], stdin=subprocess.DEVNULL, stdout=sys.stderr)
report(time=start, pid=program.pid)
while True:
    ready = select.select([exit_reader, sys.stdin], [], [])[0]
    if exit_reader in ready:
        os.read(exit_reader, 4096)
        if not reap():
            break
    if sys.stdin in ready:
        if not os.read(sys.stdin.fileno(), 4096):
            kill_all()
            break
        measure()
report(ended=True)
