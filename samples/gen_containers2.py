"""Writes one sample per container converter of the second group (pictures
stored whole inside other files: SketchUp and Draw previews, thumbnail
archives, Xara previews, GIF libraries, Vue objects, CPC screens, StarOffice
presentations, PIX files, Radiance pictures) into this folder, the pictures
they hold as ref/<name>.png (pixels) and, where a converter copies a stored
picture unchanged, the stored bytes as ref/<name>.stored.<ext>; and lists the
conversions in containers2.list."""
import io
import os
import random
import struct
import subprocess
import zipfile

from PIL import Image
from genlib import encode, write

HERE = os.path.dirname(os.path.abspath(__file__))
REF = os.path.join(HERE, "ref")
ROWS = []


def magick(*args):
    return subprocess.run(["convert", *args], check=True, stdout=subprocess.PIPE).stdout


def builtin(name, size=None):
    im = Image.open(io.BytesIO(magick(name, "png:-"))).convert("RGB")
    if size:
        im = im.resize(size, Image.NEAREST)
    return im


def filler(n, seed):
    rnd = random.Random(seed)
    return bytes(rnd.randrange(97, 123) for _ in range(n))


def ref_png(name, im):
    im.convert("RGB").save(os.path.join(REF, name + ".png"))
    return "ref/" + name + ".png"


def stored(name, data, ext):
    with open(os.path.join(REF, name + ".stored." + ext), "wb") as f:
        f.write(data)
    return "ref/" + name + ".stored." + ext


# Pictures stored whole in the containers come out byte for byte as stored:
# the file each row compares (its file= or its target) against those bytes.
SAME = {
    ("containers2_model.skp", "model.png"): "containers2_model.stored.png",
    ("containers2_drawing.sxd", "drawing.png"): "containers2_drawing.stored.png",
    ("containers2_stored.sxd", "stored.png"): "containers2_stored.stored.png",
    ("containers2_thumbs.hta", "containers2_thumbs_0001.png"): "containers2_thumbs_1.stored.png",
    ("containers2_thumbs.hta", "containers2_thumbs_0002.png"): "containers2_thumbs_2.stored.png",
    ("containers2_cover.nct", "cover.png"): "containers2_cover.stored.png",
    ("containers2_vector.xar", "vector.gif"): "containers2_vector.stored.gif",
    ("containers2_symbols.sdl", "containers2_symbols_0001.gif"): "containers2_symbols_1.stored.gif",
    ("containers2_symbols.sdl", "containers2_symbols_0002.gif"): "containers2_symbols_2.stored.gif",
    ("containers2_library.lqt", "library.gif"): "containers2_library.stored.gif",
    ("containers2_object.vob", "object.gif"): "containers2_object.stored.gif",
    ("containers2_photo.pix", "photo.jpg"): "containers2_photo.stored.jpg",
    ("containers2_slides.sdd", "containers2_slides_0001.jpg"): "containers2_slides_1.stored.jpg",
    ("containers2_slides.sdd", "containers2_slides_0002.jpg"): "containers2_slides_2.stored.jpg",
}


def row(source, target, *words):
    compared = next((w[5:] for w in words if w.startswith("file=")), target)
    if (source, compared) in SAME:
        words = (*words, "same=ref/" + SAME[(source, compared)])
    ROWS.append(" ".join([source, target, *words]))


def gif_of(im, colours=64):
    """A GIF of the picture and the pixels it holds."""
    p = im.quantize(colors=colours)
    data = encode(p, "GIF")
    return data, Image.open(io.BytesIO(data)).convert("RGB")


def png_of(im):
    data = encode(im, "PNG")
    return data, Image.open(io.BytesIO(data)).convert("RGB")


# SketchUp model: header, version map, CDIB block, the thumbnail, a texture.
def sketchup():
    thumb, pixels = png_of(builtin("rose:"))
    texture, _ = png_of(builtin("granite:", (16, 16)))
    head = b"\xff\xfe\xff\x0e" + "SketchUp Model".encode("utf-16-le")
    head += b"\xff\xfe\xff\x09" + "{6.4.112}".encode("utf-16-le")
    head += filler(120, 1) + b"End-Of-Version-Map" + filler(40, 2) + b"CDIB" + filler(30, 3)
    at = len(head)
    write("containers2_model.skp", head + thumb + filler(200, 4) + texture + filler(50, 5))
    ref = stored("containers2_model", thumb, "png")
    row("containers2_model.skp", "model.png", "decoder=pngtopnm", "ref=" + ref,
        "bad=cut:%d" % (at + len(thumb) // 2), "bad=%d:00010000" % (at + 16))


def central_entry(data, member):
    """Offset of a member's central directory entry."""
    at = data.rfind(b"PK\x05\x06")
    count, _, start = struct.unpack_from("<HII", data, at + 10)
    for _ in range(count):
        n, e, c = struct.unpack_from("<HHH", data, start + 28)
        if data[start + 46:start + 46 + n] == member:
            return start
        start += 46 + n + e + c
    raise KeyError(member)


def draw(name, method):
    thumb, pixels = png_of(builtin("wizard:", (64, 80)))
    evil, _ = png_of(builtin("granite:", (8, 8)))
    buf = io.BytesIO()
    with zipfile.ZipFile(buf, "w") as z:
        for member, data, how in (("mimetype", "application/vnd.sun.xml.draw", zipfile.ZIP_STORED),
                                  ("content.xml", "<office:document-content/>" * 20, zipfile.ZIP_DEFLATED),
                                  ("../evil.png", evil, zipfile.ZIP_DEFLATED),
                                  ("Thumbnails/thumbnail.png", thumb, method),
                                  ("META-INF/manifest.xml", "<manifest/>", zipfile.ZIP_DEFLATED)):
            z.writestr(zipfile.ZipInfo(member, date_time=(2004, 5, 1, 12, 0, 0)), data, how)
    data = buf.getvalue()
    write(name + ".sxd", data)
    ref = stored(name, thumb, "png")
    words = ["decoder=pngtopnm", "ref=" + ref]
    if method == zipfile.ZIP_DEFLATED:
        entry = central_entry(data, b"Thumbnails/thumbnail.png")
        words += ["bad=cut:%d" % (len(data) // 2),
                  "bad=%d:ffffff7f" % (entry + 24)]
    row(name + ".sxd", name.split("_")[1] + ".png", *words)


# Hemera thumbnail archive: two PNG members and a JPEG one between them.
def hemera():
    a, pa = png_of(builtin("rose:"))
    b, pb = png_of(builtin("logo:", (64, 48)))
    j = encode(builtin("rose:"), "JPEG")
    members = [a, j, b]
    at = 16 + 8 * len(members)
    table, body = b"", b""
    for m in members:
        table += struct.pack("<II", at + len(body), len(m))
        body += m
    head = b"\x89HTA\r\n\x1a\n" + struct.pack("<II", 100, len(members))
    write("containers2_thumbs.hta", head + table + body)
    for n, (data, pixels) in enumerate(((a, pa), (b, pb)), 1):
        ref = stored("containers2_thumbs_%d" % n, data, "png")
        words = ["decoder=pngtopnm", "ref=" + ref, "file=containers2_thumbs_%04d.png" % n, "result=2"]
        if n == 1:
            words += ["bad=12:ffffff7f", "bad=cut:%d" % (at + 40)]
        row("containers2_thumbs.hta", "thumbs.png", *words)


# Cover template: a "PNG" text without its 0x89, a PNG, a PNG cut short.
def cover():
    png, pixels = png_of(builtin("logo:", (80, 60)))
    cut, _ = png_of(builtin("granite:", (20, 20)))
    head = filler(100, 6) + b"PNG image" + filler(60, 7)
    write("containers2_cover.nct", head + png + filler(90, 8) + cut[:len(cut) // 2])
    ref = stored("containers2_cover", png, "png")
    row("containers2_cover.nct", "cover.png", "decoder=pngtopnm", "ref=" + ref, "result=1",
        "bad=cut:%d" % (len(head) + len(png) - 5), "bad=%d:00010000" % (len(head) + 16))


def record(tag, data):
    return struct.pack("<II", tag, len(data)) + data


# Xara document: header record, the GIF preview record, compressed part.
def xara():
    gif, pixels = gif_of(builtin("rose:"))
    head = b"XARA\xa3\xa3\r\n" + record(2, b"CXN" + filler(17, 9))
    at = len(head) + 8
    data = head + record(61, gif) + record(30, b"") + filler(300, 10) + record(31, b"") + record(3, b"")
    write("containers2_vector.xar", data)
    ref = ref_png("containers2_vector", pixels)
    stored("containers2_vector", gif, "gif")
    row("containers2_vector.xar", "vector.gif", "decoder=giftopnm", "ref=" + ref,
        "bad=cut:%d" % (at + len(gif) // 2), "bad=%d:ffff" % (at + 6))
    # A task file that is no Xara document but holds a GIF (the ".tsk" preview).
    tgif, _ = gif_of(builtin("logo:", (40, 30)), 16)
    write("containers2_tasks.tsk", filler(500, 11) + tgif + filler(100, 12))
    stored("containers2_tasks", tgif, "gif")


# Symbol library: a zero-width GIF decoy, a GIF87a, a GIF89a with a comment,
# a GIF cut short; the .lqt holds one GIF.
def libraries():
    a, pa = gif_of(builtin("rose:"), 32)
    assert a.startswith(b"GIF87a")
    b, pb = gif_of(builtin("wizard:", (40, 50)), 64)
    b_im = Image.open(io.BytesIO(b))
    b = encode(b_im, "GIF", comment=b"symbol two")
    assert b.startswith(b"GIF89a")
    decoy = b"GIF89a\x00\x00\x10\x00\x00\x00\x00"
    head = filler(64, 13) + decoy + filler(30, 14)
    data = head + a + filler(40, 15) + b + filler(20, 16) + a[: len(a) // 3]
    write("containers2_symbols.sdl", data)
    for n, (g, pixels) in enumerate(((a, pa), (b, pb)), 1):
        ref = ref_png("containers2_symbols_%d" % n, pixels)
        stored("containers2_symbols_%d" % n, g, "gif")
        words = ["decoder=giftopnm", "ref=" + ref, "file=containers2_symbols_%04d.gif" % n, "result=2"]
        if n == 1:
            words += ["bad=cut:%d" % (len(head) + len(a) - 1)]
        row("containers2_symbols.sdl", "symbols.gif", *words)
    one, po = gif_of(builtin("logo:", (64, 48)), 16)
    head = filler(33, 17)
    write("containers2_library.lqt", head + one + filler(33, 18))
    ref = ref_png("containers2_library", po)
    stored("containers2_library", one, "gif")
    row("containers2_library.lqt", "library.gif", "decoder=giftopnm", "ref=" + ref, "result=1",
        "bad=cut:%d" % (len(head) + len(one) - 1), "bad=%d:ffff" % (len(head) + 8))


# Vue d'Esprit object: the name, a GIF without its trailer, the preview.
def vue():
    gif, pixels = gif_of(builtin("rose:"))
    broken, _ = gif_of(builtin("granite:", (10, 10)), 8)
    head = filler(32, 19) + b"Vue d'Esprit" + filler(200, 20) + broken[:-1] + filler(10, 21)
    write("containers2_object.vob", head + gif + filler(64, 22))
    ref = ref_png("containers2_object", pixels)
    stored("containers2_object", gif, "gif")
    row("containers2_object.vob", "object.gif", "decoder=giftopnm", "ref=" + ref,
        "bad=32:56757820", "bad=cut:%d" % (len(head) + len(gif) - 1), "bad=%d:ffff" % (len(head) + 6))


# Amstrad CPC screens.
HW_TO_FW = [13, 27, 19, 25, 1, 7, 10, 16, 28, 29, 24, 26, 6, 8, 15, 17,
            30, 31, 18, 20, 0, 2, 9, 11, 4, 22, 21, 23, 3, 5, 12, 14]


def firmware_rgb(n):
    level = (0x00, 0x80, 0xFF)
    return (level[(n // 3) % 3], level[n // 9], level[n % 3])


def cpc_pens(im, pens):
    """Each pixel of the picture as the nearest of the pens' colours."""
    cols = [firmware_rgb(p) for p in pens]
    pal = Image.new("P", (1, 1))
    flat = [c for rgb in cols for c in rgb]
    pal.putpalette(flat + flat[:3] * (256 - len(cols)))
    q = im.quantize(palette=pal, dither=Image.Dither.NONE)
    return [min(v, len(cols) - 1) for v in q.getdata()], cols


def cpc_screen(index, width, mode):
    mem = bytearray(16384)
    per = {0: 2, 1: 4, 2: 8}[mode]
    for y in range(200):
        for x in range(80):
            byte = 0
            for i in range(per):
                pen = index[y * width + x * per + i]
                if mode == 1:
                    byte |= (pen & 1) << (7 - i) | (pen >> 1 & 1) << (3 - i)
                else:
                    b = (pen & 1) << 7 | (pen >> 1 & 1) << 3 | (pen >> 2 & 1) << 5 | (pen >> 3 & 1) << 1
                    byte |= b >> i
            mem[(y & 7) * 2048 + (y >> 3) * 80 + x] = byte
    return bytes(mem)


def cpc():
    # Mode 1 with the default pens, no header: a file without an extension.
    pens = [1, 24, 20, 6]
    index, cols = cpc_pens(builtin("rose:", (320, 200)), pens)
    write("containers2_screen", cpc_screen(index, 320, 1))
    ref = Image.new("RGB", (320, 200))
    ref.putdata([cols[i] for i in index])
    row("containers2_screen", "screen.gif", "decoder=giftopnm", "ref=" + ref_png("containers2_screen", ref))
    # Mode 0 with the file's own palette (marker 0xF3), AMSDOS header.
    hardware = [20, 4, 21, 28, 24, 29, 12, 5, 13, 22, 6, 23, 30, 0, 31, 14]
    pens = [HW_TO_FW[h] for h in hardware]
    index, cols = cpc_pens(builtin("wizard:", (160, 200)), pens)
    data = bytearray(b"\0" * 128 + cpc_screen(index, 160, 0) + b"\xf3" + b"\0" * (16616 - 128 - 16385))
    data += bytes(hardware) + b"\0" * 16 + b"\x00"
    write("containers2_screen0.bin", bytes(data))
    ref = Image.new("RGB", (320, 200))
    ref.putdata([cols[index[y * 160 + x // 2]] for y in range(200) for x in range(320)])
    row("containers2_screen0.bin", "screen0.gif", "decoder=giftopnm", "ref=" + ref_png("containers2_screen0", ref))


# Esm Software PIX: the text and a JPEG.
def esm_pix():
    jpeg = encode(builtin("rose:"), "JPEG", quality=90)
    write("containers2_photo.pix", b"Esm Software PIX file" + jpeg)
    pixels = Image.open(io.BytesIO(jpeg)).convert("RGB")
    stored("containers2_photo", jpeg, "jpg")
    sof = jpeg.find(b"\xff\xc0")
    row("containers2_photo.pix", "photo.jpg", "decoder=djpeg", "ref=" + ref_png("containers2_photo", pixels),
        "tol=2", "bad=cut:23", "bad=%d:ffff" % (21 + sof + 7))


# Radiance pictures written by ImageMagick; the reference is what ImageMagick
# reads back from them at 8 bits.
def radiance():
    def make(name, ext, *source):
        path = os.path.join(HERE, name + "." + ext)
        subprocess.run(["convert", *source, "hdr:" + path], check=True)
        data = open(path, "rb").read()
        ref = Image.open(io.BytesIO(magick("hdr:" + path, "-depth", "8", "png:-"))).convert("RGB")
        return data, ref_png(name, ref)

    data, ref = make("containers2_rose", "hdr", "rose:")
    head = data.find(b"\n-Y ")
    row("containers2_rose.hdr", "rose.pct", "decoder=magick", "ref=" + ref, "tol=1",
        "bad=0:5858", "bad=cut:%d" % (head + 4), "bad=cut:%d" % (len(data) // 2))
    # The resolution line's sizes padded with zeros (Radiance readers take
    # them as numbers), so that a patch can make the width too large.
    data, ref = make("containers2_gradient", "rad", "-size", "64x32", "gradient:red-blue")
    line = b"-Y 32 +X 64\n"
    assert data.count(line) == 1
    data = data.replace(line, b"-Y 0032 +X 0064\n")
    write("containers2_gradient.rad", data)
    at = data.find(b"+X 0064") + 3
    row("containers2_gradient.rad", "gradient.pct", "decoder=magick", "ref=" + ref, "tol=1",
        "bad=%d:39393939" % at, "bad=cut:%d" % at)
    data, ref = make("containers2_scene", "pic", "wizard:", "-resize", "48x64")
    row("containers2_scene.pic", "scene.pct", "decoder=magick", "ref=" + ref, "tol=1")


# PixArt pictures: 8-bit packed indices, 4-bit interleaved planes, 24-bit RGB.
def pixart():
    def palette_of(q, n):
        pal = q.getpalette()[: 3 * n]
        return bytes(pal + [0] * (3 * n - len(pal)))

    im = builtin("rose:").crop((0, 0, 64, 46))
    q = im.quantize(colors=256)
    data = b"PIXT" + struct.pack(">HBBHHH", 1, 0, 8, 64, 46, 0) + palette_of(q, 256) + bytes(q.getdata())
    write("containers2_art.pix", data)
    row("containers2_art.pix", "art.xpm", "decoder=xpmtoppm", "ref=" + ref_png("containers2_art", q),
        "bad=0:50495858", "bad=cut:100", "bad=8:fff0")

    q = builtin("logo:", (80, 60)).quantize(colors=16)
    index = list(q.getdata())
    planes = bytearray()
    for y in range(60):
        for g in range(5):
            for p in range(4):
                word = 0
                for i in range(16):
                    word |= (index[y * 80 + g * 16 + i] >> p & 1) << (15 - i)
                planes += struct.pack(">H", word)
    data = b"PIXT" + struct.pack(">HBBHHHH", 2, 1, 4, 80, 60, 0, 0) + palette_of(q, 16) + bytes(planes)
    write("containers2_planes.pix", data)
    row("containers2_planes.pix", "planes.xpm", "decoder=xpmtoppm", "ref=" + ref_png("containers2_planes", q))

    im = builtin("wizard:", (48, 64))
    data = b"PIXT" + struct.pack(">HBBHHH", 1, 1, 24, 48, 64, 0) + im.tobytes()
    write("containers2_true.pix", data)
    row("containers2_true.pix", "true.xpm", "decoder=xpmtoppm", "ref=" + ref_png("containers2_true", im))


# StarImpress presentation: a compound file (512-byte sectors) with a large
# stream holding a JPEG whose sectors are stored in reverse order, and a small
# stream in the mini stream (its sectors reversed too) holding another.
def compound(streams):
    ss, end, free, fatsec = 512, 0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFD
    sectors = {}
    fat = {}
    nxt = [3]  # 0: FAT, 1: directory, 2: mini FAT

    def place(data):
        n = (len(data) + ss - 1) // ss
        nums = list(range(nxt[0], nxt[0] + n))[::-1]
        nxt[0] += n
        for i, sec in enumerate(nums):
            sectors[sec] = data[i * ss:(i + 1) * ss].ljust(ss, b"\0")
            fat[sec] = nums[i + 1] if i + 1 < n else end
        return nums[0]

    mini, minifat, entries = b"", [], []
    for name, data in streams:
        if len(data) < 4096:
            first = len(mini) // 64
            n = (len(data) + 63) // 64
            mini += data.ljust(n * 64, b"\0")
            minifat += [first + i + 1 for i in range(n - 1)] + [end]
            entries.append((name, 2, first, len(data)))
        else:
            entries.append((name, 2, place(data), len(data)))
    root_start = place(mini)
    fat[0], fat[1], fat[2] = fatsec, end, end
    sectors[2] = b"".join(struct.pack("<I", v) for v in minifat).ljust(ss, b"\xff")

    def entry(name, kind, start, size, child=free, right=free):
        n = name.encode("utf-16-le") + b"\0\0"
        return (n.ljust(64, b"\0") + struct.pack("<HBB", len(n), kind, 1) +
                struct.pack("<III", free, right, child) + b"\0" * 36 + struct.pack("<III", start, size, 0))

    dirs = entry("Root Entry", 5, root_start, len(mini), child=1)
    for i, (name, kind, start, size) in enumerate(entries):
        dirs += entry(name, kind, start, size, right=i + 2 if i + 1 < len(entries) else free)
    sectors[1] = dirs.ljust(ss, b"\0")
    count = nxt[0]
    sectors[0] = b"".join(struct.pack("<I", fat.get(i, free)) for i in range(128))
    head = (b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + b"\0" * 16 + struct.pack("<HHHHH", 0x3E, 3, 0xFFFE, 9, 6) +
            b"\0" * 10 + struct.pack("<IIIIIIII", 1, 1, 0, 4096, 2, 1, end, 0))
    head += struct.pack("<I", 0) + b"\xff" * (436 - 4)
    assert len(head) == 512
    return head + b"".join(sectors[i] for i in range(count))


def starimpress():
    big = encode(builtin("rose:"), "JPEG", quality=92)
    small = encode(builtin("logo:", (32, 24)), "JPEG", quality=80)
    assert len(small) < 4096 - 100
    body = filler(700, 23) + big + filler(max(800, 4200 - len(big)), 24)
    assert len(body) >= 4096
    data = compound([("StarDrawDocument3", body), ("Preview", filler(40, 25) + small)])
    write("containers2_slides.sdd", data)
    for n, jpeg in enumerate((big, small), 1):
        stored("containers2_slides_%d" % n, jpeg, "jpg")
        pixels = Image.open(io.BytesIO(jpeg)).convert("RGB")
        words = ["decoder=djpeg", "ref=" + ref_png("containers2_slides_%d" % n, pixels), "tol=2",
                 "file=containers2_slides_%04d.jpg" % n, "result=2"]
        if n == 1:
            words += ["bad=0:00", "bad=cut:1024"]
        row("containers2_slides.sdd", "slides.jpg", *words)


def main():
    os.makedirs(REF, exist_ok=True)
    sketchup()
    draw("containers2_drawing", zipfile.ZIP_DEFLATED)
    draw("containers2_stored", zipfile.ZIP_STORED)
    hemera()
    cover()
    xara()
    libraries()
    vue()
    cpc()
    esm_pix()
    radiance()
    pixart()
    starimpress()
    with open(os.path.join(HERE, "containers2.list"), "w") as f:
        f.write("\n".join(ROWS) + "\n")


main()
