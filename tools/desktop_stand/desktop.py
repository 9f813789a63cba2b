"""A desktop for one run: display, session bus, accessibility bus and window manager of its own in one temporary folder,
and the agent's window on it, as keys and the accessibility bus have it.
"""

import os, pathlib, shutil, signal, subprocess, sys, tempfile, time

from gi.repository import GLib

PATIENCE = 60  # seconds that any one thing may take; only a failing run waits so long
DOCUMENTS = pathlib.Path(__file__).resolve().parents[1] / "demo_setup/documents"


def check(holds, words):
    if not holds:
        raise AssertionError(words)


def wait_for(what, look, shown=lambda: ""):
    """What `look` finds, as soon as it finds anything."""
    deadline = time.monotonic() + PATIENCE
    while time.monotonic() < deadline:
        try:
            if found := look():
                return found
        except (GLib.Error, NotImplementedError):
            pass  # a control went away as it was read
        time.sleep(0.02)
    raise AssertionError(f"waited {PATIENCE} s for {what}\n{shown()}")


class Desktop:
    """The processes, all in one group. They have nothing of the caller's environment."""

    def __init__(self, folder):
        self.folder, self.group, self.started = folder, 0, []
        self.environment = {
            "PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "HOME": f"{folder}/home", "XDG_CONFIG_HOME": f"{folder}/config",
            "XDG_RUNTIME_DIR": str(folder), "VESK_STATE_DIR": f"{folder}/state"}
        shutil.copytree(DOCUMENTS, folder / "home")

    def __enter__(self):
        return self

    def begin(self):
        self.start("Xvfb", "-displayfd", "1", "-noreset", "-screen", "0", "1400x3000x24", "-nolisten", "tcp")
        self.environment["DISPLAY"] = ":" + self.first_line("Xvfb")
        self.start("dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:path={self.folder}/bus")
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.first_line("dbus-daemon")
        self.start("/usr/libexec/at-spi-bus-launcher", "--launch-immediately", "--a11y=1")
        self.start("openbox", "--sm-disable")
        self.xdotool("get_num_desktops")  # answered once there is a window manager

    def __exit__(self, *_):
        if not self.started:
            return  # and no group, which would be the caller's
        for number in (signal.SIGTERM, signal.SIGKILL):  # a display that is killed outright leaves its lock behind
            os.killpg(self.group, number)
            deadline = time.monotonic() + 2
            while time.monotonic() < deadline and any(process.poll() is None for process in self.started[1:]):
                time.sleep(0.02)
        self.started[0].wait()

    def start(self, *command, **variables):
        with (self.file_of(command[0], "output").open("wb") as output,
              self.file_of(command[0], "errors").open("wb") as errors):
            process = subprocess.Popen(command, env=self.environment | variables, stdin=subprocess.DEVNULL,
                                       stdout=output, stderr=errors, process_group=self.group)
        self.group = self.group or process.pid
        self.started.append(process)
        return process

    def file_of(self, executable, kind):
        """Where the output or the errors go of the last process that was started by that name."""
        return self.folder / f"{pathlib.Path(executable).name}.{kind}"

    def first_line(self, executable):
        def whole():
            line, end, _ = self.file_of(executable, "output").read_text().partition("\n")
            return end and line
        return wait_for(f"the first line of {executable}", whole, self.file_of(executable, "errors").read_text)

    def xdotool(self, *words):
        wait_for(f"xdotool {' '.join(words)}", lambda: 0 == subprocess.run(
            ("xdotool", *words), env=self.environment, capture_output=True, timeout=PATIENCE).returncode)


class Control:
    """What the accessibility bus says of one control or text of the window."""

    def __init__(self, node):
        self.node, self.role, self.name = node, node.getRoleName(), node.name
        self.states = {pyatspi.stateToString(state) for state in node.getState().getStates()}
        action = node.queryAction() if "Action" in node.get_interfaces() else None
        self.actions = [action.getName(index) for index in range(action.nActions)] if action else []
        self.text = node.queryText().getText(0, -1) if "Text" in node.get_interfaces() else ""

    def __str__(self):
        mark = "!" if self.is_unusable() else " "
        return f"{mark} {self.role} {self.name!r}, text {self.text!r}, {self.actions}, {', '.join(sorted(self.states))}"

    def is_unusable(self):
        """Whether it can be worked while nobody is told what it is. Qt gives no password field a name."""
        is_pressed = "Press" in self.actions
        is_vague = self.role in ("invalid", "unknown", "filler", "panel") or is_pressed and self.role == "label"
        is_nameless = not self.name.strip() and self.role != "password text"
        return (is_pressed or "focusable" in self.states) and (is_vague or is_nameless)


class Window:
    """The window of one running agent, so high that all is in view: what is scrolled away passes for hidden."""

    def __init__(self, desktop, executable, **variables):
        self.desktop, self.process = desktop, desktop.start(executable, **variables)
        self.errors = desktop.file_of(executable, "errors")
        self.frame = wait_for("the window on the accessibility bus", self.find_frame)
        wait_for("the window to become active", lambda: "active" in Control(self.frame).states)
        desktop.xdotool("getactivewindow", "windowsize", "1280", "2900")
        wait_for("the window's new height", lambda: self.frame.queryComponent().getExtents(0).height > 2800)

    def find_frame(self):
        check(self.process.poll() is None, f"the agent ended with {self.process.returncode}: {self.errors.read_text()}")
        ours = [app for app in pyatspi.Registry.getDesktop(0) if app and app.get_process_id() == self.process.pid]
        return ours[0].getChildAtIndex(0) if ours and ours[0].childCount else None

    def nodes(self, node=None):
        for child in node or self.frame:
            if child and child.getState().contains(pyatspi.STATE_VISIBLE):
                yield child
                yield from self.nodes(child)

    def __str__(self):
        shown = "\n".join(str(Control(node)) for node in self.nodes())
        return f"The window shows:\n{shown}\nThe agent complains:\n{self.errors.read_text()}"

    def wait_for(self, what, look):
        return wait_for(what, look, self.__str__)

    def find(self, role, name=""):
        return self.wait_for(f"the {role} {name!r}", lambda: next(
            (Control(node) for node in self.nodes() if node.getRoleName() == role and name in ("", node.name)), None))

    def press(self, name, role="push button"):
        control = self.find(role, name)
        check("Press" in control.actions, f"{name!r} can't be pressed\n{self}")
        control.node.queryAction().doAction(control.actions.index("Press"))

    def choose(self, name, choices):
        self.press(name, "radio button")
        self.wait_for(f"{name!r} as the only one checked of {choices}", lambda: [name] == [
            choice for choice in choices if "checked" in self.find("radio button", choice).states])

    def type(self, control, typed, text):
        self.wait_for(f"the focus on {control}", lambda: "focused" in Control(control.node).states)
        self.desktop.xdotool("type", "--delay", "1", typed)
        self.wait_for(f"{text!r} in {control}", lambda: Control(control.node).text == text)

    def check_controls(self):
        self.wait_for("a name and a role for every control, which those marked with ! lack",
                      lambda: not any(Control(node).is_unusable() for node in self.nodes()))

    def close(self, exit_code):
        self.desktop.xdotool("key", "alt+F4")
        self.wait_for("the agent to end as its window was closed", lambda: self.process.poll() is not None)
        check(self.process.returncode == exit_code, f"the agent ended with {self.process.returncode}, not {exit_code}")


def main(*runs):
    """Each of the runs on one desktop."""
    global pyatspi
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended from outside"))
    with tempfile.TemporaryDirectory(prefix="veskline-window-") as name, Desktop(pathlib.Path(name)) as desktop:
        desktop.begin()
        os.environ |= desktop.environment
        import pyatspi  # finds the bus by the environment that it is loaded in
        pyatspi.setTimeout(PATIENCE * 1000, PATIENCE * 1000)  # for an answer; 0.8 s of a busy machine are soon over
        for run in runs:
            run(desktop)
