#!/usr/bin/env python3
"""The rules of the house that a compiler does not know. Prints FILE:LINE: SENTENCE for each breach; exit 1 if any.

Usage: check_source.py ROOT
"""

import json
import pathlib
import re
import sys

from cpp_text import code_only, line_of, sources, without_comments

# A room includes itself and the rooms before it.
LADDER = ["text", "platform", "model", "measure", "settings", "tools", "projects", "guard", "scan", "modules",
          "removal", "insight", "session"]
# What the folders beside core may include besides themselves.
FACES = {"cli": {"core"}, "app": {"core"}, "tests": {"core", "cli", "app"}, "bench": {"core", "tests"}}

REMOVAL_ROOMS = ("core/platform/", "core/removal/")
SYSTEM_ROOM = "core/platform/"
EXEMPT = ("tests/", "bench/")  # they may use the system, and clear away what they made
FOREIGN_SUFFIXES = {".C", ".H", ".c", ".cc", ".cppm", ".cxx", ".hh", ".hpp", ".hxx", ".inc", ".inl", ".ipp", ".ixx",
                    ".m", ".tpp"}

SOURCE_LINES = 600
HEADER_LINES = 200

SYSTEM_HEADER = re.compile(
    r"(?:Availability|AvailabilityMacros|TargetConditionals|aio|alloca|copyfile|crt_externs|dirent|dlfcn|endian|err|"
    r"error|execinfo|fcntl|features|fnmatch|fts|ftw|getopt|glob|grp|ifaddrs|langinfo|"
    r"libgen|libproc|malloc|mntent|mqueue|netdb|nl_types|paths|poll|pthread|pty|pwd|regex|removefile|resolv|"
    r"sandbox|sched|search|semaphore|signal|spawn|strings|syslog|termio|termios|ucontext|unistd|util|utime|utmp|"
    r"utmpx|windows|wordexp)\.h"
    r"|(?:arpa|asm|bsm|dispatch|linux|mach|mach-o|net|netinet|objc|os|rpc|selinux|sys|xpc)/.*"
    r"|(?:AppKit|ApplicationServices|CoreFoundation|CoreServices|DiskArbitration|Foundation|IOKit|Security|"
    r"ServiceManagement)/.*")
SYSTEM_MACRO = re.compile(
    r"\b(?:__APPLE__|__MACH__|TARGET_OS_\w+|_?_?linux(?:__)?|__gnu_linux__|__ANDROID__|_?WIN(?:32|64)|__CYGWIN__|"
    r"__MINGW\w+|_?_?unix(?:__)?|BSD|__\w+BSD__|__DragonFly__|__sun|__HAIKU__|__GLIBC__|_POSIX_\w+)\b")
DIRECTIVE = re.compile(r"^[ \t]*#[ \t]*(if|ifdef|ifndef|elif|elifdef|elifndef)\b((?:[^\n\\]|\\\n|\\.)*)", re.MULTILINE)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*(?:include|import)[ \t]*(["<])([^">\n]+)[">]', re.MULTILINE)

SCOPE = r"(?P<scope>(?:\b\w+\s*)?::\s*)?"
# These words mean the deed wherever they stand ...
REMOVAL_WORD = re.compile(
    r"\b(?P<name>unlink|unlinkat|rmdir|remove_all|renameat|renameat2|renamex_np|renameatx_np|removefile|removefileat|"
    r"resize_file|overwrite_existing|update_existing)\b")
# ... and these are also names of harmless things.
REMOVAL_CALL = re.compile(SCOPE + r"\b(?P<name>remove|rename)\b\s*(?P<open>\(?)")
# An alias like this would hide a system's function behind what looks like a class.
CLASS_LIKE_ALIAS = re.compile(r"\bnamespace\s+(?P<name>[A-Z]\w*)\s*=")
NO_TYPE = {"return", "co_return", "co_yield", "co_await", "else", "do", "case", "throw", "and", "or", "not"}

WRITING_WORD = re.compile(r"(?<!include <)\b(?P<name>(?:basic_|w)?o?fstream|(?:basic_|w)?filebuf|popen)\b")
SHELL_CALL = re.compile(SCOPE + r"\b(?P<name>system)\b\s*(?P<open>\(?)")
OPENING_CALL = re.compile(r'\b(?P<name>f(?:re)?open)\b(?!\s*\([^;]*,\s*"rb?"\s*\))')

# What core leaves to those who use it.
TALKING_WORD = re.compile(
    r"\b(?P<name>w?(?:cout|cerr|clog)|stdout|stderr|v?f?w?printf|f?puts|putchar|f?putc|fwrite|perror|"
    r"fmt\s*::\s*v?print(?:ln)?)\b")
ENVIRONMENT_WORD = re.compile(r"\b(?P<name>(?:secure_)?getenv|environ|setenv|unsetenv|putenv)\b")
EXIT_WORD = re.compile(r"\b(?P<name>_Exit|_exit|quick_exit)\b")
EXIT_CALL = re.compile(SCOPE + r"\b(?P<name>exit|abort|terminate)\b\s*(?P<open>\(?)")
ENDS_THE_PROGRAM = "core/model/byte_sum.cpp"  # its header says why

TEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
LOCALIZED = re.compile(r'\b(?:localized|localizedWith|refused|CoreStrings\s*::\s*plural)\s*\(\s*((?:"(?:[^"\\\n]|\\.)*"\s*)+)')


class File:
    def __init__(self, root, path):
        self.path = path.as_posix()
        text = (root / path).read_text(encoding="utf-8", errors="surrogateescape")
        self.lines = text.count("\n") + (not text.endswith("\n") and text != "")
        self.text = without_comments(text)
        self.code = code_only(text)
        self.includes = [(line_of(self.text, m.start(2)), m[1], m[2]) for m in INCLUDE.finditer(self.text)]


def place(path):
    """The folder that the ladder speaks of: ("core", "text") or ("cli", None)."""
    parts = pathlib.PurePosixPath(path).parts
    return (parts[0], parts[1] if parts[0] == "core" and len(parts) > 2 else None)


def check_ladder(file, root):
    top, room = place(file.path)
    if top == "core" and room not in LADDER:
        yield 1, f"core/{room or ''} is no room of the table"
        return
    for line, quote, name in file.includes:
        target_top, target_room = place(name)
        ours = target_top == "core" or target_top in FACES
        if quote == '"' and not (ours and (root / name).is_file() and ".." not in pathlib.PurePosixPath(name).parts):
            yield line, f'"{name}" is no path from the root of the repository to a file'
        elif not ours:
            continue
        elif top == "core" and target_top != "core":
            yield line, f"core includes {target_top}"
        elif top == "core" and (target_room not in LADDER or LADDER.index(target_room) > LADDER.index(room)):
            yield line, f"core/{room} includes core/{target_room}, which stands below it"
        elif top != "core" and target_top != top and target_top not in FACES[top]:
            yield line, f"{top} includes {target_top}"


def check_system(file):
    if file.path.startswith((SYSTEM_ROOM, *EXEMPT)):
        return
    for line, _, name in file.includes:
        if SYSTEM_HEADER.fullmatch(name):
            yield line, f"system header <{name}> outside core/platform"
    for match in DIRECTIVE.finditer(file.code):
        macro = SYSTEM_MACRO.search(match[2])
        if macro:
            yield line_of(file.code, match.start(1)), f"#{match[1]} on {macro[0]} outside core/platform"


def check_removal(file):
    if file.path.startswith((*REMOVAL_ROOMS, *EXEMPT)):
        return
    where = "outside core/removal and core/platform"
    yield from (breach(file, match, where) for match in REMOVAL_WORD.finditer(file.code))
    yield from (breach(file, match, where) for match in REMOVAL_CALL.finditer(file.code)
                if removes_a_file(file.code, match))
    for match in CLASS_LIKE_ALIAS.finditer(file.code):
        yield line_of(file.code, match.start()), f"namespace {match['name']} is written like a class"


def check_writing(file):
    """Files are written by core/platform, and nobody hands a line to a shell."""
    if file.path.startswith((SYSTEM_ROOM, *EXEMPT)):
        return
    where = "outside core/platform"
    yield from (breach(file, match, where) for match in WRITING_WORD.finditer(file.code))
    yield from (breach(file, match, where) for match in SHELL_CALL.finditer(file.code) if is_system_s(file.code, match))
    yield from (breach(file, match, "for writing " + where) for match in OPENING_CALL.finditer(file.text)
                if file.code[match.start()] == match[0][0])  # not within a literal


def check_silence(file):
    """core prints nothing, exits nowhere and reads no environment but what it is handed."""
    if not file.path.startswith("core/") or file.path.startswith(SYSTEM_ROOM):
        return
    yield from (breach(file, match, "in core") for match in ENVIRONMENT_WORD.finditer(file.code))
    if file.path == ENDS_THE_PROGRAM:
        return
    for pattern in (TALKING_WORD, EXIT_WORD):
        yield from (breach(file, match, "in core") for match in pattern.finditer(file.code))
    yield from (breach(file, match, "in core") for match in EXIT_CALL.finditer(file.code)
                if is_system_s(file.code, match))


def breach(file, match, where):
    return line_of(file.code, match.start("name")), f"{match['name']} {where}"


def is_system_s(code, match):
    """Tells the system's function, called or named with its scope, from members, own functions and declarations."""
    before = code[:match.start()].rstrip()
    scope = (match["scope"] or "").replace(" ", "").removesuffix("::")
    if scope[:1].isupper():
        return False
    if match["scope"] is not None:
        return True
    return bool(match["open"]) and not before.endswith((".", "->")) and not ends_with_type(before)


def removes_a_file(code, match):
    """As is_system_s, and tells the system's remove from that of a range."""
    if (match["scope"] or "").startswith("ranges"):
        return False
    if not match["open"]:
        return match["scope"] is not None and is_system_s(code, match) or code[:match.start()].rstrip().endswith("&")
    return is_system_s(code, match) and (match["name"] == "rename" or
                                         0 < arguments_after(code, match.end("open")) < 3)


def ends_with_type(before):
    """A name right after a type is being declared: `bool remove(...)`, `std::expected<void, Error> remove(...)`."""
    if before.endswith(">"):
        return closes_template(before)
    word = re.search(r"(\w+)$", before)
    return word is not None and word[1] not in NO_TYPE and not word[1].isdigit()


def closes_template(before):
    """Whether the last character closes a `<` that stands right after a name: a comparison has blanks around it."""
    depth = 0
    for at in range(len(before) - 1, 0, -1):
        character = before[at]
        if character in ";{}":
            return False
        if character == ">" and before[at - 1] not in "-= \n":
            depth += 1
        elif character == "<" and (before[at - 1].isalnum() or before[at - 1] == "_"):
            depth -= 1
            if depth == 0:
                return True
        if depth == 0:
            return False
    return False


def arguments_after(code, start):
    depth, commas, seen = 0, 0, False
    for character in code[start:]:
        if character in "([{":
            depth += 1
        elif character in ")]}":
            if depth == 0:
                break
            depth -= 1
        elif character == "," and depth == 0:
            commas += 1
        seen = seen or not character.isspace()
    return commas + 1 if seen else 0


def check_size(file):
    limit = HEADER_LINES if file.path.endswith(".h") else SOURCE_LINES
    if file.lines > limit:
        yield file.lines, f"{file.lines} lines, {limit} is the limit"


def check_unprivileged(file):
    """A test that root skips must be found by the second run, which goes by the name of the suite."""
    if not file.path.startswith("tests/"):
        return
    tests = list(TEST.finditer(file.code))
    for test, following in zip(tests, [*tests[1:], None]):
        body = file.code[test.end():following.start() if following else None]
        if "kNeedsUnprivilegedUser" in body and "Unprivileged" not in test[1]:
            yield line_of(file.code, test.start()), f"{test[1]}.{test[2]} needs a suite named ...Unprivileged"


def check_keys(file, catalogues):
    top = place(file.path)[0]
    if top not in catalogues:
        return
    for match in LOCALIZED.finditer(file.text):
        key = "".join(json.loads(part) for part in re.findall(r'"(?:[^"\\\n]|\\.)*"', match[1]))
        if key and key not in catalogues[top]:
            yield line_of(file.text, match.start()), f'"{key}" is in no English catalogue that {top} reads'


def read_catalogues(root):
    def keys(name):
        path = root / "resources" / "en.lproj" / name
        return set(json.loads(path.read_text(encoding="utf-8"))) if path.is_file() else set()

    core = keys("core.json")
    return {"core": core, "cli": core | keys("cli.json")}


def check_circles(files):
    """No file includes itself by way of others."""
    graph = {f.path: [name for _, _, name in f.includes] for f in files}
    done, way = set(), []

    def visit(path):
        if path in way:
            yield way[-1], " -> ".join(way[way.index(path):] + [path])
        elif path in graph and path not in done:
            way.append(path)
            for name in graph[path]:
                yield from visit(name)
            way.pop()
            done.add(path)

    for path in graph:
        for at, circle in visit(path):
            yield at, 1, f"includes in a circle: {circle}"


def breaches(root):
    files = [File(root, path) for path in sources(root, "core", *FACES)]
    catalogues = read_catalogues(root)
    for file in files:
        for found in (check_ladder(file, root), check_system(file), check_removal(file), check_writing(file),
                      check_silence(file), check_size(file), check_unprivileged(file), check_keys(file, catalogues)):
            for line, sentence in found:
                yield file.path, line, sentence
    yield from check_circles(files)
    for path in sources(root, "core", *FACES, suffixes=FOREIGN_SUFFIXES):
        yield path.as_posix(), 1, f"{path.suffix}: C++ is in .cpp and .h, Objective-C++ in .mm"


def main():
    root = pathlib.Path(sys.argv[1])
    found = sorted(set(breaches(root)))
    for path, line, sentence in found:
        print(f"{path}:{line}: {sentence}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
