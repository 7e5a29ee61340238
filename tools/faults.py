#!/usr/bin/env python3
"""Lets each system call of a cleanup fail once, with each error that is plausible for it, and looks at what comes of it.

Usage: faults.py DRIVER [--sample N] [--seed SEED] [--case STEP:CALL:WHEN:ERROR]

DRIVER is build/PRESET/cleanup_driver. Three steps are disturbed: a cleanup that deletes, moves to the Trash and saves its
history; the next start after a cleanup that was killed in its midst; and the return of an object from the Trash. A first
run under strace, left alone, tells which calls touch the home; each of them is then met by each error, or by signal 9
(KILL), in a fresh home, with one thread at work so that the calls come in the same order. Afterwards must hold what
tools/cleanup_trial.py says, and what the run itself has said. --sample takes so many of the cases, drawn with the seed.

Exit 1 when anything is wrong, 77 when strace may trace nothing here, or is missing (1 when CI is set).
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import typing

from cleanup_trial import TRASH, Trial, tree

FILES = 7
DEATH = "KILL"
LOOKING = ("EACCES", "EIO", "ENOENT", DEATH)
CHANGING = ("EACCES", "EIO", "ENOENT", "ENOSPC", "EROFS", DEATH)
STORING = ("EIO", "ENOSPC", DEATH)
ERRORS = {"openat": (*CHANGING, "EMFILE"), "openat2": (*CHANGING, "EMFILE"), "getdents64": LOOKING, "newfstatat": LOOKING,
          "statx": LOOKING, "readlink": LOOKING, "read": ("EIO",), "pread64": ("EIO",), "unlinkat": CHANGING, "unlink": CHANGING,
          "rmdir": CHANGING, "rename": CHANGING, "renameat": CHANGING, "renameat2": (*CHANGING, "EINVAL"),
          "linkat": CHANGING, "mkdir": CHANGING, "mkdirat": CHANGING, "write": STORING, "fsync": STORING,
          "fdatasync": STORING, "ftruncate": STORING, "fchmod": ("EACCES", "EIO", "EROFS", DEATH), "fchown": ("EACCES", "EIO"),
          "flock": ("EIO",)}
LINE = re.compile(r"^(?:\d+ +)?(\w+)\(")
SKIPPED = 77


class Case(typing.NamedTuple):
    step: str
    call: str
    when: int
    error: str

    def __str__(self):
        return ":".join(map(str, self))


def strace(*options):
    return ["strace", "-f", "-qq", *options]  # with --seccomp-bpf no signal is delivered


def disturbed(trial, command, call, when, error):
    """The run in which this call fails, or dies."""
    how = "signal=KILL" if error == DEATH else f"error={error}"
    options = strace("-o", "/dev/null", "-e", f"trace={call}", "-e", f"inject={call}:{how}:when={when}")
    return trial.run([*options, *command], CLEANUP_DRIVER_ALONE="1")


def ended_badly(done, error):
    if done.returncode in (0, 3) or error == DEATH:
        return []
    return [f"ends with {done.returncode}: {done.stdout}{done.stderr}"]


def told(done):
    try:
        return json.loads(done.stdout)
    except ValueError:
        return None


class Cleaning:
    """A cleanup."""

    def may_meet(self, _):
        return True

    def prepare(self, trial):
        return trial.clean_command()

    def judge(self, trial, done):
        says = told(done)
        receipts, wrong = trial.receipts()
        yield from wrong
        if says is None:
            return
        entries = says["receipt"]["entries"] if "receipt" in says else None
        yield from trial.wrong_with_entries(entries)
        is_stored = any(each == says.get("receipt") for each in receipts)
        if says.get("isRecorded") and (not is_stored or (trial.data / "cleanup-journal.jsonl").exists()):
            yield "is said to be recorded and is not"

    def settle(self, trial):
        yield from trial.start()
        yield from trial.wrong_at_rest()


class Starting(Cleaning):
    """The next start after a cleanup that died when it made this call for this time."""

    def __init__(self, call, when):
        self.call, self.when = call, when

    # Of what lies there no sound system says to the program that looks for it that it is gone.
    def may_meet(self, error):
        return error != "ENOENT"

    def prepare(self, trial):
        disturbed(trial, trial.clean_command(), self.call, self.when, DEATH)
        if not (trial.data / "cleanup-journal.jsonl").exists():
            sys.exit(f"faults.py: a cleanup killed at its {self.call} number {self.when} leaves no journal")
        return trial.command("start")

    def judge(self, trial, done):
        says = told(done)
        if says and "refused" not in says and not says["hasRecorded"]:
            yield f"passes over what was left: {done.stdout}"
        yield from trial.receipts()[1]


class Returning:
    """An object comes back from the Trash, where its folder is gone."""

    def may_meet(self, _):
        return True

    def prepare(self, trial):
        trial.run(trial.clean_command())
        trial.item = next(each for each in trial.items if each.id == "t.delta")
        trial.path = trial.item.paths[0]
        shutil.rmtree(trial.path.parent)
        place = trial.in_trash(trial.path, trial.item)
        trial.record = trial.home / TRASH / "info" / f"{place.name}.trashinfo"
        return trial.command("back", place, trial.path)

    def judge(self, trial, done):
        place = trial.in_trash(trial.path, trial.item)
        is_back = trial.path.exists()
        if is_back == (place is not None):
            yield f"lies {'twice' if is_back else 'nowhere'}"
            return
        if tree(place or trial.path) != trial.item.trees[trial.path]:
            yield "is not as it was"
        if place and not trial.record.exists():
            yield "lies in the Trash and has no record there"
        says = told(done)
        if says and (("path" in says) != is_back) and says.get("liesAt") != str(trial.path):
            yield f"{'is' if is_back else 'is not'} back, and told is {done.stdout}"

    def settle(self, trial):
        way = {trial.path.parent, *trial.path.parent.parents}
        now = trial.rest()
        for name in sorted(now.keys() | trial.kept.keys()):
            if trial.base / name not in way and now.get(name) != trial.kept.get(name):
                yield f"{name} was {trial.kept.get(name)} and is {now.get(name)}"


def calls_of(driver, step):
    """(call, its number among its like) of those that touch the home, in a run that is left alone."""
    with Trial(driver, FILES, with_tool=False) as trial, tempfile.NamedTemporaryFile("r", errors="replace") as trace:
        command = step.prepare(trial)
        done = trial.run([*strace("-y", "-o", trace.name, "-e", "trace=" + ",".join(f"?{call}" for call in ERRORS)), *command],
                         CLEANUP_DRIVER_ALONE="1")
        wrong = [*step.judge(trial, done), *step.settle(trial)]
        if done.returncode != 0 or wrong:
            sys.exit("\n".join([f"faults.py: what is left alone goes wrong: {done.stdout}{done.stderr}", *wrong]))
        lines = trace.read().splitlines()
        counts, found = {}, []
        for line in lines:
            if match := LINE.match(line):
                counts[match[1]] = counts.get(match[1], 0) + 1
                if str(trial.home) in line:
                    found.append((match[1], counts[match[1]]))
    return found


def run_case(driver, steps, case):
    step = steps[case.step]
    with Trial(driver, FILES, with_tool=False) as trial:
        done = disturbed(trial, step.prepare(trial), case.call, case.when, case.error)
        return [*ended_badly(done, case.error), *step.judge(trial, done), *step.settle(trial)]


def unable():
    """Why nothing can be traced here; None when it can."""
    if not shutil.which("strace"):
        return "there is no strace here"
    tried = subprocess.run([*strace("-o", "/dev/null", "-e", "inject=getppid:error=EIO:when=1"), "true"],
                           capture_output=True, text=True, check=False)
    return None if tried.returncode == 0 else f"strace may trace nothing here: {tried.stderr.strip()}"


def all_steps(driver):
    """Name -> step, and the cases of each."""
    steps, cases = {"clean": Cleaning()}, []
    cleaning = calls_of(driver, steps["clean"])
    for part in ("unlinkat", "renameat2"):
        # Amidst the removals, and right before the move to the Trash that comes halfway.
        numbers = [number for call, number in cleaning if call == part]
        steps[f"start-{part}"] = Starting(part, numbers[len(numbers) // 3])
    steps["back"] = Returning()
    for name, step in steps.items():
        calls = cleaning if name == "clean" else calls_of(driver, step)
        cases += [Case(name, call, number, error) for call, number in calls for error in ERRORS[call]
                  if step.may_meet(error)]
    return steps, cases


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("driver")
    parser.add_argument("--sample", type=int)
    parser.add_argument("--seed", default=f"{int.from_bytes(os.urandom(4), 'big')}")
    parser.add_argument("--case")
    chosen = parser.parse_args()
    if reason := unable():
        print(f"faults.py: NOT RUN: {reason}. No fault was tried.")
        sys.exit(1 if os.environ.get("CI") and not shutil.which("strace") else SKIPPED)
    os.environ["ASAN_OPTIONS"] = f"detect_leaks=0:{os.environ.get('ASAN_OPTIONS', '')}"  # it cannot trace a traced process
    steps, cases = all_steps(chosen.driver)
    total = len(cases)
    if chosen.case:
        step, call, when, error = chosen.case.split(":")
        cases = [Case(step, call, int(when), error)]
    elif chosen.sample and chosen.sample < total:
        cases = random.Random(chosen.seed).sample(cases, chosen.sample)
    print(f"seed {chosen.seed}: {len(cases)} of {total} faults", flush=True)
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for case, wrong in zip(cases, pool.map(lambda case: run_case(chosen.driver, steps, case), cases)):
            failures += bool(wrong)
            for sentence in wrong:
                print(f"--case {case}: {sentence}", flush=True)
    print(f"{failures} of {len(cases)} faults left something wrong")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
