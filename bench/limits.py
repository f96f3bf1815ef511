#!/usr/bin/env python3
"""limits.py PROGRAM MAKE_HIVE FOLDER [--megabytes N] [--seconds N] [KIND...]

Runs every command of the console program on each kind of hostile hive, at two sizes, and holds the costs against what any
command may cost on any file: processor time of 0.5 s and 0.2 s per MB, memory of 64 MB and 8 times the file, and not more than
double of both for double the size. A row a kind and command that comes near a limit or goes beyond it, or the costliest of the
kind. Exit status 1 when a limit is broken."""
import argparse, os, resource, signal, subprocess, sys

COMMANDS = [["info"], ["tree"], ["values"], ["values", "--disconnected"], ["freed", "keys"], ["freed", "values"], ["dates"],
            ["search", "HIVE", "zzqq"], ["search", "HIVE", "e"], ["export", "HIVE", "--root", "HKLM\\SOFTWARE"], ["bins"],
            ["security", "used"], ["security", "links"]]
COMMANDS += [["report", name] for name in ("services", "uninstall", "classes", "prog-ids", "open-with", "key-files", "files",
                                           "count-keys", "open-save-mru", "stream-mru")]
MEGABYTE = 1 << 20


def cost(command, limit):
    """Processor seconds, memory in MB, exit status; None for the seconds when the limit ended it."""
    with open(os.devnull, "w") as nothing:
        child = subprocess.Popen(command, stdout=nothing, stderr=nothing,
                                 preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 1)))
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = 0
    if os.WIFSIGNALED(status):
        name = signal.Signals(os.WTERMSIG(status)).name
        return (None if name in ("SIGXCPU", "SIGKILL") else -1.0), usage.ru_maxrss / 1024, name
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, os.WEXITSTATUS(status)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("make_hive")
    parser.add_argument("folder")
    parser.add_argument("kinds", nargs="*")
    parser.add_argument("--megabytes", type=float, default=2)
    parser.add_argument("--seconds", type=int, default=30)
    arguments = parser.parse_intermixed_args()
    kinds = arguments.kinds or subprocess.check_output([arguments.make_hive, "hostile"], text=True).split()
    print("| hive | command | MB | s | allowed | memory MB | allowed | s, doubled | memory MB, doubled | |")
    print("|:---|:---|---:|---:|---:|---:|---:|---:|---:|:---|")
    broken = False
    for kind in kinds:
        files = []
        for times in (1, 2):
            files.append(os.path.join(arguments.folder, f"{kind}-{times}"))
            subprocess.check_call([arguments.make_hive, kind, str(arguments.megabytes * times), files[-1]])
        sizes = [os.path.getsize(f) / MEGABYTE for f in files]
        rows = []
        for command in COMMANDS:
            words = command if "HIVE" in command else [*command, "HIVE"]
            measured = []
            for file in files:
                line = [arguments.program, "--quiet", *[file if w == "HIVE" else w for w in words]]
                measured.append(cost(line, arguments.seconds))
            faults = []
            for (seconds, memory, status), size in zip(measured, sizes):
                if seconds is None or seconds > 0.5 + 0.2 * size:
                    faults.append("slow")
                if seconds is not None and seconds < 0:
                    faults.append(str(status))
                if memory > 64 + 8 * size:
                    faults.append("memory")
            first, second = measured
            growth = sizes[1] / sizes[0] * 1.35  # noise of the machine
            if first[0] and second[0] and second[0] > 0.3 and second[0] > growth * first[0]:
                faults.append("grows")
            shown = ["over" if s is None else f"{s:.2f}" for s, _, _ in measured]
            rows.append((bool(faults), second[0] if second[0] is not None else 1e9,
                         f"| {kind} | {' '.join(w for w in words if w != 'HIVE')} | {sizes[0]:.1f} | {shown[0]} | "
                         f"{0.5 + 0.2 * sizes[0]:.2f} | {first[1]:.0f} | {64 + 8 * sizes[0]:.0f} | {shown[1]} | {second[1]:.0f} | "
                         f"{' '.join(dict.fromkeys(faults))} |"))
        bad = [r for r in rows if r[0]]
        broken |= bool(bad)
        for row in bad or [max(rows, key=lambda r: r[1])]:
            print(row[2], flush=True)
        for file in files:
            os.remove(file)
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
