#!/usr/bin/python3
"""Writes the retro samples next to this script (deterministic, all made here)."""
import os
import struct
import subprocess
import zlib
from genlib import byterun1, write

HERE = os.path.dirname(os.path.abspath(__file__))


def screen():
    """A Spectrum screen: diagonal stripes, bright and plain cells."""
    bitmap = bytearray(6144)
    for y in range(192):
        line = (y // 64) * 2048 + (y % 8) * 256 + ((y // 8) % 8) * 32
        for x in range(32):
            bitmap[line + x] = 0xF0 if (x + y // 8) % 2 else 0x3C
    # Long runs, an ED run, a lone ED pair and an ED before a run, for the
    # Z80 packing; bright white-on-black, plain black-on-white and other cells.
    bitmap[40:70] = bytes(30)
    bitmap[100:110] = b"\xED" * 10
    bitmap[200:203] = b"\xED\xED\x11"
    bitmap[300:307] = b"\xED" + bytes(6)
    attrs = bytes(0x47 if i % 3 == 0 else 0x38 if i % 3 == 1 else (i * 7) & 0xFF for i in range(768))
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

    write("retro_screen.scr", screen())

    w, h = 24, 8
    rows = [[(x + y) % 3 == 0 or x == y for x in range(w)] for y in range(h)]
    xbm_bytes = []
    for row in rows:
        for k in range((w + 7) // 8):
            xbm_bytes.append(sum(1 << j for j in range(8) if k * 8 + j < w and row[k * 8 + j]))

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

    write("ref/retro_gray.grb", ti85([7 - ((((x // 16) + y // 8) % 8) * 36) // 32 for y in range(64) for x in range(128)]))
    more_kinds()
    spectrum(lambda argv: subprocess.run(argv, check=True, stdout=subprocess.DEVNULL))
    tapes()
    cpc()
    calculators()
    oric()
    atari()


def more_kinds():
    """SP and ZX snapshots of the same memory, with their own headers."""
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


# ---- Spectrum: every snapshot kind of one screen, and the TIFF it gives ----

SNA_SP, SNA_PC = 0x8000, 0x1234


def sna_header():
    """Registers of an SNA header, PC on the stack at SNA_SP."""
    h = bytearray(27)
    h[0] = 0x3F
    for k, v in enumerate((0x1111, 0x2222, 0x3333, 0x4455, 0x5566, 0x6677, 0x7788, 0x8899, 0x99AA)):
        h[1 + 2 * k:3 + 2 * k] = struct.pack("<H", v)
    h[19:23] = bytes([0x04, 0x5A, 0x81, 0x42])
    h[23:25] = struct.pack("<H", SNA_SP)
    h[25], h[26] = 1, 5
    return bytes(h)


def zx_tiff(scr):
    """The 256 x 192 4-bit palette TIFF of a screen: 512 bytes of header and
    colour map (0xD8D8 normal, 0xFFFF bright), then two pixels a byte."""
    h = bytearray(512)
    h[0:8] = b"MM" + struct.pack(">HI", 42, 8)
    h[8:10] = struct.pack(">H", 13)
    entries = [(256, 3, 1, 256), (257, 3, 1, 192), (258, 3, 1, 4), (259, 3, 1, 1), (262, 3, 1, 3),
               (273, 4, 1, 512), (274, 3, 1, 1), (278, 4, 1, 192), (279, 4, 1, 24576), (282, 5, 1, 172),
               (283, 5, 1, 180), (296, 3, 1, 2), (320, 3, 48, 256)]
    for k, (tag, kind, count, value) in enumerate(entries):
        v = struct.pack(">HH", value, 0) if kind == 3 and count == 1 else struct.pack(">I", value)
        h[10 + 12 * k:22 + 12 * k] = struct.pack(">HHI", tag, kind, count) + v
    h[172:188] = struct.pack(">IIII", 72, 1, 72, 1)
    for channel, bit in enumerate((4, 2, 1)):
        for i in range(16):
            h[256 + (channel * 16 + i) * 2:258 + (channel * 16 + i) * 2] = \
                struct.pack(">H", (0xD8D8 if i < 8 else 0xFFFF) if i & bit else 0)
    out = bytearray(h)
    for y in range(192):
        line = (y // 64) * 2048 + (y % 8) * 256 + ((y // 8) % 8) * 32
        for x in range(32):
            attr = scr[6144 + (y // 8) * 32 + x]
            def index(c):
                return ((c >> 1) & 1) * 4 + ((c >> 2) & 1) * 2 + (c & 1) + (8 if attr & 0x40 else 0)
            ink, paper = index(attr & 7), index((attr >> 3) & 7)
            bits = scr[line + x]
            for k in range(0, 8, 2):
                out.append((ink if bits & (0x80 >> k) else paper) << 4 | (ink if bits & (0x40 >> k) else paper))
    return bytes(out)


def zx_ppm(scr):
    """The colours a screen shows (216 normal, 255 bright), as the reference."""
    rgb = bytearray()
    for y in range(192):
        line = (y // 64) * 2048 + (y % 8) * 256 + ((y // 8) % 8) * 32
        for x in range(256):
            attr = scr[6144 + (y // 8) * 32 + x // 8]
            colour = attr & 7 if scr[line + x // 8] & (0x80 >> (x % 8)) else (attr >> 3) & 7
            level = 255 if attr & 0x40 else 216
            rgb += bytes([level if colour & 2 else 0, level if colour & 4 else 0, level if colour & 1 else 0])
    return ppm(256, 192, rgb)


def ppm(w, h, rgb):
    """A reference picture as an 8-bit RGB PNG (small beside the PPM)."""
    rgb = bytes(rgb)
    raw = b"".join(b"\x00" + rgb[y * w * 3:(y + 1) * w * 3] for y in range(h))
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def z80_header(version, packed=False, sp=SNA_SP + 2):
    h = bytearray(30)
    h[0], h[1] = 0x42, 0x81
    if version == 1:
        h[6:8] = struct.pack("<H", SNA_PC)
    h[8:10] = struct.pack("<H", sp)
    h[12] = (5 << 1) | (0x20 if packed else 0)
    if version == 3:
        h += struct.pack("<HH", 54, SNA_PC) + bytes(52)
    return h


def z80_pages(r, pages):
    """A version-3 file with its pages in the order given."""
    f = z80_header(3)
    for p in pages:
        at = {8: 0, 4: 16384, 5: 32768}[p]
        data = z80_pack(r[at:at + 16384])
        f += struct.pack("<HB", len(data), p) + data
    return bytes(f)


def snx(r):
    """"XSNA", header length 37, the SNA header, ten setting bytes, literal
    blocks (flag 0) and one long fill (flag 0xFF) over a run."""
    r = bytearray(r)
    r[20000:23000] = b"\xAB" * 3000
    f = bytearray(b"XSNA\x00\x25") + sna_header() + bytes(10)
    def literal(at, n):
        while n:
            k = min(n, 0xDFFF)
            f.extend(struct.pack(">HB", k, 0) + r[at:at + k])
            at, n = at + k, n - k
    literal(0, 20000)
    f.extend(struct.pack(">HBB", 3000, 0xFF, 0xAB))
    literal(23000, 49152 - 23000)
    return bytes(f)


def spectrum(run):
    r = ram()
    tif, sna = zx_tiff(screen()), sna_header() + r
    write("ref/retro_zx.tif", tif)
    write("ref/retro_zx.png", zx_ppm(screen()))
    write("retro_snap.sna", sna)
    write("retro_snap.sem", sna)
    write("retro_zx_sna.scr", sna)
    for opt, name in (("-c", "retro_zx_v3.z80"), ("-n", "retro_zx_stored.z80")):
        run(["snapconv", opt, os.path.join(HERE, "retro_snap.sna"), os.path.join(HERE, name)])
    v3 = open(os.path.join(HERE, "retro_zx_v3.z80"), "rb").read()
    write("retro_zx_v2.z80", v3[:30] + struct.pack("<H", 23) + v3[32:32 + 23] + v3[32 + 54:])
    write("retro_zx_v1.z80", bytes(z80_header(1)) + r)
    write("retro_zx_pages.z80", z80_pages(r, [5, 4, 8]))
    regs = bytearray(34)
    regs[16:20] = struct.pack("<HH", SNA_PC, SNA_SP + 2)
    write("retro_zx_regs.sem", b"\x05SPEC1" + r + bytes(regs))
    sp = bytearray(38)
    sp[0:6] = b"SP" + struct.pack("<HH", 49152, 16384)
    sp[28:32] = struct.pack("<HH", SNA_SP + 2, SNA_PC)
    sp[34] = 5
    write("retro_zx_old.sp", bytes(sp[6:]) + r)
    zx = bytearray(132) + r + bytearray(49486 - 132 - 49152)
    zx[49428] = 3
    zx[49464:49466] = struct.pack(">H", SNA_PC)
    zx[49468:49470] = struct.pack(">H", SNA_SP + 2)
    write("retro_zx.zxs", bytes(zx))
    ach = bytearray(b"\x77" * (256 + 16384))
    ach[0:256] = bytes(256)
    ach[32:34] = struct.pack("<H", SNA_PC)
    ach[40:42] = struct.pack("<H", SNA_SP + 2)
    ach[156] = 5
    write("retro_zx.ach", bytes(ach) + r)
    sit = bytearray(b"\x77" * (28 + 16384))
    sit[0:28] = bytes(28)
    sit[12:16] = struct.pack("<HH", SNA_SP + 2, SNA_PC)
    sit[27] = 5
    write("retro_zx.sit", bytes(sit) + r)
    write("retro_zx.snx", snx(r))
    write("retro_zx.bin", bytes([3, 0x00, 0xC0, 0x00, 0x40, 0, 0, 0, 0]) + r)
    # A stack just under 0x5B00: the program counter must not land on the screen.
    sp[28:30] = struct.pack("<H", 0x5B00)
    write("retro_zx_stack.sp", bytes(sp) + r)
    write("retro_zx_stack.z80", bytes(z80_header(1, True, 0x5B00)) + z80_pack(r) + b"\x00\xed\xed\x00")
    prg = open(os.path.join(HERE, "retro_snap.prg"), "rb").read()
    write("retro_zx_cut.prg", prg[:256 + 6912])
    write("retro_zx_short.prg", prg[:100])  # no screen: a black picture
    write("ref/retro_zx_blank.png", ppm(256, 192, bytes(256 * 192 * 3)))


# ---- Spectrum tapes ----

def tape_header(kind, name, length, p1, p2):
    return bytes([kind]) + name.ljust(10, b" ") + struct.pack("<HHH", length, p1, p2)


def zxs(tape):
    """Records of L + 5 bytes: the length, three zeros, the block as it stands
    (a cut last block as far as it goes, under its declared length)."""
    out, t = bytearray(), 0
    while t < len(tape):
        n = struct.unpack("<H", tape[t:t + 2])[0]
        out += struct.pack("<H", n + 5) + bytes(3) + tape[t + 2:t + 2 + n]
        t += 2 + n
    return bytes(out)


def tapes():
    blocks = [tap_block(0, tape_header(3, b"screen", 6912, 16384, 32768)), tap_block(0xFF, screen()),
              tap_block(0, tape_header(0, b"loader\x01", 5, 10, 5)), tap_block(0xFF, b"hello"),
              tap_block(0, tape_header(1, b"numbers", 3, 0, 0)), tap_block(0xFF, b"\x01\x02\x03")]
    tape = b"".join(blocks)
    write("retro_screen.tap", tape)
    write("ref/retro_screen.zxs", zxs(tape))
    write("retro_tape_cut.tap", tape[:-2])
    write("ref/retro_tape_cut.zxs", zxs(tape[:-2]))


# ---- Amstrad CPC ----

FIRMWARE_TO_HARDWARE = [0x14, 0x04, 0x15, 0x1C, 0x18, 0x1D, 0x0C, 0x05, 0x0D, 0x16, 0x06, 0x17, 0x1E, 0x00,
                        0x1F, 0x0E, 0x07, 0x0F, 0x12, 0x02, 0x13, 0x1A, 0x19, 0x1B, 0x0A, 0x03, 0x0B]


def firmware_rgb(n):
    level = (0, 127, 255)  # 0x7FFF and 0xFFFF as libtiff scales them
    return bytes([level[(n // 3) % 3], level[n // 9], level[n % 3]])


def cpc_ppm(s, mode, firmware):
    rgb = bytearray()
    for y in range(200):
        for x in range(80):
            b = s[(y % 8) * 2048 + (y // 8) * 80 + x]
            bit = lambda k: (b >> k) & 1
            if mode == 0:
                pens = []
                for p in (bit(7) | bit(3) << 1 | bit(5) << 2 | bit(1) << 3, bit(6) | bit(2) << 1 | bit(4) << 2 | bit(0) << 3):
                    pens += [p, p]
            elif mode == 1:
                pens = [bit(7 - k) | bit(3 - k) << 1 for k in range(4)]
            else:
                pens = [bit(7 - k) for k in range(8)]
            for p in pens:
                rgb += firmware_rgb(firmware[p])
    return ppm(640 if mode == 2 else 320, 200, rgb)


def cpc():
    s = bytes((i * 37 + i // 2048) & 0xFF for i in range(16384))
    write("retro_screen.cpc", s)
    write("ref/retro_cpc.png", cpc_ppm(s, 1, [1, 24, 20, 6, 26, 0, 2, 8, 10, 12, 14, 16, 18, 22, 0, 0]))
    # A header, the marker 0xF3, the palette (hardware numbers) and the mode.
    hardware = [20, 4, 21, 28, 24, 29, 12, 5, 13, 22, 6, 23, 30, 0, 31, 1]
    firmware = [FIRMWARE_TO_HARDWARE.index(h) if h != 1 else 13 for h in hardware]  # 1 shows the white of 0
    for mode in (0, 1, 2):
        f = bytearray(0x4110)
        f[128:128 + 16384] = s
        f[128 + 16384] = 0xF3
        f[0x40E8:0x40F8] = bytes(0x40 | h for h in hardware)
        f[0x4108] = mode
        write("retro_cpc_mode%d.cpc" % mode, bytes(f))
        write("ref/retro_cpc_mode%d.png" % mode, cpc_ppm(s, mode, firmware))


# ---- Calculators ----

def grob_pixel(x, y):
    return ((x * 3 + y * 5) % 7) < 3 or x == y


def grob_rows(w, h):
    return [[sum(1 << j for j in range(8) if k * 8 + j < w and grob_pixel(k * 8 + j, y)) for k in range((w + 7) // 8)]
            for y in range(h)]


def grob(w, h):
    """"HPHP48-E" and the object as nibbles, low nibble of each byte first."""
    nibbles = []
    def field(v):
        nibbles.extend((v >> (4 * k)) & 0xF for k in range(5))
    rows = grob_rows(w, h)
    for v in (0x02B1E, 2 * len(rows[0]) * h + 15, h, w):
        field(v)
    for b in sum(rows, []):
        nibbles += [b & 0xF, b >> 4]
    nibbles.append(0)
    return b"HPHP48-E" + bytes(nibbles[i] | nibbles[i + 1] << 4 for i in range(0, len(nibbles) - 1, 2))


def grob_text(w, h, data):
    return ("GROB %d %d " % (w, h) + "".join("%X%X" % (b & 0xF, b >> 4) for b in data)).encode()


def calculators():
    g = grob(131, 64)
    write("retro_grob.gro", g)
    write("retro_grob.gf2", g)
    rgb = bytearray()
    for y in range(64):
        for x in range(131):
            rgb += b"\x27\x25\x85" if grob_pixel(x, y) else b"\x6C\xA4\x5E"
    write("ref/retro_grob.png", ppm(131, 64, rgb))
    w, h = 19, 7
    pbm = "P1\n%d %d\n" % (w, h) + "\n".join(" ".join("1" if grob_pixel(x, y) else "0" for x in range(w)) for y in range(h))
    xbm = subprocess.run(["pbmtoxbm"], input=pbm.encode(), stdout=subprocess.PIPE, check=True).stdout
    write("retro_logo.xbm", xbm)
    write("ref/retro_logo.grb", grob_text(w, h, sum(grob_rows(w, h), [])))
    write("retro_byte.xbm", b"#define b_width 8\n#define b_height 1\nstatic char b_bits[] = {\n 0x1e };\n")
    write("ref/retro_byte.grb", b"GROB 8 1 E1")


def ti85(levels):
    """A TI-85 "GrayPic" program: three bit planes of the grey levels."""
    out = bytearray(3149)
    out[0:11] = b"**TI85**\x1a\x0c\x00"
    out[11:53] = b"8-Image Flash 32 Tavel Morquin           ."
    out[53:61] = struct.pack("<HHHBB", 3092, 11, 3077, 0x0C, 7)
    out[61:74] = b"GrayPic" + struct.pack("<HHBB", 3077, 3075, 0, 0x7F)
    for p, bit in enumerate((4, 2, 1)):
        for i, level in enumerate(levels):
            if level & bit:
                out[74 + p * 1024 + i // 8] |= 0x80 >> (i % 8)
    out[3147:3149] = struct.pack("<H", sum(out[55:3147]) & 0xFFFF)
    return bytes(out)


# ---- Oric ----

def oric():
    t = bytearray(b"\x40" * (22 + 8000))  # 0x40: a pattern with no pixel set
    def row(y):
        return 22 + y * 40
    t[row(0):row(0) + 40] = b"\x7F" * 40
    t[row(1):row(1) + 40] = b"\xFF" * 40
    t[row(2) + 5] = 0x11                  # paper red from column 5
    t[row(3) + 10] = 0x18                 # text: not in this file, striped
    t[row(3) + 20] = 0x1C                 # back to high resolution
    t[row(3) + 21] = 0x03                 # ink yellow
    t[row(3) + 22] = 0x7F
    t[row(3) + 23] = 0x80 | 0x40 | 0x15   # inverted pattern 010101
    write("retro_oric.tap", bytes(t))
    colour = lambda c: bytes([255 if c & 1 else 0, 255 if c & 2 else 0, 255 if c & 4 else 0])
    pic = [[0] * 240 for _ in range(200)]
    pic[0] = [7] * 240
    pic[2] = [0 if x < 30 else 1 for x in range(240)]
    for x in range(60, 120):
        pic[3][x] = [1, 3, 2, 6, 4, 5][x % 6]
    for x in range(132, 138):
        pic[3][x] = 3
    for k in range(6):
        pic[3][138 + k] = 4 if k % 2 else 7
    # the size and depth on one line, as the converter writes them
    write("ref/retro_oric.ppm", b"P6\n240 200 255\n" + b"".join(colour(c) for r in pic for c in r))


# ---- Atari ST ----

def st_pixels(body, planes, width, height):
    """Colour indexes of an interleaved-plane ST screen."""
    words = width // 16 * planes
    pix = []
    for y in range(height):
        line = body[y * words * 2:(y + 1) * words * 2]
        for x in range(width):
            g, bit = x // 16, 0x8000 >> (x % 16)
            pix.append(sum(1 << p for p in range(planes)
                           if struct.unpack(">H", line[(g * planes + p) * 2:(g * planes + p) * 2 + 2])[0] & bit))
    return pix


def st_ppm(palette, body, planes, width, height, reader=None, sample=None):
    """What the picture shows, ST levels 0..7 as 0..224; netpbm's reader of
    the format, where given, must see the same in the sample."""
    colours = [struct.unpack(">H", palette[i * 2:i * 2 + 2])[0] for i in range(16)]
    rgb = b"".join(bytes([(c >> 8 & 7) * 32, (c >> 4 & 7) * 32, (c & 7) * 32])
                   for c in (colours[i] for i in st_pixels(body, planes, width, height)))
    if reader:
        out = subprocess.run([reader, os.path.join(HERE, sample)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             check=True).stdout
        assert out.startswith(b"P6\n%d %d\n7\n" % (width, height)), reader
        assert bytes(v * 32 for v in out[-len(rgb):]) == rgb, reader + " reads another picture"
    return ppm(width, height, rgb)


def atari():
    palette = b"".join(struct.pack(">H", ((i % 8) << 8) | (((i // 2 + 3) % 8) << 4) | ((15 - i) % 8)) for i in range(16))
    body = bytearray()
    for y in range(200):
        for g in range(20):
            idx = [((g * 16 + k) // 7 + y // 5) % 16 for k in range(16)]
            for p in range(4):
                body += struct.pack(">H", sum(0x8000 >> k for k in range(16) if idx[k] >> p & 1))
    body = bytes(body)
    pi1 = struct.pack(">H", 0) + palette + body
    write("retro_picture.pi1", pi1)
    write("retro_picture.neo", bytes(4) + palette + bytes(92) + body)  # NEOchrome: palette at 4, body at 128
    write("ref/retro_picture.png", st_ppm(palette, body, 4, 320, 200, "pi1toppm", "retro_picture.pi1"))
    st_ppm(palette, body, 4, 320, 200, "neotoppm", "retro_picture.neo")
    write("retro_medium.pi2", struct.pack(">H", 1) + palette + body)
    write("ref/retro_medium.png", st_ppm(palette, body, 2, 640, 200))
    write("retro_high.pi3", struct.pack(">H", 2) + palette + body)
    write("ref/retro_high.png", st_ppm(palette, body, 1, 640, 400))
    write("retro_plain.pln", struct.pack(">H", 0) + palette + body)
    # Degas compressed: each line's planes packed one after another, then 32
    # bytes of animation data.
    packed = bytearray()
    for y in range(200):
        line = body[y * 160:(y + 1) * 160]
        for p in range(4):
            packed += byterun1(b"".join(line[(g * 4 + p) * 2:(g * 4 + p) * 2 + 2] for g in range(20)))
    write("retro_packed.pc1", struct.pack(">H", 0x8000) + palette + bytes(packed) + b"\x5A" * 32)
    write("retro_packed.pc3", struct.pack(">H", 0x8002) + palette + bytes(packed) + b"\x5A" * 32)
    write("retro_icon.icn", bytes([15, 0, 7, 0]) + bytes(range(64)))


if __name__ == "__main__":
    main()
