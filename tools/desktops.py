#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Ostrel's demo under each real tray host, headless, each in a display, a session bus and a
throwaway home of its own: GNOME Shell with the AppIndicator extension, sway with waybar (a light
and a dark bar), Plasma, Xfce, and no tray at all.

  desktops.py --app BUILD/src/app/ostrel --out FOLDER [--hosts gnome,sway,plasma,xfce,none] [--starts N]

Photographs each host's bar as FOLDER/desktop-<host>.png and prints one line per point it can
check: PASS or FAIL, then the host and the point (the item shown, the services told apart, a click
opens the panel and where, status answers), and INFO lines for what it saw but cannot judge.
No bar colour preference is set anywhere: the item must read on whatever bar it meets. Exits 1
when a point failed, 2 when a host could not be run at all, 77 when every host asked for is
missing a program it needs (a test then counts as skipped). OSTREL_KEEP=1 keeps each host's folder
(its logs) in the temporary folder; OSTREL_DEBUG=1 prints what the shell and sway answered."""

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tray_host as th  # noqa: E402  (the session, the bus and the picture helpers)
from desktop_session import (RUN, Desk, bottom_strip, check_status, demo_levels, info,  # noqa: E402
                             marks_in, result, seen_in, start_app, told_apart)
from desktops_wayland import GNOME_EXTENSION, as_unprivileged, run_gnome, run_sway  # noqa: E402

# What each host needs installed (scripts/deps.sh --desktops); a host without them is skipped.
COMMON_TOOLS = ["dbus-daemon", "dbus-send", "convert"]
HOST_TOOLS = {
    "gnome": ["gnome-shell", "gsettings", "gdbus", f"/usr/share/gnome-shell/extensions/{GNOME_EXTENSION}"],
    "sway": ["sway", "swaymsg", "waybar", "grim", "setpriv"],
    "plasma": ["Xvfb", "plasmashell", "kded5", "xdotool", "xwininfo", "import", "xfwm4"],
    "xfce": ["Xvfb", "xfce4-panel", "xfwm4", "xfconf-query", "xdotool", "xwininfo", "import"],
    "none": ["Xvfb", "xfwm4", "xwininfo", "import"],
}


# ---------------------------------------------------------------- X11 hosts (Xfce, Plasma, none)

def x_panel_window(session):
    """Where the shown "Ostrel" top-level window is: (x, y, w, h), or None."""
    tree = session.run(["xwininfo", "-root", "-tree"]).stdout
    for m in re.finditer(r'^\s*(0x[0-9a-f]+) "Ostrel": \(', tree, re.M):
        win = session.run(["xwininfo", "-id", m[1]]).stdout
        if "IsViewable" in win:
            get = lambda key: int(re.search(key + r":\s+(-?\d+)", win)[1])  # noqa: E731
            if get("Width") > 50 and get("Height") > 50:  # not a helper window of the toolkit's
                return get("Absolute upper-left X"), get("Absolute upper-left Y"), get("Width"), get("Height")
    return None


def x_click(session, x, y):
    session.run(["xdotool", "mousemove", str(x), str(y), "click", "1"])


def x_click_checks(session, host, items, bar_top, bar_height):
    """Clicks the first mark and sees the panel open near it, then clicks again and sees it close."""
    if not items:
        return
    x = (items[0][0] + items[0][1]) // 2
    x_click(session, x, bar_top + bar_height // 2)
    try:
        where = th.wait_for("the panel", lambda: x_panel_window(session), 8)
        near = abs(where[0] - x) < 500 and (where[1] <= bar_top + bar_height + 40 or where[1] + where[3] >= bar_top - 40)
        result(host, "click opens the panel", True, f"at {where[0]},{where[1]} ({where[2]}x{where[3]})")
        result(host, "panel near the item", near, f"item at x {x}, panel at {where[0]},{where[1]}")
    except th.Failure as e:
        result(host, "click opens the panel", False, str(e))
        return
    x_click(session, x, bar_top + bar_height // 2)
    try:
        th.wait_for("the panel to close", lambda: x_panel_window(session) is None, 5)
        result(host, "a second click closes it", True, "closed")
    except th.Failure as e:
        result(host, "a second click closes it", False, str(e))


def run_xfce(folder):
    host = "xfce"
    s = Desk(folder, "XFCE")
    s.env["GDK_BACKEND"] = "x11"
    try:
        s.start_display_and_bus()
        s.start("xfwm4", ["xfwm4"])
        s.start("panel", ["xfce4-panel", "--disable-wm-check"])
        th.wait_for("the panel's tray", lambda: s.has_owner("org.kde.StatusNotifierWatcher"), 20)
        height = th.wait_for("the panel", lambda: th.panel_strip(s), 10)
        info(host, f"watcher {s.host_name()}, panel {height} px along the top")
        app = start_app(s, "ostrel-xfce")
        names = th.wait_for("the items", lambda: len(s.items_of(app.pid)) >= 3 and s.items_of(app.pid), 30)
        levels = demo_levels(s)
        time.sleep(2)
        path = os.path.join(RUN.out, "desktop-xfce.png")
        rows = th.screenshot(s, path, height)
        result(host, "item shown", len(names) == 3, f"{len(names)} items registered; {path}")
        ok, what = told_apart(rows, levels)
        result(host, "services told apart", ok, f"one square per service: {what}")
        order = [s.item_text(n, "Title") for n in names]
        info(host, f"items in registration order: {order}")
        check_status(s, host)
        x_click_checks(s, host, marks_in(rows), 0, height)
    finally:
        s.close()


def run_plasma(folder):
    host = "plasma"
    s = Desk(folder, "KDE")
    s.env.update(GDK_BACKEND="x11", QT_QPA_PLATFORM="xcb", KDE_FULL_SESSION="true", KDE_SESSION_VERSION="5")
    try:
        s.start_display_and_bus()
        s.start("kwin", ["kwin_x11"]) if shutil.which("kwin_x11") else s.start("xfwm4", ["xfwm4"])
        s.start("kded5", ["kded5"])
        s.start("plasmashell", ["plasmashell", "--no-respawn"])
        th.wait_for("kded5's watcher", lambda: s.has_owner("org.kde.StatusNotifierWatcher"), 40)
        info(host, f"watcher {s.host_name()}")
        height = 44
        time.sleep(8)  # plasmashell builds its panel slowly on a fresh home
        before = bottom_strip(s, os.path.join(RUN.out, "desktop-plasma-empty.png"), height)
        app = start_app(s, "ostrel-plasma")
        names = th.wait_for("the items", lambda: len(s.items_of(app.pid)) >= 3 and s.items_of(app.pid), 40)
        levels = demo_levels(s)
        time.sleep(2)
        path = os.path.join(RUN.out, "desktop-plasma.png")
        rows = bottom_strip(s, path, height)
        result(host, "item shown", len(names) == 3, f"{len(names)} items registered; {path}")
        # The tray sits at the right end of Plasma's default panel; launchers on the left may be green.
        half = len(rows[0]) // 2
        rows, before = [r[half:] for r in rows], [r[half:] for r in before]
        ok, what = told_apart(rows, levels, before)
        result(host, "services told apart", ok, f"one square per service: {what}")
        check_status(s, host)
        marks = [(x0 + half, x1 + half, c) for x0, x1, c in marks_in(rows) if not seen_in((x0, x1), before)]
        x_click_checks(s, host, marks, 720 - height, height)
    finally:
        s.close()


def run_none(folder):
    host = "no-tray"
    s = Desk(folder, "GNOME")
    s.env["GDK_BACKEND"] = "x11"
    try:
        s.start_display_and_bus()
        s.start("xfwm4", ["xfwm4"])
        app = start_app(s, "ostrel-none")
        demo_levels(s)
        try:
            where = th.wait_for("a window", lambda: x_panel_window(s), 8)
            result(host, "the first launch shows a window", True, f"at {where}")
        except th.Failure as e:
            result(host, "the first launch shows a window", False, str(e))
        path = os.path.join(RUN.out, "desktop-none.png")
        s.run(["import", "-window", "root", path], timeout=20)
        info(host, f"screen: {path}; the app said: {s.log_tail('ostrel-none', 3).strip()!r}")
        check_status(s, host)
        app.poll()
    finally:
        s.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--app", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--hosts", default="gnome,sway,plasma,xfce,none")
    parser.add_argument("--starts", type=int, default=3, help="how often GNOME Shell sees the app start")
    parser.add_argument("--patience", type=int, default=1, help="multiply every wait by this")
    parser.add_argument("--known-open", default="", help="points known to fail still, comma-separated")
    args = parser.parse_args()
    RUN.known_open = tuple(p for p in args.known_open.split(",") if p)
    th.PATIENCE = args.patience
    RUN.app, RUN.out = os.path.abspath(args.app), os.path.abspath(args.out)
    os.makedirs(RUN.out, exist_ok=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    hosts = args.hosts.split(",")
    unrun = skipped = 0
    for host in hosts:
        base = host.split("-")[0]
        if base not in HOST_TOOLS:
            parser.error(f"unknown host {host}; there are {', '.join(HOST_TOOLS)}")
        if missing := [t for t in COMMON_TOOLS + HOST_TOOLS[base] if not (shutil.which(t) or os.path.exists(t))]:
            print(f"SKIP {host}: missing {', '.join(missing)} (scripts/deps.sh --desktops installs them)")
            skipped += 1
            continue
        if host == "sway" and os.getuid() == 0:
            os.chmod(RUN.out, 0o777)
            me = os.path.abspath(__file__)
            python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
            r = subprocess.run(as_unprivileged([python, me, "--app", RUN.app, "--out", RUN.out, "--patience",
                                                str(args.patience), "--hosts", "sway-light,sway-dark"]))
            unrun += r.returncode == 2
            RUN.failures += r.returncode == 1
            continue
        folder = tempfile.mkdtemp(prefix=f"ostrel-desktop-{host}-")
        try:
            if host == "gnome":
                run_gnome(folder, args.starts)
            elif host in ("sway", "sway-light", "sway-dark"):
                for bar in (["light", "dark"] if host == "sway" else [host.split("-")[1]]):
                    run_sway(folder, bar)
            elif host in ("plasma", "xfce", "none"):
                {"plasma": run_plasma, "xfce": run_xfce, "none": run_none}[host](folder)
            else:
                parser.error(f"unknown host {host}")
        except (th.Failure, subprocess.TimeoutExpired, OSError) as e:
            unrun += 1
            print(f"SKIP {host}: could not run: {e}", flush=True)
        finally:
            if os.environ.get("OSTREL_KEEP"):
                print(f"kept {folder}")
            else:
                shutil.rmtree(folder, ignore_errors=True)
    return 1 if RUN.failures else 2 if unrun else 77 if skipped == len(hosts) else 0


if __name__ == "__main__":
    sys.exit(main())
