"""./dev bench: one name for each thing that can be measured. The first argument is the name; without one, the list."""

import importlib
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
BENCHES = {
    "duplicates": "finding identical files beside jdupes, rmlint, rdfind and fdupes; a million files",
    "measure": "a scan's walk beside du and gdu: wall time, memory, system calls",
    "projects": "finding and measuring projects beside the bare walk and find with du; Git's share of it",
    "remove": "a whole cleanup of a tree beside rm -rf, on disk and in memory",
}


def main(arguments):
    if not arguments or arguments[0] not in BENCHES:
        listing = "\n".join(f"  {name:10} {meaning}" for name, meaning in BENCHES.items())
        print(f"Usage: ./dev bench NAME [ARGS]   (NAME --help says which)\n\n{listing}", file=sys.stderr)
        return 0 if not arguments else 2
    build = os.path.join(os.path.dirname(HERE), "build")
    folder = os.path.join(build, "bench-trees")
    os.makedirs(folder, exist_ok=True)
    sys.path.insert(0, HERE)
    bench = importlib.import_module(arguments[0])
    brindle = os.environ.get("BRINDLE_PROGRAM", os.path.join(build, "release", "bin", "brindle"))
    bench.main(["--brindle", brindle, "--folder", folder, *arguments[1:]])
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
