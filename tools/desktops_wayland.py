# SPDX-License-Identifier: GPL-3.0-or-later
"""The Wayland hosts of desktops.py: GNOME Shell headless with the AppIndicator extension, and sway
with waybar, run as an unprivileged user (sway refuses root)."""

import json
import os
import re
import subprocess
import time

import tray_host as th
from desktop_session import (DARK, LIGHT, RUN, Desk, check_status, demo_levels, info, item_address, marks_in,
                             read_png,
                             result, start_app, told_apart)

GNOME_EXTENSION = "ubuntu-appindicators@ubuntu.com"
CHECKER = "ostrel-check@ostrel.app"

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
                path = os.path.join(RUN.out, "desktop-gnome.png")
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


OTHER_WINDOW = ("import gi; gi.require_version('Gtk', '4.0'); from gi.repository import Gtk, GLib\n"
                "app = Gtk.Application(application_id='app.ostrel.Check.Other')\n"
                "app.connect('activate', lambda a: Gtk.ApplicationWindow(application=a, title='Other').present())\n"
                "app.run([])")


def gnome_click(s, host, name, indicator):
    # The extension keeps a single click for the item's menu and calls Activate on a double one.
    service, path = item_address(name)
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
    s.run(["dbus-send", "--session", "--print-reply", f"--dest={service}", path,
           "org.kde.StatusNotifierItem.Activate", f"int32:{x + w // 2}", f"int32:{y + h}"])
    try:
        windows = th.wait_for("the panel", lambda: [w for w in gnome_eval(s, GNOME_WINDOWS) or []
                                                    if w[0] == "Ostrel" and w[4] > 0], 8)
        time.sleep(1)  # the shell places the window after it maps it
        windows = [w for w in gnome_eval(s, GNOME_WINDOWS) or [] if w[0] == "Ostrel"] or windows
        title, cls, wx, wy, ww, wh, decorated = windows[0]
        result(host, "Activate (a double click) opens the panel", True,
               f"at {wx},{wy} ({ww}x{wh}), decorated {decorated}, class {cls}; item at {x},{y}")
        path = os.path.join(RUN.out, "desktop-gnome-panel.png")
        shot(s, path)
        info(host, f"screen with the panel: {path.replace('.png', '-screen.png')}")
        focused = gnome_eval(s, "JSON.stringify(global.display.focus_window?.title ?? '')")
        # Another window takes the focus (a headless shell has no desktop to click on): the panel
        # closes.
        other = s.start("other-window", ["/usr/bin/python3", "-c", OTHER_WINDOW])
        try:
            th.wait_for("the panel to close", lambda: not [w for w in gnome_eval(s, GNOME_WINDOWS) or []
                                                           if w[0] == "Ostrel" and w[4] > 0], 8)
            result(host, "focus loss closes the panel", True, f"focused before: {focused!r}")
        except th.Failure as e:
            after = gnome_eval(s, "JSON.stringify(global.display.focus_window?.title ?? '')")
            titles = [w[0] for w in gnome_eval(s, GNOME_WINDOWS) or []]
            result(host, "focus loss closes the panel", False,
                   f"{e}; focused before: {focused!r}, after: {after!r}; windows {titles}")
        finally:
            s.stop(other)
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
        path = os.path.join(RUN.out, f"desktop-{host}.png")
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
                s.run(["grim", os.path.join(RUN.out, f"desktop-{host}-screen.png")])
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
