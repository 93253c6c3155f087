#!/usr/bin/env python3
"""Draws docs/plots/static_replication.svg: the error of replicated prices against closed formulas,
by the number of strikes on each side, for two widths of the grid. Needs a built `xim`:

    ./dev build && python3 docs/plots/static_replication.py [path of xim]

Standard library only.
"""
import json
import math
import pathlib
import subprocess
import sys

from finite_differences import panel

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OUT = pathlib.Path(__file__).resolve().parent / "static_replication.svg"
FORWARD, SIGMA = 4153.925, 0.2  # ^GSPC in the demonstration data on 3 May 2021, one year, without rates
NOTIONAL = 1_000_000  # well above the smallest quantity that is reported
DATE = "2022-05-03"
PERFORMANCE = f"Spot(^GSPC,{DATE})/{FORWARD}"


def normal(x):
    return 0.5 * math.erfc(-x / math.sqrt(2.0))


def call(strike):
    d = -math.log(strike) / SIGMA + 0.5 * SIGMA
    return normal(d) - strike * normal(d - SIGMA)


def digital(strike):
    return normal(-math.log(strike) / SIGMA - 0.5 * SIGMA)


# name, colour, payoff, its price by closed formula
CASES = [
    ("call 90.3 %", "#1f77b4", f"{NOTIONAL}*Max({PERFORMANCE}-0.903,0)", call(0.903)),
    ("call 120.3 %", "#ff7f0e", f"{NOTIONAL}*Max({PERFORMANCE}-1.203,0)", call(1.203)),
    ("square", "#2ca02c", f"{NOTIONAL}*({PERFORMANCE})*({PERFORMANCE})", math.exp(SIGMA ** 2)),
    ("logarithm", "#9467bd", f"{NOTIONAL}*Log({PERFORMANCE})", -0.5 * SIGMA ** 2),
    ("digital 70.3 %", "#d62728", f"If({PERFORMANCE}>0.703)(Cst({NOTIONAL}),Cst(0))", digital(0.703)),
    ("digital 100.3 %", "#8c564b", f"If({PERFORMANCE}>1.003)(Cst({NOTIONAL}),Cst(0))", digital(1.003)),
]


def price(xim, payoff, strikes, lower, upper):
    """Of one unit: the sum of the entries."""
    request = {
        "ContractConfiguration": {"Date": "2021-05-03", "PremiumCurrency": "USD", "Kind": "CONSOLE",
                                  "Script": f"Pay({payoff},{DATE},USD)"},
        "PricerConfiguration": {"ClosedFormMoneynessGridSize": strikes,
                                "ClosedFormMoneynessGridLowerBound": lower,
                                "ClosedFormMoneynessGridUpperBound": upper}}
    run = subprocess.run([xim, "/GetStaticReplication1D", "-"], input=json.dumps(request), capture_output=True,
                         text=True)
    answer = json.loads(run.stdout)
    if run.returncode != 0:
        raise SystemExit(json.dumps(answer.get("Logger"), indent=1))
    record = answer["Pricer"]["StaticReplication1D"]
    return sum(entry["Price"] for entry in record["ZeroCoupon"] + (record["Vanillas"] or [])) / NOTIONAL


def main():
    xim = sys.argv[1] if len(sys.argv) > 1 else str(ROOT / "build/release/tools/xim")
    sizes = [5, 10, 20, 50, 100, 200]
    body = []
    for left, (lower, upper) in ((60, (0.5, 1.5)), (440, (0.25, 3.0))):
        series = []
        for name, colour, payoff, exact in CASES:
            errors = [(n, abs(price(xim, payoff, n, lower, upper) - exact)) for n in sizes]
            series.append((name, colour, errors))
            print(f"{lower} to {upper}, {name:16}", "  ".join(f"{n}: {e:.1e}" for n, e in errors))
        body += panel(left, f"Error, grid from {lower} to {upper} times the forward", "strikes on each side", series)
    OUT.write_text('<svg xmlns="http://www.w3.org/2000/svg" width="780" height="430" font-family="sans-serif" '
                   'font-size="11">\n<rect width="780" height="430" fill="white"/>\n' + "\n".join(body) + "\n</svg>\n")


if __name__ == "__main__":
    main()
