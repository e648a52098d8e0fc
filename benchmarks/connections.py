#!/usr/bin/env python3
"""What does it cost to tell whom a program with 10,000 open sockets is talking to?

Ours is the question of the running program, from the call to the answer, with the search for the
app's processes in it. The peer is `ss -tunp` from its start to its end, with `lsof -i -nP` beside
it. All see the same sockets, in a network of their own where an address that isn't loopback leads
to this machine, so that every socket has a peer to be told of.

usage: benchmarks/connections.py [--runs N] [--sockets N]
"""
import argparse
import os
import pathlib
import subprocess
import sys
import time

import bench

ADDRESS = "192.0.2.1"
HOLDER = pathlib.Path(__file__).resolve().parent / "hold_sockets.py"


def enter_network():
    """Runs this script again in a network namespace; returns in there."""
    if os.environ.get("VELMORAN_BENCHMARK") == "network":
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        subprocess.run(["ip", "address", "add", ADDRESS + "/24", "dev", "lo"], check=True)
        return
    subprocess.run([bench.ROOT / "scripts/install-packages", "build", "test-build", "benchmark"],
                   check=True)
    bench.build("connections-probe")
    os.execvp("unshare", ["unshare", "--map-root-user", "--net", "env", "VELMORAN_BENCHMARK=network",
                          sys.executable, *sys.argv])


def timed(arguments):
    begun = time.monotonic_ns()
    output = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout
    return (time.monotonic_ns() - begun) / 1e6, output


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=25)
    parser.add_argument("--sockets", type=int, default=10000)
    wishes = parser.parse_args()
    enter_network()

    print(bench.machine())
    holder = subprocess.Popen([sys.executable, HOLDER, ADDRESS, str(wishes.sockets)], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True)
    if holder.stdout.readline() != "ready\n":
        sys.exit("the sockets don't come up")
    probe = subprocess.Popen([bench.BUILD / "benchmarks/connections-probe", HOLDER], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True, bufsize=1)
    results = {"ours": [], "ss -tunp": [], "lsof -i -nP": []}
    first = None
    for number in range(wishes.runs):
        probe.stdin.write("ask\n")
        took, count = probe.stdout.readline().split()
        # Each socket's remote end is another port, but for those that were accepted: one and the same.
        if int(count) != wishes.sockets // 2 + 1:
            sys.exit(f"{count} connections were told of, not {wishes.sockets // 2 + 1}")
        first = first or float(took) / 1000
        results["ours"].append(float(took) / 1000)
        took, output = timed(["ss", "-tunp"])
        if output.count(b"\n") <= wishes.sockets:
            sys.exit("ss doesn't tell of all sockets")
        results["ss -tunp"].append(took)
        took, output = timed(["lsof", "-i", "-nP"])
        if output.count(b"\n") <= wishes.sockets:
            sys.exit("lsof doesn't tell of all sockets")
        results["lsof -i -nP"].append(took)
        print(f"\r{number + 1} of {wishes.runs}", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    probe.stdin.close()
    holder.stdin.close()
    rows = [[f"milliseconds, {wishes.sockets} sockets", "runs", "median", "95th percentile"]]
    for name, values in results.items():
        middle, tail = bench.middle_and_tail(values)
        rows.append([name, str(len(values)), f"{middle:.1f}", f"{tail:.1f}"])
    bench.table(rows)
    print(f"our first question, with nothing known of the app yet: {first:.1f}")
    reached = bench.middle_and_tail(results["ours"])[0] <= bench.middle_and_tail(results["ss -tunp"])[0] / 2
    print("reached" if reached else "NOT reached")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())
