"""The wire of Wayland, spoken by hand: for test tools that want a protocol of which no library here knows."""
import os
import socket
import struct
import sys


def text(value):
    raw = value.encode() + b"\0"
    return struct.pack("<I", len(raw)) + raw + b"\0" * (-len(raw) % 4)


class Wire:
    """A connection to WAYLAND_DISPLAY. What a script waits for and never gets ends the script."""

    def __init__(self):
        path = os.environ["WAYLAND_DISPLAY"]
        if not path.startswith("/"):
            path = os.path.join(os.environ["XDG_RUNTIME_DIR"], path)
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(path)
        self.bytes = b""
        self.last = 1
        self.registry = self.new()
        self.send(1, 1, struct.pack("<I", self.registry))
        self.offered = {}
        for target, opcode, body in self.had():
            if target == self.registry and opcode == 0:
                name, length = struct.unpack("<II", body[:8])
                self.offered[body[8 : 8 + length - 1].decode()] = name

    def new(self):
        """The number of an object that is about to be made."""
        self.last += 1
        return self.last

    def bind(self, interface, version):
        made = self.new()
        self.send(self.registry, 0, struct.pack("<I", self.offered[interface]) + text(interface)
                  + struct.pack("<II", version, made))
        return made

    def send(self, target, opcode, body=b"", descriptors=()):
        message = struct.pack("<II", target, (8 + len(body)) << 16 | opcode) + body
        socket.send_fds(self.socket, [message], list(descriptors))

    def events(self):
        """Each as its object, its number and its body, for as long as the compositor lives."""
        while True:
            while len(self.bytes) >= 8:
                target, word = struct.unpack("<II", self.bytes[:8])
                size = word >> 16
                if len(self.bytes) < size:
                    break
                body, self.bytes = self.bytes[8:size], self.bytes[size:]
                if target == 1 and word & 0xFFFF == 0:
                    sys.exit("the compositor refuses: " + repr(body))
                yield target, word & 0xFFFF, body
            more = self.socket.recv(65536)
            if not more:
                sys.exit("the compositor has gone")
            self.bytes += more

    def had(self):
        """Waits until the compositor has had all that was sent; gives what it said meanwhile."""
        callback = self.new()
        self.send(1, 0, struct.pack("<I", callback))
        said = []
        for target, opcode, body in self.events():
            if target == callback:
                return said
            said.append((target, opcode, body))
        return said
