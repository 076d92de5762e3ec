#!/usr/bin/python3
"""Writes the targets-a samples next to this script: FBM, ITEX, ICS, Portfolio
PGC, Intergraph, GIMP pixmap brush, Amica Paint, DIV FPG and JIF pictures,
each with the reference picture it shows (ref/*.png) and its row in
targets_a.list. Everything is made here from ImageMagick's built-in rose and
text set by netpbm; nothing is taken from other programs' files."""
import gzip
import io
import os
import struct
import subprocess
import zlib

from PIL import Image
from genlib import write

HERE = os.path.dirname(os.path.abspath(__file__))
ROWS = []


def ref(name, img):
    os.makedirs(os.path.join(HERE, "ref"), exist_ok=True)
    img.save(os.path.join(HERE, "ref", name + ".png"))
    return "ref/%s.png" % name


def row(source, target, *words):
    ROWS.append(" ".join((source, target) + words))


def rose(size=None):
    img = Image.open(io.BytesIO(subprocess.run(["convert", "rose:", "-depth", "8", "ppm:-"], check=True,
                                               stdout=subprocess.PIPE).stdout)).convert("RGB")
    return img.resize(size, Image.NEAREST) if size else img


def grey_levels(img):
    return [(r * 299 + g * 587 + b * 114) // 1000 for r, g, b in img.getdata()]


def text_bits(text, width, height, left, top):
    """Bilevel picture of text set by netpbm's built-in font (1 = ink)."""
    pbm = subprocess.run(["pbmtext", "-builtin", "bdf", text], check=True, stdout=subprocess.PIPE).stdout
    glyphs = Image.open(io.BytesIO(pbm)).convert("L")
    bits = [[0] * width for _ in range(height)]
    for y in range(glyphs.height):
        for x in range(glyphs.width):
            if 0 <= y + top < height and 0 <= x + left < width and glyphs.getpixel((x, y)) == 0:
                bits[y + top][x + left] = 1
    return bits


def bilevel_ref(bits):
    img = Image.new("L", (len(bits[0]), len(bits)))
    img.putdata([0 if b else 255 for line in bits for b in line])
    return img


def field(value, size):
    return str(value).encode().ljust(size, b"\0")


def fbm_header(cols, rows, planes, bits, rowlen, plnlen, clrlen, title):
    h = (b"%bitmap\0" + field(cols, 8) + field(rows, 8) + field(planes, 8) + field(bits, 8) + field(8, 8) +
         field(rowlen, 12) + field(plnlen, 12) + field(clrlen, 12) + field("1.0", 12) + field(title, 80) +
         field("made by gen_targets_a.py", 80))
    assert len(h) == 256
    return h


def fbm_samples():
    # Colour-mapped (".cbm"): the rose in 16 colours, rows padded to an even length.
    img = rose().quantize(16, dither=Image.Dither.NONE)
    w, h = img.size
    pal = img.getpalette()[:48]
    rowlen, plnlen = w + 2, (w + 2) * h + 6
    plane = bytearray(plnlen)
    for y in range(h):
        for x in range(w):
            plane[y * rowlen + x] = img.getpixel((x, y))
    cmap = bytes(pal[0::3]) + bytes(pal[1::3]) + bytes(pal[2::3])
    data = fbm_header(w, h, 1, 8, rowlen, plnlen, 48, "rose") + cmap + bytes(plane)
    write("targets_a_rose.cbm", data)
    r = ref("targets_a_rose_cbm", img.convert("RGB"))
    row("targets_a_rose.cbm", "rose.sun", "decoder=rasttopnm", "ref=" + r, "bad=0:2578", "bad=cut:2000",
        "bad=8:3939393939", "bad=72:393939")
    # Three planes (".fbm"): the rose in RGB, rows padded by one byte.
    rgb = rose((35, 23))
    w, h = rgb.size
    rowlen = w + 1
    plnlen = rowlen * h
    planes = b""
    for c in range(3):
        p = bytearray(plnlen)
        for y in range(h):
            for x in range(w):
                p[y * rowlen + x] = rgb.getpixel((x, y))[c]
        planes += bytes(p)
    write("targets_a_planes.fbm", fbm_header(w, h, 3, 8, rowlen, plnlen, 0, "rose") + planes)
    r = ref("targets_a_rose_fbm", rgb)
    row("targets_a_planes.fbm", "planes.sun", "decoder=rasttopnm", "ref=" + r, "bad=1:42", "bad=cut:1500",
        "bad=16:3939393939393939")


def itex_sample():
    img = rose()
    w, h = img.size
    levels = [g * 16 for g in grey_levels(img)]  # 12 significant bits, as cameras write
    comment = b"[Application]\r\nDate=01-01-2000,Time=00:00:00\r\n\0"
    header = b"IM" + struct.pack("<6H", len(comment), w, h, 0, 0, 2) + bytes(50)
    calibration = struct.pack("<%df" % (w + h), *([0.5] * (w + h)))
    write("targets_a_camera.img", header + comment + struct.pack("<%dH" % len(levels), *levels) + calibration)
    lo, hi = min(levels), max(levels)
    out = Image.new("L", (w, h))
    out.putdata([((v - lo) * 255 + (hi - lo) // 2) // (hi - lo) for v in levels])
    r = ref("targets_a_camera", out)
    row("targets_a_camera.img", "camera.pgm", "decoder=pnmtopnm", "ref=" + r, "bad=0:584D", "bad=12:0100",
        "bad=cut:4000", "bad=4:FFFF")
    # A GE Genesis image, 16-bit with a display window.
    g16 = [g * 10 for g in grey_levels(img)]
    window, level = 1600, 1000
    header = b"IMGF" + struct.pack(">7I", 64, w, h, 16, 1, window, level) + bytes(32)
    write("targets_a_scanner.img", header + struct.pack(">%dH" % len(g16), *g16))
    out = Image.new("L", (w, h))
    out.putdata([min(255, max(0, (v - (level - window // 2)) * 255 // window)) for v in g16])
    r = ref("targets_a_scanner", out)
    row("targets_a_scanner.img", "scanner.pgm", "decoder=pnmtopnm", "ref=" + r, "bad=20:00000003",
        "bad=cut:3000", "bad=8:00010000")


def pgc_pack(raw):
    out, i = bytearray(b"PG\x01"), 0
    while i < len(raw):
        run = 1
        while i + run < len(raw) and raw[i + run] == raw[i] and run < 127:
            run += 1
        if run >= 3:
            out += bytes([0x80 | run, raw[i]])
            i += run
            continue
        j = i
        while j < len(raw) and j - i < 127 and not (j + 2 < len(raw) and raw[j] == raw[j + 1] == raw[j + 2]):
            j += 1
        out += bytes([j - i]) + raw[i:j]
        i = j
    return bytes(out)


def pgc_sample():
    bits = text_bits("Portfolio", 240, 64, 80, 8)
    for x in range(240):  # a frame around the text, and a diagonal
        bits[0][x] = bits[63][x] = 1
    for y in range(64):
        bits[y][0] = bits[y][239] = 1
        bits[y][y * 3] = 1
    raw = bytes(sum(bits[y][x * 8 + k] << (7 - k) for k in range(8)) for y in range(64) for x in range(30))
    write("targets_a_palmtop.pgc", pgc_pack(raw))
    r = ref("targets_a_palmtop", bilevel_ref(bits))
    row("targets_a_palmtop.pgc", "palmtop.pbm", "decoder=pnmtopnm", "ref=" + r, "bad=0:4A47", "bad=2:02",
        "bad=cut:2")


def itg_runs(line):
    runs, x, ink = [], 0, 0
    while x < len(line):
        n = 0
        while x < len(line) and line[x] == ink:
            n += 1
            x += 1
        runs.append(n)
        ink ^= 1
    if len(runs) % 2 == 0:
        runs.append(0)  # lines end on a background run
    return runs


def itg_header(w, h, orientation):
    hdr = bytearray(1024)
    hdr[0:2] = b"\x08\x09"
    struct.pack_into("<HHH", hdr, 2, 510, 9, 0)
    struct.pack_into("<II", hdr, 184, w, h)
    hdr[194] = orientation
    hdr[511] = 3
    return bytes(hdr)


def itg_samples():
    img = rose()
    w, h = img.size
    g = grey_levels(img)
    bits = [[1 if g[y * w + x] < 110 else 0 for x in range(w)] for y in range(h)]
    body = b""
    for y in range(h):  # plain runs, rows top to bottom
        runs = itg_runs(bits[y])
        body += struct.pack("<%dH" % len(runs), *runs)
    write("targets_a_drawing.itg", itg_header(w, h, 4) + body)
    r = ref("targets_a_drawing", bilevel_ref(bits))
    row("targets_a_drawing.itg", "drawing.pbm", "decoder=pnmtopnm", "ref=" + r, "bad=0:0909", "bad=4:1800",
        "bad=cut:600", "bad=184:FFFFFF00")
    body = b""
    for n, y in enumerate(reversed(range(h))):  # line headers, rows bottom to top
        runs = itg_runs(bits[y])
        body += struct.pack("<4H", 0x5900, 2 + len(runs), n + 1, 0) + struct.pack("<%dH" % len(runs), *runs)
    write("targets_a_scan.itg", itg_header(w, h, 6) + body)
    row("targets_a_scan.itg", "scan.pbm", "decoder=pnmtopnm", "ref=" + r, "bad=194:00", "bad=cut:1000",
        "bad=188:00000100")


def gpb_sample():
    img = rose((32, 24))
    w, h = img.size
    mask = bytes(min(255, (x * 8 + y * 4)) for y in range(h) for x in range(w))
    name = b"rose\0"
    brush = struct.pack(">5I4sI", 28 + len(name), 2, w, h, 1, b"GIMP", 25) + name + mask
    pattern = struct.pack(">5I4s", 24 + len(name), 1, w, h, 3, b"GPAT") + name + img.tobytes()
    write("targets_a_brush.gpb", brush + pattern)
    r = ref("targets_a_brush", img)
    row("targets_a_brush.gpb", "brush.tga", "decoder=tgatoppm", "ref=" + r, "bad=20:4A554E4B", "bad=cut:800",
        "bad=8:00FFFFFF", "bad=4:00000009")


C64 = [(0, 0, 0), (255, 255, 255), (136, 0, 0), (170, 255, 238), (204, 68, 204), (0, 204, 85), (0, 0, 170),
       (238, 238, 119), (221, 136, 85), (102, 68, 0), (255, 119, 119), (51, 51, 51), (119, 119, 119),
       (170, 255, 102), (0, 136, 255), (187, 187, 187)]


def amica_pack(data):
    out, i = bytearray(b"\x00\x40"), 0
    while i < len(data):
        run = 1
        while i + run < len(data) and data[i + run] == data[i] and run < 255:
            run += 1
        if run >= 3 or data[i] == 0xC2:
            out += bytes([0xC2, run, data[i]])
            i += run
        else:
            out.append(data[i])
            i += 1
    return bytes(out + b"\xC2\x00")


def koala_picture(body):
    """The 160 x 200 multicolour picture a Koala body shows (C64 colours)."""
    img = Image.new("RGB", (160, 200))
    for cy in range(25):
        for cx in range(40):
            cell = cy * 40 + cx
            screen, colour = body[8000 + cell], body[9000 + cell]
            colours = [body[10000] & 15, screen >> 4, screen & 15, colour & 15]
            for line in range(8):
                b = body[cell * 8 + line]
                for k in range(4):
                    img.putpixel((cx * 4 + k, cy * 8 + line), C64[colours[(b >> (6 - 2 * k)) & 3]])
    return img


def amica_sample():
    g = grey_levels(rose((160, 200)))
    image = bytearray(10257)
    for cy in range(25):
        for cx in range(40):
            cell = cy * 40 + cx
            image[8000 + cell] = (11 << 4) | 12  # dark grey, grey
            image[9000 + cell] = 1 if (cx + cy) % 2 else 15  # white or light grey
            for line in range(8):
                b = 0
                for k in range(4):
                    b = b << 2 | min(3, g[(cy * 8 + line) * 160 + cx * 4 + k] // 64)
                image[cell * 8 + line] = b
    image[10000] = 0
    image[10001:] = bytes(range(256))  # the colour-rotation table
    write("targets_a_c64.ami", amica_pack(bytes(image)))
    # No Debian program reads Koala files: the reference is this generator's own
    # reading of the expected Koala body; the row has no decoder.
    ref("targets_a_c64", koala_picture(bytes(image[:10001])))
    row("targets_a_c64.ami", "c64.koa", "bad=cut:200", "bad=cut:1")


def ics_samples():
    # Version 1.0: a header and the 16-bit big-endian samples in the ".ids" beside it.
    img = rose()
    w, h = img.size
    levels = [g * 200 + 7 for g in grey_levels(img)]
    text = ("\t\nics_version\t1.0\nfilename\ttargets_a_cells\nlayout\tparameters\t3\nlayout\torder\tbits\tx\ty\n"
            "layout\tsizes\t16\t%06d\t%06d\nlayout\tcoordinates\tvideo\nlayout\tsignificant_bits\t16\n"
            "representation\tformat\tinteger\nrepresentation\tsign\tunsigned\n"
            "representation\tcompression\tuncompressed\nrepresentation\tbyte_order\t2\t1\nend\n" % (w, h))
    write("targets_a_cells.ics", text.encode())
    write("targets_a_cells.ids", struct.pack(">%dH" % len(levels), *levels))
    lo, hi = min(levels), max(levels)
    out = Image.new("L", (w, h))
    out.putdata([int((v - lo) * 255.0 / (hi - lo) + 0.5) for v in levels])
    r = ref("targets_a_cells", out)
    at = text.index("%06d" % w)
    row("targets_a_cells.ics", "cells.dib", "decoder=bmptopnm", "ref=" + r, "bad=2:58", "bad=cut:200",
        "bad=%d:393939393939" % at)
    # Version 2.0: colour channels first, gzip-compressed samples after the header.
    rgb = rose((35, 23))
    w, h = rgb.size
    text = ("\t\r\nics_version\t2.0\r\nfilename\ttargets_a_colour\r\nlayout\tparameters\t4\r\n"
            "layout\torder\tbits\tch\tx\ty\r\nlayout\tsizes\t8\t3\t%06d\t%06d\r\n"
            "representation\tformat\tinteger\r\nrepresentation\tsign\tunsigned\r\n"
            "representation\tcompression\tgzip\r\nend\r\n" % (w, h))
    data = text.encode() + gzip.compress(rgb.tobytes(), mtime=0)
    write("targets_a_colour.ics", data)
    r = ref("targets_a_colour", rgb)
    at = text.index("%06d" % w)
    row("targets_a_colour.ics", "colour.dib", "decoder=bmptopnm", "ref=" + r, "bad=5:58", "bad=cut:%d" % (len(data) - 300),
        "bad=%d:393939393939" % at)


def fpg_record(code, img, name):
    w, h = img.size
    pixels = img.tobytes()
    return (struct.pack("<II", code, 64 + 4 + len(pixels)) + name.encode().ljust(32, b"\0") +
            (name[:8] + ".map").encode().ljust(12, b"\0") + struct.pack("<IIIhh", w, h, 1, w // 2, h // 2) + pixels)


def fpg_sample():
    full = rose().quantize(64, dither=Image.Dither.NONE)
    pal6 = [v >> 2 for v in full.getpalette()[:192]] + [0] * (768 - 192)
    small = full.resize((35, 23), Image.NEAREST)
    data = (b"fpg\x1a\x0d\x0a\x00\x00" + bytes(pal6) + bytes(576) + fpg_record(1, full, "rose") +
            fpg_record(7, small, "small rose"))
    write("targets_a_pics.fpg", data)
    refs = []
    for n, img in enumerate((full, small)):
        shown = Image.new("RGB", img.size)
        shown.putdata([tuple(4 * pal6[3 * i + c] for c in range(3)) for i in img.getdata()])
        refs.append(ref("targets_a_pics_%d" % (n + 1), shown))
    row("targets_a_pics.fpg", "pics.png", "decoder=pngtopnm", "ref=" + refs[0], "result=2",
        "file=targets_a_pics_0001.png", "bad=0:787878", "bad=cut:1000", "bad=1404:FFFF0000")
    row("targets_a_pics.fpg", "pics.png", "decoder=pngtopnm", "ref=" + refs[1], "result=2",
        "file=targets_a_pics_0002.png")
    # 16-bit pictures (5:6:5 words, 0 transparent).
    rgb = rose((35, 23))
    words = [max(1, (r >> 3) << 11 | (g >> 2) << 5 | b >> 3) for r, g, b in rgb.getdata()]
    pixels = struct.pack("<%dH" % len(words), *words)
    record = (struct.pack("<II", 3, 64 + len(pixels)) + b"rose".ljust(32, b"\0") + b"rose.map".ljust(12, b"\0") +
              struct.pack("<III", 35, 23, 0) + pixels)
    write("targets_a_deep.fpg", b"f16\x1a\x0d\x0a\x00\x00" + record)
    shown = Image.new("RGB", rgb.size)
    shown.putdata([((p >> 11) << 3, ((p >> 5) & 63) << 2, (p & 31) << 3) for p in words])
    r = ref("targets_a_deep", shown)
    row("targets_a_deep.fpg", "deep.png", "decoder=pngtopnm", "ref=" + r, "result=1", "bad=0:663332",
        "bad=cut:1000", "bad=60:FFFF0000")
    # The same archive as clone tools write it, gzip-compressed.
    write("targets_a_packed.fpg", gzip.compress(data, mtime=0))
    row("targets_a_packed.fpg", "packed.png", "decoder=pngtopnm", "ref=" + refs[1], "result=2",
        "file=targets_a_packed_0002.png", "bad=cut:500")


def sub_blocks(data):
    out = b""
    for i in range(0, len(data), 255):
        out += bytes([len(data[i:i + 255])]) + data[i:i + 255]
    return out + b"\0"


def jif_samples():
    img = rose().quantize(16, dither=Image.Dither.NONE)
    w, h = img.size
    r = ref("targets_a_rose_jif", img.convert("RGB"))
    buf = io.BytesIO()
    img.save(buf, "GIF")
    gif = buf.getvalue()
    # GIF-coded data under the JIF signature.
    write("targets_a_lzw.jif", b"JIF99a" + gif[6:])
    width_at = gif.index(b"\x2c\x00\x00\x00\x00") + 5  # the image's width
    row("targets_a_lzw.jif", "lzw.gif", "decoder=giftopnm", "ref=" + r, "bad=0:474946", "bad=cut:40",
        "bad=%d:FFFF" % width_at, "bad=%d:FFFF" % (len(gif) - 40))
    # Deflate-coded indices.
    pal = bytes(img.getpalette()[:48])
    data = (b"JIF99a" + struct.pack("<HHBBB", w, h, 0x80 | 3, 0, 0) + pal +
            b"\x2c" + struct.pack("<HHHHB", 0, 0, w, h, 0) + b"\x04" + sub_blocks(zlib.compress(img.tobytes(), 9)) +
            b"\x3b")
    write("targets_a_deflate.jif", data)
    row("targets_a_deflate.jif", "deflate.gif", "decoder=giftopnm", "ref=" + r, "bad=0:4A4946383961",
        "bad=cut:100", "bad=%d:FFFF" % (6 + 7 + 48 + 5))
    # An HRU file that carries a GIF.
    hru = b"5KP51]*grr\x80\x83\x85" + bytes(range(64)) + gif + b"\0" * 32
    write("targets_a_carrier.hru", hru)
    at = hru.index(gif[:6])
    row("targets_a_carrier.hru", "carrier.gif", "decoder=giftopnm", "ref=" + r, "bad=%d:4A4946" % at,
        "bad=cut:%d" % (at + 40), "bad=%d:FFFF" % (at + width_at))


def dc2_look(cells):
    """The camera's picture from 243 x 512 cells: the same steps as the
    converter, written again here (the only reader of these files)."""
    import math
    W, H = 512, 243
    c = [max(v, 2) for v in cells]
    rgb = []
    for y in range(H):
        for x in range(W):
            own = float(c[y * W + x])
            side = (c[y * W + (x - 1 if x > 0 else x + 1)] + c[y * W + (x + 1 if x < W - 1 else x - 1)]) / 2
            vert = (c[(y - 1 if y > 0 else y + 1) * W + x] + c[(y + 1 if y < H - 1 else y - 1) * W + x]) / 2
            if y % 2 and x % 2:
                r = (2 * (own - side) + vert) / 5; g = (vert - r) / 2; b = side - 2 * g
            elif y % 2:
                r = (3 * side - own - vert) / 5; g = 2 * r - side + own; b = own - 2 * g
            elif x % 2:
                b = (3 * side - vert - own) / 5; g = (side - vert + own - b) / 2; r = own - 2 * g
            else:
                b = (vert - 2 * (side - own)) / 5; g = (vert - b) / 2; r = side - 2 * g
            rgb.append([max(r, 0.0) * 0.64, max(g, 0.0) * 0.58, max(b, 0.0)])
    lum = [0.3 * p[0] + 0.6 * p[1] + 0.1 * p[2] for y in range(1, 242) for p in rgb[y * W + 2:y * W + 502]]
    most = max(lum)
    bins = [0] * 4096
    for l in lum:
        bins[min(4095, int(l / most * 4095))] += 1
    cut = len(lum) * 0.005
    low, total = 0, 0.0
    while low < 4095:
        total += bins[low]
        if total >= cut:
            break
        low += 1
    high, total = 4095, 0.0
    while high > 0:
        total += bins[high]
        if total >= cut:
            break
        high -= 1
    lo, hi = low * most / 4095, high * most / 4095
    if hi <= lo:
        hi = lo + 1
    for p in rgb:
        for i in range(3):
            v = p[i]
            p[i] = 0 if v <= lo else 255 if v >= hi else min(255.0, math.floor(256 * math.sqrt((v - lo) / (hi - lo)) + 0.5))
    step = 241 / 375
    out = []
    for k in range(375):
        top, bottom = k * step, (k + 1) * step
        for x in range(496):
            sums = [0.0, 0.0, 0.0]
            s = int(top)
            while s < 241 and s < bottom:
                weight = min(s + 1, bottom) - max(s, top)
                p = rgb[(s + 1) * W + x + 4]
                for i in range(3):
                    sums[i] += p[i] * weight
                s += 1
            out.append(tuple(int(min(max(math.floor(v / step + 0.5), 0), 255)) for v in sums))
    img = Image.new("RGB", (496, 375))
    img.putdata(out)
    return img


def dc2_samples():
    src = rose((512, 243))
    cells = []
    for y in range(243):
        for x in range(512):
            r, g, b = (v // 4 for v in src.getpixel((x, y)))
            cells.append((2 * r + g + b if x % 2 else 2 * g + b) if y % 2 else (r + 2 * g if x % 2 else r + g + 2 * b))
    write("targets_a_dc20.dc2", bytes(512) + bytes(cells))
    r = ref("targets_a_dc20", dc2_look(cells))
    row("targets_a_dc20.dc2", "dc20.tga", "decoder=tgatoppm", "ref=" + r, "bad=cut:60000",
        "bad=124928:00")
    # Two thumbnails: the rose and the rose upside down.
    thumbs, shown = b"", Image.new("RGB", (80, 128))
    for n, img in enumerate((rose((80, 60)), rose((80, 60)).transpose(Image.FLIP_TOP_BOTTOM))):
        g = grey_levels(img)
        thumbs += bytes(g) + bytes(5120 - 4800)
        most = max(g)
        for i, v in enumerate(g):
            t = 255 - (255 - 255 * v // most) ** 2 // 255
            shown.putpixel((i % 80, n * 64 + i // 80), (t, t, t))
    write("targets_a_thumbs.dc2", thumbs)
    r = ref("targets_a_thumbs_dc2", shown)
    row("targets_a_thumbs.dc2", "thumbs.tga", "decoder=tgatoppm", "ref=" + r, "bad=cut:5000", "bad=10240:00")


def main():
    fbm_samples()
    itex_sample()
    pgc_sample()
    itg_samples()
    gpb_sample()
    amica_sample()
    ics_samples()
    fpg_sample()
    jif_samples()
    dc2_samples()
    with open(os.path.join(HERE, "targets_a.list"), "w") as f:
        f.write("\n".join(ROWS) + "\n")


if __name__ == "__main__":
    main()
