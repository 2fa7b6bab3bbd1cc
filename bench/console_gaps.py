#!/usr/bin/env python3
"""Longest silences of the console of a run on a terminal.

Runs a command on a pseudo-terminal (so that velquorin shows its terminal
progress: overwritten lines, the subject count of "Reading Data", the time
behind a line that stands), records when each write arrives, and prints the
total time and the longest gaps between writes with the text around them.

Usage: bench/console_gaps.py [--top K] command [arguments...]
Example: bench/console_gaps.py build/velquorin --threads 2 run.in
"""
import os
import pty
import select
import sys
import time


def main():
    args = sys.argv[1:]
    top = 10
    if len(args) >= 2 and args[0] == "--top":
        top = int(args[1])
        args = args[2:]
    if not args:
        sys.exit(__doc__)
    pid, fd = pty.fork()
    if pid == 0:
        os.execvp(args[0], args)
    writes = []
    start = time.monotonic()
    while True:
        try:
            ready, _, _ = select.select([fd], [], [], 1.0)
            if ready:
                data = os.read(fd, 65536)
                if not data:
                    break
                writes.append((time.monotonic() - start, data.decode(errors="replace")))
        except OSError:  # the terminal closes when the program ends
            break
    _, status = os.waitpid(pid, 0)
    total = time.monotonic() - start
    gaps = sorted(((writes[k][0] - writes[k - 1][0], k) for k in range(1, len(writes))),
                  reverse=True)
    print("total %.1f s, %d writes, exit status %d" % (total, len(writes),
                                                       os.waitstatus_to_exitcode(status)))
    for gap, k in gaps[:top]:
        print("%6.2f s at %6.1f s: after %r" % (gap, writes[k][0], writes[k - 1][1][-50:]))


if __name__ == "__main__":
    main()
