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
import json
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

LIGHT = (0xee, 0xee, 0xee)
DARK = (0x22, 0x22, 0x22)
GNOME_EXTENSION = "ubuntu-appindicators@ubuntu.com"
# What each host needs installed (scripts/deps.sh --desktops); a host without them is skipped.
COMMON_TOOLS = ["dbus-daemon", "dbus-send", "convert"]
HOST_TOOLS = {
    "gnome": ["gnome-shell", "gsettings", "gdbus", f"/usr/share/gnome-shell/extensions/{GNOME_EXTENSION}"],
    "sway": ["sway", "swaymsg", "waybar", "grim", "setpriv"],
    "plasma": ["Xvfb", "plasmashell", "kded5", "xdotool", "xwininfo", "import", "xfwm4"],
    "xfce": ["Xvfb", "xfce4-panel", "xfwm4", "xfconf-query", "xdotool", "xwininfo", "import"],
    "none": ["Xvfb", "xfwm4", "xwininfo", "import"],
}
CHECKER = "ostrel-check@ostrel.app"
failures = 0


def result(host, point, ok, detail):
    global failures
    failures += not ok
    print(f"{'PASS' if ok else 'FAIL'} {host}: {point}: {detail}", flush=True)


def info(host, text):
    print(f"INFO {host}: {text}", flush=True)


class Desk(th.Session):
    """A tray_host session without the Xfce defaults: the host sets its own desktop name."""

    def __init__(self, folder, desktop):
        super().__init__(folder)
        self.env["XDG_CURRENT_DESKTOP"] = desktop
        self.env.pop("GDK_BACKEND", None)

    def start_bus(self, variable="DBUS_SESSION_BUS_ADDRESS"):
        r, w = os.pipe()
        self.start(variable, ["dbus-daemon", "--session", "--nofork", f"--print-address={w}"], pass_fds=[w])
        os.close(w)
        with os.fdopen(r) as f:
            self.env[variable] = th.read_line(f, 10, "a bus")

    def items_of(self, pid):
        return [n for n in self.registered_items() if f"-{pid}-" in n or n.startswith(":")]

    def item_text(self, name, prop):
        service = name.split("/", 1)[0]
        r = self.run(["dbus-send", "--session", "--print-reply", f"--dest={service}", "/StatusNotifierItem",
                      "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierItem",
                      f"string:{prop}"])
        m = re.search(r'string "([^"]*)"', r.stdout)
        return m[1] if m else None


def start_app(session, name, env=None):
    return session.start(name, [APP, "--demo"], env=dict(session.env, **(env or {})))


def demo_levels(session):
    return th.wait_for("the demo's numbers", lambda: th.levels_now(session, APP), 40)


def check_status(session, host):
    r = session.run([APP, "--demo", "status", "--json"])
    ok = r.returncode == 0 and len(json.loads(r.stdout or "{}").get("services", [])) == 3
    result(host, "status answers", ok, f"exit {r.returncode}")


def read_png(path, crop=None):
    argv = ["convert", path, *(["-crop", crop, "+repage"] if crop else []), "-depth", "8", "ppm:-"]
    return th.parse_ppm(subprocess.run(argv, capture_output=True, check=True, timeout=10).stdout)


PALETTE = set(th.LEVEL_COLOURS[True].values()) | set(th.LEVEL_COLOURS[False].values())


def seen_in(mark, before):
    """Whether the bar showed something in level colours there before the app ran (a launcher's icon)."""
    return before is not None and any(b[0] <= mark[1] and mark[0] <= b[1] for b in marks_in(before))


def bottom_strip(s, path, height):
    full = path.replace(".png", "-screen.png")
    s.run(["import", "-window", "root", full], timeout=20)
    subprocess.run(["convert", full, "-gravity", "south", "-crop", f"x{height}+0+0", "+repage", path], check=True)
    return read_png(path)


def marks_in(rows, palette=PALETTE):
    """The marks in level colours: [(x0, x1, {colour: count})]. Columns holding such colours join
    while together they fit in one item, whose side the height of the coloured band gives (digits
    fill 58 % of a square's height; a logo in the wide label is about as wide as it is tall)."""
    runs, band = [], set()
    for x in range(len(rows[0])):
        counts = {}
        for y, row in enumerate(rows):
            for c in palette:
                if th.near(row[x], c):
                    counts[c] = counts.get(c, 0) + 1
                    band.add(y)
        if counts:
            runs.append((x, x, counts))
    side = (max(band) - min(band) + 1) / 0.58 * 0.95 if band else 0
    marks = []
    for x0, x1, counts in runs:
        if marks and x1 - marks[-1][0] < side:
            marks[-1] = (marks[-1][0], x1, th.add(marks[-1][2], counts))
        else:
            marks.append((x0, x1, counts))
    return marks


def told_apart(rows, levels, before=None):
    """The services' level colours seen as separate marks, each in either palette: (ok, what)."""
    marks = [m for m in marks_in(rows) if not seen_in(m, before)]
    big = [(x0, x1, max(c.items(), key=lambda kv: kv[1])[0]) for x0, x1, c in marks
           if sum(c.values()) >= 12]
    return len(big) == len(levels), f"{len(big)} marks in level colours at x {[(a, b) for a, b, _ in big]}"


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
        path = os.path.join(OUT, "desktop-xfce.png")
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
        before = bottom_strip(s, os.path.join(OUT, "desktop-plasma-empty.png"), height)
        app = start_app(s, "ostrel-plasma")
        names = th.wait_for("the items", lambda: len(s.items_of(app.pid)) >= 3 and s.items_of(app.pid), 40)
        levels = demo_levels(s)
        time.sleep(2)
        path = os.path.join(OUT, "desktop-plasma.png")
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
        path = os.path.join(OUT, "desktop-none.png")
        s.run(["import", "-window", "root", path], timeout=20)
        info(host, f"screen: {path}; the app said: {s.log_tail('ostrel-none', 3).strip()!r}")
        check_status(s, host)
        app.poll()
    finally:
        s.close()


# ---------------------------------------------------------------- GNOME Shell (Wayland, headless)

def gnome_eval(s, script):
    r = s.run(["gdbus", "call", "--session", "--dest", "org.gnome.Shell", "--object-path", "/org/gnome/Shell",
               "--method", "org.gnome.Shell.Eval", script])
    m = re.match(r"\((true|false), '(.*)'\)", r.stdout.strip(), re.S)
    if os.environ.get("OSTREL_DEBUG"):
        print(f"eval: {r.stdout.strip()[:300]!r} {r.stderr.strip()[:200]!r}")
    if not m or m[1] != "true":
        return None
    # gdbus prints the text with its backslashes doubled; the text is the JSON of what the script
    # returned, itself a JSON string here.
    answer = json.loads(m[2].replace("\\\\", "\\"))
    return json.loads(answer) if isinstance(answer, str) else answer


GNOME_INDICATORS = ("JSON.stringify(Object.keys(Main.panel.statusArea).filter(k => k.includes('ppindicator'))"
                    ".map(k => { const a = Main.panel.statusArea[k]; const [x, y] = a.get_transformed_position();"
                    " return [k, Math.round(x), Math.round(y), a.width, a.height, a.visible]; }))")
GNOME_WINDOWS = ("JSON.stringify(global.get_window_actors().map(w => { const m = w.meta_window;"
                 " const r = m.get_frame_rect(); return [m.title, m.get_wm_class(), r.x, r.y, r.width, r.height,"
                 " m.decorated]; }))")


def run_gnome(folder, starts):
    host = "gnome"
    s = Desk(folder, "GNOME")
    s.env.update(XDG_SESSION_TYPE="wayland", GDK_BACKEND="wayland")
    s.env.pop("DISPLAY", None)
    try:
        s.start_bus()
        s.start_bus("DBUS_SYSTEM_BUS_ADDRESS")  # the shell gives up without a system bus to ask
        # Reading the shell's state (Eval) and photographing it need its unsafe mode, which a small
        # extension of this run turns on: the command line offers no switch for it.
        checker = os.path.join(folder, "home/.local/share/gnome-shell/extensions", CHECKER)
        os.makedirs(checker)
        with open(f"{checker}/metadata.json", "w") as f:
            json.dump({"uuid": CHECKER, "name": "check", "description": "unsafe mode", "shell-version": ["43"]}, f)
        with open(f"{checker}/extension.js", "w") as f:
            f.write("function init() {}\nfunction enable() { global.context.unsafe_mode = true; }\n"
                    "function disable() {}\n")
        for key, value in (("disable-user-extensions", "false"),
                           ("enabled-extensions", f"['{GNOME_EXTENSION}', '{CHECKER}']")):
            s.run(["gsettings", "set", "org.gnome.shell", key, value])
        s.start("gnome-shell", ["gnome-shell", "--headless", "--wayland", "--no-x11",
                                "--virtual-monitor", "1280x800"])
        th.wait_for("GNOME Shell", lambda: s.has_owner("org.gnome.Shell"), 60)
        th.wait_for("the extension's watcher", lambda: s.has_owner("org.kde.StatusNotifierWatcher"), 30)
        s.env["WAYLAND_DISPLAY"] = "wayland-0"
        info(host, f"watcher {s.host_name()}")
        th.wait_for("the unsafe mode", lambda: gnome_eval(s, "JSON.stringify(Main.overview.hide() ?? 1)"), 15)
        shown = 0
        for n in range(starts):
            app = start_app(s, f"ostrel-gnome-{n}")
            try:
                th.wait_for("the item", lambda: s.items_of(app.pid), 15)
                seen = th.wait_for("the indicator", lambda: gnome_eval(s, GNOME_INDICATORS) or [], 8)
                shown += 1
            except th.Failure:
                seen = []
            last = n == starts - 1
            if last and seen:
                levels = demo_levels(s)
                time.sleep(2)
                name = s.items_of(app.pid)[0]
                text = s.item_text(name, "XAyatanaLabel") or ""
                ok = all(short in text for short in ("Cl ", "Cu ", "Cx ")) and len(levels) == 3
                result(host, "services told apart", ok, f"label text {text!r}")
                path = os.path.join(OUT, "desktop-gnome.png")
                shot(s, path)
                info(host, f"indicator {seen}; top bar: {path}")
                check_status(s, host)
                gnome_click(s, host, name, seen[0])
            s.stop(app)
            time.sleep(0.5)
        result(host, "item shown", shown == starts, f"{shown} of {starts} starts")
    finally:
        s.close()


def shot(s, path):
    full = path.replace(".png", "-screen.png")
    r = s.run(["gdbus", "call", "--session", "--dest", "org.gnome.Shell", "--object-path",
               "/org/gnome/Shell/Screenshot", "--method", "org.gnome.Shell.Screenshot.Screenshot",
               "false", "false", full])
    if r.returncode == 0 and os.path.exists(full):
        subprocess.run(["convert", full, "-crop", "x32+0+0", "+repage", path], check=True)
    else:
        info("gnome", f"no screenshot: {r.stderr.strip()}")


GNOME_CLICK = ("(() => { const C = imports.gi.Clutter, t = imports.gi.GLib.get_monotonic_time();"
               " const d = global._ostrelPointer ??= C.get_default_backend().get_default_seat()"
               ".create_virtual_device(C.InputDeviceType.POINTER_DEVICE);"
               " d.notify_absolute_motion(t, X, Y); d.notify_button(t + 1000, 1, C.ButtonState.PRESSED);"
               " d.notify_button(t + 2000, 1, C.ButtonState.RELEASED); return '1'; })()")


def gnome_click(s, host, name, indicator):
    # The extension keeps a single click for the item's menu and calls Activate on a double one.
    service = name.split("/", 1)[0]
    key, x, y, w, h, _ = indicator
    gnome_eval(s, "JSON.stringify(Main.overview.hide() ?? 1)")  # the shell may start in its overview
    time.sleep(1)
    # A real single click through the shell's input, from a virtual pointer.
    gnome_eval(s, GNOME_CLICK.replace("X", str(x + w // 2)).replace("Y", str(y + h // 2)))
    time.sleep(1.5)
    menu = gnome_eval(s, f"JSON.stringify(Main.panel.statusArea['{key}'].menu.isOpen)")
    panel = [w for w in gnome_eval(s, GNOME_WINDOWS) or [] if w[0] == "Ostrel" and w[4] > 0]
    info(host, f"a single click opened {'the item menu' if menu else 'no menu'}"
               f"{' and the panel' if panel else ', not the panel'}")
    gnome_eval(s, f"JSON.stringify(Main.panel.statusArea['{key}'].menu.close() ?? 1)")
    if panel:
        return
    s.run(["dbus-send", "--session", "--print-reply", f"--dest={service}", "/StatusNotifierItem",
           "org.kde.StatusNotifierItem.Activate", f"int32:{x + w // 2}", f"int32:{y + h}"])
    try:
        windows = th.wait_for("the panel", lambda: [w for w in gnome_eval(s, GNOME_WINDOWS) or []
                                                    if w[0] == "Ostrel" and w[4] > 0], 8)
        time.sleep(1)  # the shell places the window after it maps it
        windows = [w for w in gnome_eval(s, GNOME_WINDOWS) or [] if w[0] == "Ostrel"] or windows
        title, cls, wx, wy, ww, wh, decorated = windows[0]
        result(host, "Activate (a double click) opens the panel", True,
               f"at {wx},{wy} ({ww}x{wh}), decorated {decorated}, class {cls}; item at {x},{y}")
        path = os.path.join(OUT, "desktop-gnome-panel.png")
        shot(s, path)
        info(host, f"screen with the panel: {path.replace('.png', '-screen.png')}")
    except th.Failure as e:
        result(host, "Activate (a double click) opens the panel", False, str(e))


# ---------------------------------------------------------------- sway + waybar (as an unprivileged user)

WAYBAR_CONFIG = {"layer": "top", "position": "top", "height": 32, "modules-left": ["sway/workspaces"],
                 "modules-right": ["tray", "clock"], "tray": {"icon-size": 16, "spacing": 8}}


def run_sway(folder, bar):
    host = f"sway-{bar}"
    s = Desk(folder, "sway")
    s.env.update(WLR_BACKENDS="headless", WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1", WLR_HEADLESS_OUTPUTS="1",
                 GDK_BACKEND="wayland", XDG_SESSION_TYPE="wayland")
    s.env.pop("DISPLAY", None)
    colour = LIGHT if bar == "light" else DARK
    ink = DARK if bar == "light" else LIGHT
    conf = os.path.join(folder, "home")
    with open(f"{conf}/waybar.json", "w") as f:
        json.dump(WAYBAR_CONFIG, f)
    with open(f"{conf}/waybar.css", "w") as f:
        f.write("* { font-family: sans-serif; font-size: 13px; border: none; border-radius: 0; }\n"
                f"window#waybar {{ background: #{'%02x%02x%02x' % colour}; color: #{'%02x%02x%02x' % ink}; }}\n")
    with open(f"{conf}/sway.conf", "w") as f:
        f.write("xwayland disable\noutput HEADLESS-1 resolution 1280x800\n")
    try:
        s.start_bus()
        sway = s.start("sway", ["sway", "-c", f"{conf}/sway.conf"])
        run = s.env["XDG_RUNTIME_DIR"]
        sock = th.wait_for("sway", lambda: sway.poll() is None and [n for n in os.listdir(run)
                                                                    if n.startswith("wayland-") and
                                                                    not n.endswith(".lock")], 20)
        s.env["WAYLAND_DISPLAY"] = sock[0]
        s.env["SWAYSOCK"] = th.wait_for("sway's socket", lambda: next(
            (os.path.join(run, n) for n in os.listdir(run) if n.startswith("sway-ipc")), None), 10)
        s.start("waybar", ["waybar", "-c", f"{conf}/waybar.json", "-s", f"{conf}/waybar.css"])
        th.wait_for("waybar's watcher", lambda: s.has_owner("org.kde.StatusNotifierWatcher"), 20)
        info(host, f"watcher {s.host_name()}, bar #{'%02x%02x%02x' % colour}")
        app = start_app(s, f"ostrel-{host}")
        names = th.wait_for("the item", lambda: s.items_of(app.pid), 20)
        levels = demo_levels(s)
        time.sleep(2)
        path = os.path.join(OUT, f"desktop-{host}.png")
        s.run(["grim", "-g", "0,0 1280x32", path])
        result(host, "item shown", bool(names), f"{len(names)} item(s) registered; {path}")
        rows = read_png(path)
        ok, what = told_apart(rows, levels)
        result(host, "services told apart", ok, f"a logo in its level's colour per service: {what}")
        check_status(s, host)
        marks = marks_in(rows)
        if marks:
            # A headless sway has no pointer to click with (and no virtual one in Debian's tools):
            # send what waybar sends on a left click, Activate at the pointer.
            x = (marks[0][0] + marks[-1][1]) // 2
            s.run(["dbus-send", "--session", "--print-reply", f"--dest={names[0].split('/', 1)[0]}",
                   "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", f"int32:{x}", "int32:16"])
            try:
                node = th.wait_for("the panel", lambda: sway_window(s), 8)
                r = node["rect"]
                result(host, "Activate (waybar's click) opens the panel", True,
                       f"at {r['x']},{r['y']} ({r['width']}x{r['height']}), app id {node.get('app_id')}, "
                       f"floating {node.get('type') == 'floating_con'}; item at x {x}")
                time.sleep(1)
                s.run(["grim", os.path.join(OUT, f"desktop-{host}-screen.png")])
            except th.Failure as e:
                result(host, "Activate (waybar's click) opens the panel", False, str(e))
    finally:
        s.close()


def sway_window(s):
    tree = json.loads(s.run(["swaymsg", "-t", "get_tree", "-r"]).stdout or "{}")
    stack = [tree]
    while stack:
        n = stack.pop()
        if n.get("name") == "Ostrel" and n.get("pid"):
            return n
        stack += n.get("nodes", []) + n.get("floating_nodes", [])
    return None


def as_unprivileged(argv):
    """sway refuses to run as root: the same run again as nobody, in folders nobody may write."""
    return ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "--reset-env", "--", "env",
            f"PATH={os.environ['PATH']}", *argv]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--app", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--hosts", default="gnome,sway,plasma,xfce,none")
    parser.add_argument("--starts", type=int, default=3, help="how often GNOME Shell sees the app start")
    parser.add_argument("--patience", type=int, default=1, help="multiply every wait by this")
    args = parser.parse_args()
    th.PATIENCE = args.patience
    global APP, OUT
    APP, OUT = os.path.abspath(args.app), os.path.abspath(args.out)
    os.makedirs(OUT, exist_ok=True)
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
            os.chmod(OUT, 0o777)
            me = os.path.abspath(__file__)
            python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
            r = subprocess.run(as_unprivileged([python, me, "--app", APP, "--out", OUT, "--patience",
                                                str(args.patience), "--hosts", "sway-light,sway-dark"]))
            unrun += r.returncode == 2
            global failures
            failures += r.returncode == 1
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
    return 1 if failures else 2 if unrun else 77 if skipped == len(hosts) else 0


if __name__ == "__main__":
    sys.exit(main())
