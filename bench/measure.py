#!/usr/bin/env python3
"""measure.py RUNS LIMIT OUTPUT: times the commands that the standard input has, a line each.

Runs take turns, so that what else the machine does meets all commands alike; the first turn warms
up. Prints for each command "wall cpu" in seconds, the medians of its runs, or "- - REASON" for one
that failed. A line may begin with "status=N ": then that exit status is no failure either. Processor
seconds are those of the command itself, user and system. LIMIT is in them. What commands print goes
to the file OUTPUT.
"""
import os
import resource
import shlex
import statistics
import sys
import time


def run_once(words, output, limit):
    done, command = {0}, words
    if words[0].startswith("status="):
        done, command = {0, int(words[0].partition("=")[2])}, words[1:]
    out = os.open(output, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
    nothing = os.open(os.devnull, os.O_RDWR)
    files = [(os.POSIX_SPAWN_DUP2, nothing, 0), (os.POSIX_SPAWN_DUP2, out, 1),
             (os.POSIX_SPAWN_DUP2, nothing, 2)]
    begin = time.perf_counter()
    process = os.posix_spawnp(command[0], command, os.environ, file_actions=files)
    _, status, used = os.wait4(process, 0)
    wall = time.perf_counter() - begin
    os.close(out)
    os.close(nothing)
    if os.WIFSIGNALED(status):
        return f"more than {limit} s, or signal {os.WTERMSIG(status)}"
    if os.WEXITSTATUS(status) not in done:
        return f"status {os.WEXITSTATUS(status)}"
    return wall, used.ru_utime + used.ru_stime


def measure(commands, runs, limit, output):
    times = [[] for _ in commands]
    failures = [None] * len(commands)
    for turn in range(runs + 1):
        for number, command in enumerate(commands):
            if failures[number] is not None:
                continue
            result = run_once(command, output, limit)
            if isinstance(result, str):
                failures[number] = result
            elif turn > 0:
                times[number].append(result)
    return times, failures


def main():
    runs, limit, output = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
    # Handed on to every command.
    resource.setrlimit(resource.RLIMIT_CPU, (limit, limit))
    commands = [shlex.split(line) for line in sys.stdin if line.strip()]
    for taken, failure in zip(*measure(commands, runs, limit, output)):
        if failure is not None:
            print("- -", failure)
            continue
        walls, cpus = zip(*taken)
        print(f"{statistics.median(walls):.5f} {statistics.median(cpus):.5f}")


main()
