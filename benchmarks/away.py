#!/usr/bin/env python3
"""What does the away watch cost while nobody is at the machine, beside `xinput test-xi2 --root` hearing the same?

Three runs under Xvfb: nobody there, a mouse of 125 events a second with some keys, and one of 1,000; then one
without an X server, on 20 input devices and a lid that umockdev plays. logind and UPower are played too, logind as
an older one that doesn't announce the lid.

usage: benchmarks/away.py [--seconds N]
"""
import argparse
import contextlib
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

import bench
import idle

AWAY_WATCH = bench.BUILD / "benchmarks/away-watch"


@contextlib.contextmanager
def services():
    """A bus in the place of the machine's, with logind and UPower."""
    address = os.environ["DBUS_SYSTEM_BUS_ADDRESS"]
    started = [subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address", f"--address={address}"],
                                stdout=subprocess.PIPE)]
    try:
        started[0].stdout.readline()
        for template, name in (("logind", "login1"), ("upower", "UPower")):
            started.append(subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "--system", "--template", template],
                                            stdout=subprocess.DEVNULL))
            subprocess.run(["gdbus", "wait", "--system", "--timeout", "10", f"org.freedesktop.{name}"], check=True)
        subprocess.run(["gdbus", "call", "--system", "--dest", "org.freedesktop.login1", "--object-path",
                        "/org/freedesktop/login1", "--method", "org.freedesktop.DBus.Mock.AddProperty",
                        "org.freedesktop.login1.Manager", "LidClosed", "<false>"], check=True,
                       stdout=subprocess.DEVNULL)
        yield
    finally:
        for process in reversed(started):
            bench.stop(process)


def use_the_mouse(rate, seconds):
    """A program that moves it, and now and then presses a key or a button."""
    lines = []
    for i in range(rate * seconds):
        lines.append(f"mousemove_relative -- {1 if i % 2 else -1} 0")
        if i % rate == 0:
            lines += ["key a", "click 1"]
        lines.append(f"sleep {1 / rate:.4f}")
    script = tempfile.NamedTemporaryFile("w", suffix=".xdotool")
    script.write("\n".join(lines) + "\n")
    script.flush()
    process = subprocess.Popen(["xdotool", script.name], stdout=subprocess.DEVNULL)
    process.script = script
    return process


def figures(text, seconds):
    ticks = sorted(float(value) for value in re.findall(r"^tick (\S+)", text, re.MULTILINE))
    cpu, wakes = re.search(r"^cpu (\S+) wakes (\S+)", text, re.MULTILINE).groups()
    heard = int(re.search(r"^heard (\d+)", text, re.MULTILINE).group(1))
    return {"cpu": float(cpu), "wakes": float(wakes), "tick": statistics.median(ticks), "worst": ticks[-1],
            "heard": f"{heard} of {seconds}", "tells": "tells input: yes, lid: yes, power: yes" in text}


def on_x(rate, seconds):
    with tempfile.TemporaryFile("w+") as heard_by_peer:
        peer = subprocess.Popen(["xinput", "test-xi2", "--root"], stdout=heard_by_peer)
        mouse = use_the_mouse(rate, seconds + 3) if rate else None
        ours = subprocess.Popen([AWAY_WATCH, str(seconds)], stdout=subprocess.PIPE, text=True)
        first = ours.stdout.readline()
        before = idle.sum_over_threads(peer.pid)
        text = first + ours.stdout.read()
        after = idle.sum_over_threads(peer.pid)
        ours.wait()
        for process in filter(None, (mouse, peer)):
            bench.stop(process)
        heard_by_peer.seek(0)
        events = sum("(Raw" in line for line in heard_by_peer)
    found = figures(text, seconds)
    found["peer"] = 100 * (after[0] - before[0]) / seconds
    found["peer wakes"] = (after[1] - before[1]) / seconds
    found["events"] = events
    return found


def on_devices(seconds):
    lines = []
    for number in range(20):
        kind = "KEYBOARD" if number % 2 else "MOUSE"
        lines.append(f"P: /devices/platform/input{number}/event{number}\nN: input/event{number}\n"
                     f"E: SUBSYSTEM=input\nE: DEVNAME=/dev/input/event{number}\nE: ID_INPUT=1\n"
                     f"E: ID_INPUT_{kind}=1\n")
    lines.append("P: /devices/platform/lid/input/input20\nE: SUBSYSTEM=input\nA: capabilities/sw=1\n")
    with tempfile.TemporaryDirectory() as folder:
        devices = pathlib.Path(folder) / "devices.umockdev"
        devices.write_text("\n".join(lines) + "\n")
        environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
        text = subprocess.run(["umockdev-run", "-d", devices, "--", AWAY_WATCH, str(seconds)], env=environment,
                              stdout=subprocess.PIPE, text=True, check=True).stdout
    found = figures(text, seconds)
    found |= {"peer": None, "peer wakes": None, "events": None}
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=int, default=20)
    seconds = parser.parse_args().seconds
    bench.enter_session("--display")

    print(bench.machine())
    with services():
        runs = {"nobody there": on_x(0, seconds), "mouse, 125 a second": on_x(125, seconds),
                "mouse, 1,000 a second": on_x(1000, seconds), "20 devices, no X": on_devices(seconds)}
    rows = [["", "raw events", "heard in ticks", "CPU, %", "xinput, %", "wakes/s", "xinput, wakes/s",
             "tick, µs, median, worst"]]
    for name, run in runs.items():
        def shown(value, digits=3):
            return "" if value is None else f"{value:.{digits}f}"
        rows.append([name, "" if run["events"] is None else str(run["events"]), run["heard"], shown(run["cpu"]),
                     shown(run["peer"]), shown(run["wakes"], 1), shown(run["peer wakes"], 1),
                     f"{run['tick']:.1f}, {run['worst']:.1f}"])
    bench.table(rows)
    reached = all(run["tick"] < 50 and run["tells"] for run in runs.values())
    reached = reached and all(run["cpu"] < 0.1 for run in runs.values())
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
