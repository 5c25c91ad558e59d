#!/usr/bin/env python3
"""fuzz-seeds: the fuzz targets' seed corpora (tests/fuzz/corpus), made from the project's own files.

Writes every seed anew (`make fuzz-seeds`); the same files give the same seeds.
- settings: settings records as the toy saves them (the defaults, a glider, every value at the
  edge of its range), a damaged one, a short one, an empty one and one with bytes past the end.
- rule: rule strings, as the toy builds them and as a person might type them.
- wave: assets/tune.wav cut down to its header and a little data, with its declared size kept
  (so the data is short), in the other sample widths and channel counts, and with bad formats.
- pattern: the pattern files of the tests' data (tests/data/patterns) and of the collection
  (patterns/), and a few more in each format and notation.
- atlas: the input format of fuzz_atlas (a 15-byte header, then RGBA pixels) holding parts of
  the images in gfx/, decoded here, cut as a font and as sprite sheets, and small patterns that
  repeat over large images.
"""
import os
import struct
import sys
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CORPUS = os.path.join(ROOT, "tests", "fuzz", "corpus")

# ----------------------------------------------------------------------------------------------
# Output
# ----------------------------------------------------------------------------------------------


def write_seeds(target, seeds):
    """Replace the target's seed directory with the given {name: bytes}."""
    folder = os.path.join(CORPUS, target)
    os.makedirs(folder, exist_ok=True)
    for old in os.listdir(folder):
        os.remove(os.path.join(folder, old))
    for name, data in seeds.items():
        with open(os.path.join(folder, name), "wb") as out:
            out.write(data)


# ----------------------------------------------------------------------------------------------
# settings: the 4172-byte record (src/game.h)
# ----------------------------------------------------------------------------------------------
GRID_SIDE = 64  # the record's grid is 64 x 64, column-major; the toy uses 48 x 30


def settings_record(births=(3,), survivals=(2, 3), border=0, freq=60, running=0, show_steps=1, fg=0, bg=0,
                    icon_cell=0, icon_grid=0, glow=0, pad=(0, 0, 0, 0), live=(), steps=0):
    bparams = bytearray(10)
    sparams = bytearray(10)
    for n in births:
        bparams[n] = 1
    for n in survivals:
        sparams[n] = 1
    cells = bytearray(GRID_SIDE * GRID_SIDE)
    for x, y in live:
        cells[x * GRID_SIDE + y] = 1
    values = struct.pack("<9i4i", border, freq, running, show_steps, fg, bg, icon_cell, icon_grid, glow, *pad)
    return bytes(bparams) + bytes(sparams) + values + bytes(cells) + struct.pack("<I", steps)


def settings_seeds():
    glider = ((1, 0), (2, 1), (0, 2), (1, 2), (2, 2))
    defaults = settings_record()
    running = settings_record(births=(3, 6), survivals=(2, 3), border=2, freq=1, running=1, show_steps=0, fg=7,
                              bg=8, icon_cell=15, icon_grid=15, glow=1, pad=(1, 2, 3, 4), live=glider, steps=12345)
    lowest = settings_record(births=(), survivals=(), border=1, freq=1, fg=0, bg=0, live=((47, 29), (0, 29)))
    everything = settings_record(births=range(9), survivals=range(9), border=2, freq=60, fg=7, bg=8, icon_cell=15,
                                 icon_grid=15, glow=1, steps=0xFFFFFFFF)
    damaged = bytearray(running)
    struct.pack_into("<9i", damaged, 20, 7, 0, -1, 2, -3, 99, 16, -5, 2)
    damaged[9] = 1  # the toggle byte that no neighbour count uses
    damaged[19] = 0xFF
    damaged[72 + 50 * GRID_SIDE + 40] = 0x80  # a byte outside the grid the toy uses
    damaged[72 + 3 * GRID_SIDE + 3] = 0xFF    # a cell byte other than 0 and 1
    return {
        "defaults.cfg": defaults,
        "glider-running.cfg": running,
        "lowest.cfg": lowest,
        "every-rule.cfg": everything,
        "damaged.cfg": bytes(damaged),
        "short.cfg": defaults[:30],
        "empty.cfg": b"",
        "long.cfg": running + b"trailing bytes",
    }


# ----------------------------------------------------------------------------------------------
# rule: rule strings (src/life.h)
# ----------------------------------------------------------------------------------------------
def rule_seeds():
    rules = [
        "b3s23w", "b36s23d", "bs", "b012345678s012345678l", "b3s23wf30r", "B3/S23", "B1357/S1357 live",
        "f100r", "f999", "f", "b9s9", "rule b2 s34 dead f5 r", "b33333333333s", "\x80b3\xffs2",
    ]
    return {"rule-%02d.txt" % i: rule.encode("latin-1") for i, rule in enumerate(rules)}


# ----------------------------------------------------------------------------------------------
# wave: WAV files (framework/core/wav-play.h)
# ----------------------------------------------------------------------------------------------
def wav_header(channels, rate, bits, data_size):
    frame = channels * bits // 8
    return (b"RIFF" + struct.pack("<I", 36 + data_size) + b"WAVEfmt " +
            struct.pack("<IHHIIHH", 16, 1, channels, rate, rate * frame, frame, bits) + b"data" +
            struct.pack("<I", data_size))


def wave_seeds():
    with open(os.path.join(ROOT, "assets", "tune.wav"), "rb") as f:
        tune = f.read()
    header, data = tune[:44], tune[44:]
    channels, rate, bits = struct.unpack_from("<HIxxxxxxH", header, 22)
    samples = struct.unpack_from("<%dh" % 256, data)
    eight_bit = bytes((s >> 8) + 128 for s in samples)
    stereo = b"".join(struct.pack("<hh", s, -s) for s in samples[:128])
    return {
        "tune-cut.wav": header + data[:512],
        "tune-header.wav": header,
        "tune-half-header.wav": header[:30],
        "tune-8bit.wav": wav_header(channels, rate, 8, len(eight_bit)) + eight_bit,
        "tune-stereo.wav": wav_header(2, rate, bits, len(stereo)) + stereo,
        "tune-24bit.wav": wav_header(1, rate, 24, 384) + data[:384],
        "tune-odd-size.wav": wav_header(channels, rate, bits, 301) + data[:301],
        "no-channels.wav": wav_header(0, rate, bits, 64) + data[:64],
        "not-riff.wav": b"RIFX" + tune[4:100],
    }


# ----------------------------------------------------------------------------------------------
# atlas: fuzz_atlas's inputs (tests/fuzz/fuzz_atlas.cpp)
# ----------------------------------------------------------------------------------------------
FLAG_FONT = 1
FLAG_ZERO_FILL = 16
IMAGE_SCALES = (16, 64, 256, 1024)  # the largest size each scale of a size field gives
PAGE_SCALES = (16, 64, 128, 256)


def size_field(value, scales):
    """The header field that gives `value` in the smallest scale that holds it."""
    scale = next(i for i, top in enumerate(scales) if value <= top)
    return scale << 14 | value


def atlas_input(font, border, w, h, page, tile_w, tile_h, total, pixels, zero_fill=False):
    flags = (FLAG_FONT if font else 0) | border << 1 | (FLAG_ZERO_FILL if zero_fill else 0)
    fields = [size_field(w, IMAGE_SCALES), size_field(h, IMAGE_SCALES), size_field(page, PAGE_SCALES),
              size_field(page, PAGE_SCALES), size_field(tile_w, IMAGE_SCALES), size_field(tile_h, IMAGE_SCALES)]
    return bytes([flags]) + struct.pack("<6Hh", *fields, total) + pixels


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    if pa <= pb and pa <= pc:
        return a
    return b if pb <= pc else c


def decode_png(path):
    """An 8-bit RGBA, non-interlaced PNG (as the project's writer makes them): (w, h, rows)."""
    with open(path, "rb") as f:
        png = f.read()
    at, idat, w, h = 8, b"", 0, 0
    while at < len(png):
        length, kind = struct.unpack_from(">I4s", png, at)
        body = png[at + 8:at + 8 + length]
        if kind == b"IHDR":
            w, h, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
            if (depth, colour, interlace) != (8, 6, 0):
                sys.exit("fuzz-seeds: %s is not 8-bit RGBA without interlace" % path)
        elif kind == b"IDAT":
            idat += body
        at += 12 + length
    raw = zlib.decompress(idat)
    stride = w * 4
    rows, previous = [], bytearray(stride)
    for y in range(h):
        kind = raw[y * (stride + 1)]
        line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            left = line[i - 4] if i >= 4 else 0
            up = previous[i]
            corner = previous[i - 4] if i >= 4 else 0
            predictor = (0, left, up, (left + up) // 2, paeth(left, up, corner))[kind]
            line[i] = (line[i] + predictor) & 0xFF
        rows.append(bytes(line))
        previous = line
    return w, h, rows


def crop(image, w, h):
    """The top-left w x h pixels of a decoded image."""
    return b"".join(row[:w * 4] for row in image[2][:h])


def atlas_seeds():
    gfx = os.path.join(ROOT, "gfx")
    font = decode_png(os.path.join(gfx, "font8x8.png"))
    icons = decode_png(os.path.join(gfx, "hollowtide.png"))
    logo = decode_png(os.path.join(gfx, "kobaltine.png"))
    marker, ink, clear = b"\xff\x00\xff\xff", b"\xff\xff\xff\xff", b"\x00\x00\x00\x00"
    # A 36 x 36 font sheet of 6 x 6 cells: a marker row and column, then a 5 x 5 striped glyph
    cell_rows = [marker * 6] + [marker + (ink if y % 2 else clear) * 5 for y in range(1, 6)]
    font_cells = b"".join(cell_rows[y % 6] * 6 for y in range(36))
    # An 8 x 8 sprite cell: a 3 x 3 dot off-centre on a transparent tile
    dot = b"".join((ink if 2 <= x <= 4 and 1 <= y <= 3 else clear) for y in range(8) for x in range(8))
    return {
        "font-64x48.bin": atlas_input(True, 1, 64, 48, 256, 0, 0, 0, crop(font, 64, 48)),
        "font-rows.bin": atlas_input(True, 2, 145, 27, 256, 0, 0, 0, crop(font, 145, 27)),
        "font-cells.bin": atlas_input(True, 1, 36, 36, 128, 0, 0, 0, font_cells),
        "icons-24.bin": atlas_input(False, 1, 64, 64, 128, 24, 24, 0, crop(icons, 64, 64)),
        "icons-extend.bin": atlas_input(False, 2, 64, 64, 256, 32, 16, 5, crop(icons, 64, 64)),
        "logo-wrap.bin": atlas_input(False, 3, 64, 64, 64, 64, 64, 0, crop(logo, 64, 64)),
        "dots-large.bin": atlas_input(False, 0, 1024, 256, 256, 8, 8, 0, dot),
        "dots-zero-fill.bin": atlas_input(False, 1, 40, 40, 64, 8, 8, -1, dot, zero_fill=True),
        "no-tile.bin": atlas_input(False, 1, 16, 16, 32, 0, 8, 0, dot),
    }


# ----------------------------------------------------------------------------------------------
# pattern: pattern files as they are, and a few more
# ----------------------------------------------------------------------------------------------


def pattern_seeds():
    seeds = {}
    for folder in (os.path.join(ROOT, "tests", "data", "patterns"), os.path.join(ROOT, "patterns")):
        if not os.path.isdir(folder):
            continue
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), "rb") as f:
                seeds[os.path.basename(folder) + "-" + name] = f.read()
    seeds.update({
        "rle-every-suffix.rle": b"x = 2, y = 2, rule = B36/S23:T20,10\n2o$2o!\n",
        "rle-sb-plane.rle": b"#N Block\n#O nobody\nx = 2, y = 2, rule = 23/3:P48,30\n2o$2o!\n",
        "rle-comments-after-header.rle": b"x = 3, y = 1\n#C between\n3o!\n",
        "rle-counts.rle": b"x = 47, y = 29\n47o28$47o!\n",
        "life106-wide.lif": b"#Life 1.06\n-23 -14\n24 15\n",
        "life105-rule.lif": b"#Life 1.05\n#D rule\n#R 23/36:T48,30\n#P -1 -1\n.*.\n..*\n***\n",
        "cells-blank-rows.cells": b"!Name: rows\nO\n\n\n.O\n\n\n",
    })
    return seeds


def main():
    write_seeds("settings", settings_seeds())
    write_seeds("rule", rule_seeds())
    write_seeds("wave", wave_seeds())
    write_seeds("atlas", atlas_seeds())
    write_seeds("pattern", pattern_seeds())


if __name__ == "__main__":
    main()
