#!/usr/bin/env python3
"""Fails when a file of src/ includes a header of a layer above its own, other than the listed ones.

The layers, lowest first: toolbox, data, contract, modeling, pricing, api. The authoring layer dsl
sees toolbox alone. The public headers include nothing of src.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
ORDER = ["toolbox", "data", "contract", "modeling", "pricing", "api"]

# Upward includes that stand, with their reason. All of them are header-only.
ALLOWED = {
    "core/modeling/fixing_grid.hpp": "the table through which contract and market items read a path",
    "core/contract/information.hpp": "the lists that market items append themselves to",
    "core/modeling/pde_helper.hpp": "the space grid through which a contract rolls its values back",
    "core/pricing/static_replication.hpp": "prices a payoff of one level from market data alone; its library stands below the contract",
    "core/pricing/options.hpp": "the settings that lower layers read: smoothing, trials",
    "core/pricing/results.hpp": "the rows to which a simulation's helper adds its derivatives",
}


def layer_of(path: str) -> str | None:
    match = re.match(r"(?:core/)?(toolbox|data|contract|modeling|pricing|api|dsl)/", path)
    return match.group(1) if match else None


def violations():
    for file in sorted((ROOT / "src").rglob("*.[ch]pp")):
        name = file.relative_to(ROOT / "src").as_posix()
        own = layer_of(name)
        for number, line in enumerate(file.read_text().splitlines(), 1):
            include = re.match(r'\s*#include "([^"]+)"', line)
            if not include:
                continue
            target = include.group(1)
            if ".." in target:
                yield f"src/{name}:{number}: relative include {target}"
            other = layer_of(target)
            if own is None or other is None or own == other or target in ALLOWED:
                continue
            if own == "dsl":
                wrong = other != "toolbox"
            elif other == "dsl":
                wrong = own != "api"
            else:
                wrong = ORDER.index(other) > ORDER.index(own)
            if wrong:
                yield f"src/{name}:{number}: {own} must not include {target}"
    for file in sorted((ROOT / "include").rglob("*.hpp")):
        for number, line in enumerate(file.read_text().splitlines(), 1):
            include = re.match(r'\s*#include "([^"]+)"', line)
            if include and not include.group(1).startswith("ximAPI/"):
                yield f"{file.relative_to(ROOT)}:{number}: public header includes {include.group(1)}"


if __name__ == "__main__":
    found = list(violations())
    print("\n".join(found) or "layers: ok")
    sys.exit(1 if found else 0)
