#!/usr/bin/python3
"""Writes the raster_b samples (Nokia, Palm, First Publisher, AliceSoft and
other small raster formats) next to this script, their reference pictures
under ref/ and the list raster_b.list. Pictures come from ImageMagick's
built-in rose: and logo:, written by netpbm or ImageMagick where they write
the format, otherwise built here byte by byte."""
import os
import shutil
import struct
import tempfile
from genlib import run, write

HERE = os.path.dirname(os.path.abspath(__file__))
TMP = tempfile.mkdtemp(prefix="gen_raster_b_")
ROWS = []


def tmp(name):
    return os.path.join(TMP, name)


def row(source, target, decoder=None, ref=None, bad=(), **opts):
    words = [source, target]
    if decoder:
        words.append("decoder=" + decoder)
    if ref:
        words.append("ref=ref/" + ref)
    for k, v in opts.items():
        words.append("%s=%s" % (k, v))
    words += ["bad=" + b for b in bad]
    ROWS.append(" ".join(words))


def ref_from(cmd_output_pnm, name):
    """Stores a PNM (bytes) as ref/<name>.png."""
    write(os.path.join("ref", name + ".png"), run(["pnmtopng"], cmd_output_pnm))
    return name + ".png"


def rgb_pixels(picture, w, h, extra=()):
    """RGB bytes of an ImageMagick picture, resized to exactly w x h."""
    return run(["convert", picture, "-resize", "%dx%d!" % (w, h)] + list(extra) + ["-depth", "8", "rgb:-"])


def pnm_rgb(w, h, rgb):
    return b"P6 %d %d 255\n" % (w, h) + bytes(rgb)


def bilevel(w, h, picture="rose:"):
    """A black-and-white picture as rows of 0/1 (1 = black)."""
    grey = run(["convert", picture, "-resize", "%dx%d!" % (w, h), "-colorspace", "gray",
                "-threshold", "50%", "-depth", "8", "gray:-"])
    return [[1 if grey[y * w + x] < 128 else 0 for x in range(w)] for y in range(h)]


def pbm(bits):
    h, w = len(bits), len(bits[0])
    out = bytearray(b"P4 %d %d\n" % (w, h))
    for r in bits:
        for x in range(0, w, 8):
            v = 0
            for k in range(8):
                if x + k < w and r[x + k]:
                    v |= 0x80 >> k
            out.append(v)
    return bytes(out)


def packed_rows(bits, pad_to=1, one_is_black=True):
    out = bytearray()
    for r in bits:
        line = bytearray()
        for x in range(0, len(r), 8):
            v = 0
            for k in range(8):
                if x + k < len(r) and (r[x + k] if one_is_black else not r[x + k]):
                    v |= 0x80 >> k
            line.append(v)
        while len(line) % pad_to:
            line.append(0)
        out += line
    return bytes(out)


# ---------------------------------------------------------------- Nokia

def nokia():
    # OTB written by ImageMagick (byte-aligned rows; 70 wide, so the reader
    # must pick the aligned layout).
    bits = bilevel(70, 28)
    write(tmp("rose.pbm"), pbm(bits))
    run(["convert", tmp("rose.pbm"), tmp("rose.otb")])
    with open(tmp("rose.otb"), "rb") as f:
        write("raster_b_rose.otb", f.read())
    ref = ref_from(pbm(bits), "raster_b_rose_otb")
    row("raster_b_rose.otb", "rose_otb.bmp", "bmptopnm", ref,
        bad=["cut:3", "3:02", "0:10ffffffff01"])

    # OTB in the continuous layout of the over-the-air specification (odd
    # width, rows not byte-aligned), built here.
    bits = bilevel(45, 20, "logo:")
    flat = [b for r in bits for b in r]
    data = bytearray([0, 45, 20, 1])
    for i in range(0, len(flat), 8):
        v = 0
        for k in range(8):
            if i + k < len(flat) and flat[i + k]:
                v |= 0x80 >> k
        data.append(v)
    write("raster_b_stream.otb", bytes(data))
    row("raster_b_stream.otb", "stream.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_stream_otb"),
        bad=["cut:4", "3:00"])

    # NLM startup logo, 84 x 48 (rows padded to 11 bytes), built here.
    bits = bilevel(84, 48)
    data = b"NLM \x01\x02\x00" + bytes([84, 48, 1]) + packed_rows(bits)
    write("raster_b_startup.nlm", data)
    row("raster_b_startup.nlm", "startup.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_startup_nlm"),
        bad=["cut:200", "0:4e4c4e", "7:00"])

    # BMP to OTB: a 72 x 28 BMP written by ImageMagick, our OTB read back by
    # ImageMagick (72 is a multiple of 8, where both row layouts agree).
    bits = bilevel(72, 28, "logo:")
    write(tmp("logo.pbm"), pbm(bits))
    run(["convert", tmp("logo.pbm"), "-type", "Palette", "-compress", "None", "BMP3:" + tmp("logo.bmp")])
    with open(tmp("logo.bmp"), "rb") as f:
        write("raster_b_logo.bmp", f.read())
    row("raster_b_logo.bmp", "logo.otb", "magick", ref_from(pbm(bits), "raster_b_logo_bmp"),
        bad=["cut:40", "0:4241"])

    # NPM written by netpbm, with a text.
    bits = bilevel(72, 28)
    write(tmp("npm.pbm"), pbm(bits))
    data = run(["pbmtonokia", "-fmt", "NPM", "-txt", "Rose", tmp("npm.pbm")])
    write("raster_b_message.npm", data)
    row("raster_b_message.npm", "message.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_message_npm"),
        bad=["cut:100", "0:4e504e"])


# ---------------------------------------------------------------- Palm

def grey_levels(w, h, levels, picture="rose:"):
    grey = run(["convert", picture, "-resize", "%dx%d!" % (w, h), "-colorspace", "gray", "-depth", "8", "gray:-"])
    step = 255 // (levels - 1)
    return bytes(round(g / step) * step for g in grey)


def palm():
    # PDB picture database written by netpbm (2-bit, run-length coded, padded
    # to 160 x 160 by the writer); the reference is netpbm's own reading.
    w, h = 70, 46
    grey = grey_levels(w, h, 4)
    data = bytearray(run(["pamtopdbimg", "-compressed"], b"P5 %d %d 255\n" % (w, h) + grey))
    data[36:48] = bytes(12)  # no dates: the sample stays the same on every run
    write("raster_b_rose.pdb", bytes(data))
    ref = ref_from(run(["pamtopnm"], run(["pdbimgtopam"], bytes(data))), "raster_b_rose_pdb")
    rec = struct.unpack(">I", data[78:82])[0]
    row("raster_b_rose.pdb", "rose_pdb.bmp", "bmptopnm", ref,
        bad=["cut:%d" % (rec + 40), "60:58494d47", "%d:0a" % (rec + 32), "%d:ffff" % (rec + 54)])

    # PDB written by ImageMagick (its own choice of depth, always compressed).
    write(tmp("logo.pgm"), b"P5 64 48 255\n" + grey_levels(64, 48, 16, "logo:"))
    run(["convert", tmp("logo.pgm"), tmp("logo.pdb")])
    with open(tmp("logo.pdb"), "rb") as f:
        data = bytearray(f.read())
    data[36:48] = bytes(12)
    write("raster_b_logo.pdb", bytes(data))
    ref = ref_from(run(["convert", tmp("logo.pdb"), "pnm:-"]),
                   "raster_b_logo_pdb")
    row("raster_b_logo.pdb", "logo_pdb.bmp", "bmptopnm", ref, bad=["cut:78", "64:58696577"])

    # PRC: four bitmap resources written by netpbm (4-bit scan-line coded,
    # 8-bit with its own colour table and PackBits, 2-bit run-length coded,
    # 16-bit plain)
    # wrapped in a resource database built here.
    w, h = 35, 23
    rose = rgb_pixels("rose:", w, h)
    write(tmp("p.ppm"), pnm_rgb(w, h, rose))
    write(tmp("g.pgm"), b"P5 %d %d 255\n" % (w, h) + grey_levels(w, h, 16))
    write(tmp("q.pgm"), b"P5 %d %d 255\n" % (w, h) + grey_levels(w, h, 4, "logo:"))
    run(["convert", tmp("p.ppm"), "-colors", "40", "-depth", "8", tmp("c.ppm")])
    bitmaps = [
        run(["pnmtopalm", "-depth", "4", "-scanline_compression", tmp("g.pgm")]),
        run(["pnmtopalm", "-depth", "8", "-colormap", "-packbits_compression", tmp("c.ppm")]),
        run(["pnmtopalm", "-depth", "2", "-rle_compression", tmp("q.pgm")]),
        run(["pnmtopalm", "-depth", "16", tmp("p.ppm")]),
    ]
    entries, body = bytearray(), bytearray()
    start = 78 + 10 * (len(bitmaps) + 1) + 2
    code = b"\x4e\x75" * 4
    entries += b"code" + struct.pack(">HI", 1, start)
    body += code
    for i, bm in enumerate(bitmaps):
        entries += b"Tbmp" + struct.pack(">HI", 1000 + i, start + len(body))
        body += bm
        if len(body) % 2:
            body += b"\0"
    head = b"rose".ljust(32, b"\0") + struct.pack(">HH", 1, 1) + bytes(24) + b"applRoSe" + bytes(8)
    head += struct.pack(">H", len(bitmaps) + 1)
    data = head + bytes(entries) + b"\0\0" + bytes(body)
    write("raster_b_icons.prc", data)
    for i, bm in enumerate(bitmaps):
        decoded = run(["pamdepth", "255"], run(["palmtopnm"], bm))
        if i == 2:
            # netpbm shows 2-bit greys as an even ramp; the handheld's own
            # four greys are 255, 192, 128 and 0.
            head_end = decoded.index(b"255\n") + 4
            levels = {255: 255, 170: 192, 85: 128, 0: 0}
            decoded = decoded[:head_end] + bytes(levels[v] for v in decoded[head_end:])
        ref = ref_from(decoded, "raster_b_icons_%d" % (i + 1))
        opts = {"file": "raster_b_icons_%04d.bmp" % (i + 1), "result": str(len(bitmaps))}
        bad = ["cut:90", "33:00", "76:ffff"] if i == 0 else []
        row("raster_b_icons.prc", "icons.bmp", "bmptopnm", ref, bad=bad, **opts)


# ---------------------------------------------------------------- First Publisher

def art():
    bits = bilevel(61, 40)
    write(tmp("art.pbm"), pbm(bits))
    run(["convert", tmp("art.pbm"), tmp("art.art")])
    with open(tmp("art.art"), "rb") as f:
        write("raster_b_clip.art", f.read())
    row("raster_b_clip.art", "clip.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_clip_art"),
        bad=["cut:100", "0:4a47", "2:0000", "6:ff7f"])

    # High-resolution kind: PackBits rows with one padding byte, built here.
    bits = bilevel(50, 30, "logo:")
    data = bytearray(b"\xff\xff" + struct.pack("<HHHHH", 300, 300, 50, 30, 1))
    stride = (50 + 7) // 8 + 1
    raw = packed_rows(bits, 1, one_is_black=False)
    for y in range(30):
        line = bytearray(raw[y * 7:(y + 1) * 7]) + b"\0"
        data += packbits(bytes(line))
    assert stride == 8
    write("raster_b_high.art", bytes(data))
    row("raster_b_high.art", "high.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_high_art"),
        bad=["cut:20", "10:0200"])


def packbits(line):
    out, i = bytearray(), 0
    while i < len(line):
        run_len = 1
        while i + run_len < len(line) and line[i + run_len] == line[i] and run_len < 128:
            run_len += 1
        if run_len >= 2:
            out += bytes([(257 - run_len) & 0xFF, line[i]])
            i += run_len
        else:
            j = i
            while j < len(line) and j - i < 128 and not (j + 1 < len(line) and line[j + 1] == line[j]):
                j += 1
            if j == i:
                j = i + 1
            out.append(j - i - 1)
            out += line[i:j]
            i = j
    return bytes(out)


# ---------------------------------------------------------------- AliceSoft

def pms8_encode(px, w):
    """Codes 8-bit pixels with every code the format has, chosen greedily."""
    out, p, n = bytearray(), 0, len(px)
    while p < n:
        best = None
        for code, back in ((0xFF, w), (0xFE, 2 * w)):
            if p >= back:
                k = 0
                while p + k < n and k < 258 and px[p + k] == px[p + k - back]:
                    k += 1
                if k >= 3 and (best is None or k > best[1]):
                    best = (code, k)
        k = 0
        while p + k < n and k < 259 and px[p + k] == px[p]:
            k += 1
        if k >= 4 and (best is None or k > best[1]):
            best = (0xFD, k)
        if best is None and p + 6 <= n:
            a, b = px[p], px[p + 1]
            k = 0
            while p + 2 * k + 1 < n and k < 258 and px[p + 2 * k] == a and px[p + 2 * k + 1] == b:
                k += 1
            if k >= 3:
                best = (0xFC, k)
        if best is None:
            v = px[p]
            out += bytes([v]) if v <= 0xF7 else bytes([0xF8, v])
            p += 1
        elif best[0] in (0xFF, 0xFE):
            out += bytes([best[0], best[1] - 3])
            p += best[1]
        elif best[0] == 0xFD:
            out += bytes([0xFD, best[1] - 4, px[p]])
            p += best[1]
        else:
            out += bytes([0xFC, best[1] - 3, px[p], px[p + 1]])
            p += 2 * best[1]
    return bytes(out)


def pms16_encode(px, w):
    out, p, n = bytearray(), 0, len(px)
    while p < n:
        done = False
        for code, back in ((0xFF, w), (0xFE, 2 * w)):
            if p >= back:
                k = 0
                while p + k < n and k < 257 and px[p + k] == px[p + k - back]:
                    k += 1
                if k >= 2:
                    out += bytes([code, k - 2])
                    p += k
                    done = True
                    break
        if done:
            continue
        k = 0
        while p + k < n and k < 258 and px[p + k] == px[p]:
            k += 1
        if k >= 3:
            out += bytes([0xFD, k - 3]) + struct.pack("<H", px[p])
            p += k
        elif p > w and px[p] == px[p - w - 1]:
            out.append(0xFB)
            p += 1
        elif p >= w and p % w != w - 1 and px[p] == px[p - w + 1]:
            out.append(0xFA)
            p += 1
        else:
            v = px[p]
            out += (b"\xf8" if (v & 0xFF) > 0xF7 else b"") + struct.pack("<H", v)
            p += 1
    return bytes(out)


def pms_header(bits, w, h, pixels_at, extra_at):
    return (b"PM" + struct.pack("<HHBB", 1, 48, bits, 0) + bytes(8) +
            struct.pack("<IIIIIII", 0, 0, w, h, pixels_at, extra_at, 0) + bytes(4))


def pms():
    w, h = 70, 46
    rgb = run(["convert", "rose:", "-colors", "60", "-depth", "8", "rgb:-"])
    colours, px = [], []
    for i in range(w * h):
        c = rgb[i * 3:i * 3 + 3]
        if c not in colours:
            colours.append(c)
        px.append(colours.index(c) + 190)  # values over 0xF7 need the escape
    pal = bytearray(768)
    for i, c in enumerate(colours):
        pal[(i + 190) * 3:(i + 190) * 3 + 3] = c
    data = pms_header(8, w, h, 48 + 768, 48) + bytes(pal) + pms8_encode(px, w)
    write("raster_b_rose.pms", data)
    row("raster_b_rose.pms", "rose_pms.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, rgb), "raster_b_rose_pms"),
        bad=["cut:500", "0:504e", "6:18", "24:ffffff00"])

    w, h = 64, 48
    rgb = rgb_pixels("logo:", w, h)
    words, ref = [], bytearray()
    for i in range(w * h):
        r, g, b = rgb[i * 3] >> 3, rgb[i * 3 + 1] >> 2, rgb[i * 3 + 2] >> 3
        words.append(r << 11 | g << 5 | b)
        ref += bytes([r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2])
    data = pms_header(16, w, h, 48, 0) + pms16_encode(words, w)
    write("raster_b_logo.pms", data)
    row("raster_b_logo.pms", "logo_pms.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_logo_pms"),
        bad=["cut:40", "0:4d50", "28:00000100"])

    # BMP to PMS: no independent reader exists; the row keeps the refusals.
    run(["convert", "rose:", "-colors", "100", "-type", "Palette", "-compress", "None", "BMP3:" + tmp("rose8.bmp")])
    with open(tmp("rose8.bmp"), "rb") as f:
        write("raster_b_palette.bmp", f.read())
    row("raster_b_palette.bmp", "palette.pms", bad=["cut:60", "0:5858", "30:02000000"])


# ---------------------------------------------------------------- SIR, PVR, EPA, PAT, DAT, MGC

def sir():
    w, h = 70, 46
    rgb = rgb_pixels("rose:", w, h)
    data = run(["pnmtosir"], pnm_rgb(w, h, rgb))
    write("raster_b_rose.sir", data)
    row("raster_b_rose.sir", "rose_sir.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, rgb), "raster_b_rose_sir"),
        bad=["cut:3000", "0:4f3b", "4:0c00", "6:ffff"])
    grey = grey_levels(64, 48, 256, "logo:")
    pgm = b"P5 64 48 255\n" + grey
    write("raster_b_grey.sir", run(["pnmtosir"], pgm))
    row("raster_b_grey.sir", "grey_sir.bmp", "bmptopnm", ref_from(pgm, "raster_b_grey_sir"), bad=["cut:4000"])


def twiddle(x, y):
    t = 0
    for i in range(16):
        t |= ((y >> i) & 1) << (2 * i)
        t |= ((x >> i) & 1) << (2 * i + 1)
    return t


def to565(r, g, b):
    return (r >> 3) << 11 | (g >> 2) << 5 | (b >> 3)


def from565(v):
    r, g, b = v >> 11, (v >> 5) & 63, v & 31
    return bytes([r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2])


def from1555(v):
    return bytes(((c << 3) | (c >> 2)) for c in ((v >> 10) & 31, (v >> 5) & 31, v & 31))


def pvrt(pixel, kind, w, h, body):
    return b"PVRT" + struct.pack("<IBBHHH", len(body) + 8, pixel, kind, 0, w, h) + body


def pvr():
    # RGB565 rows.
    w, h = 64, 40
    rgb = rgb_pixels("rose:", w, h)
    words = [to565(*rgb[i * 3:i * 3 + 3]) for i in range(w * h)]
    write("raster_b_rows.pvr", pvrt(1, 9, w, h, b"".join(struct.pack("<H", v) for v in words)))
    ref = b"".join(from565(v) for v in words)
    row("raster_b_rows.pvr", "rows.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_rows_pvr"),
        bad=["cut:2000", "0:50565258", "8:07", "12:0000", "12:ffff"])

    # ARGB1555, twiddled square with mipmaps, behind a GBIX block.
    n = 32
    rgb = rgb_pixels("logo:", n, n)
    full = [0] * (n * n)
    for y in range(n):
        for x in range(n):
            r, g, b = rgb[(y * n + x) * 3:(y * n + x) * 3 + 3]
            full[twiddle(x, y)] = 0x8000 | (r >> 3) << 10 | (g >> 3) << 5 | (b >> 3)
    mips = b"\0\0" * (1 + 1 + 4 + 16 + 64 + 256)  # the smaller levels, not read
    body = mips + b"".join(struct.pack("<H", v) for v in full)
    data = b"GBIX" + struct.pack("<II", 8, 77) + bytes(4) + pvrt(0, 2, n, n, body)
    write("raster_b_twiddled.pvr", data)
    ref = bytearray()
    for y in range(n):
        for x in range(n):
            ref += from1555(full[twiddle(x, y)])
    row("raster_b_twiddled.pvr", "twiddled.bmp", "bmptopnm", ref_from(pnm_rgb(n, n, ref), "raster_b_twiddled_pvr"),
        bad=["cut:500", "30:00"])

    # RGB565 vector-quantised: 2 x 2 blocks from a codebook, indices twiddled.
    n = 32
    rgb = rgb_pixels("rose:", n, n)
    px = [to565(*rgb[i * 3:i * 3 + 3]) for i in range(n * n)]
    book, index = [], [0] * ((n // 2) * (n // 2))
    for by in range(n // 2):
        for bx in range(n // 2):
            blk = tuple(px[(2 * by + dy) * n + 2 * bx + dx] for dx, dy in ((0, 0), (0, 1), (1, 0), (1, 1)))
            if blk not in book:
                book.append(blk)
            index[twiddle(bx, by)] = book.index(blk)
    book += [(0, 0, 0, 0)] * (256 - len(book))
    body = b"".join(struct.pack("<4H", *e) for e in book) + bytes(index)
    write("raster_b_vq.pvr", pvrt(1, 3, n, n, body))
    ref = b"".join(from565(v) for v in px)
    row("raster_b_vq.pvr", "vq.bmp", "bmptopnm", ref_from(pnm_rgb(n, n, ref), "raster_b_vq_pvr"),
        bad=["cut:1500", "12:1800"])


def six(v):
    return (v << 2) | (v >> 4)


def epa():
    # Version 2, 8-bit indices with a 6-bit palette.
    w, h = 70, 46
    rgb = run(["convert", "rose:", "-colors", "64", "-depth", "8", "rgb:-"])
    colours, px = [], bytearray()
    for i in range(w * h):
        c = tuple(v >> 2 for v in rgb[i * 3:i * 3 + 3])
        if c not in colours:
            colours.append(c)
        px.append(colours.index(c))
    pal = bytearray(768)
    for i, c in enumerate(colours):
        pal[i * 3:i * 3 + 3] = bytes(c)
    write("raster_b_award.epa", b"AWBM" + struct.pack("<HH", w, h) + bytes(px) + b"RGB " + bytes(pal))
    ref = b"".join(bytes(six(v) for v in colours[i]) for i in px)
    row("raster_b_award.epa", "award.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_award_epa"),
        bad=["cut:3300", "0:4157424e", "4:ffff"])

    # Version 2, four bit planes per row, palette in blue, green, red order.
    w, h = 60, 40
    rgb = run(["convert", "logo:", "-resize", "%dx%d!" % (w, h), "-colors", "16", "-depth", "8", "rgb:-"])
    colours, px = [], []
    for i in range(w * h):
        c = tuple(v >> 2 for v in rgb[i * 3:i * 3 + 3])
        if c not in colours:
            colours.append(c)
        px.append(colours.index(c))
    seg = (w + 7) // 8
    data = bytearray(b"AWBM" + struct.pack("<HH", w, h))
    for y in range(h):
        for plane in range(4):
            line = bytearray(seg)
            for x in range(w):
                if (px[y * w + x] >> plane) & 1:
                    line[x // 8] |= 0x80 >> (x % 8)
            data += line
    data += b"RGB "
    for i in range(16):
        r, g, b = colours[i] if i < len(colours) else (0, 0, 0)
        data += bytes([b, g, r])
    write("raster_b_planes.epa", bytes(data))
    ref = b"".join(bytes(six(v) for v in colours[i]) for i in px)
    row("raster_b_planes.epa", "planes.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_planes_epa"),
        bad=["cut:1000"])

    # Version 1: 17 x 6 text cells of 8 x 14 pixels, two colours per cell.
    cw, ch = 17, 6
    bits = bilevel(cw * 8, ch * 14, "logo:")
    text = [0x000000, 0x0000AA, 0x00AA00, 0x00AAAA, 0xAA0000, 0xAA00AA, 0xAA5500, 0xAAAAAA,
            0x555555, 0x5555FF, 0x55FF55, 0x55FFFF, 0xFF5555, 0xFF55FF, 0xFFFF55, 0xFFFFFF]
    attrs, cells = bytearray(), bytearray()
    for cy in range(ch):
        for cx in range(cw):
            fg, bg = (9 + (cx + cy) % 7), (0 if (cx + cy) % 3 else 1)
            attrs.append(bg << 4 | fg)
            for r in range(14):
                v = 0
                for x in range(8):
                    if bits[cy * 14 + r][cx * 8 + x]:
                        v |= 0x80 >> x
                cells.append(v)
    write("raster_b_text.epa", bytes([cw, ch]) + bytes(attrs) + bytes(cells) + bytes(70))
    ref = bytearray()
    for y in range(ch * 14):
        for x in range(cw * 8):
            a = attrs[(y // 14) * cw + x // 8]
            c = text[a & 15] if bits[y][x] else text[a >> 4]
            ref += bytes([c >> 16, (c >> 8) & 255, c & 255])
    row("raster_b_text.epa", "text.bmp", "bmptopnm", ref_from(pnm_rgb(cw * 8, ch * 14, ref), "raster_b_text_epa"),
        bad=["cut:1000", "0:12"])


def gimp_pattern(w, h, bpp, pixels, name=b"rose"):
    return struct.pack(">IIIII4s", 24 + len(name) + 1, 1, w, h, bpp, b"GPAT") + name + b"\0" + bytes(pixels)


def pat():
    w, h = 35, 23
    rgba = run(["convert", "rose:", "-resize", "%dx%d!" % (w, h), "-alpha", "set", "-channel", "A",
                "-fx", "i/w", "+channel", "-depth", "8", "rgba:-"])
    write("raster_b_fill.pat", gimp_pattern(w, h, 4, rgba))
    ref = bytearray()
    for i in range(w * h):
        a = rgba[i * 4 + 3]
        ref += bytes((rgba[i * 4 + k] * a + 255 * (255 - a)) // 255 for k in range(3))
    row("raster_b_fill.pat", "fill.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_fill_pat"),
        bad=["cut:2000", "20:38425054", "8:00010000", "16:00000005"])
    grey = grey_levels(40, 30, 256, "logo:")
    write("raster_b_grey.pat", gimp_pattern(40, 30, 1, grey, b"logo"))
    row("raster_b_grey.pat", "grey_pat.bmp", "bmptopnm", ref_from(b"P5 40 30 255\n" + grey, "raster_b_grey_pat"),
        bad=["cut:100"])


def dat():
    pics = [bilevel(88, 52, "rose:"), bilevel(88, 52, "logo:")]
    write("raster_b_graphics.dat", b"".join(packed_rows(p) for p in pics))
    for i, p in enumerate(pics):
        row("raster_b_graphics.dat", "graphics.bmp", "bmptopnm", ref_from(pbm(p), "raster_b_graphics_%d" % (i + 1)),
            bad=["cut:1000", "cut:571"] if i == 0 else [], file="raster_b_graphics_%04d.bmp" % (i + 1), result="2")


def mgc():
    pics = [bilevel(61, 40, "rose:"), None, bilevel(48, 30, "logo:")]
    cards = len(pics)
    entries, body = bytearray(), bytearray()
    start = 5 + 52 * cards
    for i, p in enumerate(pics):
        entries += bytes(6) + struct.pack("<I", start + len(body)) + b"\0" + ("card %d" % (i + 1)).encode().ljust(40, b"\0") + b"\0"
        if p is None:
            body += struct.pack("<H", 0)
        else:
            bm = packed_rows(p, 2, one_is_black=False)
            body += struct.pack("<HHHHH", len(bm), len(p[0]), len(p), 10, 10) + bm
        text = b"a card"
        body += struct.pack("<H", len(text)) + text
    write("raster_b_cards.mgc", b"MGC" + struct.pack("<H", cards) + bytes(entries) + bytes(body))
    for n, p in enumerate([pics[0], pics[2]]):
        row("raster_b_cards.mgc", "cards.bmp", "bmptopnm", ref_from(pbm(p), "raster_b_cards_%d" % (n + 1)),
            bad=["cut:150", "0:524e47", "3:ffff"] if n == 0 else [],
            file="raster_b_cards_%04d.bmp" % (n + 1), result="2")


# ---------------------------------------------------------------- previews and embedded bitmaps

def indexed(picture, w, h, colours):
    """Palette (list of RGB bytes) and indices of an ImageMagick picture."""
    rgb = run(["convert", picture, "-resize", "%dx%d!" % (w, h), "-colors", str(colours), "-depth", "8", "rgb:-"])
    pal, px = [], []
    for i in range(w * h):
        c = rgb[i * 3:i * 3 + 3]
        if c not in pal:
            pal.append(c)
        px.append(pal.index(c))
    return pal, px, rgb


def imagemagick_bmp(picture, w, h, extra):
    run(["convert", picture, "-resize", "%dx%d!" % (w, h)] + extra + ["-compress", "None", "BMP3:" + tmp("x.bmp")])
    with open(tmp("x.bmp"), "rb") as f:
        bmp = f.read()
    return bmp, run(["bmptopnm"], bmp)


def zbr():
    pal, px, rgb = indexed("rose:", 100, 100, 16)
    table = b"".join(bytes([c[2], c[1], c[0], 0]) for c in pal).ljust(64, b"\0")
    rows = bytearray()
    for y in reversed(range(100)):
        line = bytearray(52)
        for x in range(100):
            line[x // 2] |= px[y * 100 + x] << (0 if x % 2 else 4)
        rows += line
    data = b"\x9a\x02\x01\x00" + b"rose".ljust(100, b"\0") + table + bytes(rows) + bytes(64)
    write("raster_b_drawing.zbr", data)
    row("raster_b_drawing.zbr", "drawing.bmp", "bmptopnm", ref_from(pnm_rgb(100, 100, rgb), "raster_b_drawing_zbr"),
        bad=["cut:5300", "0:9b02"])


def bmf():
    bmp, pnm = imagemagick_bmp("rose:", 70, 46, ["-colors", "200", "-type", "Palette"])
    dib = bmp[14:]
    head = b"@CorelBMF\n\rCorel Corporation".ljust(65, b"\0")
    write("raster_b_gallery.bmf", head + struct.pack("<I", len(dib)) + dib + b"VECTORDATA")
    row("raster_b_gallery.bmf", "gallery.bmp", "bmptopnm", ref_from(pnm, "raster_b_gallery_bmf"),
        bad=["cut:500", "0:40436f72656c424d47", "69:28010000", "73:ffff0000"])


def riff_chunk(tag, body):
    return tag + struct.pack("<I", len(body)) + body + (b"\0" if len(body) % 2 else b"")


def cmx():
    bmp, pnm = imagemagick_bmp("logo:", 48, 36, ["-type", "TrueColor"])
    dib = bmp[14:]
    cont = riff_chunk(b"cont", b"Corel Corporation".ljust(32, b"\0") + b"Windows".ljust(16, b"\0") + b"2   ")
    inner = b"stuf" + riff_chunk(b"DISP", struct.pack("<I", 8) + dib) + riff_chunk(b"rclr", b"\0" * 6)
    body = b"CMX1" + cont + riff_chunk(b"LIST", inner) + riff_chunk(b"page", b"\0" * 10)
    write("raster_b_exchange.cmx", b"RIFF" + struct.pack("<I", len(body)) + body)
    row("raster_b_exchange.cmx", "exchange.bmp", "bmptopnm", ref_from(pnm, "raster_b_exchange_cmx"),
        bad=["cut:200", "8:434d5832"])


def compound(streams):
    """A minimal compound file (512-byte sectors, every stream at least 4096
    bytes so that none goes to the mini stream), streams in consecutive
    sectors."""
    sec = 512
    body, fat, starts = bytearray(), [], []
    for name, payload in streams:
        payload = payload.ljust(max(len(payload), 4096), b"\0")
        n = (len(payload) + sec - 1) // sec
        first = 2 + len(body) // sec  # sector 0: FAT, sector 1: directory
        starts.append((name, first, len(payload)))
        body += payload.ljust(n * sec, b"\0")
    total = 2 + len(body) // sec
    fat = [0xFFFFFFFD, 0xFFFFFFFE]
    for name, first, size in starts:
        n = (size + sec - 1) // sec
        fat += [first + k + 1 for k in range(n - 1)] + [0xFFFFFFFE]
    assert len(fat) <= 128
    fat += [0xFFFFFFFF] * (128 - len(fat))

    def entry(name, kind, start, size, child=0xFFFFFFFF, right=0xFFFFFFFF):
        u = name.encode("utf-16-le") + b"\0\0"
        return (u.ljust(64, b"\0") + struct.pack("<HBB", len(u), kind, 1) +
                struct.pack("<III", 0xFFFFFFFF, right, child) + bytes(16) + bytes(4) + bytes(16) +
                struct.pack("<III", start, size, 0))

    dirs = entry("Root Entry", 5, 0xFFFFFFFE, 0, child=1)
    for i, (name, first, size) in enumerate(starts):
        dirs += entry(name, 2, first, size, right=(i + 2) if i + 1 < len(starts) else 0xFFFFFFFF)
    dirs = dirs.ljust(sec, b"\0")
    head = (b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(16) + struct.pack("<HHHH", 0x3E, 3, 0xFFFE, 9) +
            struct.pack("<H", 6) + bytes(10) + struct.pack("<IIIII", 1, 1, 0, 4096, 0xFFFFFFFE) +
            struct.pack("<III", 0, 0xFFFFFFFE, 0) + struct.pack("<I", 0) + b"\xff" * (4 * 108))
    assert len(head) == sec
    assert total == 2 + len(body) // sec
    return head + struct.pack("<128I", *fat) + dirs + bytes(body)


def embedded():
    # Shell scrap: a Paintbrush object whose native data is a whole BMP file.
    bmp, pnm = imagemagick_bmp("rose:", 70, 46, ["-colors", "100", "-type", "Palette"])
    native = struct.pack("<I", len(bmp)) + bmp
    write("raster_b_scrap.shs", compound([("\x01CompObj", b"\x01\xfe" + bytes(60)), ("\x01Ole10Native", native)]))
    row("raster_b_scrap.shs", "scrap.bmp", "bmptopnm", ref_from(pnm, "raster_b_scrap_shs"),
        bad=["cut:1800"])

    # Embedded object: a presentation stream holding a packed DIB.
    bmp, pnm = imagemagick_bmp("logo:", 60, 40, ["-type", "TrueColor"])
    pres = struct.pack("<iI", -1, 8) + struct.pack("<I", 4) + struct.pack("<IiIIII", 1, -1, 0, 60, 40, len(bmp) - 14) + bmp[14:]
    write("raster_b_object.bin", compound([("\x02OlePres000", pres)]))
    row("raster_b_object.bin", "object.bmp", "bmptopnm", ref_from(pnm, "raster_b_object_bin"),
        bad=["cut:3000"])

    # QuickCard: a DIB after other bytes.
    bmp, pnm = imagemagick_bmp("rose:", 40, 30, ["-colors", "16", "-type", "Palette"])
    write("raster_b_card.qt2", b"QuickCard\0" + bytes(range(90)) + bmp[14:] + b"end of card")
    row("raster_b_card.qt2", "card.bmp", "bmptopnm", ref_from(pnm, "raster_b_card_qt2"),
        bad=["cut:300", "100:29"])


# ---------------------------------------------------------------- Storyboard captures

def story_pack(data, wide=False, row_bytes=0):
    """New-form byte codes: runs, literals and (wide) copies of the row above."""
    out, i = bytearray(), 0
    while i < len(data):
        if wide and row_bytes and i >= row_bytes and i % row_bytes == 0 and \
                data[i:i + row_bytes] == data[i - row_bytes:i]:
            out += bytes([0xFE, row_bytes])
            i += row_bytes
            continue
        end = min(len(data), (i // row_bytes + 1) * row_bytes) if wide and row_bytes else len(data)
        run_len = 1
        while i + run_len < end and data[i + run_len] == data[i] and run_len < 0x7C:
            run_len += 1
        if run_len >= 3:
            out += bytes([0x80 | run_len, data[i]])
            i += run_len
            continue
        j = i
        while j < end and j - i < 0x7E and not (j + 2 < end and data[j] == data[j + 1] == data[j + 2]):
            j += 1
        out += bytes([j - i]) + data[i:j]
        i = j
    return bytes(out)


def cap():
    # Old form, 2-colour CGA: 16-bit run and literal codes.
    rb, rows = 20, 60
    bits = bilevel(rb * 8, rows, "rose:")
    raw = packed_rows([[1 - b for b in r] for r in bits])  # 1 = white
    codes, i = bytearray(), 0
    while i < len(raw):
        run_len = 1
        while i + run_len < len(raw) and raw[i + run_len] == raw[i] and run_len < 0x7FFF:
            run_len += 1
        if run_len >= 4:
            codes += struct.pack("<HB", 0x8000 + run_len, raw[i])
            i += run_len
        else:
            j = i
            while j < len(raw) and j - i < 200 and not (j + 3 < len(raw) and raw[j] == raw[j + 1] == raw[j + 2] == raw[j + 3]):
                j += 1
            codes += struct.pack("<H", j - i) + raw[i:j]
            i = j
    codes += b"\0\0"
    data = b"EP_CAP\x00\x06\x00\x00\x00" + struct.pack("<HHH", rb, rows, len(codes)) + bytes(codes)
    write("raster_b_screen.cap", data)
    row("raster_b_screen.cap", "screen.bmp", "bmptopnm", ref_from(pbm(bits), "raster_b_screen_cap"),
        bad=["cut:12", "0:45505f434151", "7:03", "11:0000"])

    # New form, 640 x 480 x 256 kind: 6-bit palette planes, rows copied from above.
    w, h = 64, 48
    pal, px, rgb = indexed("rose:", w, h, 100)
    px = bytearray(px)
    for y in range(20, 28):  # a band of repeated rows exercises the copy code
        px[y * w:(y + 1) * w] = px[19 * w:20 * w]
    head = bytearray(2816)
    head[0:4] = b"\x00\x86\xc1\x00"
    head[5:9] = struct.pack("<HH", w, h)
    for i, c in enumerate(pal):
        head[128 + i], head[384 + i], head[640 + i] = c[0] >> 2, c[1] >> 2, c[2] >> 2
    write("raster_b_wide.cap", bytes(head) + story_pack(bytes(px), True, w))
    ref = b"".join(bytes((v >> 2) * 255 // 63 for v in pal[i]) for i in px)
    row("raster_b_wide.cap", "wide.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_wide_cap"),
        bad=["cut:1800", "2:c2", "5:0020"])

    # New form, 4-colour screen: two planes in vertical 8-pixel strips.
    w, h = 64, 40
    grey = grey_levels(w, h, 4, "logo:")
    vals = [g // 85 for g in grey]
    strips = (w + 7) // 8
    planes = bytearray()
    for p in range(2):
        for sx in range(strips):
            for y in range(h):
                v = 0
                for k in range(8):
                    x = sx * 8 + k
                    if x < w and (vals[y * w + x] >> p) & 1:
                        v |= 0x80 >> k
                planes.append(v)
    head = bytearray(2048)
    head[0:4] = b"\x54\x84\xc1\x08"
    head[5:9] = struct.pack("<HH", w, h)
    head[13], head[14] = 0x01, 0x01  # palette 1, blue background
    write("raster_b_cga.cap", bytes(head) + story_pack(bytes(planes)))
    entries = [0x0000AA, 0x55FFFF, 0xFF55FF, 0xFFFFFF]
    ref = bytearray()
    for v in vals:
        c = entries[[3, 1, 2, 0][v]]
        ref += bytes([c >> 16, (c >> 8) & 255, c & 255])
    row("raster_b_cga.cap", "cga.bmp", "bmptopnm", ref_from(pnm_rgb(w, h, ref), "raster_b_cga_cap"),
        bad=["cut:1000", "3:05", "0:55"])


def main():
    os.makedirs(os.path.join(HERE, "ref"), exist_ok=True)
    nokia()
    palm()
    art()
    pms()
    sir()
    pvr()
    epa()
    pat()
    dat()
    mgc()
    zbr()
    bmf()
    cmx()
    embedded()
    cap()
    with open(os.path.join(HERE, "raster_b.list"), "w") as f:
        f.write("\n".join(ROWS) + "\n")
    shutil.rmtree(TMP, ignore_errors=True)


if __name__ == "__main__":
    main()
