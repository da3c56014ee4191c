#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Ostrel's tray items in a real tray host: Debian's xfce4-panel (with xfwm4 and dunst) on an X server
and a session bus of their own, in a throwaway home, with `ostrel --demo` beside them.

  tray_host.py --app BUILD/src/app/ostrel --out FOLDER [--scenes dark,light,label] [--patience N]

Each scene starts the demo, waits until its items are registered with the panel's watcher, photographs
the panel as FOLDER/tray-<scene>.png and, for the per-service scenes (dark, light), checks that every
item is drawn: one square per service, each holding enough pixels of its level's colour. The default is
the dark scene alone (what the test suite runs). Exits 1 on a failed check, with what was seen."""

import argparse
import ctypes
import json
import os
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

# The tray's level colours (tray_colours.cpp, iconColor) for a dark and a light chip, by level.
LEVEL_COLOURS = {
    True: {"low": (255, 92, 84), "medium": (255, 214, 51), "high": (255, 214, 51),
           "veryHigh": (133, 219, 122)},
    False: {"low": (217, 31, 26), "medium": (168, 120, 0), "high": (168, 120, 0),
            "veryHigh": (41, 140, 46)},
}
COLOUR_TOLERANCE = 60  # RGB distance: the panel scales the icon, and its edges blend into the bar
TOOLS = ["Xvfb", "dbus-daemon", "dbus-send", "xfwm4", "xfce4-panel", "xfconf-query", "dunst", "import",
         "convert", "xwininfo"]


class Failure(Exception):
    pass


PATIENCE = 1  # a multiplier of every wait, for slow (instrumented) builds


def wait_for(what, check, seconds, step=0.2):
    """The first true answer of check(), or Failure once `seconds` (times PATIENCE) have passed."""
    seconds *= PATIENCE
    deadline = time.monotonic() + seconds
    while True:
        answer = check()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise Failure(f"gave up waiting for {what} after {seconds} s")
        time.sleep(step)


def die_with_parent():
    # A child of ours must not outlive us, even when we are killed outright.
    ctypes.CDLL(None, use_errno=True).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


class Session:
    """The processes of one run, each in a process group of its own, stopped in reverse order."""

    def __init__(self, folder):
        self.folder = folder
        self.procs = []  # (name, Popen)
        home = os.path.join(folder, "home")
        self.env = {k: v for k, v in os.environ.items()
                    if k not in ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "SESSION_MANAGER",
                                 "OSTREL_TRAY_ITEMS", "OSTREL_TRAY_STYLE")}
        self.env.update(HOME=home, XDG_CONFIG_HOME=f"{home}/.config", XDG_CACHE_HOME=f"{home}/.cache",
                        XDG_DATA_HOME=f"{home}/.local/share", XDG_STATE_HOME=f"{home}/.local/state",
                        XDG_RUNTIME_DIR=f"{folder}/run", TMPDIR=folder, NO_AT_BRIDGE="1", GTK_A11Y="none",
                        GDK_BACKEND="x11", XDG_CURRENT_DESKTOP="XFCE")
        for d in ("home/.config/xfce4/xfconf/xfce-perchannel-xml", "home/.cache", "run"):
            os.makedirs(os.path.join(folder, d), mode=0o700, exist_ok=True)
        # The default panel without the first-run question: its layout is already the channel's.
        shutil.copy("/etc/xdg/xfce4/panel/default.xml",
                    f"{home}/.config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml")

    def start(self, name, argv, env=None, **kw):
        log = open(os.path.join(self.folder, f"{name}.log"), "ab")
        p = subprocess.Popen(argv, env=env or self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                             start_new_session=True, preexec_fn=die_with_parent, **kw)
        log.close()
        self.procs.append((name, p))
        return p

    def stop(self, p, seconds=5):
        if p.poll() is None:
            try:
                os.killpg(p.pid, signal.SIGTERM)
                p.wait(seconds)
            except subprocess.TimeoutExpired:
                pass
        try:
            os.killpg(p.pid, signal.SIGKILL)  # what the process left in its group
        except ProcessLookupError:
            pass
        p.wait()
        self.procs = [(n, q) for n, q in self.procs if q is not p]

    def close(self):
        for _, p in reversed(self.procs):
            self.stop(p)

    def run(self, argv, timeout=10):
        return subprocess.run(argv, env=self.env, capture_output=True, text=True, timeout=timeout)

    def log_tail(self, name, lines=15):
        try:
            with open(os.path.join(self.folder, f"{name}.log"), errors="replace") as f:
                return "".join(f.readlines()[-lines:])
        except OSError:
            return ""

    def start_display_and_bus(self):
        r, w = os.pipe()
        self.start("xvfb", ["Xvfb", "-displayfd", str(w), "-screen", "0", "1280x720x24", "-noreset",
                            "-nolisten", "tcp"], pass_fds=[w])
        os.close(w)
        with os.fdopen(r) as f:
            number = read_line(f, 10, "Xvfb to pick a display")
        self.env["DISPLAY"] = ":" + number
        r, w = os.pipe()
        self.start("dbus", ["dbus-daemon", "--session", "--nofork", f"--print-address={w}"], pass_fds=[w])
        os.close(w)
        with os.fdopen(r) as f:
            self.env["DBUS_SESSION_BUS_ADDRESS"] = read_line(f, 10, "the session bus")

    def host_name(self):
        """What the watcher's owner calls itself (/proc/<pid>/comm): the name a tray host is known by."""
        r = self.run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                      "org.freedesktop.DBus.GetConnectionUnixProcessID",
                      "string:org.kde.StatusNotifierWatcher"])
        m = re.search(r"uint32 (\d+)", r.stdout)
        try:
            with open(f"/proc/{m[1]}/comm") as f:
                return f.read().strip()
        except (TypeError, OSError):
            return "unknown"

    def has_owner(self, name):
        r = self.run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                      "org.freedesktop.DBus.NameHasOwner", f"string:{name}"])
        return "boolean true" in r.stdout

    def registered_items(self):
        r = self.run(["dbus-send", "--session", "--print-reply", "--dest=org.kde.StatusNotifierWatcher",
                      "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
                      "string:org.kde.StatusNotifierWatcher", "string:RegisteredStatusNotifierItems"])
        return re.findall(r'string "([^"]*)"', r.stdout) if r.returncode == 0 else []

    def owner_pid(self, name):
        """The process id behind a bus name, or None."""
        r = self.run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
                      "/org/freedesktop/DBus", "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{name}"])
        found = re.search(r"uint32 (\d+)", r.stdout) if r.returncode == 0 else None
        return int(found.group(1)) if found else None

    def xfconf(self, prop, *args):
        r = self.run(["xfconf-query", "-c", "xfce4-panel", "-p", prop, "--create", *args])
        if r.returncode != 0:
            raise Failure(f"xfconf-query {prop}: {r.stderr.strip()}")


def read_line(f, seconds, what):
    # Both servers write one line once they are ready; a server that dies closes the pipe.
    ready, _, _ = select.select([f], [], [], seconds)
    line = f.readline().strip() if ready else ""
    if not line:
        raise Failure(f"no answer from {what}")
    return line


def panel_strip(session):
    """The height of the panel along the top of the screen (the default panel's place), once it is there."""
    tree = session.run(["xwininfo", "-root", "-tree"]).stdout
    # A window line: id "name": ("instance" "class")  WxH+x+y  +absx+absy
    for m in re.finditer(r'"xfce4-panel": \("xfce4-panel" "Xfce4-panel"\)\s+(\d+)x(\d+)\S*\s+\+0\+0', tree):
        width, height = int(m[1]), int(m[2])
        if width >= 640 and height < 100:
            return height
    return None


def screenshot(session, path, height):
    """The panel strip's pixels as rows of (r, g, b), also written to path."""
    crop = ["-crop", f"x{height}+0+0", "+repage", "-depth", "8"]
    shot = subprocess.run(["import", "-window", "root", *crop, "ppm:-"], env=session.env, capture_output=True,
                          timeout=10)
    if shot.returncode != 0:
        raise Failure("import: " + shot.stderr.decode(errors="replace").strip())
    data = shot.stdout
    subprocess.run(["convert", "ppm:-", path], input=data, check=True, timeout=10)
    return parse_ppm(data)


def parse_ppm(data):
    fields, pos = [], 0
    while len(fields) < 4:
        m = re.compile(rb"\s*(#[^\n]*\n\s*)*(\S+)").match(data, pos)
        fields.append(m[2])
        pos = m.end()
    width, height = int(fields[1]), int(fields[2])
    if fields[0] != b"P6" or fields[3] != b"255":
        raise Failure(f"not an 8-bit picture: {b' '.join(fields)}")
    pixels = data[pos + 1:]
    return [[tuple(pixels[(y * width + x) * 3:(y * width + x) * 3 + 3]) for x in range(width)]
            for y in range(height)]


def near(pixel, colour):
    return sum((a - b) ** 2 for a, b in zip(pixel, colour)) <= COLOUR_TOLERANCE ** 2


def find_items(rows, palette):
    """The squares of the strip that hold level colours: [(x0, x1, {colour: pixel count})]. Runs of
    columns with such pixels join while together they fit in one square (a badge's digits stand
    apart), so two items, a square apart, never do."""
    runs = []  # (x0, x1, counts) of neighbouring columns
    for x in range(len(rows[0])):
        counts = {}
        for row in rows:
            for c in palette:
                if near(row[x], c):
                    counts[c] = counts.get(c, 0) + 1
        if not counts:
            continue
        if runs and runs[-1][1] == x - 1:
            runs[-1] = (runs[-1][0], x, add(runs[-1][2], counts))
        else:
            runs.append((x, x, counts))
    items = []
    for x0, x1, counts in runs:
        if items and x1 - items[-1][0] < len(rows) * 0.9:
            items[-1] = (items[-1][0], x1, add(items[-1][2], counts))
        else:
            items.append((x0, x1, counts))
    return items


def add(a, b):
    return {c: a.get(c, 0) + b.get(c, 0) for c in a.keys() | b.keys()}


def probe(rows, expected, dark):
    """None when the strip shows one drawn item per expected level, else what is wrong."""
    palette = set(LEVEL_COLOURS[dark].values())
    side = len(rows)
    enough = max(12, side * side // 32)  # a drawn badge, even one digit, covers more; stray edges far less
    items = find_items(rows, palette)
    seen = []
    for x0, x1, counts in items:
        colour, n = max(counts.items(), key=lambda kv: kv[1])
        seen.append((x0, x1, colour, n))
    drawn = sorted(c for x0, x1, c, n in seen if n >= enough and x1 - x0 < side)
    wanted = sorted(LEVEL_COLOURS[dark][level] for level in expected)
    if drawn == wanted and len(seen) == len(wanted):
        return None
    return (f"wanted {len(wanted)} items in colours {wanted}, each at most {side} px wide with at least "
            f"{enough} pixels of its colour; "
            f"saw {[f'x {a}-{b}: {n} px of {c}' for a, b, c, n in seen] or 'none'}")


def levels_now(session, app):
    r = session.run([app, "--demo", "status", "--json"])
    if r.returncode != 0:
        return None
    services = json.loads(r.stdout).get("services", [])
    if len(services) != 3 or any(s.get("needsLogin") or not s.get("level") for s in services):
        return None
    return [s["level"] for s in services]


SCENES = {  # scene: (the bar is dark, the tray items, checked)
    "dark": (True, "per-service", True),
    "light": (False, "per-service", True),
    "label": (True, "label", False),
}


def run_scene(session, args, scene, height):
    dark, items, checked = SCENES[scene]
    session.xfconf("/panels/dark-mode", "-t", "bool", "-s", "true" if dark else "false")
    # A light bar: a solid near-white background, whatever the GTK theme draws.
    session.xfconf("/panels/panel-1/background-style", "-t", "uint", "-s", "0" if dark else "1")
    if not dark:
        session.xfconf("/panels/panel-1/background-rgba", "-t", "double", "-s", "0.94", "-t", "double", "-s",
                       "0.94", "-t", "double", "-s", "0.94", "-t", "double", "-s", "1")
    env = dict(session.env, OSTREL_TRAY_STYLE="dark" if dark else "light")
    if items == "label":
        env["OSTREL_TRAY_ITEMS"] = "label"
    app = session.start(f"ostrel-{scene}", [args.app, "--demo"], env=env)
    try:
        def ours():
            # An item is listed as its connection's name and its path (":1.42/StatusNotifierItem").
            names = [n for n in session.registered_items() if session.owner_pid(n.split("/")[0]) == app.pid]
            return names if app.poll() is None and len(names) == want else None
        want = 3 if items == "per-service" else 1
        registered = wait_for(f"{want} items of the demo on the panel's watcher", ours, 30)
        levels = wait_for("the demo's numbers", lambda: levels_now(session, args.app), 30)
        path = os.path.join(args.out, f"tray-{scene}.png")
        if not checked:
            time.sleep(1.5)  # nothing to probe for: give the panel time to draw what it got
            screenshot(session, path, height)
            print(f"{scene}: {len(registered)} item(s) registered; wrote {path}")
            return
        problem = "not looked at yet"
        deadline = time.monotonic() + 15 * PATIENCE  # the panel reads the pictures after the registration
        while problem and time.monotonic() < deadline:
            problem = probe(screenshot(session, path, height), levels, dark)
            if problem:
                time.sleep(0.5)
        if problem:
            raise Failure(f"{scene}: the panel does not show the items drawn ({path}): {problem}")
        print(f"{scene}: {len(registered)} items registered, each drawn in its level's colour "
              f"({', '.join(levels)}); wrote {path}")
    except Failure:
        print(f"--- ostrel ({scene}) said:\n" + session.log_tail(f"ostrel-{scene}"), file=sys.stderr)
        raise
    finally:
        session.stop(app)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--app", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--scenes", default="dark")
    parser.add_argument("--patience", type=int, default=1, help="multiply every wait by this")
    args = parser.parse_args()
    global PATIENCE
    PATIENCE = args.patience
    scenes = args.scenes.split(",")
    if unknown := [s for s in scenes if s not in SCENES]:
        parser.error(f"unknown scene {unknown[0]}; there are {', '.join(SCENES)}")
    if missing := [t for t in TOOLS if not shutil.which(t)]:
        print(f"tray_host.py: missing {', '.join(missing)}: scripts/deps.sh --test installs them",
              file=sys.stderr)
        return 1
    os.makedirs(args.out, exist_ok=True)
    args.app = os.path.abspath(args.app)
    folder = tempfile.mkdtemp(prefix="ostrel-tray-host-")
    session = Session(folder)
    # A polite kill (ctest's time limit) still takes everything down.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    try:
        session.start_display_and_bus()
        session.start("xfwm4", ["xfwm4"])
        panel = session.start("panel", ["xfce4-panel", "--disable-wm-check"])
        session.start("dunst", ["dunst"])
        wait_for("the panel's tray (the watcher's name)",
                 lambda: panel.poll() is None and session.has_owner("org.kde.StatusNotifierWatcher"), 20)
        wait_for("dunst", lambda: session.has_owner("org.freedesktop.Notifications"), 10)
        height = wait_for("the panel along the top of the screen", lambda: panel_strip(session), 10)
        print(f"The tray host is {session.host_name()}, its panel {height} px tall along the top.")
        # Before the demo runs, the probe must find nothing: no other part of the panel passes for an item.
        time.sleep(0.5)
        empty = find_items(screenshot(session, os.path.join(args.out, "tray-empty.png"), height),
                           set(LEVEL_COLOURS[True].values()) | set(LEVEL_COLOURS[False].values()))
        if empty:
            raise Failure(f"the panel without Ostrel already shows level colours at {empty}")
        for scene in scenes:
            run_scene(session, args, scene, height)
        return 0
    except (Failure, subprocess.TimeoutExpired) as e:
        print(f"tray_host.py: {e}", file=sys.stderr)
        for name in ("panel", "xfwm4", "dunst"):
            if tail := session.log_tail(name, 8):
                print(f"--- {name} said:\n{tail}", file=sys.stderr)
        return 1
    finally:
        session.close()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
