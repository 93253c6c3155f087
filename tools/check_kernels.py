#!/usr/bin/env python3
"""Fails when a kernel object hands out more than its table.

A kernel file is compiled for one kind of processor. A function of it that other files could be linked
against (an inline function of a header, an instance of a template) would run on processors that do not
have its instructions.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
OBJECTS = "src/core/pricing/CMakeFiles/xim_pricing.dir/block/kernels_*.cpp.o"


def problems(build: pathlib.Path):
    objects = sorted(build.glob(OBJECTS))
    if len(objects) != 3:
        yield f"expected three kernel objects below {build.name}, found {len(objects)}"
    for name in objects:
        listing = subprocess.run(["nm", "--defined-only", "-C", name], capture_output=True, text=True, check=True)
        for line in listing.stdout.splitlines():
            match = re.match(r"[0-9a-f]* ([A-Zuvw]) (.*)", line)
            if match and not re.search(r"\bmake_\w+_kernels\(\)$", match.group(2)):
                yield f"{name.name}: {match.group(1)} {match.group(2)}"


if __name__ == "__main__":
    found = list(problems(ROOT / "build" / (sys.argv[1] if len(sys.argv) > 1 else "release")))
    print("\n".join(found) or "kernels: ok")
    sys.exit(1 if found else 0)
