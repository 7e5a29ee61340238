#!/usr/bin/env python3
"""The checks find what they are there for: each plants one breach in a small clean tree and must be seen. Exit 1 if not."""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

TOOLS = pathlib.Path(__file__).resolve().parent

# A tree without a breach, with much in it that only looks like one.
CLEAN = {
    "resources/en.lproj/core.json": '{ "Files": "Files", "two words": "two words",'
                                ' "days": { "other": "%d days" } }',
    "resources/en.lproj/cli.json": '{ "Usage": "Usage" }',
    "core/text/words.h": "#pragma once\n",
    "core/platform/files.cpp": '#include "core/text/words.h"\n#include <unistd.h>\n#ifdef __linux__\n#endif\n'
                               "void drop() { unlink(\"x\"); }\n",
    "core/model/item.h": '#pragma once\n#include <string>\n#include "core/text/words.h"\n',
    "core/platform/log.cpp": '#include <fts.h>\n'
                             'void f() { std::ofstream(getenv("X")) << 1; std::fputs("x", stderr); }\n',
    "core/model/byte_sum.cpp": "void f() { std::fputs(text, stderr); std::abort(); }\n",
    "core/removal/cleaner.cpp": '#include "core/model/item.h"\nvoid clean() { ::unlinkat(1, "x", 0); }\n',
    "core/scan/scanner.cpp": '''#include "core/model/item.h"
// unlink("x"), #ifdef __APPLE__ and localized("nothing") in a comment
#ifdef NDEBUG
#endif
struct Store { bool remove(int); std::pair<int, std::vector<int>> rename(int); };
void exit(int); ModuleID kind = ModuleID::system;
void scan(Store& store, Store* other) {
    store.remove(1); other->rename(2); Store::remove(3);
    list.erase(std::remove(list.begin(), list.end(), f(1, 2)), list.end());
    std::ranges::remove(list, 1);
    const char* text = "unlink(rmdir) \\" remove_all(x)"; char mark = '"'; int big = 1'000;
    auto raw = R"(rename("a", "b"))";
    localized("Files"); CoreStrings::localized("two "
        "words"); localized(key); CoreStrings::plural("days", 2);
    child.terminate(); page->exit(1); std::snprintf(buffer, 9, text); std::ifstream in(path);
    auto* file = std::fopen(path, "rb"); const char* talk = "fopen(path, w) exit(1)";
}
''',
    "cli/main.cpp": '#include "core/scan/scan.h"\nvoid f() { localized("Usage"); localized("Files"); }\n',
    "core/scan/scan.h": "#pragma once\n",
    "tests/core/scan/scanner_test.cpp": '#include "core/scan/scan.h"\n#include <unistd.h>\nvoid t() { unlink("x"); }\n',
}

# What is planted, where, and words of the sentence that must come.
BREACHES = [
    ("core/model/item.h", '#include "core/scan/scan.h"', "stands below it"),
    ("core/scan/scan.h", '#include <core/removal/cleaner.cpp>', "stands below it"),
    ("core/scan/scan.h", '#include "cli/main.cpp"', "core includes cli"),
    ("core/scan/scan.h", '#include "tests/core/scan/scanner_test.cpp"', "core includes tests"),
    ("cli/main.cpp", '#include "app/window.h"', "no path from the root"),
    ("app/window.h", '#include "cli/main.cpp"', "app includes cli"),
    ("core/scan/scan.h", '#include "../removal/cleaner.cpp"', "no path from the root"),
    ("core/attic/thing.h", "", "no room of the table"),
    ("core/text/words.h", '#include "core/text/more.h"', "no path from the root"),
    ("core/text/words.h", '#include "core/text/words.h"', "in a circle"),
    ("core/scan/scan.h", "#include <unistd.h>", "system header <unistd.h>"),
    ("cli/main.cpp", "# include <sys/stat.h>", "system header <sys/stat.h>"),
    ("core/scan/scan.h", "#include <CoreFoundation/CFString.h>", "system header"),
    ("core/scan/scan.h", "#ifdef __APPLE__\n#endif", "#ifdef on __APPLE__"),
    ("core/scan/scan.h", "#if defined(X) || \\\n defined(__linux__)\n#endif", "#if on __linux__"),
    ("cli/main.cpp", "#if 0\n#elif defined _WIN32\n#endif", "#elif on _WIN32"),
    *(("core/scan/scan.h", f"inline void gone() {{ {call}; }}", "outside core/removal and core/platform") for call in [
        'unlink("x")', 'return ::unlink("x")', '(void)unlinkat(1, "x", 0)', 'rmdir("x")', 'if (!remove("x")) f()',
        'std::remove("x")', 'remove(f(1, 2, 3).c_str())', 'rename("a", "b")', "fs::rename(a, b, error)",
        'renameat(1, "a", 1, "b")', 'renameat2(1, "a", 1, "b", 0)', "std::filesystem::remove(path, error)",
        "fs::remove_all(path)", "std::filesystem :: remove(path)", "remove_all(path)", "call(&::remove)",
        "auto gone = std::filesystem::remove_all", 'if (0 > unlink("x")) f()', "if (0 > remove(x)) f()",
        "a->b > remove(x)", "if (a < b && c > remove(x)) f()", "FS::remove_all(x)", "x->remove_all(y)",
        "resize_file(x, 0)", "copy_file(a, b, std::filesystem::copy_options::overwrite_existing)"]),
    ("core/scan/scan.h", "namespace FS = std::filesystem;", "namespace FS is written like a class"),
    *((place, f"inline void write() {{ {call}; }}", "outside core/platform")
      for place in ("core/removal/cleaner.cpp", "cli/main.cpp") for call in [
          'std::system("rm x")', '::system(x)', 'if (0 > system(x)) f()', 'popen(x, "r")', "std::ofstream out(x)",
          "std::fstream out(x)", 'std::fopen(x, "w")', 'fopen(x, "r+")', "fopen(f(x), mode)"]),
    *(("core/scan/scan.h", f"inline void speak() {{ {call}; }}", "in core") for call in [
        'std::getenv("HOME")', 'return getenv("HOME")', "std::cout << 1", "std::cerr << 1", 'std::printf("x")',
        'puts("x")', 'std::fputs("x", stderr)', 'fmt::print("x")', "std::exit(1)", "if (0 > x) exit(1)", "std::abort()",
        "abort()", "std::_Exit(1)", "std::terminate()", "call(std::abort)"]),
    ("core/model/byte_sum.cpp", 'auto home = getenv("HOME");', "getenv in core"),
    ("core/scan/scan.h", "#include <fts.h>", "system header <fts.h>"),
    ("core/scan/scan.h", "#include <TargetConditionals.h>", "system header <TargetConditionals.h>"),
    *((f"core/scan/hidden{suffix}", "", f"{suffix}: C++ is in .cpp and .h") for suffix in (
        ".hpp", ".cc", ".inl", ".cxx")),
    ("core/scan/long.cpp", "\n" * 600, "600 is the limit"),
    ("core/scan/long.h", "\n" * 200, "200 is the limit"),
    ("tests/core/scan/scanner_test.cpp", "TEST(Scanner, Obeys) { f(kNeedsUnprivilegedUser); }\nTEST(ScannerUnprivileged,"
     " Stops) {}", "Scanner.Obeys needs a suite"),
    ("core/scan/scan.h", 'inline auto t = localized("Fils");', '"Fils" is in no English catalogue'),
    ("core/scan/scan.h", 'inline auto t = CoreStrings::localized("Usage");', '"Usage" is in no English catalogue'),
    ("core/scan/scan.h", 'inline auto t = CoreStrings::plural("dais", 2);', '"dais" is in no English catalogue'),
    ("cli/main.cpp", 'auto t = localized(\n    "Unknown %@", 1);', '"Unknown %@" is in no English catalogue'),
]

# What clang-tidy must say of a file, by the rules of the house.
UNTIDY = {
    "readability-function-size": "int counted(int n) {\n" + "    n += 1;\n" * 62 + "    return n;\n}\n",
    "readability-identifier-naming": "class lower_type {\n    int bare;\n};\nconst int loud = 1;\n",
    "bugprone-use-after-move": "#include <string>\n#include <utility>\nvoid take(std::string);\n"
                               "char last(std::string s) {\n    take(std::move(s));\n    return s.back();\n}\n",
    "clang-analyzer-core.NullDereference": "int read() {\n    int* p = nullptr;\n    return *p;\n}\n",
}


def plant(root, files):
    for name, text in files.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


def run(tool, *arguments):
    done = subprocess.run([sys.executable, TOOLS / tool, *arguments], capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


def source_failures(root):
    plant(root, CLEAN)
    status, told = run("check_source.py", root)
    if status != 0:
        yield f"the clean tree was blamed:\n{told}"
    for name, text, sentence in BREACHES:
        path = root / name
        before = path.read_text(encoding="utf-8") if path.exists() else None
        plant(root, {name: (before or "") + text + "\n"})
        status, told = run("check_source.py", root)
        if status != 1 or not any(line.startswith(name) and sentence in line for line in told.splitlines()):
            yield f"not seen in {name}: {text.strip()[:70]}\n{told}"
        path.unlink() if before is None else plant(root, {name: before})


def format_failures(root):
    shutil.copy(TOOLS.parent / ".clang-format", root)
    plant(root, {"core/text/words.h": "#pragma once\n\nint  crooked( );\n"})
    status, told = run("check_format.py", root)
    if status == 0 or "core/text/words.h:3" not in told:
        yield f"crooked formatting was not seen\n{told}"


def tidy_failures(root):
    shutil.copy(TOOLS.parent / ".clang-tidy", root)
    files = {f"core/{check}.cpp": text for check, text in UNTIDY.items()}
    files["core/tidy.cpp"] = "int kept() { return 1; }\n"
    plant(root, files)
    database = [{"file": str(root / name), "directory": str(root),
                 # compiled in another way, so read in a batch of its own
                 "command": f"c++ -std=c++23 {'-DTIDY' if 'tidy' in name else ''} -isystem {root} -c {root / name}"}
                for name in files]
    plant(root, {"build/compile_commands.json": json.dumps(database)})
    for again in ("", " the second time"):
        status, told = run("check_tidy.py", root, root / "build")
        for check in UNTIDY:
            if status != 1 or f"[{check}" not in told:
                yield f"clang-tidy did not say {check}{again}\n{told}"
        kept = [path for path in (root / "build" / "tidy").iterdir() if path.suffix != ".cpp"]
        if len(kept) != 1:
            yield f"clang-tidy's verdict on the one tidy batch was not kept{again}"
        if "core/tidy.cpp" in told:
            yield f"clang-tidy blamed a tidy file{again}\n{told}"


def main():
    failures = []
    for check in (source_failures, format_failures, tidy_failures):
        with tempfile.TemporaryDirectory(prefix="brindle-check-") as folder:
            failures += check(pathlib.Path(folder).resolve())
    for failure in failures:
        print(f"tools/check_selftest.py:1: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
