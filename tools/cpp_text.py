"""What the checks share: C++ files by folder, their text without comments, and the names of LLVM's programs."""

import pathlib
import re
import shutil

SUFFIXES = frozenset({".cpp", ".h", ".mm"})

# In this order: what begins first swallows the others.
_TOKEN = re.compile(
    r"""(?P<comment>//(?:[^\n\\]|\\.|\\\n)*|/\*.*?\*/)
      | (?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")
      | (?P<text>"(?:[^"\\\n]|\\.)*")
      | (?P<separated>(?<=[0-9a-fA-F])'(?=[0-9a-fA-F]))
      | (?P<character>'(?:[^'\\\n]|\\.)*')""",
    re.DOTALL | re.VERBOSE,
)


def sources(root, *folders, suffixes=SUFFIXES):
    """The C++ files (or those with other suffixes) below these folders of root, sorted, relative to root."""
    root = pathlib.Path(root)
    found = []
    for folder in folders:
        found += (p.relative_to(root) for p in (root / folder).rglob("*") if p.suffix in suffixes)
    return sorted(found)


def without_comments(text):
    """The text with every comment blanked; every character keeps its offset."""
    return _TOKEN.sub(lambda m: _blank(m[0]) if m["comment"] else m[0], text)


def code_only(text):
    """The text with comments and the insides of literals blanked; every character keeps its offset."""
    def replaced(m):
        if m["separated"]:
            return m[0]
        return _blank(m[0]) if m["comment"] else '"' + _blank(m[0][1:-1]) + '"'

    return _TOKEN.sub(replaced, text)


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def llvm_tool(name):
    """The program as Debian calls it, or as Homebrew does. Version 19: another formats and judges differently."""
    return f"{name}-19" if shutil.which(f"{name}-19") else name


def _blank(text):
    return re.sub(r"[^\n]", " ", text)
