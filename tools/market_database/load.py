#!/usr/bin/env python3
"""Turns market files into the rows of a market database, as SQL on the standard output.

    load.py FILE... | mariadb --host=HOST --port=PORT --user=USER --password market

A market file is a JSON array of typed objects, or a source description of kind "manual" that holds one; comments are
allowed. Objects of other types, and those without their key columns, are skipped. As when a file is read, the first of
two rows with the same key wins.
"""
import argparse
import json
import re
import sys

UNDERLYING = ["ticker", "name", "currency", "fixing_calendar", "day_counter"]

# Table: its columns, without the leading underscore, and how many of those named first are its key.
TABLES = {
    "Currency": (["ticker", "name", "forward_rate_affinity_factor", "calendar", "day_counter"], 1),
    "ShareUnderlying": (UNDERLYING, 1),
    "FundUnderlying": (UNDERLYING, 1),
    "IndexUnderlying": (UNDERLYING, 1),
    "ExchangeRateUnderlying": (["ticker", "name", "quote_currency", "fixing_calendar", "day_counter",
                                "base_currency"], 1),
    "SwapRateUnderlying": (UNDERLYING + ["start", "end", "frequency"], 1),
    "ZeroCouponBondUnderlying": (UNDERLYING + ["start", "end", "calendar"], 1),
    "DepositRateUnderlying": (UNDERLYING + ["start", "end"], 1),
    "Spot": (["date", "ticker", "bid", "ask"], 2),
    "BlackScholesVolatility": (["date", "ticker", "value"], 2),
    "Correlation": (["date", "first", "second", "value"], 3),
}
NUMBERS = {"forward_rate_affinity_factor", "bid", "ask", "value"}
ROWS_PER_STATEMENT = 1000


def without_comments(text):
    """Blanks out // and /* */ comments, not those inside texts."""
    token = re.compile(r'"(?:\\.|[^"\\])*"|//[^\n]*|/\*.*?\*/', re.S)
    return token.sub(lambda m: m.group() if m.group().startswith('"') else " ", text)


def literal(column, value):
    """The value as SQL; NULL for what the column cannot hold."""
    if column in NUMBERS:
        is_number = isinstance(value, (int, float)) and not isinstance(value, bool)
        return repr(float(value)) if is_number and abs(float(value)) < float("inf") else "NULL"
    if not isinstance(value, str):
        return "NULL"
    return "'" + value.replace("\\", "\\\\").replace("'", "''").replace("\0", "") + "'"


def member(item, column):
    if column == "currency" and "currency" not in item:
        return item.get("quote_currency")
    if column == "quote_currency":
        return item.get("currency", item.get("quote_currency"))
    return item.get(column)


def rows(document):
    """The rows of each table that the document fills."""
    found = {}
    for item in document if isinstance(document, list) else []:
        if not isinstance(item, dict) or item.get("type") not in TABLES:
            continue
        table = item["type"]
        columns, nb_keys = TABLES[table]
        values = [literal(column, member(item, column)) for column in columns]
        if "NULL" not in values[:nb_keys]:
            found.setdefault(table, []).append("(" + ", ".join(values) + ")")
    return found


def write_statements(document, out):
    for table, lines in rows(document).items():
        columns = ", ".join("_" + column for column in TABLES[table][0])
        for i in range(0, len(lines), ROWS_PER_STATEMENT):
            out.write(f"INSERT IGNORE INTO {table} ({columns}) VALUES\n")
            out.write(",\n".join(lines[i:i + ROWS_PER_STATEMENT]) + ";\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE")
    sys.stdout.write("SET NAMES utf8mb4;\nSTART TRANSACTION;\n")
    for path in parser.parse_args().files:
        with open(path, encoding="utf-8") as file:
            document = json.loads(without_comments(file.read()))
        if isinstance(document, dict):
            document = document.get("Data")
        write_statements(document, sys.stdout)
    sys.stdout.write("COMMIT;\n")


if __name__ == "__main__":
    main()
