"""Writes one small sample source per container converter into this folder
and lists them in containers.list (source file, target name)."""
import os
import random
import struct
import zlib

from PIL import Image
from genlib import encode, write

HERE = os.path.dirname(os.path.abspath(__file__))


def noise(w, h, seed, mode):
    rnd = random.Random(seed)
    im = Image.new("RGB", (w, h))
    im.putdata([(rnd.randrange(256), (x * 9) % 256, (x // w) * 16 % 256) for x in range(w * h)])
    if mode != "RGB":
        im = im.quantize(colors=64)
    return im


def filler(n, seed):
    rnd = random.Random(seed)
    return bytes(rnd.randrange(97, 117) for _ in range(n))


def png_album():
    parts = [filler(200, 1)]
    for i in range(2):
        parts += [encode(noise(24, 24, 10 + i, "RGB"), "PNG"), filler(150, 2 + i)]
    return b"".join(parts)


def gif_movie():
    # Signatures in separate 1500-byte blocks.
    data = bytearray(filler(9000, 4))
    for i, at in enumerate((100, 4600)):
        g = encode(noise(40, 40, 20 + i, "P"), "GIF")
        data[at:at + len(g)] = g
    return bytes(data)


def gif_theme():
    return filler(50, 5) + encode(noise(16, 16, 30, "P"), "GIF") + filler(30, 6) + encode(noise(12, 8, 31, "P"), "GIF")


def anim():
    data = bytearray(filler(12000, 7))
    head = b"FORM\x00\x00\x2e\xe0ANIMFORMSample animation\x00"
    data[:len(head)] = head
    for at in (5000, 7000):
        data[at:at + 4] = b"FORM"
    return bytes(data)


def pcx_archive():
    out = b""
    for i in range(2):
        pic = encode(noise(32, 20, 40 + i, "P"), "PCX")
        out += struct.pack("<I", 4) + b"name" + b"\0" * 4 + struct.pack("<II", 0, len(pic)) + pic
    return out


def film_strip():
    w, h, e, frames = 32, 24, 0, 3
    px = bytearray()
    for f in range(frames):
        for y in range(h):
            for x in range(w):
                px += bytes(((x * 8 + f * 80) % 256, y * 10, 255 if (x // 4 + y // 4) % 2 else 0, 0))
    trailer = b"Rand" + struct.pack(">I", frames) + b"\0" * 4 + struct.pack(">HHHH", w, h, e, 0) + b"\0" * 16
    return bytes(px) + trailer


def flash():
    jpeg = encode(noise(32, 24, 50, "RGB"), "JPEG", quality=85)
    tag = struct.pack("<HI", 21 << 6 | 63, len(jpeg) + 2) + struct.pack("<H", 1) + jpeg
    body = b"\x40\x00\x00\x00\x00" + struct.pack("<HH", 12 << 8, 1) + tag + struct.pack("<H", 1 << 6) + b"\0\0"
    return b"CWS\x06" + struct.pack("<I", 8 + len(body)) + zlib.compress(body)


SAMPLES = [
    ("containers_album.pspd", "album.png", png_album),
    ("containers_movie.mvr", "movie.gif", gif_movie),
    ("containers_game.big", "game.gif", gif_movie),
    ("containers_theme.elm", "theme.gif", gif_theme),
    ("containers_walk.ani", "walk.iff", anim),
    ("containers_pics.pca", "pics.pcx", pcx_archive),
    ("containers_clip.flm", "clip.pcx", film_strip),
    ("containers_movie.swf", "movie.jpg", flash),
]

if __name__ == "__main__":
    lines = []
    for src, target, make in SAMPLES:
        write(src, make())
        lines.append(f"{src} {target}\n")
    with open(os.path.join(HERE, "containers.list"), "w") as f:
        f.writelines(lines)
