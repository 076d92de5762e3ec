#!/usr/bin/python3
"""Writes the raster-a samples (IFF and Sims floors, Acorn sprites, GEM IMG,
MS Paint, PC Paint, ColoRIX, ...) next to this script, their reference
pictures under ref/ and the list raster_a.list. Pictures come from
ImageMagick's built-in rose; files are written by netpbm where it has a
writer and built from the formats' layouts here otherwise."""
import io
import os
import struct
import subprocess

from PIL import Image
from genlib import byterun1

HERE = os.path.dirname(os.path.abspath(__file__))
ROWS = []


def path(name):
    return os.path.join(HERE, name)


def write(name, data):
    with open(path(name), "wb") as f:
        f.write(data)


def run(cmd, data=None):
    return subprocess.run(cmd, input=data, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout


def rose(w=70, h=46):
    """The rose as an RGB Pillow picture, scaled to w x h."""
    im = Image.open(io.BytesIO(run(["convert", "rose:", "ppm:-"]))).convert("RGB")
    return im if (w, h) == im.size else im.resize((w, h), Image.LANCZOS)


def ppm(im):
    out = io.BytesIO()
    im.convert("RGB").save(out, "PPM")
    return out.getvalue()


def save_ref(name, im):
    im.convert("RGB").save(path("ref/%s.png" % name))


def ref_from_pnm(name, pnm):
    save_ref(name, Image.open(io.BytesIO(pnm)))


def row(source, target, decoder, ref, *extra):
    ROWS.append(" ".join([source, target, "decoder=" + decoder, "ref=ref/%s.png" % ref] + list(extra)))


def quantised(im, colours):
    """(indices, palette as RGB triples) of im reduced to `colours` colours."""
    q = im.quantize(colours, dither=Image.Dither.NONE)
    pal = q.getpalette()[: 3 * colours]
    pal += [0] * (3 * colours - len(pal))
    return list(q.getdata()), [tuple(pal[3 * i: 3 * i + 3]) for i in range(colours)]


def picture(w, h, colours_of):
    im = Image.new("RGB", (w, h))
    im.putdata(colours_of)
    return im


# ---- IFF: EA ILBM / PBM and the Maxis IFF of The Sims ----

def chunk(cid, data):
    return cid + struct.pack(">I", len(data)) + data + (b"\0" if len(data) % 2 else b"")


def form(ftype, chunks):
    body = ftype + b"".join(chunks)
    return b"FORM" + struct.pack(">I", len(body)) + body


def bmhd(w, h, planes, compression):
    return chunk(b"BMHD", struct.pack(">HHhhBBBBHBBHH", w, h, 0, 0, planes, 0, compression, 0, 0, 10, 11, w, h))


def unpack_byterun1(data, pos, n):
    out = bytearray()
    while len(out) < n:
        c = data[pos]
        pos += 1
        if c < 128:
            out += data[pos:pos + c + 1]
            pos += c + 1
        elif c != 128:
            out += bytes([data[pos]]) * (257 - c)
            pos += 1
    return bytes(out[:n]), pos


def ham_reference(data):
    """The colours of a HAM ILBM as the Amiga shows them (a modified
    component of n bits becomes its 8-bit level by repeating the bits)."""
    chunks, pos = {}, 12
    while pos + 8 <= len(data):
        size = struct.unpack(">I", data[pos + 4:pos + 8])[0]
        chunks[data[pos:pos + 4]] = data[pos + 8:pos + 8 + size]
        pos += 8 + size + size % 2
    w, h = struct.unpack(">HH", chunks[b"BMHD"][:4])
    planes, comp = chunks[b"BMHD"][8], chunks[b"BMHD"][10]
    cmap = chunks[b"CMAP"]
    cmap = [tuple(cmap[3 * i:3 * i + 3]) for i in range(len(cmap) // 3)]
    body, bpos, rb, bits = chunks[b"BODY"], 0, ((w + 15) // 16) * 2, planes - 2
    level = (lambda d: d * 17) if bits == 4 else (lambda d: (d << 2) | (d >> 4))
    pixels = []
    for y in range(h):
        vals = [0] * w
        for p in range(planes):
            if comp:
                line, bpos = unpack_byterun1(body, bpos, rb)
            else:
                line, bpos = body[bpos:bpos + rb], bpos + rb
            for x in range(w):
                vals[x] |= (line[x >> 3] >> (7 - (x & 7)) & 1) << p
        held = list(cmap[0])
        for v in vals:
            sel, d = v >> bits, v & ((1 << bits) - 1)
            if sel == 0:
                held = list(cmap[d])
            else:
                held[{1: 2, 2: 0, 3: 1}[sel]] = level(d)
            pixels.append(tuple(held))
    return picture(w, h, pixels)


def iff_bad(data):
    at = data.index(b"BMHD") + 8
    return ["bad=0:58464F52", "bad=cut:%d" % (len(data) // 2), "bad=%d:FFFF" % at]


def gen_iff():
    im = rose()
    r16 = run(["pnmquant", "16"], ppm(im))
    for name, args, src in (("rose", [], r16), ("ham6", ["-ham6"], ppm(im)), ("ham8", ["-ham8"], ppm(im)),
                            ("deep", ["-24force"], ppm(im))):
        data = run(["ppmtoilbm"] + args, src)
        write("raster_a_%s.iff" % name, data)
        if name.startswith("ham"):
            # netpbm's reader fills the low bits of a modified component
            # differently; its picture stays within 12 levels of this one
            ref = ham_reference(data)
            other = Image.open(io.BytesIO(run(["ilbmtoppm"], data))).convert("RGB")
            assert max(abs(a - b) for p, q in zip(ref.getdata(), other.getdata()) for a, b in zip(p, q)) <= 12
            save_ref("raster_a_" + name, ref)
        else:
            ref_from_pnm("raster_a_%s" % name, run(["ilbmtoppm"], data))
        row("raster_a_%s.iff" % name, "%s.bmp" % name, "bmptopnm", "raster_a_" + name, "result=1", *iff_bad(data))
    row("raster_a_rose.iff", "rose.tga", "tgatoppm", "raster_a_rose", "result=1")
    row("raster_a_ham6.iff", "ham6.tga", "tgatoppm", "raster_a_ham6", "result=1")

    # Extra half-brite: 32 colours, the right half of the picture in their halved shades.
    w, h = 48, 32
    idx, pal = quantised(rose(w, h), 32)
    idx = [i + 32 if (n % w) >= w // 2 else i for n, i in enumerate(idx)]
    half = pal + [(r >> 1, g >> 1, b >> 1) for r, g, b in pal]
    rb = ((w + 15) // 16) * 2
    body = bytearray()
    for y in range(h):
        for p in range(6):
            line = bytearray(rb)
            for x in range(w):
                if idx[y * w + x] >> p & 1:
                    line[x >> 3] |= 0x80 >> (x & 7)
            body += byterun1(bytes(line))
    cmap = b"".join(bytes(c) for c in pal)
    data = form(b"ILBM", [bmhd(w, h, 6, 1), chunk(b"CAMG", struct.pack(">I", 0x80)), chunk(b"CMAP", cmap), chunk(b"BODY", bytes(body))])
    ehb = data
    write("raster_a_ehb.iff", data)
    save_ref("raster_a_ehb", picture(w, h, [half[i] for i in idx]))
    row("raster_a_ehb.iff", "ehb.bmp", "bmptopnm", "raster_a_ehb", "result=1", *iff_bad(data))

    # DOS Deluxe Paint chunky picture: odd width, rows padded to even, ByteRun1; in a LIST after a foreign FORM.
    w, h = 45, 30
    idx, pal = quantised(rose(w, h), 64)
    body = b"".join(byterun1(bytes(idx[y * w:(y + 1) * w]) + b"\0") for y in range(h))
    cmap = b"".join(bytes(c) for c in pal)
    pbm = form(b"PBM ", [bmhd(w, h, 8, 1), chunk(b"CMAP", cmap), chunk(b"BODY", body)])
    text = form(b"FTXT", [chunk(b"CHRS", b"rose")])
    inner = b"PBM " + text + pbm + ehb           # a second picture after it
    data = b"LIST" + struct.pack(">I", len(inner)) + inner
    write("raster_a_chunky.iff", data)
    save_ref("raster_a_chunky", picture(w, h, [pal[i] for i in idx]))
    row("raster_a_chunky.iff", "chunky.bmp", "bmptopnm", "raster_a_chunky", "result=2", "file=raster_a_chunky_0001.bmp",
        "bad=0:58464F52", "bad=cut:%d" % (len(data) // 2), "bad=4:7FFFFFF0")
    row("raster_a_chunky.iff", "chunky.bmp", "bmptopnm", "raster_a_ehb", "result=2", "file=raster_a_chunky_0002.bmp")
    row("raster_a_chunky.iff", "chunky.tga", "tgatoppm", "raster_a_chunky", "result=1")


def maxis_chunk(ctype, cid, data):
    label = b"rose".ljust(64, b"\0")
    return ctype + struct.pack(">IHH", 76 + len(data), cid, 0) + label + data


def spr1_frame(w, h, idx, be):
    """An SPR# frame: two skipped rows, then rows of a fill, a literal run and
    a transparent gap; every pixel with index 0 is left out."""
    cmds = bytearray(b"\x00\x00\x09\x02")
    for y in range(2, h):
        line = idx[y * w:(y + 1) * w]
        r, x = bytearray(), 0
        while x < w:
            n = 1
            while x + n < w and n < 255 and (line[x + n] == 0) == (line[x] == 0):
                n += 1
            seg = line[x:x + n]
            if seg[0] == 0:
                r += bytes([1, n])
            elif len(set(seg)) == 1:
                r += bytes([2, n, seg[0], 0])
            else:
                r += bytes([3, n]) + bytes(seg) + (b"\0" if n % 2 else b"")
            x += n
        cmds += bytes([4, len(r) + 2]) + r
    cmds += b"\x05\x00"
    hdr = struct.pack(">IHH" if be else "<IHH", 0, h, w)
    return hdr + bytes(cmds)


def spr2_frame(w, h, idx, alpha, trans):
    cmds = bytearray(struct.pack("<H", (4 << 13) | 1))
    for y in range(1, h):
        line = idx[y * w:(y + 1) * w]
        r = bytearray()
        third = w // 3
        # transparent, then (depth, index, alpha) triples, then plain indices
        r += struct.pack("<H", (3 << 13) | 2)
        trip = bytearray()
        for x in range(2, third):
            trip += bytes([0, line[x], alpha[y * w + x]])
        r += struct.pack("<H", (2 << 13) | (third - 2)) + trip + (b"\0" if len(trip) % 2 else b"")
        plain = bytes(line[third:])
        r += struct.pack("<H", (6 << 13) | len(plain)) + plain + (b"\0" if len(plain) % 2 else b"")
        cmds += struct.pack("<H", (0 << 13) | (len(r) + 2)) + r
    cmds += struct.pack("<H", 5 << 13)
    hdr = struct.pack("<HHIHHHH", w, h, 7, 1, trans, 0, 0)
    return hdr + bytes(cmds)


def gen_flr():
    w, h = 35, 23
    idx, pal = quantised(rose(w, h), 255)
    idx = [i + 1 for i in idx]                     # index 0 stays free: the transparent one
    pal = [(0, 0, 160)] + pal
    palt = struct.pack("<II8x", 1, 256) + b"".join(bytes(c) for c in pal)
    for x in range(5):                               # a transparent notch in row 3
        idx[3 * w + 10 + x] = 0
    f1 = spr1_frame(w, h, idx, True)
    spr1 = struct.pack(">III", 503, 1, 1) + struct.pack(">I", 16) + f1
    alpha = [31 if (n // w) % 2 else 20 for n in range(w * h)]
    f2 = spr2_frame(w, h, idx, alpha, 0)
    spr2 = struct.pack("<III", 1000, 1, 1) + struct.pack("<I", 16) + f2
    bmp = run(["convert", "rose:", "-resize", "40x26!", "bmp3:-"])
    data = b"IFF FILE 2.5:TYPE FOLLOWED BY SIZE\0 JAMIE DOORNBOS & MAXIS 1".ljust(60, b"\0") + b"\0\0\0\0"
    data += maxis_chunk(b"SPR#", 200, spr1) + maxis_chunk(b"SPR2", 201, spr2) + maxis_chunk(b"PALT", 1, palt)
    data += maxis_chunk(b"BMP_", 202, bmp)
    write("raster_a_floor.flr", data)
    first = [pal[i] for i in idx]
    first[: 2 * w] = [pal[0]] * (2 * w)
    save_ref("raster_a_floor_spr1", picture(w, h, first))
    second = [pal[0]] * (w * h)
    for y in range(1, h):
        for x in range(2, w):
            second[y * w + x] = pal[idx[y * w + x]]
    save_ref("raster_a_floor_spr2", picture(w, h, second))
    ref_from_pnm("raster_a_floor_bmp", run(["bmptopnm"], bmp))
    spr_at = data.index(b"SPR#")
    bad = ["bad=0:58", "bad=cut:%d" % (spr_at + 100), "bad=%d:7FFFFFFF" % (spr_at + 4)]
    row("raster_a_floor.flr", "floor.bmp", "bmptopnm", "raster_a_floor_spr1", "result=3",
        "file=raster_a_floor_0001.bmp", *bad)
    row("raster_a_floor.flr", "floor.bmp", "bmptopnm", "raster_a_floor_spr2", "result=3", "file=raster_a_floor_0002.bmp")
    row("raster_a_floor.flr", "floor.bmp", "bmptopnm", "raster_a_floor_bmp", "result=3", "file=raster_a_floor_0003.bmp")


# ---- RISC OS sprites ----

def pack_lsb(values, bpp, first_bit, words):
    """One sprite row: values packed least significant bits first from first_bit."""
    row = bytearray(4 * words)
    for x, v in enumerate(values):
        bit = first_bit + x * bpp
        if bpp >= 8:
            row[bit // 8: bit // 8 + bpp // 8] = v.to_bytes(bpp // 8, "little")
        else:
            row[bit // 8] |= v << (bit % 8)
    return bytes(row)


def sprite(name, w, h, bpp, mode, rows, palette=b"", mask_rows=None, first_bit=0, mask_bpp=1):
    words = (first_bit + w * bpp + 31) // 32
    last_bit = (first_bit + w * bpp - 1) % 32
    image = b"".join(pack_lsb(r, bpp, first_bit, words) for r in rows)
    mask = b""
    if mask_rows is not None:
        if mode >> 27:
            mwords = (w * mask_bpp + 31) // 32
            mask = b"".join(pack_lsb(r, mask_bpp, 0, mwords) for r in mask_rows)
        else:
            mask = b"".join(pack_lsb(r, bpp, first_bit, words) for r in mask_rows)
    image_at = 44 + len(palette)
    mask_at = image_at + len(image) if mask else image_at
    size = image_at + len(image) + len(mask)
    head = struct.pack("<I12sIIIIIII", size, name, words - 1, h - 1, first_bit, last_bit, image_at, mask_at, mode)
    return head + palette + image + mask


def sprite_area(sprites):
    body = b"".join(sprites)
    return struct.pack("<III", len(sprites), 16, 16 + len(body)) + body


def acorn_default256():
    out = []
    for k in range(256):
        r = k % 8 + (k % 32) // 16 * 8
        g = k % 4 + (k % 128) // 32 * 4
        b = k % 4 + (k % 16) // 8 * 4 + k // 128 * 8
        out.append((r * 17, g * 17, b * 17))
    return out


def nearest(pal, c):
    return min(range(len(pal)), key=lambda i: sum((a - b) ** 2 for a, b in zip(pal[i], c)))


def gen_acorn():
    # one 4-bit new-format sprite, odd width, its own palette and a 1-bit mask
    w, h = 45, 30
    idx, pal = quantised(rose(w, h), 16)
    rows = [idx[y * w:(y + 1) * w] for y in range(h)]
    masks = [[0 if (x < 8 and y < 6) else 1 for x in range(w)] for y in range(h)]
    palette = b"".join(bytes([0, *c, 0, *c]) for c in pal)
    mode = (3 << 27) | (90 << 14) | (90 << 1)
    data = sprite_area([sprite(b"rose", w, h, 4, mode, rows, palette, masks)])
    write("raster_a_sprite.acorn", data)
    shown = [(255, 255, 255) if masks[n // w][n % w] == 0 else pal[i] for n, i in enumerate(idx)]
    save_ref("raster_a_sprite", picture(w, h, shown))
    bad = ["bad=0:00000000", "bad=cut:%d" % (len(data) // 2), "bad=32:FFFF0000"]
    row("raster_a_sprite.acorn", "sprite.bmp", "bmptopnm", "raster_a_sprite", "result=1", *bad)

    # three sprites: 8-bit mode 28 with the default palette, 1-bit mode 0 with
    # left wastage, 32-bit new format
    w, h = 40, 26
    im = rose(w, h)
    d256 = acorn_default256()
    cache = {}
    idx8 = [cache.setdefault(c, nearest(d256, c)) for c in im.getdata()]
    s1 = sprite(b"rose8", w, h, 8, 28, [idx8[y * w:(y + 1) * w] for y in range(h)])
    grey = im.convert("L")
    bits = [1 if v < 110 else 0 for v in grey.getdata()]
    s2 = sprite(b"rose1", w, h, 1, 0, [bits[y * w:(y + 1) * w] for y in range(h)], first_bit=8)
    rgb = [r | g << 8 | b << 16 for r, g, b in im.getdata()]
    s3 = sprite(b"rose32", w, h, 32, (6 << 27) | (90 << 14) | (90 << 1), [rgb[y * w:(y + 1) * w] for y in range(h)])
    data = sprite_area([s1, s2, s3])
    write("raster_a_sprites.ff9", data)
    save_ref("raster_a_sprites_8", picture(w, h, [d256[i] for i in idx8]))
    save_ref("raster_a_sprites_1", picture(w, h, [(0, 0, 0) if b else (255, 255, 255) for b in bits]))
    save_ref("raster_a_sprites_32", im)
    bad = ["bad=0:00000000", "bad=cut:%d" % (len(s1) // 2), "bad=12:FFFFFF7F"]
    for n, what in ((1, "8"), (2, "1"), (3, "32")):
        row("raster_a_sprites.ff9", "sprites.bmp", "bmptopnm", "raster_a_sprites_" + what, "result=3",
            "file=raster_a_sprites_%04d.bmp" % n, *(bad if n == 1 else []))


# ---- GEM raster images ----

def gem_header(words, planes, w, h, extra=b""):
    return struct.pack(">8H", 1, words, planes, 2, 85, 85, w, h) + extra


def gem_plane_row(row):
    """A plane row coded with solid runs, a pattern run and bit strings."""
    out, i = bytearray(), 0
    while i < len(row):
        n = 1
        while i + n < len(row) and n < 127 and row[i + n] == row[i]:
            n += 1
        if row[i] in (0, 0xFF) and n >= 2:
            out.append((0x80 if row[i] else 0) | n)
            i += n
        elif n >= 4 and n % 2 == 0 and i + 1 < len(row):
            out += bytes([0, n // 2, row[i], row[i]])
            i += n
        else:
            j = i + 1
            while j < len(row) and j - i < 255 and row[j] not in (0, 0xFF):
                j += 1
            out += bytes([0x80, j - i]) + row[i:j]
            i = j
    return bytes(out)


def gem_planes(idx, w, h, planes):
    rb = (w + 7) // 8
    data, y = bytearray(), 0
    while y < h:
        line = idx[y * w:(y + 1) * w]
        same = 1
        while y + same < h and same < 255 and idx[(y + same) * w:(y + same + 1) * w] == line:
            same += 1
        if same > 1:
            data += bytes([0, 0, 0xFF, same])
        for p in range(planes):
            row = bytearray(rb)
            for x, v in enumerate(line):
                if v >> p & 1:
                    row[x >> 3] |= 0x80 >> (x & 7)
            data += gem_plane_row(bytes(row))
        y += same
    return bytes(data)


def gem_bad(data):
    return ["bad=0:0009", "bad=cut:10", "bad=12:FFFF"]


def gem_irgb():
    pal = []
    for i in range(16):
        r, g, b, d = i & 1, i >> 1 & 1, i >> 2 & 1, i >> 3 & 1
        if r == g == b:
            lvl = {(0, 0): 255, (0, 1): 85, (1, 0): 170, (1, 1): 0}[(r, d)]
            pal.append((lvl, lvl, lvl))
        else:
            on = 170 if d else 255
            pal.append((on * r, on * g, on * b))
    return pal


def gen_gem():
    # one plane, written by netpbm
    w, h = 70, 46
    pbm = run(["pamtopnm"], run(["pamthreshold", "-simple", "-threshold=0.45"], run(["ppmtopgm"], ppm(rose()))))
    data = run(["pbmtogem"], pbm)
    write("raster_a_mono.img", data)
    ref_from_pnm("raster_a_mono", pbm)
    row("raster_a_mono.img", "mono.bmp", "bmptopnm", "raster_a_mono", "result=1", *gem_bad(data))

    # four planes in the GEM desktop colours, with white rows repeated by a scanline run
    w, h = 45, 30
    pal = gem_irgb()
    im = rose(w, h)
    cache = {}
    idx = [cache.setdefault(c, nearest(pal, c)) for c in im.getdata()]
    idx[: 3 * w] = [0] * (3 * w)
    data = gem_header(8, 4, w, h) + gem_planes(idx, w, h, 4)
    write("raster_a_colour.img", data)
    # netpbm's reader knows this palette: it makes the reference
    ref_from_pnm("raster_a_colour", run(["gemtopnm"], data))
    assert list(Image.open(path("ref/raster_a_colour.png")).convert("RGB").getdata()) == [pal[i] for i in idx]
    row("raster_a_colour.img", "colour.bmp", "bmptopnm", "raster_a_colour", "result=1", *gem_bad(data))

    # XIMG: 16 colours of the rose in the header, 0..1000 per component
    idx, qpal = quantised(im, 16)
    ximg = b"XIMG" + struct.pack(">H", 0) + b"".join(struct.pack(">3H", *(c * 1000 // 255 for c in rgb)) for rgb in qpal)
    data = gem_header((16 + len(ximg)) // 2, 4, w, h, ximg) + gem_planes(idx, w, h, 4)
    write("raster_a_ximg.img", data)
    shown = [tuple((c * 1000 // 255) * 255 // 1000 for c in qpal[i]) for i in idx]
    save_ref("raster_a_ximg", picture(w, h, shown))
    row("raster_a_ximg.img", "ximg.bmp", "bmptopnm", "raster_a_ximg", "result=1", *gem_bad(data))


# ---- Microsoft Paint ----

def msp_rows_v2(im):
    """Version 2 rows: white rows left empty, runs of equal bytes coded
    00 n v, everything else as literal blocks."""
    w, h = im.size
    raw = im.tobytes()
    rb = (w + 7) // 8
    lengths, coded = [], bytearray()
    for y in range(h):
        line = raw[y * rb:(y + 1) * rb]
        if line == b"\xff" * rb:
            lengths.append(0)
            continue
        out, i = bytearray(), 0
        while i < rb:
            n = 1
            while i + n < rb and n < 255 and line[i + n] == line[i]:
                n += 1
            if n >= 3:
                out += bytes([0, n, line[i]])
                i += n
            else:
                j = i + 1
                while j < rb and j - i < 255 and not (j + 2 < rb and line[j] == line[j + 1] == line[j + 2]):
                    j += 1
                out += bytes([j - i]) + line[i:j]
                i = j
        lengths.append(len(out))
        coded += out
    return struct.pack("<%dH" % h, *lengths) + bytes(coded)


def gen_msp():
    grey = rose(69, 46).convert("L")
    im = grey.point(lambda v: 255 if v > 115 else 0).convert("1")
    out = io.BytesIO()
    im.save(out, "MSP")                       # Pillow writes version 1
    write("raster_a_paint1.msp", out.getvalue())
    save_ref("raster_a_paint1", Image.open(path("raster_a_paint1.msp")))
    bad = ["bad=0:58", "bad=cut:20", "bad=4:FFFF"]
    row("raster_a_paint1.msp", "paint1.bmp", "bmptopnm", "raster_a_paint1", "result=1", *bad)

    framed = Image.new("1", (69, 52), 255)
    framed.paste(im, (0, 3))
    w, h = framed.size
    words = [0x694C, 0x536E, w, h, 1, 1, 1, 1, w, h, 0, 0]
    check = 0
    for v in words:
        check ^= v
    data = struct.pack("<12H", *words) + struct.pack("<H", check) + b"\0" * 6 + msp_rows_v2(framed)
    write("raster_a_paint2.msp", data)
    # Pillow reads version 2 as well: it makes the reference
    save_ref("raster_a_paint2", Image.open(path("raster_a_paint2.msp")))
    assert list(Image.open(path("raster_a_paint2.msp")).convert("1").getdata()) == list(framed.getdata())
    row("raster_a_paint2.msp", "paint2.bmp", "bmptopnm", "raster_a_paint2", "result=1", *bad)


# ---- PC Paint / Pictor ----

def pic_blocks(data, marker, parts=2):
    """The data in run-length blocks: short runs, 16-bit runs, literals."""
    out = bytearray()
    size = (len(data) + parts - 1) // parts
    for start in range(0, len(data), size):
        part, codes, i = data[start:start + size], bytearray(), 0
        while i < len(part):
            n = 1
            while i + n < len(part) and n < 65535 and part[i + n] == part[i]:
                n += 1
            if n >= 4 or part[i] == marker:
                codes += bytes([marker, n]) + bytes([part[i]]) if n < 256 else bytes([marker, 0]) + struct.pack("<H", n) + bytes([part[i]])
                i += n
            else:
                codes.append(part[i])
                i += 1
        out += struct.pack("<HHB", len(codes) + 5, len(part), marker) + codes
    return bytes(out)


def pic_file(w, h, info, mode, edesc, palette, body, blocks):
    return struct.pack("<HHHHHBBBHH", 0x1234, w, h, 0, 0, info, 0xFF, mode, edesc, len(palette)) + palette + \
        struct.pack("<H", blocks) + body


def gen_pic():
    # 8 bits, a VGA palette of 6-bit levels, packed in two blocks (the sky
    # of white rows gives a 16-bit run)
    w, h = 70, 56
    im = Image.new("RGB", (w, h), (255, 255, 255))
    im.paste(rose(), (0, 10))
    idx, pal = quantised(im, 256)
    pal6 = [tuple(c >> 2 for c in rgb) for rgb in pal]
    rows = b"".join(bytes(idx[y * w:(y + 1) * w]) for y in reversed(range(h)))
    data = pic_file(w, h, 0x08, ord("L"), 4, b"".join(bytes(c) for c in pal6), pic_blocks(rows, 0xF7), 2)
    write("raster_a_vga.pic", data)
    save_ref("raster_a_vga", picture(w, h, [tuple(v * 255 // 63 for v in pal6[i]) for i in idx]))
    bad = ["bad=0:3512", "bad=cut:12", "bad=2:FFFF"]
    row("raster_a_vga.pic", "vga.bmp", "bmptopnm", "raster_a_vga", "result=1", *bad)
    row("raster_a_vga.pic", "vga.pcx", "pcxtoppm", "raster_a_vga", "result=1", *bad)

    # four planes of the EGA, an EGA palette (r g b R G B bits), stored raw
    w, h = 45, 30
    ega = [0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x14, 0x07, 0x38, 0x39, 0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F]
    def ega_rgb(v):
        return tuple(0xAA * (v >> s & 1) + 0x55 * (v >> (s + 3) & 1) for s in (2, 1, 0))
    pal = [ega_rgb(v) for v in ega]
    cache = {}
    idx = [cache.setdefault(c, nearest(pal, c)) for c in rose(w, h).getdata()]
    rb = (w + 7) // 8
    planes = bytearray()
    for p in range(4):
        for y in reversed(range(h)):
            line = bytearray(rb)
            for x in range(w):
                if idx[y * w + x] >> p & 1:
                    line[x >> 3] |= 0x80 >> (x & 7)
            planes += line
    data = pic_file(w, h, 0x31, ord("G"), 3, bytes(ega), bytes(planes), 0)
    write("raster_a_ega.pic", data)
    save_ref("raster_a_ega", picture(w, h, [pal[i] for i in idx]))
    bad = ["bad=0:3512", "bad=cut:%d" % (len(data) - 40), "bad=4:FF7F"]
    row("raster_a_ega.pic", "ega.bmp", "bmptopnm", "raster_a_ega", "result=1", *bad)
    row("raster_a_ega.pic", "ega.pcx", "pcxtoppm", "raster_a_ega", "result=1")

    # CGA: 2 bits packed, no palette of its own (black, cyan, magenta, white)
    w, h = 64, 40
    cga = [(0, 0, 0), (0x55, 0xFF, 0xFF), (0xFF, 0x55, 0xFF), (0xFF, 0xFF, 0xFF)]
    idx = [cache.setdefault(("cga",) + c, nearest(cga, c)) for c in rose(w, h).getdata()]
    rows = bytearray()
    for y in reversed(range(h)):
        for x in range(0, w, 4):
            rows.append(idx[y * w + x] << 6 | idx[y * w + x + 1] << 4 | idx[y * w + x + 2] << 2 | idx[y * w + x + 3])
    data = pic_file(w, h, 0x02, ord("A"), 0, b"", pic_blocks(bytes(rows), 0x00, 1), 1)
    write("raster_a_cga.pic", data)
    save_ref("raster_a_cga", picture(w, h, [cga[i] for i in idx]))
    row("raster_a_cga.pic", "cga.bmp", "bmptopnm", "raster_a_cga", "result=1", "bad=11:00", "bad=cut:18", "bad=10:09")


# ---- ColoRIX ----

def rix_rle(data):
    out, i = bytearray(), 0
    while i < len(data):
        b = data[i]
        if b in (0, 0xFF):
            n = 1
            while i + n < len(data) and n < 256 and data[i + n] == b:
                n += 1
            out += bytes([b, n - 1])
            i += n
        else:
            out.append(b)
            i += 1
    return bytes(out)


def rix_tree(freq):
    """A Huffman code tree as ColoRIX stores it: (items, codes)."""
    import heapq
    heap = [(f, n, ("leaf", s)) for n, (s, f) in enumerate(sorted(freq.items()))]
    if len(heap) == 1:
        heap.append((0, len(heap), ("leaf", (heap[0][2][1] + 1) % 256)))
    heapq.heapify(heap)
    n = len(heap)
    while len(heap) > 1:
        a, b = heapq.heappop(heap), heapq.heappop(heap)
        heapq.heappush(heap, (a[0] + b[0], n, ("node", a[2], b[2])))
        n += 1
    codes = {}

    def items(t, code):
        if t[0] == "leaf":
            codes[t[1]] = code
            return [0x1000 + t[1]]
        one = items(t[1], code + "1")
        zero = items(t[2], code + "0")
        return [2 * len(one)] + one + zero
    return items(heap[0][2], ""), codes


def rix_compress(pixels, row_bytes, rows_per_segment, xor):
    segments = []
    for start in range(0, len(pixels), row_bytes * rows_per_segment):
        part = pixels[start:start + row_bytes * rows_per_segment]
        if xor:
            prev, filt = 0, bytearray()
            for p in part:
                filt.append(p ^ prev)
                prev = p
            part = bytes(filt)
        segments.append(rix_rle(part))
    freq = {}
    for seg in segments:
        for b in seg:
            freq[b] = freq.get(b, 0) + 1
    items, codes = rix_tree(freq)
    out = struct.pack("<H", len(items)) + struct.pack("<%dH" % len(items), *items)
    for seg in segments:
        bits = "".join(codes[b] for b in seg)
        bits += "1" * (-len(bits) % 8)          # padding that decodes to part of a code or garbage
        data = bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8))
        out += struct.pack("<H", len(data)) + data
    return out + b"\0\0"


def gen_rix():
    # 256 colours, compressed in segments of 9 rows, white borders for long runs of FF
    w, h = 70, 54
    im = Image.new("RGB", (w, h), (255, 255, 255))
    im.paste(rose(), (0, 4))
    idx, pal = quantised(im, 255)
    pal6 = [tuple(c >> 2 for c in rgb) for rgb in pal] + [(63, 63, 63)]
    white = pal6.index((63, 63, 63))
    idx = [white if pal[i] == (255, 255, 255) else i for i in idx]
    head = b"RIX3" + struct.pack("<HHBB", w, h, 0xAF, 0x80) + b"".join(bytes(c) for c in pal6)
    data = head + rix_compress(bytes(idx), w, 9, True)
    write("raster_a_rose.scx", data)
    save_ref("raster_a_rose_scx", picture(w, h, [tuple(v * 255 // 63 for v in pal6[i]) for i in idx]))
    bad = ["bad=0:52495834", "bad=cut:400", "bad=4:FFFF", "bad=780:FFFF", "bad=778:FFFF"]
    row("raster_a_rose.scx", "rose.bmp", "bmptopnm", "raster_a_rose_scx", "result=1", *bad)

    write("raster_a_rose.scz", data)                # the same picture under the text-mode extension
    row("raster_a_rose.scz", "rose.bmp", "bmptopnm", "raster_a_rose_scx", "result=1", "bad=9:83")

    # 256 colours raw (".ska")
    data = head[:9] + b"\x00" + head[10:] + bytes(idx)
    write("raster_a_rose.ska", data)
    row("raster_a_rose.ska", "rose.bmp", "bmptopnm", "raster_a_rose_scx", "result=1", "bad=0:52495834", "bad=cut:400", "bad=6:FFFF")

    # 16 colours in planar lines, raw, VGA levels
    w, h = 45, 30
    idx, pal = quantised(rose(w, h), 16)
    pal6 = [tuple(c >> 2 for c in rgb) for rgb in pal]
    rb = (w + 7) // 8
    body = bytearray()
    for y in range(h):
        for p in range(4):
            line = bytearray(rb)
            for x in range(w):
                if idx[y * w + x] >> p & 1:
                    line[x >> 3] |= 0x80 >> (x & 7)
            body += line
    data = b"RIX3" + struct.pack("<HHBB", w, h, 0xAB, 0x04) + b"".join(bytes(c) for c in pal6) + bytes(body)
    write("raster_a_planes.rix", data)
    save_ref("raster_a_planes", picture(w, h, [tuple(v * 255 // 63 for v in pal6[i]) for i in idx]))
    row("raster_a_planes.rix", "planes.bmp", "bmptopnm", "raster_a_planes", "result=1", "bad=0:52495834", "bad=cut:40", "bad=4:0020")


# ---- HS2 (POSTERING) and CFA (Arena animations) ----

def gen_hs2():
    tile = rose(92, 60).convert("L").point(lambda v: 255 if v > 115 else 0).convert("1")
    im = Image.new("1", (840, 60), 255)
    for n in range(9):
        im.paste(tile.transpose(Image.FLIP_LEFT_RIGHT) if n % 2 else tile, (n * 93 + 3, 0))
    write("raster_a_poster.hs2", im.tobytes())      # Pillow's 1-bit rows: a set bit is white
    save_ref("raster_a_poster", im)
    row("raster_a_poster.hs2", "poster.bmp", "bmptopnm", "raster_a_poster", "result=1", "bad=cut:0")


def gen_cfa():
    # three frames of 5-bit values through a table into the grey ramp used without PAL.COL
    w, h, bits = 41, 27, 5
    grey = rose(w, h).convert("L")
    frames = [list(grey.getdata()), list(grey.transpose(Image.FLIP_LEFT_RIGHT).getdata()),
              [255 - v for v in grey.getdata()]]
    table = bytes(k * 8 + 4 for k in range(32))
    stride = (w * bits + 7) // 8 + 1                 # one spare byte per row
    raw = bytearray()
    for fr in frames:
        for y in range(h):
            acc = "".join(format(fr[y * w + x] >> 3, "05b") for x in range(w))
            acc += "0" * (8 * stride - len(acc))
            raw += bytes(int(acc[i:i + 8], 2) for i in range(0, len(acc), 8))
    head = struct.pack("<HHHHHBBH", w, h, stride, 0, 0, bits, len(frames), 76 + len(table)).ljust(76, b"\0")
    data = head + table + byterun1(bytes(raw), repeat=lambda n: 127 + n)
    write("raster_a_walk.cfa", data)
    for n, fr in enumerate(frames, 1):
        save_ref("raster_a_walk_%d" % n, picture(w, h, [((v >> 3) * 8 + 4,) * 3 for v in fr]))
        row("raster_a_walk.cfa", "walk.bmp", "bmptopnm", "raster_a_walk_%d" % n, "result=3",
            "file=raster_a_walk_%04d.bmp" % n, *(["bad=0:FFFF", "bad=cut:50", "bad=11:00", "bad=4:FFFF"] if n == 1 else []))


# ---- Fallout FRM and Total Annihilation GAF ----

def gen_frm():
    # two directions (the last four repeat the second) of two frames each; the palette beside it
    big, small = rose(40, 26), rose(30, 20)
    both = Image.new("RGB", (70, 26))
    both.paste(big, (0, 0))
    both.paste(small, (40, 0))
    _, pal = quantised(both, 256)
    pal6 = [tuple(c >> 2 for c in rgb) for rgb in pal]
    shown = [tuple(v * 255 // 63 for v in c) for c in pal6]
    frames = []
    for im in (big, small, big.transpose(Image.FLIP_LEFT_RIGHT), small.transpose(Image.FLIP_TOP_BOTTOM)):
        q = im.quantize(palette=both.quantize(256, dither=Image.Dither.NONE), dither=Image.Dither.NONE)
        frames.append((im.size, list(q.getdata())))
    blobs = [struct.pack(">HHIhh", w, h, w * h, 0, 0) + bytes(px) for (w, h), px in frames]
    second = len(blobs[0]) + len(blobs[1])
    area = b"".join(blobs)
    offsets = [0, second, second, second, second, second]
    head = struct.pack(">IHHH6h6h6II", 4, 10, 0, 2, *([0] * 12), *offsets, len(area))
    data = head + area
    write("raster_a_critter.frm", data)
    write("raster_a_critter.pal", b"".join(bytes(c) for c in pal6))
    for n, ((w, h), px) in enumerate(frames, 1):
        save_ref("raster_a_critter_%d" % n, picture(w, h, [shown[i] for i in px]))
        row("raster_a_critter.frm", "critter.bmp", "bmptopnm", "raster_a_critter_%d" % n, "result=4",
            "file=raster_a_critter_%04d.bmp" % n, *(["bad=0:00000005", "bad=cut:70", "bad=8:FFFF"] if n == 1 else []))


def gaf_rows(px, w, h, trans):
    out = bytearray()
    for y in range(h):
        line, r, x = px[y * w:(y + 1) * w], bytearray(), 0
        while x < w:
            n = 1
            while x + n < w and line[x + n] == line[x] and n < (127 if line[x] == trans else 64):
                n += 1
            if line[x] == trans:
                r.append(n << 1 | 1)
            elif n >= 2:
                r += bytes([(n - 1) << 2 | 2, line[x]])
            else:
                j = x + 1
                while j < w and j - x < 64 and line[j] != trans and line[j] != line[j - 1]:
                    j += 1
                if j < w and j - x > 1 and line[j] == line[j - 1]:
                    j -= 1
                n = j - x
                r += bytes([(n - 1) << 2]) + bytes(line[x:j])
            x += n
        out += struct.pack("<H", len(r)) + r
    return bytes(out)


def gen_gaf():
    trans = 9
    grey = rose(40, 26).convert("L")
    raw = list(grey.getdata())
    holes = [trans if v < 60 else v for v in raw]
    w, h = grey.size
    base = 12 + 4 * 2
    entry1 = struct.pack("<HHI32s", 1, 1, 0, b"rose") + b"F1F1F1F1"
    entry2 = struct.pack("<HHI32s", 2, 1, 0, b"roses") + b"F2F2F2F2F3F3F3F3"
    at_entry1 = base
    at_entry2 = at_entry1 + len(entry1)
    at_frames = at_entry2 + len(entry2)
    # frame headers: raw, coded, layered, then two layer headers, then the data
    heads_at = [at_frames + 24 * i for i in range(5)]
    data_at = at_frames + 24 * 5
    raw_bytes = bytes(raw)
    coded = gaf_rows(holes, w, h, trans)
    square = [255 if not (3 <= x < 7 and 3 <= y < 7) else trans for y in range(10) for x in range(10)]
    layer_list = struct.pack("<II", heads_at[3], heads_at[4])
    blobs = [raw_bytes, coded, layer_list, bytes(holes), bytes(square)]
    offs, pos = [], data_at
    for b in blobs:
        offs.append(pos)
        pos += len(b)
    heads = [
        struct.pack("<HHhhBBHIII", w, h, 0, 0, trans, 0, 0, 0, offs[0], 0),
        struct.pack("<HHhhBBHIII", w, h, 0, 0, trans, 1, 0, 0, offs[1], 0),
        struct.pack("<HHhhBBHIII", w, h, 0, 0, trans, 0, 2, 0, offs[2], 0),
        struct.pack("<HHhhBBHIII", w, h, 0, 0, trans, 0, 0, 0, offs[3], 0),
        struct.pack("<HHhhBBHIII", 10, 10, -25, -8, trans, 0, 0, 0, offs[4], 0),
    ]
    entry1 = entry1[:40] + struct.pack("<II", heads_at[0], 0)
    entry2 = entry2[:40] + struct.pack("<IIII", heads_at[1], 0, heads_at[2], 0)
    data = struct.pack("<III", 0x00010100, 2, 0) + struct.pack("<II", at_entry1, at_entry2) + entry1 + entry2 + \
        b"".join(heads) + b"".join(blobs)
    write("raster_a_units.gaf", data)
    layered = list(holes)
    for y in range(10):
        for x in range(10):
            if square[y * 10 + x] != trans:
                layered[(8 + y) * w + 25 + x] = 255
    for n, px in enumerate((raw, holes, layered), 1):
        save_ref("raster_a_units_%d" % n, picture(w, h, [(v, v, v) for v in px]))
        row("raster_a_units.gaf", "units.bmp", "bmptopnm", "raster_a_units_%d" % n, "result=3",
            "file=raster_a_units_%04d.bmp" % n, *(["bad=0:00010200", "bad=cut:100", "bad=4:FFFFFF00"] if n == 1 else []))


# ---- Mappy FMP ----

def fmp_chunk(cid, data):
    return cid + struct.pack(">I", len(data)) + data + (b"\0" if len(data) % 2 else b"")


def fmp_map(depth, little):
    """A 6 x 4 map of 8 x 8 tiles cut from the rose; two cells carry a ring
    in the foreground, one cell shows an animation's first frame."""
    mw, mh, tw, th = 6, 4, 8, 8
    im = rose(mw * tw, mh * th)
    e16, e32 = ("<H", "<I") if little else (">H", ">I")
    ring = [(x - 3.5) ** 2 + (y - 3.5) ** 2 for y in range(th) for x in range(tw)]
    ring = [4 <= d <= 12 for d in ring]
    if depth == 8:
        idx, pal = quantised(im, 255)
        pal = [(0, 0, 0)] + pal
        idx = [i + 1 for i in idx]
        ring_colour = 1 + pal[1:].index(max(pal[1:], key=lambda c: c[1] - c[0]))
        colour = lambda n: pal[idx[n]]
        pix = lambda n: bytes([idx[n]])
        ring_pix = [bytes([ring_colour]) if r else b"\0" for r in ring]
        ring_rgb = pal[ring_colour]
    else:
        def c565(c):
            return (c[0] >> 3) << 11 | (c[1] >> 2) << 5 | c[2] >> 3
        def rgb565(v):
            r, g, b = v >> 11, v >> 5 & 63, v & 31
            return (r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2)
        rgbs = list(im.getdata())
        colour = lambda n: rgb565(c565(rgbs[n]))
        pix = lambda n: struct.pack(">H", c565(rgbs[n]))
        ring_pix = [struct.pack(">H", 0x07E0) if r else struct.pack(">H", 0xF81F) for r in ring]
        ring_rgb = rgb565(0x07E0)
    bpp = 1 if depth == 8 else 2
    tiles = []
    for cy in range(mh):
        for cx in range(mw):
            tiles.append(b"".join(pix((cy * th + y) * mw * tw + cx * tw + x) for y in range(th) for x in range(tw)))
    tiles.append(b"".join(ring_pix))
    tb = tw * th * bpp
    blocks = [struct.pack(e32[0] + "4I", t * tb, 0, 0, 0) + bytes(16) for t in range(24)]
    blocks += [struct.pack(e32[0] + "4I", 7 * tb, 24 * tb, 0, 0) + bytes(16), struct.pack(e32[0] + "4I", 16 * tb, 24 * tb, 0, 0) + bytes(16)]
    body = [n * 32 for n in range(24)]
    body[7], body[16] = 24 * 32, 25 * 32
    andt = struct.pack(e32, 23 * 32) + struct.pack("<bbbb", 0, 4, 1, 0) + struct.pack(e32[0] + "3I", -20 & 0xFFFFFFFF, -20 & 0xFFFFFFFF, -16 & 0xFFFFFFFF)
    body[23] = -16
    mphd = bytes([1, 0, 1 if little else 0, 0]) + struct.pack(e16[0] + "10H", mw, mh, 0, 0, tw, th, depth, 32, len(blocks), len(tiles)) + bytes(4)
    chunks = fmp_chunk(b"ATHR", b"rose\0") + fmp_chunk(b"MPHD", mphd)
    if depth == 8:
        chunks += fmp_chunk(b"CMAP", b"".join(bytes(c) for c in pal))
    chunks += fmp_chunk(b"BKDT", b"".join(blocks)) + fmp_chunk(b"ANDT", andt) + fmp_chunk(b"BGFX", b"".join(tiles))
    chunks += fmp_chunk(b"BODY", b"".join(struct.pack(e16, v & 0xFFFF) for v in body))
    data = b"FORM" + struct.pack(">I", len(chunks) + 4) + b"FMAP" + chunks
    shown = [colour(n) for n in range(mw * tw * mh * th)]
    for cx, cy in ((1, 1), (4, 2)):
        for y in range(th):
            for x in range(tw):
                if ring[y * tw + x]:
                    shown[(cy * th + y) * mw * tw + cx * tw + x] = ring_rgb
    return data, picture(mw * tw, mh * th, shown)


def gen_fmp():
    for name, depth, little in (("level", 8, True), ("level16", 16, False)):
        data, ref = fmp_map(depth, little)
        write("raster_a_%s.fmp" % name, data)
        save_ref("raster_a_" + name, ref)
        at = data.index(b"MPHD") + 8
        row("raster_a_%s.fmp" % name, "%s.bmp" % name, "bmptopnm", "raster_a_" + name, "result=1",
            "bad=8:464D4151", "bad=cut:%d" % (len(data) - 30), "bad=%d:FFFF" % (at + 12))


def main():
    os.makedirs(path("ref"), exist_ok=True)
    gen_iff()
    gen_flr()
    gen_acorn()
    gen_gem()
    gen_msp()
    gen_pic()
    gen_rix()
    gen_hs2()
    gen_cfa()
    gen_frm()
    gen_gaf()
    gen_fmp()
    with open(path("raster_a.list"), "w") as f:
        f.write("\n".join(ROWS) + "\n")


if __name__ == "__main__":
    main()
