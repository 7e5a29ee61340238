#!/usr/bin/env python3
"""clang-tidy over core, cli and app, as .clang-tidy says; one batch of files a processor.

Usage: check_tidy.py ROOT BUILD

BUILD holds compile_commands.json. Most of clang-tidy's time goes into the headers of libraries, so the files of a
room that are compiled alike are read a dozen at a time, by way of a file that includes them. By the name of that file,
BUILD/tidy/UnifiedSource-N.cpp, the analyzer knows what it includes for bodies and not for headers. A batch that passed is
not looked at again until a file of it, a file that it includes, its compile command or the rules change: BUILD/tidy holds
an empty file for each state that was found clean.
"""

import concurrent.futures
import functools
import hashlib
import itertools
import json
import os
import pathlib
import shlex
import subprocess
import sys

from cpp_text import llvm_tool

FOLDERS = ("core", "cli", "app")
WITH_VALUE = ("-D", "-U", "-I", "-isystem", "-iquote", "-idirafter", "-include")
BATCH = 12


def entries(root, build):
    database = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    for entry in database:
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(root) and path.relative_to(root).parts[0] in FOLDERS and path.exists():
            yield entry


def flags(entry):
    """Of a compile command what decides how a file is read and what is warned of: "-Ipath" and "-I path" alike."""
    words = shlex.split(entry["command"])
    chosen = []
    for word, following in zip(words, [*words[1:], ""]):
        if word.startswith((*WITH_VALUE, "-std=", "-W")):
            chosen += [word, following] if word in WITH_VALUE else [word]
    return chosen


def batches(root, build):
    """Pairs of flags and the name of a file to read."""
    def kind(entry):
        return pathlib.Path(entry["file"]).relative_to(root).parent.parts[:2], flags(entry)

    number = itertools.count()
    for (_, chosen), alike in itertools.groupby(sorted(entries(root, build), key=kind), kind):
        files = sorted(entry["file"] for entry in alike)
        for start in range(0, len(files), BATCH):
            batch = files[start : start + BATCH]
            if batch[0].endswith(".mm"):  # another language
                yield from ((chosen, file) for file in batch)
                continue
            path = build / "tidy" / f"UnifiedSource-{next(number)}.cpp"
            text = "".join(f'#include "{file}"\n' for file in batch)
            if not path.exists() or path.read_text(encoding="utf-8") != text:
                path.write_text(text, encoding="utf-8")
            yield chosen, str(path)


@functools.cache
def digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def state(chosen, file, rules):
    """A name for all that the verdict depends on, or None when the file does not even preprocess."""
    command = [llvm_tool("clang++"), "-M", *chosen, file]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    if run.returncode != 0:
        return None
    files = shlex.split(run.stdout.replace("\\\n", " "))[1:]
    facts = [rules, *chosen, *(f"{name} {digest(name)}" for name in files)]
    return hashlib.sha256("\n".join(facts).encode()).hexdigest()


def clean(batch, build, rules, root):
    chosen, file = batch
    name = state(chosen, file, rules)
    mark = build / "tidy" / name if name else None
    if mark and mark.exists():
        return True
    command = [llvm_tool("clang-tidy"), "--quiet", f"--config-file={root}/.clang-tidy", file, "--", *chosen]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    if run.returncode == 0 and mark:
        mark.touch()
    if run.returncode != 0:
        print(run.stdout.replace(f"{root}/", "") or run.stderr, end="", flush=True)
    return run.returncode == 0


def main():
    root, build = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    (build / "tidy").mkdir(parents=True, exist_ok=True)
    version = subprocess.run([llvm_tool("clang-tidy"), "--version"], capture_output=True, text=True, check=True).stdout
    rules = version + (root / ".clang-tidy").read_text(encoding="utf-8")
    work = list(batches(root, build))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        verdicts = list(pool.map(lambda batch: clean(batch, build, rules, root), work))
    print(f"clang-tidy: {len(work)} batches of files, {verdicts.count(False)} with findings")
    return 0 if verdicts and all(verdicts) else 1


if __name__ == "__main__":
    sys.exit(main())
