#!/usr/bin/env python3
"""Holds the tables of floors and rooms in CONTRIBUTING.md against the build files. Exit status 1 and the differing
lines when they don't agree."""
import re
import sys


def built():
    floors = {}
    with open("CMakeLists.txt") as file:
        for name, uses in re.findall(r"^add_floor\((\w+)(?: USES ([\w ]+))?\)", file.read(), re.M):
            floors[name] = uses
    for name, target in (("ui", "hq_ui"), ("cli", "hivequarry-cli"),
                         ("library", r"\${target}")):
        with open(f"{name}/CMakeLists.txt") as file:
            links = re.search(rf"target_link_libraries\({target} ([^)]*)\)", file.read())[1]
        floors[name] = " ".join(w[3:] for w in links.split()
                                if w.startswith("hq_") and w != "hq_flags" and not w.startswith("hq_ui_"))
    with open("ui/CMakeLists.txt") as file:
        for name, uses in re.findall(r"^add_room\((\w+)(?: USES ([\w ]+))?\)", file.read(), re.M):
            floors["ui/" + name] = uses
    return floors


def written():
    with open("CONTRIBUTING.md") as file:
        rows = re.findall(r"^\| ([\w/]+) \|([\w ]*)\| [^|]* \|$", file.read(), re.M)
    return {name: uses.strip() for name, uses in rows if name not in ("floor", "room")}


one, other = built(), written()
for floor in sorted(one.keys() | other.keys()):
    if one.get(floor) != other.get(floor):
        print(f"{floor}: built with '{one.get(floor)}', CONTRIBUTING.md has '{other.get(floor)}'", file=sys.stderr)
sys.exit(one != other)
