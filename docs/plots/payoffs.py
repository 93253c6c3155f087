#!/usr/bin/env python3
"""Draws docs/plots/payoff_*.svg: what the products of examples/products pay at maturity, over the
level of their underlying. The terms are read from the examples.

    python3 docs/plots/payoffs.py

Standard library only.
"""
import json
import pathlib

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OUT = pathlib.Path(__file__).resolve().parent
WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 380.0, 230.0, 52.0, 14.0, 14.0, 44.0
COLOURS = ["#1f77b4", "#d62728"]


def plus(x):
    return max(x, 0.0)


def option(terms, x, strike):
    return plus(x - strike) if terms.get("PayoffKind") != "PUT_TYPE" else plus(strike - x)


def piecewise(points, x):
    """Linear between the points, two equal x being a jump; the outer segments go on."""
    pairs = [(u, v) for u, v in zip(points, points[1:]) if u["X"] != v["X"]]
    for u, v in pairs:
        if x < v["X"]:
            break
    return u["Y"] + (v["Y"] - u["Y"]) / (v["X"] - u["X"]) * (x - u["X"])


def note(t, p):
    """The last date of an autocall that lost no coupon before, by the performance."""
    last = t["Schedule"][-1]
    if p >= 0.01 * last["AutocallBarrier"]:
        return 0.01 * last["Notional"] * last["PhoenixCoupon"]
    coupon = 0.01 * last["Notional"] * last["BonusCoupon"] if p >= 0.01 * last["CouponBarrier"] else 0.0
    return coupon + piecewise(t["FinalPayment"], p)


def portfolio(t, x):
    item = t["Cliquet"][0]
    amount = item["NotionalValue"] + item["DeltaValue"] * x
    for o in item["Options"]:
        sign = 1.0 if o["Kind"] == "CALL_TYPE" else -1.0
        amount += o["QuantityValue"] * plus(sign * (x - o["StrikeValue"]))
    for payoff in item["Payoffs"]:
        amount += payoff["QuantityValue"] * piecewise(payoff["Points"], x / START)
    return item["CashValue"] * amount


START = 4153.925  # ^GSPC in the demonstration data on 3 May 2021
SPOT = "spot at maturity"
# name of the example, axis, bounds, [(legend, payoff)]
PICTURES = [
    ("european_option", SPOT, (3000, 5300), [("", lambda t, x: option(t, x, t["Strike"]))]),
    ("digital_option", SPOT, (3000, 5300), [("", lambda t, x: 1.0 if x > t["Strike"] else 0.0)]),
    ("american_option", "spot at exercise", (3000, 5300), [("", lambda t, x: option(t, x, t["Strike"]))]),
    ("asian_option", "average of the fixings", (3000, 5300), [("", lambda t, x: option(t, x, t["Strike"]))]),
    ("spread_option", SPOT, (3000, 5300),
     [("", lambda t, x: option(t, x, t["StrikeLeft"]) + option(t, x, t["StrikeRight"]))]),
    ("butterfly_spread", SPOT, (3000, 5300),
     [("", lambda t, x: option(t, x, t["StrikeLeft"]) - 2.0 * option(t, x, t["StrikeCenter"])
       + option(t, x, t["StrikeRight"]))]),
    ("condor_spread", SPOT, (3000, 5300),
     [("", lambda t, x: option(t, x, t["StrikeExtremeLeft"]) - option(t, x, t["StrikeLeft"])
       - option(t, x, t["StrikeRight"]) + option(t, x, t["StrikeExtremeRight"]))]),
    ("risk_reversal", SPOT, (3000, 5300),
     [("", lambda t, x: plus(x - t["CallStrike"]) - plus(t["PutStrike"] - x))]),
    ("strangle", SPOT, (3000, 5300), [("", lambda t, x: plus(x - t["CallStrike"]) + plus(t["PutStrike"] - x))]),
    ("straddle", SPOT, (3000, 5300), [("", lambda t, x: abs(x - t["Strike"]))]),
    ("barrier_option", SPOT, (3000, 5300),
     [("came to life before", lambda t, x: option(t, x, t["Strike"])),
      ("did not", lambda t, x: option(t, x, t["Strike"]) if x < t["BarrierLevel"] else t["Rebate"])]),
    ("double_barrier_option", SPOT, (3000, 5300),
     [("", lambda t, x: x - t["Strike"] if t["LowerBarrierLevel"] < x < t["UpperBarrierLevel"] else t["Rebate"])]),
    ("reverse_convertible", SPOT, (3000, 5300),
     [("", lambda t, x: t["Coupon"] if x > t["Strike"] else t["Coupon"] / t["Strike"] * x)]),
    ("barrier_reverse_convertible", SPOT, (2500, 5300),
     [("", lambda t, x: t["Coupon"] if x > t["BarrierLevel"] else t["Coupon"] / t["Strike"] * x)]),
    ("autocall", "performance of the basket on the last date", (0.2, 1.4), [("", note)]),
    ("vanilla", SPOT, (3000, 5800), [("", portfolio)]),
]


def ticks(low, high):
    """About five round numbers."""
    raw = (high - low) / 5.0
    power = 10.0 ** len(str(int(raw))) / 10.0 if raw >= 1.0 else 0.1 if raw >= 0.1 else 0.01
    step = next(power * m for m in (1, 2, 5, 10) if power * m >= raw)
    first = int(low / step) if low >= 0 else -int(-low / step) - 1
    marks = [round((first + i) * step, 6) for i in range(12)]
    return [m for m in marks if low - 1e-9 <= m <= high + 1e-9]


def corners(run):
    """The points of a line without those in the middle of a straight piece."""
    kept = run[:1]
    for here, after in zip(run[1:], run[2:]):
        before = kept[-1]
        slope = (after[1] - before[1]) / (after[0] - before[0])
        if abs(before[1] + slope * (here[0] - before[0]) - here[1]) > 1e-6 * (1.0 + abs(here[1])):
            kept.append(here)
    return kept + run[-1:]


def draw(axis, bounds, lines):
    """lines = [(legend, [(x, y), ...])]; a jump between two neighbouring points is not joined."""
    x0, x1 = bounds
    values = [y for _, points in lines for _, y in points]
    y0, y1 = min(values), max(values)
    pad = 0.06 * (y1 - y0)
    y0, y1 = y0 - pad, y1 + pad
    width, height = WIDTH - LEFT - RIGHT, HEIGHT - TOP - BOTTOM
    at_x = lambda x: LEFT + (x - x0) / (x1 - x0) * width
    at_y = lambda y: TOP + (y1 - y) / (y1 - y0) * height
    out = [f'<rect x="{LEFT}" y="{TOP}" width="{width}" height="{height}" fill="none" stroke="#888"/>']
    for x in ticks(x0, x1):
        out.append(f'<text x="{at_x(x):.1f}" y="{TOP + height + 15:.1f}" text-anchor="middle">{x:g}</text>')
    for y in ticks(y0, y1):
        out.append(f'<line x1="{LEFT}" x2="{LEFT + width}" y1="{at_y(y):.1f}" y2="{at_y(y):.1f}" stroke="#ddd"/>')
        out.append(f'<text x="{LEFT - 5}" y="{at_y(y) + 4:.1f}" text-anchor="end">{y:g}</text>')
    out.append(f'<text x="{LEFT + width / 2}" y="{TOP + height + 34}" text-anchor="middle">{axis}</text>')
    for row, (legend, points) in enumerate(lines):
        colour, run = COLOURS[row], [points[0]]
        for before, after in zip(points, points[1:] + [None]):
            if after is None or abs(after[1] - before[1]) > 0.05 * (y1 - y0):
                line = " ".join(f"{at_x(x):.1f},{at_y(y):.1f}" for x, y in corners(run))
                dash = ' stroke-dasharray="6 4"' if row else ""
                out.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"{dash}/>')
                run = []
            if after is not None:
                run.append(after)
        if legend:
            out.append(f'<text x="{LEFT + width - 8}" y="{TOP + 18 + 15 * row}" text-anchor="end" fill="{colour}">{legend}</text>')
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH:g}" height="{HEIGHT:g}" font-family="sans-serif" '
            f'font-size="11">\n<rect width="{WIDTH:g}" height="{HEIGHT:g}" fill="white"/>\n' + "\n".join(out) + "\n</svg>\n")


def main():
    for name, axis, bounds, payoffs in PICTURES:
        request = json.loads((ROOT / f"examples/products/{name}.json").read_text())
        terms = request["ContractConfiguration"]
        grid = [bounds[0] + (bounds[1] - bounds[0]) * i / 460.0 for i in range(461)]
        lines = [(legend, [(x, payoff(terms, x)) for x in grid]) for legend, payoff in payoffs]
        (OUT / f"payoff_{name}.svg").write_text(draw(axis, bounds, lines))


if __name__ == "__main__":
    main()
