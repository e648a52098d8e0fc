#!/usr/bin/env python3
"""How long after a real program begins to record does its card stand on the screen?

Each run starts a real client and notes, from just before its exec: when the card's window is
mapped on an X display with a window manager, when pw-mon has printed that the same stream runs,
when `pactl subscribe` speaks of a new source output, and when the client itself gets its first data.
A run takes some nine seconds, since the card of the last one must have gone.

usage: benchmarks/card_latency.py [--runs N] [--clients native,pulse,camera]
"""
import argparse
import ctypes
import os
import re
import subprocess
import sys
import tempfile
import threading
import time

import bench

FRAME = 17.0
COMMANDS = {
    "native": ["pw-record", "--format", "s16", "{file}"],
    "pulse": ["parecord", "--raw", "--latency-msec=20", "/dev/stdout"],
    "camera": ["gst-launch-1.0", "-q", "pipewiresrc", "target-object=virtual-camera", "!",
               "video/x-raw", "!", "fdsink", "fd=1"],
}


class GraphMonitor:
    """pw-mon: the moment at which it has said that a recording stream runs."""

    def __init__(self):
        self.reader = bench.Reader(["pw-mon", "-N"])
        self.running = self.kind = None

    def first_running_stream(self, seconds):
        self.running = None

        def look(line):
            if not line.startswith(("\t", " ", "*")):
                self.running = None
            elif re.match(r"[*\t ]+state: \"running\"", line):
                self.running = time.monotonic_ns()
            elif "media.class = \"Stream/Input" in line and self.running:
                return True
            return None

        found = self.reader.until(look, seconds)
        return found and found[0]


class FileGrowth:
    """A recording's file: the moment at which more than its header is written (by inotify)."""

    def __init__(self, path, header):
        libc = ctypes.CDLL(None, use_errno=True)
        open(path, "wb").close()
        self.path, self.header, self.stamp = path, header, None
        self.fd = libc.inotify_init1(os.O_CLOEXEC)
        libc.inotify_add_watch(self.fd, path.encode(), 0x2)
        self.thread = threading.Thread(target=self._wait, daemon=True)
        self.thread.start()

    def _wait(self):
        while self.stamp is None:
            os.read(self.fd, 4096)
            now = time.monotonic_ns()
            if os.stat(self.path).st_size > self.header:
                self.stamp = now
        os.close(self.fd)


class FirstBytes:
    """The moment at which the client writes its first data to a pipe, which is then kept empty."""

    def __init__(self):
        self.read_end, self.write_end = os.pipe()
        self.stamp = None
        self.thread = threading.Thread(target=self._wait, daemon=True)
        self.thread.start()

    def _wait(self):
        while os.read(self.read_end, 1 << 20):
            if self.stamp is None:
                self.stamp = time.monotonic_ns()
        os.close(self.read_end)


def start(client, folder):
    """Starts a client; the time just before its exec, the process and who notes its first data."""
    arguments = [a.format(file=f"{folder}/recording.wav") for a in COMMANDS[client]]
    if client == "native":
        growth, output = FileGrowth(f"{folder}/recording.wav", 128), subprocess.DEVNULL
    else:
        growth = FirstBytes()
        output = growth.write_end
    begun = time.monotonic_ns()
    process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL)
    if client != "native":
        os.close(growth.write_end)
    return begun, process, growth


def card(line, what):
    return re.match(rf"\d+ {what} \d+ (\d+)x(\d+) window", line)


def measure(client, runs, windows, monitor, subscription):
    results = {"card": [], "pw-mon": [], "pactl subscribe": [], "first data": []}
    with tempfile.TemporaryDirectory() as folder:
        for number in range(runs):
            for reader in (windows, monitor.reader, subscription):
                reader.drain()
            begun, process, growth = start(client, folder)
            shown = windows.until(lambda line: card(line, "map") and int(line.split()[0]), 10)
            running = monitor.first_running_stream(10)
            growth.thread.join(0.5 if client != "native" else 5)
            new = None
            if client == "pulse":
                new = subscription.until(
                    lambda line: True if "'new' on source-output" in line else None, 1)
            bench.stop(process)
            if shown is None or running is None:
                sys.exit(f"{client}, run {number + 1}: card {shown}, pw-mon {running}: not seen in 10 s")
            results["card"].append((shown[1] - begun) / 1e6)
            results["pw-mon"].append((running - begun) / 1e6)
            if growth.stamp:
                results["first data"].append((growth.stamp - begun) / 1e6)
            if new:
                results["pactl subscribe"].append((new[0] - begun) / 1e6)
            if windows.until(lambda line: True if card(line, "unmap") else None, 30) is None:
                sys.exit(f"{client}, run {number + 1}: the card doesn't go away")
            print(f"\r{client}: {number + 1} of {runs}", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return results


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=40)
    parser.add_argument("--clients", default="native,pulse,camera")
    wishes = parser.parse_args()
    bench.enter_session("--microphone", "--camera", "--tray")

    print(bench.machine())
    windows = bench.Reader([bench.WINDOW_WATCH, "velmoran"])
    windows.until(lambda line: True if line.endswith("ready") else None, 10)
    velmoran = subprocess.Popen([bench.VELMORAN, "--login-start"], stdin=subprocess.DEVNULL)
    if windows.until(lambda line: True if line.endswith("icon") else None, 10) is None:
        sys.exit("the tray icon doesn't come")
    # Whatever the first start shows by itself is no card of a use.
    time.sleep(3)
    monitor = GraphMonitor()
    subscription = bench.Reader(["pactl", "subscribe"])
    time.sleep(1)
    rows = [["milliseconds from exec", "runs", "median", "95th percentile", "to pw-mon + 17 ms"]]
    reached = True
    for client in wishes.clients.split(","):
        results = measure(client, wishes.runs, windows, monitor, subscription)
        peer = bench.middle_and_tail(results["pw-mon"])
        for name, values in results.items():
            if not values:
                continue
            middle, tail = bench.middle_and_tail(values)
            ratio = ""
            if name == "card":
                reached = reached and middle <= 1.5 * peer[0] + FRAME and tail <= 2 * peer[1] + FRAME
                ratio = (f"{(middle - FRAME) / peer[0]:.2f} (≤ 1.5), "
                         f"{(tail - FRAME) / peer[1]:.2f} (≤ 2)")
            rows.append([f"{client}: {name}", str(len(values)), f"{middle:.1f}", f"{tail:.1f}", ratio])
    bench.stop(velmoran)
    bench.table(rows)
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
