"""How fast a tree is removed: a whole cleanup (guard, tree verdict, measurement, removal, receipt) beside rm -rf.

Each round makes the same tree twice, syncs, and removes one with each program; who begins alternates. Brindle's bytes
must be du's, and nothing may be left, or the bench fails. On disk and, where there is one, on a memory file system.
"""

import argparse
import os
import shutil
import statistics
import sys
import tempfile

import measure
import trees

MEMORY = "/dev/shm"
RM, BRINDLE = "rm -rf", "brindle"
PROGRAM = "bench_remove"


def make(folder, files):
    """A home with a tree of small packages where caches lie; its path and the tree's."""
    home = os.path.realpath(tempfile.mkdtemp(prefix="brindle-bench-", dir=folder))
    tree = f"{home}/.cache/packages"
    trees.packages(tree, files)
    return home, tree


def commands(program, home, tree):
    return {RM: ["rm", "-rf", tree], BRINDLE: [program, home, tree]}


def removed(name, program, folder, files, counts):
    """Seconds of one removal, and the calls an entry when they are counted."""
    home, tree = make(folder, files)
    total = measure.du_bytes(measure.run(measure.du_of(tree))[2])
    entries = measure.entries_of(tree)
    os.sync()
    command = commands(program, home, tree)[name]
    calls = None
    if counts:
        calls, seconds = measure.system_calls(command), None
    else:
        seconds, _, text = measure.run(command)
        if name == BRINDLE and int(text) != total:
            sys.exit(f"bench: {text.strip()} bytes freed, du says {total}")
    if os.path.lexists(tree):
        sys.exit(f"bench: {name} left something behind")
    shutil.rmtree(home)
    return seconds, calls and [count / entries for count in calls]


def row(place, folder, options, program):
    """The median of the rounds' ratios; both runs of one round lie next to each other in time."""
    seconds = {RM: [], BRINDLE: []}
    for number in range(options.rounds):
        for name in (RM, BRINDLE) if number % 2 == 0 else (BRINDLE, RM):
            seconds[name].append(removed(name, program, folder, options.files, False)[0])
    for name, own in seconds.items():
        ratio = statistics.median(one / other for one, other in zip(own, seconds[RM]))
        calls = removed(name, program, folder, options.files, True)[1] if options.counts_calls else None
        shown = " | ".join(f"{count:.2f}" for count in calls) if calls else "– | –"
        print(f"| {place} | {name} | {statistics.median(own):.3f} | {ratio:.2f} | {shown} |", flush=True)


def parsed(arguments):
    parser = argparse.ArgumentParser(prog="dev bench remove", description=__doc__)
    parser.add_argument("--brindle", required=True, help="the program; the bench's own lies beside it")
    parser.add_argument("--folder", required=True, help="where the trees lie")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--files", type=int, default=100_000)
    parser.add_argument("--no-calls", action="store_true", help="do not count system calls")
    parser.add_argument("places", nargs="*", help="of disk, memory; both without")
    options = parser.parse_args(arguments)
    if unknown := set(options.places) - {"disk", "memory"}:
        parser.error(f"no such place: {', '.join(sorted(unknown))}")
    options.counts_calls = not options.no_calls and shutil.which("strace")
    return options


def main(arguments):
    options = parsed(arguments)
    program = os.path.join(os.path.dirname(options.brindle), PROGRAM)
    places = {"disk": options.folder, "memory": MEMORY if os.access(MEMORY, os.W_OK) else None}
    print("| place | program | seconds | over rm | calls an entry | status calls |\n|---|---|--:|--:|--:|--:|")
    for place in options.places or places:
        if places[place]:
            row(place, places[place], options, program)
        else:
            print(f"bench: no {place} file system here", file=sys.stderr)


if __name__ == "__main__":
    main(sys.argv[1:])
