#!/usr/bin/env python3
"""Every C++ file looks as .clang-format says. Usage: check_format.py ROOT"""

import subprocess
import sys

from cpp_text import llvm_tool, sources


def main():
    root = sys.argv[1]
    files = [str(p) for p in sources(root, "core", "cli", "app", "tests", "bench")]
    if not files:
        return 0
    command = [llvm_tool("clang-format"), "--dry-run", "-Werror", *files]
    return subprocess.run(command, cwd=root, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
