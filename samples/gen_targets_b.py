#!/usr/bin/python3
"""Writes the targets-b samples next to this script: an Acorn Draw drawing and
the raster formats of this group, each with the reference picture it holds."""
import io
import os
import struct
import subprocess

from PIL import Image, ImageDraw, ImageFont
from genlib import write

HERE = os.path.dirname(os.path.abspath(__file__))
ROWS = []


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
        subs, cur = [], None
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


def builtin(name, size=None):
    """One of ImageMagick's built-in pictures as an RGB Pillow image."""
    args = ["convert", name] + (["-resize", size] if size else []) + ["ppm:-"]
    return Image.open(io.BytesIO(subprocess.run(args, check=True, capture_output=True).stdout)).convert("RGB")


# ---------------------------------------------------------------- EPOC MBM
def epoc_palette():
    extra = [0x11, 0x22, 0x44, 0x55, 0x77, 0x88, 0xAA, 0xBB, 0xDD, 0xEE]
    shades = []
    for lit, vals in ((7, extra[:5]), (1, extra[:5]), (2, extra[:5]), (4, extra[:5]),
                      (4, extra[5:]), (2, extra[5:]), (1, extra[5:]), (7, extra[5:])):
        shades += [(v if lit & 1 else 0, v if lit & 2 else 0, v if lit & 4 else 0) for v in vals]
    pal = []
    for k in range(256):
        if 108 <= k < 148:
            pal.append(shades[k - 108])
        else:
            x = k if k < 108 else k - 40
            pal.append((x % 6 * 0x33, x % 36 // 6 * 0x33, x // 36 * 0x33))
    return pal


def nearest_indices(rgb_pixels, pal):
    cache, out = {}, []
    for c in rgb_pixels:
        if c not in cache:
            cache[c] = min(range(256), key=lambda i: (sum((a - b) ** 2 for a, b in zip(c, pal[i])), i))
        out.append(cache[c])
    return out


def rle(raw, unit):
    """The byte / pixel run-length scheme: m < 0x80 repeats the next unit m+1 times,
    m >= 0x80 copies 256-m literal units."""
    units = [raw[i:i + unit] for i in range(0, len(raw), unit)]
    out, i = bytearray(), 0
    while i < len(units):
        run = 1
        while i + run < len(units) and units[i + run] == units[i] and run < 128:
            run += 1
        if run >= 2:
            out += bytes([run - 1]) + units[i]
            i += run
            continue
        j = i
        while j < len(units) and j - i < 128 and not (j + 1 < len(units) and units[j + 1] == units[j]):
            j += 1
        j = max(j, i + 1)
        out += bytes([256 - (j - i)]) + b"".join(units[i:j])
        i = j
    return bytes(out)


def rle12(words):
    out, i = bytearray(), 0
    while i < len(words):
        run = 1
        while i + run < len(words) and words[i + run] == words[i] and run < 16:
            run += 1
        out += struct.pack("<H", (run - 1) << 12 | words[i])
        i += run
    return bytes(out)


def mbm_section(w, h, bpp, colour, compression, data):
    return struct.pack("<10I", 40 + len(data), 40, w, h, 0, 0, bpp, colour, 0, compression) + data


def pad_rows(rows, stride):
    return b"".join(r + b"\x00" * (stride - len(r)) for r in rows)


def mbm():
    """Five bitmaps of the rose: 256 colours with byte runs, 16 greys packed low
    pixel first, 16-bit with pixel runs, 24-bit with pixel runs, 12-bit runs."""
    pal = epoc_palette()
    rose = builtin("rose:")
    w, h = rose.size
    px = list(rose.getdata())
    sections, refs = [], []

    idx = nearest_indices(px, pal)
    raw = pad_rows([bytes(idx[y * w:(y + 1) * w]) for y in range(h)], (w + 3) // 4 * 4)
    sections.append(mbm_section(w, h, 8, 1, 1, rle(raw, 1)))
    refs.append([pal[i] for i in idx])

    grey = [(r * 299 + g * 587 + b * 114) // 1000 // 17 for r, g, b in px]
    rows = []
    for y in range(h):
        row = bytearray((w + 1) // 2)
        for x in range(w):
            row[x // 2] |= grey[y * w + x] << (4 * (x % 2))
        rows.append(bytes(row))
    sections.append(mbm_section(w, h, 4, 0, 0, pad_rows(rows, (w * 4 + 31) // 32 * 4)))
    refs.append([(v * 17,) * 3 for v in grey])

    c16 = [(r >> 3) << 11 | (g >> 2) << 5 | b >> 3 for r, g, b in px]
    raw = pad_rows([b"".join(struct.pack("<H", v) for v in c16[y * w:(y + 1) * w]) for y in range(h)],
                   (w * 2 + 3) // 4 * 4)
    sections.append(mbm_section(w, h, 16, 1, 3, rle(raw, 2)))
    wide = [((v >> 11) << 3 | (v >> 11) >> 2, (v >> 5 & 63) << 2 | (v >> 5 & 63) >> 4,
             (v & 31) << 3 | (v & 31) >> 2) for v in c16]
    refs.append([pal[i] for i in nearest_indices(wide, pal)])

    raw = pad_rows([b"".join(bytes((b, g, r)) for r, g, b in px[y * w:(y + 1) * w]) for y in range(h)],
                   (w * 3 + 11) // 12 * 12)
    sections.append(mbm_section(w, h, 24, 1, 4, rle(raw, 3)))
    refs.append([pal[i] for i in idx])

    c12 = [(r >> 4) << 8 | (g >> 4) << 4 | b >> 4 for r, g, b in px]
    words = []
    for y in range(h):
        words += c12[y * w:(y + 1) * w] + [0] * (w % 2)
    sections.append(mbm_section(w, h, 12, 1, 2, rle12(words)))
    refs.append([pal[i] for i in nearest_indices([((v >> 8) * 17, (v >> 4 & 15) * 17, (v & 15) * 17)
                                                 for v in c12], pal)])

    table_at = 20 + sum(len(s) for s in sections)
    out = struct.pack("<5I", 0x10000037, 0x10000042, 0, 0x47396439, table_at)
    offsets, at = [], 20
    for s in sections:
        offsets.append(at)
        at += len(s)
    out += b"".join(sections) + struct.pack("<I", len(sections)) + b"".join(struct.pack("<I", o) for o in offsets)
    images = []
    for r in refs:
        im = Image.new("RGB", (w, h))
        im.putdata(r)
        images.append(im)
    return out, images, table_at


def logo_bits(size="120x90"):
    """ImageMagick's logo reduced to black and white, as a Pillow 1-bit image and its PBM."""
    pbm = subprocess.run(["convert", "logo:", "-resize", size, "-colorspace", "gray", "-threshold", "60%",
                          "-negate", "-negate", "pbm:-"], check=True, capture_output=True).stdout
    return Image.open(io.BytesIO(pbm)).convert("1"), pbm


# ---------------------------------------------------------------- SFF fax
def mh_lines(img):
    """Each row's Modified Huffman code as made by netpbm's pbmtog3, split at its
    end-of-line codes: a list of bit strings in transmission order."""
    pbm = b"P4\n%d %d\n" % img.size + bytes(~b & 0xFF for b in img.tobytes())  # Pillow's 1 is white
    g3 = subprocess.run(["pbmtog3", "-nofixedwidth"], input=pbm, check=True, capture_output=True).stdout
    bits = "".join(format(b, "08b") for b in g3)
    eols, zeros = [], 0
    for i, c in enumerate(bits):
        if c == "1" and zeros >= 11:
            eols.append(i)
        zeros = zeros + 1 if c == "0" else 0
    lines = [bits[a + 1:b - 11] for a, b in zip(eols, eols[1:])]
    return lines[:img.size[1]]


def lsb_bytes(bits):
    out = bytearray((len(bits) + 7) // 8)
    for i, c in enumerate(bits):
        if c == "1":
            out[i // 8] |= 1 << (i % 8)
    return bytes(out)


def sff_page(img, fine):
    w, h = img.size
    head = bytes([254, 16, 1 if fine else 0, 0, 0, 0]) + struct.pack("<HHII", w, h, 0, 0)
    body, blank = bytearray(), 0
    rows = [img.crop((0, y, w, y + 1)) for y in range(h)]
    for row, code in zip(rows, mh_lines(img)):
        if row.getextrema() == (255, 255):  # all white: counted into a white-lines record
            blank += 1
            if blank < 37:
                continue
        if blank:
            body.append(216 + blank)
            blank = 0
            if row.getextrema() == (255, 255):
                continue
        data = lsb_bytes(code)
        body += bytes([len(data)]) + data if len(data) <= 216 else b"\x00" + struct.pack("<H", len(data)) + data
    if blank:
        body.append(216 + blank)
    return head + bytes(body)


def fax_pages():
    logo, _ = logo_bits("200x150")
    text = Image.new("1", (240, 40), 1)
    ImageDraw.Draw(text).text((8, 2), "FAX 2", fill=0, font=ImageFont.truetype(FONT, 32))
    # A full-width page of single-pixel stripes: lines too long for a one-byte length.
    stripes = Image.new("1", (1728, 6), 1)
    d = ImageDraw.Draw(stripes)
    for x in range(0, 1728, 2):
        d.line((x + (x // 64) % 2, 0, x + (x // 64) % 2, 2), fill=0)
    d.rectangle((100, 4, 1600, 5), fill=0)
    return [(logo, True), (text, False), (stripes, True)]


def read_ppm(data):
    """A raw P6 as (width, height, maxval, samples)."""
    fields, pos = [], 2
    while len(fields) < 3:
        while data[pos:pos + 1].isspace():
            pos += 1
        end = pos
        while not data[end:end + 1].isspace():
            end += 1
        fields.append(int(data[pos:end]))
        pos = end
    return fields[0], fields[1], fields[2], data[pos + 1:]


# ---------------------------------------------------------------- Atari ST screens
def st_screen():
    """The rose on a 320 x 200 ST low-resolution screen in 16 colours: the
    palette words and the 32000 screen bytes."""
    pic = Image.new("RGB", (320, 200), (40, 40, 90))
    pic.paste(builtin("rose:", "200x130"), (60, 35))
    q = pic.quantize(16, dither=Image.Dither.NONE)
    pal = q.getpalette()[:48]
    words = [(pal[i * 3] >> 5) << 8 | (pal[i * 3 + 1] >> 5) << 4 | pal[i * 3 + 2] >> 5 for i in range(16)]
    idx = list(q.getdata())
    screen = bytearray()
    for y in range(200):
        for g in range(20):
            for plane in range(4):
                w = 0
                for b in range(16):
                    w |= (idx[y * 320 + g * 16 + b] >> plane & 1) << (15 - b)
                screen += struct.pack(">H", w)
    return struct.pack(">16H", *words), bytes(screen)


def ppp_sample():
    pal, screen = st_screen()
    body = b"\x00\x00" + struct.pack(">H", 32036) + pal + screen
    ppp = b"PABLO PACKED PICTURE: Groupe CDND \r\n" + b"32036\r\n" + body
    # The same screen as a Degas picture, decoded by netpbm's own ST reader.
    pi1 = struct.pack(">H", 0) + pal + screen
    w, h, maxval, samples = read_ppm(subprocess.run(["pi1toppm"], input=pi1, check=True,
                                                    capture_output=True).stdout)
    assert maxval == 7
    ref = Image.frombytes("RGB", (w, h), bytes(v * 32 for v in samples))
    return ppp, ref


# ---------------------------------------------------------------- GIMP pattern
def pat_sample():
    rose = builtin("rose:")
    w, h = rose.size
    px = []
    for y in range(h):
        for x in range(w):
            r, g, b = rose.getpixel((x, y))
            px.append((r, g, b, min(255, x * 255 // (w // 2))))  # fading in from the left
    name = b"Rose fade"
    pat = struct.pack(">5I4s", 25 + len(name), 1, w, h, 4, b"GPAT") + name + b"\x00"
    pat += b"".join(bytes(p) for p in px)
    ref = Image.new("RGB", (w, h))
    ref.putdata([tuple((c * a + 255 * (255 - a)) // 255 for c in (r, g, b)) for r, g, b, a in px])
    return pat, ref


# ---------------------------------------------------------------- Abekas YUV
def yuv_sample():
    pic = Image.new("RGB", (720, 40), (250, 250, 240))
    rose = builtin("rose:", "x40")
    for x in range(0, 720, rose.size[0] + 10):
        pic.paste(rose, (x, 0))
    ImageDraw.Draw(pic).text((300, 8), "4:2:2", fill=(20, 20, 160), font=ImageFont.truetype(FONT, 22))
    ppm = b"P6\n720 40\n255\n" + pic.tobytes()
    yuv = subprocess.run(["ppmtoyuv"], input=ppm, check=True, capture_output=True).stdout
    w, h, _, samples = read_ppm(subprocess.run(["yuvtoppm", "720", "40"], input=yuv, check=True,
                                               capture_output=True).stdout)
    return yuv, Image.frombytes("RGB", (w, h), samples)


# ---------------------------------------------------------------- CMP screens
EGA = [(0, 0, 0), (0, 0, 0xAA), (0, 0xAA, 0), (0, 0xAA, 0xAA), (0xAA, 0, 0), (0xAA, 0, 0xAA),
       (0xAA, 0x55, 0), (0xAA, 0xAA, 0xAA), (0x55, 0x55, 0x55), (0x55, 0x55, 0xFF), (0x55, 0xFF, 0x55),
       (0x55, 0xFF, 0xFF), (0xFF, 0x55, 0x55), (0xFF, 0x55, 0xFF), (0xFF, 0xFF, 0x55), (0xFF, 0xFF, 0xFF)]


def westwood_rle(raw):
    out, i = bytearray(), 0
    while i < len(raw):
        run = 1
        while i + run < len(raw) and raw[i + run] == raw[i] and run < 65535:
            run += 1
        if run > 127:
            out += b"\x00" + struct.pack("<H", run) + bytes([raw[i]])
        elif run >= 3:
            out += bytes([0x100 - run, raw[i]])
        else:
            j = i
            while j < len(raw) and j - i < 127 and not (j + 2 < len(raw) and raw[j] == raw[j + 1] == raw[j + 2]):
                j += 1
            j = max(j, i + 1)
            out += bytes([j - i]) + raw[i:j]
            i = j
            continue
        i += run
    return bytes(out)


def westwood_sample():
    pic = Image.new("RGB", (320, 200), EGA[1])
    pic.paste(builtin("rose:", "240x160"), (40, 20))
    palimg = Image.new("P", (1, 1))
    palimg.putpalette([c for rgb in EGA for c in rgb] + [0] * (768 - 48))
    q = pic.quantize(palette=palimg, dither=Image.Dither.NONE)
    idx = list(q.getdata())
    raw = bytes(idx[k * 2] << 4 | idx[k * 2 + 1] for k in range(32000))
    body = bytes([1]) + westwood_rle(raw)
    ref = Image.new("RGB", (320, 200))
    ref.putdata([EGA[i] for i in idx])
    return struct.pack("<H", len(body)) + body, ref


def public_painter_sample():
    bits, _ = logo_bits("640x400!")
    raw = bytes(~b & 0xFF for b in bits.tobytes())  # 1 = black on the ST screen
    esc = next(v for v in range(256) if v not in raw)
    out, i = bytearray([esc, 0]), 0
    while i < len(raw):
        run = 1
        while i + run < len(raw) and raw[i + run] == raw[i] and run < 256:
            run += 1
        out += bytes([esc, run - 1, raw[i]]) if run >= 3 else raw[i:i + run]
        i += run
    return bytes(out), bits


def main():
    write("targets_b_drawing.aff", acorn_draw())
    save_ref("targets_b_drawing", draw_reference())
    # The metafile is compared with the reference by rendering (tests/entry): no exact decoder.
    # libwmf's rendering may differ from ours where anti-aliasing, curve
    # flattening and the text's font differ: up to 3% of samples by more than 48
    ROWS.append("targets_b_drawing.aff drawing.wmf decoder=wmf2gd ref=ref/targets_b_drawing.png tol=48 maxoff=3"
                " bad=0:44524157 bad=4:CA bad=cut:39")

    data, refs, table_at = mbm()
    write("targets_b_rose.mbm", data)
    for i, im in enumerate(refs, 1):
        save_ref("targets_b_rose_%d" % i, im)
        bad = " bad=0:38000010 bad=cut:16 bad=%d:FFFF0000" % (table_at) if i == 1 else ""
        ROWS.append("targets_b_rose.mbm rose.gif decoder=giftopnm ref=ref/targets_b_rose_%d.png "
                    "file=targets_b_rose_%04d.gif%s" % (i, i, bad))

    bits, pbm = logo_bits()
    gem = subprocess.run(["pbmtogem"], input=pbm, check=True, capture_output=True).stdout
    write("targets_b_logo.img", gem)
    save_ref("targets_b_logo", bits)
    ROWS.append("targets_b_logo.img logo.cmu decoder=cmuwmtopbm ref=ref/targets_b_logo.png "
                "bad=0:0009 bad=cut:9 bad=12:FFFFFFFF bad=4:0000")

    pages = fax_pages()
    sff = b"Sfff" + struct.pack("<BBHHHII", 1, 0, 0, len(pages), 20, 0, 0)
    for i, (img, fine) in enumerate(pages, 1):
        sff += sff_page(img, fine)
        ref = img if fine else img.resize((img.size[0], img.size[1] * 2), Image.NEAREST)
        save_ref("targets_b_fax_%d" % i, ref)
        bad = " bad=0:53666667 bad=4:02 bad=26:FFFF bad=cut:19" if i == 1 else ""
        ROWS.append("targets_b_fax.sff fax.pbm decoder=pnmtopnm ref=ref/targets_b_fax_%d.png "
                    "file=targets_b_fax_%04d.pbm%s" % (i, i, bad))
    write("targets_b_fax.sff", sff + b"\xfe\x00")

    ppp, ref = ppp_sample()
    write("targets_b_rose.ppp", ppp)
    save_ref("targets_b_rose_st", ref)
    ROWS.append("targets_b_rose.ppp rose.ppm decoder=pnmtopnm ref=ref/targets_b_rose_st.png "
                "bad=0:50414C4F bad=44:1D bad=43:05 bad=41:3939 bad=cut:40")

    pat, ref = pat_sample()
    write("targets_b_fade.pat", pat)
    save_ref("targets_b_fade", ref)
    ROWS.append("targets_b_fade.pat fade.ppm decoder=pnmtopnm ref=ref/targets_b_fade.png "
                "bad=20:47504158 bad=8:7FFFFFFF bad=cut:%d" % (len(pat) - 1))

    yuv, ref = yuv_sample()
    write("targets_b_strip.yuv", yuv)
    save_ref("targets_b_strip", ref)
    ROWS.append("targets_b_strip.yuv strip.ppm decoder=pnmtopnm ref=ref/targets_b_strip.png tol=1 "
                "bad=cut:%d" % (len(yuv) - 2))

    cmp_ww, ref = westwood_sample()
    write("targets_b_screen.cmp", cmp_ww)
    save_ref("targets_b_screen", ref)
    ROWS.append("targets_b_screen.cmp screen.tif decoder=tifftopnm ref=ref/targets_b_screen.png "
                "bad=0:0000 bad=2:09 bad=cut:%d" % (len(cmp_ww) - 1))
    cmp_pp, ref = public_painter_sample()
    write("targets_b_paint.cmp", cmp_pp)
    save_ref("targets_b_paint", ref)
    ROWS.append("targets_b_paint.cmp paint.tif decoder=tifftopnm ref=ref/targets_b_paint.png "
                "bad=1:C9 bad=0:4C454144 bad=cut:%d" % (len(cmp_pp) - 1))

    with open(os.path.join(HERE, "targets_b.list"), "w") as f:
        f.write("# targets-b samples: SOURCE TARGET decoder= ref= [bad=...]\n")
        for row in ROWS:
            f.write(row + "\n")


if __name__ == "__main__":
    main()
