"""How fast projects are found and measured: beside the bare walk of the same tree, and beside find with du, in turn.

A ratio is that of one round over the bare walk, the median over the rounds is shown. Each project and each of its
generated folders must measure what du says of it, and find must find no other ones, or the bench fails. Status calls
of Brindle are its own, without those of the Git it starts. Peak memory is that of the largest process.
"""

import json
import os
import re
import shlex
import shutil
import statistics
import subprocess
import sys
import tempfile

import measure
import project_trees

WALK, PROJECTS, PIPELINE = "bare walk", "brindle projects", "find and du"
SHOWN_DIFFERENCES = 10


def programs(brindle, home, tree, generated):
    """Name -> command line; the bare walk comes first because the others are compared with it."""
    names = " -o ".join(f"-name {shlex.quote(name)}" for name in generated)
    *du, _ = measure.du_of(tree)
    pipeline = f"find {shlex.quote(tree)} -type d \\( {names} \\) -prune -print0 | xargs -0 {shlex.join(du)}"
    return {WALK: measure.programs(brindle, home, tree)["brindle"],
            PROJECTS: [brindle, "projects", "--home", home, "--json"],
            PIPELINE: ["sh", "-c", pipeline]}


def artifacts_of(document):
    return [artifact for project in document["projects"] for artifact in project["artifacts"]]


def allocated(found):
    return found["measurement"]["allocatedBytes"]


def total_bytes(name, text):
    """Of the generated folders; the bare walk's is that of the tree."""
    if name == PIPELINE:
        return measure.du_bytes(text)
    if name == PROJECTS:
        return sum(map(allocated, artifacts_of(json.loads(text))))
    return measure.total_bytes(name, text)


def du_total(path):
    return measure.du_bytes(measure.run(measure.du_of(path))[2])


def differences(document, tree):
    """What is not as it lies in the tree, in sentences."""
    made = {entry.path for entry in os.scandir(tree)}
    told = {project["path"] for project in document["projects"]}
    for path in sorted(made ^ told):
        yield f"{path} is {'not found' if path in made else 'no project'}"
    for found in document["projects"] + artifacts_of(document):
        du = du_total(found["path"])
        if not measure.agrees_with(allocated(found), du):
            yield f"{found['path']}: {allocated(found)} bytes told, {du} by du"


def is_right(document, tree):
    found = list(differences(document, tree))
    for sentence in found[:SHOWN_DIFFERENCES]:
        print(f"bench: {sentence}", file=sys.stderr)
    if len(found) > SHOWN_DIFFERENCES:
        print(f"bench: and {len(found) - SHOWN_DIFFERENCES} more", file=sys.stderr)
    return not found


def own_status_calls(command):
    """Those of the program itself: its children, known by their name, are left out."""
    own = re.escape(os.path.basename(command[0])[:15])
    traced = ",".join(f"?{call}" for call in sorted(measure.STATUS_CALLS))
    with tempfile.NamedTemporaryFile("r", errors="replace") as trace:
        strace = ["strace", "-f", "-Y", "-e", f"trace={traced}", "-o", trace.name, *command]
        if subprocess.run(strace, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode != 0:
            return None
        begun = re.compile(rf"\d+<{own}> +\w+\(")
        return sum(1 for line in trace if begun.match(line))


def status_calls(commands):
    every = measure.system_calls(commands[PIPELINE])
    return {WALK: own_status_calls(commands[WALK]), PROJECTS: own_status_calls(commands[PROJECTS]),
            PIPELINE: every and every[1]}


def report(tree_name, kind, rows, calls, entries):
    for name, row in rows.items():
        ratios = [own / walk for own, walk in zip(row.seconds, rows[WALK].seconds)]
        per_entry = f"{calls[name] / entries:.2f}" if calls.get(name) else "–"
        print(f"| {tree_name} | {kind} | {name} | {statistics.median(row.seconds):.3f} | "
              f"{statistics.median(ratios):.2f} | {row.peak / 1024:.1f} | {per_entry} |", flush=True)


def totals_agree(rows, tree):
    """The bare walk saw all of the tree, and find found the generated folders that Brindle found."""
    pairs = {"in the tree": (rows[WALK].total, du_total(tree)),
             "in generated folders": (rows[PROJECTS].total, rows[PIPELINE].total)}
    wrong = {where: pair for where, pair in pairs.items() if not measure.agrees_with(*pair)}
    for where, (told, du) in wrong.items():
        print(f"bench: {tree}: {told} bytes told {where}, {du} by du", file=sys.stderr)
    return not wrong


def stage_times(brindle, home):
    """Stage -> milliseconds of the project stages of one scan; empty where the program does not tell."""
    told = subprocess.run([brindle, "scan", "--home", home, "--only", "projects", "--timings"], text=True, check=False,
                          env=os.environ | {"LC_ALL": "C"}, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    stages = re.findall(r"^(projects(?:\.\w+)?): ([\d,]+) ms$", told, re.MULTILINE)
    return {stage: int(number.replace(",", "")) for stage, number in stages}


def report_stages(tree_name, times):
    """The parts add up what was done side by side, so Git's share is one of the parts and not of the whole."""
    print(f"\n{tree_name}: " + (", ".join(f"{stage} {time} ms" for stage, time in times.items()) or "no stage is told"))
    parts = sum(time for stage, time in times.items() if stage != "projects")
    if "projects.git" in times and parts > times["projects.git"]:
        print(f"{tree_name}: {100 * times['projects.git'] / parts:.0f} % of the parts' time is Git's")


def measure_tree(name, options):
    """The rows of one tree; whether all numbers are right."""
    home, tree = project_trees.prepare(options.folder, name, options.small)
    subprocess.run([options.brindle, "settings", "project-roots", project_trees.ROOT, "--home", home], check=True,
                   stdout=subprocess.DEVNULL)
    commands = programs(options.brindle, home, tree, project_trees.GENERATED[name])
    right = is_right(json.loads(measure.run(commands[PROJECTS])[2]), tree)
    entries = measure.entries_of(tree)
    calls = status_calls(commands) if options.counts_calls else {}
    for kind, rounds in ("warm", options.rounds), ("cold", min(options.rounds, 3)):
        if kind == "warm" or options.cold:
            rows = measure.measure(commands, rounds, kind == "cold", total_bytes)
            report(name, kind, rows, calls if kind == "warm" else {}, entries)
            right &= totals_agree(rows, tree)
    return right


def main(arguments):
    options = measure.parsed(arguments, "projects", __doc__, project_trees.TREES)
    options.folder = os.path.realpath(options.folder)  # projects are told with links resolved
    if "mixed" in options.trees and not shutil.which("git"):
        sys.exit("bench: needs git, which this machine lacks")
    print("| tree | caches | program | seconds | over the walk | peak MiB | status calls an entry |")
    print("|---|---|---|--:|--:|--:|--:|")
    right = True
    for name in options.trees:
        right &= measure_tree(name, options)
    if "mixed" in options.trees:
        home, _ = project_trees.prepare(options.folder, "mixed", options.small)
        report_stages("mixed", stage_times(options.brindle, home))
    if not right:
        sys.exit("bench: a size differs from du's, or the projects from those that lie there")


if __name__ == "__main__":
    main(sys.argv[1:])
