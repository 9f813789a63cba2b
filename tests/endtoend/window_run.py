#!/usr/bin/python3
"""The agent with its window, driven from outside by keys and over the accessibility bus.

    window_run.py VESKLINE VESKLINE_LOCAL_PROJECT

One run goes from signing in to a running sync, two sign up at a service that has the tokens under "session" and at one
that has them at the top level, and one shows what a user without a configuration gets. A failure says what was waited for
and what the window showed.
"""

import hashlib, json, pathlib, sys, urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
from desktop_stand.desktop import PATIENCE, Window, check, main, wait_for

EMAIL, PASSWORD = "ann@example.com", "correct-horse-battery"
SUPPORTED = {".pdf", ".docx", ".txt", ".md", ".csv", ".rtf", ".epub"}
DESTINATIONS, SPEEDS = ("Control center", "Sync setup", "Activity"), ("Regular", "Ultra")


def type_credentials(window):
    email, password = window.find("text", "Email"), window.find("password text")
    window.check_controls()
    email.node.queryComponent().grabFocus()
    window.type(email, EMAIL, EMAIL)
    window.desktop.xdotool("key", "Tab")
    window.type(password, PASSWORD, "\u2022" * len(PASSWORD))
    check(PASSWORD not in str(window), f"the password can be read\n{window}")


def start_sync(window):
    window.choose("Sync setup", DESTINATIONS)
    window.find("label", "No folders selected yet.")
    window.check_controls()
    window.press("Start sync")  # disabled: whatever it did would show by the time the other choices do
    window.choose("Ultra", SPEEDS)
    window.press("Use Home")
    window.find("label", "All folders selected (home directory).")
    check(" label 'Running'" not in str(window), f"\"Start sync\" works while it is disabled\n{window}")
    window.press("Start sync")
    window.wait_for("the run state \"Running\"", lambda: {"Running"} == {
        node.name for node in window.nodes() if node.name in ("Running", "Stopped")})


def documents(folder):
    return {str(path.relative_to(folder)): hashlib.sha256(path.read_bytes()).hexdigest() for path in folder.rglob("*")
            if path.suffix in SUPPORTED and "node_modules" not in path.parts}


def ingested(address):
    with urllib.request.urlopen(address + "/_local/state", timeout=PATIENCE) as answer:
        state = json.load(answer)
    stored = {held["key"]: held["sha256"] for held in state["objects"]}
    return {row["path"]: stored.get(row["storage_key"]) for row in state["files"]
            if not row["is_deleted"] and row["ingested_sha256"] == row["sha256"]}


def open_window(desktop, veskline, local_project, name, *options):
    """The window beside a local project of its own, and the project's address."""
    desktop.start(local_project, "--data", f"{desktop.folder}/{name}", *options)
    address = desktop.first_line(local_project).split()[-1]
    return address, Window(desktop, veskline, VESK_STATE_DIR=f"{desktop.folder}/{name}-state", SUPABASE_URL=address,
                           SUPABASE_ANON_KEY="local-anon-key", DASHBOARD_URL=address)


def run_to_running(desktop, veskline, local_project):
    address, window = open_window(desktop, veskline, local_project, "project", "--user", f"{EMAIL}:{PASSWORD}")
    type_credentials(window)
    window.press("Log in")
    window.find("label", EMAIL)
    start_sync(window)
    expected = documents(desktop.folder / "home")
    wait_for(f"all ingested: {expected}", lambda: ingested(address) == expected,
             lambda: f"ingested: {ingested(address)}\n{window}")
    window.choose("Activity", DESTINATIONS)
    window.find("list", "Activity stream")
    window.check_controls()
    window.close(0)


def run_sign_up(desktop, veskline, local_project, reply):
    _, window = open_window(desktop, veskline, local_project, f"sign-up-{reply}", "--signup-reply", reply)
    type_credentials(window)
    window.press("Create account")
    if reply == "top-level":  # the agent finds no session there; the account exists, and logging in works
        window.find("label", "Check your email to confirm your account, then log in.")
        window.press("Log in")
    window.find("label", EMAIL)
    window.close(0)


def run_without_configuration(desktop, veskline):
    window = Window(desktop, veskline)
    window.find("heading", "Native app initialization failed.")
    window.check_controls()
    window.close(1)


main(lambda desktop: run_to_running(desktop, sys.argv[1], sys.argv[2]),
     lambda desktop: run_sign_up(desktop, sys.argv[1], sys.argv[2], "nested"),
     lambda desktop: run_sign_up(desktop, sys.argv[1], sys.argv[2], "top-level"),
     lambda desktop: run_without_configuration(desktop, sys.argv[1]))
