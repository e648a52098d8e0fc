"""What the benchmark scripts share: a private session, readers that stamp lines, and tables."""
import os
import pathlib
import pty
import queue
import re
import statistics
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / os.environ.get("PRESET", "bench")
SESSION = BUILD / "tests/support/private-session"
VELMORAN = BUILD / "app/shell/velmoran"
VELMORANCTL = BUILD / "ctl/velmoranctl"
WINDOW_WATCH = BUILD / "benchmarks/window-watch"
FRAME_WATCH = BUILD / "benchmarks/frame-watch"


def build(*targets):
    subprocess.run([ROOT / "scripts/build", BUILD.name, *targets], check=True)


def enter_session(*options):
    """Runs this script again inside a private session; returns in there."""
    if os.environ.get("VELMORAN_BENCHMARK") == "inside":
        return
    subprocess.run([ROOT / "scripts/install-packages", "build", "run", "server", "test-build", "test",
                    "benchmark"], check=True)
    build("velmoran", "velmoranctl", "private-session", "window-watch", "frame-watch", "hold-node",
          "silence-watch", "stop-press", "away-watch")
    os.execv(SESSION, [str(SESSION), *options, "--", "env", "VELMORAN_BENCHMARK=inside",
                       f"PRESET={BUILD.name}", sys.executable, *sys.argv])


class Reader:
    """A program whose lines are stamped as they come, on a terminal so that it doesn't hold them."""

    def __init__(self, arguments):
        master, slave = pty.openpty()
        self.process = subprocess.Popen([str(a) for a in arguments], stdin=subprocess.DEVNULL, stdout=slave,
                                        stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(slave)
        self.master = master
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        rest = b""
        while True:
            try:
                chunk = os.read(self.master, 1 << 16)
            except OSError:
                return
            stamp = time.monotonic_ns()
            *whole, rest = (rest + chunk).split(b"\n")
            for line in whole:
                self.lines.put((stamp, line.decode(errors="replace").rstrip("\r")))

    def drain(self):
        found = []
        while not self.lines.empty():
            found.append(self.lines.get())
        return found

    def next(self, seconds):
        """The next line, or none when it doesn't come in time."""
        try:
            return self.lines.get(timeout=max(seconds, 0))
        except queue.Empty:
            return None

    def until(self, predicate, seconds):
        """The stamp and value of the first line for which the predicate gives a value."""
        end = time.monotonic() + seconds
        while (line := self.next(end - time.monotonic())) is not None:
            value = predicate(line[1])
            if value is not None:
                return line[0], value
        return None

    def stop(self):
        stop(self.process)
        os.close(self.master)


def stop(process):
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(5)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def quantile(values, share):
    ordered = sorted(values)
    position = (len(ordered) - 1) * share
    low = int(position)
    high = min(low + 1, len(ordered) - 1)
    return ordered[low] + (ordered[high] - ordered[low]) * (position - low)


def middle_and_tail(values):
    return statistics.median(values), quantile(values, 0.95)


def table(rows):
    """Prints rows of texts with the columns aligned, the first row being the heads."""
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    for row in rows:
        cells = [text.ljust(w) if i == 0 else text.rjust(w) for i, (text, w) in enumerate(zip(row, widths))]
        print("  ".join(cells).rstrip())


def machine():
    """One line on what this ran on."""
    cpu = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())
    system = re.search(r'PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text())
    load = os.getloadavg()[0]
    return (f"{cpu.group(1) if cpu else 'unknown processor'}, {os.cpu_count()} cores; "
            f"{system.group(1) if system else 'Linux'}, kernel {os.uname().release}; "
            f"load {load:.1f} at the start")
