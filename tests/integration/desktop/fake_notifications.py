"""A desktop's notifications, as org.freedesktop.Notifications.

usage: fake_notifications.py markup|plain|late|error|wrong|single

"markup" reads markup, "plain" doesn't. "late" answers Notify only when it is told
to (Answer), "error" refuses the first Notify, "wrong" answers with a number that no notification has, "single"
gives all the same one. Says on its output what it is asked for, a line each. Its methods Press (id, action),
Dismiss (id) and Expire (id) of org.velmoran.FakeNotifications do what a person or the time does.
"""
import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.Notifications"
MANNER = sys.argv[1]


def say(**what):
    print(json.dumps(what, ensure_ascii=False), flush=True)


class Notifications(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/org/freedesktop/Notifications")
        self.last = 0
        self.waiting = []
        self.refused = False

    @dbus.service.method(NAME, in_signature="", out_signature="as")
    def GetCapabilities(self):
        return ["actions", "body"] + ([] if MANNER == "plain" else ["body-markup"])

    @dbus.service.method(
        NAME, in_signature="susssasa{sv}i", out_signature="u", async_callbacks=("answer", "fail")
    )
    def Notify(self, app, replaces, icon, summary, body, actions, hints, timeout, answer, fail):
        say(
            notify=str(summary),
            body=str(body),
            replaces=int(replaces),
            actions=[str(a) for a in actions],
            urgency=int(hints["urgency"]),
            resident=bool(hints["resident"]),
            timeout=int(timeout),
        )
        if MANNER == "error" and not self.refused:
            self.refused = True
            fail(dbus.exceptions.DBusException("too many"))
            return
        if int(replaces) == 0 and (MANNER != "single" or self.last == 0):
            self.last += 1
        number = dbus.UInt32(int(replaces) or self.last)
        if MANNER == "wrong":
            answer(dbus.UInt32(0)) # the number that nothing has
            return
        if MANNER == "late":
            self.waiting.append(lambda: answer(number))
        else:
            answer(number)

    @dbus.service.method(NAME, in_signature="u", out_signature="")
    def CloseNotification(self, number):
        say(close=int(number))

    @dbus.service.signal(NAME, signature="us")
    def ActionInvoked(self, number, action):
        pass

    @dbus.service.signal(NAME, signature="uu")
    def NotificationClosed(self, number, reason):
        pass

    OWN = "org.velmoran.FakeNotifications"

    @dbus.service.method(OWN, in_signature="us", out_signature="")
    def Press(self, number, action):
        self.ActionInvoked(number, action)

    @dbus.service.method(OWN, in_signature="u", out_signature="")
    def Dismiss(self, number):
        self.NotificationClosed(number, 2)

    @dbus.service.method(OWN, in_signature="u", out_signature="")
    def Expire(self, number):
        self.NotificationClosed(number, 1)

    @dbus.service.method(OWN, in_signature="", out_signature="")
    def Answer(self):
        for each in self.waiting:
            each()
        self.waiting = []


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
connection = dbus.SessionBus()
notifications = Notifications(connection)
name = dbus.service.BusName(NAME, connection)
print("ready", flush=True)
GLib.MainLoop().run()
