"""Draws lines of ratios as an SVG picture: ours by the fastest peer's, both axes logarithmic."""

import math

WIDTH, HEIGHT, GAP = 340, 300, 200  # of a plot's area; the gap holds its labels
LEFT, TOP = 60, 50
LOW, HIGH = 0.03, 30  # ratios; what lies beyond is drawn at the edge
POWERS = ["1", "10", "100", "1000", "10k", "100k", "1M", "10M", "100M"]
COLOURS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#b8860b", "#56b4e9"]


def text(x, y, words, anchor="start", fill="#555"):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" fill="{fill}">{words}</text>'


def line(x1, y1, x2, y2, colour):
    return f'<path d="M{x1:.1f} {y1:.1f}L{x2:.1f} {y2:.1f}" stroke="{colour}"/>'


def scaled(value, low, high, length):
    return length * math.log(value / low) / math.log(high / low)


def spread(places, least=14):
    """The same places from the top down, moved so that labels do not cover each other."""
    moved = []
    for place in places:
        moved.append(max(place, moved[-1] + least) if moved else place)
    return moved


def draw_plot(left, title, lines):
    """A plot of {name: [(size, ratio)]}, whose area begins at that x."""
    sizes = [size for points in lines.values() for size, _ in points]
    smallest, largest = min(sizes), max(sizes)

    def x(size):
        return left + scaled(size, smallest, largest, WIDTH)

    def y(ratio):
        return TOP + HEIGHT - scaled(min(max(ratio, LOW), HIGH), LOW, HIGH, HEIGHT)

    parts = [text(left, TOP - 20, title, fill="#333")]
    for ratio in (0.1, 1, 10):
        parts.append(line(left, y(ratio), left + WIDTH, y(ratio), "#888" if ratio == 1 else "#ddd"))
        parts.append(text(left - 6, y(ratio) + 4, f"{ratio:g}", "end"))
    for power in range(math.ceil(math.log10(smallest)), math.floor(math.log10(largest)) + 1):
        parts.append(text(x(10**power), TOP + HEIGHT + 18, POWERS[power], "middle"))
    ordered = sorted(lines.items(), key=lambda item: y(item[1][-1][1]))
    labels = spread([y(points[-1][1]) for _, points in ordered])
    for (name, points), place, colour in zip(ordered, labels, COLOURS):
        path = "L".join(f"{x(size):.1f} {y(ratio):.1f}" for size, ratio in points)
        parts.append(f'<path d="M{path}" stroke="{colour}" stroke-width="2"/>')
        parts.append(text(left + WIDTH + 8, place + 4, name, fill=colour))
    return parts


def draw(plots, cases):
    width = LEFT + len(plots) * (WIDTH + GAP)
    height = TOP + HEIGHT + 30
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
             'font-family="sans-serif" font-size="12" fill="none">',
             f'<rect width="{width}" height="{height}" fill="#fff"/>',
             text(LEFT - 44, 14, "Time by that of the fastest peer; below 1 is faster", fill="#333")]
    for i, (title, chosen) in enumerate(plots.items()):
        lines = {}
        for case in cases:
            if case["case"] in chosen and "ratio" in case:
                lines.setdefault(case["case"], []).append((max(case["size"], 1), case["ratio"]))
        parts += draw_plot(LEFT + i * (WIDTH + GAP), title, lines)
    return "\n".join(parts + ["</svg>"]) + "\n"
