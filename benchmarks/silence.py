#!/usr/bin/env python3
"""How long after "Stop" does a real recorder hear nothing any more?

Each round records from a microphone that gives a tone, once for us and once for the peer, and notes
when the recorder has received its first buffer of nothing but zeros (buffers are 5 ms):
ours from the call of the model's stop in a running program, the peer's from just before the start of
`pactl set-source-mute`. `wpctl set-mute` is printed beside them.

usage: benchmarks/silence.py [--runs N]
"""
import argparse
import subprocess
import sys
import threading
import time

import bench

MICROPHONE = "virtual-microphone"


class Press:
    """stop-press: lines in, stamped lines out."""

    def __init__(self):
        self.process = subprocess.Popen([bench.BUILD / "benchmarks/stop-press"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, bufsize=1)
        self.lines = []
        self.changed = threading.Condition()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            with self.changed:
                stamp, _, text = line.rstrip("\n").partition(" ")
                self.lines.append((int(stamp), text))
                self.changed.notify_all()

    def send(self, text):
        with self.changed:
            self.lines.clear()
        self.process.stdin.write(text + "\n")

    def wait(self, start, seconds=10):
        """The stamp of the first line since the last command that begins so."""
        def found():
            return next((stamp for stamp, text in self.lines if text.startswith(start)), None)
        with self.changed:
            self.changed.wait_for(found, seconds)
            stamp = found()
        if stamp is None:
            sys.exit(f"stop-press doesn't say \"{start}\": {self.lines}")
        return stamp


def recorder():
    reader = bench.Reader([bench.BUILD / "benchmarks/silence-watch", MICROPHONE])
    wait(reader, "sound")
    # Its use has to be told, and its stream to have settled.
    time.sleep(0.5)
    reader.drain()
    return reader


def wait(reader, what):
    line = reader.until(lambda text: int(text.split()[0]) if text.endswith(what) else None, 10)
    if line is None:
        sys.exit(f"the recorder hears no {what}")
    return line[1]


def end(reader):
    reader.process.kill()
    reader.process.wait()


def ours(press):
    reader = recorder()
    press.send("stop")
    silence = wait(reader, "silence")
    end(reader)
    press.wait("done")
    begun = press.wait("stop")
    press.send("unmute")
    press.wait("unmuted 1")
    return (silence - begun) / 1e6


def peer(press, command, back):
    reader = recorder()
    press.send("run " + command)
    silence = wait(reader, "silence")
    begun = press.wait("run")
    end(reader)
    press.send("run " + back)
    press.wait("done")
    return (silence - begun) / 1e6




def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=25)
    wishes = parser.parse_args()
    bench.enter_session("--sound", "--microphone")

    print(bench.machine())
    press = Press()
    results = {"stop": [], "pactl": [], "wpctl": []}
    wpctl = subprocess.run(["wpctl", "inspect", "@DEFAULT_AUDIO_SOURCE@"], stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL, check=False).returncode == 0
    for number in range(wishes.runs):
        results["stop"].append(ours(press))
        results["pactl"].append(peer(press, f"pactl set-source-mute {MICROPHONE} 1",
                                     f"pactl set-source-mute {MICROPHONE} 0"))
        if wpctl:
            results["wpctl"].append(peer(press, "wpctl set-mute @DEFAULT_AUDIO_SOURCE@ 1",
                                         "wpctl set-mute @DEFAULT_AUDIO_SOURCE@ 0"))
        print(f"\r{number + 1} of {wishes.runs}", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    press.process.stdin.close()
    press.process.wait(10)
    rows = [["milliseconds to silence", "runs", "median", "95th percentile"]]
    for name, values in results.items():
        if values:
            middle, tail = bench.middle_and_tail(values)
            rows.append([name, str(len(values)), f"{middle:.1f}", f"{tail:.1f}"])
    bench.table(rows)
    reached = bench.middle_and_tail(results["stop"])[0] <= bench.middle_and_tail(results["pactl"])[0]
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
