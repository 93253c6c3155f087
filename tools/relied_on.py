#!/usr/bin/env python3
"""Writes docs/compatibility.md: the behaviour that looks odd and that callers rely on.

Each such place in the code carries a comment that starts with "Relied on:". The page is the list of these comments;
--check fails when it is not what the code says.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "compatibility.md"
HEAD = """# Behaviour that callers rely on

Some behaviour of the library looks odd, and is kept because results and callers depend on it. Each place in the code is
marked, and this page is the list of the marks (`tools/relied_on.py` writes it).
"""


def rules():
    """(folder, file, text) of each mark, in the order of the files."""
    for folder in ("include", "src"):
        for file in sorted((ROOT / folder).rglob("*.[ch]pp")):
            lines = file.read_text().splitlines()
            for number, line in enumerate(lines):
                start = re.search(r"//[/<]*\s*(?:.*?\s)?Relied on: (.*)", line)
                if not start:
                    continue
                text = [start.group(1)]
                for follower in lines[number + 1:]:
                    more = re.match(r"\s*//[/<]*\s?(?!.*Relied on:)(\S.*)", follower)
                    if not more or text[-1].endswith("."):
                        break
                    text.append(more.group(1))
                yield file.relative_to(ROOT).as_posix(), " ".join(text).strip()


def page() -> str:
    parts, last = [HEAD], None
    for file, text in rules():
        if file != last:
            parts.append(f"\n`{file}`\n")
            last = file
        parts.append(f"- {text[0].upper()}{text[1:].rstrip('.')}.")
    return "\n".join(parts) + "\n"


if __name__ == "__main__":
    if "--check" in sys.argv:
        if PAGE.read_text() != page():
            sys.exit("docs/compatibility.md is not what the code says: run tools/relied_on.py")
        print("compatibility: ok")
    else:
        PAGE.write_text(page())
