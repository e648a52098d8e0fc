"""A screen saver on the session bus that a test locks and unlocks. It says a line for each question.

usage: fake_saver.py NAME PATH
"""

import sys

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME, PATH = sys.argv[1:]


class Saver(dbus.service.Object):
    """Has its interface by the name that it has on the bus."""

    active = False

    @dbus.service.method(NAME, out_signature="b")
    def GetActive(self):
        print("GetActive", flush=True)
        return self.active

    @dbus.service.method(NAME, in_signature="b")
    def SetActive(self, active):
        self.active = bool(active)
        self.ActiveChanged(self.active)

    @dbus.service.signal(NAME, signature="b")
    def ActiveChanged(self, active):
        pass

    @dbus.service.method("org.freedesktop.DBus.Mock", in_signature="sssav")
    def EmitSignal(self, interface, name, signature, arguments):
        message = dbus.lowlevel.SignalMessage(PATH, interface, name)
        message.append(signature=signature, *arguments)
        self.connection.send_message(message)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
saver = Saver(bus, PATH)
name = dbus.service.BusName(NAME, bus)  # when it can be asked
GLib.MainLoop().run()
