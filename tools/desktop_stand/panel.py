"""The panel of a desktop that shows status icons: a thread that knows the two interfaces that panels and icons speak on
the session bus, the status notifier's (freedesktop.org's draft) and the menu's (com.canonical.dbusmenu).
"""

import threading

from gi.repository import Gio, GLib

from desktop_stand.desktop import PATIENCE

NOTIFIER, MENU = "org.kde.StatusNotifierItem", "com.canonical.dbusmenu"
WATCHER = Gio.DBusNodeInfo.new_for_xml("""<node><interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/></interface></node>""").interfaces[0]


class Panel:
    def __init__(self, address):
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        self.items = []
        self.bus.register_object("/StatusNotifierWatcher", WATCHER, self.register, lambda *_: GLib.Variant("b", True))
        Gio.bus_own_name_on_connection(self.bus, WATCHER.name, Gio.BusNameOwnerFlags.NONE, None, None)
        threading.Thread(target=GLib.MainLoop().run, daemon=True).start()

    def register(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        self.items.append(arguments.unpack()[0])
        invocation.return_value(None)

    def call(self, path, interface, method, arguments, name):
        return self.bus.call_sync(name, path, interface, method, arguments, None, 0, PATIENCE * 1000, None).unpack()

    def shown(self):
        """The names of the icons whose owners are there."""
        alive = self.call("/", "org.freedesktop.DBus", "ListNames", None, "org.freedesktop.DBus")[0]
        return [item for item in self.items if item in alive]

    def read(self, item, name):
        return self.call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                         GLib.Variant("(ss)", (NOTIFIER, name)), item)[0]

    def entries(self, item):
        layout = self.call(self.read(item, "Menu"), MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])), item)
        return {child[1]["label"].replace("_", ""): child[0] for child in layout[1][2]}

    def choose(self, item, entry):
        event = GLib.Variant("(isvu)", (self.entries(item)[entry], "clicked", GLib.Variant("i", 0), 0))
        # Nobody waits for an answer: an agent that quits need not give one.
        self.bus.call(item, self.read(item, "Menu"), MENU, "Event", event, None, 0, -1, None, None)
