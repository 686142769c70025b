"""The smaller pictures of the campaigns: things in a basket, faces to answer with, pictograms of an update, and a ticket."""

import math

import cairo

import welcome
from pictograms import disc
from shapes import *


def thumbnail(path, thing, middle, ground, scale, top, bottom):
    """One thing of the welcome picture on a coloured ground; `middle` and `ground` are where it stands there."""
    picture, context = surface(144, 144)
    context.rectangle(0, 0, 144, 144)
    fill(context, linear(0, 0, 0, 144, (0, top), (1, bottom)))
    context.translate(72 - middle * scale, 118 - ground * scale)
    context.scale(scale, scale)
    thing(context)
    picture.write_to_png(str(path))


def face(path, mood, colour):
    """A face whose mouth goes from -1 (down) to 1 (up)."""
    picture, context = surface(96, 96)
    circle(context, 48, 48, 46)
    fill(context, linear(0, 0, 0, 96, (0, mix(colour, WHITE, 0.62)), (1, mix(colour, WHITE, 0.40))))
    deep = mix(colour, INK, 0.55)
    for x in (33, 63):
        ellipse(context, x, 40, 4.2, 5.4)
        fill(context, deep)
    bend = 13 * mood
    if mood > 0.9:  # open
        context.move_to(30, 55)
        context.curve_to(34, 82, 62, 82, 66, 55)
        context.close_path()
        fill(context, deep)
    else:
        context.move_to(33, 64 - bend / 2)
        context.curve_to(40, 64 + bend / 2, 56, 64 + bend / 2, 63, 64 - bend / 2)
        stroke(context, deep, 5)
    picture.write_to_png(str(path))


def heart(path):
    """A list of things wished for."""
    picture, context = disc(112)
    context.move_to(56, 84)
    context.curve_to(20, 60, 26, 32, 42, 32)
    context.curve_to(50, 32, 54, 38, 56, 42)
    context.curve_to(58, 38, 62, 32, 70, 32)
    context.curve_to(86, 32, 92, 60, 56, 84)
    fill(context, linear(0, 32, 0, 84, (0, "#F28A74"), (1, "#DD5641")))
    context.move_to(38, 46)
    context.curve_to(38, 41, 41, 39, 44, 39)
    stroke(context, WHITE, 3.4, 0.75)
    picture.write_to_png(str(path))


def moon(path):
    """The evening's look of the shop."""
    picture, context = disc(112, "#E6EAF2", "#C6CFE0")
    context.push_group()
    circle(context, 56, 56, 27)
    fill(context, linear(30, 30, 82, 82, (0, "#47597A"), (1, "#22303C")))
    context.set_operator(cairo.OPERATOR_CLEAR)
    circle(context, 68, 47, 23)
    context.fill()
    context.set_operator(cairo.OPERATOR_OVER)
    context.pop_group_to_source()
    context.paint()
    for x, y, radius in ((72, 40, 3.2), (80, 55, 2.2), (66, 58, 1.8)):
        circle(context, x, y, radius)
        fill(context, GOLD)
    picture.write_to_png(str(path))


def pin(path):
    """A parcel that can be followed."""
    picture, context = disc(112, "#E9F1E6", "#CBDDCB")
    ellipse(context, 56, 86, 16, 4)
    fill(context, FOREST, 0.22)
    context.move_to(56, 86)
    context.curve_to(50, 70, 36, 62, 36, 47)
    context.arc(56, 47, 20, math.pi, 2 * math.pi)
    context.curve_to(76, 62, 62, 70, 56, 86)
    fill(context, linear(0, 27, 0, 86, (0, "#5C9A83"), (1, "#2F5D50")))
    circle(context, 56, 47, 8.5)
    fill(context, "#F4FAF4")
    picture.write_to_png(str(path))


def ticket(path):
    """A ticket to tear off: a coloured part above a white one, with a notch on either side and a perforation between."""
    leaves = (
        (26, 440, 170, 16),
        (82, 446, 140, 44),
        (-14, 384, 130, 66),
        (604, 440, 180, -18),
        (550, 446, 140, -46),
        (640, 372, 130, -70),
    )
    width, height, edge, radius, notch = 622, 852, 392, 40, 26
    picture, context = surface(width, height)
    rounded(context, 0, 0, width, height, radius)
    context.clip()
    context.rectangle(0, 0, width, edge)
    fill(context, linear(0, 0, width, edge, (0, "#F0775F"), (0.6, "#E2553F"), (1, "#CC432E")))
    for number, (x, y, length, angle) in enumerate(leaves):
        leaf(context, x, y, length, length * 0.36, angle, mix("#D94C37", "#F6A48F", 0.16 * (number % 3)))
    circle(context, 311, 120, 300)
    fill(context, radial(311, 120, 300, (0, WHITE, 0.20), (1, WHITE, 0)))
    context.rectangle(0, edge, width, height - edge)
    fill(context, "#FFFFFF")
    context.set_dash([2, 15])
    context.move_to(notch + 16, edge)
    context.line_to(width - notch - 16, edge)
    stroke(context, "#E7B9AC", 5)
    context.set_dash([])
    context.set_operator(cairo.OPERATOR_CLEAR)
    for x in (0, width):
        circle(context, x, edge, notch)
        context.fill()
    context.set_operator(cairo.OPERATOR_OVER)
    picture.write_to_png(str(path))


def draw(folder):
    thumbnail(folder / "basket-mug.png", welcome.mug, 352, 374, 0.86, "#FDEBDD", "#F8D3BC")
    thumbnail(folder / "basket-vase.png", welcome.vase, 150, 418, 0.28, "#F4EFE8", "#E3D8CB")
    thumbnail(folder / "basket-plant.png", welcome.plant, 600, 425, 0.32, "#E9F1E6", "#C9DCC8")
    moods = (("#C9452F", -1), ("#E08A4C", -0.5), ("#E9C46A", 0), ("#9DBB8A", 0.6), ("#5F9E7F", 1))
    for number, (colour, mood) in enumerate(moods, 1):
        face(folder / f"face-{number}.png", mood, colour)
    heart(folder / "heart.png")
    moon(folder / "moon.png")
    pin(folder / "pin.png")
    ticket(folder / "ticket.png")
