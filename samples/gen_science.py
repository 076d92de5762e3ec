#!/usr/bin/python3
"""Writes the astronomy and height-field samples next to this script.

Deterministic: the same files on every run. Run with /usr/bin/python3.
"""
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


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


if __name__ == "__main__":
    sbig()
    ftz()
    ibg()
    b16()
    pic()
    height_field()
