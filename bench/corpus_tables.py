#!/usr/bin/env python3
"""corpus_tables.py decoders|check CLI FOLDER: what the real hives of a folder give, as tables.

decoders: of each decoder the rows, by state, and the hives that have any.
check:    of each hive the faults and oddities by code.
The folder's FACTS.tsv says of what kind each file is.
"""
import collections
import csv
import json
import os
import re
import subprocess
import sys

kind, cli, folder = sys.argv[1:]


def rows_of(*command):
    done = subprocess.run([cli, "--quiet", "--format", "jsonl", *command],
                          stdin=subprocess.DEVNULL, capture_output=True, check=False)
    return [json.loads(line) for line in done.stdout.splitlines()]


def hives():
    with open(os.path.join(folder, "FACTS.tsv"), encoding="utf-8") as facts:
        return [(row["file"], row["kind"]) for row in csv.DictReader(facts, delimiter="\t")
                if os.path.isfile(os.path.join(folder, row["file"]))]


def decoder_names():
    table = open("evidence/decoder_table.h", encoding="utf-8").read()
    return re.findall(r'^    \{"([a-z-]+)",', table, re.MULTILINE)


def table_of_decoders():
    print("| decoder | rows | live | recovered, freed, of before the logs | with a note | hives |")
    print("|:---|---:|---:|---:|---:|:---|")
    for name in decoder_names():
        states, found, notes = collections.Counter(), [], 0
        for hive, _ in hives():
            rows = rows_of("report", name, os.path.join(folder, hive))
            states.update(row.get("State", "") for row in rows)
            notes += sum(1 for row in rows if row.get("Note"))
            found += [f"{hive} {len(rows)}"] if rows else []
        total = sum(states.values())
        seen = ", ".join(found) or "none: on hives made for it alone"
        print(f"| {name} | {total} | {states['live']} | {total - states['live']} | {notes} | {seen} |")


def codes_of(rows, level):
    counts = collections.Counter()
    for row in rows:
        if row["Level"] == level:
            # Cells that nothing names have one row, which says how many they are.
            many = re.match(r"([\d,]+) cells", row.get("Found", "")) if row["Code"] == "X1" else None
            counts[row["Code"]] += int(many.group(1).replace(",", "")) if many else 1
    return ", ".join(f"{code} {count}" for code, count in sorted(counts.items()))


def table_of_check():
    print("| hive | kind | faults | oddities |")
    print("|:---|:---|:---|:---|")
    quiet = collections.Counter()
    for hive, sort in hives():
        rows = rows_of("check", os.path.join(folder, hive))
        faults, oddities = codes_of(rows, "F"), codes_of(rows, "W")
        if faults or oddities:
            print(f"| {hive} | {sort} | {faults or '-'} | {oddities or '-'} |")
        else:
            quiet[sort] += 1
    for sort, count in quiet.items():
        print(f"| {count} others | {sort} | - | - |")


{"decoders": table_of_decoders, "check": table_of_check}[kind]()
