"""Checks the demonstration's page: whole in itself, accessible, its code that of the compiled sources
and its figures where the data put them.

Usage: check_page.py <page.html> <directory of the examples>
"""
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"

# A figure of each section and the range for it: what the makers of the data know, or applied.
EXPECTED = {
    "plane": ("Height of the sensor", 2.20, 2.28),  # the scanner's mast
    "ellipses": ("Coins found", 20, 24),
    "registration": ("Angle found", 34.4535, 34.4561),  # 34.45477 was applied; four deviations
    "track": ("Truth inside the 95 % ellipse", 51, 60),  # 57 are expected
    "spline": ("RMS distance", 0.03, 0.15),  # edges are known to a tenth of a pixel
    "polyhedron": ("Volume", 0.305, 0.335),  # 0.36 m by 1.44 m by 0.61 m, tilted faces
}


def number(text):
    return float(re.match(r"[−\d.]+", text)[0].replace("−", "-"))


def check_section(section, examples):
    name = section.get("id")
    picture, = section.iter(SVG + "svg")
    assert picture.get("role") == "img" and len(picture.get("aria-label")) > 20, name
    assert {"[m]", "[px]"} & set(" ".join(picture.itertext()).split()), name

    figures = {row.find("th").text: row.find("td").text for row in section.iter("tr")}
    assert len(figures) >= 5 and "±" in " ".join(figures.values()), (name, figures)
    assert not re.search("nan|inf", " ".join(figures.values())), figures
    figure, low, high = EXPECTED[name]
    assert low <= number(figures[figure]) <= high, (figure, figures[figure])

    code = section.find("pre/code").text.splitlines()
    assert 8 <= len(code) <= 18, (name, len(code))
    source = [line.strip() for line in (examples / "panels" / f"{name}.cpp").read_text().splitlines()]
    assert all(line.strip() in source for line in code), name


def main():
    page, examples = map(pathlib.Path, sys.argv[1:3])
    text = page.read_text(encoding="utf-8")
    root = ElementTree.fromstring(text)  # raises where it is not well-formed

    assert root.get("lang") == "en" and root.find("head/meta[@name='viewport']") is not None
    assert "@media print" in text and "@import" not in text and "url(" not in text
    assert not list(root.iter("script")) and not list(root.iter("link")) and not list(root.iter("img"))
    ids = [e.get("id") for e in root.iter() if e.get("id")]
    assert len(ids) == len(set(ids)), ids
    for element in root.iter():
        for name, value in element.attrib.items():
            assert "//" not in value and not name.endswith("src"), (element.tag, name, value)
    links = [a.get("href") for a in root.iter("a")]
    sections = list(root.iter("section"))
    assert links == ["#" + s.get("id") for s in sections] and len(links) == 6, links
    assert set(EXPECTED) == set(ids)
    for section in sections:
        check_section(section, examples)


if __name__ == "__main__":
    main()
