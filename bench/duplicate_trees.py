"""Homes with identical files in them, from a fixed seed: always the same names and contents.

Contents are pieces of one pool of random bytes, each from a place of its own, so that two files are equal only where the
tree says so.
"""

import os
import random
import shutil

EDITION = 1
POOL = 64 << 20
OLD = 1_700_000_000  # nothing here was written to a short while ago
MIB = 1 << 20


class Writer:
    """Writes files below a folder, some hundreds in each folder of its own."""

    def __init__(self, tree, seed=20):
        self.tree = tree
        self.random = random.Random(seed)
        self.pool = self.random.randbytes(POOL)
        self.count = 0

    def content(self, size, beginning=b""):
        """Fresh bytes; with a beginning, another one differs only behind it."""
        while len(beginning) < size:
            start = self.random.randrange(POOL - 1)
            beginning += self.pool[start:start + size - len(beginning)]
        return beginning

    def write(self, content, ending="bin"):
        folder = f"{self.tree}/{self.count // 300 % 17:02}/{self.count // 300:04}"
        path = f"{folder}/file-{self.count:07}.{ending}"
        if self.count % 300 == 0:
            os.makedirs(folder)
        self.count += 1
        with open(path, "wb") as file:
            file.write(content)
        os.utime(path, (OLD, OLD + self.count))


def mixed(tree, total):
    """About a third of the bytes is there twice or more; the rest is of sizes that others have, too."""
    writer = Writer(tree)
    draw = writer.random
    sizes = {"small": lambda: draw.randrange(1, 64) * 1024, "middle": lambda: draw.randrange(1, 17) * 256 * 1024,
             "large": lambda: draw.randrange(1, 9) * 8 * MIB}
    shares = {"small": 0.10, "middle": 0.45, "large": 0.45}
    for kind, size_of in sizes.items():
        left = int(total * shares[kind])
        while left > 0:
            size = min(size_of(), max(left, 1024))
            drawn = draw.random()
            if drawn < 0.20:  # a content and its copies
                content, copies = writer.content(size), draw.choice((2, 2, 2, 3))
                for _ in range(copies):
                    writer.write(content, draw.choice(("bin", "ipa", "zip")))
            elif drawn < 0.40:  # three that begin alike
                copies = 3
                beginning = writer.content(size * 3 // 4)
                for _ in range(copies):
                    writer.write(writer.content(size, beginning))
            elif drawn < 0.45:  # of a size of its own
                copies = 1
                writer.write(writer.content(size + writer.count + 1))
            else:
                copies = 1
                writer.write(writer.content(size))
            left -= size * copies
    decoys(tree, writer)


def decoys(tree, writer):
    """Equal files that are left alone: in a package store, in a project, source, hidden."""
    content = writer.content(100_000)
    for place in ("node_modules/a.bin", "node_modules/b.bin", "project/go.mod", "project/a.bin", "source/a.json",
                  "source/b.json", "hidden/.a.bin", "hidden/.b.bin"):
        path = f"{tree}/decoys/{place}"
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)
        os.utime(path, (OLD, OLD))


def many(tree, count):
    """Small files, every third of which is a copy of another one; a hundred sizes in all."""
    writer = Writer(tree)
    kept = b""
    for number in range(count):
        if number % 3 != 2:
            kept = writer.content(100 + number % 100)
        writer.write(kept)


def kept(home, make):
    """The home, made when it is not there whole."""
    if not os.path.exists(f"{home}/complete"):
        shutil.rmtree(home, ignore_errors=True)
        os.makedirs(f"{home}/tree")
        make(f"{home}/tree")
        with open(f"{home}/complete", "w", encoding="ascii"):
            pass
    return home
