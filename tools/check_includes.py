#!/usr/bin/env python3
"""Checks that every file includes only what its layer may know.

Dependencies run downwards: base < platform < model < rooms < runtime < producers < core. Rooms of one
layer don't know each other, but for those named in SIDEWAYS. Backends and the shared fakes see
platform and base alone; what a host includes needs nothing but the standard library. The collector
shares no code with the library that it checks; examples know what hosts know, and their own files.
Benchmarks and fuzzers may look into any room.
"""
import re
import sys
from pathlib import Path

LAYERS = [
    ["base"],
    ["platform"],
    ["model"],
    ["screens", "structure", "redaction", "delivery", "control", "identity", "events"],
    ["runtime"],
    ["capture", "links", "push", "network", "crash", "replay"],
    ["core"],
]
SIDEWAYS = {"structure": {"redaction"}}
# Libraries that one place hides from the rest of the house.
HIDDEN = {
    "rapidjson/": ("src/base/", "collector/"),
    "sqlite3.h": ("src/base/", "collector/server/database", "bench/store_floor", "tests/support/"),
    "httplib.h": ("collector/", "examples/"),
    "pcre2.h": ("src/base/", "src/redaction/"),
    "curl/": ("backends/desktop/", "tests/support/", "examples/"),
    "openssl/": ("backends/desktop/", "collector/server/digest", "collector/server/base64"),
    "linux/": "backends/desktop/",
    "Q": ("backends/qt/", "examples/pocket_shop/", "bench/"),  # Qt
}
LEVEL = {room: level for level, rooms in enumerate(LAYERS) for room in rooms}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def allowed(path, quoted, target):
    """Whether the file at `path` may include `target`."""
    top, folder = target.split("/")[0], path.parts[:2]
    if folder == ("include", "zarn"):
        if not quoted and target == "curl/curl.h":
            return path.name == "curl.h"  # for hosts with a libcurl of their own
        return top == "zarn" if quoted else re.fullmatch(r"[a-z_]+", target) is not None
    if not quoted:
        homes = [home for prefix, home in HIDDEN.items() if target.startswith(prefix)]
        return all(path.as_posix().startswith(home) for home in homes)
    if path.parts[0] == "collector":
        return top == "server"
    if top == "zarn":
        return True
    if path.parts[0] == "src":
        room = path.parts[1]
        below = LEVEL.get(top, len(LAYERS)) < LEVEL.get(room, 0)
        return top == room or below or top in SIDEWAYS.get(room, ())
    if path.parts[0] == "backends":
        return top in ("base", "platform", path.parts[1])
    if path.parts[0] == "examples":
        return "/" not in target
    if path.parts[0] in ("bench", "fuzz"):
        return "/" not in target or top in LEVEL or top in ("desktop", "qt", "support")
    return top in ("base", "platform", "support")  # tests/support


def main():
    problems = []
    for folder in ("include/zarn", "src", "backends", "tests/support", "collector/server",
                   "examples", "bench", "fuzz"):
        for path in sorted(Path(folder).rglob("*")):
            if path.suffix not in (".h", ".cc"):
                continue
            text = path.read_text(encoding="utf-8")
            for match in INCLUDE.finditer(text):
                if not allowed(path, match[1] == '"', match[2]):
                    line = text.count("\n", 0, match.start(2)) + 1
                    problems.append(f"{path}:{line}: may not include {match[2]}")
    print("\n".join(problems) or "Every include keeps to its layer.")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
