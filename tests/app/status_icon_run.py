#!/usr/bin/python3
"""The agent behind the icon of a desktop's panel, and a second start of it.

    status_icon_run.py VESKLINE
"""

import pathlib, subprocess, sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
from desktop_stand.desktop import PATIENCE, Window, check, main
from desktop_stand.panel import Panel


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


def expect_end(window, panel):
    window.wait_for("the agent's end", lambda: window.process.poll() is not None)
    check(window.process.returncode == 0 and not panel.shown(), f"the agent ended with {window.process.returncode}")


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
    expect_end(window, panel)
    for end in (lambda: desktop.xdotool("key", "ctrl+q"), lambda: window.process.terminate()):
        window = Window(desktop, veskline, **project)
        end()
        expect_end(window, panel)


main(lambda desktop: run_behind_icon(desktop, sys.argv[1]))
