#!/usr/bin/python3
"""Writes the raster_b samples (Nokia, Palm, First Publisher, AliceSoft and
other small raster formats) next to this script, their reference pictures
under ref/ and the list raster_b.list. Pictures come from ImageMagick's
built-in rose: and logo:, written by netpbm or ImageMagick where they write
the format, otherwise built here byte by byte."""
import os
import struct
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
TMP = tempfile.mkdtemp(prefix="gen_raster_b_")
ROWS = []


def run(cmd, data=None):
    return subprocess.run(cmd, input=data, stdout=subprocess.PIPE, check=True).stdout


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


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


def rgb_pixels(spec, w, h, extra=()):
    """RGB bytes of an ImageMagick picture, resized to exactly w x h."""
    return run(["convert", spec, "-resize", "%dx%d!" % (w, h)] + list(extra) + ["-depth", "8", "rgb:-"])


def pnm_rgb(w, h, rgb):
    return b"P6 %d %d 255\n" % (w, h) + bytes(rgb)


def bilevel(w, h, spec="rose:"):
    """A black-and-white picture as rows of 0/1 (1 = black)."""
    grey = run(["convert", spec, "-resize", "%dx%d!" % (w, h), "-colorspace", "gray",
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
    run(["convert", tmp("logo.pbm"), "-type", "Palette", "BMP3:" + tmp("logo.bmp")])
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

def grey_levels(w, h, levels, spec="rose:"):
    grey = run(["convert", spec, "-resize", "%dx%d!" % (w, h), "-colorspace", "gray", "-depth", "8", "gray:-"])
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
    run(["convert", "rose:", "-colors", "100", "-type", "Palette", "BMP3:" + tmp("rose8.bmp")])
    with open(tmp("rose8.bmp"), "rb") as f:
        write("raster_b_palette.bmp", f.read())
    row("raster_b_palette.bmp", "palette.pms", bad=["cut:60", "0:5858", "30:02000000"])


def main():
    os.makedirs(os.path.join(HERE, "ref"), exist_ok=True)
    nokia()
    palm()
    art()
    pms()
    with open(os.path.join(HERE, "raster_b.list"), "w") as f:
        f.write("\n".join(ROWS) + "\n")


if __name__ == "__main__":
    main()
