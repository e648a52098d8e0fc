#!/usr/bin/env python3
"""How long a replay takes and how much memory it needs, beside jq, which only reads and writes the same lines.

usage: benchmarks/replay.py [READINGS]       100000 by default

Three recordings: one in which no reading tells anything new, one in which cards come and go without
a history, and one in which every second reading opens a session that the history keeps. The memory
of the first two must not grow with the number of readings; a tenth of it is replayed for comparison.
"""
import json
import os
import subprocess
import sys
import tempfile
import time

from bench import BUILD, VELMORANCTL, build, machine, table

CALL = {"cameraOn": True, "cameraDevices": ["Cam"],
        "cameraApps": [{"name": "Meet", "bundleID": "org.example.meet", "path": "/usr/bin/meet"}]}


def recordings(count):
    steady = ({"at": i * 2.0, "snapshot": CALL} for i in range(count))
    changing = [{}, CALL]
    yield "nothing new", {}, steady
    yield "cards, no history", {"historyFails": True}, (
        {"at": i * 2.0, "snapshot": changing[i % 2]} for i in range(count))
    yield "cards and history", {"settings": {"retentionDays": 365}}, (
        {"at": i * 2.0, "snapshot": changing[i % 2]} for i in range(count))


def write(path, beginning, lines):
    with open(path, "w") as file:
        file.write(json.dumps({"begin": beginning}) + "\n")
        file.writelines(json.dumps(line) + "\n" for line in lines)


def run(*arguments):
    """Seconds, seconds of CPU and the greatest resident memory in MiB; the program's output is counted, not kept."""
    with tempfile.TemporaryFile() as output:
        start = time.monotonic()
        process = subprocess.Popen([str(a) for a in arguments], stdout=output)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.monotonic() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{arguments[0]} ended with {process.returncode}")
        output.seek(0)
        lines = sum(chunk.count(b"\n") for chunk in iter(lambda: output.read(1 << 20), b""))
        return seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, lines


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100_000
    build("velmoranctl")
    print(machine())
    print(f"preset {BUILD.name}, {count} readings\n")
    rows = [("recording", "seconds", "CPU s", "MiB", "MiB of a tenth", "lines out", "jq -c . s", "CPU s",
             "MiB")]
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "recording.jsonl")
        for (name, beginning, lines), (_, _, fewer) in zip(recordings(count), recordings(count // 10)):
            write(path, beginning, fewer)
            _, _, tenth, _ = run(VELMORANCTL, "replay", path)
            write(path, beginning, lines)
            seconds, cpu, memory, told = run(VELMORANCTL, "replay", path)
            peer, peer_cpu, peer_memory, _ = run("jq", "-c", ".", path)
            rows.append((name, f"{seconds:.2f}", f"{cpu:.2f}", f"{memory:.1f}", f"{tenth:.1f}", str(told),
                         f"{peer:.2f}", f"{peer_cpu:.2f}", f"{peer_memory:.1f}"))
    table(rows)


if __name__ == "__main__":
    main()
