#!/usr/bin/env python3
"""What does Velmoran cost while nothing is in use, beside pasystray in the same session?

Measures over a minute: CPU time, wake-ups of all threads (voluntary context switches), resident and
proportional memory; and ten times how long the tray icon takes from exec.

usage: benchmarks/idle.py [--seconds N] [--starts N]
"""
import argparse
import pathlib
import re
import subprocess
import sys
import time

import bench


def sum_over_threads(pid):
    """CPU seconds and voluntary switches of all threads, those that have ended not included."""
    cpu, switches = 0.0, 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        cpu += int((task / "schedstat").read_text().split()[0]) / 1e9
        switches += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", (task / "status").read_text(),
                                  re.MULTILINE).group(1))
    return cpu, switches


def memory(pid):
    """Resident and proportional MiB."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    return [int(re.search(rf"^{key}:\s*(\d+)", text, re.MULTILINE).group(1)) / 1024 for key in ("Rss", "Pss")]


def docking(arguments, window_class, starts):
    """Milliseconds from exec to the icon in the tray; leaves the last process running."""
    times, process = [], None
    for _ in range(starts):
        if process:
            bench.stop(process)
        watch = bench.Reader([bench.WINDOW_WATCH, window_class])
        watch.until(lambda line: True if line.endswith("ready") else None, 10)
        begun = time.monotonic_ns()
        process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        found = watch.until(lambda line: int(line.split()[0]) if re.match(r"\d+ map .* icon$", line) else None, 10)
        if found is None:
            sys.exit(f"{arguments[0]}: no icon in the tray after 10 s")
        times.append((found[1] - begun) / 1e6)
        watch.stop()
    return times, process


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=int, default=60)
    parser.add_argument("--starts", type=int, default=10)
    wishes = parser.parse_args()
    bench.enter_session("--microphone", "--camera", "--tray")

    print(bench.machine())
    programs = {"velmoran": [str(bench.VELMORAN), "--login-start"], "pasystray": ["pasystray"]}
    docked, processes = {}, {}
    for name, arguments in programs.items():
        docked[name], processes[name] = docking(arguments, name, wishes.starts)
    # What a start puts off is over by then.
    time.sleep(15)
    before = {name: sum_over_threads(process.pid) for name, process in processes.items()}
    time.sleep(wishes.seconds)
    figures = {}
    for name, process in processes.items():
        cpu, switches = sum_over_threads(process.pid)
        # A thread that has ended took its share along: pasystray's do.
        figures[name] = (max(0, 100 * (cpu - before[name][0]) / wishes.seconds),
                         max(0, (switches - before[name][1]) / wishes.seconds), *memory(process.pid))
        bench.stop(process)
    ours, peer = figures["velmoran"], figures["pasystray"]
    dock = bench.middle_and_tail(docked["velmoran"])
    rows = [
        ["idle", "velmoran", "pasystray", "wanted"],
        ["CPU, % of one core", f"{ours[0]:.3f}", f"{peer[0]:.3f}", "< 0.1"],
        ["wake-ups a second", f"{ours[1]:.2f}", f"{peer[1]:.2f}", "≤ 1"],
        ["resident, MiB", f"{ours[2]:.1f}", f"{peer[2]:.1f}", f"≤ {1.5 * peer[2]:.1f}"],
        ["proportional, MiB", f"{ours[3]:.1f}", f"{peer[3]:.1f}", "≤ 30"],
        ["exec to tray icon, ms, median", f"{dock[0]:.0f}",
         f"{bench.middle_and_tail(docked['pasystray'])[0]:.0f}", "< 150"],
        ["the same, 95th percentile", f"{dock[1]:.0f}",
         f"{bench.middle_and_tail(docked['pasystray'])[1]:.0f}", ""],
    ]
    bench.table(rows)
    reached = (ours[0] < 0.1 and ours[1] <= 1 and ours[2] <= 1.5 * peer[2] and ours[3] <= 30
               and dock[0] < 150)
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
