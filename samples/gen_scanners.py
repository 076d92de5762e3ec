"""Writes the samples of the bitmap, packed-bitmap, presentation PNG and
sound scanners and of the AVI sound route into this folder and lists them in
scanners.list.

Every embedded picture is a real bitmap file written by ImageMagick or
netpbm. Containers place them at awkward spots: the first byte, across a
512-byte block and a 64 KiB window boundary, touching each other, ending the
file, around a damaged bitmap. Rows carry streams=OFFSET+LENGTH[+HEAD] for
every picture a scanner must cut out (HEAD: the 14-byte file header the
packed-bitmap scanner puts back in front), and the counts the counting
exports give on the same file. The counts differ from the scanners' results
where the counting rules mean them to: a bitmap whose "BM" lies in the
file's last short 512-byte block is not counted (edges.pjs, theme.tsk), a
"BM" header with reserved words 0 is counted however damaged the rest is
(edges.pjs), packed bitmaps are counted by 1024-byte blocks holding 28 00 00
00 outside their last 11 bytes, one per block, valid or not, in pixels too
(edges.abm).
"""
import os
import random
import struct

from genlib import run, write

HERE = os.path.dirname(os.path.abspath(__file__))


def magick(*args):
    return run(["convert", *args])


def filler(n, seed):
    # Bytes without "B", "(" or NUL: no signature either scanner looks for.
    rnd = random.Random(seed)
    return bytes(rnd.choice(b"acdefghijklmnopqrstuvwxyz0123456789") for _ in range(n))


# The pictures (each a whole bitmap file).
ROSE24 = magick("rose:", "bmp3:-")                                   # 70x46, 24 bits
ROSE8 = magick("rose:", "-colors", "60", "-type", "Palette", "-compress", "none", "bmp3:-")
RLE8 = magick("rose:", "-colors", "30", "-type", "Palette", "bmp3:-")       # run-length coded
SMALL4 = magick("-size", "7x3", "xc:blue", "-fill", "red", "-draw", "point 1,1",
                "-type", "Palette", "-colors", "2", "bmp3:-")
WIZARD = run(["ppmtobmp", "-windows", "-quiet"], magick("wizard:", "-resize", "40x50", "ppm:-"))
OS2 = run(["ppmtobmp", "-os2", "-quiet"], magick("logo:", "-resize", "32x24", "ppm:-"))
GRAD = magick("-size", "16x16", "gradient:red-blue", "-type", "TrueColor", "bmp3:-")


def damaged(bmp):
    # A bitmap whose header says 0 planes: not a picture.
    b = bytearray(bmp)
    b[26] = 0
    return bytes(b)


def build(parts):
    """parts: bytes or ("pic", bytes[, keep_header]). Returns (data, streams)."""
    data = bytearray()
    streams = []
    for p in parts:
        if isinstance(p, tuple):
            pic = p[1]
            if p[0] == "dib":
                streams.append("%d+%d+%s" % (len(data), len(pic) - 14, pic[:14].hex()))
                data += pic[14:]
            else:
                streams.append("%d+%d" % (len(data), len(pic)))
                data += pic
        else:
            data += p
    return bytes(data), streams


def pad_to(parts, block, back):
    """Filler so that the next part starts `back` bytes before the end of a
    `block`-byte block (the first such point after what parts hold)."""
    n = len(build(parts)[0])
    at = (n + back) // block * block + block - back
    return filler(at - n, at)


rows = []


def ref(name, bmp):
    write(os.path.join("ref", name + ".png"),
          run(["convert", "bmp:-", "-strip", "-define", "png:exclude-chunks=date,time", "png:-"], bmp))


def sample(source, target, parts, extra=""):
    data, streams = build(parts)
    write(source, data)
    rows.append(" ".join(filter(None, [source, target, extra, "streams=" + ",".join(streams)])))
    return data, streams


# Listed samples read back by bmptopnm.
data, _ = sample("scanners_album.pjs", "album.bmp",
                 [filler(300, 1), ("bmp", ROSE24), filler(200, 2)],
                 "decoder=bmptopnm ref=ref/scanners_album.png result=1 count_bmpelse=1 "
                 "bad=300:584d bad=cut:%d bad=302:f0ffffff" % (300 + len(ROSE24) // 2))
ref("scanners_album", ROSE24)

data, _ = sample("scanners_thumbs.abm", "thumbs.dib",
                 [filler(500, 3), ("dib", WIZARD), filler(100, 4)],
                 "decoder=bmptopnm ref=ref/scanners_thumbs.png result=1 count_dib=1 "
                 "bad=500:29 bad=cut:%d bad=504:00000100" % (500 + len(WIZARD) // 2))
ref("scanners_thumbs", WIZARD)

# The ".tsk" preview chain's third link: a theme with a BMP among other bytes.
sample("scanners_theme.tsk", "theme.bmp",
       [filler(1000, 5), ("bmp", WIZARD), filler(50, 6), ("bmp", SMALL4), filler(10, 7)],
       "decoder=bmptopnm ref=ref/scanners_theme.png result=2 count_bmpelse=1")
ref("scanners_theme", WIZARD)

# Awkward places for the BMP scanner. File names stored before each bitmap
# let the "BMP"-name count find them too.
parts = [("bmp", SMALL4)]                                             # first byte
parts += [b"ROSE.BMP\0" + filler(40, 8)]
parts += [("bmp", OS2), b"BM\x01\x00\x00\x00\x07\x00" + filler(30, 9)]  # OS/2 header; a stray "BM"
parts += [pad_to(parts, 512, 1), ("bmp", ROSE8)]                         # "B" last byte of a 512-byte block
parts += [filler(20, 10), ("bmp", GRAD), ("bmp", SMALL4)]             # two touching
parts += [filler(33, 11), damaged(WIZARD), filler(17, 12), ("bmp", ROSE24)]  # damaged between good ones
parts += [pad_to(parts, 65536, 1), ("bmp", GRAD)]                        # across the 64 KiB window
parts += [filler(64, 13), ("bmp", SMALL4)]                            # the file's last bytes
sample("scanners_edges.pjs", "edges.bmp", parts, "result=8 count_bmpelse=8 count_bmp=1")

# The same pictures as packed bitmaps.
parts = [("dib", SMALL4)]
parts += [filler(40, 14), ("dib", GRAD), ("dib", ROSE8)]
parts += [filler(33, 15), damaged(WIZARD)[14:], filler(17, 16), ("dib", ROSE24)]
parts += [pad_to(parts, 1024, 6), ("dib", WIZARD)]           # header across a 1024-byte block (hit 6 bytes before its end)
parts += [filler(5, 17), ("dib", RLE8), ("dib", SMALL4)]
sample("scanners_edges.abm", "edges.dib", parts, "result=7 count_dib=6")

# A container that names each bitmap before it, as slide shows do.
parts = []
for i, pic in enumerate((ROSE8, SMALL4, GRAD)):
    parts += [b"PICTURE%d.BMP\0\0" % i + filler(20 + i, 20 + i), ("bmp", pic)]
parts += [filler(700, 30)]
sample("scanners_named.ssf", "named.bmp", parts, "result=3 count_bmp=3 count_bmpelse=3")

# PNG pictures in presentations: PowerPoint picture records (a 16- and a
# 32-byte identifier before the PNG), the text "PNG" without its 0x89, a
# signature followed by garbage, a picture with a damaged chunk (its CRC no
# longer matches), one whose signature straddles a 64 KiB window, and one cut
# short by the end of the file: only the whole ones count.
ROSE_PNG = run(["pnmtopng"], magick("rose:", "ppm:-"))
LOGO_PNG = run(["pnmtopng"], magick("logo:", "-resize", "60x45", "ppm:-"))
GRAD_PNG = run(["pnmtopng"], magick("-size", "12x9", "gradient:green-yellow", "-depth", "8", "ppm:-"))


def picture_record(png, ids):
    head = struct.pack("<HHI", 0x6E0 << 4 if ids == 1 else 0x6E1 << 4, 0xF01E, len(png) + 16 * ids + 1)
    return head + bytes(range(16 * ids)) + b"\xff"


broken = bytearray(LOGO_PNG)
broken[60] ^= 0x55
OLE = bytes.fromhex("d0cf11e0a1b11ae1") + filler(504, 40)
parts = [OLE, picture_record(ROSE_PNG, 1), ("png", ROSE_PNG), filler(100, 41)]
parts += [picture_record(LOGO_PNG, 2), ("png", LOGO_PNG), b"xxPNGxx" + filler(30, 42)]
parts += [b"\x89PNG\r\n\x1a\n" + filler(40, 43), bytes(broken), filler(20, 44), ("png", GRAD_PNG)]
parts += [pad_to(parts, 65536, 3), ("png", LOGO_PNG), filler(10, 45), LOGO_PNG[:-20]]
sample("scanners_slides.ppt", "slides.png", parts,
       "decoder=pngtopnm ref=ref/scanners_slides.png result=4")
write(os.path.join("ref", "scanners_slides.png"), ROSE_PNG)

sample("scanners_show.pps", "show.png", [OLE, picture_record(GRAD_PNG, 1), ("png", GRAD_PNG), filler(64, 46)],
       "decoder=pngtopnm ref=ref/scanners_show.png result=1 "
       "bad=%d:4f bad=cut:%d bad=%d:7ffffff0" % (len(OLE) + 25, len(OLE) + 25 + len(GRAD_PNG) - 6, len(OLE) + 33))
write(os.path.join("ref", "scanners_show.png"), GRAD_PNG)

# Sound: AVIs muxed by ffmpeg around a tone made by sox (PCM, and IMA ADPCM
# kept as it is); each row names the WAV whose samples the written file must
# hold (sound=). A map holding plain RIFF WAVE files, the last one cut short
# by the end of the file, and a RIFF that is no sound.
TMP = os.path.join(HERE, "ref", "scanners_tmp.wav")
run(["sox", "-D", "-n", "-r", "8000", "-c", "1", "-b", "16", TMP, "synth", "1", "sine", "440"])
BEEP = open(TMP, "rb").read()
BITEXACT = ["-fflags", "+bitexact", "-flags:v", "+bitexact", "-flags:a", "+bitexact"]


def avi(name, codec):
    path = os.path.join(HERE, name)
    run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc=duration=1:size=32x24:rate=5", "-i", TMP,
         "-c:v", "rawvideo", "-pix_fmt", "bgr24", "-c:a", codec, *BITEXACT, path])
    return open(path, "rb").read()


avi("scanners_clip.avi", "copy")
write(os.path.join("ref", "scanners_clip.wav"), BEEP)
rows.append("scanners_clip.avi clip.wav sound=ref/scanners_clip.wav result=1 bad=cut:200 bad=8:58585858")
avi("scanners_adpcm.avi", "adpcm_ima_wav")
run(["ffmpeg", "-v", "error", "-y", "-i", os.path.join(HERE, "scanners_adpcm.avi"), "-vn", "-c:a", "copy", *BITEXACT,
     os.path.join(HERE, "ref", "scanners_adpcm.wav")])
rows.append("scanners_adpcm.avi adpcm.wav sound=ref/scanners_adpcm.wav result=1")

run(["sox", "-D", "-n", "-r", "11025", "-c", "2", "-b", "8", TMP, "synth", "0.3", "square", "300"])
CHORD = open(TMP, "rb").read()
run(["sox", "-D", "-n", "-r", "8000", "-c", "1", "-b", "16", TMP, "synth", "0.1", "sine", "880"])
SHORT = open(TMP, "rb").read()
os.remove(TMP)
parts = [b"MPQ\x1a" + struct.pack("<I", 32) + bytes(24), filler(1000, 50), ("wav", BEEP), filler(77, 51)]
parts += [b"RIFF" + struct.pack("<I", 100) + b"AVI LIST" + filler(92, 52)]
parts += [pad_to(parts, 4096, 6), ("wav", CHORD), filler(300, 53)]
data, streams = build(parts)
cut = SHORT[:len(SHORT) // 2]
write("scanners_map.scm", data + cut)
streams.append("%d+%d" % (len(data), len(cut)))
rows.append("scanners_map.scm map.wav result=3 streams=" + ",".join(streams))

# Compressed bitmaps for the ".bmz" preview: one bitmap wrapped by gzip, by
# zlib, in ZIP archives (stored; deflated beside another member; streamed
# with a data descriptor) and a damaged copy. Not listed: only previews
# reach them; the containers test reads them beside ref/scanners_wrap.bmp.
import gzip
import io
import zipfile
import zlib

write(os.path.join("ref", "scanners_wrap.bmp"), ROSE24)
write("scanners_wrap_gz.bmz", gzip.compress(ROSE24, mtime=0))
write("scanners_wrap_zlib.bmz", zlib.compress(ROSE24, 9))


def zipped(members, method, stream=False):
    class Unseekable(io.RawIOBase):
        def __init__(self):
            self.data = bytearray()

        def writable(self):
            return True

        def write(self, b):
            self.data += b
            return len(b)

    sink = Unseekable() if stream else io.BytesIO()
    with zipfile.ZipFile(sink, "w", method) as z:
        for name, data in members:
            info = zipfile.ZipInfo(name, (1999, 1, 1, 0, 0, 0))
            info.compress_type = method
            z.writestr(info, data)
    return bytes(sink.data if stream else sink.getvalue())


write("scanners_wrap_stored.bmz", zipped([("ROSE.BMP", ROSE24)], zipfile.ZIP_STORED))
write("scanners_wrap_deflated.bmz", zipped([("readme.txt", b"a rose\n"), ("pics/rose.bmp", ROSE24)], zipfile.ZIP_DEFLATED))
write("scanners_wrap_stream.bmz", zipped([("-", ROSE24)], zipfile.ZIP_DEFLATED, stream=True))
bad = bytearray(gzip.compress(ROSE24, mtime=0))
bad[len(bad) // 2] ^= 0xFF
write("scanners_wrap_damaged.bmz", bytes(bad))

# Apple icon families: one written by png2icns (run-length packed 24-bit
# members with 8-bit masks, 16, 32 and 48 pixels), one put together here
# from PNG members stored whole beside a smaller packed one.
def logo_png(side, holes):
    return magick("logo:", "-resize", "%dx%d!" % (side, side), "-alpha", "set", "-channel", "A", "-fx",
                  "(i+j)%%%d==0?0:1" % holes, "+channel", "-depth", "8",
                  "-define", "png:exclude-chunks=date,time", "PNG32:-")


pngs = []
for side in (16, 32, 48):
    path = os.path.join(HERE, "ref", "scanners_tmp%d.png" % side)
    write(path, logo_png(side, 5))
    pngs.append(path)
run(["png2icns", os.path.join(HERE, "scanners_logo.icns"), *pngs])
os.replace(pngs[-1], os.path.join(HERE, "ref", "scanners_logo.png"))
for p in pngs[:-1]:
    os.remove(p)
rows.append("scanners_logo.icns logo.png decoder=pngtopnm ref=ref/scanners_logo.png result=1 "
            "bad=0:69636e74 bad=cut:300 bad=12:7ffffff0")

ICON32 = run(["pnmtopng"], magick("rose:", "-resize", "32x32!", "ppm:-"))
ICON16 = run(["pnmtopng"], magick("rose:", "-resize", "16x16!", "ppm:-"))
small = open(os.path.join(HERE, "scanners_logo.icns"), "rb").read()
is32 = small[8:8 + struct.unpack(">I", small[12:16])[0]]
elements = b"".join(t + struct.pack(">I", len(d) + 8) + d for t, d in ((b"icp4", ICON16), (b"ic11", ICON32))) + is32
write("scanners_icon.icns", b"icns" + struct.pack(">I", len(elements) + 8) + elements)
write(os.path.join("ref", "scanners_icon.png"), ICON32)
rows.append("scanners_icon.icns icon.png decoder=pngtopnm ref=ref/scanners_icon.png result=1")

with open(os.path.join(HERE, "scanners.list"), "w") as f:
    f.write("\n".join(rows) + "\n")
