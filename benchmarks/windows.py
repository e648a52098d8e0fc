#!/usr/bin/env python3
"""What do the windows cost: the memory that is left when they are closed, and the CPU of an open panel?

A first start shows the introduction; then the panel, History, the details of a use and the settings are opened and
closed as a hand does it, on an X display with a window manager. Measured are the resident memory with all of them
closed after each was opened once, what N more rounds add, and the CPU of the panel while it stands open and ticks
with the camera, the microphone and the speaker in use, beside the same with the panel closed.

usage: benchmarks/windows.py [--rounds N] [--seconds N]
"""
import argparse
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import wave

import bench
from history_command import store
from idle import memory, sum_over_threads

SESSIONS = 3000
CLIENTS = {
    "microphone": ["pw-record", "--format", "s16", "/dev/null"],
    "camera": ["gst-launch-1.0", "-q", "pipewiresrc", "target-object=virtual-camera", "!", "video/x-raw", "!", "fakesink"],
    "speaker": ["pw-play", "{wave}"],
}


class Hand:
    """Opens windows as a person does, and waits until they are there or gone."""

    def __init__(self, environment):
        self.environment = environment
        self.watch = bench.Reader([bench.WINDOW_WATCH, "velmoran"])
        if self.watch.until(lambda line: True if line.endswith("ready") else None, 10) is None:
            sys.exit("the display can't be looked at")

    def mapped(self, what):
        found = self.watch.until(lambda line: re.search(r" map (\d+) \S+ window$", line), 10)
        if found is None:
            sys.exit(f"{what} isn't shown after 10 s")
        return found[1].group(1)

    def gone(self, window, what):
        if self.watch.until(lambda line: True if f" unmap {window} " in line else None, 10) is None:
            sys.exit(f"{what} doesn't close")

    def show(self, name):
        self.watch.drain()
        subprocess.run([bench.VELMORAN, "--show", name], env=self.environment, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        return self.mapped(name)

    def close(self, window, what):
        subprocess.run(["xdotool", "windowactivate", "--sync", window], check=True)
        subprocess.run(["xdotool", "key", "ctrl+w"], check=True)
        self.gone(window, what)

    def round(self):
        """Each window once."""
        panel = self.show("main")
        self.close(panel, "the panel")
        history = self.show("history")
        subprocess.run(["xdotool", "windowactivate", "--sync", history], check=True)
        place = self.list_of(history)
        subprocess.run(["xdotool", "mousemove", *place, "click", "1"], check=True)
        self.close(self.mapped("details"), "details")
        self.close(history, "history")
        settings = self.show("settings")
        self.close(settings, "settings")

    @staticmethod
    def list_of(window):
        """A point in the middle of the window, where its list stands."""
        shape = subprocess.run(["xdotool", "getwindowgeometry", "--shell", window], check=True, capture_output=True,
                               text=True).stdout
        place = {key: int(value) for key, value in re.findall(r"(\w+)=(-?\d+)", shape)}
        return str(place["X"] + place["WIDTH"] // 2), str(place["Y"] + place["HEIGHT"] // 2)


def start(environment):
    return subprocess.Popen([bench.VELMORAN], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def cpu_share(pid, seconds):
    """Per cent of one core."""
    before, _ = sum_over_threads(pid)
    time.sleep(seconds)
    return max(0, 100 * (sum_over_threads(pid)[0] - before) / seconds)


def silence(path, seconds):
    with wave.open(str(path), "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(48000)
        file.writeframes(b"\0" * 48000 * 4 * seconds)


def wait_for_uses(environment):
    """Until all three devices are known to be in use now."""
    end = time.monotonic() + 20
    while time.monotonic() < end:
        status = subprocess.run([bench.VELMORANCTL, "status", "--json"], env=environment, capture_output=True, text=True)
        told = {use["device"] for use in json.loads(status.stdout)["uses"]}
        if told == set(CLIENTS):
            return
        time.sleep(0.2)
    sys.exit(f"not all three devices are in use: {told}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=100)
    parser.add_argument("--seconds", type=int, default=30)
    wishes = parser.parse_args()
    bench.enter_session("--microphone", "--camera", "--tray")

    print(bench.machine())
    rows, figures = [["windows", "measured", "wanted"]], {}
    with tempfile.TemporaryDirectory() as home:
        environment = {**os.environ, "HOME": home, "XDG_DATA_HOME": f"{home}/.local/share",
                       "XDG_CONFIG_HOME": f"{home}/.config"}
        store(home, SESSIONS)
        hand = Hand(environment)
        program = start(environment)
        hand.close(hand.mapped("the introduction"), "the introduction")
        time.sleep(5)
        idle = memory(program.pid)[0]
        hand.round()
        time.sleep(3)
        once = memory(program.pid)[0]
        for _ in range(wishes.rounds):
            hand.round()
        time.sleep(3)
        often = memory(program.pid)[0]
        figures["once"], figures["added"] = once, often - once
        rows += [["resident before the first of these windows, MiB", f"{idle:.1f}", ""],
                 ["resident after each was opened and closed once, MiB", f"{once:.1f}", "< 80"],
                 [f"what {wishes.rounds} more rounds of them add, MiB", f"{often - once:.2f}", "< 2"]]

        subprocess.run([bench.VELMORANCTL, "settings", "set", "monitorSpeakerUse", "true"], env=environment, check=True,
                       stdout=subprocess.DEVNULL)
        sound = pathlib.Path(home, "silence.wav")
        silence(sound, 4 * wishes.seconds + 120)
        clients = [subprocess.Popen([part.format(wave=sound) for part in command], stdin=subprocess.DEVNULL,
                                    stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) for command in CLIENTS.values()]
        wait_for_uses(environment)
        time.sleep(12)  # until the cards of their start have gone
        closed = cpu_share(program.pid, wishes.seconds)
        panel = hand.show("main")
        time.sleep(2)
        figures["open"] = cpu_share(program.pid, wishes.seconds)
        hand.close(panel, "the panel, which should have stood all the time,")
        rows += [["CPU with three devices in use, panel closed, % of a core", f"{closed:.3f}", ""],
                 ["the same with the panel open", f"{figures['open']:.3f}", "< 1"]]
        for client in clients:
            bench.stop(client)
        program.send_signal(signal.SIGTERM)
        program.wait(10)
        hand.watch.stop()
    bench.table(rows)
    reached = figures["once"] < 80 and figures["added"] < 2 and figures["open"] < 1
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
