"""How fast a home is measured: the whole program beside du and gdu, on the same tree, in turn.

Every program runs once unmeasured (warm) or after the system's caches were dropped (cold, as root). A ratio is that
of one round, the median over the rounds is shown. Sums must agree with du's to the byte (to the KiB where du is not
GNU's), or the bench fails. Needs GNU time and GNU find.
"""

import argparse
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import trees

STATUS_CALLS = {"newfstatat", "fstat", "fstatat64", "statx", "stat", "lstat"}


def gnu_tool(name):
    """The GNU program of this name, by its own or Homebrew's, as a path; None where there is only another's, or none.
    As a path because the shells' own time is no program."""
    for path in filter(None, (shutil.which(name), shutil.which(f"g{name}"))):
        told = subprocess.run([path, "--version"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        if b"GNU" in told.stdout:
            return path
    return None


TIME, FIND, DU = (gnu_tool(name) for name in ("time", "find", "du"))
DU_UNIT = 1 if DU else 1024


def du_of(path):
    return [DU, "-s", "-B1", path] if DU else ["du", "-s", "-k", path]


def du_bytes(text):
    return sum(int(line.split()[0]) * DU_UNIT for line in text.splitlines())


def programs(brindle, home, tree):
    """Name -> command line; du comes first because the others are compared with it."""
    found = {"du": du_of(tree)}
    if shutil.which("gdu"):
        found["gdu"] = ["gdu", "-n", "-p", "-c", "-s", "--no-prefix", tree]
    found["brindle"] = [brindle, "scan", "--home", home, "--only", "rust", "--no-projects", "--json"]
    return found


def run(command):
    """Seconds, peak memory in KiB, output. GNU time starts the program: a child of this one would count its memory."""
    with tempfile.TemporaryFile() as output, tempfile.NamedTemporaryFile("r") as usage:
        timed = [TIME, "-f", "%M", "-o", usage.name, *command]
        start = time.perf_counter()
        ended = subprocess.run(timed, stdout=output, stderr=subprocess.DEVNULL, check=False)
        seconds = time.perf_counter() - start
        output.seek(0)
        text = output.read().decode()
        peak = usage.read().split()
    if ended.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} ended with {ended.returncode}")
    return seconds, int(peak[-1]), text


def total_bytes(name, text):
    """What the program says the tree occupies; absent where it cannot be told to the byte."""
    if name == "du":
        return du_bytes(text)
    if name == "gdu":
        found = re.search(r"\d+", text)
        return int(found.group()) if found else None
    return sum(module["totalBytes"] for module in json.loads(text)["modules"])


def agrees_with(total, du_total):
    """du rounds up to its unit."""
    return total is not None and -(-total // DU_UNIT) * DU_UNIT == du_total


def drop_caches():
    os.sync()
    with open("/proc/sys/vm/drop_caches", "w", encoding="ascii") as control:
        control.write("3")


def system_calls(command):
    """All calls and status calls of one run, threads included."""
    with tempfile.NamedTemporaryFile("r") as summary:
        traced = ["strace", "-f", "-c", "-o", summary.name, *command]
        if subprocess.run(traced, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode != 0:
            return None
        every = status = 0
        for line in summary:
            fields = line.split()
            if len(fields) < 5 or not fields[3].isdigit() or fields[-1] == "total":
                continue
            every += int(fields[3])
            status += int(fields[3]) if fields[-1] in STATUS_CALLS else 0
        return every, status


def entries_of(tree):
    listing = subprocess.run([FIND, tree, "-printf", "."], capture_output=True, check=True)
    return len(listing.stdout)


class Row:
    """One program on one tree, warm or cold."""

    def __init__(self):
        self.seconds = []
        self.peak = 0
        self.total = None


def measure(commands, rounds, is_cold, total_of=total_bytes):
    """A row for each program; `total_of` reads a total from a program's name and output."""
    rows = {name: Row() for name in commands}
    if not is_cold:
        for command in commands.values():
            run(command)
    for _ in range(rounds):
        for name, command in commands.items():
            if is_cold:
                drop_caches()
            seconds, peak, text = run(command)
            rows[name].seconds.append(seconds)
            rows[name].peak = max(rows[name].peak, peak)
            rows[name].total = total_of(name, text)
    return rows


def report(tree_name, kind, rows, calls, entries):
    wrong = False
    for name, row in rows.items():
        ratios = [own / du for own, du in zip(row.seconds, rows["du"].seconds)]
        agrees = agrees_with(row.total, rows["du"].total)
        wrong |= name == "brindle" and not agrees
        per_entry = " | ".join(f"{count / entries:.2f}" for count in calls[name]) if calls.get(name) else "– | –"
        print(f"| {tree_name} | {kind} | {name} | {statistics.median(row.seconds):.3f} | "
              f"{statistics.median(ratios):.2f} | {row.peak / 1024:.1f} | {per_entry} | "
              f"{'same' if agrees else 'differs'} |", flush=True)
    return wrong


def parsed(arguments, bench, description, tree_names):
    """What every bench on trees is told, and whether the machine has what it needs."""
    parser = argparse.ArgumentParser(prog=f"dev bench {bench}", description=description)
    parser.add_argument("--brindle", required=True, help="the program to measure")
    parser.add_argument("--folder", required=True, help="where the trees lie")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--cold", action="store_true", help="also with the system's caches dropped (as root)")
    parser.add_argument("--no-calls", action="store_true", help="do not count system calls")
    parser.add_argument("--small", action="store_true", help="small trees: whether it works, not how fast")
    parser.add_argument("trees", nargs="*", help=f"of {', '.join(tree_names)}; all without")
    options = parser.parse_args(arguments)
    if unknown := set(options.trees) - set(tree_names):
        parser.error(f"no such tree: {', '.join(sorted(unknown))}")
    if options.cold and not os.access("/proc/sys/vm/drop_caches", os.W_OK):
        parser.error("--cold needs to write /proc/sys/vm/drop_caches: run it as root")
    for tool, path in (("time", TIME), ("find", FIND)):
        if not path:
            sys.exit(f"bench: needs GNU {tool}, which this machine lacks")
    options.trees = options.trees or list(tree_names)
    options.counts_calls = not options.no_calls and shutil.which("strace")
    return options


def main(arguments):
    options = parsed(arguments, "measure", __doc__, trees.TREES)
    print("| tree | caches | program | seconds | over du | peak MiB | calls an entry | status calls | total |")
    print("|---|---|---|--:|--:|--:|--:|--:|---|")
    wrong = False
    for name in options.trees:
        home, tree = trees.prepare(options.folder, name, options.small)
        commands = programs(options.brindle, home, tree)
        entries = entries_of(tree)
        counted = commands if options.counts_calls else {}
        calls = {program: system_calls(command) for program, command in counted.items()}
        wrong |= report(name, "warm", measure(commands, options.rounds, False), calls, entries)
        if options.cold:
            wrong |= report(name, "cold", measure(commands, min(options.rounds, 3), True), {}, entries)
    if wrong:
        sys.exit("bench: a total differs from du's")


if __name__ == "__main__":
    main(sys.argv[1:])
