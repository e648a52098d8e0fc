#!/usr/bin/env python3
"""Holds N connected TCP sockets at an address of this machine until it is ended: the program whose
connections are asked for. Prints "ready" once they are there.

usage: hold_sockets.py ADDRESS N
"""
import resource
import socket
import sys


def main():
    address, wanted = sys.argv[1], int(sys.argv[2])
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    listener = socket.create_server((address, 0), backlog=128)
    port = listener.getsockname()[1]
    held = []
    while len(held) < wanted:
        held.append(socket.create_connection((address, port)))
        held.append(listener.accept()[0])
    print("ready", flush=True)
    sys.stdin.read()


if __name__ == "__main__":
    main()
