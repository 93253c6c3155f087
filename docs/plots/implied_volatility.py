#!/usr/bin/env python3
"""Draws docs/plots/heston.svg, slices of Heston volatilities, and prints the tables of the search for
implied volatilities in docs/implied-volatility.md. Needs a built `xim`:

    ./dev build && python3 docs/plots/implied_volatility.py [path of xim]

Standard library only.
"""
import json
import math
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OUT = pathlib.Path(__file__).resolve().parent / "heston.svg"
EXAMPLES = ROOT / "examples" / "analysis"
COLOURS = ["#1f77b4", "#d62728", "#2ca02c", "#ff7f0e"]


def ask(xim, route, request):
    run = subprocess.run([xim, route, "-"], input=json.dumps(request), capture_output=True, text=True)
    answer = json.loads(run.stdout)
    if run.returncode != 0:
        raise SystemExit(json.dumps(answer.get("Logger"), indent=1))
    return answer


def heston(xim, **terms):
    request = json.loads((EXAMPLES / "heston_forward_moneyness_pct.json").read_text())
    record = request["ModelConfiguration"]["HestonStochasticVolatilityModel"]
    record.update(Slice=[{"Space": x} for x in range(60, 146, 2)], **terms)
    answer = ask(xim, "/GetHestonImpliedVolatility", request)
    slice_ = answer["ModelConfiguration"]["HestonStochasticVolatilityModel"]["Slice"]
    root = math.sqrt(record["MaturityTime"])  # what is found from a price is a total volatility
    return [(point["Space"], point["Value"] / root) for point in slice_]


def panel(left, title, series):
    """Volatilities over forward moneyness, both in percent: series = [(name, [(x, y), ...])]."""
    width, height, top, x0, x1, y0, y1 = 300.0, 230.0, 40.0, 60, 145, 10, 45
    at_x = lambda x: left + (x - x0) / (x1 - x0) * width
    at_y = lambda y: top + (y1 - y) / (y1 - y0) * height
    out = [f'<text x="{left + width / 2}" y="20" text-anchor="middle" font-weight="bold">{title}</text>',
           f'<rect x="{left}" y="{top}" width="{width}" height="{height}" fill="none" stroke="#888"/>']
    for y in range(y0, y1 + 1, 5):
        out.append(f'<line x1="{left}" x2="{left + width}" y1="{at_y(y):.1f}" y2="{at_y(y):.1f}" stroke="#ddd"/>')
        out.append(f'<text x="{left - 6}" y="{at_y(y) + 4:.1f}" text-anchor="end">{y}</text>')
    for x in range(x0, x1 + 1, 20):
        out.append(f'<text x="{at_x(x):.1f}" y="{top + height + 16}" text-anchor="middle">{x}</text>')
    out.append(f'<text x="{left + width / 2}" y="{top + height + 34}" text-anchor="middle">strike / forward, %</text>')
    for row, (name, points) in enumerate(series):
        colour = COLOURS[row]
        line = " ".join(f"{at_x(x):.1f},{at_y(y):.1f}" for x, y in points)
        out.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        y = top + height + 54 + 16 * row
        out.append(f'<line x1="{left}" x2="{left + 20}" y1="{y - 4}" y2="{y - 4}" stroke="{colour}" stroke-width="2"/>')
        out.append(f'<text x="{left + 26}" y="{y}">{name}</text>')
    return out


def draw_heston(xim):
    body = panel(50, "Correlation", [(f"{rho} %", heston(xim, SpotVarianceCorrelation=rho)) for rho in (-90, -50, 0, 50)])
    body += panel(420, "Volatility of the variance",
                  [(f"{xi} %", heston(xim, VarianceVolatility=xi)) for xi in (0, 30, 60, 100)])
    body += panel(790, "Maturity", [(f"{t:g} y", heston(xim, MaturityTime=t)) for t in (0.5, 1, 2, 5)])
    OUT.write_text('<svg xmlns="http://www.w3.org/2000/svg" width="1110" height="390" font-family="sans-serif" '
                   'font-size="11">\n<rect width="1110" height="390" fill="white"/>\n' + "\n".join(body) + "\n</svg>\n")


def print_tester(xim):
    request = json.loads((EXAMPLES / "implied_volatility_tester.json").read_text())
    record = request["Data"]["ImpliedVolatilityComputationTester"]
    guesses = ("LEGACY", "STEFANICA_RADOICIC")

    def run(**terms):
        record.update(terms)
        return ask(xim, "/TestImpliedVolatilityComputation", request)["Data"]["ImpliedVolatilityComputationTester"]

    def cells(answer):
        return [cell["Error"] for row in answer["Errors"]["Data"] for cell in row if cell["Status"]]

    print("guess, most iterations 50: tolerance | cells found, mean error, worst error, mean iterations")
    for exponent in (-2, -4, -6, -8, -10, -12):
        for guess in guesses:
            answer = run(InitialGuessMethod=guess, ToleranceExponant=exponent, MaximumIterations=50)
            print(f"{exponent:4} {guess:19} {len(cells(answer)):3} {answer['AverageError']:8.2f} "
                  f"{max(cells(answer)):6} {answer['AverageIterations']:6.2f}")
    print("cells found with tolerance 1e-5, by the most iterations")
    for most in (1, 2, 3, 4, 5, 7, 10, 20, 50):
        print(f"{most:4}", [len(cells(run(InitialGuessMethod=guess, ToleranceExponant=-5, MaximumIterations=most)))
                            for guess in guesses])
    print("errors with tolerance 1e-5, 50 iterations, by strike / forward and total volatility")
    answer = run(InitialGuessMethod=guesses[1], ToleranceExponant=-5, MaximumIterations=50)
    print("     ", answer["Errors"]["Cols"])
    for space, row in zip(answer["Errors"]["Rows"], answer["Errors"]["Data"]):
        print(f"{space:5g}", [cell["Error"] if cell["Status"] else "-" for cell in row])


def main():
    xim = sys.argv[1] if len(sys.argv) > 1 else str(ROOT / "build/release/tools/xim")
    draw_heston(xim)
    print_tester(xim)


if __name__ == "__main__":
    main()
