#!/usr/bin/env python3
"""Makes a folder of real projects with the real tools, for trying what Brindle says of them.

    tools/sample_projects.py HOME [--days-ago N]

HOME must not exist yet, or be empty; nothing outside of it is written. Projects lie in HOME/Projects, their remotes in
HOME/remotes, further working trees in HOME/worktrees. Look at them with: brindle --home HOME scan

Uses git, npm, pnpm (fetched by npm), cargo and Python's venv; what needs a missing one is left out, with a word. Only
pnpm comes from the network. Every commit is the same each time. HOME/filter-runs.log tells which large-file filters
were started since.
"""

import argparse
import json
import os
import pathlib
import random
import shlex
import shutil
import stat
import subprocess
import sys
import time

DAY = 86400
COMMITTED = "2025-03-03T10:00:00+00:00"
# What a user's own environment would lead elsewhere.
FOREIGN = ("GIT_", "XDG_", "NPM_", "npm_", "PNPM_", "pnpm_", "CARGO_", "RUST", "PYTHON", "VIRTUAL_ENV")

# Keeps the file in a store beside and hands on its hash, as filters for large files do.
FILTER = """#!/bin/sh
home=$(dirname "$0")/..
echo "$1 by $2" >>"$home/filter-runs.log"
case $1 in
clean)
    copy=$(mktemp "$home/large-files/XXXXXX") && cat >"$copy"
    name=$(git hash-object "$copy") && mv "$copy" "$home/large-files/$name" && echo "large file $name" ;;
smudge) read -r _ _ name && cat "$home/large-files/$name" ;;
esac
"""


class Skipped(Exception):
    pass


class Home:
    def __init__(self, root):
        self.root = root
        self.projects, self.remotes, self.worktrees, self.packages, self.temporary = (
            root / name for name in ("Projects", "remotes", "worktrees", "packages", ".tmp"))
        for folder in (self.remotes, self.worktrees, self.temporary, root / "large-files"):
            folder.mkdir(parents=True)
        kept = {name: value for name, value in os.environ.items() if not name.startswith(FOREIGN)}
        self.environment = kept | {
            "HOME": str(root), "TMPDIR": str(self.temporary), "PATH": path_with_cargo(), "CI": "1",
            "GIT_CONFIG_NOSYSTEM": "1", "GIT_TERMINAL_PROMPT": "0", "npm_config_update_notifier": "false",
            "GIT_AUTHOR_DATE": COMMITTED, "GIT_COMMITTER_DATE": COMMITTED,
            "PYTHONDONTWRITEBYTECODE": "1"}  # not into the installed Python either
        self.left_out = []  # in sentences

    def run(self, folder, *command):
        try:
            done = subprocess.run(command, cwd=folder, env=self.environment, text=True, errors="replace", check=False,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        except FileNotFoundError as error:
            raise Skipped(f"{command[0]} is missing") from error
        if done.returncode != 0:
            said = done.stdout.strip().splitlines() or [""]
            raise Skipped(f"{' '.join(map(str, command))} ended with {done.returncode}: {said[-1]}")

    def tried(self, folder, *command):
        """Whether it worked; the project is made all the same."""
        try:
            self.run(folder, *command)
        except Skipped as why:
            self.left_out.append(f"{folder.relative_to(self.root)}: {why}")
            return False
        return True

    def git(self, folder, line):
        self.run(folder, "git", *shlex.split(line))

    def install(self, folder):
        """A Node project with installed packages, not yet under version control."""
        packages = {each: f"file:{os.path.relpath(self.packages / each, folder)}" for each in ("wick", "flame")}
        manifest = {"name": folder.name, "version": "1.0.0", "dependencies": packages}
        write(folder, {"package.json": json.dumps(manifest, indent=2) + "\n", "README.md": f"# {folder.name}\n",
                       "src/index.js": "require('wick')\n", ".gitignore": "node_modules\n"})
        self.tried(folder, *NPM_INSTALL)

    def publish(self, folder):
        """Everything in the folder goes to a new remote."""
        remote = shlex.quote(str(self.remotes / f"{folder.name}.git"))
        for line in (f"init -q --bare {remote}", "init -q", "add -A", "commit -q -m Begin",
                     f"remote add origin {remote}", "push -q -u origin HEAD"):
            self.git(folder, line)

    def pushed(self, folder):
        self.install(folder)
        self.publish(folder)

    def make(self, folder, steps):
        """Steps are files to write, lines for Git, commands of other tools, and functions."""
        folder.mkdir(parents=True)
        for step in steps:
            if isinstance(step, dict):
                write(folder, step)
            elif isinstance(step, str):
                self.git(folder, step)
            elif isinstance(step, tuple):
                self.tried(folder, *step)
            else:
                step(self, folder)


def path_with_cargo():
    """A proxy of rustup would look for its toolchains in the new home, so the real programs come first."""
    path = os.environ.get("PATH", os.defpath)
    if shutil.which("rustup"):
        told = subprocess.run(["rustup", "which", "cargo"], capture_output=True, text=True, check=False).stdout.strip()
        path = f"{os.path.dirname(told)}{os.pathsep}{path}" if told else path
    return path


def write(folder, texts):
    for name, text in texts.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text if isinstance(text, bytes) else text.encode())


def noise(seed, kilobytes):
    return random.Random(seed).randbytes(kilobytes * 1024)


def lay_out(home):
    """What the projects share: the user's Git settings, a filter for large files, two packages."""
    write(home.root, {"bin/large-file": FILTER})
    (home.root / "bin/large-file").chmod(0o755)
    for setting in ("user.name Sample", "user.email sample@example.com", "init.defaultBranch main", "gc.auto 0",
                    *filter_settings("large")):
        home.git(home.root, f"config --global {setting}")
    for name in ("wick", "flame"):
        write(home.packages / name, {"package.json": json.dumps({"name": name, "version": "1.2.3"}) + "\n",
                                     "index.js": f"module.exports = '{name}'\n", "data.bin": noise(name, 300)})


def filter_settings(name):
    """Git starts filters in the top folder of the project."""
    return [f"filter.{name}.{verb} '../../bin/large-file {verb} {name}'" for verb in ("clean", "smudge")]


# --- the projects -----------------------------------------------------------------------------------------------------

def nested_packages(home, folder):
    for name in ("one", "two", "three"):
        home.install(folder / "packages" / name)
        (folder / "packages" / name / "package-lock.json").unlink(missing_ok=True)


def pnpm_install(home, folder):
    tools = home.root / ".tools"
    if home.tried(folder, "npm", "install", "--prefix", str(tools), "--loglevel=error", "pnpm@9"):
        shutil.rmtree(folder / "node_modules", ignore_errors=True)
        (folder / "package-lock.json").unlink(missing_ok=True)
        home.tried(folder, str(tools / "node_modules/.bin/pnpm"), "install", "--silent")


NPM_INSTALL = ("npm", "install", "--install-links", "--offline", "--no-audit", "--no-fund", "--loglevel=error")
CHANGE = {"src/index.js": "changed\n"}
COMMIT = "commit -q -a -m Change"
LIBRARY = ("-c protocol.file.allow=always submodule --quiet add ../clean-and-pushed.git library",
           "commit -q -m Library", "push -q")

# Name, what it is, the steps that make it. In the order in which they need each other.
PROJECTS = [
    ("clean-and-pushed", "all of it on its remote, node_modules ignored, package-lock.json", Home.pushed),
    ("ahead", "one commit not pushed", Home.pushed, CHANGE, COMMIT),
    ("diverged", "one commit ahead, one behind",
     Home.pushed, CHANGE, COMMIT, "push -q", "reset -q --hard HEAD^", {"README.md": "# Other\n"}, COMMIT, "fetch -q"),
    ("stashed", "clean and pushed, with one stash", Home.pushed, CHANGE, "stash push -q"),
    ("untracked", "two untracked files", Home.pushed, {"notes.txt": "notes\n", "ideas.txt": "ideas\n"}),
    ("modified", "one changed file", Home.pushed, CHANGE),
    ("detached-head", "HEAD is detached", Home.pushed, "checkout -q --detach"),
    ("no-upstream", "a branch that tracks nothing", Home.pushed, "checkout -q --no-track -b alone"),
    ("no-remote", "committed, without a remote", Home.install, "init -q", "add -A", COMMIT),
    ("local-branch", "in step with its remote, a second branch only here",
     Home.pushed, "checkout -q -b only-here", CHANGE, COMMIT, "checkout -q main"),
    ("worktrees", "working trees elsewhere: clean, changed, locked, gone, one with a space in its path", Home.pushed,
     *(f"worktree add -q -b {name} ../../worktrees/{name}" for name in ("clean", "changed", "locked", "gone")),
     "worktree add -q -b with-space '../../worktrees/with space'",
     {"../../worktrees/changed/src/index.js": "changed\n", "../../worktrees/changed/new.txt": "new\n"},
     "worktree lock --reason 'on another disk at times' ../../worktrees/locked", ("rm", "-r", "../../worktrees/gone")),
    ("linked-worktree", "a working tree of the project worktrees that lies among the projects",
     "-C ../worktrees worktree add -q -b linked ../linked-worktree", NPM_INSTALL),
    ("submodule-clean", "a clean submodule", Home.pushed, *LIBRARY),
    ("submodule-changed", "a submodule with a change that is not committed",
     Home.pushed, *LIBRARY, {"library/src/index.js": "changed\n"}),
    ("filter-of-user", "a large file behind a filter that HOME/.gitconfig names; Git has to look at it again",
     {".gitattributes": "*.large filter=large\n", "film.large": noise("film", 900)}, Home.pushed),
    ("filter-of-repository", "the same behind a filter that only its own .git/config names",
     {".gitattributes": "*.large filter=own\n", "film.large": noise("film", 900)},
     "init -q", *(f"config {setting}" for setting in filter_settings("own")), Home.pushed),
    ("broken-git", "a .git file that points nowhere", Home.install, {".git": "gitdir: ../nowhere/.git\n"}),
    ("empty-repository", "a repository without a commit", Home.install, "init -q"),
    ("bare-repository", "a bare repository, no working tree", "clone -q --bare ../../remotes/clean-and-pushed.git ."),
    ("core-bare", "a .git folder that calls itself bare", Home.pushed, "config core.bare true"),
    ("many-branches", "300 branches", Home.pushed, *(f"branch topic/{number:03}" for number in range(299))),
    ("no-repository", "not under version control", Home.install),
    ("monorepo", "node_modules in three packages and above them, yarn.lock beside one",
     nested_packages, {"packages/two/yarn.lock": "# yarn lockfile v1\n"}, Home.pushed),
    ("pnpm-project", "installed by pnpm: hard links instead of copies",
     Home.install, pnpm_install, Home.publish),
    ("clone-in-build", "a clone inside its build folder",
     {"CMakeLists.txt": "project(cloned)\n", ".gitignore": "build\n", "build/app.o": noise("object", 400)},
     Home.publish, "clone -q ../../remotes/clean-and-pushed.git build/_deps/wick"),
    ("secret-in-packages", "an .env inside node_modules", Home.pushed, {"node_modules/wick/.env": "TOKEN=made-up\n"}),
    ("tracked-dist", "dist is committed", {"dist/app.js": "built\n" * 20_000}, Home.pushed),
    ("cargo-project", "built by cargo",
     {"Cargo.toml": '[package]\nname = "cargo-project"\nversion = "0.1.0"\nedition = "2021"\n',
      "src/main.rs": 'fn main() {\n    println!("lit");\n}\n', ".gitignore": "target\n"},
     ("cargo", "build", "--quiet", "--offline"), Home.publish),
    ("python-project", "a .venv that no lockfile pins, and __pycache__",
     {"pyproject.toml": '[project]\nname = "python-project"\nversion = "0.1"\n', "requirements.txt": "",
      "lit/__init__.py": "LIT = True\n", ".gitignore": ".venv\n__pycache__\n"},
     (sys.executable, "-m", "compileall", "-q", "lit"), (sys.executable, "-m", "venv", "--without-pip", ".venv"),
     (".venv/bin/python", "-m", "ensurepip"), Home.publish),
    ("go-module", "a Go module with vendor and no lockfile",
     {"go.mod": "module example.com/lit\n\ngo 1.21\n\nrequire example.com/wick v1.2.3\n", "main.go": "package main\n",
      "vendor/modules.txt": "# example.com/wick v1.2.3\n## explicit\nexample.com/wick\n", ".gitignore": "vendor\n",
      "vendor/example.com/wick/wick.go": "package wick\n", "vendor/example.com/wick/data.bin": noise("go", 300)},
     Home.publish),
    ("lantern", "clean and pushed; the next three resemble it", Home.pushed),
    ("lantern-copy", "a copy of lantern's files that declares the same name",
     ("cp", "-R", "../lantern/.", "."), ("rm", "-rf", ".git")),
    ("lantern-old", "named like lantern, with a remote of its own", Home.pushed),
    ("beacon", "a second checkout of lantern's remote", "clone -q ../../remotes/lantern.git .", NPM_INSTALL),
]


# --- ageing -----------------------------------------------------------------------------------------------------------

def set_back(home, when, is_wanted):
    """Folders after what is in them, and links themselves."""
    for top in (home.projects, home.worktrees):
        for folder, folders, names in os.walk(top, topdown=False):
            links = [name for name in folders if os.path.islink(os.path.join(folder, name))]
            for path in [os.path.join(folder, name) for name in names + links] + [folder]:
                if is_wanted(path):
                    os.utime(path, (when, when), follow_symlinks=False)


def is_of_git(path):
    parts = pathlib.Path(path).parts
    return ".git" in parts or "bare-repository" in parts


def age(home, days):
    """Files first, then Git's record of them while it is newer, then that record and the folders."""
    then = int(time.time()) - days * DAY
    set_back(home, then - DAY, lambda path: not is_of_git(path))
    for top in (home.projects, home.worktrees):
        for folder, folders, names in os.walk(top):
            if ".git" in folders + names:
                subprocess.run(["git", "update-index", "-q", "--refresh"], cwd=folder, env=home.environment,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
    set_back(home, then, lambda path: is_of_git(path) or stat.S_ISDIR(os.lstat(path).st_mode))
    for film in home.projects.glob("*/film.large"):
        os.utime(film, (then - 2 * DAY, then - 2 * DAY))  # as in a fresh copy: what Git recorded no longer holds


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("home", metavar="HOME", type=pathlib.Path)
    parser.add_argument("--days-ago", type=int, default=120, metavar="N", help="when they were last touched (120)")
    options = parser.parse_args()
    if os.path.lexists(options.home) and (not options.home.is_dir() or any(options.home.iterdir())):
        parser.error(f"{options.home} is there and no empty folder")
    if not shutil.which("git"):
        sys.exit("sample_projects.py: git is needed and was not found")
    home = Home(options.home.resolve())
    lay_out(home)
    for name, what, *steps in PROJECTS:
        try:
            home.make(home.projects / name, steps)
            print(f"{name:22} {what}", flush=True)
        except Skipped as why:
            print(f"{name:22} incomplete: {why}", flush=True)
    shutil.rmtree(home.temporary)
    age(home, options.days_ago)
    (home.root / "filter-runs.log").unlink(missing_ok=True)
    for word in home.left_out:
        print(f"left out: {word}")


if __name__ == "__main__":
    main()
