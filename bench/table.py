#!/usr/bin/python3
"""Writes the Markdown table of docs/performance.md from the results of scripts/bench.

Arguments are JSON files as Google Benchmark writes them; rows come in the order of the files.
Files of the same job and resolution make one row.
"""

import json
import re
import statistics
import sys
from pathlib import Path

TEXT = """# Performance

Made by `scripts/bench`; nothing here is edited by hand.

| | |
|---|---|
| Processor | {processor} |
| Compiler | {compiler} |
| Kernels that ran | {kernels} |
| Other libraries | {peers} |

Each job works on an A4 page in memory: text on slightly noisy paper, a gradient, a region like a
photograph, marks in colour; 2480 x 3508 pixels at 300 dpi, 4960 x 7016 at 600 dpi. Times are
processor times of one thread, medians over repetitions in which the competitors of a job take
turns in random order (Pillow has its turns right after the others).

- **ms**: Pixtola's time.
- **/ memcpy**: Pixtola's time divided by that of copying the job's input bytes once.
- **/ same output**: divided by the time of the fastest library that makes the same bytes. Below 1
  Pixtola is faster.
- **/ other libraries**: divided by the times of libraries that do a similar job; what differs
  stands beside each.
- **/ plain**: divided by the time of Pixtola's own plain definitions, which the vector kernels equal
  byte for byte.

Destinations are allocated beforehand, except that Leptonica and Pillow allocate their results as
part of each call. Pixtola recolours in place, on a copy made before each run. Where a library wants
another layout of pixels, the page is brought into it beforehand. Before anything is timed, the
results of all competitors are compared with Pixtola's: the same bytes where the same is claimed,
about the same picture elsewhere; Pillow's results are compared with its own page.

The locks, and the files in memory with default parameters, are the work of the stand-in for GDI+,
which has no kernels. PCX is the library's own; it goes through a file that the system keeps in
memory, where it has a folder for such, for Pillow, too.

| job | dpi | ms | / memcpy | / same output | / other libraries | / plain |
|---|---:|---:|---:|---|---|---:|
{rows}
"""


class Row:
    """The median times and the differences of a job's competitors at one resolution."""

    def __init__(self, context):
        self.title = context["title"]
        self.dpi = context["dpi"]
        self.times = {}
        self.differences = {}

    def add(self, benchmarks):
        samples = {}
        for line in benchmarks:
            if line["run_type"] != "iteration":
                continue
            name = line["run_name"].split("/")[0]
            if line["time_unit"] != "ms":
                sys.exit(f"table: {self.title}: times of {name} are not in ms")
            samples.setdefault(name, []).append(line["real_time"])
            self.differences[name] = line.get("label", "")
        for name, times in samples.items():
            self.times[name] = statistics.median(times)

    def peers(self, with_same_output):
        own = {"pixtola", "plain", "memcpy"}
        names = [name for name in self.times
                 if name not in own and (self.differences[name] == "") == with_same_output]
        return sorted(names, key=self.times.get)

    def ratio_to(self, name):
        return number(self.times["pixtola"] / self.times[name]) if name in self.times else "-"

    def markdown(self):
        same = [f"{self.ratio_to(name)} {name}" for name in self.peers(True)[:1]]
        others = [f"{self.ratio_to(name)} {name} ({self.differences[name]})"
                  for name in self.peers(False)]
        cells = [self.title, self.dpi, number(self.times["pixtola"]), self.ratio_to("memcpy"),
                 "".join(same) or "-", "; ".join(others) or "-", self.ratio_to("plain")]
        return f"| {' | '.join(cells)} |"


def number(value):
    """Two decimals for ratios and times below 10, then one, then none."""
    decimals = 2 if value < 10 else 1 if value < 100 else 0
    return f"{value:.{decimals}f}" if value >= 0.095 else f"{value:.3f}"


def read_rows(results):
    """In the order of the files. The program's own file of a row comes before Pillow's."""
    rows = {}
    for result in results:
        context = result["context"]
        key = (context["job"], context["dpi"])
        if "title" in context:
            rows[key] = Row(context)
        rows[key].add(result["benchmarks"])
    return rows.values()


def processor():
    """The model; family and number as well, since virtual machines often hide the rest."""
    text = Path("/proc/cpuinfo").read_text(encoding="utf-8")
    fields = dict(re.findall(r"^([^\t:]+)\s*: (.*)$", text, re.MULTILINE))
    name = fields.get("model name", "unknown")
    if "cpu family" in fields and "model" in fields:
        name += f" (family {fields['cpu family']}, model {fields['model']})"
    return name


def only_value(results, key):
    values = {result["context"][key] for result in results if key in result["context"]}
    if len(values) != 1:
        sys.exit(f"table: the results name more than one {key}, or none: {sorted(values)}")
    return values.pop()


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: table.py FILE... > TABLE")
    results = [json.loads(Path(name).read_text(encoding="utf-8")) for name in sys.argv[1:]]
    peers = dict.fromkeys(result["context"]["peers"] for result in results)
    print(TEXT.format(processor=processor(), compiler=only_value(results, "compiler"),
                      kernels=only_value(results, "kernels"),
                      peers=", ".join(name for name in peers if name),
                      rows="\n".join(row.markdown() for row in read_rows(results))), end="")


if __name__ == "__main__":
    main()
