"""A small home on which a cleanup is put to the test, and the rules that hold whatever happened to it.

For tools/torture.py and tools/faults.py. The home holds safe items, items to review and, when asked for, one that a
(slow) tool removes; everything else in it and beside it has to stay as it is, to the byte.
"""

import fcntl
import hashlib
import json
import os
import pathlib
import shutil
import stat
import subprocess
import tempfile
import time

DATA = "Library/Application Support/Brindle"
TRASH = ".local/share/Trash"
SETTINGS = ".config"  # where a cleanup leaves its sample of the disk
OLD_RECEIPT = {"id": "00000000-0000-4000-8000-000000000001", "performedAt": "2026-01-02T03:04:05Z", "wasDryRun": False,
               "entries": [{"itemID": "rust.old", "moduleID": "rust", "title": "Old", "paths": ["/gone"], "bytes": 7,
                            "method": "deleted"}]}
# A tool of no system folder, which would outrank the home's: its words, and where its data lies.
TOOL, DATA_OF_TOOL = ["pod", "cache", "clean", "--all"], "Library/Caches/CocoaPods"
SLOW_TOOL = f"""#!/bin/sh
for each in 1 2 3 4; do rm -f "$HOME/{DATA_OF_TOOL}/$each"; sleep 0.01; done
"""
RECEIPT_KEYS = {"id", "performedAt", "entries", "wasDryRun"}


def looks(path):
    """What a path is, for comparing; None when nothing is there."""
    try:
        status = path.lstat()
    except (FileNotFoundError, NotADirectoryError):
        return None
    if stat.S_ISLNK(status.st_mode):
        return "link", os.readlink(path)
    if stat.S_ISREG(status.st_mode):
        return "file", status.st_mode, status.st_mtime_ns, hashlib.sha256(path.read_bytes()).hexdigest()
    return "folder", status.st_mode


def tree(top, left_out=()):
    """Relative path -> looks, of the top and all below it."""
    found = {}
    waiting = [top]
    while waiting:
        path = waiting.pop()
        if path in left_out or (seen := looks(path)) is None:
            continue
        found[path.relative_to(top).as_posix()] = seen
        if seen[0] == "folder":
            waiting += path.iterdir()
    return found


class Item:
    """One that is chosen: its paths, and what lay there."""

    def __init__(self, home, name, classification, relative=(), command=()):
        self.id, self.classification, self.command = name, classification, list(command)
        self.paths = [home / each for each in relative]
        self.trees = {path: tree(path) for path in self.paths}
        self.inodes = {path: path.lstat().st_ino for path in self.paths}

    def order(self):
        how = {"command": self.command} if self.command else {"paths": [str(path) for path in self.paths]}
        return {"id": self.id, "classification": self.classification, **how}

    def state(self, path):
        """whole, part or gone; and whether files are missing, so that bytes went."""
        now = tree(path)
        if not now:
            return "gone", True
        # Folders on their way out may have been made writable.
        before = {name: seen for name, seen in self.trees[path].items() if seen[0] != "folder" or name not in now}
        missing = {name for name, seen in before.items() if now.get(name) != seen}
        return ("part" if missing else "whole"), any(before[name][0] == "file" for name in missing)


class Trial:
    """`files`: how many each folder gets, about."""

    def __init__(self, driver, files=120, with_tool=True):
        self.driver = driver
        self.base = pathlib.Path(tempfile.mkdtemp(prefix="brindle-trial-")).resolve()
        self.home = self.base / "home"
        self.data = self.home / DATA
        (self.base / "tmp").mkdir()
        self.environment = os.environ | {"TMPDIR": str(self.base / "tmp")}
        self.write("../outside/kept/deep/file", "beyond every link")
        self.fill(".cache/alpha", files)
        self.fill("Library/Caches/beta", files // 2)
        self.fill(".cache/gamma", files // 4)
        self.fill(".gradle/caches/delta", files // 4)
        for relative in ("Library/Caches/beta.log", "Library/Logs/gamma.log", ".npm/epsilon", ".cache/kept/file",
                         "Documents/letter", "Library/Caches/beta-kept/file", ".local/share/kept"):
            self.write(relative, relative * 300)
        for folder in (".cache/alpha", ".cache/gamma", "Documents"):
            (self.home / folder / "out").symlink_to(self.base / "outside/kept")
        self.items = [Item(self.home, "t.alpha", "safe", [".cache/alpha"]),
                      Item(self.home, "t.gamma", "review", [".cache/gamma", "Library/Logs/gamma.log"]),
                      Item(self.home, "t.beta", "safe", ["Library/Caches/beta", "Library/Caches/beta.log"]),
                      Item(self.home, "t.epsilon", "safe", [".npm/epsilon"]),
                      Item(self.home, "t.delta", "review", [".gradle/caches/delta"])]
        if with_tool:
            self.add_tool()
        self.seed_history()
        self.kept = self.rest()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for _ in range(20):  # a tool that outlived its cleanup may still be at work
            shutil.rmtree(self.base, ignore_errors=True)
            if not self.base.exists():
                return

    def write(self, relative, text):
        path = self.home / relative
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def fill(self, relative, files):
        for index in range(files):
            self.write(f"{relative}/{index % 5}/{index % 3}/file-{index}", f"{relative} {index} " * 200)

    def add_tool(self):
        for each in "1234":
            self.write(f"{DATA_OF_TOOL}/{each}", each * 5000)
        self.write(f".local/bin/{TOOL[0]}", SLOW_TOOL).chmod(0o755)
        self.items.insert(2, Item(self.home, "t.tool", "safe", command=TOOL))

    def seed_history(self):
        self.data.mkdir(parents=True, mode=0o700)
        self.data.chmod(0o700)
        history = self.write(f"{DATA}/history.json", json.dumps([OLD_RECEIPT]))
        history.chmod(0o600)

    def rest(self):
        """All that no cleanup may change: modes and times, names and bytes."""
        chosen = {path for item in self.items for path in item.paths}
        own = {self.data, self.home / TRASH, self.home / DATA_OF_TOOL, self.home / SETTINGS, self.base / "tmp"}
        return tree(self.base, own | {*chosen})

    def command(self, step, *words):
        return [str(self.driver), step, str(self.home), *map(str, words)]

    def run(self, command, **environment):
        return subprocess.run(command, capture_output=True, text=True, errors="replace", check=False,
                              env=self.environment | environment)

    def clean_command(self):
        return self.command("clean", json.dumps([item.order() for item in self.items]))

    def start(self):
        """The next start of the program; what is wrong with it."""
        done = self.run(self.command("start"))
        return [] if done.returncode == 0 else [f"the next start ends with {done.returncode}: {done.stdout}{done.stderr}"]

    def in_trash(self, path, item):
        """Where the object that lay at the path lies in the Trash."""
        files = self.home / TRASH / "files"
        if files.is_dir():
            for entry in files.iterdir():
                if entry.lstat().st_ino == item.inodes[path]:
                    return entry
        return None

    # --- what must hold -------------------------------------------------------------------------------------------

    def wrong_with_entries(self, entries):
        """The entries of this cleanup against the disk; None: it says that nothing was done. Those at the end that
        are missing were not reached."""
        entries = {entry["itemID"]: entry for entry in entries or []}
        for item in self.items:
            entry = entries.get(item.id)
            for path in item.paths:
                yield from self.wrong_with_path(item, path, entry)
            if entry and item.command and entry["method"] != "command" and not entry.get("note"):
                yield f"{item.id}: {entry['method']} without a reason"
            for place in (entry or {}).get("trashedPaths", []):
                if looks(pathlib.Path(place)) is None:
                    yield f"{item.id}: nothing lies at {place}, where its entry says"

    def wrong_with_path(self, item, path, entry):
        state, lost_bytes = item.state(path)
        place = self.in_trash(path, item)
        told = f"{item.id}: {path} is {state}{' and in the Trash' if place else ''}, but "
        says = entry["method"] if entry else "nothing"
        failures = [each for each in (entry or {}).get("pathFailures", []) if each.startswith(f"{path}")]
        names = [each for each in failures if each.startswith(f"{path}: ") or each.startswith(f"{path}/")]
        is_unsure = says != "nothing" and any("may be gone" in each for each in names)
        if item.classification == "review":
            if state == "part" or (state == "gone") != (place is not None):
                yield told + "what is to be reviewed is never deleted, copied or taken apart"
            elif place and {**tree(place), ".": None} != {**item.trees[path], ".": None}:
                yield told + "not as it was"
            elif place and not is_unsure and (says != "trashed" or str(place) not in entry.get("trashedPaths", [])):
                yield told + f"its entry says {entry}"
        elif state != "whole" and place:
            yield told + "safe things are deleted"
        elif state == "gone" and not is_unsure and (says != "deleted" or names):
            yield told + f"its entry says {entry}"
        elif state == "part" and says != "deleted" and lost_bytes and not is_unsure:
            yield told + f"its entry says {entry}"
        if state == "part" and not names or state == "whole" and says in ("deleted", "trashed") and not names:
            yield told + f"its entry does not say so: {entry}"
        if state == "whole" and says == "failed" and not names and not entry.get("note"):
            yield told + f"its entry gives no reason: {entry}"

    def receipts(self):
        """Those of the history, without the one it began with; and what is wrong with the file."""
        path = self.data / "history.json"
        try:
            receipts = json.loads(path.read_bytes())
        except (OSError, ValueError) as error:
            return [], [f"the history cannot be read: {error}"]
        if not receipts or receipts[-1] != OLD_RECEIPT:
            return [], ["the history has lost what it had"]
        wrong = [f"a receipt has the keys {sorted(each)}" for each in receipts if set(each) != RECEIPT_KEYS]
        return receipts[:-1], wrong

    def wrong_at_rest(self):
        """After the next start: nothing half done, nothing of it beside what belongs there, all of it recorded."""
        receipts, wrong = self.receipts()
        yield from wrong
        if len(receipts) > 1:
            yield f"one cleanup has {len(receipts)} receipts"
        yield from self.wrong_with_entries(receipts[0]["entries"] if receipts else None)
        yield from self.wrong_with_rest()
        strange = {path.name for path in self.data.iterdir()} - {"history.json", "cleanup.lock"}
        strange |= {str(path) for path in self.home.rglob(".brindle-*")}
        if strange:
            yield f"left behind: {', '.join(sorted(strange))}"
        for path, mode in ((self.data, 0o700), (self.data / "history.json", 0o600)):
            if stat.S_IMODE(path.stat().st_mode) != mode:
                yield f"{path} has the mode {stat.S_IMODE(path.stat().st_mode):o}"
        if self.is_locked():
            yield "the lock is held"

    def wrong_with_rest(self):
        now = self.rest()
        for name in sorted(now.keys() | self.kept.keys()):
            if now.get(name) != self.kept.get(name):
                yield f"{name} was {self.kept.get(name)} and is {now.get(name)}"

    def wait_for_lock(self):
        """A tool that was being started when its cleanup was killed has the lock until it runs: a moment."""
        end = time.monotonic() + 2
        while self.is_locked() and time.monotonic() < end:
            time.sleep(0.001)

    def is_locked(self):
        path = self.data / "cleanup.lock"
        if not path.exists():
            return False
        with path.open("rb") as file:
            try:
                fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                return True
        return False
