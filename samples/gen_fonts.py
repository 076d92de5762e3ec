#!/usr/bin/python3
"""Writes the sample sources of the fonts and game-archive converters into
this folder: a BDF and a PSF font, DIV MAP pictures (plain 8-bit and
gzip-compressed 16-bit), and EA shape archives (plain and QFS-packed).
Deterministic: the same bytes on every run."""
import gzip
import io
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    with open(os.path.join(HERE, name), 'wb') as f:
        f.write(data)


def glyph_rows(code, w, h):
    """A made-up glyph: a frame with the code's bits drawn inside."""
    rows = []
    for y in range(h):
        row = 0
        for x in range(w):
            edge = x in (0, w - 1) or y in (0, h - 1)
            inner = 0 < x < w - 1 and 0 < y < h - 1 and (code >> ((x + y) % 8)) & 1
            if edge and (code % 3 or (x + y) % 2) or inner:
                row |= 1 << (w - 1 - x)
        rows.append(row)
    return rows


def bdf():
    w, h = 7, 10
    out = ['STARTFONT 2.1', 'FONT -sample-frames-medium-r-normal--10-100-75-75-c-70-iso8859-1',
           'SIZE 10 75 75', 'FONTBOUNDINGBOX %d %d 0 -2' % (w, h), 'CHARS 96']
    for code in range(32, 128):
        out += ['STARTCHAR c%d' % code, 'ENCODING %d' % code, 'SWIDTH 700 0', 'DWIDTH %d 0' % w,
                'BBX %d %d 0 -2' % (w, h), 'BITMAP']
        out += ['%02X' % (r << 1) for r in glyph_rows(code, w, h)]
        out.append('ENDCHAR')
    out.append('ENDFONT')
    write('frames.bdf', ('\n'.join(out) + '\n').encode())


def psf():
    count, w, h = 128, 8, 12
    head = struct.pack('<8I', 0x864AB572, 0, 32, 0, count, h, h, w)
    body = b''.join(bytes(glyph_rows(code, w, h)) for code in range(count))
    write('frames.psf', head + body)


def div_maps():
    w, h = 64, 48
    head = b'map\x1a\x0d\x0a\x00\x00' + struct.pack('<HHI', w, h, 0) + b'Sample sky'.ljust(32, b'\0')
    pal = b''.join(bytes([i // 4, (i * 3) % 64, 63 - i // 4]) for i in range(256)) + bytes(576)
    pts = struct.pack('<Hhh', 1, w // 2, h // 2)
    px = bytes(((x * 4) ^ (y * 5)) & 255 for y in range(h) for x in range(w))
    write('sky.map', head + pal + pts + px)

    head16 = b'm16\x1a\x0d\x0a\x00\x00' + struct.pack('<HHI', w, h, 0) + b'Sample rings'.ljust(32, b'\0')
    words = []
    for y in range(h):
        for x in range(w):
            d = ((x - 32) ** 2 + (y - 24) ** 2) // 16
            words.append(0 if d % 7 == 0 else ((d * 3) % 32) << 11 | ((x * 63) // w) << 5 | (y * 31) // h)
    data = head16 + struct.pack('<H', 0) + struct.pack('<%dH' % len(words), *words)
    buf = io.BytesIO()
    with gzip.GzipFile(fileobj=buf, mode='wb', mtime=0) as g:
        g.write(data)
    write('rings.map', buf.getvalue())


def block(code, nxt, w, h, p4=0):
    return bytes([code, nxt & 255, (nxt >> 8) & 255, nxt >> 16]) + struct.pack('<6h', w, h, 0, 0, 0, p4)


def shapes():
    w, h = 32, 24
    px8 = bytes((x // 4 + (y // 4) * 8) & 255 for y in range(h) for x in range(w))
    pal = b''.join(bytes([i * 4 & 255, 255 - i, (i * 9) & 255]) for i in range(256))
    obj0 = block(0x7B, 16 + len(px8), w, h) + px8 + block(0x24, 0, 256, 1) + pal
    px32 = b''.join(bytes([x * 8, y * 10, 128, (x + y) * 4]) for y in range(h) for x in range(w))
    obj1 = block(0x7D, 0, w, h) + px32
    px565 = b''.join(struct.pack('<H', (x & 31) << 11 | (y * 2) << 5 | 16) for y in range(h) for x in range(w))
    obj2 = block(0x78, 0, w, h) + px565
    objs = [(b'tile', obj0), (b'glow', obj1), (b'sand', obj2)]
    arch = b''
    off = 16 + 8 * len(objs)
    for name, body in objs:
        arch += name + struct.pack('<I', off)
        off += len(body)
    arch = b'SHPI' + struct.pack('<II', off, len(objs)) + b'G264' + arch + b''.join(b for _, b in objs)
    write('shapes.fsh', arch)
    write('shapes.qfs', qfs(arch))


def qfs(data):
    """RefPack: runs of a byte as copies at distance 1, the rest as literals."""
    out = bytearray([0x10, 0xFB, len(data) >> 16, (len(data) >> 8) & 255, len(data) & 255])
    i = lit = 0

    def flush(upto):
        nonlocal lit
        while upto - lit >= 4:
            n = min((upto - lit) & ~3, 112)
            out.append(0xE0 | (n - 4) // 4)
            out.extend(data[lit:lit + n])
            lit += n

    while i < len(data):
        run = 0
        while i > 0 and i + run < len(data) and run < 67 and data[i + run] == data[i - 1]:
            run += 1
        if run >= 4:
            flush(i)
            k = i - lit
            out.extend([0x80 | (run - 4), k << 6, 0])
            out.extend(data[lit:i])
            i += run
            lit = i
        else:
            i += 1
    flush(len(data))
    out.append(0xFC | (len(data) - lit))
    out.extend(data[lit:])
    return bytes(out)


if __name__ == '__main__':
    bdf()
    psf()
    div_maps()
    shapes()
