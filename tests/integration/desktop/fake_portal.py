"""A desktop portal that hands out global shortcuts, or refuses to.

usage: fake_portal.py grant|no-session|no-shortcut|error|silent|no-response

"silent" never answers a call, "no-response" answers calls and never says what became of them.
Says on its output what it is asked for, a line each. Its method Press of org.velmoran.FakePortal
presses a shortcut's keys: (session, shortcut); its method Withdraw ends a session: (session).
"""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

ROOT = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"


class Request(dbus.service.Object):
    @dbus.service.signal("org.freedesktop.portal.Request", signature="ua{sv}")
    def Response(self, response, results):
        pass


class Session(dbus.service.Object):
    @dbus.service.method("org.freedesktop.portal.Session", in_signature="", out_signature="")
    def Close(self):
        print("close", flush=True)

    @dbus.service.signal("org.freedesktop.portal.Session", signature="")
    def Closed(self):
        pass


class Portal(dbus.service.Object):
    def __init__(self, bus, manner):
        super().__init__(bus, ROOT)
        self.bus = bus
        self.manner = manner
        self.sessions = {}

    def _answer(self, sender, options, response, results):
        name = sender[1:].replace(".", "_")
        path = f"{ROOT}/request/{name}/{options['handle_token']}"
        request = Request(self.bus, path)
        if self.manner == "no-response":
            return dbus.ObjectPath(path)
        GLib.idle_add(lambda: request.Response(response, results) and False)
        return dbus.ObjectPath(path)

    @dbus.service.method(
        SHORTCUTS,
        in_signature="a{sv}",
        out_signature="o",
        sender_keyword="sender",
        async_callbacks=("answer", "fail"),
    )
    def CreateSession(self, options, sender, answer, fail):
        if self.manner == "error":
            fail(dbus.exceptions.DBusException("not for you"))
            return
        name = sender[1:].replace(".", "_")
        path = f"{ROOT}/session/{name}/{options['session_handle_token']}"
        self.sessions[path] = Session(self.bus, path)
        print(f"session {path}", flush=True)
        refused = self.manner == "no-session"
        if self.manner != "silent":
            answer(self._answer(sender, options, 2 if refused else 0, {"session_handle": path}))

    @dbus.service.method(
        SHORTCUTS, in_signature="oa(sa{sv})sa{sv}", out_signature="o", sender_keyword="sender"
    )
    def BindShortcuts(self, session, shortcuts, parent, options, sender):
        for name, properties in shortcuts:
            print(f"bind {name} {properties['preferred_trigger']} {properties['description']}", flush=True)
        refused = self.manner == "no-shortcut"
        return self._answer(sender, options, 1 if refused else 0, {"shortcuts": shortcuts})

    @dbus.service.signal(SHORTCUTS, signature="osta{sv}")
    def Activated(self, session, shortcut, timestamp, options):
        pass

    @dbus.service.method("org.velmoran.FakePortal", in_signature="ss", out_signature="")
    def Press(self, session, shortcut):
        self.Activated(dbus.ObjectPath(session), shortcut, dbus.UInt64(1), {})

    @dbus.service.method("org.velmoran.FakePortal", in_signature="s", out_signature="")
    def Withdraw(self, session):
        self.sessions[session].Closed()


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
connection = dbus.SessionBus()
portal = Portal(connection, sys.argv[1])
name = dbus.service.BusName("org.freedesktop.portal.Desktop", connection)
print("ready", flush=True)
GLib.MainLoop().run()
