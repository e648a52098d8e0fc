"""A person's hand on a Wayland desktop: a mouse and a keyboard that the compositor takes for real ones.

usage: wayland_hand.py FIFO

Reads lines from the FIFO: "move X Y" in points of the whole desktop, whose size is said by "desktop W H";
"press", "release", "click"; "key NAME" with a letter, "Escape", "Tab" or "Return". Writes a dot for each
line once the compositor has had it. Speaks zwlr_virtual_pointer_manager_v1 and
zwp_virtual_keyboard_manager_v1, or KWin's org_kde_kwin_fake_input, over the socket itself.
"""
import os
import struct
import sys
import time

from wayland_wire import Wire, text

KEYS = {"a": 30, "b": 48, "c": 46, "d": 32, "e": 18, "f": 33, "Escape": 1, "Tab": 15, "Return": 28}
NAMES = {"Escape": "ESC", "Tab": "TAB", "Return": "RTRN"}
LEFT_BUTTON = 0x110


def keymap():
    codes = "".join(f"<{NAMES.get(k, k.upper() * 2)}> = {n + 8};\n" for k, n in KEYS.items())
    symbols = "".join(f"key <{NAMES.get(k, k.upper() * 2)}> {{ [ {k} ] }};\n" for k in KEYS)
    return (
        'xkb_keymap {\nxkb_keycodes "hand" {\nminimum = 8;\nmaximum = 255;\n' + codes + "};\n"
        'xkb_types "hand" { include "complete" };\nxkb_compatibility "hand" { include "complete" };\n'
        'xkb_symbols "hand" {\n' + symbols + "};\n};\n"
    ).encode() + b"\0"


wire = Wire()
FAKE_INPUT = "org_kde_kwin_fake_input"
isKWin = FAKE_INPUT in wire.offered
if isKWin:
    fake = wire.bind(FAKE_INPUT, 4)
    wire.send(fake, 0, text("hand") + text("test"))
else:
    seat = wire.bind("wl_seat", 1)
    pointers = wire.bind("zwlr_virtual_pointer_manager_v1", 1)
    keyboards = wire.bind("zwp_virtual_keyboard_manager_v1", 1)
    pointer = wire.new()
    wire.send(pointers, 0, struct.pack("<II", seat, pointer))
    keyboard = wire.new()
    wire.send(keyboards, 0, struct.pack("<II", seat, keyboard))
    layout = keymap()
    memory = os.memfd_create("keymap")
    os.write(memory, layout)
    wire.send(keyboard, 0, struct.pack("<II", 1, len(layout)), [memory])
wire.had()
begun = time.monotonic()
size = (1280, 800)


def now():
    return int((time.monotonic() - begun) * 1000) & 0xFFFFFFFF


def move(x, y):
    if isKWin:
        wire.send(fake, 9, struct.pack("<ii", x * 256, y * 256))
    else:
        wire.send(pointer, 1, struct.pack("<IIIII", now(), x, y, *size))
        wire.send(pointer, 4)


def button(down):
    if isKWin:
        wire.send(fake, 2, struct.pack("<II", LEFT_BUTTON, down))
    else:
        wire.send(pointer, 2, struct.pack("<III", now(), LEFT_BUTTON, down))
        wire.send(pointer, 4)


def key(name):
    for down in (1, 0):
        if isKWin:
            wire.send(fake, 10, struct.pack("<II", KEYS[name], down))
        else:
            wire.send(keyboard, 1, struct.pack("<III", now(), KEYS[name], down))
        wire.had()


os.mkfifo(sys.argv[1])
print("ready", flush=True)
while True:
    with open(sys.argv[1], encoding="utf-8") as lines:
        for line in lines:
            words = line.split()
            if words[0] == "desktop":
                size = (int(words[1]), int(words[2]))
            elif words[0] == "move":
                move(int(words[1]), int(words[2]))
            elif words[0] == "key":
                key(words[1])
            else:
                if words[0] in ("press", "click"):
                    button(1)
                if words[0] in ("release", "click"):
                    button(0)
            wire.had()
            print(".", end="", flush=True)
