"""What the sample generators share: where the samples go, and the small
encoders more than one format needs. (Not a generator: `generate` runs the
gen_*.py files, which import this.)"""
import io
import os
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    """A sample, or ref/<name>, beside the generators."""
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def encode(im, fmt, **kw):
    """A Pillow picture as the bytes of a file in fmt."""
    buf = io.BytesIO()
    im.save(buf, fmt, **kw)
    return buf.getvalue()


def run(cmd, data=None):
    """A tool's standard output; it must succeed."""
    return subprocess.run(cmd, input=data, stdout=subprocess.PIPE, check=True).stdout


def byterun1(data, repeat=lambda n: 257 - n):
    """Runs of 3 to 128 equal bytes as (repeat(n), byte), everything else as
    literals of up to 128 bytes (count - 1 first): ILBM ByteRun1 and Degas
    PackBits as they stand; CFA codes its runs as 127 + n."""
    out, i = bytearray(), 0
    while i < len(data):
        n = 1
        while i + n < len(data) and n < 128 and data[i + n] == data[i]:
            n += 1
        if n >= 3:
            out += bytes([repeat(n), data[i]])
            i += n
            continue
        j = i
        while j < len(data) and j - i < 128 and not (j + 2 < len(data) and data[j] == data[j + 1] == data[j + 2]):
            j += 1
        out += bytes([j - i - 1]) + data[i:j]
        i = j
    return bytes(out)
