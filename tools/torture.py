#!/usr/bin/env python3
"""Kills cleanups with signal 9 at random instants, and looks at what the next start of the program makes of each.

Usage: torture.py DRIVER [COUNT] [--seed SEED] [--first N]

DRIVER is build/PRESET/cleanup_driver. Each of the COUNT (500) cleanups has a fresh small home. Its instant is drawn
from the whole time that a cleanup takes which is left alone, start and end included; at a quarter of them the next
start is killed, too. Afterwards must hold what tools/cleanup_trial.py says. Prints the seed; a failure names its number,
which --seed SEED --first NUMBER 1 draws again (the machine's own chance stays). Exit 1 when anything is wrong.
"""

import argparse
import os
import random
import signal
import statistics
import subprocess
import sys
import time

from cleanup_trial import Trial

UNDISTURBED = 7


def seconds_of(trial, command):
    start = time.monotonic()
    done = trial.run(command)
    return time.monotonic() - start, done


def undisturbed(driver):
    """The seconds of a cleanup and of a start that are left alone."""
    cleaning, starting = [], []
    for _ in range(UNDISTURBED):
        with Trial(driver) as trial:
            seconds, done = seconds_of(trial, trial.clean_command())
            wrong = list(trial.wrong_at_rest())
            if done.returncode != 0 or wrong:
                sys.exit("\n".join(["torture.py: a cleanup that is left alone goes wrong:", done.stdout + done.stderr, *wrong]))
            cleaning.append(seconds)
            starting.append(seconds_of(trial, trial.command("start"))[0])
    return statistics.median(cleaning), statistics.median(starting)


def killed(trial, command, seconds):
    """Starts it and kills it after so many seconds; false when it had ended before."""
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                             env=trial.environment)
    time.sleep(seconds)
    child.send_signal(signal.SIGKILL)
    return child.wait() == -signal.SIGKILL


def one(driver, chance, cleaning, starting):
    """What one killed cleanup has left: (how far it came, what is wrong)."""
    with Trial(driver) as trial:
        was_killed = killed(trial, trial.clean_command(), chance.uniform(0, 1.1 * cleaning))
        had_journal = (trial.data / "cleanup-journal.jsonl").exists()
        trial.wait_for_lock()
        if chance.random() < 0.25:
            killed(trial, trial.command("start"), chance.uniform(0, 1.1 * starting))
        wrong = trial.start()
        wrong += trial.wrong_at_rest()
        before = (trial.data / "history.json").read_bytes()
        wrong += trial.start()
        if (trial.data / "history.json").read_bytes() != before:
            wrong.append("a second start changes the history")
        if not was_killed:
            return "had ended", wrong
        return ("in the midst" if had_journal else "with nothing open"), wrong


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("driver")
    parser.add_argument("count", nargs="?", type=int, default=500)
    parser.add_argument("--seed", default=f"{int.from_bytes(os.urandom(4), 'big')}")
    parser.add_argument("--first", type=int, default=0)
    chosen = parser.parse_args()
    cleaning, starting = undisturbed(chosen.driver)
    print(f"seed {chosen.seed}: {chosen.count} cleanups of {1000 * cleaning:.0f} ms, killed at random instants", flush=True)
    ends, failures = {}, 0
    for number in range(chosen.first, chosen.first + chosen.count):
        end, wrong = one(chosen.driver, random.Random(f"{chosen.seed} {number}"), cleaning, starting)
        ends[end] = ends.get(end, 0) + 1
        failures += bool(wrong)
        for sentence in wrong:
            print(f"number {number}, killed {end}: {sentence}", flush=True)
    print("killed " + ", ".join(f"{end}: {count}" for end, count in sorted(ends.items())) +
          f"; {failures} of {chosen.count} left something wrong")
    if not ends.get("in the midst") and chosen.count >= UNDISTURBED:
        sys.exit("torture.py: no cleanup was killed in its midst, so nothing is proven")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
