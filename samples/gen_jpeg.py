#!/usr/bin/python3
"""Writes the JPEG-extraction samples next to this script (deterministic).

Each sample is a small container holding real JPEG pictures (made with PIL)
between filler bytes, shaped the way its scanner expects; samples/jpeg.list
names the target each one is converted to.
"""
import io
import os
import random
import struct
import zipfile

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))


def picture(w, h, seed):
    img = Image.new("RGB", (w, h))
    px = img.load()
    rng = random.Random(seed)
    for y in range(h):
        for x in range(w):
            px[x, y] = (x * 255 // w, y * 255 // h, (seed * 50 + (x ^ y) + rng.randrange(32)) & 255)
    out = io.BytesIO()
    img.save(out, "JPEG", quality=85)
    return out.getvalue()


def filler(n, seed):
    """Bytes without 0xFF or 'J', so no marker or tag hides in them."""
    rng = random.Random(seed)
    return bytes(b if b != 0x4A else 0x4B for b in (rng.randrange(255) for _ in range(n)))


def exif_thumbnail(main, thumb):
    """main with an Exif block after its APP0 whose second directory names thumb."""
    tiff = b"II*\x00" + struct.pack("<I", 8)
    tiff += struct.pack("<H", 1) + struct.pack("<HHII", 0x0112, 3, 1, 1) + struct.pack("<I", 26)
    tiff += struct.pack("<H", 2) + struct.pack("<HHII", 0x201, 4, 1, 56)
    tiff += struct.pack("<HHII", 0x202, 4, 1, len(thumb)) + struct.pack("<I", 0)
    tiff += thumb
    app1 = b"\xff\xe1" + struct.pack(">H", 2 + 6 + len(tiff)) + b"Exif\x00\x00" + tiff
    at = 2 + 2 + struct.unpack(">H", main[4:6])[0]  # after SOI and APP0
    return main[:at] + app1 + main[at:]


def write(name, data):
    assert len(data) < 64 * 1024, name
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def main():
    a, b, c = picture(64, 48, 1), picture(48, 48, 2), picture(40, 30, 3)
    thumb = picture(16, 12, 4)
    # Pictures over 4096 bytes, for the scanners that end a stream at the
    # second 4096-byte block holding an end marker (thumbnail, then picture).
    big1, big2 = picture(240, 180, 5), picture(240, 160, 6)
    assert len(big1) > 4096 and len(big2) > 4096
    two = filler(5000, 10) + a + filler(3000, 11) + b + filler(6000, 12)
    samples = []

    def add(name, data, target):
        write(name, data)
        samples.append((name, target))

    add("jpeg_program.exe", two, "jpeg_program.jpg")
    add("jpeg_anim.fla", two, "jpeg_anim.jpg")
    add("jpeg_sample.smp", two, "jpeg_sample.jpg")
    add("jpeg_gallery.pfr", two, "jpeg_gallery.jpg")
    add("jpeg_package.ipg", two, "jpeg_package.jpg")
    add("jpeg_movie.mov", filler(700, 13) + a + filler(4500, 33) + b + filler(4500, 34) + c + filler(3000, 14), "jpeg_movie.jpg")
    add("jpeg_album.albm",
        filler(600, 15) + exif_thumbnail(big1, thumb) + filler(900, 16) + exif_thumbnail(big2, thumb) + filler(5000, 17),
        "jpeg_album.jpg")
    add("jpeg_thumbs.cache",
        filler(700, 18) + exif_thumbnail(big1, thumb) + filler(900, 19) + exif_thumbnail(big2, thumb) + filler(5000, 20),
        "jpeg_thumbs.jpg")
    add("jpeg_show.pps", filler(300, 21) + a + filler(800, 22) + b + filler(5000, 23),
        "jpeg_show.jpg")
    add("jpeg_single.kiz", filler(600, 24) + a, "jpeg_single.jpg")
    add("jpeg_preview.fff", filler(600, 25) + thumb + filler(700, 26) + a, "jpeg_preview.jpg")
    tag = bytes(6) + b"JFIF" + filler(120, 27) + b"8BIM" + filler(40, 28)
    add("jpeg_book.lit", filler(4200, 29) + tag + a + filler(500, 30) + tag + b + filler(5000, 31), "jpeg_book.jpg")

    # A picture whose quantisation tables were left out; its first 28 bytes
    # end in a comment segment that the restored block completes.
    segs, i = [], 2 + 2 + struct.unpack(">H", a[4:6])[0]
    head, rest = a[:i], a
    while a[i] == 0xFF and a[i + 1] == 0xDB:
        i += 2 + struct.unpack(">H", a[i + 2:i + 4])[0]
    rest = a[i:]
    assert len(head) == 20
    add("jpeg_rebuild.kqp", filler(100, 32) + head + b"\xff\xfe\x00\x16\x01\x02\x03\x04" + rest, "jpeg_rebuild.jpg")

    zbuf = io.BytesIO()
    with zipfile.ZipFile(zbuf, "w", zipfile.ZIP_DEFLATED) as z:
        info = zipfile.ZipInfo("notes.txt", date_time=(2001, 1, 1, 0, 0, 0))
        z.writestr(info, "picture pack")
        info = zipfile.ZipInfo("pictures/cover.jpg", date_time=(2001, 1, 1, 0, 0, 0))
        z.writestr(info, a)
    add("jpeg_pack.imd", zbuf.getvalue(), "jpeg_pack.jpg")

    pics = [a, b, c]
    offsets = [40 + 4 * (len(pics) + 1)]
    for p in pics:
        offsets.append(offsets[-1] + len(p))
    tjp = struct.pack(">IIIIIIIHHII", 0x5450430A, 40, 0, 0, 0, 0, len(pics), 0, 0, 0, 0)
    tjp += b"".join(struct.pack(">I", o) for o in offsets) + b"".join(pics)
    add("jpeg_folder.tjp", tjp, "jpeg_folder.jpg")

    ppt = bytes(512)
    for rtype, body in [(0x0FF5000F, bytes(30)), (0xF01D46A0, bytes(16) + b"\x01" + a),
                        (0xF01D46A0, bytes(16) + b"\x01" + b), (0x12345678, bytes(8))]:
        ppt += struct.pack("<II", rtype, len(body)) + body
    add("jpeg_slides.ppt", ppt, "jpeg_slides.jpg")

    with open(os.path.join(HERE, "jpeg.list"), "w") as f:
        for name, target in samples:
            f.write("%s %s\n" % (name, target))


if __name__ == "__main__":
    main()
