#!/usr/bin/env python3
"""Turns the benchmark's raw figures into tables.

    report.py OUTPUT.json RAW.json...      prints the tables and writes OUTPUT.json
    report.py --docs DOCUMENT OUTPUT.json  puts them between the markers of a document

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

GOALS = [
    Goal("A block of 1 to 62 bytes: half of mimalloc's time", "block/one", "ratio", 0.5,
         "mimalloc"),
    Goal("Blocks of mixed sizes, given back in random order: half of mimalloc's time",
         "block/mixed", "ratio", 0.5, "mimalloc"),
    Goal("Passing marks of attributes of 4 to 200 bytes: 25 GB/s", "scan/forward", "rate", 25,
         sizes=(4, 200)),
    Goal("Longer attributes: not behind memchr", "scan/forward", "ratio", NOT_SLOWER, "memchr",
         (201, 1e9)),
    Goal("The same backward: 25 GB/s", "scan/back", "rate", 25, sizes=(4, 200)),
    Goal("Longer attributes backward: not behind memrchr", "scan/back", "ratio", NOT_SLOWER,
         "memrchr", (201, 1e9)),
    Goal("Walk by attribute, elements of 12 bytes: a third of splitting", "walk/attributes",
         "ratio", 1 / 3, sizes=(12, 12)),
    Goal("Walk by value, elements of 12 bytes: a third of splitting", "walk/values", "ratio",
         1 / 3, sizes=(12, 12)),
    Goal("Walk by attribute into new strings: half of splitting", "walk/attributes-allocated",
         "ratio", 0.5, sizes=(12, 12)),
    Goal("Walk by value into new strings: half of splitting", "walk/values-allocated", "ratio",
         0.5, sizes=(12, 12)),
    Goal("extract_field: not slower than a scan with memchr", "extract/field", "ratio",
         NOT_SLOWER),
    Goal("100,000 attributes of 20 bytes replaced by others: twice a copy", "edit/sweep-same",
         "ratio", 2, "copy", (100000, 100000)),
    Goal("The same against splitting, changing, joining: not slower", "edit/sweep-same", "ratio",
         NOT_SLOWER, "split-join", (100000, 100000)),
    Goal("One edit, wherever it is: the same time within 10 %", "edit/again", "spread", 1.1),
    Goal("An edit at the place of the last one: below 50 ns", "edit/again", "time", 50),
    Goal("A record built by appending: not slower than std::string", "build/append", "ratio",
         NOT_SLOWER),
    Goal("A record built in a BufDscr: not slower than std::string", "build/buffer", "ratio",
         NOT_SLOWER),
    Goal("A key among up to 2,000: faster than both", "hash/find-.*", "ratio", 1,
         sizes=(0, 2000)),
    Goal("A key among 20,000: within 1.5 times the faster", "hash/find-.*", "ratio", 1.5,
         sizes=(20000, 20000)),
    Goal("The quark of a known text, up to 2,000: not slower than GLib's", "quark/known",
         "ratio", NOT_SLOWER, sizes=(0, 2000)),
    Goal("The text of a quark: not slower than GLib's", "quark/text", "ratio", NOT_SLOWER),
    Goal("The record of a handle: not slower than an array", "handle/pointer", "ratio",
         NOT_SLOWER),
    Goal("A key locked and unlocked: within 10 % of the bare calls", "lock/key", "ratio", 1.1,
         sizes=(0, 10)),
    Goal("4 KiB read: within 5 % of the bare call", "file/read", "ratio", 1.05),
    Goal("4 KiB written: within 5 % of the bare call", "file/write", "ratio", 1.05),
    Goal("Text read: 1 GB/s", "file/read-text", "rate", 1),
    Goal("Text written: 1 GB/s", "file/write-text", "rate", 1),
    Goal("Start and stop with 100 lines of settings: below 200 us", "start/100-lines", "time",
         200e3),
]


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


def update_document(path, report):
    """<!-- NAME --> ... <!-- end --> get the table of that name."""
    cases = report["cases"]

    def table(match):
        name = match.group(1)
        if name == "goals":
            body = as_markdown(goal_rows(cases))
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
        with open(arguments[2], encoding="utf-8") as file:
            update_document(arguments[1], json.load(file))
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
