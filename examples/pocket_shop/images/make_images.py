#!/usr/bin/env python3
"""Draws the shop's pictures and icons from circles, boxes and arcs, and writes them beside itself."""
import math
import pathlib
import struct
import zlib

FOLDER = pathlib.Path(__file__).parent
SAMPLES = 3  # each way, for smooth edges


def box(x, y, w, h, r=0.0):
    """A box by its centre and size, with round corners."""

    def inside(px, py):
        dx, dy = abs(px - x) - w / 2 + r, abs(py - y) - h / 2 + r
        return math.hypot(max(dx, 0), max(dy, 0)) + min(max(dx, dy), 0) <= r

    return inside


def disc(x, y, r):
    return lambda px, py: math.hypot(px - x, py - y) <= r


def ring(x, y, r, width, keep=lambda px, py: True):
    return lambda px, py: abs(math.hypot(px - x, py - y) - r) <= width / 2 and keep(px, py)


def taper(y1, half1, y2, half2, x=0.5):
    """Between two heights, of a half width that goes evenly from one to the other."""

    def inside(px, py):
        if not y1 <= py <= y2:
            return False
        return abs(px - x) <= half1 + (half2 - half1) * (py - y1) / (y2 - y1)

    return inside


def leaf(x, y, length, width, turn):
    c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))

    def inside(px, py):
        u, v = (px - x) * c + (py - y) * s, -(px - x) * s + (py - y) * c
        return (u / length) ** 2 + (v / width) ** 2 <= 1

    return inside


def colour(text):
    return tuple(int(text[i:i + 2], 16) for i in (1, 3, 5))


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write(name, size, background, shapes):
    """Later shapes lie over earlier ones; without a background the rest is transparent."""
    layers = [(shape, colour(fill)) for shape, fill in shapes]
    rows = bytearray()
    for y in range(size):
        rows.append(0)
        for x in range(size):
            total, covered = [0, 0, 0], 0
            for i in range(SAMPLES * SAMPLES):
                px = (x + (i % SAMPLES + 0.5) / SAMPLES) / size
                py = (y + (i // SAMPLES + 0.5) / SAMPLES) / size
                hit = background and colour(background)
                for inside, fill in layers:
                    if inside(px, py):
                        hit = fill
                if hit:
                    covered += 1
                    total = [a + b for a, b in zip(total, hit)]
            rows += bytes(round(a / max(covered, 1)) for a in total)
            rows.append(round(255 * covered / SAMPLES**2))
    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    (FOLDER / f"{name}.png").write_bytes(
        b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
        chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b""))


PRODUCTS = {
    "mug": ("#e9dfd2", [(ring(0.70, 0.54, 0.13, 0.06), "#b85c3c"),
                        (box(0.46, 0.53, 0.44, 0.46, 0.07), "#b85c3c"),
                        (box(0.46, 0.33, 0.44, 0.06, 0.03), "#d98a68")]),
    "kettle": ("#d9e4e6", [(ring(0.5, 0.36, 0.20, 0.05, lambda x, y: y < 0.36), "#2f3b45"),
                           (leaf(0.80, 0.47, 0.14, 0.045, -40), "#3f7f8c"),
                           (taper(0.38, 0.20, 0.78, 0.30), "#3f7f8c"),
                           (box(0.5, 0.38, 0.30, 0.05, 0.02), "#2f3b45")]),
    "bowl": ("#e6e6da", [(lambda x, y: y > 0.44 and math.hypot(x - 0.5, y - 0.44) < 0.32, "#7d8c5c"),
                         (box(0.5, 0.44, 0.68, 0.05, 0.025), "#97a876"),
                         (box(0.5, 0.77, 0.24, 0.05, 0.02), "#667349")]),
    "board": ("#efe4d4", [(box(0.5, 0.58, 0.46, 0.50, 0.08), "#c08a52"),
                          (box(0.5, 0.28, 0.12, 0.20, 0.05), "#c08a52"),
                          (disc(0.5, 0.24, 0.025), "#efe4d4"),
                          (box(0.40, 0.58, 0.02, 0.40), "#a87342"),
                          (box(0.58, 0.58, 0.02, 0.40), "#a87342")]),
    "lamp": ("#e8e2ee", [(box(0.5, 0.58, 0.04, 0.40), "#4a4452"),
                         (taper(0.22, 0.14, 0.46, 0.27), "#e2b24c"),
                         (box(0.5, 0.79, 0.28, 0.05, 0.025), "#4a4452")]),
    "chair": ("#dfe6dc", [(box(0.34, 0.42, 0.05, 0.46, 0.02), "#5f6f52"),
                          (box(0.52, 0.56, 0.40, 0.07, 0.03), "#8aa07a"),
                          (box(0.36, 0.36, 0.07, 0.30, 0.03), "#8aa07a"),
                          (box(0.37, 0.70, 0.04, 0.24, 0.01), "#5f6f52"),
                          (box(0.68, 0.70, 0.04, 0.24, 0.01), "#5f6f52")]),
    "plant": ("#e4ece2", [(leaf(0.50, 0.32, 0.20, 0.07, 90), "#3f7d53"),
                          (leaf(0.37, 0.40, 0.17, 0.06, 40), "#569a69"),
                          (leaf(0.63, 0.40, 0.17, 0.06, 140), "#569a69"),
                          (taper(0.56, 0.20, 0.82, 0.14), "#c4714f"),
                          (box(0.5, 0.57, 0.46, 0.07, 0.02), "#d98a68")]),
    "tag": ("#f3dfd8", [(leaf(0.5, 0.5, 0.30, 0.30, 0), "#b4412f"),
                        (box(0.40, 0.41, 0.10, 0.10, 0.05), "#f3dfd8"),
                        (box(0.60, 0.59, 0.10, 0.10, 0.05), "#f3dfd8"),
                        (lambda x, y: abs(x + y - 1) < 0.03 and 0.34 < x < 0.66, "#f3dfd8")]),
}
INK = "#22252b"
ICONS = {
    "shop": [(taper(0.20, 0.30, 0.42, 0.40), INK), (box(0.5, 0.62, 0.60, 0.40, 0.04), INK),
             (box(0.5, 0.68, 0.18, 0.28, 0.02), "#ffffff")],
    "cart": [(box(0.19, 0.22, 0.22, 0.08, 0.04), INK), (taper(0.32, 0.34, 0.64, 0.24, 0.58), INK),
             (disc(0.42, 0.80, 0.08), INK), (disc(0.72, 0.80, 0.08), INK)],
    "account": [(disc(0.5, 0.32, 0.18), INK),
                (lambda x, y: y < 0.86 and math.hypot(x - 0.5, y - 0.86) < 0.33, INK)],
    "back": [(lambda x, y: abs(abs(y - 0.5) - (x - 0.30)) < 0.085 and 0.2 < y < 0.8, INK)],
    "bin": [(box(0.5, 0.24, 0.64, 0.08, 0.04), INK), (box(0.5, 0.16, 0.24, 0.08, 0.03), INK),
            (taper(0.34, 0.26, 0.86, 0.20), INK)],
}

if __name__ == "__main__":
    for name, (background, shapes) in PRODUCTS.items():
        write(name, 240, background, shapes)
    for name, shapes in ICONS.items():
        write(f"icon_{name}", 48, None, shapes)
