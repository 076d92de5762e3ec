#!/usr/bin/python3
"""Writes the retro samples next to this script (deterministic, all made here)."""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def screen():
    """A Spectrum screen: diagonal stripes, bright and plain cells."""
    bitmap = bytearray(6144)
    for y in range(192):
        line = (y // 64) * 2048 + (y % 8) * 256 + ((y // 8) % 8) * 32
        for x in range(32):
            bitmap[line + x] = 0xF0 if (x + y // 8) % 2 else 0x3C
    attrs = bytes((0x47 if (r + c) % 3 == 0 else 0x38 | (c % 8)) for r in range(24) for c in range(32))
    return bytes(bitmap) + attrs


def ram():
    r = bytearray(49152)
    r[:6912] = screen()
    r[23624 - 16384] = 2 << 3
    r[0x8000 - 0x4000:0x8000 - 0x4000 + 2] = struct.pack("<H", 0x1234)
    return bytes(r)


def z80_pack(d):
    out, i = bytearray(), 0
    while i < len(d):
        run = 1
        while i + run < len(d) and d[i + run] == d[i] and run < 255:
            run += 1
        if run >= 5 or (d[i] == 0xED and run >= 2):
            out += bytes([0xED, 0xED, run, d[i]])
            i += run
        else:
            out.append(d[i])
            if d[i] == 0xED and i + 1 < len(d):
                i += 1
                out.append(d[i])
            i += 1
    return bytes(out)


def tap_block(flag, payload):
    body = bytes([flag]) + payload
    x = 0
    for b in body:
        x ^= b
    body += bytes([x])
    return struct.pack("<H", len(body)) + body


def main():
    header = bytearray(30)
    header[0], header[1] = 0x42, 0x81
    header[6:8] = struct.pack("<H", 0x1234)
    header[8:10] = struct.pack("<H", 0x8002)
    header[12] = 0x20 | (2 << 1)
    write("retro_snap.z80", bytes(header) + z80_pack(ram()) + b"\x00\xed\xed\x00")

    prg = bytearray(256)
    prg[0] = 5
    prg[1:11] = b"sample    "
    prg[0xEF] = 0x3F
    prg[0xF0:0xF2] = struct.pack("<H", 0x7FFC)
    write("retro_snap.prg", bytes(prg) + ram())

    scr = screen()
    write("retro_screen.scr", scr)
    tape_header = bytes([3]) + b"screen    " + struct.pack("<HHH", 6912, 16384, 32768)
    write("retro_screen.tap", tap_block(0, tape_header) + tap_block(0xFF, scr))

    cpc = bytes((i * 37 + i // 2048) & 0xFF for i in range(16384))
    write("retro_screen.cpc", cpc)

    w, h = 24, 8
    rows = [[(x + y) % 3 == 0 or x == y for x in range(w)] for y in range(h)]
    xbm_bytes = []
    for row in rows:
        for k in range((w + 7) // 8):
            xbm_bytes.append(sum(1 << j for j in range(8) if k * 8 + j < w and row[k * 8 + j]))
    xbm = "#define logo_width %d\n#define logo_height %d\nstatic char logo_bits[] = {\n" % (w, h)
    xbm += ",".join("0x%02x" % b for b in xbm_bytes) + "};\n"
    write("retro_logo.xbm", xbm.encode())

    nibbles = []
    def field(v):
        nibbles.extend((v >> (4 * k)) & 0xF for k in range(5))
    field(0x02B1E)
    field(2 * 3 * h + 15)
    field(h)
    field(w)
    for b in xbm_bytes:
        nibbles += [b & 0xF, b >> 4]
    gro = b"HPHP48-E" + bytes(nibbles[i] | (nibbles[i + 1] << 4 if i + 1 < len(nibbles) else 0)
                              for i in range(0, len(nibbles), 2))
    write("retro_logo.gro", gro)

    # 128 x 64, 8 bits a pixel, run-length coded, grey palette of 8 levels.
    pcx = bytearray(128)
    pcx[0:4] = bytes([10, 5, 1, 8])
    pcx[8:12] = struct.pack("<HH", 127, 63)
    pcx[65] = 1
    pcx[66:68] = struct.pack("<H", 128)
    for y in range(64):
        for x in range(0, 128, 16):
            pcx += bytes([0xC0 | 16, ((x // 16) + y // 8) % 8])
    pcx += bytes([12]) + b"".join(bytes([i * 36, i * 36, i * 36]) for i in range(8)) + bytes(768 - 24)
    write("retro_gray.pcx", bytes(pcx))

    oric = bytearray(22 + 8000)
    for y in range(200):
        row = oric[22 + y * 40:22 + y * 40 + 40]
        row[0] = 0x10 | (y // 25)          # paper
        row[1] = 0x00 | (7 - y // 25)      # ink
        for x in range(2, 40):
            row[x] = 0x40 | (0x2A if (x + y // 8) % 2 else 0x15)
        oric[22 + y * 40:22 + y * 40 + 40] = row
    write("retro_oric.tap", bytes(oric))

    icn = struct.pack("<HH", 31, 15) + bytes((i * 11) & 0xFF for i in range(4 * 16 * 4))
    write("retro_icon.icn", icn)

    pi1 = bytearray(struct.pack(">H", 0))
    for i in range(16):
        pi1 += struct.pack(">H", ((i % 8) << 8) | (((i // 2) % 8) << 4) | (7 - i % 8))
    for y in range(200):
        for g in range(20):
            colour = (g + y // 10) % 16
            for p in range(4):
                pi1 += struct.pack(">H", 0xFFFF if colour & (1 << p) else 0)
    write("retro_picture.pi1", bytes(pi1))
    more_kinds(pi1)


def more_kinds(pi1):
    """The other snapshot and Atari ST kinds, for the previews, which pick
    the reader by the extension."""
    sna = bytearray(27)
    sna[0] = 0x3F
    sna[23:25] = struct.pack("<H", 0x8000)
    sna[25], sna[26] = 1, 2
    write("retro_snap.sna", bytes(sna) + ram())
    write("retro_snap.sem", bytes(sna) + ram())

    sp = bytearray(38)
    sp[0:2] = b"SP"
    sp[2:4] = struct.pack("<H", 49152)
    sp[4:6] = struct.pack("<H", 0x4000)
    sp[28:30] = struct.pack("<H", 0x8000)
    sp[34] = 2
    write("retro_snap.sp", bytes(sp) + ram())

    zx = bytearray(49486)
    zx[132:132 + 49152] = ram()
    zx[49468:49470] = struct.pack(">H", 0x8000)
    write("retro_snap.zx", bytes(zx))

    body = bytes(pi1[34:])
    palette = bytes(pi1[2:34])
    write("retro_medium.pi2", struct.pack(">H", 1) + palette + body)
    write("retro_high.pi3", struct.pack(">H", 2) + palette + body)
    write("retro_plain.pln", struct.pack(">H", 0) + palette + body)
    neo = bytearray(128)
    neo[4:36] = palette
    write("retro_picture.neo", bytes(neo) + body)
    # Degas compressed: every 40-byte plane line as one literal run, then the
    # 32 bytes of animation data.
    packed = bytearray()
    for i in range(0, len(body), 40):
        packed += bytes([39]) + body[i:i + 40]
    write("retro_packed.pc1", struct.pack(">H", 0x8000) + palette + bytes(packed) + bytes(32))
    write("retro_packed.pc3", struct.pack(">H", 0x8002) + palette + bytes(packed) + bytes(32))


if __name__ == "__main__":
    main()
