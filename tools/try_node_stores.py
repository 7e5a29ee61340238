#!/usr/bin/env python3
"""Fills real package stores with the real tools and checks what Brindle says of them.

Installs pnpm, Yarn and Bun from the npm registry into a temporary folder, lets them and npm install small packages in
a temporary home, and compares the report of `brindle scan --only node` with what lies there, before and after one of
two projects that share pnpm's store is deleted, and with what the tools' own commands then free. Prints what it sees;
the status is 1 when anything does not match. Needs node, npm and the network; takes about a minute a version of pnpm.

    tools/try_node_stores.py [--brindle PROGRAM] [--pnpm VERSION ...] [--keep]
"""

import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROJECTS = {
    "first": {"lodash": "4.17.21", "left-pad": "1.3.0"},
    "second": {"lodash": "4.17.21", "react": "18.2.0"},
}
FOREIGN = ("XDG_", "PNPM_", "YARN_", "BUN_", "npm_config_", "NPM_CONFIG_", "pnpm_config_")


class Trial:
    def __init__(self, folder, brindle):
        self.home = folder / "home"
        self.brindle = brindle
        self.mismatches = 0
        self.bin = self.home / ".local/bin"
        self.bin.mkdir(parents=True)
        kept = {name: value for name, value in os.environ.items() if not name.startswith(FOREIGN)}
        self.environment = kept | {"HOME": str(self.home), "PATH": f"{self.bin}:/usr/bin:/bin:/usr/sbin:/sbin", "CI": "1"}

    def run(self, *command, folder=None):
        done = subprocess.run(command, cwd=folder or self.home, env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        if done.returncode != 0:
            sys.exit(f"{' '.join(map(str, command))} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
        return done.stdout

    def expect(self, what, seen, holds):
        self.mismatches += not holds
        print(f"  {'ok      ' if holds else 'MISMATCH'} {what}: {seen}")

    def items(self):
        report = json.loads(self.run(self.brindle, "--home", self.home, "scan", "--only", "node", "--json"))
        return {item["id"]: item for module in report["modules"] for item in module["items"]}


def disk_usage(folder):
    return int(subprocess.run(["du", "-sk", folder], capture_output=True, text=True, check=True).stdout.split()[0])


def kilobytes(count):
    return -(-count // 1024)


def blocks(folder, is_wanted):
    """What the files occupy, each once; folders left out."""
    seen = {}
    for top, _, names in os.walk(folder):
        for status in (os.lstat(os.path.join(top, name)) for name in names):
            if is_wanted(status.st_nlink):
                seen[status.st_ino] = status.st_blocks * 512
    return sum(seen.values())


def short_text(count):
    for unit in ("B", "KB", "MB", "GB"):
        if count < 1000 or unit == "GB":
            return f"{count} {unit}" if unit == "B" else f"{count:.1f} {unit}"
        count /= 1000


def facts_of(item):
    return {fact["label"]: fact["value"] for fact in item["explanation"]["facts"]}


def install_tools(folder, bin_folder, pnpm):
    for name in ("node", "npm"):
        found = shutil.which(name)
        if not found:
            sys.exit(f"{name} is needed and was not found")
        (bin_folder / name).symlink_to(found)
    command = ["npm", "install", "--prefix", folder, "--no-fund", "--no-audit", f"pnpm@{pnpm}", "yarn@1", "bun"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    for name in ("pnpm", "yarn", "bun"):
        (bin_folder / name).symlink_to(folder / "node_modules/.bin" / name)


def fill(trial):
    for name, packages in PROJECTS.items():
        project = trial.home / "Code" / name
        project.mkdir(parents=True)
        (project / "package.json").write_text(json.dumps({"name": name, "version": "1.0.0", "dependencies": packages}))
        trial.run("pnpm", "install", folder=project)
    for name in ("npm", "yarn", "bun"):
        project = trial.home / "Code" / name
        shutil.copytree(trial.home / "Code/first", project, ignore=shutil.ignore_patterns("node_modules", "pnpm-*"))
        # To root alone Yarn gives a cache outside the home.
        is_odd = name == "yarn" and os.geteuid() == 0
        more = ["--cache-folder", trial.home / ".cache/yarn"] if is_odd else []
        trial.run(name, "install", *more, folder=project)


def check_sizes(trial, items):
    folders = {"node.npmCache": [".npm/_cacache"], "node.bunCache": [".bun/install/cache"],
               "node.pnpmStore": ["Library/pnpm/store", ".local/share/pnpm/store"],
               "node.yarnCache": ["Library/Caches/Yarn", ".cache/yarn"]}
    trial.expect("the four items", ", ".join(items), list(items) and set(items) == set(folders))
    for key, places in folders.items():
        place = next(trial.home / place for place in places if (trial.home / place).exists())
        told, used = kilobytes(items[key]["bytes"]), disk_usage(place)
        trial.expect(key, f"{told} KiB told, {used} KiB by du, {items[key]['classification']}", told == used)


def check_store(trial, item, store, when):
    """What pnpm's prune can free at most; None where links tell nothing."""
    facts = facts_of(item)
    print(f"  {when}: {facts}")
    linked = blocks(store, lambda links: links > 1)
    told = item["measurement"]["hardLinkedBytes"]
    trial.expect("linked files", f"{told} told, {linked} there", told == linked)
    trial.expect("store size", facts["Store size"], facts["Store size"] == short_text(item["bytes"]))
    if "Linked by no project" not in facts:
        print("  links are no evidence here: the volume makes clones, or the store links into itself")
        return None
    most = item["bytes"] - told
    fact = facts["Linked by no project"]
    trial.expect("linked by no project", fact, fact == f"{short_text(most)} at most")
    return most


def check_prune(trial, store, most, loose):
    before = disk_usage(store)
    trial.run("pnpm", "store", "prune")
    freed = (before - disk_usage(store)) * 1024
    trial.expect("freed by the prune", f"{freed} bytes, {loose} were loose, {most} told at most",
                 most is None or loose - 1024 <= freed <= most + 1024)


def try_stores(folder, brindle, pnpm):
    trial = Trial(folder, brindle)
    install_tools(folder / "tools", trial.bin, pnpm)
    print(f"pnpm {trial.run('pnpm', '--version').strip()}, npm {trial.run('npm', '--version').strip()}, "
          f"Yarn {trial.run('yarn', '--version').strip()}, Bun {trial.run('bun', '--version').strip()}")
    fill(trial)
    items = trial.items()
    check_sizes(trial, items)
    store = pathlib.Path(trial.run("pnpm", "store", "path").strip())
    most = check_store(trial, items["node.pnpmStore"], store.parent, "two projects")
    check_prune(trial, store.parent, most, 0)

    used = blocks(store / "files", lambda links: links > 1)
    shutil.rmtree(trial.home / "Code/second")
    loose = used - blocks(store / "files", lambda links: links > 1)
    most = check_store(trial, trial.items()["node.pnpmStore"], store.parent, "one project deleted")
    check_prune(trial, store.parent, most, loose)
    check_store(trial, trial.items()["node.pnpmStore"], store.parent, "after the prune")

    trial.run("npm", "cache", "clean", "--force")
    left = trial.items().get("node.npmCache")
    trial.expect("npm's cache after its command", "gone" if left is None else f"{left['bytes']} bytes", left is None)
    return trial.mismatches


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--brindle", default=ROOT / "build/dev/bin/brindle", type=pathlib.Path)
    parser.add_argument("--pnpm", nargs="+", default=["9", "10", "latest"], metavar="VERSION")
    parser.add_argument("--keep", action="store_true", help="leave the temporary folders")
    options = parser.parse_args()
    mismatches = 0
    for version in options.pnpm:
        folder = pathlib.Path(tempfile.mkdtemp(prefix="brindle-node-")).resolve()
        try:
            mismatches += try_stores(folder, options.brindle.resolve(), version)
        finally:
            if options.keep:
                print(f"kept: {folder}")
            else:
                shutil.rmtree(folder, ignore_errors=True)
    print("everything matches" if mismatches == 0 else f"{mismatches} mismatches")
    return 1 if mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
