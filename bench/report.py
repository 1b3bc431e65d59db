#!/usr/bin/env python3
"""Writes RESULTS.md and results.svg from what measure.py found: report.py RESULT.json

Beside it lie the lower bounds (bounds.csv: a fixed time and a time for each edge point), the ratios to reach
(goals.csv: against a named peer or the strongest) and remarks (remarks.csv). Inputs may hold wildcards; the first
line that fits counts.
"""

import csv
import json
import math
import statistics
import sys
from fnmatch import fnmatchcase
from html import escape
from pathlib import Path

HERE = Path(__file__).resolve().parent
OURS = "skylevel"
COPY = "memcpy"
GROWTH = "horizon request, growing"


def matching(table, operation, size):
    with open(HERE / table, newline="") as file:
        return [line for line in csv.DictReader(file)
                if line["operation"] == operation and fnmatchcase(size, line["input"])]


class Row:
    """One operation on one input, with all contenders."""

    def __init__(self, operation, size):
        self.operation, self.input = operation, size
        self.times, self.points = {}, {}
        remarks = matching("remarks.csv", operation, size)
        self.remark = remarks[0]["remark"] if remarks else ""

    def fastest(self, contender):
        return min(self.times[contender])

    def peers(self):
        """Strongest first."""
        return sorted((name for name in self.times if name not in (OURS, COPY)), key=self.fastest)

    def ratio(self, contender):
        return self.fastest(contender) / self.fastest(OURS)

    def goals(self):
        """Ratio to reach for each peer that one is set against."""
        goals = {}
        for line in matching("goals.csv", self.operation, self.input):
            for peer in [line["against"]] if line["against"] else self.peers()[:1]:
                if peer in self.times:
                    goals.setdefault(peer, float(line["ratio"]))
        return goals

    def judge(self):
        """Whom the plot compares ours with: the first peer that a goal is set against, or the strongest."""
        return next(iter([*self.goals(), *self.peers()]), None)

    def share(self):
        """The share of the lower bound that ours reaches, or of a memcpy's speed."""
        bounds = matching("bounds.csv", self.operation, self.input)
        if bounds:
            bound = float(bounds[0]["us"]) + float(bounds[0]["us_per_point"] or 0) * self.points[OURS]
            return f"{bound / self.fastest(OURS):.0%} of the bound"
        speed = self.ratio(COPY) if COPY in self.times else 0.0
        return f"{speed:.0%} of memcpy" if speed >= 0.01 else ""  # below, it says nothing


def collect(measured):
    rows = {}
    for run in measured["rows"]:
        row = rows.setdefault((run["operation"], run["input"]), Row(run["operation"], run["input"]))
        row.times[run["contender"]] = run["us"]
        row.points[run["contender"]] = run["points"]
    return list(rows.values())


def microseconds(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def pair(times):
    return f"{microseconds(min(times))} ({microseconds(statistics.median(times))})"


def table(header, lines):
    """A Markdown table; columns whose heading ends with ':' are aligned to the right."""
    rule = ["--:" if name.endswith(":") else "---" for name in header]
    return "\n".join("| " + " | ".join(cells) + " |"
                     for cells in [[name.rstrip(":") for name in header], rule, *lines]) + "\n"


def verdict(row, contender):
    goal = row.goals().get(contender)
    if goal is None:
        return ""
    return f"{goal:g}" if row.ratio(contender) >= goal else f"{goal:g}, **missed**"


def operation_lines(rows):
    for row in rows:
        if row.operation == GROWTH:
            continue
        points = f" ({row.points[OURS]} points)" if row.points[OURS] else ""
        own = [row.operation, row.input + points, pair(row.times[OURS])]
        tail = [microseconds(row.fastest(COPY)) if COPY in row.times else "", row.share(), row.remark]
        for name in row.peers() or [""]:
            versus = ["", "", "", ""]
            if name:
                found = f", {row.points[name]} points" if row.points[name] not in (0, row.points[OURS]) else ""
                versus = [name + found, pair(row.times[name]), f"{row.ratio(name):.2f}", verdict(row, name)]
            yield own + versus + tail
            own, tail = [""] * 3, [""] * 3


def growth_lines(rows):
    for row in (row for row in rows if row.operation == GROWTH):
        width, height = map(int, row.input.split()[0].split("x"))
        pixels = width * height
        yield [row.input, f"{pixels / 1e6:.1f}", str(row.points[OURS]), pair(row.times[OURS]),
               f"{row.fastest(OURS) * 1000 / pixels:.2f}", f"{row.fastest(OURS) * 1000 / row.points[OURS]:.0f}"]


def instruction_lines(counts):
    groups = {}
    for entry in counts:
        groups.setdefault((entry["operation"], entry["input"]), {})[entry["contender"]] = entry["count"]
    for (operation, size), group in groups.items():
        own = group.pop(OURS)
        peers = [f"{name} {count:,} ({count / own:.2f})" for name, count in group.items()]
        yield [operation, size, f"{own:,}", "; ".join(peers)]


def tool_lines(tool):
    parts = ("whole process", "decode", "decide")
    lines = [[part, f"{min(tool[part]):.1f}", f"{statistics.median(tool[part]):.1f}"] for part in parts]
    # Decoding and deciding are timed warm; what they cost more at first is part of the rest.
    whole, decode, decide = (statistics.median(tool[part]) for part in parts)
    return [*lines, ["rest: start, cold caches, output", "", f"{whole - decode - decide:.1f}"]]


def write_report(measured, rows):
    facts = "\n".join(f"- {name}: {value}" for name, value in measured["machine"].items())
    reached = [row.ratio(name) >= goal for row in rows for name, goal in row.goals().items()]
    memory = [[entry["input"], f"{entry['pixels']:,}", f"{entry['peak']:,}", f"{entry['peak'] / entry['pixels']:.2f}"]
              for entry in measured["memory"]]
    (HERE / "RESULTS.md").write_text(f"""# Measured speed

Written by `scripts/bench`; {sum(reached)} of {len(reached)} goals reached. One run on:

{facts}

![Ratios to the peers](results.svg)

## Operations

Microseconds of CPU time on one thread, the fastest of {measured['repetitions']} interleaved repetitions and, in
brackets, their median. The ratio is the peer's fastest time over ours: above 1, ours is faster. "memcpy" copies as
many bytes as the operation has to read and write, half of each. The bounds are the least that the exact arithmetic
costs with AVX2 at 3.19 GHz; a machine with a faster clock can pass them. Points are those of the edge map.

{table(["operation", "input", "skylevel us:", "peer", "peer us:", "ratio:", "goal:", "memcpy us:", "share", "remark"],
       operation_lines(rows))}
A goal of 0.95 means level.

## Growth with the picture

{table(["input", "megapixels:", "points:", "skylevel us:", "ns per pixel:", "ns per point:"], growth_lines(rows))}
## Memory of a request

The most that is allocated at once. Four float planes and two byte planes of the reduced size would be 18 bytes per
reduced pixel.

{table(["picture", "reduced pixels:", "peak bytes:", "bytes per reduced pixel:"], memory)}
## Instructions

Counted by callgrind, which knows AVX2 and nothing wider; in brackets the peer's over ours.

{table(["operation", "input", "skylevel:", "peers"], instruction_lines(measured["instructions"]))}
## The tool on a 12-megapixel JPEG

Milliseconds of CPU time of `skylevel detect` on a 4000x3000 photo of {measured['tool']['bytes'] / 1e6:.1f} MB.

{table(["part", "fastest:", "median:"], tool_lines(measured["tool"]))}""")


STYLE = """
.card { fill: #ffffff; stroke: #d0d7de } text { font: 12px sans-serif; fill: #1f2328 } .quiet { fill: #59636e }
.head { font-weight: bold } .grid { stroke: #d0d7de } .level { stroke: #59636e }
.goal { stroke: #1f2328; stroke-width: 2 }
.ahead { fill: #2f81c7 } .behind { fill: #d1632a }
@media (prefers-color-scheme: dark) {
.card { fill: #0d1117; stroke: #3d444d } text { fill: #f0f6fc } .quiet { fill: #9198a1 } .grid { stroke: #3d444d }
.level { stroke: #9198a1 } .goal { stroke: #f0f6fc } .ahead { fill: #4493f8 } .behind { fill: #e5814b } }
"""


class Plot:
    """Bars on a logarithmic axis, one a row, under the names of the operations."""

    left, right, top, pitch = 330, 860, 74, 19
    least, most = 0.125, 16

    def __init__(self):
        self.parts = []
        self.y = self.top

    def x(self, ratio):
        ratio = min(max(ratio, self.least), self.most)
        return self.left + (self.right - self.left) * math.log(ratio / self.least) / math.log(self.most / self.least)

    def text(self, x, y, words, style="", anchor="start"):
        place = f'x="{x:.1f}" y="{y:.1f}" class="{style}" text-anchor="{anchor}"'
        self.parts.append(f"<text {place}>{escape(words)}</text>")

    def line(self, x, y1, y2, style):
        self.parts.append(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{y1:.1f}" y2="{y2:.1f}" class="{style}"/>')

    def bar(self, row):
        judge = row.judge()
        ratio, goal = row.ratio(judge), row.goals().get(judge)
        begin, end = sorted((self.x(1), self.x(ratio)))
        style = "ahead" if ratio >= (goal or 1) else "behind"
        self.text(self.left - 8, self.y + 13, row.input, "quiet", "end")
        place = f'x="{begin:.1f}" y="{self.y + 3}" width="{end - begin:.1f}" height="13"'
        self.parts.append(f'<rect {place} class="{style}"/>')
        if goal:
            self.line(self.x(goal), self.y + 1, self.y + 18, "goal")
        label = f"{ratio:.2f}" if ratio < 10 else f"{ratio:.0f}"
        self.text(max(end, self.x(goal or 0)) + 6, self.y + 13, f"{label} × {judge}")
        self.y += self.pitch

    def group(self, operation, rows):
        self.y += 8
        self.text(16, self.y + 13, operation, "head")
        for row in rows:
            self.bar(row)

    def axis(self):
        marks = []
        for power in range(-3, 5):
            x = self.x(2.0 ** power)
            style = "level" if power == 0 else "grid"
            marks.append(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{self.top}" y2="{self.y + 6}" class="{style}"/>')
            self.text(x, self.top - 6, f"{2.0 ** power:g}", "quiet", "middle")
        self.parts = marks + self.parts

    def write(self, path):
        self.axis()
        self.text(16, 26, "Times as fast as the peer", "head")
        self.text(16, 45, "Fastest times of one run; the upright stroke is the goal, orange is below it.", "quiet")
        width, height = self.right + 190, self.y + 22
        path.write_text(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
                        f'height="{height}"><style>{STYLE}</style><rect class="card" x="0.5" y="0.5" rx="8" '
                        f'width="{width - 1}" height="{height - 1}"/>\n' + "\n".join(self.parts) + "\n</svg>\n")


def draw(rows):
    plot = Plot()
    groups = {}
    for row in rows:
        if row.judge():
            groups.setdefault(row.operation, []).append(row)
    for operation, group in groups.items():
        plot.group(operation, group)
    plot.write(HERE / "results.svg")


def main(result):
    measured = json.loads(Path(result).read_text())
    rows = collect(measured)
    write_report(measured, rows)
    draw(rows)


if __name__ == "__main__":
    main(sys.argv[1])
