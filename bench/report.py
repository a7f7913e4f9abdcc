#!/usr/bin/env python3
"""Turns the benchmark's raw figures into tables.

    report.py OUTPUT.json RAW.json...  prints the tables and writes OUTPUT.json
    report.py --docs OUTPUT.json       puts them between the markers of the documents, and
                                       draws the plots

A raw case is called FAMILY/WHAT/WHO/SIZE. Its figure is the nanoseconds that one item takes, or
the bytes that one item holds; of several repetitions the median.
"""

import collections
import dataclasses
import json
import platform
import re
import statistics
import sys

import plot

OURS = "vrbase"
ANY_SIZE = (0, float("inf"))


@dataclasses.dataclass
class Goal:
    text: str
    case: str  # pattern of the whole name
    kind: str  # ratio: ours by a peer's; rate: GB/s; time: ns; spread: largest by smallest
    limit: float  # of ratio, time and spread the most, of a rate the least
    peer: str = ""  # the fastest unless named
    sizes: tuple = ANY_SIZE


NOT_SLOWER = 1.05  # what the noise of a run may hide
LARGE = (63, 1024)  # blocks beyond the pools

GOALS = [
    Goal("A block of 1 to 62 bytes: half of mimalloc's time", "block/one", "ratio", 0.5,
         "mimalloc"),
    Goal("A block of 63 to 1,024 bytes: 1.3 times mimalloc's time", "block/large", "ratio", 1.3,
         "mimalloc", LARGE),
    Goal("The same beside glibc's calloc: faster", "block/large", "ratio", 1, "glibc", LARGE),
    Goal("Up to 100,000 such blocks, given back in random order: not slower than mimalloc",
         "block/mixed-large", "ratio", NOT_SLOWER, "mimalloc"),
    Goal("Passing marks of attributes of 4 to 200 bytes: 25 GB/s", "scan/(forward|back)", "rate",
         25, sizes=(4, 200)),
    Goal("Longer attributes: not slower than memchr and memrchr", "scan/(forward|back)", "ratio",
         NOT_SLOWER, sizes=(201, 1e9)),
    Goal("Walk into new strings of 200 bytes and more: 1.3 times splitting",
         "walk/attributes-allocated", "ratio", 1.3, sizes=(200, 1e9)),
    Goal("extract_field, attribute 1: 1.1 times a scan with memchr", "extract/field", "ratio",
         1.1, sizes=(1, 1)),
    Goal("extract_field, attribute 10: 0.6 times", "extract/field", "ratio", 0.6,
         sizes=(10, 10)),
    Goal("extract_field, attribute 100 and beyond: 0.3 times", "extract/field", "ratio", 0.3,
         sizes=(100, 1e9)),
    Goal("An edit at the place of the last one: 12 ns", "edit/again", "time", 12),
    Goal("The same wherever it is: within 10 %", "edit/again", "spread", 1.1),
    Goal("100,000 edits against splitting, changing, joining: not slower", "edit/sweep-same",
         "ratio", NOT_SLOWER, "split-join", (100000, 100000)),
    Goal("A record built by appending: twice std::string", "build/append", "ratio", 2),
    Goal("CompareVrStrings, equal for 1,000 bytes and more: 1.2 times memcmp",
         "text/compare-equal", "ratio", 1.2, sizes=(1000, 1e9)),
    Goal("NewString of 200 bytes and more: not slower than std::string", "text/copy", "ratio",
         NOT_SLOWER, sizes=(200, 1e9)),
    Goal("A date from a day number, and back: 10 ns", "date/(number|calendar)", "time", 10),
    Goal("DaysSince67: below 100 ns", "date/today", "time", 100),
    Goal("The quark of a known text, up to 2,000: not slower than GLib's", "quark/known",
         "ratio", NOT_SLOWER, sizes=(0, 2000)),
    Goal("A file opened and closed by its drive path: 1.5 times the bare calls", "open/exact",
         "ratio", 1.5),
    Goal("A setting beside a registry export of 1,000 lines: below 5 us", "setting/registry",
         "time", 5e3),
    Goal("A mapped name among 2,000 of its stem: below 20 ms", "folder/map-name", "time", 20e6),
    Goal("A key locked and unlocked: within 10 % of the bare calls", "lock/key", "ratio", 1.1),
    Goal("4 KiB read or written: within 5 % of the bare call", "file/(read|write)", "ratio",
         1.05),
    Goal("Text read or written: 1 GB/s", "file/(read|write)-text", "rate", 1),
    Goal("Start and stop with 100 lines of settings: below 200 us", "start/100-lines", "time",
         200e3),
]

# What the first page shows: a text, a case, a size and the peer.
SUMMARY = [
    ("Pass the marks of attributes of 12 bytes", "scan/forward", 12, "memchr"),
    ("Take a zeroed block of 32 bytes and give it back", "block/one", 32, "mimalloc"),
    ("Pick a value of attribute 100", "extract/field", 100, "memchr"),
    ("Replace each of 100,000 attributes, same length", "edit/sweep-same", 100000, "split-join"),
    ("Gather 10 attributes of 10,000", "fields/gather", 10, "split"),
    ("Add a key to a table of 1,000", "hash/install", 1000, "glib"),
    ("Look up the quark of a text, among 1,000", "quark/known", 1000, "glib"),
    ("Lock and unlock a key while 100 are held", "lock/key", 100, "bare"),
    ("Read 4 KiB", "file/read", 4096, "bare"),
    ("Walk by attribute, elements of 12 bytes", "walk/attributes", 12, "split"),
    ("Append an attribute to a record of 1,000", "build/append", 1000, "std-string"),
    ("Find a key among 20,000", "hash/find-numeric", 20000, "glib"),
    ("Replace each of 10,000 attributes by a longer text", "edit/sweep-growing", 10000,
     "split-join"),
]

# The lines of the plots, each a case by its size, as ours by the fastest peer's.
PLOTS = {
    "by the bytes of an element": ["scan/forward", "walk/attributes", "walk/attributes-allocated",
                                   "block/one", "block/large", "text/copy"],
    "by the number of elements": ["extract/field", "fields/put", "build/append",
                                  "hash/find-numeric", "quark/known", "lock/key"],
}


def read_raw(paths):
    """The figures of each (case, size): {who: (figure, GB/s or None)}."""
    figures = collections.defaultdict(lambda: collections.defaultdict(list))
    context = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            raw = json.load(file)
        context.update(raw["context"])
        for run in raw["benchmarks"]:
            if run.get("run_type") != "iteration" or run.get("error_occurred"):
                continue
            family, what, who, size = run["run_name"].split("/")[:4]
            figure = run.get("bytes") or 1e9 / run["items_per_second"]
            rate = run.get("bytes_per_second")
            figures[f"{family}/{what}", int(size)][who].append((figure, rate and rate / 1e9))
    return figures, context


def median_of(runs):
    figure, rate = zip(*runs)
    return statistics.median(figure), rate[0] and statistics.median(rate)


def make_cases(figures):
    cases = []
    for (case, size), by_who in sorted(figures.items()):
        medians = {who: median_of(runs) for who, runs in by_who.items()}
        if OURS not in medians:
            continue
        ours, rate = medians.pop(OURS)
        peers = {who: figure for who, (figure, _) in medians.items()}
        entry = {"case": case, "size": size, "ours": ours, "peers": peers}
        if peers:
            entry["ratio"] = ours / min(peers.values())
        if rate:
            entry["gigabytes"] = rate
        cases.append(entry)
    return cases


def measure(goal, cases):
    """The worst figure of the goal's cases, and whether it is good enough; None without any."""
    low, high = goal.sizes
    chosen = [c for c in cases if re.fullmatch(goal.case, c["case"]) and low <= c["size"] <= high]
    if not chosen:
        return None
    if goal.kind == "rate":
        worst = min(c["gigabytes"] for c in chosen)
        return worst, worst >= goal.limit
    if goal.kind == "ratio":
        worst = max(c["ours"] / (c["peers"][goal.peer] if goal.peer else min(c["peers"].values()))
                    for c in chosen)
    elif goal.kind == "spread":
        worst = max(c["ours"] for c in chosen) / min(c["ours"] for c in chosen)
    else:
        worst = max(c["ours"] for c in chosen)
    return worst, worst <= goal.limit


def number(value):
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}" if value < 10 else f"{value:.1f}"


def show(goal, value):
    if goal.kind == "rate":
        return f"{number(value)} GB/s"
    if goal.kind == "time":
        return f"{number(value / 1000)} us" if value >= 1000 else f"{number(value)} ns"
    return f"{value:.2f}"


def goal_rows(cases):
    rows = [["Goal", "At worst", "Met"]]
    for goal in GOALS:
        result = measure(goal, cases)
        if result is not None:
            rows.append([goal.text, show(goal, result[0]), "yes" if result[1] else "no"])
    return rows


def case_rows(case, cases):
    """A table of one case by size."""
    chosen = [c for c in cases if c["case"] == case]
    peers = sorted({peer for c in chosen for peer in c["peers"]})
    hasRates = any("gigabytes" in c for c in chosen)
    unit = "bytes" if case.startswith("memory/") else "ns"
    rows = [[f"{case}, {unit}", "ours"] + (["GB/s"] if hasRates else []) + peers +
            (["ratio"] if peers else [])]
    for c in chosen:
        row = [f"{c['size']:,}", number(c["ours"])]
        if hasRates:
            row.append(number(c["gigabytes"]))
        row += [number(c["peers"][peer]) if peer in c["peers"] else "" for peer in peers]
        if peers:
            row.append(f"{c['ratio']:.2f}" if "ratio" in c else "")
        rows.append(row)
    return rows


def names(cases, family=""):
    return list(dict.fromkeys(c["case"] for c in cases if c["case"].startswith(family)))


def as_text(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    lines = []
    for row in rows:
        cells = [row[0].ljust(widths[0])] + [c.rjust(w) for c, w in zip(row[1:], widths[1:])]
        lines.append("  ".join(cells).rstrip())
    return "\n".join(lines)


def as_markdown(rows):
    rule = ["---"] + ["---:"] * (len(rows[0]) - 1)
    return "\n".join("| " + " | ".join(row) + " |" for row in [rows[0], rule] + rows[1:])


def cpu_model():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def machine_of(context):
    caches = [f"L{c['level']} {c['type'].lower()} {c['size'] // 1024} KiB"
              for c in context["caches"]]
    mimalloc = ".".join(context.get("mimalloc", ""))
    return {
        "processor": f"{cpu_model()}, {context['num_cpus']} processors at "
                     f"{context['mhz_per_cpu']} MHz",
        "caches": ", ".join(caches),
        "kernel": "Linux " + re.match(r"[\d.]*\d", platform.release()).group(),
        "peers": f"glibc {context.get('glibc')}, mimalloc {mimalloc}, "
                 f"GLib {context.get('glib')}",
    }


def summary_rows(cases):
    rows = [["Work", "vrbase, ns", "peer, ns", "peer", "ratio"]]
    by_name = {(c["case"], c["size"]): c for c in cases}
    for text, name, size, peer in SUMMARY:
        if case := by_name.get((name, size)):
            ours, theirs = case["ours"], case["peers"][peer]
            rows.append([text, number(ours), number(theirs), peer, f"{ours / theirs:.2f}"])
    return rows


def update_document(path, report):
    """<!-- NAME --> ... <!-- end --> get the table of that name."""
    cases = report["cases"]

    def table(match):
        name = match.group(1)
        if name == "goals":
            body = as_markdown(goal_rows(cases))
        elif name == "summary":
            body = as_markdown(summary_rows(cases))
        elif name == "machine":
            body = "\n".join(f"- {what}: {text}" for what, text in report["machine"].items())
        else:
            tables = [as_markdown(case_rows(case, cases)) for case in names(cases, name + "/")]
            body = "\n\n".join(tables)
        return f"<!-- {name} -->\n\n{body}\n\n<!-- end -->"

    with open(path, encoding="utf-8") as file:
        text = file.read()
    text = re.sub(r"<!-- (\w+) -->\n.*?<!-- end -->", table, text, flags=re.DOTALL)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main(arguments):
    if arguments[0] == "--docs":
        with open(arguments[1], encoding="utf-8") as file:
            report = json.load(file)
        for document in ("docs/performance.md", "docs/measurements.md"):
            update_document(document, report)
        with open("docs/performance.svg", "w", encoding="utf-8") as file:
            file.write(plot.draw(PLOTS, report["cases"]))
        return
    figures, context = read_raw(arguments[1:])
    cases = make_cases(figures)
    with open(arguments[0], "w", encoding="utf-8") as file:
        json.dump({"machine": machine_of(context), "cases": cases}, file, indent=1)
    for case in names(cases):
        print(as_text(case_rows(case, cases)), end="\n\n")
    print(as_text(goal_rows(cases)))


if __name__ == "__main__":
    main(sys.argv[1:])
