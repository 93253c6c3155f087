#!/usr/bin/env python3
"""Draws the pictures of the analysis pages that `xim` draws itself, from the requests of
examples/analysis. Needs a built `xim` and gnuplot:

    ./dev build && python3 docs/plots/analyses.py [path of xim]

Standard library only.
"""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OUT = pathlib.Path(__file__).resolve().parent
# picture, command, example, further words
PICTURES = [
    ("replicate_twin_win", "replicate", "replicate_twin_win", []),
    ("details_autocall", "details", "details_autocall", []),
    ("smile_model", "smile", "model_implied_volatility", []),
    ("diffusion_basket", "diffuse", "diffusion_basket", ["--paths", "60"]),
]


def main():
    xim = sys.argv[1] if len(sys.argv) > 1 else str(ROOT / "build/release/tools/xim")
    for picture, command, example, words in PICTURES:
        request = f"examples/analysis/{example}.json"
        subprocess.run([xim, command, request, *words, "--plot", str(OUT / f"{picture}.svg")], cwd=ROOT, check=True)


if __name__ == "__main__":
    main()
