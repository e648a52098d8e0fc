#!/usr/bin/env python3
"""How long after a recorder's exec can its card be seen, and what does the program hold in memory: under
Xvfb, and under sway without XWayland by layer-shell, in turn and beside pw-mon?

Each run starts pw-record and notes, from just before its exec, when pw-mon has printed that the stream
runs, and when the part of the screen in which the card stands is another picture: under Xvfb by looking at
it every half a millisecond, under sway by the compositor's own word that a frame has changed.

usage: benchmarks/card_surface.py [--runs N]
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

import bench
import card_latency
import idle

# The cards stand at the top right of a screen of 1280 by 800.
PART = ["900", "0", "380", "200"]
WATCHES = {
    "Xvfb": [bench.FRAME_WATCH, *PART],
    "sway": [sys.executable, bench.ROOT / "benchmarks/screen_watch.py", *PART],
}


def environment(surface):
    """Each sees one display alone."""
    result = dict(os.environ)
    if surface == "sway":
        del result["DISPLAY"]
    else:
        del result["WAYLAND_DISPLAY"]
        result["XDG_SESSION_TYPE"] = "x11"
        del result["XDG_CURRENT_DESKTOP"]
    return result


def await_still(watch, seconds):
    """Until the screen hasn't changed for that long."""
    while watch.next(seconds):
        pass


def measure(surface, runs, monitor):
    results = {"card": [], "pw-mon": []}
    velmoran = subprocess.Popen([bench.VELMORAN, "--login-start"], stdin=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL, env=environment(surface))
    watch = bench.Reader(WATCHES[surface])
    if watch.until(lambda line: True if line.endswith("ready") else None, 10) is None:
        sys.exit(f"{surface}: nobody sees its screen")
    # Whatever the first start shows by itself is no card of a use.
    await_still(watch, 4)
    with tempfile.TemporaryDirectory() as folder:
        for number in range(runs):
            watch.drain()
            monitor.reader.drain()
            begun, process, growth = card_latency.start("native", folder)
            shown = watch.until(lambda line: int(line.split()[0]) if line.endswith("changed") else None, 10)
            running = monitor.first_running_stream(10)
            growth.thread.join(5)
            bench.stop(process)
            if shown is None or running is None:
                sys.exit(f"{surface}, run {number + 1}: card {shown}, pw-mon {running}: not seen in 10 s")
            results["card"].append((shown[1] - begun) / 1e6)
            results["pw-mon"].append((running - begun) / 1e6)
            # The card goes some seconds after the use.
            if watch.until(lambda line: True, 30) is None:
                sys.exit(f"{surface}, run {number + 1}: the card doesn't go away")
            await_still(watch, 10)
            print(f"\r{surface}: {number + 1} of {runs}", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    held = idle.memory(velmoran.pid)
    bench.stop(velmoran)
    watch.stop()
    return results, held


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=20)
    wishes = parser.parse_args()
    bench.enter_session("--microphone", "--tray", "--sway")

    print(bench.machine())
    monitor = card_latency.GraphMonitor()
    time.sleep(1)
    rows = [["milliseconds from exec", "runs", "median", "95th percentile", "resident, MiB", "proportional"]]
    cards = {}
    # Two rounds each, so that what the machine does meanwhile falls on both.
    results = {surface: {"card": [], "pw-mon": []} for surface in WATCHES}
    held = {}
    for _ in range(2):
        for surface in WATCHES:
            found, held[surface] = measure(surface, wishes.runs // 2, monitor)
            for name, values in found.items():
                results[surface][name] += values
    for surface, found in results.items():
        for name, values in found.items():
            middle, tail = bench.middle_and_tail(values)
            memory = [f"{mib:.1f}" for mib in held[surface]] if name == "card" else ["", ""]
            rows.append([f"{surface}: {name}", str(len(values)), f"{middle:.1f}", f"{tail:.1f}", *memory])
            cards[surface, name] = middle
    bench.table(rows)
    reached = cards["sway", "card"] <= cards["Xvfb", "card"]
    print("reached" if reached else "NOT reached", "(under sway not later than under Xvfb)")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
