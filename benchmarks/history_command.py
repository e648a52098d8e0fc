#!/usr/bin/env python3
"""How long `velmoranctl history` takes and how much memory it needs, beside the sqlite3 shell on the same rows.

usage: benchmarks/history_command.py [SESSIONS]       100000 by default

The history is one that Velmoran's own store could have written, in the home folder of a user that is made for it.
Each is run five times, its output counted and not kept; the figures are medians. A tenth of the sessions is
printed for comparison: the memory must not grow with their number.
"""
import os
import pathlib
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import time

from bench import BUILD, VELMORANCTL, build, machine, table

SCHEMA = """
CREATE TABLE SessionRecord (id TEXT NOT NULL, deviceRaw TEXT NOT NULL, appID TEXT NOT NULL, appName TEXT NOT NULL,
    bundleID TEXT, appPath TEXT, teamID TEXT, start REAL NOT NULL, end REAL, outcomeRaw TEXT, levelRaw TEXT,
    connectionsData BLOB, observedFromStart INTEGER NOT NULL);
CREATE TABLE AwayReportRecord (id TEXT NOT NULL, start REAL NOT NULL, end REAL, payload BLOB NOT NULL);
CREATE UNIQUE INDEX SessionRecordById ON SessionRecord (id);
CREATE INDEX SessionRecordByStart ON SessionRecord (start);
CREATE UNIQUE INDEX AwayReportRecordById ON AwayReportRecord (id);
PRAGMA application_id = 1449946478; PRAGMA user_version = 10000; PRAGMA journal_mode = WAL;
"""
COLUMNS = "deviceRaw, appID, appName, appPath, start, end, outcomeRaw, levelRaw, observedFromStart"
PEERS = b'[{"address":"192.0.2.1","port":443,"transport":"TCP","firstSeen":817030800.25}]'
RUNS = 5


def store(home, count):
    path = pathlib.Path(home, ".local/share/Velmoran/History.store")
    path.parent.mkdir(parents=True, exist_ok=True)
    path.unlink(missing_ok=True)
    database = sqlite3.connect(path)
    database.executescript(SCHEMA)
    devices = ("camera", "microphone", "speaker")
    database.executemany(
        "INSERT INTO SessionRecord VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?)",
        ((f"{i:08X}-0000-4000-8000-000000000000", devices[i % 3], f"org.example.app{i % 40}", f"App {i % 40}",
          f"org.example.app{i % 40}", f"/usr/bin/app{i % 40}", None, 817030800.25 + 60 * i, 817030800.5 + 60 * i + i % 4000,
          "endedNormally", "standard", PEERS if i % 4 == 0 else None, 1) for i in range(count)))
    database.commit()
    database.close()
    return path


def run(environment, arguments):
    """Seconds, the greatest resident memory in MiB, and lines."""
    with tempfile.TemporaryFile() as output:
        start = time.monotonic()
        process = subprocess.Popen([str(a) for a in arguments], stdout=output, env=environment)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.monotonic() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{arguments[0]} ended with {process.returncode}")
        output.seek(0)
        lines = sum(chunk.count(b"\n") for chunk in iter(lambda: output.read(1 << 20), b""))
    return seconds, usage.ru_maxrss / 1024, lines


def median(environment, arguments):
    runs = [run(environment, arguments) for _ in range(RUNS)]
    return statistics.median(r[0] for r in runs), statistics.median(r[1] for r in runs), runs[0][2]


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100_000
    build("velmoranctl")
    print(machine())
    print(f"preset {BUILD.name}, {count} sessions\n")
    rows = [("command", "seconds", "MiB", "MiB of a tenth", "lines")]
    with tempfile.TemporaryDirectory() as home:
        environment = {"HOME": home, "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "TZ": "Europe/Berlin"}
        path = pathlib.Path(home, ".local/share/Velmoran/History.store")
        query = f"SELECT {COLUMNS} FROM SessionRecord ORDER BY start"
        wall = query.replace("start, end,", "datetime(start + 978307200, 'unixepoch', 'localtime'), "
                             "datetime(end + 978307200, 'unixepoch', 'localtime'),")
        commands = [("velmoranctl history", (VELMORANCTL, "history")),
                    ("… --csv", (VELMORANCTL, "history", "--csv")),
                    ("… --json", (VELMORANCTL, "history", "--json")),
                    ("… --app 'App 7' --since 2026-12-01",
                     (VELMORANCTL, "history", "--app", "App 7", "--since", "2026-12-01")),
                    ("sqlite3 -json", ("sqlite3", "-readonly", "-json", path, query)),
                    ("sqlite3 -csv", ("sqlite3", "-readonly", "-csv", path, query)),
                    ("sqlite3 -csv, local times", ("sqlite3", "-readonly", "-csv", path, wall))]
        store(home, count // 10)
        small = [median(environment, arguments) for _, arguments in commands]
        store(home, count)
        for (name, arguments), (_, tenth, _) in zip(commands, small):
            seconds, memory, lines = median(environment, arguments)
            rows.append((name, f"{seconds:.3f}", f"{memory:.1f}", f"{tenth:.1f}", str(lines)))
    table(rows)


if __name__ == "__main__":
    main()
