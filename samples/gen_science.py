#!/usr/bin/python3
"""Writes the astronomy and height-field samples next to this script.

Deterministic: the same files on every run. Run with /usr/bin/python3.
"""
import math
import os
import struct
from genlib import write

HERE = os.path.dirname(os.path.abspath(__file__))


def picture(w, h, base=20000, amp=6000):
    return [[int(base + amp * math.sin(x / 7.0) * math.cos(y / 5.0)) & 0xFFFF for x in range(w)] for y in range(h)]


def card(text):
    return text.ljust(80)


def sbig():
    w, h = 64, 48
    text = ("ST-7 Compressed Image\r\nFile_version = 3\r\nData_version = 1\r\nExposure = 1500\r\n"
            "Focal_length = 80\r\nAperture = 12.5\r\nResponse_factor = 1.0\r\nNote = Sample frame\r\n"
            "Background = 19000\r\nRange = 2000\r\nHeight = %d\r\nWidth = %d\r\nDate = 08/21/98\r\n"
            "Time = 22:15:30\r\nExposure_state = 17\r\nTemperature = -12.5\r\nNumber_exposures = 1\r\n"
            "Each_exposure = 1500\r\nHistory = 0\r\nObserver = Sample\r\nX_pixel_size = 0.009\r\n"
            "Y_pixel_size = 0.009\r\nPedestal = 100\r\nE_gain = 2.3\r\nSat_level = 65535\r\nEnd\r\n\x1a" % (h, w))
    data = bytearray(text.encode().ljust(2048, b"\0"))
    for row in picture(w, h):
        body = bytearray(struct.pack("<H", row[0]))
        for a, b in zip(row, row[1:]):
            d = b - a
            body += struct.pack("<b", d) if -127 <= d <= 127 else b"\x80" + struct.pack("<H", b)
        data += struct.pack("<H", len(body)) + body
    write("sample.st7", data)


def ftz():
    w, h, kk, eee = 64, 48, 6, 16
    bits = []
    prev = 0
    for row in picture(w, h):
        for p in row:
            d = (p - prev + 32768) % 65536 - 32768
            v = 2 * d if d >= 0 else -2 * d - 1
            q = v >> kk
            if q >= eee + 1:
                bits += [0] * (eee + 1) + [1] + [(p >> (15 - j)) & 1 for j in range(16)]
            else:
                bits += [0] * q + [1] + [(v >> (kk - 1 - j)) & 1 for j in range(kk)]
            prev = p
    bits += [0] * (-len(bits) % 8)
    stream = bytes(int("".join(map(str, bits[i:i + 8])), 2) for i in range(0, len(bits), 8))
    head = "".join([card("SIMPLE  =                    F"), card("BITPIX  =                   16"),
                    card("NAXIS   =                    2"), card("NAXIS1  = %20d" % w), card("NAXIS2  = %20d" % h),
                    card("COMPRESS= 'rice_%02d_%03d'" % (kk, eee)), card("END")]).ljust(2880)
    write("sample.ftz", head.encode() + stream)


def ibg():
    w, h = 64, 48
    head = "".join([card("SIMPLE  =                    T"), card("BITPIX  =                   16"),
                    card("NAXIS   =                    2"), card("NAXIS1  = %20d" % w), card("NAXIS2  = %20d" % h),
                    card("END")]).ljust(2880)
    write("sample.hdr", head.encode())
    data = b"".join(struct.pack(">%dh" % w, *[v - 32768 for v in row]) for row in picture(w, h))
    write("sample.ibg", data + b"\0" * (-len(data) % 2880))


def b16():
    w, h = 128, 100
    data = bytearray(b"PCO-" + bytes(8)) + struct.pack("<ii", w, h)
    data = data.ljust(128, b"\0")
    for row in picture(w, h, 2000, 1500):
        data += struct.pack("<%dH" % w, *row)
    write("sample.b16", data)


def pic():
    w, h = 64, 48
    head = bytearray(290)
    head[0:2] = b"\xfc\x31"
    head[68:72] = struct.pack("<HH", w, h)
    data = b"".join(struct.pack(">%dH" % w, *row) for row in picture(w, h, 3000, 2000))
    write("sample.pic", bytes(head) + data)


def height_field():
    rows, cols = 40, 60
    values = [[0.5 + 0.45 * math.sin(x / 6.0) * math.cos(y / 4.0) for x in range(cols)] for y in range(rows)]
    data = struct.pack("<5i", 10, rows, cols, 0, 5) + b"topo\0"
    for x in range(cols):
        for y in range(rows):
            data += struct.pack("<f", values[y][x])
    write("sample_topo.mat", data)


# --- Fixtures the science tests read (samples/science_*), with their references ---

def sbig_text(kind, w, h, extra="", date="11/15/98", time="23:30:10"):
    return ("%s\r\nFile_version = 3\r\nHeight = %d\r\nWidth = %d\r\nDate = %s\r\nTime = %s\r\nSat_level = 65535\r\n"
            "%sEnd\r\n\x1a" % (kind, h, w, date, time, extra))


def sbig_file(text, data):
    return text.encode("latin-1").ljust(2048, b"\0") + bytes(data)


def raw_rows(rows):
    return b"".join(struct.pack("<%dH" % len(r), *r) for r in rows)


def packed_rows(bodies):
    return b"".join(struct.pack("<H", len(b)) + bytes(b) for b in bodies)


def flat_packed(w, h, v):
    """A compressed picture of one value: each row its first value and w - 1 zero deltas."""
    return packed_rows([struct.pack("<H", v) + bytes(w - 1)] * h)


def sbig_fixtures(rows):
    extra = ("Note = first note\r\nExposure = 150\r\nEach_exposure = 25\r\nNumber_exposures = 6\r\n"
             "X_pixel_size = 0.009\r\nY_pixel_size = 0.0125\r\nReadout_mode = 1\r\nExposure_state = 255\r\n"
             "Temperature = -10.5\r\nResponse_factor = 1.0\r\nE_gain = 2.3\r\nFocal_length = 80\r\nAperture = 12.5\r\n"
             "Background = 10\r\nRange = 4000\r\nHistory = 0\r\nPedestal = -100\r\nTrack_time = 150\r\n")
    write("science_cards.st7", sbig_file(sbig_text("ST-7 Image", 2, 1, extra), raw_rows([[100, 200]])))
    # every kind of card, in order; DATE (the day of the conversion) is filled in by the test
    cards = [
        "SIMPLE  =                    T", "BITPIX  =                   16", "NAXIS   =                    2",
        "NAXIS1  =                    2", "NAXIS2  =                    1", "OBJECT  = 'Unknown '", "DATE    = TODAY",
        "DATE-OBS= '15/11/19'           / UT DATE OF START (ASSUMES PC CLOCK=UT)",
        "UT      = '23:30:10'           / UT TIME OF START (ASSUMES PC CLOCK=UT)",
        "ORIGIN  = 'PIXAM   '", "INSTRUME= 'SBIG ST-7 '", "TELESCOP= 'Unknown '", "OBSERVER= 'Unknown '",
        "BZERO   =      3.2768000000E04", "BSCALE  =      1.0000000000E00",
        "EXPTIME =     1.5000000000E+00 / EXPOSURE IN SECONDS", "SNAPSHOT=                    6 / NUMBER OF SNAPSHOT",
        "EACHSNAP=     2.5000000000E-01 / SNAPSHOT IN SECONDS", "PIXWIDTH=     9.0000000000E-03 / PIXEL WIDTH IN MM",
        "PIXHEIGH=     1.2500000000E-02 / PIXEL HEIGHT IN MM", "RESMODE =                    1 / RESOLUTION MODE",
        "EXPSTATE= 'FF      '           / EXPOSURE STATE (HEX)",
        "TEMPERAT=    -1.0500000000E+01 / TEMPERATURE IN DEGREES C",
        "RESPONSE=     1.0000000000E+00 / CCD RESPONSE FACTOR", "EPERADU =     2.3000000000E+00 / ELECTRONS PER ADU",
        "FOCALLEN=     8.0000000000E+01 / FOCAL LENGHT IN INCHES",
        "APERTURE=     1.2500000000E+01 / APERTURE AREA IN SQ-INCHES",
        "BACKGRND=                   10 / BACKGROUND FOR DISPLAY", "RANGE   =                 4000 / RANGE FOR DISPLAY",
        "HISTORY 0                     / IMAGE MODIFICATIONS", "PEDESTAL=                 -100 / PEDESTAL OFFSET",
        "TRAKTIME=     1.5000000000E+02 / TRACK PERIOD IN SECONDS", "SATURATE=                65535 / SATURATION LEVEL",
        "COMMENT first note", "COMMENT File created by the Pixamorph", "END"]
    write("ref/science_cards.txt", ("\n".join(cards) + "\n").encode())
    write("science_filter.st4", sbig_file(sbig_text("ST-4X Image", 2, 1, "Filter = Red band\r\n"), raw_rows([[1, 2]])))
    write("science_chunks.st7", sbig_file(sbig_text("ST-7 Image", 1, 1, "History =" + "X" * 100 + "\r\nNote = " + "a" * 65
                                                    + " b\r\n"), raw_rows([[7]])))
    write("science_param.st8", sbig_file(sbig_text("ST-8 Compressed Image", 1, 1), [2, 0, 200, 0]))
    write("science_param.txt", b"OBJECT  = 'M31'\nTELESCOP= 'C14'\r\n\n   \nOBSERVER= Jane\nSITE    = 'Backyard'\n"
                               b"BITPIX  = 8\nEXTRA card that has HISTORY inside\nAIRMASS =                  1.2\n")
    # dates and times rewritten through Julian days (the test adds the offsets)
    dates = [("11/15/98", "23:30:10"), ("02/28/96", "23:00:00"), ("02/28/97", "23:00:00"), ("12/31/99", "23:59:59"),
             ("03/01/97", "00:30:00"), ("07/04/05", "12:00:00"), ("01.02.03", "04-05-06")]
    for i, (d, t) in enumerate(dates):
        write("science_date%d.st7" % i, sbig_file(sbig_text("ST-7 Image", 1, 1, "", d, t), raw_rows([[7]])))
    # values around the offset of 100 and at both ends of the range, for sbigtopgm
    write("science_raw.st6", sbig_file(sbig_text("ST-6 Image", 7, 3), raw_rows(
        [[0, 1, 99, 100, 101, 355, 356], [65535, 65534, 32768, 32767, 1000, 25600, 25699],
         [7, 77, 777, 7777, 17777, 27777, 37777]])))
    # a raw row (2 x width bytes), absolute values each followed by a delta, a flat row
    write("science_packed.st5", sbig_file(sbig_text("ST-5 Compressed Image", 5, 3), packed_rows([
        raw_rows([[500, 99, 4000, 12, 65535]]), [0x34, 0x12, 5, 0x80, 0x10, 0x00, 0xFB, 0x80, 0xFF, 0xFF],
        [200, 0, 0, 0, 0, 0]])))
    # running deltas; a row of 2 x width bytes is raw; pixels past the width dropped; type name beats extension
    write("science_delta.st4", sbig_file(sbig_text("ST-7 Compressed Image", 6, 3), packed_rows([
        [0xE8, 0x03, 5, 5, 0xFD, 0x80, 0x34, 0x12, 1], [0x64, 0] + [1] * 10, [0x64, 0] + [1] * 7])))
    # the second row ends after one pixel
    write("science_short_raw.st7", sbig_file(sbig_text("ST-7 Image", 3, 2), raw_rows([[1000, 2000, 3000], [500]])))
    write("science_short_packed.st7", sbig_file(sbig_text("ST-7 Compressed Image", 3, 2), packed_rows([
        raw_rows([[1000, 2000, 3000]]), [0xF4, 0x01]])))
    # data inside one record (blank fill), over several (zero fill), exactly on a boundary (a zero record more)
    write("science_small.st7", sbig_file(sbig_text("ST-7 Image", 4, 3), raw_rows([[1234] * 4] * 3)))
    write("science_wide.st7", sbig_file(sbig_text("ST-7 Compressed Image", 50, 40), flat_packed(50, 40, 1234)))
    write("science_edge.st7", sbig_file(sbig_text("ST-7 Compressed Image", 360, 8), flat_packed(360, 8, 1234)))
    # headers that make no picture, or a short one
    write("science_nodate.st7", sbig_file("ST-7 Image\r\nHeight = 1\r\nWidth = 1\r\nTime = 10:00:00\r\n", [1, 0]))
    write("science_notime.st7", sbig_file("ST-7 Image\r\nHeight = 1\r\nWidth = 1\r\nDate = 01/01/90\r\n", [1, 0]))
    write("science_rowshort.st7", sbig_file(sbig_text("ST-7 Compressed Image", 2, 2), [4, 0, 1, 0, 2, 0, 9, 0, 1]))
    write("science_rowcount.st7", sbig_file(sbig_text("ST-7 Compressed Image", 1, 2), [2, 0, 1, 0, 9]))
    # sample.st7 patched: no width, width 0, no height, an unknown type name, a header cut short
    text = open(os.path.join(HERE, "sample.st7"), "rb").read()[:2048]
    width, height = text.index(b"Width = ") + 1, text.index(b"Height = ") + 1
    rows.append("sample.st7 bad.fts bad=%d:78 bad=%d:3030 bad=%d:78 bad=3:39 bad=cut:1000"
                % (width, width + 7, height))


def lcg_pixels(w, h, seed):
    """Small steps with now and then a jump that needs an escape."""
    out, s, v = [], seed, 30000
    for _ in range(w * h):
        s = (s * 1103515245 + 12345) & 0xFFFFFFFF
        step = (s >> 16) % 41 - 20
        if (s >> 8) % 29 == 0:
            step = (s >> 4) % 65536
        v = (v + step) & 0xFFFF
        out.append(v)
    return out


def bits_to_bytes(bits):
    bits = bits + "0" * (-len(bits) % 8)
    return bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8))


def rice_bits(pixels, kk, eee):
    bits, prev = [], 0
    for p in pixels:
        d = (p - prev + 32768) % 65536 - 32768
        v = 2 * d if d >= 0 else -2 * d - 1
        q = v >> kk
        if q >= eee + 1:
            bits.append("0" * (eee + 1) + "1" + format(p, "016b"))
        else:
            bits.append("0" * q + "1" + (format(v & ((1 << kk) - 1), "0%db" % kk) if kk else ""))
        prev = p
    return "".join(bits)


def fits_head(simple, w, h, compress=None):
    cards = [card("SIMPLE  =                    " + simple), card("BITPIX  =                   16"),
             card("NAXIS   =                    2"), card("NAXIS1  = %20d" % w), card("NAXIS2  = %20d" % h)]
    if compress is not None:
        cards.append(card("COMPRESS= " + compress))
    return ("".join(cards) + card("END")).ljust(2880).encode()


def ftz_expected(w, h, pixels):
    """Our FITS: SIMPLE = T, COMPRESS = 'none', words low byte first, zeros to a record past the data."""
    data = struct.pack("<%dH" % len(pixels), *pixels)
    return fits_head("T", w, h, "'none'") + data + bytes((len(data) // 2880 + 1) * 2880 - len(data))


def ftz_fixtures(rows):
    cases = [(2, 16, 17, 9), (0, 8, 5, 4), (4, 2, 31, 3), (16, 0, 3, 3), (3, 100, 64, 40), (3, 16, 40, 36)]
    for i, (kk, eee, w, h) in enumerate(cases):
        pixels = lcg_pixels(w, h, w * 7 + kk)
        name = "science_rice%d" % i
        write(name + ".ftz", fits_head("F", w, h, "'rice_%02d_%03d'" % (kk, eee)) + bits_to_bytes(rice_bits(pixels, kk, eee)))
        write("ref/%s.fts" % name, ftz_expected(w, h, pixels))
        rows.append("%s.ftz %s.fts same=ref/%s.fts" % (name, name, name))
    # bit streams written out by hand: (compress, bits, width, height, pixels)
    bit_cases = [("'rice_02_016'", "00110" "101", 2, 1, [5, 4]),  # q=2 r=2 is +5, q=0 r=1 is -1
                 ("'rice_02_001'", "001" "0001001000110100" "100" "101", 3, 1, [0x1234, 0x1234, 0x1233]),  # escape
                 ("'rice_00_016'", "0001" "1" "01", 3, 1, [0xFFFE, 0xFFFE, 0xFFFD]),  # KK = 0: no low bits
                 ("'rice_01_016'", "0000010" "000011", 1, 2, [5, 0])]  # the previous value carries across rows
    for i, (compress, bits, w, h, pixels) in enumerate(bit_cases):
        name = "science_bits%d" % i
        write(name + ".ftz", fits_head("F", w, h, compress) + bits_to_bytes(bits))
        write("ref/%s.fts" % name, ftz_expected(w, h, pixels))
        rows.append("%s.ftz %s.fts same=ref/%s.fts" % (name, name, name))
    # refused: SIMPLE = T, not rice, no END card, the bit stream ending early
    pixels = lcg_pixels(6, 4, 9)
    stream = bits_to_bytes(rice_bits(pixels, 2, 16))
    write("science_ftz_simple.ftz", fits_head("T", 6, 4, "'rice_02_016'") + stream)
    write("science_ftz_hcomp.ftz", fits_head("F", 6, 4, "'hcomp_02_016'") + stream)
    write("science_ftz_noend.ftz", card("SIMPLE  =                    F").ljust(5760).encode())
    write("science_ftz_cut.ftz", fits_head("F", 6, 4, "'rice_02_016'") + stream[:4])


def f32(v):
    return struct.unpack("<f", struct.pack("<f", v))[0]


def matlab(kind, rows, cols, column_major, name=b"topo"):
    data = struct.pack("<5i", kind, rows, cols, 0, len(name) + 1) + name + b"\0"
    return data + b"".join(struct.pack("<f" if (kind // 10) % 10 == 1 else "<d", v) for v in column_major)


def gif(name, w, h, indices):
    from PIL import Image
    im = Image.new("P", (w, h))
    im.putpalette([i // 3 for i in range(768)])
    im.putdata(indices)
    im.save(os.path.join(HERE, name), format="GIF", optimize=False)


def ramp_colour(k):
    """Our GIF palette: a near-grey ramp, the last entry black."""
    return (max(k - 2, 0), k, max(k - 3, 0)) if k < 255 else (0, 0, 0)


def height_fixtures(rows):
    # GIF indices / 255 to a Matlab matrix, column by column
    gif("science_field.gif", 3, 2, [0, 1, 2, 128, 254, 255])
    write("ref/science_field.mat", matlab(10, 2, 3, [i * 0.003921569 for i in (0, 128, 1, 254, 2, 255)]))
    rows.append("science_field.gif field.mat same=ref/science_field.mat")
    # float and double matrices to GIF: x 255, truncated, wrapped (2.0 to 254, -0.5 to 129)
    values = [0.0, 0.5, 0.25, 1.0 / 255, 0.75, 2.0, -0.5, 0.999]
    write("science_floats.mat", matlab(10, 2, 4, values))
    write("science_doubles.mat", matlab(0, 2, 4, values))
    heights = [f32(f32(values[2 * x + y]) * 255) for y in range(2) for x in range(4)]
    pixels = [ramp_colour(int(math.fmod(math.trunc(v), 256)) % 256) for v in heights]
    write("ref/science_floats.ppm", b"P6\n4 2\n255\n" + bytes(c for p in pixels for c in p))
    rows.append("science_floats.mat floats.gif decoder=giftopnm ref=ref/science_floats.ppm")
    rows.append("science_doubles.mat doubles.gif decoder=giftopnm ref=ref/science_floats.ppm")
    # every index through a matrix and back (the test reads the indices)
    gif("science_ramp.gif", 16, 16, list(range(256)))
    ramp = [(i * 16 + j) * 0.003921569 for j in range(16) for i in range(16)]
    write("ref/science_ramp.mat", matlab(10, 16, 16, ramp))
    write("science_ramp.mat", matlab(10, 16, 16, ramp))
    rows.append("science_ramp.gif ramp.mat same=ref/science_ramp.mat")
    # pot fields: the left half high bytes, the right half low bytes (no route to ".mat": tests/science compares)
    gif("science_pot.pot", 4, 1, [0x80, 0x40, 0x00, 0xFF])
    write("ref/science_pot.mat", matlab(10, 1, 2, [0x80 * 0.00390625, 0x40 * 0.00390625 + 0xFF * 1.5258789e-05]))
    write("science_half.mat", matlab(10, 1, 2, [0.5, 1.0]))
    gif("science_grey.gif", 2, 1, [255, 51])
    gif("science_odd.pot", 3, 1, [1, 2, 3])
    # sources recognised by content, whatever their extension
    gif("science_gif.mat", 2, 1, [10, 20])
    write("science_grey.mat", b"P2\n# c\n2 1\n10\n5 10\n")
    write("science_wide.mat", b"P5\n40000 1\n255\n\x01")
    write("science_header.mat", bytes(12))


def wrapper_fixtures(rows):
    write("science_b16wide.b16", bytes(12) + struct.pack("<ii", 1280, 1024) + b"\xaa" * 108 + struct.pack("<2H", 0x1234, 0xABCD))
    write("science_pic.pic", bytes([0xFC, 0x31]) + bytes(66) + struct.pack("<HH", 3, 2) + bytes(217) + b"\x01"
          + bytes(range(0x20, 0x2C)))


def pic_expected(src):
    """Nine cards (BITPIX one column late, two blank), then the file from offset 289 unchanged."""
    w, h = struct.unpack("<HH", src[68:72])
    cards = ["SIMPLE  =                    T", "BITPIX  =                    16", "NAXIS   =                    2",
             "NAXIS1  = %20d" % w, "NAXIS2  = %20d" % h, "", "", "HISTORY Created by Pixamorph", "END"]
    return "".join(card(c) for c in cards).ljust(2880).encode() + src[289:]


def main():
    sbig()
    ftz()
    ibg()
    b16()
    pic()
    height_field()
    rows = []
    sbig_fixtures(rows)
    rows[-1] = rows[-1].replace("sample.st7 bad.fts", "sample.st7 sbig.fts")
    ftz_fixtures(rows)
    height_fixtures(rows)
    wrapper_fixtures(rows)
    read = lambda name: open(os.path.join(HERE, name), "rb").read()
    write("ref/science_ibg.fts", read("sample.hdr") + read("sample.ibg"))
    for name in ("sample", "science_pic"):
        write("ref/%s_pic.fts" % name, pic_expected(read(name + ".pic")))
    # a topography matrix, and copies refused: big-endian, sparse, integers, no rows, data cut short
    topo = "sample_topo.mat topo.gif bad=0:F2030000 bad=0:0C000000 bad=0:14000000 bad=4:00000000 bad=cut:%d" % (
        len(read("sample_topo.mat")) - 4)
    rows = (rows + ["sample.ftz ftz.fts", "sample.ibg ibg.fts same=ref/science_ibg.fts", "sample.b16 b16.fts",
                    "sample.pic pic.fts same=ref/sample_pic.fts", "science_pic.pic pic.fts same=ref/science_pic_pic.fts",
                    topo])
    write("science.list", ("\n".join(rows) + "\n").encode())


if __name__ == "__main__":
    main()
