"""Projects to find and measure, the same on every machine: made once from a fixed seed and kept.

They lie where a scan also looks for a cache, so that the very same tree can be walked bare.
"""

import os
import random
import subprocess

import trees

# Raised when a tree's shape changes: trees of another edition are made again.
EDITION = 1

ROOT = ".cargo/registry"
WRITTEN = 1_740_000_000  # sources are older than Git's index, as they are once a project is left alone


def _files(rng, folder, count, ending):
    os.makedirs(folder)
    for number in range(count):
        trees.write(f"{folder}/file{number}.{ending}", trees.file_size(rng))


def _packages(rng, folder, limit):
    """Installed packages: small files in nested folders."""
    made = number = 0
    while made < limit:
        made = trees.package(rng, f"{folder}/package{number}", 1, made, limit)
        number += 1


def _sources(rng, folder, count, ending):
    for number in range(-(-count // 25)):
        _files(rng, f"{folder}/part{number}", min(25, count - 25 * number), ending)


def _texts(folder, texts):
    os.makedirs(folder, exist_ok=True)
    for name, text in texts.items():
        with open(f"{folder}/{name}", "w", encoding="ascii") as file:
            file.write(text)


def _node(rng, folder, files):
    _texts(folder, {"package.json": '{"name": "node", "version": "1.0.0"}\n', "package-lock.json": "{}\n",
                    ".gitignore": "node_modules\ndist\n"})
    _sources(rng, f"{folder}/src", files // 6, "js")
    _packages(rng, f"{folder}/node_modules", files - files // 6 - files // 12)
    _files(rng, f"{folder}/dist", files // 12, "js")


def _rust(rng, folder, files):
    _texts(folder, {"Cargo.toml": '[package]\nname = "rust"\n', "Cargo.lock": "version = 3\n",
                    ".gitignore": "target\n"})
    _sources(rng, f"{folder}/src", files // 6, "rs")
    built = f"{folder}/target/debug"
    for name in ("deps", ".fingerprint", "build", "incremental/session"):
        _files(rng, f"{built}/{name}", files // 5, "o")
    for number in range(min(5, files // 5)):
        os.link(f"{built}/deps/file{number}.o", f"{built}/program{number}")


def _python(rng, folder, files):
    _texts(folder, {"pyproject.toml": '[project]\nname = "python"\n', "uv.lock": "version = 1\n",
                    ".gitignore": ".venv\n__pycache__\n"})
    _sources(rng, f"{folder}/module", files // 6, "py")
    for part in sorted(os.listdir(f"{folder}/module")):
        _files(rng, f"{folder}/module/{part}/__pycache__", 20, "pyc")
    _packages(rng, f"{folder}/.venv/lib/python3.12/site-packages", files - files // 3)


def _go(rng, folder, files):
    _texts(folder, {"go.mod": "module example.com/go\n", "go.sum": "", ".gitignore": "vendor\n"})
    _sources(rng, f"{folder}/internal", files // 3, "go")
    _packages(rng, f"{folder}/vendor", files - files // 3)


def _git(home, folder, *arguments):
    own = {name: text for name, text in os.environ.items() if not name.startswith("GIT_")}
    dates = {f"GIT_{who}_DATE": f"{WRITTEN} +0000" for who in ("AUTHOR", "COMMITTER")}
    names = {f"GIT_{who}_{what}": "bench@example.com" for who in ("AUTHOR", "COMMITTER") for what in ("NAME", "EMAIL")}
    environment = own | dates | names | {"HOME": home, "GIT_CONFIG_NOSYSTEM": "1"}
    subprocess.run(["git", "-C", folder, *arguments], env=environment, check=True, stdout=subprocess.DEVNULL)


def _commit_and_push(home, folder, ignored):
    for inner, folders, names in os.walk(folder):
        folders[:] = [name for name in folders if name not in ignored]
        for name in names:
            os.utime(f"{inner}/{name}", (WRITTEN, WRITTEN))
    remote = f"{home}/remotes/{os.path.basename(folder)}.git"
    os.makedirs(remote)
    _git(home, remote, "init", "-q", "--bare", "--template=", "-b", "main")
    _git(home, folder, "init", "-q", "--template=", "-b", "main")
    _git(home, folder, "add", "-A")
    _git(home, folder, "commit", "-q", "-m", "All of it")
    _git(home, folder, "remote", "add", "origin", remote)
    _git(home, folder, "push", "-q", "-u", "origin", "main")


def many(home, projects, files):
    """Node projects side by side, none of them under version control."""
    rng = random.Random(20261122)
    for number in range(projects):
        folder = f"{home}/{ROOT}/project{number:02}"
        _texts(folder, {"package.json": '{"name": "project", "version": "1.0.0"}\n', "package-lock.json": "{}\n"})
        _sources(rng, f"{folder}/src", 60, "js")
        _packages(rng, f"{folder}/node_modules", files)


def mono(home, packages, files):
    """One project of many packages, each with generated folders of its own."""
    rng = random.Random(20261123)
    folder = f"{home}/{ROOT}/mono"
    _texts(folder, {"package.json": '{"name": "mono", "workspaces": ["packages/*"]}\n', "yarn.lock": "# yarn\n"})
    _packages(rng, f"{folder}/node_modules", 8 * files)
    for number in range(packages):
        _node(rng, f"{folder}/packages/package{number}", files)


def mixed(home, projects, files):
    """Smaller projects of several kinds, each a repository whose work is on a remote."""
    rng = random.Random(20261124)
    kinds = (_node, _rust, _python, _go)
    for number in range(projects):
        folder = f"{home}/{ROOT}/project{number:03}"
        kinds[number % len(kinds)](rng, folder, files)
        _commit_and_push(home, folder, GENERATED["mixed"])


# Name -> how it is made, its count and files each; and, small, how many of them.
TREES = {"many": (many, (60, 4_000), (6, 200)), "mono": (mono, (120, 1_150), (10, 100)),
         "mixed": (mixed, (150, 1_000), (8, 100))}
# What the projects of a tree generate: what a user would look for by name.
GENERATED = {"many": ("node_modules",), "mono": ("node_modules", "dist"),
             "mixed": ("node_modules", "dist", "target", ".venv", "__pycache__", "vendor")}


def prepare(folder, name, small=False):
    """The home and, in it, the folder in which the projects lie."""
    make, full_size, small_size = TREES[name]
    home = f"{folder}/projects-{name}-{'small' if small else 'full'}-{EDITION}"
    trees.kept(home, lambda: make(home, *(small_size if small else full_size)))
    return home, f"{home}/{ROOT}"
