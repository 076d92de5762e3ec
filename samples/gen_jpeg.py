#!/usr/bin/python3
"""Writes the JPEG-extraction samples next to this script (deterministic).

Each sample is a small container holding real JPEG pictures (made with PIL)
between filler bytes, shaped the way its scanner expects; samples/jpeg.list
names the target each one is converted to and what it must give. Besides the
samples table's keys, the rows say (for tests/jpeg) every file written,
files=NAME@WANT,..., and what memory mode hands over per picture number,
memory=N@WANT,...; WANT is OFF+LEN of the source (pieces joined by '/'), a
file under samples/, or '-' for nothing.
"""
import io
import os
import random
import struct
import zipfile

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))


def source_picture(w, h, seed):
    img = Image.new("RGB", (w, h))
    px = img.load()
    rng = random.Random(seed)
    for y in range(h):
        for x in range(w):
            px[x, y] = (x * 255 // w, y * 255 // h, (seed * 50 + (x ^ y) + rng.randrange(32)) & 255)
    return img


def jpeg(img, **options):
    out = io.BytesIO()
    img.save(out, "JPEG", **(options or {"quality": 85}))
    return out.getvalue()


def picture(w, h, seed):
    return jpeg(source_picture(w, h, seed))


def filler(n, seed):
    """Bytes without 0xFF or 'J', so no marker or tag hides in them."""
    rng = random.Random(seed)
    return bytes(b if b != 0x4A else 0x4B for b in (rng.randrange(255) for _ in range(n)))


def segments_end(pic):
    """Offset after SOI and APP0."""
    return 2 + 2 + struct.unpack(">H", pic[4:6])[0]


def exif_thumbnail(main, thumb, after_app0=True):
    """main with an Exif block (after its APP0, or right after SOI) whose
    second directory names thumb; and where the thumbnail starts in it."""
    tiff = b"II*\x00" + struct.pack("<I", 8)
    tiff += struct.pack("<H", 1) + struct.pack("<HHII", 0x0112, 3, 1, 1) + struct.pack("<I", 26)
    tiff += struct.pack("<H", 2) + struct.pack("<HHII", 0x201, 4, 1, 56)
    tiff += struct.pack("<HHII", 0x202, 4, 1, len(thumb)) + struct.pack("<I", 0)
    tiff += thumb
    app1 = b"\xff\xe1" + struct.pack(">H", 2 + 6 + len(tiff)) + b"Exif\x00\x00" + tiff
    at = segments_end(main) if after_app0 else 2
    return main[:at] + app1 + main[at:], at + 4 + 6 + 56


def write(name, data):
    assert len(data) < 64 * 1024, name
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def rng(off, n):
    return "%d+%d" % (off, n)


class Builder:
    """Glues parts together and remembers where each one starts."""

    def __init__(self, *parts):
        self.data, self.at = b"", []
        for p in parts:
            self.at.append(len(self.data))
            self.data += p


def main():
    a, b, c = picture(64, 48, 1), picture(48, 48, 2), picture(40, 30, 3)
    thumb = picture(16, 12, 4)
    # Pictures over 4096 bytes, for the rules that work in 4096-byte blocks.
    big1, big2 = picture(240, 180, 5), picture(240, 160, 6)
    assert len(big1) > 4096 and len(big2) > 4096
    rows = []
    os.makedirs(os.path.join(HERE, "ref"), exist_ok=True)

    def add(name, data, target, *keys):
        write(name, data)
        rows.append(" ".join((name, target) + keys))

    def ref(name, data):
        write(os.path.join("ref", name), data)
        return "ref/" + name

    source_picture(64, 48, 1).save(os.path.join(HERE, "ref", "jpeg_a.png"))

    # Two whole pictures among filler: the members that end a stream at its
    # first end marker write each one under their own numbering.
    two = Builder(filler(5000, 10), a, filler(3000, 11), b, filler(6000, 12))
    pa, pb = rng(two.at[1], len(a)), rng(two.at[3], len(b))
    for name, target, first, second, memory in [
            ("jpeg_program.exe", "jpeg_program.jpg", "_0001", "_0002", "memory=1@-"),
            ("jpeg_anim.fla", "jpeg_anim.jpg", "_1", "_2", ""),
            ("jpeg_sample.smp", "jpeg_sample.jpg", "_0001", "_0002", ""),
            ("jpeg_gallery.pfr", "jpeg_gallery.jpg", "_0001", "_0002", ""),
            ("jpeg_show.pps", "jpeg_show.jpg", "_0000", "_0001", "memory=1@%s,2@%s,3@-" % (pa, pb))]:
        stem = name.split(".")[0]
        add(name, two.data, target, "files=%s%s.jpg@%s,%s%s.jpg@%s" % (stem, first, pa, stem, second, pb),
            *([memory] if memory else []))
    # the pictures extracted show what their source held
    rows.append("jpeg_program.exe jpeg_program.jpg decoder=djpeg ref=ref/jpeg_a.png tol=30 maxoff=1")
    add("jpeg_package.ipg", two.data, "jpeg_package.jpg", "result=2",
        "files=jpeg_package.log@%s,jpeg_package_0001.jpg@%s,jpeg_package_0002.jpg@%s"
        % (ref("jpeg_package.log", b"[FILES]\r\njpeg=2\r\nbmp=0\r\ngif=0\r\n"), pa, pb))

    mov = Builder(filler(700, 13), a, filler(4500, 33), b, filler(4500, 34), c, filler(4500, 14))
    frames = [rng(mov.at[i], len(p)) for i, p in ((1, a), (3, b), (5, c))]
    add("jpeg_movie.mov", mov.data, "jpeg_movie.jpg",
        "files=" + ",".join("jpeg_movie_%04d.jpg@%s" % (i, f) for i, f in enumerate(frames)),
        "memory=" + ",".join("%d@%s" % (i + 1, f) for i, f in enumerate(frames)) + ",4@-")
    # A frame with a second FF D8 inside, its end pair 3000 bytes on: the scan
    # resumes as far before the pair as the pair stood from its copy block's
    # end, so the inner FF D8 starts a second frame ending at the same pair.
    resume = bytearray(b"\x11" * 20000)
    at = 5120
    resume[at:at + 2], resume[at + 1976:at + 1978], resume[at + 3000:at + 3002] = b"\xff\xd8", b"\xff\xd8", b"\xff\xd9"
    add("jpeg_resume.mov", bytes(resume), "jpeg_resume.jpg",
        "files=jpeg_resume_0000.jpg@%s,jpeg_resume_0001.jpg@%s" % (rng(at, 3002), rng(at + 1976, 1026)))

    # Thumbnail database with Exif: from "Exif" on to the thumbnail, which
    # starts the stream; it ends at the picture's end.
    e1, t1 = exif_thumbnail(big1, thumb)
    e2, t2 = exif_thumbnail(big2, thumb)
    db = Builder(filler(700, 18), e1, filler(900, 19), e2, filler(5000, 20))
    s1, s2 = rng(db.at[1] + t1, len(e1) - t1), rng(db.at[3] + t2, len(e2) - t2)
    add("jpeg_thumbs.cache", db.data, "jpeg_thumbs.jpg", "files=jpeg_thumbs_0000.jpg@%s,jpeg_thumbs_0001.jpg@%s" % (s1, s2),
        "memory=2@%s,3@-" % s2)
    album = Builder(filler(600, 15), e1, filler(900, 16), e2, filler(5000, 17))
    add("jpeg_album.albm", album.data, "jpeg_album.jpg")

    # Second-end-marker members: without thumbnails the second block holding
    # FF D9 is the next picture's; skipped streams are not copied, so the
    # second one is found on its own in memory mode (and is none of the files
    # written: these rows come after the Exif ones, which the preview checks
    # take as their converters' samples).
    plain = Builder(filler(5000, 40), big1, filler(3000, 41), big2, filler(9000, 42))
    no_jfif = Builder(filler(5000, 40), big1.replace(b"JFIF", b"JFIX"), filler(3000, 41),
                      big2.replace(b"JFIF", b"JFIX"), filler(9000, 42))
    for name, src in [("jpeg_plain.cache", plain), ("jpeg_nojfif.cache", no_jfif), ("jpeg_plainalbum.albm", plain)]:
        first = rng(src.at[1], src.at[3] + len(big2) - src.at[1])
        stem = name.split(".")[0]
        add(name, src.data, stem + ".jpg", "files=%s_0000.jpg@%s" % (stem, first),
            "memory=1@%s,2@%s,3@-" % (first, rng(src.at[3], len(src.data) - src.at[3])))

    # The program scanner with Exif: APP0 first, the picture's own "JFIF"
    # starts the stream and the thumbnail's FF D9 ends it. Exif first: the
    # thumbnail is taken whole, then the APP0 right after its FF D9 yields a
    # stream of just that pair, and the scan still moves on.
    ex = Builder(filler(4200, 7), e1, filler(5000, 8))
    add("jpeg_exif.exe", ex.data, "jpeg_exif.jpg", "files=jpeg_exif_0001.jpg@%s" % rng(ex.at[1], t1 + len(thumb)))
    e3, t3 = exif_thumbnail(big1, thumb, after_app0=False)
    ex = Builder(filler(4200, 7), e3, filler(5000, 8))
    add("jpeg_exiffirst.exe", ex.data, "jpeg_exiffirst.jpg",
        "files=jpeg_exiffirst_0001.jpg@%s,jpeg_exiffirst_0002.jpg@%s"
        % (rng(ex.at[1] + t3, len(thumb)), rng(ex.at[1] + t3 + len(thumb) - 2, 2)))
    # A catalogue with Exif copies 4096-byte blocks from the start: the first
    # is cut after the thumbnail's FF D9, the rest run to the picture's end;
    # memory mode stops at that FF D9.
    cat = Builder(filler(300, 9), e1, filler(5000, 10))
    head = rng(300, t1 + len(thumb))
    add("jpeg_exifcat.pps", cat.data, "jpeg_exifcat.jpg",
        "files=jpeg_exifcat_0000.jpg@%s/%s" % (head, rng(300 + 4096, len(e1) - 4096)), "memory=1@%s" % head)

    # Block boundaries of the program scanner: "JFIF" starting on the last
    # byte of a 4097-byte block is not seen; FF ending a 4096-byte copy block
    # and D9 starting the next do not end a stream; a stream cut off by the
    # end of the source is written as far as it goes; the last, short block is
    # never searched.
    split = Builder(filler(4096, 11), b"JFIF", filler(6000, 12), big1, filler(5000, 13))
    add("jpeg_split.exe", split.data, "jpeg_split.jpg", "files=jpeg_split_0001.jpg@%s" % rng(split.at[3], len(big1)))
    stream = b"\xff\xd8\xff\xe0\x00\x10JFIF" + filler(4096 - 11, 14) + b"\xff\xd9" + filler(100, 15) + b"\xff\xd9"
    add("jpeg_pair.exe", filler(4097, 16) + stream + filler(9000, 17), "jpeg_pair.jpg",
        "files=jpeg_pair_0001.jpg@%s" % rng(4097, len(stream)))
    cut = filler(4097, 18) + big1[:3000] + filler(2000, 30)
    add("jpeg_cut.exe", cut, "jpeg_cut.jpg", "files=jpeg_cut_0001.jpg@%s" % rng(4097, len(cut) - 4097))
    add("jpeg_short.exe", filler(4097, 31) + thumb, "jpeg_short.jpg", "result=0", "files=-")

    # E-book: "JFIF", then "8BIM", then the picture after it; without any
    # picture, the message box and 0.
    tag = bytes(6) + b"JFIF" + filler(200, 27) + b"8BIM" + filler(50, 28)
    book = Builder(filler(4200, 29), tag, a, filler(500, 30), tag, b, filler(5000, 31))
    add("jpeg_book.lit", book.data, "jpeg_book.jpg",
        "files=jpeg_book_0001.jpg@%s,jpeg_book_0002.jpg@%s" % (rng(book.at[2], len(a)), rng(book.at[5], len(b))))
    add("jpeg_empty.lit", filler(10000, 24), "jpeg_empty.jpg", "result=0", "files=-")

    # The one-picture extractors write from the first (the second) picture
    # to the end of the source; a copy holding no "JFIF" gives nothing.
    one = Builder(filler(600, 25), a, filler(700, 26), b, filler(800, 27))
    add("jpeg_single.kiz", one.data, "jpeg_single.jpg", "bad=cut:600",
        "files=jpeg_single.jpg@%s" % rng(one.at[1], len(one.data) - one.at[1]))
    add("jpeg_preview.fff", one.data, "jpeg_preview.jpg", "bad=cut:600",
        "files=jpeg_preview.jpg@%s" % rng(one.at[3], len(one.data) - one.at[3]))

    # A picture whose quantisation tables were left out; its first 28 bytes
    # end in a comment segment that the restored block completes. It was
    # encoded with the usual tables that block restores, so the rebuilt
    # picture shows what the source picture showed.
    luma = [12, 8, 9, 10, 9, 7, 12, 10, 10, 10, 14, 13, 12, 14, 18, 31, 20, 18, 17, 17, 18, 38,
            27, 28, 22, 31, 45, 39, 47, 46, 44, 39, 43, 42, 50, 56, 71, 60, 50, 53, 67, 53, 42, 43,
            62, 85, 63, 67, 74, 76, 80, 81, 80, 48, 60, 88, 94, 87, 78, 93, 71, 78, 80, 77]
    chroma = [15, 16, 16, 22, 19, 22, 44, 24, 24, 44, 92, 61, 52, 61] + [92] * 50
    zigzag = natural_order()
    img = source_picture(64, 48, 1)
    q = jpeg(img, qtables=[[t[zigzag.index(k)] for k in range(64)] for t in (luma, chroma)])
    i = segments_end(q)
    assert i == 20
    tables = b""
    while q[i:i + 2] == b"\xff\xdb":
        n = struct.unpack(">H", q[i + 2:i + 4])[0]
        tables += q[i + 4:i + 2 + n]
        i += 2 + n
    assert tables == b"\x00" + bytes(luma) + b"\x01" + bytes(chroma), "tables not stored as encoded"
    comment = b"\xff\xfe\x00\x16\x01\x02\x03\x04"
    rebuilt = q[:20] + comment + b"\x03\x19\x1e" + bytes(13) + b"\xff\xdb\x00\x84" + tables + q[i:]
    Image.open(io.BytesIO(q)).convert("RGB").save(os.path.join(HERE, "ref", "jpeg_rebuild.png"))
    add("jpeg_rebuild.kqp", filler(100, 32) + q[:20] + comment + q[i:], "jpeg_rebuild.jpg",
        "same=" + ref("jpeg_rebuild.jpg", rebuilt), "bad=cut:100")
    rows.append("jpeg_rebuild.kqp jpeg_rebuild.jpg decoder=djpeg ref=ref/jpeg_rebuild.png tol=1")

    # A zip-packed file: one member through a private folder, whatever path
    # the member names (kind 0 the JPEG, kind 1 the bitmap); without its
    # central directory's end record it is not a zip.
    zbuf = io.BytesIO()
    with zipfile.ZipFile(zbuf, "w", zipfile.ZIP_DEFLATED) as z:
        for member, data in [("readme.txt", b"picture pack"), ("../../../escape/deep/pic.jpg", a),
                             ("img/pic.bmp", b"BMfake")]:
            z.writestr(zipfile.ZipInfo(member, date_time=(2001, 1, 1, 0, 0, 0)), data, zipfile.ZIP_DEFLATED)
    zipped = zbuf.getvalue()
    add("jpeg_pack.imd", zipped, "jpeg_pack.jpg", "same=" + ref("jpeg_a.jpg", a), "bad=%d:58585858" % (len(zipped) - 22),
        "files=jpeg_pack.jpg@ref/jpeg_a.jpg", "memory=0@ref/jpeg_a.jpg,1@" + ref("jpeg_pack_member.bin", b"BMfake"))

    # An indexed container: big-endian header, offset table, pictures; the
    # files are named after the target. A wrong magic, no pictures, or a count
    # beyond the file give nothing. Memory mode hands over picture 1.
    pics = [a, b, c]
    offsets = [40 + 4 * (len(pics) + 1)]
    for p in pics:
        offsets.append(offsets[-1] + len(p))
    tjp = struct.pack(">IIIIIIIHHII", 0x5450430A, 40, 0, 0, 0, 0, len(pics), 0, 0, 0, 0)
    tjp += b"".join(struct.pack(">I", o) for o in offsets) + b"".join(pics)
    parts = [rng(offsets[k], len(p)) for k, p in enumerate(pics)]
    add("jpeg_folder.tjp", tjp, "album.jpg", "bad=0:5450430B", "bad=24:00000000", "bad=24:FFFFFFFF",
        "files=" + ",".join("album_%04d.jpg@%s" % (k + 1, p) for k, p in enumerate(parts)),
        "memory=1@%s,3@%s" % (parts[0], parts[0]))  # memory mode: picture 1 whatever the number

    # PowerPoint: 512 bytes, then flat records; picture records hold 17
    # bytes before the JPEG. A record running past the end gives what is
    # there; a zero length ends the walk.
    def ppt(records):
        out = bytes(512)
        for rtype, body in records:
            out += struct.pack("<II", rtype, len(body)) + body
        return out
    body = [(0x0FF5000F, bytes([7]) * 30), (0xF01D46A0, bytes([9]) * 17 + a), (0xF01D46A0, bytes([9]) * 17 + b),
            (0x12345678, bytes([1]) * 5)]
    slides = ppt(body)
    sa, sb = rng(512 + 38 + 8 + 17, len(a)), rng(512 + 38 + 8 + 17 + len(a) + 8 + 17, len(b))
    add("jpeg_slides.ppt", slides, "jpeg_slides.jpg", "files=jpeg_slides_01.jpg@%s,jpeg_slides_02.jpg@%s" % (sa, sb),
        "memory=2@%s,3@-" % sb)
    add("jpeg_slides_cut.ppt", slides[:512 + 38 + 8 + 17 + 100], "jpeg_slides_cut.jpg",
        "memory=1@%s" % rng(512 + 38 + 8 + 17, 100))
    add("jpeg_slides_zero.ppt", bytes(512) + struct.pack("<II", 0xF01D46A0, 0), "jpeg_slides_zero.jpg",
        "result=0", "files=-", "memory=1@-")

    # Pictures for the export tests: a JPEG with an Exif thumbnail.
    ref("jpeg_thumb.jpg", thumb)
    ref("jpeg_exif.jpg", exif_thumbnail(a, thumb)[0])

    with open(os.path.join(HERE, "jpeg.list"), "w") as f:
        f.write("".join(r + "\n" for r in rows))


def natural_order():
    """zigzag[k]: the natural (row-major) index of the k-th coefficient in zigzag order."""
    order = []
    for s in range(15):
        diag = [(i, s - i) for i in range(8) if 0 <= s - i < 8]
        order += [r * 8 + col for r, col in (diag if s % 2 else diag[::-1])]
    return order


if __name__ == "__main__":
    main()
