#!/usr/bin/env python3
"""clang-tidy over core, cli and app, as .clang-tidy says; one file a processor.

Usage: check_tidy.py ROOT BUILD

BUILD holds compile_commands.json. A file that passed is not looked at again until it, a file that it includes, its
compile command or the rules change: BUILD/tidy holds an empty file for each state that was found clean.
"""

import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

from cpp_text import llvm_tool

FOLDERS = ("core", "cli", "app")
WITH_VALUE = ("-D", "-U", "-I", "-isystem", "-iquote", "-idirafter", "-include")


def entries(root, build):
    database = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    for entry in database:
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(root) and path.relative_to(root).parts[0] in FOLDERS and path.exists():
            yield entry


@functools.cache
def digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def preprocessor_flags(words):
    """Of a compile command what decides which files are read: "-Ipath" and "-I path" alike."""
    flags = []
    for word, following in zip(words, [*words[1:], ""]):
        if word.startswith(WITH_VALUE + ("-std=",)):
            flags += [word, following] if word in WITH_VALUE else [word]
    return flags


def state(entry, rules):
    """A name for all that the verdict depends on, or None when the file does not even preprocess."""
    words = shlex.split(entry["command"])
    command = [llvm_tool("clang++"), "-M", *preprocessor_flags(words[1:]), entry["file"]]
    run = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True, check=False)
    if run.returncode != 0:
        return None
    files = shlex.split(run.stdout.replace("\\\n", " "))[1:]
    facts = [rules, entry["command"], *(f"{name} {digest(os.path.join(entry['directory'], name))}" for name in files)]
    return hashlib.sha256("\n".join(facts).encode()).hexdigest()


def clean(entry, build, rules, root):
    name = state(entry, rules)
    mark = build / "tidy" / name if name else None
    if mark and mark.exists():
        return True
    command = [llvm_tool("clang-tidy"), "--quiet", "-p", str(build), entry["file"]]
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
    work = list(entries(root, build))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        verdicts = list(pool.map(lambda entry: clean(entry, build, rules, root), work))
    print(f"clang-tidy: {len(work)} files, {verdicts.count(False)} with findings")
    return 0 if verdicts and all(verdicts) else 1


if __name__ == "__main__":
    sys.exit(main())
