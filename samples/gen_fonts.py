#!/usr/bin/python3
"""Writes the sample sources of the fonts and game-archive converters into
this folder: BDF and PSF fonts (made up, and Debian's X11 and console fonts),
DIV MAP pictures (8-bit, 16-bit, gzip-compressed, animated), EA shape
archives (plain and QFS-packed, every pixel code, broken ones), the pictures
every output must show under ref/, and the list fonts.list.
Deterministic: the same bytes on every run."""
import gzip
import io
import os
import struct
import subprocess
import tempfile

from PIL import BdfFontFile
from genlib import write

HERE = os.path.dirname(os.path.abspath(__file__))


ROWS = []


def pnm(name, w, h, px, grey=False):
    """A reference picture: px holds (r, g, b) tuples, or 0/1 ink for a bitmap."""
    if grey is None:
        rows = [bytes(sum(px[y * w + x + i] << (7 - i) for i in range(8) if x + i < w) for x in range(0, w, 8))
                for y in range(h)]
        write('ref/' + name, b'P4\n%d %d\n' % (w, h) + b''.join(rows))
    elif grey:
        write('ref/' + name, b'P5\n%d %d\n255\n' % (w, h) + bytes(px))
    else:
        write('ref/' + name, b'P6\n%d %d\n255\n' % (w, h) + b''.join(bytes(p) for p in px))
    return 'ref/' + name


def row(*words):
    ROWS.append(' '.join(words))


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
           'SIZE 10 75 75', 'FONTBOUNDINGBOX %d %d 0 -2' % (w, h),
           'STARTPROPERTIES 2', 'FONT_ASCENT 8', 'FONT_DESCENT 2', 'ENDPROPERTIES', 'CHARS 96']
    for code in range(32, 128):
        out += ['STARTCHAR c%d' % code, 'ENCODING %d' % code, 'SWIDTH 700 0', 'DWIDTH %d 0' % w,
                'BBX %d %d 0 -2' % (w, h), 'BITMAP']
        out += ['%02X' % (r << 1) for r in glyph_rows(code, w, h)]
        out.append('ENDCHAR')
    out.append('ENDFONT')
    write('frames.bdf', ('\n'.join(out) + '\n').encode())
    row('frames.bdf', 'bdf.xbm', 'result=0', 'decoder=xbmtopbm', 'ref=' + bdf_sheet('frames.bdf', 'fonts_frames_bdf.pbm', w, h))
    # Debian's X11 fonts through pcf2bdf, printable ASCII kept (small files)
    for name, w, h in (('4x6-ISO8859-1', 4, 6), ('10x20-ISO8859-1', 10, 20)):
        with tempfile.TemporaryDirectory() as tmp:
            pcf = os.path.join(tmp, 'f.pcf')
            with open(pcf, 'wb') as f:
                f.write(gzip.decompress(open('/usr/share/fonts/X11/misc/%s.pcf.gz' % name, 'rb').read()))
            text = subprocess.run(['pcf2bdf', pcf], check=True, capture_output=True, text=True).stdout
        head, _, rest = text.partition('STARTCHAR')
        glyphs = [g for g in ('STARTCHAR' + rest).split('STARTCHAR')[1:]
                  if 33 <= int(g.split('ENCODING ')[1].split()[0]) <= 126]
        head = '\n'.join(l for l in head.splitlines() if not l.startswith(('COMMENT', 'CHARS'))) + '\nCHARS %d\n' % len(glyphs)
        src = 'fonts_%s.bdf' % name.split('-')[0]
        write(src, (head + ''.join('STARTCHAR' + g.replace('ENDFONT\n', '') for g in glyphs) + 'ENDFONT\n').encode())
        row(src, 'x11.xbm', 'result=0', 'decoder=xbmtopbm', 'ref=' + bdf_sheet(src, src.replace('.bdf', '.pbm'), w, h))


def bdf_sheet(src, ref, w, h):
    """The 32x8 sheet as PIL's BDF reader draws the glyphs: code c at its cell's top left."""
    font = BdfFontFile.BdfFontFile(open(os.path.join(HERE, src), 'rb'))
    ink = [0] * (32 * w * 8 * h)
    for code, g in enumerate(font.glyph):
        if g:
            for y in range(g[3].size[1]):
                for x in range(g[3].size[0]):
                    if g[3].getpixel((x, y)):
                        ink[(code // 32 * h + y) * 32 * w + code % 32 * w + x] = 1
    return pnm(ref, 32 * w, 8 * h, ink, None)


def psf_sheet(src, ref):
    """The sheet of a PSF font (version 1 or 2) as read here: 32 glyphs a row."""
    b = open(os.path.join(HERE, src), 'rb').read()
    if b[:2] == b'\x36\x04':
        count, size, h, w, start = 512 if b[2] & 1 else 256, b[3], b[3], 8, 4
    else:
        start, _, count, size, h, w = struct.unpack('<6I', b[8:32])
    rows = (count + 31) // 32
    ink = [0] * (32 * w * rows * h)
    for g in range(count):
        for y in range(h):
            for x in range(w):
                at = start + g * size + y * ((w + 7) // 8) + x // 8
                ink[(g // 32 * h + y) * 32 * w + g % 32 * w + x] = b[at] >> (7 - x % 8) & 1
    return pnm(ref, 32 * w, rows * h, ink, None)


def psf():
    count, w, h = 128, 8, 12
    head = struct.pack('<8I', 0x864AB572, 0, 32, 0, count, h, h, w)
    body = b''.join(bytes(glyph_rows(code, w, h)) for code in range(count))
    write('frames.psf', head + body)
    row('frames.psf', 'psf.xbm', 'decoder=xbmtopbm', 'ref=' + psf_sheet('frames.psf', 'fonts_frames_psf.pbm'))
    # Debian's console fonts: version 1 (8x8; 512 glyphs with a Unicode table),
    # version 2 (6 wide; 10 wide, two bytes a glyph row)
    for name in ('Uni2-VGA8', 'Arabic-Fixed15', 'Lat2-Terminus12x6', 'Lat2-Terminus20x10'):
        src = 'fonts_%s.psf' % name
        write(src, gzip.decompress(open('/usr/share/consolefonts/%s.psf.gz' % name, 'rb').read()))
        row(src, 'console.xbm', 'decoder=xbmtopbm', 'ref=' + psf_sheet(src, 'fonts_%s.pbm' % name))


def div_map(sixteen, w, h, desc, palette, pixels, frames=0, points=()):
    """A DIV MAP file; the 768-byte palette (0-63) is followed by 576 bytes of ramps."""
    b = (b'm16' if sixteen else b'map') + b'\x1a\x0d\x0a\x00\x00' + struct.pack('<HHI', w, h, 0x04030201)
    b += desc.ljust(32, b'\0') + (b'' if sixteen else palette + bytes(576))
    b += struct.pack('<H', len(points) | (0x1000 if frames else 0)) + b''.join(struct.pack('<hh', *p) for p in points)
    if frames:
        b += struct.pack('<6H', frames, 3, 100, 0, 1, 0)
    return b + pixels


def gz(data):
    buf = io.BytesIO()
    with gzip.GzipFile(fileobj=buf, mode='wb', mtime=0) as g:
        g.write(data)
    return buf.getvalue()


def rgb565(p):
    """A 16-bit pixel as written: channels shifted up (not replicated), 0 transparent."""
    return (0, 0, 0) if p == 0 else ((p >> 11) << 3, ((p >> 5) & 63) << 2, (p & 31) << 3)


def div_maps():
    # 8-bit: palette values 0-63 times four (63 is 252); plain, gzipped and
    # animated (the first frame only)
    w, h = 64, 48
    pal = b''.join(bytes([i // 4, (i * 3) % 64, 63 - i // 4]) for i in range(256))
    px = bytes(((x * 4) ^ (y * 5)) & 255 for y in range(h) for x in range(w))
    ref = pnm('fonts_sky.ppm', w, h, [tuple(4 * pal[3 * v + c] for c in range(3)) for v in px])
    sky = div_map(False, w, h, b'Sample sky', pal, px, points=[(w // 2, h // 2)])
    write('sky.map', sky)
    bad = 'bad=1:78 bad=cut:%d bad=cut:20' % (len(sky) - 1)
    for name, data in (('sky.map', None), ('fonts_sky_gz.map', gz(sky)),
                       ('fonts_sky_anim.map', div_map(False, w, h, b'Sample sky', pal, px + bytes([0xEE]) * len(px), 2))):
        if data:
            write(name, data)
        row(name, 'sky.png', 'decoder=pngtopnm', 'ref=' + ref, 'result=1', bad if name == 'sky.map' else '')

    # 16-bit, gzipped: RGB 5:6:5, 0 transparent
    words = []
    for y in range(h):
        for x in range(w):
            d = ((x - 32) ** 2 + (y - 24) ** 2) // 16
            words.append(0 if d % 7 == 0 else ((d * 3) % 32) << 11 | ((x * 63) // w) << 5 | (y * 31) // h)
    write('rings.map', gz(div_map(True, w, h, b'Sample rings', b'', struct.pack('<%dH' % len(words), *words))))
    row('rings.map', 'rings.png', 'decoder=pngtopnm', 'ref=' + pnm('fonts_rings.ppm', w, h, [rgb565(p) for p in words]), 'result=1')
    pnm('fonts_rings_alpha.pgm', w, h, [255 if p else 0 for p in words], True)

    # 16-bit animated: rows at a stride of width x frames (pieces 0 and 2 of 4);
    # a picture 8193 wide is refused even with all its pixels there
    rows = [[0xF800, 0x0000, 0xFFFF, 0x07E0], [0x001F, 0x1234, 0x8410, 0x0001]]
    data = b''.join(struct.pack('<4H', *(rows[k // 2] if k % 2 == 0 else [0x5555] * 4)) for k in range(4))
    write('fonts_stride.map', div_map(True, 4, 2, b'', b'', data, 2))
    row('fonts_stride.map', 'stride.png', 'decoder=pngtopnm', 'ref=' + pnm('fonts_stride.ppm', 4, 2, [rgb565(p) for p in rows[0] + rows[1]]),
        'result=1')
    write('fonts_wide.map', div_map(True, 8193, 1, b'', b'', bytes([1]) * 8193 * 2))
    row('fonts_wide.map', 'wide.png', 'result=0')


def block(code, nxt, w, h, p4=0, place=(0, 0, 0)):
    return bytes([code, nxt & 255, (nxt >> 8) & 255, nxt >> 16]) + struct.pack('<6h', w, h, *place, p4)


def archive(objs, gap=0):
    """SHPI: size, count, "G264", a directory of names and offsets, gap bytes, the objects."""
    dir_, off = b'', 16 + 8 * len(objs) + gap
    for name, body in objs:
        dir_ += name + struct.pack('<I', off)
        off += len(body)
    return b'SHPI' + struct.pack('<II', off, len(objs)) + b'G264' + dir_ + bytes(0xA0 + i for i in range(gap)) + \
        b''.join(b for _, b in objs)


def shapes():
    w, h = 32, 24
    px8 = bytes((x // 4 + (y // 4) * 8) & 255 for y in range(h) for x in range(w))
    pal = b''.join(bytes([i * 4 & 255, 255 - i, (i * 9) & 255]) for i in range(256))
    obj0 = block(0x7B, 16 + len(px8), w, h) + px8 + block(0x24, 0, 256, 1) + pal
    px32 = b''.join(bytes([x * 8, y * 10, 128, (x + y) * 4]) for y in range(h) for x in range(w))
    obj1 = block(0x7D, 0, w, h) + px32
    px565 = b''.join(struct.pack('<H', (x & 31) << 11 | (y * 2) << 5 | 16) for y in range(h) for x in range(w))
    obj2 = block(0x78, 0, w, h) + px565
    arch = archive([(b'tile', obj0), (b'glow', obj1), (b'sand', obj2)])
    write('shapes.fsh', arch)
    write('shapes.qfs', refpack(arch))
    row('shapes.fsh', 'shapes.bmp')
    row('shapes.qfs', 'packed.bmp')


def pixels(obj, w, h, bpp):
    return bytes((obj * 37 + x * 11 + y * 53 + k * 101) & 255 for y in range(h) for x in range(w) for k in range(bpp))


def wide(v, bits):
    """A 5- or 6-bit channel widened by bit replication."""
    return (v << (8 - bits) | v >> (2 * bits - 8)) & 255


def decode(code, p):
    """What a true-colour pixel shows: (r, g, b, alpha)."""
    v = p[0] | (p[1] << 8 if len(p) > 1 else 0)
    if code == 0x7D:
        return p[2], p[1], p[0], p[3]
    if code == 0x7F:
        return p[2], p[1], p[0], 255
    if code == 0x7E:
        return wide(v >> 10 & 31, 5), wide(v >> 5 & 31, 5), wide(v & 31, 5), 255 if v & 0x8000 else 0
    if code == 0x78:
        return wide(v >> 11, 5), wide(v >> 5 & 63, 6), wide(v & 31, 5), 255
    return (v >> 8 & 15) * 17, (v >> 4 & 15) * 17, (v & 15) * 17, (v >> 12) * 17


def pad16(b):
    return b + bytes(-(len(b) - 16) % 16)


def shape_objects():
    """Eleven objects: every pixel code, palettes local and global, attached
    blocks, mipmaps, text, a QFS-packed bitmap; the pictures each BMP shows."""
    P = (1, -2, 3)
    objs, want = [], {}
    # 0: 8-bit 4x3, an attached 32-bit palette (alpha in its top bytes), a gap,
    # an attached text and a data block
    local = [(i, 255 - i, i * 3 & 255, i // 2) for i in range(256)]
    px = pixels(0, 4, 3, 1)
    b = block(0x7B, 16 + 12, 4, 3, 0, P) + px + block(0x2A, 16 + 4 * 256 + 4, 256, 1, 0, P)
    b += b''.join(bytes([c[2], c[1], c[0], c[3]]) for c in local) + b'\xee' * 4
    b += bytes([0x6F, 16, 0, 0, 5, 0, 0, 0]) + b'hi %!\0\0\0' + bytes([0x7C, 0, 0, 0, 1, 2, 3, 4, 5, 6])
    objs.append((b'loc8', b))
    want['0000'] = (4, 3, [local[v][:3] for v in px])
    # 1: the global palette, 16-bit 1:5:5:5 (shifted by 3, not replicated)
    entries = [(i * 131) & 0xFFFF | (0x8000 if i % 2 else 0) for i in range(256)]
    glob = [((e >> 10 & 31) << 3, (e >> 5 & 31) << 3, (e & 31) << 3) for e in entries]
    objs.append((b'!pal', block(0x2D, 0, 256, 1, 0, P) + struct.pack('<256H', *entries)))
    # 2: 8-bit 5x2 without its own palette
    px = pixels(2, 5, 2, 1)
    objs.append((b'glob', block(0x7B, 0, 5, 2, 0, P) + px))
    want['0002'] = (5, 2, [glob[v] for v in px])
    # 3..7: the true-colour codes; 4 and 5 share a name; alpha BMPs for 7D, 7E, 6D
    for obj, (code, bpp, name) in enumerate(((0x7D, 4, b'rgba'), (0x7F, 3, b'dup '), (0x7E, 2, b'dup '),
                                              (0x78, 2, b'0565'), (0x6D, 2, b'4444')), 3):
        px = pixels(obj, 3, 2, bpp)
        objs.append((name, block(code, 0, 3, 2, 0, P) + px))
        shown = [decode(code, px[i:i + bpp]) for i in range(0, len(px), bpp)]
        want['%04d' % obj] = (3, 2, [c[:3] for c in shown])
        if code in (0x7D, 0x7E, 0x6D):
            want['%04d-a' % obj] = (3, 2, [(c[3],) * 3 for c in shown])
    # 8: 8-bit 4x4 with two more mipmap levels (4, 2, 1) on 16-byte boundaries
    b = block(0x7B, 0, 4, 4, 0x2000, P)
    for level, side in enumerate((4, 2, 1)):
        px = pixels(80 + level, side, side, 1)
        b = pad16(b) + px
        want['0008-%d' % level] = (side, side, [glob[v] for v in px])
    objs.append((b'mip8', pad16(b)))
    # 9: a text object, written as it is
    objs.append((b'TXT ', bytes([0x6F, 0, 0, 0, 4, 0, 0, 0]) + b'ABCD'))
    # 10: a QFS-packed 8-bit bitmap (global palette)
    px = bytearray(pixels(10, 6, 4, 1))
    px[6:18] = bytes([7]) * 12
    objs.append((b'cmp8', block(0xFB, 0, 6, 4, 0, P) + refpack(bytes(px))))
    want['0010'] = (6, 4, [glob[v] for v in px])
    return archive(objs, 6), want


def shape_archives():
    arch, want = shape_objects()
    one = block(0x7F, 0, 1, 1, 0, (1, -2, 3)) + bytes([1, 2, 3])
    good = pnm('fonts_shape_one.ppm', 1, 1, [(3, 2, 1)])
    for src, data, bad in (('fonts_shapes.fsh', arch, ' bad=cut:3 bad=0:78787878 bad=8:FFFF'),
                           ('fonts_shapes.qfs', refpack(arch, True), ''),
                           ('fonts_packed.fsh', refpack(arch, True), '')):
        write(src, data)
        for n, (w, h, px) in sorted(want.items()):
            ref = pnm('fonts_shape_%s.%s' % (n, 'pgm' if n.endswith('-a') else 'ppm'), w, h,
                      [p[0] for p in px] if n.endswith('-a') else px, n.endswith('-a'))
            row(src, 'all.bmp', 'decoder=bmptopnm', 'ref=' + ref, 'file=all_%s.BMP' % n, 'result=14' + bad)
            bad = ''
    # 64x64 with six more levels (64 to 1), right after the directory
    b = block(0x7F, 0, 64, 64, 0x6000, (1, -2, 3))
    for level in range(7):
        side = 64 >> level
        px = pixels(side, side, side, 3)
        b = pad16(b) + px
        ref = pnm('fonts_mips_%d.ppm' % level, side, side, [(px[i + 2], px[i + 1], px[i]) for i in range(0, len(px), 3)])
        row('fonts_mips.fsh', 'mips.bmp', 'decoder=bmptopnm', 'ref=' + ref, 'file=mips_0000-%d.BMP' % level, 'result=7')
    write('fonts_mips.fsh', archive([(b'mips', pad16(b))]))
    # 24-bit 3x2: BMP rows bottom first, each padded to four bytes
    px = pixels(1, 3, 2, 3)
    write('fonts_pad3.fsh', archive([(b'pad3', block(0x7F, 0, 3, 2, 0, (1, -2, 3)) + px)]))
    bmp = b'BM' + struct.pack('<IHHI', 54 + 24, 0, 0, 54) + struct.pack('<IiiHHIIiiII', 40, 3, 2, 1, 24, 0, 24, 0, 0, 0, 0)
    write('ref/fonts_pad3.bmp', bmp + px[9:] + bytes(3) + px[:9] + bytes(3))
    row('fonts_pad3.fsh', 'pad3.bmp', 'same=ref/fonts_pad3.bmp', 'file=pad3_0000.BMP', 'result=1')
    # broken: a bitmap claiming more pixels than its object holds; attached
    # data over 16 KB; a QFS stream cut short
    write('fonts_overrun.fsh', archive([(b'good', one), (b'big ', block(0x7F, 0, 100, 100, 0, (1, -2, 3)))]))
    row('fonts_overrun.fsh', 'overrun.bmp', 'decoder=bmptopnm', 'ref=' + good, 'file=overrun_0000.BMP', 'result=1')
    huge = block(0x7B, 17, 1, 1, 0, (1, -2, 3)) + bytes([0, 0x7C, 0, 0, 0]) + bytes([1]) * 16400
    write('fonts_bigdata.fsh', archive([(b'good', one), (b'huge', huge)]))
    row('fonts_bigdata.fsh', 'bigdata.bmp', 'decoder=bmptopnm', 'ref=' + good, 'file=bigdata_0000.BMP', 'result=2')
    write('fonts_cut.qfs', bytes([0x10, 0xFB, 0, 1, 0, 0xE0]) + b'SHPI')
    row('fonts_cut.qfs', 'cut.bmp', 'result=0')


def refpack(data, extra=False):
    """RefPack, greedy longest match (nearest first), every command form:
    literals in fours, copies of 2, 3 and 4 bytes, the closing literals."""
    n = len(data)
    out = bytearray([0x11 if extra else 0x10, 0xFB]) + n.to_bytes(3, 'big') + (bytes(3) if extra else b'')
    seen, added, lit, i = {}, 0, 0, 0

    def literals(upto):
        nonlocal lit
        while upto - lit >= 4:
            k = min((upto - lit) & ~3, 112)
            out.append(0xE0 | (k - 4) // 4)
            out.extend(data[lit:lit + k])
            lit += k

    while i < n:
        while added < i:
            seen.setdefault(data[added:added + 3], []).append(added)
            added += 1
        best = dist = 0
        for j in reversed(seen.get(data[i:i + 3], []) if i + 3 <= n else []):
            if i - j > 131072:
                break
            k = 0
            while i + k < n and k < 1028 and data[i + k] == data[j + k]:
                k += 1
            if k > best:
                best, dist = k, i - j
        fit2, fit3, fit4 = best >= 3 and dist <= 1024, best >= 4 and dist <= 16384, best >= 5
        if not (fit2 or fit3 or fit4):
            i += 1
            continue
        literals(i)
        k, d = i - lit, dist - 1
        if fit2 and (best <= 10 or not (fit3 or fit4)):
            best = min(best, 10)
            out.extend([(d >> 3 & 0x60) | (best - 3) << 2 | k, d & 255])
        elif fit3 and (best <= 67 or not fit4):
            best = min(best, 67)
            out.extend([0x80 | (best - 4), k << 6 | d >> 8, d & 255])
        else:
            out.extend([0xC0 | (d >> 16 & 1) << 4 | ((best - 5) >> 8) << 2 | k, d >> 8 & 255, d & 255, (best - 5) & 255])
        out.extend(data[lit:i])
        i += best
        lit = i
    literals(n)
    out.append(0xFC | (n - lit))
    out.extend(data[lit:])
    return bytes(out)


if __name__ == '__main__':
    bdf()
    psf()
    div_maps()
    shapes()
    shape_archives()
    with open(os.path.join(HERE, 'fonts.list'), 'w') as f:
        f.write(''.join(' '.join(r.split()) + '\n' for r in ROWS))
