"""Checks what the README promises: its length, its first program, and that what it names is there.

Usage: check_readme.py <root of the sources>
"""
import pathlib
import re
import sys


def main():
    root = pathlib.Path(sys.argv[1])
    text = (root / "README.md").read_text(encoding="utf-8")
    assert len(text.splitlines()) <= 200
    assert (root / "examples/fit_plane.cpp").read_text(encoding="utf-8") in text
    named = re.findall(r"\]\(([^)#:]+)\)", text) + re.findall(r"^(scripts/\S+)", text, re.MULTILINE)
    headers = re.findall(r"`(?:math/)?((?:interop/)?\w+\.h)`", text)
    missing = [path for path in named if not (root / path).exists()]
    missing += [header for header in headers if not (root / "library/math" / header).exists()]
    assert not missing, missing
    assert len(named) > 5 and len(headers) > 20


if __name__ == "__main__":
    main()
