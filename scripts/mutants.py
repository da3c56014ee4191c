#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Mutation check of the test suite: how many small deliberate faults in src/ does it catch?

  scripts/mutants.py --build DIR [--seed N] [--count N] [--out FILE] [--only FILE] [--list]

Finds every place in src/*.cpp where a small fault can be made (a comparison flipped or loosened, a
logical operator swapped, a whole-number constant off by one, true for false, a call statement
dropped), draws --count of them from each folder with --seed (the same seed and tree give the same draw), and for
each one: writes the fault into the file, rebuilds DIR, runs the tests that can see it (those whose
program or arguments the rebuild changed) until the first failure, and puts the file back. A fault that fails a test is caught; one that does not build is not counted.
--only FILE runs again just the faults that FILE (an earlier --out) lists as caught, so a change to
the tests can be checked against the faults the suite caught before it. Run it under a display and a
session bus, as scripts/test.sh runs the suite. It is run by hand; nothing in CI calls it."""

import argparse
import atexit
import json
import random
import re
import shutil
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# The long run measures memory over a thousand cycles; it is left to the plain suite.
EXCLUDE = "^LongRun\\."

SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "),
         (" != ", " == "), (" && ", " || "), (" || ", " && ")]
NUMBER = re.compile(r"(?<![\w.])(\d+)(?![\w.])")
CALL = re.compile(r"^\s+[A-Za-z_][\w:.>\-]*\(.*\);\s*$")


def code_mask(line):
    """Which characters of the line are code (not inside a string, a character or a comment)."""
    mask, quote, i = [], None, 0
    while i < len(line):
        c = line[i]
        if quote:
            mask.append(False)
            if c == "\\":
                mask.append(False)
                i += 1
            elif c == quote:
                quote = None
        elif line.startswith("//", i):
            mask.extend([False] * (len(line) - i))
            break
        elif c in "\"'":
            quote = c
            mask.append(False)
        else:
            mask.append(True)
        i += 1
    return mask[: len(line)]


def sites():
    found = []
    for path in sorted((ROOT / "src").rglob("*.cpp")):
        rel = str(path.relative_to(ROOT))
        for number, line in enumerate(path.read_text().splitlines(), 1):
            stripped = line.strip()
            if not stripped or stripped.startswith(("#", "//", "*", "/*")) or "static_assert" in line:
                continue
            mask = code_mask(line)
            for old, new in SWAPS:
                start = line.find(old)
                while start >= 0:
                    if all(mask[start:start + len(old)]):
                        found.append((rel, number, start, old, new))
                    start = line.find(old, start + 1)
            for m in NUMBER.finditer(line):
                if all(mask[m.start():m.end()]) and "[" not in line[max(0, m.start() - 1):m.start()]:
                    found.append((rel, number, m.start(), m.group(1), str(int(m.group(1)) + 1)))
            for word, other in (("true", "false"), ("false", "true")):
                for m in re.finditer(rf"\b{word}\b", line):
                    if all(mask[m.start():m.end()]):
                        found.append((rel, number, m.start(), word, other))
            if CALL.match(line) and not stripped.startswith(("return", "co_return", "throw")):
                found.append((rel, number, 0, line, ";"))
    return found


def apply(site, line_text=None):
    """Writes the fault in; returns the file as it was. `line_text`, the line as an earlier run saw
    it, finds the place again in a file that has changed since (the nearest line just like it)."""
    rel, number, col, old, new = site
    path = ROOT / rel
    text = path.read_text()
    lines = text.splitlines(keepends=True)
    if line_text is not None:
        same = [i + 1 for i, l in enumerate(lines) if l.rstrip("\n") == line_text]
        if not same:
            raise LookupError(f"{rel}: the line {line_text.strip()!r} is gone")
        number = min(same, key=lambda n: abs(n - number))
    line = lines[number - 1]
    if old == line.rstrip("\n"):
        lines[number - 1] = new + "\n"
    else:
        assert line[col:col + len(old)] == old, site
        lines[number - 1] = line[:col] + new + line[col + len(old):]
    path.write_text("".join(lines))
    return text


# Test programs that run the app binary without naming it on their command line.
RUNS_THE_APP = {"e2e_binary_tests"}


def suite(build):
    """Each test's number and the build files its command names."""
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], cwd=ROOT,
                             stdout=subprocess.PIPE, text=True, check=True)
    tests = []
    for number, test in enumerate(json.loads(listing.stdout)["tests"], 1):
        files = [Path(a) for a in test["command"] if Path(a).is_file()]
        if Path(test["command"][0]).name in RUNS_THE_APP:
            files.append(Path(build).resolve() / "src/app/ostrel")
        tests.append((number, files))
    return tests


def stamps(tests):
    return {f: f.stat().st_mtime_ns for _, files in tests for f in files if f.exists()}


# A fault can send a test's writes outside its temporary folders (a wrong autostart folder, say):
# the tests run with a scratch home, so they never land in the user's.
SCRATCH_HOME = tempfile.mkdtemp(prefix="ostrel-mutants-")
atexit.register(shutil.rmtree, SCRATCH_HOME, ignore_errors=True)
ENV = dict(os.environ, HOME=SCRATCH_HOME, XDG_CONFIG_HOME=SCRATCH_HOME + "/config",
           XDG_DATA_HOME=SCRATCH_HOME + "/data", XDG_CACHE_HOME=SCRATCH_HOME + "/cache",
           XDG_STATE_HOME=SCRATCH_HOME + "/state")


def run(cmd, timeout, env=None):
    try:
        return subprocess.run(cmd, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, timeout=timeout, env=env)
    except subprocess.TimeoutExpired:
        return None


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", required=True)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--count", type=int, default=3)
    ap.add_argument("--out", default="mutants.json")
    ap.add_argument("--only")
    ap.add_argument("--list", action="store_true")
    args = ap.parse_args()

    if args.only:
        earlier = json.loads(Path(args.only).read_text())
        chosen = [(tuple(r["site"]), r["line"]) for r in earlier if r["result"] == "caught"]
    else:
        # The same number from every folder, so that the drawing code's many constants do not
        # crowd out the logic's few comparisons.
        rng, chosen, by_folder = random.Random(args.seed), [], {}
        for site in sites():
            by_folder.setdefault(str(Path(site[0]).parent), []).append(site)
        for folder in sorted(by_folder):
            chosen += rng.sample(by_folder[folder], min(args.count, len(by_folder[folder])))
        chosen = [(site, None) for site in sorted(chosen)]
    if args.list:
        for s, _ in chosen:
            print(f"{s[0]}:{s[1]}: {s[3].strip()!r} -> {s[4]!r}")
        return 0

    tests = suite(args.build)
    results = []
    for site, line_text in chosen:
        before = stamps(tests)
        line = line_text or (ROOT / site[0]).read_text().splitlines()[site[1] - 1]
        try:
            original = apply(site, line_text)
        except LookupError as gone:
            print(f"gone        {gone}", flush=True)
            results.append({"site": list(site), "line": line, "result": "gone"})
            continue
        began = time.monotonic()
        ran = None
        try:
            built = run(["cmake", "--build", args.build, "-j2"], 1800)
            if built is None or built.returncode != 0:
                result = "unbuildable"
            else:
                after = stamps(tests)
                seeing = [str(n) for n, files in tests if any(after.get(f) != before.get(f) for f in files)]
                if not seeing:
                    result = "missed"
                else:
                    ran = run(["ctest", "--test-dir", args.build, "-j2", "--stop-on-failure", "-E", EXCLUDE,
                               "-I", "0,0,0," + ",".join(seeing)], 3600, ENV)
                    result = "caught" if ran is None or ran.returncode != 0 else "missed"
        finally:
            (ROOT / site[0]).write_text(original)
        row = {"site": list(site), "line": line, "result": result, "seconds": round(time.monotonic() - began)}
        if result == "caught" and ran is not None:
            row["by"] = [l.strip() for l in ran.stdout.splitlines() if "(Failed)" in l or "(Timeout)" in l][:3]
        results.append(row)
        print(f"{result:11} {site[0]}:{site[1]}: {site[3].strip()!r} -> {site[4]!r}", flush=True)
        Path(args.out).write_text(json.dumps(results, indent=1))

    counted = [r for r in results if r["result"] in ("caught", "missed")]
    caught = sum(r["result"] == "caught" for r in counted)
    print(f"{caught} of {len(counted)} faults caught ({len(results) - len(counted)} did not build or are gone)")
    # Put the build back in step with the restored tree.
    run(["cmake", "--build", args.build, "-j2"], 1800)
    return 0


if __name__ == "__main__":
    sys.exit(main())
