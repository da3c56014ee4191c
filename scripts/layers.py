#!/usr/bin/env python3
"""Prints the folder graph of src/ (which layer includes which, and how often) and exits 1 when the
graph has a cycle or a folder includes one that its row in LAYERS does not allow.

The build already keeps a library off the include paths of the layers above it; this catches what a
build cannot see: a link added between two libraries that closes a circle."""
import pathlib
import re
import sys

# Lowest first. Each folder may include itself and the folders listed for it (and, through them,
# nothing else: the list is the whole of what it may name). Keep HACKING.md's table the same.
LAYERS = {
    "base": [],
    "async": ["base"],
    "providers": ["base", "async"],
    "model": ["base", "async", "providers"],
    "web": ["base", "async", "providers", "model"],
    "ui/common": ["base", "async"],
    "ui/gauges": ["base", "async", "ui/common"],
    "ui/support": ["base", "async", "ui/common"],
    "ui/panel": ["base", "async", "providers", "model", "ui/common", "ui/gauges", "ui/support"],
    "tray": ["base", "async", "providers", "model", "ui/common"],
    "app": ["base", "async", "providers", "model", "web", "ui/common", "ui/gauges", "ui/support", "ui/panel",
            "tray"],
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def folder_of(path: str):
    """The layer a path inside src/ belongs to: the longest LAYERS key it starts with."""
    best = None
    for layer in LAYERS:
        if path == layer or path.startswith(layer + "/"):
            if best is None or len(layer) > len(best):
                best = layer
    return best


def main() -> int:
    root = pathlib.Path(__file__).resolve().parent.parent / "src"
    edges: dict[tuple[str, str], int] = {}
    problems = []
    for f in sorted(root.rglob("*")):
        if f.suffix not in (".h", ".cpp", ".in") or not f.is_file():
            continue
        rel = f.relative_to(root).as_posix()
        src = folder_of(rel)
        if src is None:
            problems.append(f"{rel}: not in any layer")
            continue
        for inc in INCLUDE.findall(f.read_text(encoding="utf-8")):
            dst = folder_of(inc)
            if dst is None or dst == src:
                continue  # a generated header of the folder itself, or a same-folder include
            edges[(src, dst)] = edges.get((src, dst), 0) + 1
            if dst not in LAYERS[src]:
                problems.append(f"{rel}: includes {inc}, but {src} may not use {dst}")

    print("Folder graph of src/ (folder -> what it includes: number of include lines)")
    for layer in LAYERS:
        outs = [f"{dst} {n}" for (s, dst), n in sorted(edges.items()) if s == layer]
        print(f"  {layer:<11} -> {', '.join(outs) if outs else '(nothing of ours)'}")

    # Depth-first search for a cycle among the edges actually present.
    graph: dict[str, list[str]] = {}
    for (s, d) in edges:
        graph.setdefault(s, []).append(d)
    state: dict[str, int] = {}
    stack: list[str] = []

    def visit(node: str):
        state[node] = 1
        stack.append(node)
        for nxt in graph.get(node, []):
            if state.get(nxt) == 1:
                return stack[stack.index(nxt):] + [nxt]
            if state.get(nxt) is None:
                found = visit(nxt)
                if found:
                    return found
        stack.pop()
        state[node] = 2
        return None

    for node in LAYERS:
        if state.get(node) is None:
            cycle = visit(node)
            if cycle:
                problems.append("cycle: " + " -> ".join(cycle))
                break

    if problems:
        print("\nLayer problems:")
        for p in problems:
            print("  " + p)
        return 1
    print("\nNo cycle; every include follows the layer table.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
