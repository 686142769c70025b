"""Small pictures: two pictograms in a tinted disc, the member's card and the library's two icons."""

import io
import math

import cairo
from PIL import Image

from shapes import *


def disc(size, top="#FDEAE2", bottom="#FAD6C8"):
    picture, context = surface(size, size)
    circle(context, size / 2, size / 2, size / 2)
    fill(context, linear(0, 0, 0, size, (0, top), (1, bottom)))
    return picture, context


def wheel(context, x, y, radius):
    circle(context, x, y, radius)
    fill(context, INK)
    circle(context, x, y, radius * 0.46)
    fill(context, "#F3DDCF")


def delivery(path):
    """A van that is on its way."""
    picture, context = disc(160)
    shadow(context, 82, 112, 56, 6, 0.45)
    for x, y, length in ((14, 62, 20), (22, 76, 14), (12, 90, 18)):
        context.move_to(x, y)
        context.line_to(x + length, y)
        stroke(context, WHITE, 4, 0.9)
    rounded(context, 38, 46, 58, 58, 7)
    fill(context, linear(0, 46, 0, 104, (0, "#F0775F"), (1, "#DD5641")))
    context.rectangle(62, 46, 11, 58)
    fill(context, "#C9452F", 0.55)
    context.move_to(99, 64)
    context.line_to(117, 64)
    context.curve_to(121, 64, 123, 65, 125, 69)
    context.line_to(134, 84)
    context.line_to(134, 98)
    context.curve_to(134, 102, 132, 104, 128, 104)
    context.line_to(99, 104)
    context.close_path()
    fill(context, linear(0, 64, 0, 104, (0, "#3F7D68"), (1, "#2F5D50")))
    context.move_to(105, 70)
    context.line_to(115, 70)
    context.curve_to(118, 70, 119, 71, 120, 73)
    context.line_to(126, 84)
    context.line_to(105, 84)
    context.close_path()
    fill(context, linear(105, 70, 126, 84, (0, "#E9F4F1"), (1, "#B9D8CE")))
    rounded(context, 128, 89, 6, 6, 2)
    fill(context, GOLD)
    for x in (62, 114):
        circle(context, x, 104, 13)
        fill(context, "#FCE2D7")
        wheel(context, x, 105, 10.5)
    picture.write_to_png(str(path))


def parcel(path):
    """A parcel with a bow."""
    picture, context = disc(160, "#E9F1E6", "#CBDDCB")
    shadow(context, 80, 120, 52, 7, 0.4, "#2F5D50")
    rounded(context, 42, 70, 76, 50, 5)
    fill(context, linear(42, 0, 118, 0, (0, "#E9B88F"), (0.5, "#DFA578"), (1, "#C4855A")))
    rounded(context, 37, 56, 86, 20, 5)
    fill(context, linear(0, 56, 0, 76, (0, "#F4CBA6"), (1, "#E1A97C")))
    context.rectangle(42, 76, 76, 5)
    fill(context, linear(0, 76, 0, 81, (0, "#7A3E2A", 0.28), (1, "#7A3E2A", 0)))
    context.rectangle(72, 56, 16, 64)
    fill(context, linear(72, 0, 88, 0, (0, "#F0775F"), (1, "#D44E38")))
    for side in (-1, 1):
        context.move_to(80, 56)
        context.curve_to(80 + side * 12, 26, 80 + side * 42, 30, 80 + side * 34, 48)
        context.curve_to(80 + side * 29, 58, 80 + side * 12, 57, 80, 56)
        fill(context, linear(0, 30, 0, 58, (0, "#F28A74"), (1, "#D9543E")))
        context.move_to(80 + side * 5, 53)
        context.curve_to(80 + side * 14, 38, 80 + side * 28, 38, 80 + side * 27, 46)
        context.curve_to(80 + side * 24, 53, 80 + side * 12, 53, 80 + side * 5, 53)
        fill(context, "#B93E2A", 0.7)
    rounded(context, 72, 49, 16, 12, 5)
    fill(context, "#E8604C")
    picture.write_to_png(str(path))


def card(path):
    """The member's card, leaning, on a warm ground."""
    picture, context = surface(640, 400)
    context.rectangle(0, 0, 640, 400)
    fill(context, linear(0, 0, 640, 400, (0, "#FCEBDC"), (1, "#F5CDB1")))
    circle(context, 520, 60, 210)
    fill(context, radial(520, 60, 210, (0, "#FFF7EC", 0.9), (1, "#FFF7EC", 0)))
    context.translate(320, 200)
    context.rotate(math.radians(-7))
    for spread in range(18, 0, -1):
        rounded(context, -206 - spread, -122 - spread + 20, 412 + 2 * spread, 248 + 2 * spread, 24 + spread)
        fill(context, "#7A3E2A", 0.012)
    rounded(context, -206, -124, 412, 248, 22)
    outline = context.copy_path()
    fill(context, linear(-206, -124, 206, 124, (0, "#4A8872"), (0.45, "#2F5D50"), (1, "#1D4037")))
    context.save()
    context.append_path(outline)
    context.clip()
    for radius in range(60, 420, 26):
        circle(context, 206, 150, radius)
        stroke(context, WHITE, 1.2, 0.075)
    context.move_to(-206, -20)
    context.line_to(10, -124)
    context.line_to(-206, -124)
    fill(context, linear(-206, -124, -60, -40, (0, WHITE, 0.14), (1, WHITE, 0.0)))
    context.restore()
    gold = linear(-160, -90, -90, -20, (0, "#F8E3A9"), (0.5, GOLD), (1, "#C2953F"))
    circle(context, -142, -58, 33)
    context.set_source(gold)
    context.set_line_width(5)
    context.stroke()
    for angle in (-50, 0, 50):
        leaf(context, -142, -36, 44 if angle == 0 else 34, 17, angle, "#E0B659")
    context.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_NORMAL)
    for text, size, x, y, colour, alpha, gap in (
        ("THE CIRCLE", 27, -168, 52, "#F6E2AE", 1, 7),
        ("MEMBER SINCE DAY ONE", 13, -167, 84, WHITE, 0.72, 3),
    ):
        context.set_font_size(size)
        context.set_source_rgba(*rgba(colour, alpha))
        for letter in text:
            context.move_to(x, y)
            context.show_text(letter)
            x += context.text_extents(letter).x_advance + gap
    rounded(context, 118, -96, 50, 38, 8)
    fill(context, linear(118, -96, 168, -58, (0, "#F8E3A9"), (1, "#C2953F")))
    for x in (135, 151):
        context.move_to(x, -94)
        context.line_to(x, -60)
        stroke(context, "#8A6A2C", 1.2, 0.7)
    context.move_to(120, -77)
    context.line_to(166, -77)
    stroke(context, "#8A6A2C", 1.2, 0.7)
    encoded = io.BytesIO()
    picture.write_to_png(encoded)
    Image.open(encoded).convert("RGB").save(path, quality=88, optimize=True)


def close_icon(path):
    """A cross in a ring, for dark masks."""
    picture, context = surface(108, 108)
    circle(context, 54, 54, 48)
    fill(context, INK, 0.28)
    circle(context, 54, 54, 48)
    stroke(context, WHITE, 5, 0.95)
    for start, end in (((37, 37), (71, 71)), ((71, 37), (37, 71))):
        context.move_to(*start)
        context.line_to(*end)
        stroke(context, WHITE, 6.5, 0.95)
    picture.write_to_png(str(path))


def placeholder_icon(path):
    """A framed landscape, for a picture that has not come yet."""
    picture, context = surface(240, 192)
    tone, alpha = "#002966", 0.22
    context.push_group()
    rounded(context, 8, 8, 224, 176, 26)
    stroke(context, tone, 13)
    circle(context, 172, 62, 19)
    fill(context, tone)
    context.save()
    rounded(context, 25, 25, 190, 142, 12)
    context.clip()
    context.move_to(0, 180)
    context.line_to(78, 84)
    context.curve_to(83, 79, 90, 79, 94, 84)
    context.line_to(136, 132)
    context.line_to(158, 110)
    context.curve_to(163, 105, 169, 105, 173, 110)
    context.line_to(240, 184)
    context.close_path()
    fill(context, tone)
    context.restore()
    context.pop_group_to_source()
    context.paint_with_alpha(alpha)
    picture.write_to_png(str(path))
