"""Gives GNOME's one screen another scale, as its settings do.

usage: gnome_scale.py SCALE
"""
import sys

import dbus

NAME = "org.gnome.Mutter.DisplayConfig"
config = dbus.Interface(dbus.SessionBus().get_object(NAME, "/" + NAME.replace(".", "/")), NAME)
serial, monitors, _, _ = config.GetCurrentState()
(connector, _, _, _), modes, _ = monitors[0]
mode = next(m[0] for m in modes if m[6].get("is-current"))
screen = (0, 0, float(sys.argv[1]), dbus.UInt32(0), True, [(connector, mode, dbus.Dictionary(signature="sv"))])
TEMPORARY = 1
config.ApplyMonitorsConfig(
    serial,
    dbus.UInt32(TEMPORARY),
    dbus.Array([screen], signature="(iiduba(ssa{sv}))"),
    dbus.Dictionary(signature="sv"),
)
