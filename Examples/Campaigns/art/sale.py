"""The moving picture of the spring sale: a price tag swings from a blossoming branch while petals fall."""

import io
import math
import random

import cairo
from PIL import Image

from shapes import *

WIDTH, HEIGHT = 480, 300
FRAMES = 24
DELAY = 90  # milliseconds a frame
COLOURS = 63
UNCHANGED = COLOURS  # the palette index after the last colour
PETALS = 18
TURN = 2 * math.pi

PINK = "#F7A8A0"
PINK_LIGHT = "#FCD3CC"
BARK = "#7A5446"


def sky(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, "#FEF1EA")
    for radius, colour in ((178, "#FDE6DB"), (132, "#FCDACB"), (92, "#FBCDBA")):
        circle(context, 240, 178, radius)
        fill(context, colour)
    for level, swing, phase, colour in ((246, 10, 0.4, "#C9DAC2"), (264, 9, 2.6, "#A9C4AA"), (281, 7, 4.4, "#84AA8E")):
        context.move_to(0, HEIGHT)
        for x in range(0, WIDTH + 6, 6):
            context.line_to(x, level - swing * math.sin(phase + TURN * x / 330))
        context.line_to(WIDTH, HEIGHT)
        fill(context, colour)


def blossom(context, x, y, radius, turn, colour):
    context.save()
    context.translate(x, y)
    context.rotate(turn)
    deep = mix(colour, CORAL, 0.30)
    for _ in range(5):
        context.rotate(TURN / 5)
        context.move_to(0, 0)
        context.curve_to(-radius * 0.86, -radius * 0.34, -radius * 0.56, -radius * 1.10, -radius * 0.10, -radius * 1.02)
        context.line_to(0, -radius * 0.90)
        context.line_to(radius * 0.10, -radius * 1.02)
        context.curve_to(radius * 0.56, -radius * 1.10, radius * 0.86, -radius * 0.34, 0, 0)
        petal = context.copy_path()
        fill(context, colour)
        context.append_path(petal)
        stroke(context, mix(colour, CORAL, 0.22), 1)
        context.move_to(0, 0)
        context.curve_to(-radius * 0.2, -radius * 0.3, -radius * 0.08, -radius * 0.5, 0, -radius * 0.58)
        context.curve_to(radius * 0.08, -radius * 0.5, radius * 0.2, -radius * 0.3, 0, 0)
        fill(context, deep)
    for number in range(5):
        angle = TURN * (number + 0.5) / 5
        circle(context, radius * 0.34 * math.sin(angle), -radius * 0.34 * math.cos(angle), max(1.1, radius * 0.07))
        fill(context, GOLD)
    circle(context, 0, 0, radius * 0.17)
    fill(context, GOLD)
    context.restore()


def branch(context, sway):
    context.save()
    context.rotate(sway * 0.010)
    context.move_to(-10, 26)
    context.curve_to(110, 46, 190, 34, 330, 58)
    stroke(context, BARK, 9)
    context.move_to(300, 53)
    context.curve_to(350, 58, 384, 50, 424, 30)
    stroke(context, BARK, 5)
    context.move_to(86, 38)
    context.curve_to(110, 66, 128, 78, 142, 104)
    stroke(context, BARK, 4.5)
    context.move_to(352, 55)
    context.curve_to(378, 68, 392, 82, 400, 98)
    stroke(context, BARK, 4)
    for x, y, length, angle in ((60, 34, 30, -30), (180, 38, 28, 24), (416, 32, 26, 62), (140, 100, 26, 160), (398, 94, 24, 170)):
        leaf(context, x, y, length, length * 0.5, angle + 4 * sway, "#84AA8E")
    for x, y, radius, colour in (
        (24, 30, 19, PINK),
        (92, 30, 23, PINK_LIGHT),
        (128, 52, 18, PINK),
        (140, 104, 16, PINK_LIGHT),
        (206, 34, 17, PINK),
        (330, 52, 20, PINK_LIGHT),
        (372, 48, 16, PINK),
        (424, 28, 20, PINK),
        (402, 98, 15, PINK_LIGHT),
    ):
        blossom(context, x, y, radius, 0.12 * sway + x, colour)
    context.restore()


def tag(context, sway):
    context.save()
    context.translate(246, 46)
    context.rotate(0.13 * sway)
    context.move_to(0, 0)
    context.line_to(0, 62)
    stroke(context, BARK, 2)
    for inset, colour in ((0, CORAL), (6, None)):
        context.move_to(0, 52 + inset)
        context.line_to(56 - inset, 84 + inset * 0.6)
        context.line_to(56 - inset, 206 - inset)
        context.line_to(-56 + inset, 206 - inset)
        context.line_to(-56 + inset, 84 + inset * 0.6)
        context.close_path()
        if colour:
            path = context.copy_path()
            stroke(context, colour, 12)
            context.append_path(path)
            fill(context, colour)
            context.rectangle(-62, 190, 124, 22)
            context.save()
            context.clip()
            context.append_path(path)
            stroke(context, CORAL_DEEP, 12)
            context.append_path(path)
            fill(context, CORAL_DEEP)
            context.restore()
        else:
            stroke(context, "#F9C3B6", 1.6)
    circle(context, 0, 74, 7)
    fill(context, CREAM)
    context.select_font_face("WenQuanYi Micro Hei", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD)
    for text, size, baseline, colour in (("春日特惠", 20, 112, "#FBD3C6"), ("7折", 54, 168, WHITE), ("起", 17, 193, "#FBD3C6")):
        context.set_font_size(size)
        extents = context.text_extents(text)
        context.move_to(-extents.x_bearing - extents.width / 2, baseline)
        context.set_source_rgba(*rgba(colour))
        context.show_text(text)
    context.restore()


def petals(context, moment):
    """Each falls past once or twice a turn, so that the last frame leads into the first."""
    chance = random.Random(7)
    for _ in range(PETALS):
        start, offset, size = chance.random(), chance.random(), chance.uniform(6, 10)
        speed, sway, spin = chance.choice((1, 1, 2)), chance.uniform(12, 26), chance.choice((-1, 1))
        fall = (offset + speed * moment) % 1
        x = start * WIDTH + sway * math.sin(TURN * (fall + offset))
        y = -20 + fall * (HEIGHT + 40)
        context.save()
        context.translate(x, y)
        context.rotate(spin * TURN * (moment + offset))
        context.scale(1, 0.62 + 0.25 * math.sin(TURN * (speed * moment + start)))
        context.move_to(0, -size)
        context.curve_to(size * 1.1, -size * 0.7, size * 0.8, size * 0.8, 0, size)
        context.curve_to(-size * 0.8, size * 0.8, -size * 1.1, -size * 0.7, 0, -size)
        fill(context, chance.choice((PINK, PINK_LIGHT)))
        context.restore()


def frame(number):
    picture, context = surface(WIDTH, HEIGHT)
    moment = number / FRAMES
    sway = math.sin(TURN * moment)
    sky(context)
    petals(context, moment)
    tag(context, sway)
    branch(context, math.sin(TURN * moment + 0.6))
    encoded = io.BytesIO()
    picture.write_to_png(encoded)
    return Image.open(encoded).convert("RGB")


def without_repeats(frames):
    """The same frames with every pixel that the frame before shows already left transparent: they pack much better."""
    yield frames[0]
    for before, now in zip(frames, frames[1:]):
        kept = now.copy()
        kept.putdata([UNCHANGED if a == b else b for a, b in zip(before.getdata(), now.getdata())])
        yield kept


def draw(path):
    frames = [frame(number) for number in range(FRAMES)]
    palette = frames[FRAMES // 4].quantize(COLOURS, dither=Image.Dither.NONE)
    colours = palette.getpalette()[: 3 * COLOURS] + [255, 0, 255]
    palette.putpalette(colours)
    frames = [picture.quantize(palette=palette, dither=Image.Dither.NONE) for picture in frames]
    first, *rest = without_repeats(frames)
    first.save(path, save_all=True, append_images=rest, duration=DELAY, loop=0, disposal=1, transparency=UNCHANGED, optimize=False)
