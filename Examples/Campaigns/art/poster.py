"""The poster of the candlelight week: a campaign that is nothing but its picture."""

import io
import math
import random

import cairo
from PIL import Image

import welcome
from shapes import *

WIDTH, HEIGHT = 622, 880
SILL = 716  # where the window sill begins


def night(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, linear(0, 0, 0, SILL, (0, "#142B33"), (0.55, "#1F4A49"), (1, "#3A6B5C")))
    stars = random.Random(5)
    for _ in range(60):
        x, y, size = stars.uniform(0, WIDTH), stars.uniform(0, 290), stars.uniform(0.7, 2.1)
        circle(context, x, y, size)
        fill(context, "#FFF4D8", stars.uniform(0.25, 0.85))
    circle(context, 452, 190, 190)
    fill(context, radial(452, 190, 190, (0, "#FFF1CF", 0.42), (1, "#FFF1CF", 0)))
    circle(context, 452, 190, 54)
    fill(context, linear(410, 140, 500, 240, (0, "#FFFBEA"), (1, "#F6DFA6")))
    for x, y, radius in ((436, 178, 9), (468, 204, 13), (462, 168, 5)):
        circle(context, x, y, radius)
        fill(context, "#E9CC8E", 0.45)
    hills = (("#2F5F58", 560, 34, 0.6, 420), ("#264F4B", 610, 28, 2.4, 360), ("#1D403F", 662, 20, 4.1, 300))
    for colour, level, swing, phase, period in hills:
        context.move_to(0, SILL)
        for step in range(0, WIDTH + 6, 6):
            context.line_to(step, level - swing * math.sin(phase + 2 * math.pi * step / period))
        context.line_to(WIDTH, SILL)
        fill(context, linear(0, level - swing, 0, SILL, (0, mix(colour, WHITE, 0.08)), (1, colour)))


def sill(context):
    context.rectangle(0, SILL, WIDTH, HEIGHT - SILL)
    fill(context, linear(0, SILL, 0, HEIGHT, (0, "#B9704B"), (0.14, "#9C5638"), (1, "#6E3624")))
    context.rectangle(0, SILL, WIDTH, 4)
    fill(context, "#F4C79F", 0.85)
    for x, reach in ((176, 210), (318, 250), (452, 200)):
        ellipse(context, x, SILL + 40, reach, 62)
        context.save()
        context.clip()
        context.translate(x, SILL + 40)
        context.scale(reach, 62)
        circle(context, 0, 0, 1)
        fill(context, radial(0, 0, 1, (0, "#FFD58A", 0.55), (1, "#FFD58A", 0)))
        context.restore()


def candle(context, x, ground, scale):
    context.save()
    circle(context, x, ground - 108 * scale, 250 * scale)
    fill(context, radial(x, ground - 108 * scale, 250 * scale, (0, "#FFD98A", 0.40), (1, "#FFD98A", 0)))
    context.translate(x - 484 * scale, ground - 414 * scale)
    context.scale(scale, scale)
    welcome.candle(context)
    context.restore()


def leaves(context):
    for points, count, size in (
        (((-20, 60), (60, 40), (120, 80), (190, 60)), 8, 70),
        (((-20, 20), (30, 90), (50, 170), (40, 260)), 8, 66),
    ):
        welcome.branch(context, points, "#2C5A4F", count, size)


def words(context):
    def centred(text, y, gap=0.0):
        x = (WIDTH - sum(context.text_extents(letter).x_advance + gap for letter in text) + gap) / 2
        for letter in text:
            context.move_to(x, y)
            context.show_text(letter)
            x += context.text_extents(letter).x_advance + gap

    context.select_font_face("EB Garamond", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_NORMAL)
    context.set_source_rgba(*rgba("#FFF3DA"))
    context.set_font_size(112)
    centred("Candlelight", 372)
    context.select_font_face("EB Garamond", cairo.FONT_SLANT_ITALIC, cairo.FONT_WEIGHT_NORMAL)
    context.set_font_size(92)
    centred("week", 452)
    context.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_NORMAL)
    context.set_source_rgba(*rgba("#FFEDC4"))
    context.set_font_size(21)
    centred("TWO FOR ONE, UNTIL SUNDAY", 512, 4)


def draw(path):
    picture, context = surface(WIDTH, HEIGHT)
    night(context)
    leaves(context)
    sill(context)
    for x, ground, scale in ((176, 776, 1.25), (452, 770, 1.05), (318, 812, 1.7)):
        candle(context, x, ground, scale)
    words(context)
    encoded = io.BytesIO()
    picture.write_to_png(encoded)
    Image.open(encoded).convert("RGB").save(path, quality=86, optimize=True, progressive=True)
