"""Trees to measure, the same on every machine: made once from a fixed seed and kept."""

import os
import random
import subprocess

# Raised when a tree's shape changes: trees of another edition are made again.
EDITION = 1


def write(path, size):
    """A file of so many written bytes, so that it occupies blocks."""
    with open(path, "wb") as file:
        file.write(b"b" * size)


def file_size(rng):
    """Most files of installed packages are small, a few are large."""
    if rng.random() < 0.01:
        return rng.randrange(100_000, 400_000)
    return int(min(60_000, rng.paretovariate(0.9) * 300))


def package(rng, folder, depth, made, limit):
    """Files in nested folders, until `limit` are made in all; returns how many are made now."""
    os.makedirs(folder)
    for number in range(rng.randint(3, 14)):
        write(f"{folder}/file{number}.js", file_size(rng))
        made += 1
        if made >= limit:
            return made
    if depth == 6:
        return made
    for number in range(rng.choice((0, 0, 1, 1, 2, 3))):
        made = package(rng, f"{folder}/part{number}", depth + 1, made, limit)
        if made >= limit:
            break
    return made


def packages(root, limit=300_000):
    """Many small files, as in installed packages."""
    rng = random.Random(20261121)
    made = number = 0
    while made < limit:
        made = package(rng, f"{root}/@scope{number % 300}/package{number}", 0, made, limit)
        number += 1


def wide(root, limit=100_000):
    """One folder that holds everything."""
    os.makedirs(root)
    for number in range(limit):
        write(f"{root}/object-{number:06}", 100 if number % 50 else 20_000)


def chain(root, depth=2_000):
    """Folders nested deeper than one path may be long, a file and a small folder beside each step."""
    os.makedirs(root)
    start = os.getcwd()
    os.chdir(root)
    for _ in range(depth):
        write("file", 5_000)
        os.mkdir("beside")
        os.mkdir("deeper")
        os.chdir("deeper")
    os.chdir(start)


def linked(root, files=40_000, projects=3):
    """A store, and projects whose files are hard links into it."""
    rng = random.Random(7)
    names = []
    for number in range(files):
        folder = f"{root}/store/{number % 256:02x}"
        if number < 256:
            os.makedirs(folder)
        names.append(f"{folder}/{number:08x}")
        write(names[-1], file_size(rng))
    for project in range(projects):
        for number, name in enumerate(names):
            folder = f"{root}/project{project}/modules/{number // 40}"
            if number % 40 == 0:
                os.makedirs(folder)
            os.link(name, f"{folder}/{number}.js")


def unbalanced(root):
    """Two hundred small packages beside one that holds nearly everything, far down."""
    rng = random.Random(11)
    for number in range(200):
        package(rng, f"{root}/small{number}", 5, 0, 10)
    folder = f"{root}/large" + "/inner" * 20
    made = number = 0
    while made < 80_000:
        made = package(rng, f"{folder}/part{number}", 2, made, 80_000)
        number += 1


TREES = {"packages": packages, "wide": wide, "chain": chain, "linked": linked, "unbalanced": unbalanced}


def kept(home, make):
    """A home that is made once; one that was not finished is made again."""
    if not os.path.exists(f"{home}/complete"):
        subprocess.run(["rm", "-rf", home], check=True)  # deeper than a recursion may be
        os.makedirs(home)
        make()
        write(f"{home}/complete", 0)
    return home


def prepare(folder, name, small=False):
    """The tree as the one cache of a home of its own; returns the home and the tree."""
    home = f"{folder}/{name}-{'small' if small else 'full'}-{EDITION}"
    tree = f"{home}/.cargo/registry"
    small_sizes = {"packages": 5_000, "wide": 3_000, "chain": 1_500, "linked": 2_000}
    sizes = (small_sizes[name],) if small and name in small_sizes else ()

    def make():
        os.mkdir(f"{home}/.cargo")
        TREES[name](tree, *sizes)

    return kept(home, make), tree
