# SPDX-License-Identifier: GPL-3.0-or-later
"""What every host run of desktops.py shares: the session, the report lines, the demo's numbers and
the picture probes that tell the services' marks apart on a bar."""

import json
import os
import re
import subprocess
import types

import tray_host as th

LIGHT = (0xee, 0xee, 0xee)
DARK = (0x22, 0x22, 0x22)
# What this run is about: the app, the folder for pictures, the points failed so far, and the points
# known to fail still (they print as OPEN, so a run that checks the rest stays green).
RUN = types.SimpleNamespace(app="", out="", failures=0, known_open=())


def result(host, point, ok, detail):
    if not ok and point in RUN.known_open:
        print(f"OPEN {host}: {point}: {detail}", flush=True)
        return
    RUN.failures += not ok
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
        service, path = item_address(name)
        r = self.run(["dbus-send", "--session", "--print-reply", f"--dest={service}", path,
                      "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierItem",
                      f"string:{prop}"])
        m = re.search(r'string "([^"]*)"', r.stdout)
        return m[1] if m else None


def item_address(name):
    """A listed item's bus name and object path. Watchers list an item as its name alone, as
    ":1.42/StatusNotifierItem", or (GNOME's extension) as ":1.42@/StatusNotifierItem"."""
    service, _, path = name.partition("/")
    return service.rstrip("@"), "/" + path if path else "/StatusNotifierItem"


def start_app(session, name, env=None):
    return session.start(name, [RUN.app, "--demo"], env=dict(session.env, **(env or {})))


def demo_levels(session):
    return th.wait_for("the demo's numbers", lambda: th.levels_now(session, RUN.app), 40)


def check_status(session, host):
    r = session.run([RUN.app, "--demo", "status", "--json"])
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
