"""Draws the diagrams of the pages when the site is made: Mermaid's flowcharts, as far as we use them, by Graphviz.

Known are `flowchart TD` (or LR), nodes as `name` or `name["label"]`, and arrows `-->` and `-.->`, plain or with a label
in the middle: `-- "label" -->`, `-. "label" .->`. Anything else is an error, so no diagram is drawn in part.
"""
import html
import re
import subprocess

from pymdownx.superfences import SuperFencesException  # any other would be passed over

NODE = r'(\w+)(?:\["([^"]*)"\])?'
ARROW = r'(?:(--|-\.)\s*"([^"]*)"\s*)?(-->|\.->|-\.->)'
LINE = re.compile(rf"^\s*{NODE}(?:\s*{ARROW}\s*{NODE})?\s*$")


def graph(source):
    """The same flowchart in Graphviz's language."""
    first, *lines = source.strip().split("\n")
    kind = re.match(r"^flowchart (TD|LR)$", first)
    if not kind:
        raise SuperFencesException(f"a diagram that cannot be drawn: {first}")
    out = [f'digraph {{ rankdir={"LR" if kind.group(1) == "LR" else "TB"}; bgcolor=transparent; ranksep=0.45;',
           'node [shape=box fontname="Helvetica" fontsize=12 margin="0.15,0.1"];',
           'edge [fontname="Helvetica" fontsize=11 arrowsize=0.7];']
    for line in lines:
        match = LINE.match(line)
        if not match:
            raise SuperFencesException(f"a line of a diagram that cannot be drawn: {line.strip()}")
        start, start_label, _, label, arrow, end, end_label = match.groups()
        for name, text in ((start, start_label), (end, end_label)):
            if text is not None:
                out.append(f'{name} [label="{text}"];')
        if arrow:
            style = "dashed" if "." in arrow else "solid"
            out.append(f'{start} -> {end} [style={style} label="{label or ""}"];')
    return "\n".join(out) + "}"


def fence(source, language, css_class, options, md, **kwargs):
    """What superfences calls for a block of the language `mermaid`."""
    try:
        drawing = subprocess.run(["dot", "-Tsvg"], input=graph(source), capture_output=True, text=True, check=True).stdout
    except (OSError, subprocess.CalledProcessError) as failure:
        raise SuperFencesException(f"Graphviz draws nothing: {failure}") from failure
    drawing = re.sub(r"<title>.*?</title>\n?", "", drawing[drawing.index("<svg"):])
    drawing = re.sub(r'(<svg) width="(\d+)pt" height="\d+pt"', r'\1 style="width: \2pt" role="img"', drawing)
    return f'<figure class="{html.escape(css_class)}">{drawing}</figure>'
