#!/usr/bin/env python3
"""Runs the fuzz targets of a build, one a processor, and prints a line for each: runs, coverage, result.

Usage: run_fuzz.py ROOT BUILD SECONDS [NAME...]

Each starts from ROOT/tests/fuzz/corpus/NAME, from what earlier runs found (BUILD/corpus/NAME) and from earlier findings
(BUILD/findings/NAME). New inputs and findings go to BUILD. Exit 1 when a target has a finding: a crash, a broken promise,
a leak, a run of more than 10 seconds or 1 GB of memory.
"""

import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

OPTIONS = ["-max_len=16384", "-timeout=10", "-rss_limit_mb=1024", "-print_final_stats=1", "-verbosity=1"]


def last(pattern, text):
    found = re.findall(pattern, text, re.MULTILINE)
    return found[-1] if found else None


def result_of(status, told, log):
    if status == 0:
        return "no finding"
    reason = last(r"^SUMMARY: (.+)$", told) or last(r"^==\d+==\s*ERROR: (.+)$", told) or f"ended with {status}"
    written = last(r"Test unit written to (.+)$", told)
    return f"FINDING: {reason}\n    {f'input {written}' if written else 'no input was kept'}, report {log}"


def fuzz(root, build, seconds, name):
    """Returns whether all is well, and the line about it."""
    new, findings, log = build / "corpus" / name, build / "findings" / name, build / "logs" / f"{name}.log"
    kept = root / "tests" / "fuzz" / "corpus" / name
    for folder in (new, findings, log.parent):
        folder.mkdir(parents=True, exist_ok=True)
    command = [build / f"fuzz_{name}", f"-max_total_time={seconds}", f"-artifact_prefix={findings}/", *OPTIONS,
               new, *([kept] if kept.is_dir() else []), findings]
    environment = os.environ | {"UBSAN_OPTIONS": f"print_stacktrace=1:{os.environ.get('UBSAN_OPTIONS', '')}"}
    with log.open("wb") as out:
        status = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=out, stderr=out, env=environment,
                                check=False).returncode
    told = log.read_text(encoding="utf-8", errors="replace")
    runs = last(r"^stat::number_of_executed_units:\s*(\d+)", told) or "no"
    coverage = last(r"\bcov: (\d+)", told) or "?"
    return status == 0, f"{name:<22} {runs:>10} runs  coverage {coverage:>5}  {result_of(status, told, log)}"


def main():
    root, build, seconds = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), int(sys.argv[3])
    names = sys.argv[4:] or sorted(p.name.removesuffix("_fuzz.cpp") for p in root.glob("tests/fuzz/*_fuzz.cpp"))
    failed = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        work = {pool.submit(fuzz, root, build, seconds, name): name for name in names}
        for done in concurrent.futures.as_completed(work):
            is_well, line = done.result()
            print(line, flush=True)
            if not is_well:
                failed.append(work[done])
    if failed:
        print("findings in: " + " ".join(sorted(failed)), flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
