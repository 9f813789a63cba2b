#!/usr/bin/python3
"""The agent behind the icon of a desktop's panel, and a second start of it.

    status_icon_run.py VESKLINE

The panel is a thread here: it knows the two interfaces that panels and icons speak on the session bus, the status
notifier's (freedesktop.org's draft) and the menu's (com.canonical.dbusmenu).
"""

import os, pathlib, subprocess, sys, threading
from gi.repository import Gio, GLib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "endtoend"))
from window_run import PATIENCE, Window, check, main, wait_for

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


def close_to_icon(window, panel):
    window.desktop.xdotool("key", "alt+F4")
    item = window.wait_for("an icon in the panel", panel.shown)[-1]
    window.wait_for("the end of the window", lambda: not is_mapped(window))
    check(window.process.poll() is None, "the agent ended with its window")
    return item


def is_mapped(window):
    command = ("xdotool", "search", "--onlyvisible", "--pid", str(window.process.pid), "--name", "^Veskline$")
    return subprocess.run(command, env=window.desktop.environment, capture_output=True, text=True).stdout.strip()


def wait_for_window(window, panel):
    window.wait_for("the window", lambda: is_mapped(window))
    window.wait_for("the end of the icon", lambda: not panel.shown())
    window.desktop.xdotool("search", "--sync", "--onlyvisible", "--name", "^Veskline$", "windowactivate", "--sync")


def run_behind_icon(desktop, veskline):
    panel = Panel(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
    project = {"SUPABASE_URL": "http://127.0.0.1:9", "SUPABASE_ANON_KEY": "key", "DASHBOARD_URL": "http://127.0.0.1:9"}
    window = Window(desktop, veskline, **project)
    check(panel.items == [], "an icon beside an open window")
    item = close_to_icon(window, panel)
    check([*panel.entries(item)] == ["Open Veskline", "Quit"], f"the menu holds {panel.entries(item)}")
    window.wait_for("the icon's picture", lambda: any(width > 0 for width, _, _ in panel.read(item, "IconPixmap")))
    tooltip = panel.read(item, "ToolTip")
    check(tooltip[2] == "Stopped", f"the tooltip is {tooltip[2:]}")
    panel.choose(item, "Open Veskline")
    wait_for_window(window, panel)

    close_to_icon(window, panel)
    second = subprocess.run((veskline,), env=desktop.environment | project, capture_output=True, text=True,
                            timeout=PATIENCE)
    check((second.returncode, second.stderr) == (0, "Veskline already runs on "
          f"{desktop.environment['VESK_STATE_DIR']}, and shows its window.\n"), f"the second start: {second}")
    wait_for_window(window, panel)

    panel.choose(close_to_icon(window, panel), "Quit")
    for end in (lambda: desktop.xdotool("key", "ctrl+q"), lambda: window.process.terminate(), lambda: None):
        window.wait_for("the agent's end", lambda: window.process.poll() is not None)
        check(window.process.returncode == 0 and not panel.shown(), f"the agent ended with {window.process.returncode}")
        window = Window(desktop, veskline, **project)
        end()


main(lambda desktop: run_behind_icon(desktop, sys.argv[1]))
