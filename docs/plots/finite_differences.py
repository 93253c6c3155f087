#!/usr/bin/env python3
"""Draws docs/plots/finite_differences.svg: the error of finite difference prices against the closed
formula, by the number of grid points and by the time step. Needs a built `xim`:

    ./dev build && python3 docs/plots/finite_differences.py [path of xim]

Standard library only.
"""
import json
import math
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OUT = pathlib.Path(__file__).resolve().parent / "finite_differences.svg"
SPOT, SIGMA = 4153.925, 0.2  # ^GSPC in the demonstration data on 3 May 2021, without rates
STRIKES = [0.8, 0.9, 0.95, 1.0, 1.05, 1.1, 1.25]  # the worst error over these, relative to the spot


def price(xim, strike, points, days, explicit, extrapolated):
    date = "2022-05-03"
    request = {
        "ContractConfiguration": {
            "Date": "2021-05-03", "PremiumCurrency": "USD", "Kind": "CONSOLE",
            "Script": f"Pay(Max(Spot(^GSPC,{date})/{SPOT}-{strike},0),{date},USD)"},
        "ModelConfiguration": {
            "CalibrationDate": "2021-05-03", "Name": "BLACK_SCHOLES_MODEL",
            "BlackScholesFiniteDifferenceGridSize": points,
            "BlackScholesFiniteDifferenceConfidenceLevel": 0.9999},
        "PricerConfiguration": {
            "Method": "FINITE_DIFFERENCE", "FiniteDifferenceTimeStep": days,
            "FiniteDifferenceExplicitRate": explicit,
            "FiniteDifferenceUseRichardsonRombergExtrapolation": extrapolated}}
    run = subprocess.run([xim, "/GetPrice", "-"], input=json.dumps(request), capture_output=True, text=True)
    answer = json.loads(run.stdout)
    if run.returncode != 0:
        raise SystemExit(json.dumps(answer.get("Logger"), indent=1))
    return answer["Pricer"]["Pricer"]["Price"][0]["Value"]["Mean"]


def exact(strike):
    d = -math.log(strike) / SIGMA + 0.5 * SIGMA
    normal = lambda x: 0.5 * math.erfc(-x / math.sqrt(2.0))
    return normal(d) - strike * normal(d - SIGMA)


def error(xim, **settings):
    return max(abs(price(xim, strike, **settings) - exact(strike)) for strike in STRIKES)


def panel(left, title, axis, series):
    """One log-log panel of 360 by 300 points: series = [(name, colour, [(x, y), ...])]."""
    width, height, top = 300.0, 230.0, 40.0
    xs = [math.log10(x) for _, _, points in series for x, _ in points]
    ys = [math.log10(max(y, 1e-9)) for _, _, points in series for _, y in points]
    x0, x1, y0, y1 = min(xs), max(xs), math.floor(min(ys)), math.ceil(max(ys))
    at_x = lambda x: left + (math.log10(x) - x0) / (x1 - x0) * width
    at_y = lambda y: top + (y1 - math.log10(max(y, 1e-9))) / (y1 - y0) * height
    out = [f'<text x="{left + width / 2}" y="20" text-anchor="middle" font-weight="bold">{title}</text>',
           f'<rect x="{left}" y="{top}" width="{width}" height="{height}" fill="none" stroke="#888"/>']
    for power in range(y0, y1 + 1):
        y = at_y(10.0 ** power)
        out.append(f'<line x1="{left}" x2="{left + width}" y1="{y:.1f}" y2="{y:.1f}" stroke="#ddd"/>')
        out.append(f'<text x="{left - 6}" y="{y + 4:.1f}" text-anchor="end">1e{power}</text>')
    for x in sorted({x for _, _, points in series for x, _ in points}):
        out.append(f'<text x="{at_x(x):.1f}" y="{top + height + 16}" text-anchor="middle">{x}</text>')
    out.append(f'<text x="{left + width / 2}" y="{top + height + 34}" text-anchor="middle">{axis}</text>')
    for row, (name, colour, points) in enumerate(series):
        line = " ".join(f"{at_x(x):.1f},{at_y(y):.1f}" for x, y in points)
        out.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out += [f'<circle cx="{at_x(x):.1f}" cy="{at_y(y):.1f}" r="3" fill="{colour}"/>' for x, y in points]
        y = top + height + 54 + 16 * row
        out.append(f'<line x1="{left}" x2="{left + 20}" y1="{y - 4}" y2="{y - 4}" stroke="{colour}" stroke-width="2"/>')
        out.append(f'<text x="{left + 26}" y="{y}">{name}</text>')
    return out


def main():
    xim = sys.argv[1] if len(sys.argv) > 1 else str(ROOT / "build/release/tools/xim")
    sizes = [25, 50, 100, 200, 400, 800]
    steps = [1, 2, 5, 10, 20, 40]
    by_size = [("Crank-Nicolson, a step a day", "#1f77b4",
                [(n, error(xim, points=n, days=1, explicit=50, extrapolated=False)) for n in sizes]),
               ("implicit, a step a day", "#d62728",
                [(n, error(xim, points=n, days=1, explicit=0, extrapolated=False)) for n in sizes])]
    by_step = [("Crank-Nicolson", "#1f77b4",
                [(d, error(xim, points=800, days=d, explicit=50, extrapolated=False)) for d in steps]),
               ("implicit", "#d62728",
                [(d, error(xim, points=800, days=d, explicit=0, extrapolated=False)) for d in steps]),
               ("implicit, extrapolated", "#2ca02c",
                [(d, error(xim, points=800, days=d, explicit=0, extrapolated=True)) for d in steps])]
    body = panel(60, "Error by grid points", "points", by_size)
    body += panel(440, "Error by time step, 800 points", "days", by_step)
    OUT.write_text('<svg xmlns="http://www.w3.org/2000/svg" width="780" height="380" font-family="sans-serif" '
                   'font-size="11">\n<rect width="780" height="380" fill="white"/>\n' + "\n".join(body) + "\n</svg>\n")
    for _, series in (("points", by_size), ("days", by_step)):
        for name, _, points in series:
            print(f"{name:32}", "  ".join(f"{x}: {y:.1e}" for x, y in points))


if __name__ == "__main__":
    main()
