"""How fast duplicates are found: beside jdupes, rmlint, rdfind and fdupes on the same tree, in turn.

Every program runs once unmeasured (warm) or after the system's caches were dropped (--cold, as root). A ratio is that of
one round over jdupes, which compares bytes; the others compare digests (rmlint and rdfind SHA-256) or bytes; the median is
shown. The groups must be the peers' but for what Brindle leaves alone, or the bench fails. --many compares a tree of a tenth
of so many files with one of all: time and memory.
"""

import argparse
import json
import os
import shutil
import statistics
import sys
import tempfile

import duplicate_trees
import measure

BRINDLE, BASE = "brindle", "jdupes"
LEFT_ALONE = ("/node_modules/", "/project/")
MOST_SECONDS_OVER_A_TENTH = 11
MOST_MIB_OF_MANY = 400


def programs(brindle, home, results):
    """Name -> command line, of those that are here; Brindle comes last because the others warm the tree, too."""
    tree = f"{home}/tree"
    commands = {BASE: ["jdupes", "-r", "-q", tree],
                "rmlint": ["rmlint", "-a", "sha256", "-T", "df", "-o", "json:stdout", tree],
                "rdfind": ["rdfind", "-checksum", "sha256", "-dryrun", "true", "-outputname", results, tree],
                "fdupes": ["fdupes", "-r", "-q", "-n", tree]}
    found = {name: command for name, command in commands.items() if shutil.which(name)}
    for name in commands.keys() - found.keys():
        print(f"bench: {name} is not here", file=sys.stderr)
    return found | {BRINDLE: [brindle, "duplicates", "--home", home, tree, "--json"]}


def is_left_alone(path):
    return any(part in path for part in LEFT_ALONE) or path.endswith(".json") or os.path.basename(path).startswith(".")


def rdfind_groups(results):
    """A line a file: kind, number, depth, size, device, inode, priority, name; copies have the first one's number with a
    minus before it."""
    groups = {}
    with open(results, encoding="utf-8") as lines:
        for line in lines:
            if not line.startswith("#"):
                fields = line.rstrip("\n").split(" ", 7)
                groups.setdefault(abs(int(fields[1])), []).append(fields[7])
    return groups.values()


def groups_of(name, text, results):
    """What a program found, as sets of paths, without what Brindle leaves alone."""
    if name == BRINDLE:
        groups = ([file["path"] for file in group["files"]] for group in json.loads(text)["groups"])
    elif name == "rmlint":
        by_checksum = {}
        for entry in json.loads(text):
            if entry.get("type") == "duplicate_file":
                by_checksum.setdefault(entry["checksum"], []).append(entry["path"])
        groups = by_checksum.values()
    elif name == "rdfind":
        groups = rdfind_groups(results)
    else:
        groups = (block.splitlines() for block in text.split("\n\n"))
    kept = (frozenset(path for path in group if path and not is_left_alone(path)) for group in groups)
    return {group for group in kept if len(group) > 1}


def measured(commands, rounds, is_cold, results):
    """A row for each program, and what each found; the one that begins changes from round to round."""
    rows = {name: measure.Row() for name in commands}
    if not is_cold:
        for command in commands.values():
            measure.run(command)
    names = list(commands)
    for number in range(rounds):
        for name in names[number % len(names):] + names[:number % len(names)]:
            if is_cold:
                measure.drop_caches()
            seconds, peak, text = measure.run(commands[name])
            rows[name].seconds.append(seconds)
            rows[name].peak = max(rows[name].peak, peak)
            rows[name].total = groups_of(name, text, results)
    return rows


def report(kind, rows):
    """Whether all agree with Brindle."""
    agree = True
    base = rows.get(BASE, rows[BRINDLE])
    for name, row in rows.items():
        ratio = statistics.median(own / other for own, other in zip(row.seconds, base.seconds))
        is_same = row.total == rows[BRINDLE].total
        agree &= is_same
        print(f"| {kind} | {name} | {statistics.median(row.seconds):.3f} | {ratio:.2f} | {row.peak / 1024:.1f} | "
              f"{len(row.total)} | {'same' if is_same else 'differs'} |", flush=True)
    return agree


def compare(options):
    total = (64 << 20) if options.small else (4 << 30)
    home = duplicate_trees.kept(
        f"{options.folder}/duplicates-{total >> 20}-{duplicate_trees.EDITION}",
        lambda tree: duplicate_trees.mixed(tree, total))
    print("| caches | program | seconds | over jdupes | peak MiB | groups | result |\n|---|---|--:|--:|--:|--:|---|")
    agree = True
    with tempfile.TemporaryDirectory() as folder:
        commands = programs(options.brindle, home, f"{folder}/results")
        agree &= report("warm", measured(commands, options.rounds, False, f"{folder}/results"))
        if options.cold:
            agree &= report("cold", measured(commands, min(options.rounds, 3), True, f"{folder}/results"))
    if not agree:
        sys.exit("bench: the programs do not agree on what is identical")


def compare_many(options):
    """Nothing may grow faster than the number of files."""
    print("| files | seconds | peak MiB | groups |\n|--:|--:|--:|--:|")
    seconds, peak = {}, 0
    for count in (options.many // 10, options.many):
        home = duplicate_trees.kept(f"{options.folder}/duplicates-many-{count}-{duplicate_trees.EDITION}",
                                    lambda tree, files=count: duplicate_trees.many(tree, files))
        command = programs(options.brindle, home, "")[BRINDLE]
        row = measured({BRINDLE: command}, options.rounds, False, "")[BRINDLE]
        seconds[count], peak = statistics.median(row.seconds), row.peak / 1024
        print(f"| {count:,} | {seconds[count]:.3f} | {peak:.1f} | {len(row.total):,} |", flush=True)
    growth = seconds[options.many] / seconds[options.many // 10]
    print(f"\nTen times the files take {growth:.1f} times as long.")
    if growth > MOST_SECONDS_OVER_A_TENTH or peak > MOST_MIB_OF_MANY:
        sys.exit(f"bench: more than {MOST_SECONDS_OVER_A_TENTH} times as long, or than {MOST_MIB_OF_MANY} MiB")


def parsed(arguments):
    parser = argparse.ArgumentParser(prog="dev bench duplicates", description=__doc__)
    parser.add_argument("--brindle", required=True, help="the program to measure")
    parser.add_argument("--folder", required=True, help="where the trees lie")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--cold", action="store_true", help="also with the system's caches dropped (as root)")
    parser.add_argument("--small", action="store_true", help="a small tree: whether it works, not how fast")
    parser.add_argument("--many", type=int, default=0, help="instead: so many small files beside a tenth of them")
    options = parser.parse_args(arguments)
    if options.cold and not os.access("/proc/sys/vm/drop_caches", os.W_OK):
        parser.error("--cold needs to write /proc/sys/vm/drop_caches: run it as root")
    if not measure.TIME:
        sys.exit("bench: needs GNU time, which this machine lacks")
    options.folder = os.path.realpath(options.folder)
    return options


def main(arguments):
    options = parsed(arguments)
    if options.many:
        compare_many(options)
    else:
        compare(options)


if __name__ == "__main__":
    main(sys.argv[1:])
