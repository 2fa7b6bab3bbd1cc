"""Checks of the HTML report for the browser test, with the standard library
only (no imaging package):

  check_page.py page PAGE.html            the page parses as XML (balanced
                                          tags) and refers to nothing outside
  check_page.py dom DOM.html ID...        the DOM Chromium built has every id
  check_page.py png SHOT.png WIDTH HEIGHT the screenshot has that size and is
                                          not blank (many colours, much ink)

Exit status 0 when the check passes, 1 with a message when it does not.
"""
import re
import struct
import sys
import xml.etree.ElementTree as ElementTree
import zlib


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def check_page(path):
    text = open(path, encoding="utf-8").read()
    try:
        root = ElementTree.fromstring(text.encode("utf-8"))
    except ElementTree.ParseError as error:
        fail("%s is not well-formed: %s" % (path, error))
    if root.tag != "html":
        fail("root element is <%s>, not <html>" % root.tag)
    if not text.startswith("<!DOCTYPE html>\n"):
        fail("page does not start with <!DOCTYPE html>")
    for banned in ("<script", "http:", "https:", "url(", "@import", "@font-face", " src=",
                   "xlink:href", "<link", "<iframe", "<img", " onload=", " onclick="):
        if banned in text:
            fail("page contains %r" % banned)
    if "@media print" not in text:
        fail("page has no print style")
    for href in re.findall(r'href="([^"]*)"', text):
        if not href.startswith("#"):
            fail("link outside the page: %s" % href)
    print("page: well-formed, %d bytes, %d svg plots" % (len(text), text.count("<svg ")))


def check_dom(path, ids):
    dom = open(path, encoding="utf-8", errors="replace").read()
    missing = [i for i in ids if not re.search(r'<section id="%s"' % re.escape(i), dom)]
    if missing:
        fail("sections missing from the rendered DOM: " + ", ".join(missing))
    print("dom: all %d sections present" % len(ids))


def read_png(path):
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        fail("%s is not a PNG file" % path)
    width, height, depth, colour_type, _, _, interlace = struct.unpack(">IIBBBBB", data[16:29])
    if depth != 8 or colour_type not in (2, 6) or interlace != 0:
        fail("unexpected PNG kind: depth %d, colour type %d, interlace %d"
             % (depth, colour_type, interlace))
    chunks, pos = [], 8
    while pos < len(data):
        (length,) = struct.unpack(">I", data[pos:pos + 4])
        if data[pos + 4:pos + 8] == b"IDAT":
            chunks.append(data[pos + 8:pos + 8 + length])
        pos += 12 + length
    raw = zlib.decompress(b"".join(chunks))
    bpp = 3 if colour_type == 2 else 4
    stride = width * bpp
    rows, prev = [], bytearray(stride)
    for y in range(height):
        start = y * (stride + 1)
        kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        if kind == 1:
            for x in range(bpp, stride):
                line[x] = (line[x] + line[x - bpp]) & 255
        elif kind == 2:
            line = bytearray((a + b) & 255 for a, b in zip(line, prev))
        elif kind == 3:
            for x in range(stride):
                left = line[x - bpp] if x >= bpp else 0
                line[x] = (line[x] + ((left + prev[x]) >> 1)) & 255
        elif kind == 4:
            for x in range(stride):
                a = line[x - bpp] if x >= bpp else 0
                b = prev[x]
                c = prev[x - bpp] if x >= bpp else 0
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[x] = (line[x] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        elif kind != 0:
            fail("bad PNG filter %d in row %d" % (kind, y))
        rows.append(bytes(line))
        prev = line
    return width, height, bpp, rows


def check_png(path, want_width, want_height):
    width, height, bpp, rows = read_png(path)
    if (width, height) != (want_width, want_height):
        fail("screenshot is %dx%d, expected %dx%d" % (width, height, want_width, want_height))
    colours, ink, total = set(), 0, 0
    for row in rows[::2]:
        for x in range(0, len(row), bpp * 2):
            pixel = row[x:x + 3]
            colours.add(pixel)
            total += 1
            ink += pixel != b"\xff\xff\xff"
    share = ink / total
    if len(colours) < 32 or share < 0.02:
        fail("screenshot looks blank: %d colours, %.1f%% not white" % (len(colours), 100 * share))
    print("png: %dx%d, %d colours, %.1f%% not white" % (width, height, len(colours), 100 * share))


def main(argv):
    if len(argv) >= 2 and argv[0] == "page":
        check_page(argv[1])
    elif len(argv) >= 2 and argv[0] == "dom":
        check_dom(argv[1], argv[2:])
    elif len(argv) == 4 and argv[0] == "png":
        check_png(argv[1], int(argv[2]), int(argv[3]))
    else:
        fail("usage: check_page.py page FILE | dom FILE ID... | png FILE WIDTH HEIGHT")


if __name__ == "__main__":
    main(sys.argv[1:])
