#!/usr/bin/env python3
"""Prints when what can be seen in a part of a Wayland compositor's screen becomes another picture, by
the clock that the other scripts use, one line each: "NANOSECONDS changed". First "NANOSECONDS ready".
Asks by zwlr_screencopy_manager_v1, which answers with the first frame that has changed anything.

usage: screen_watch.py X Y WIDTH HEIGHT
"""
import mmap
import os
import pathlib
import struct
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/support"))
from wayland_wire import Wire  # noqa: E402


class Screen:
    def __init__(self, part):
        self.part = part
        self.wire = Wire()
        self.memory = self.wire.bind("wl_shm", 1)
        self.copies = self.wire.bind("zwlr_screencopy_manager_v1", 2)
        self.output = self.wire.bind("wl_output", 1)
        self.buffer = self.pixels = None

    def make_buffer(self, form, width, height, stride):
        descriptor = os.memfd_create("screen")
        os.ftruncate(descriptor, stride * height)
        self.pixels = mmap.mmap(descriptor, stride * height)
        pool, self.buffer = self.wire.new(), self.wire.new()
        self.wire.send(self.memory, 0, struct.pack("<Ii", pool, stride * height), [descriptor])
        self.wire.send(pool, 0, struct.pack("<IiiiiI", self.buffer, 0, width, height, stride, form))

    def picture(self, changed):
        """The picture of now, or, where `changed`, the one after the next change of the screen."""
        frame = self.wire.new()
        self.wire.send(self.copies, 1, struct.pack("<IiIiiii", frame, 0, self.output, *self.part))
        for target, opcode, body in self.wire.events():
            if target != frame:
                continue
            if opcode == 0:  # what the buffer has to be
                if self.buffer is None:
                    self.make_buffer(*struct.unpack("<IIII", body))
                self.wire.send(frame, 2 if changed else 0, struct.pack("<I", self.buffer))
            elif opcode == 2:  # ready
                stamp = time.monotonic_ns()
                self.wire.send(frame, 1)
                return stamp, bytes(self.pixels)
            elif opcode == 3:
                sys.exit("screen_watch: the compositor gives no picture")


def main():
    screen = Screen([int(word) for word in sys.argv[1:5]])
    stamp, last = screen.picture(False)
    print(stamp, "ready", flush=True)
    while True:
        stamp, now = screen.picture(True)
        if now != last:
            print(stamp, "changed", flush=True)
            last = now


if __name__ == "__main__":
    main()
