#!/usr/bin/python3
"""Writes the targets-b samples next to this script: an Acorn Draw drawing and
the raster formats of this group, each with the reference picture it holds."""
import os
import struct

from PIL import Image, ImageDraw, ImageFont

HERE = os.path.dirname(os.path.abspath(__file__))
ROWS = []


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def save_ref(name, img):
    os.makedirs(os.path.join(HERE, "ref"), exist_ok=True)
    img.save(os.path.join(HERE, "ref", name + ".png"))


# ---------------------------------------------------------------- Acorn Draw
INCH = 46080          # draw units per inch
DRAW_W, DRAW_H = 4, 3  # inches
DPI = 72              # reference rasterisation (libwmf's own scale)
FONT = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf"


def cubic(p0, p1, p2, p3, n=64):
    pts = []
    for i in range(1, n + 1):
        t = i / n
        u = 1 - t
        pts.append(tuple(u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d
                         for a, b, c, d in zip(p0, p1, p2, p3)))
    return pts


def circle(cx, cy, r):
    k = round(0.5523 * r)
    return [("move", (cx + r, cy)),
            ("curve", (cx + r, cy + k), (cx + k, cy + r), (cx, cy + r)),
            ("curve", (cx - k, cy + r), (cx - r, cy + k), (cx - r, cy)),
            ("curve", (cx - r, cy - k), (cx - k, cy - r), (cx, cy - r)),
            ("curve", (cx + k, cy - r), (cx + r, cy - k), (cx + r, cy)),
            ("close",)]


def inch(x, y):
    return (round(x * INCH), round(y * INCH))


# The drawing: (fill, outline, width in inches, elements); y grows up.
SHAPES = [
    ((255, 250, 220), None, 0,  # the paper
     [("move", inch(0, 0)), ("line", inch(DRAW_W, 0)), ("line", inch(DRAW_W, DRAW_H)),
      ("line", inch(0, DRAW_H)), ("close",)]),
    ((40, 80, 200), (0, 0, 0), 0.04,
     [("move", inch(0.3, 0.3)), ("line", inch(1.8, 0.3)), ("line", inch(1.8, 1.5)),
      ("line", inch(0.3, 1.5)), ("close",)]),
    ((220, 40, 40), None, 0,
     [("move", inch(2.2, 0.3)), ("line", inch(3.7, 0.3)), ("line", inch(2.95, 1.7)), ("close",)]),
    ((30, 170, 60), None, 0, circle(*inch(1.2, 2.2), round(0.5 * INCH))),
    (None, (120, 40, 160), 0.08,
     [("move", inch(2.0, 2.0)), ("curve", inch(2.4, 2.9), inch(3.2, 1.5), inch(3.7, 2.6))]),
]
TEXT = ("Draw", inch(2.0, 1.85), 0.25)  # text, baseline start, height in inches


def draw_colour(c):
    return 0xFFFFFFFF if c is None else (c[0] << 8 | c[1] << 16 | c[2] << 24)


def draw_object(kind, box, body):
    return struct.pack("<II4i", kind, 24 + len(body), *box) + body


def path_object(fill, outline, width, elements):
    body = struct.pack("<IIII", draw_colour(fill), draw_colour(outline), round(width * INCH), 0x40)
    xs, ys = [], []
    for e in elements:
        if e[0] == "move":
            body += struct.pack("<Iii", 2, *e[1])
        elif e[0] == "line":
            body += struct.pack("<Iii", 8, *e[1])
        elif e[0] == "curve":
            body += struct.pack("<Iiiiiii", 6, *e[1], *e[2], *e[3])
        else:
            body += struct.pack("<I", 5)
        for p in e[1:]:
            xs.append(p[0])
            ys.append(p[1])
    body += struct.pack("<I", 0)
    return draw_object(2, (min(xs), min(ys), max(xs), max(ys)), body)


def acorn_draw():
    fonts = b"\x01Homerton.Medium\x00"
    fonts += b"\x00" * (-len(fonts) % 4)
    objs = struct.pack("<II", 0, 8 + len(fonts)) + fonts
    for i, shape in enumerate(SHAPES):
        obj = path_object(*shape)
        if i == 3:  # the circle sits in a group
            obj = draw_object(6, (0, 0, INCH * DRAW_W, INCH * DRAW_H), b"circle      " + obj)
        objs += obj
    objs += draw_object(99, (0, 0, 0, 0), b"\x00" * 8)  # an unknown object is passed over
    text, (x, y), h = TEXT
    tb = text.encode("latin-1") + b"\x00"
    tb += b"\x00" * (-len(tb) % 4)
    size = round(h * INCH)
    objs += draw_object(1, (x, y, x + size * len(text), y + size),
                        struct.pack("<IIIIIii", draw_colour((0, 0, 0)), draw_colour((255, 255, 255)),
                                    1, size, size, x, y) + tb)
    head = b"Draw" + struct.pack("<II", 201, 0) + b"TestApp     " + struct.pack(
        "<4i", 0, 0, INCH * DRAW_W, INCH * DRAW_H)
    return head + objs


def draw_reference():
    """The drawing rasterised directly: the picture its metafile must show."""
    img = Image.new("RGB", (DRAW_W * DPI, DRAW_H * DPI), (255, 255, 255))
    d = ImageDraw.Draw(img)

    def px(p):
        return (p[0] / INCH * DPI, (DRAW_H * INCH - p[1]) / INCH * DPI)

    for fill, outline, width, elements in SHAPES:
        subs, cur, last = [], None, None
        for e in elements:
            if e[0] == "move":
                cur = [e[1]]
                subs.append([cur, False])
            elif e[0] == "line":
                cur.append(e[1])
            elif e[0] == "curve":
                cur.extend(cubic(cur[-1], e[1], e[2], e[3]))
            else:
                subs[-1][1] = True
        for pts, closed in subs:
            xy = [px(p) for p in pts]
            if fill:
                d.polygon(xy, fill=fill)
            if outline:
                w = max(1, round(width * DPI))
                d.line(xy + ([xy[0]] if closed else []), fill=outline, width=w, joint="curve")
    text, pos, h = TEXT
    font = ImageFont.truetype(FONT, round(h * DPI))
    d.text(px(pos), text, fill=(0, 0, 0), font=font, anchor="ls")
    return img


def main():
    write("targets_b_drawing.aff", acorn_draw())
    save_ref("targets_b_drawing", draw_reference())
    # The metafile is compared with the reference by rendering (tests/entry): no exact decoder.
    ROWS.append("targets_b_drawing.aff drawing.wmf bad=0:44524157 bad=4:CA bad=cut:39")

    with open(os.path.join(HERE, "targets_b.list"), "w") as f:
        f.write("# targets-b samples: SOURCE TARGET decoder= ref= [bad=...]\n")
        for row in ROWS:
            f.write(row + "\n")


if __name__ == "__main__":
    main()
