#!/usr/bin/python3
"""drawings.py svg|mermaid: what the drawing on standard input shows.

Prints a line for each box, frame and arrow: its kind, its names, and its label, as JSON. A Mermaid
flowchart is held against the published grammar of flowcharts (statements, vertices, links, texts),
as far as it is used here; the status is 1 if a line does not follow it.
"""
import json
import re
import sys
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"


def show(kind, *texts):
    print(kind, " ".join(json.dumps(text, ensure_ascii=False) for text in texts))


def svg(data):
    root = ElementTree.fromstring(data)
    assert root.tag == SVG + "svg", root.tag
    for group in root.iter(SVG + "g"):
        kind = group.get("class")
        if kind == "graph":
            continue
        title = group.find(SVG + "title").text
        label = "\n".join(text.text or "" for text in group.iter(SVG + "text"))
        style = [shape.get(name) for shape in group if shape.tag != SVG + "text"
                 for name in ("stroke", "stroke-width", "stroke-dasharray") if shape.get(name)]
        show(kind, title, label, " ".join(sorted(set(style) - {"black", "transparent"})))


ID = r"[A-Za-z][A-Za-z0-9_]*"
# A quoted text: the grammar takes anything but a quote; a backtick in front begins another kind.
TEXT = r'"(?!`)([^"\n]*)"'
# Links of the grammar: normal, thick and dotted, with an arrow at their end.
LINK = r"(-{2,}>|={2,}>|-\.+->)"
STATEMENTS = [
    ("vertex", re.compile(rf'({ID})\[{TEXT}\](?::::({ID}))?$')),
    ("link", re.compile(rf'({ID})\s*{LINK}(?:\|{TEXT}\|)?\s*({ID})$')),
    ("subgraph", re.compile(rf'subgraph\s+({ID})\[{TEXT}\]$')),
    ("end", re.compile(r"end$")),
    ("classDef", re.compile(rf'classDef\s+({ID})\s+([a-z-]+:[a-z0-9 ]+(?:,[a-z-]+:[a-z0-9 ]+)*)$')),
]


def meant(text):
    """What a browser shows of a label: numbers of characters, and breaks of lines."""
    for stray in re.sub(r"#\d+;|<br/>", "", text):
        assert stray not in "#<>&;{}[]()|%\\:", (stray, text)
    return re.sub(r"#(\d+);", lambda match: chr(int(match.group(1))), text.replace("<br/>", "\n"))


def mermaid(data):
    lines = data.decode("utf-8").split("\n")
    assert lines.pop() == "" and re.match(r"flowchart (LR|TB|TD|RL|BT)$", lines[0]), lines[0]
    frames, known, classes, used = [], set(), set(), set()
    for line in lines[1:]:
        for kind, form in STATEMENTS:
            match = form.match(line.strip(" "))
            if match:
                break
        else:
            sys.exit("no statement: %r" % line)
        if kind == "vertex":
            name, label, style = match.groups()
            assert name not in known and name != "end", name
            known.add(name)
            used.add(style)
            show("node", name, meant(label), style or "")
        elif kind == "link":
            first, link, label, second = match.groups()
            assert first in known and second in known, line
            show("edge", first + link + second, meant(label or ""))
        elif kind == "subgraph":
            known.add(match.group(1))
            frames.append(match.group(1))
            show("cluster", match.group(1), meant(match.group(2)))
        elif kind == "end":
            frames.pop()
        else:
            classes.add(match.group(1))
    assert not frames and used - {None} <= classes, (frames, used, classes)


{"svg": svg, "mermaid": mermaid}[sys.argv[1]](sys.stdin.buffer.read())
