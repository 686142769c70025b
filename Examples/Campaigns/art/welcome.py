"""The picture of the welcome card: things of the house before a window in the evening sun."""

import math

import cairo

from shapes import *

WIDTH, HEIGHT = 750, 480
TABLE = 372  # where the table top begins


def wall(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, linear(0, 0, 0, TABLE, (0, "#FCEBDC"), (1, "#F8D8BF")))
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, radial(400, 190, 460, (0, "#FFF6EA", 0.85), (1, "#FFF6EA", 0)))


def arch(context, x, y, width, height):
    context.new_path()
    context.move_to(x, y + height)
    context.line_to(x, y + width / 2)
    context.arc(x + width / 2, y + width / 2, width / 2, math.pi, 2 * math.pi)
    context.line_to(x + width, y + height)
    context.close_path()


def window(context):
    x, y, width, height = 232, 42, 286, TABLE - 42
    arch(context, x - 13, y - 13, width + 26, height + 13)
    fill(context, linear(x, y, x + width, y + height, (0, "#FFFDF9"), (1, "#F3DDC9")))
    context.save()
    arch(context, x, y, width, height)
    context.clip()
    context.rectangle(x, y, width, height)
    fill(context, linear(0, y, 0, y + height, (0, "#F7B89B"), (0.45, "#FAD3B0"), (0.8, "#FDEBCB")))
    circle(context, 410, 196, 150)
    fill(context, radial(410, 196, 150, (0, "#FFF4D2", 0.95), (1, "#FFF4D2", 0)))
    circle(context, 410, 196, 45)
    fill(context, linear(0, 150, 0, 240, (0, "#FFFBE8"), (1, "#FFE7AE")))
    hills = (("#DDBFA0", 262, 26, 0.4, 210), ("#B9C1A0", 286, 22, 1.9, 240), ("#94AE93", 314, 18, 3.4, 190), ("#74957F", 342, 12, 5.2, 230))
    for colour, level, swing, phase, period in hills:
        context.move_to(x, y + height)
        for step in range(x, x + width + 4, 4):
            context.line_to(step, level - swing * math.sin(phase + 2 * math.pi * (step - x) / period))
        context.line_to(x + width, y + height)
        fill(context, linear(0, level - swing, 0, level + 70, (0, mix(colour, WHITE, 0.14)), (1, colour)))
    arch(context, x, y, width, height)
    context.set_source(linear(x, y, x + 40, y + 20, (0, "#9A5236", 0.35), (1, "#9A5236", 0)))
    context.set_line_width(16)
    context.stroke()
    context.restore()
    for bar in ((x + width / 2 - 4, y, 8, height), (x, 212, width, 8)):
        context.rectangle(*bar)
        fill(context, "#FFFAF3")
    context.rectangle(x + width / 2 + 4, y + 4, 2, height)
    fill(context, "#9A5236", 0.12)
    context.rectangle(x, 220, width, 2)
    fill(context, "#9A5236", 0.12)


def table(context):
    context.rectangle(0, TABLE, WIDTH, HEIGHT - TABLE)
    fill(context, linear(0, TABLE, 0, HEIGHT, (0, "#EDB48E"), (0.25, "#E5A27B"), (1, "#D58A66")))
    context.rectangle(0, TABLE, WIDTH, 3)
    fill(context, "#FBDCC0", 0.9)
    # The sun through the window's four panes.
    for left, right, shift in ((262, 362, 0), (376, 476, 0)):
        context.move_to(left, TABLE + 3)
        context.line_to(right, TABLE + 3)
        context.line_to(right - 70, HEIGHT)
        context.line_to(left - 90, HEIGHT)
        context.close_path()
        fill(context, linear(0, TABLE, 0, HEIGHT, (0, "#FFEFD2", 0.55), (1, "#FFEFD2", 0.06)))


def branch(context, points, colour, leaves, size):
    stem(context, points, mix(colour, INK, 0.25), 3.2)
    for number in range(leaves):
        t = 0.30 + 0.66 * number / (leaves - 1)
        x, y, heading = bezier(points, t)
        side = 1 if number % 2 else -1
        scale = size * (1.05 - 0.45 * t)
        leaf(context, x, y, scale, scale * 0.46, heading + side * (58 - 22 * t), mix(colour, WHITE, 0.10 * (number % 3)))
    x, y, heading = bezier(points, 1)
    leaf(context, x, y, size * 0.62, size * 0.27, heading, colour)


def vase(context):
    shadow(context, 158, 418, 104, 17, 0.42)
    branch(context, ((150, 262), (150, 200), (118, 150), (70, 96)), "#5F8F75", 9, 64)
    branch(context, ((158, 262), (166, 186), (196, 140), (212, 66)), "#3E6B5A", 9, 62)
    branch(context, ((154, 262), (150, 180), (146, 120), (134, 44)), "#7BA287", 10, 60)
    context.move_to(136, 250)
    context.curve_to(136, 276, 92, 298, 92, 348)
    context.curve_to(92, 394, 116, 418, 154, 418)
    context.curve_to(192, 418, 216, 394, 216, 348)
    context.curve_to(216, 298, 172, 276, 172, 250)
    context.close_path()
    body = context.copy_path()
    fill(context, linear(92, 0, 216, 0, (0, "#F6EFE6"), (0.32, "#FFFDF9"), (0.7, "#EADBCB"), (1, "#CDB39D")))
    context.save()
    context.append_path(body)
    context.clip()
    for level, thick in ((326, 9), (342, 3)):
        context.move_to(88, level)
        context.curve_to(120, level + 13, 188, level + 13, 220, level)
        stroke(context, CORAL, thick, 0.9)
    context.rectangle(88, 250, 130, 170)
    fill(context, linear(92, 0, 216, 0, (0, "#8A5A40", 0.10), (0.3, "#FFFFFF", 0.12), (0.66, "#8A5A40", 0.05), (1, "#8A5A40", 0.30)))
    context.restore()
    ellipse(context, 154, 250, 18.5, 5)
    fill(context, "#8C6B57")
    ellipse(context, 154, 250, 18.5, 5)
    stroke(context, "#FFFDF9", 2.4)


def books(context):
    shadow(context, 352, 422, 112, 13, 0.36)
    for x, y, width, cover, pages in ((262, 396, 178, FOREST, "#FBF1E2"), (276, 372, 156, CORAL, "#FFF7EA")):
        rounded(context, x, y, width, 25, 5)
        fill(context, linear(0, y, 0, y + 25, (0, mix(cover, WHITE, 0.16)), (0.3, cover), (1, mix(cover, INK, 0.22))))
        context.rectangle(x + width - 22, y + 4, 22, 17)
        fill(context, linear(x + width - 22, 0, x + width, 0, (0, mix(pages, INK, 0.12)), (0.3, pages), (1, mix(pages, INK, 0.06))))
        for line in (8, 12, 16):
            context.rectangle(x + width - 20, y + line, 20, 0.8)
            fill(context, "#A58468", 0.45)
        context.rectangle(x + 22, y + 1, 4, 23)
        fill(context, GOLD, 0.85)


def mug(context):
    for x, height, lean in ((322, 60, 9), (345, 76, -10), (366, 54, 8)):
        context.move_to(x, 288)
        context.curve_to(x + lean, 288 - height * 0.35, x - lean * 1.6, 288 - height * 0.65, x + lean * 0.4, 288 - height)
        context.set_source(linear(0, 288, 0, 288 - height, (0, WHITE, 0.0), (0.35, WHITE, 0.75), (1, WHITE, 0)))
        context.set_line_width(5)
        context.stroke()
    circle(context, 392, 330, 18)
    stroke(context, "#D8593F", 8)
    circle(context, 390, 328, 18)
    stroke(context, "#EE7A62", 3, 0.7)
    rounded(context, 302, 296, 86, 78, 20)
    context.rectangle(302, 296, 86, 24)
    fill(context, linear(302, 0, 388, 0, (0, "#E8604C"), (0.28, "#F58A73"), (0.7, "#E05540"), (1, "#B93E2A")))
    ellipse(context, 345, 297, 43, 8)
    fill(context, "#F9B7A5")
    ellipse(context, 345, 298, 38, 6)
    fill(context, linear(307, 0, 383, 0, (0, "#6E3B26"), (0.5, "#8C5136"), (1, "#5B2F1E")))
    ellipse(context, 334, 297, 14, 2)
    fill(context, WHITE, 0.22)


def plant(context):
    shadow(context, 600, 424, 108, 16, 0.42)
    greens = ("#2F5D50", "#4B7F69", "#6E9C80", "#3E6B5A")
    blades = ((-62, 150), (-38, 186), (-14, 214), (12, 224), (36, 196), (58, 138), (-50, 118), (48, 122), (2, 150))
    for number, (angle, length) in enumerate(blades):
        leaf(context, 600 + angle * 0.28, 330, length, length * 0.34, angle, greens[number % len(greens)])
    context.move_to(546, 318)
    context.line_to(654, 318)
    context.line_to(640, 410)
    context.curve_to(638, 421, 632, 425, 622, 425)
    context.line_to(578, 425)
    context.curve_to(568, 425, 562, 421, 560, 410)
    context.close_path()
    fill(context, linear(546, 0, 654, 0, (0, "#C98763"), (0.3, "#E2A681"), (0.72, "#BF7B58"), (1, "#94563A")))
    rounded(context, 538, 308, 124, 26, 6)
    fill(context, linear(538, 0, 662, 0, (0, "#D5936E"), (0.3, "#EDB693"), (0.72, "#C98560"), (1, "#9C5D40")))
    context.rectangle(545, 334, 110, 7)
    fill(context, linear(0, 334, 0, 341, (0, "#6B3620", 0.35), (1, "#6B3620", 0)))


def candle(context):
    shadow(context, 484, 414, 46, 10, 0.36)
    circle(context, 484, 306, 62)
    fill(context, radial(484, 306, 62, (0, "#FFE9A8", 0.65), (1, "#FFE9A8", 0)))
    rounded(context, 458, 342, 52, 72, 9)
    fill(context, linear(458, 0, 510, 0, (0, "#EFE3D3"), (0.3, "#FFFCF6"), (0.75, "#E6D3BF"), (1, "#C7AC94")))
    ellipse(context, 484, 345, 24, 5)
    fill(context, "#FFF1C9")
    context.move_to(484, 344)
    context.line_to(484, 328)
    stroke(context, INK, 2.4)
    context.move_to(484, 288)
    context.curve_to(498, 310, 497, 330, 484, 331)
    context.curve_to(471, 330, 471, 311, 484, 288)
    fill(context, linear(0, 288, 0, 331, (0, "#FFD98A"), (0.6, "#FFB347"), (1, "#F4884A")))
    ellipse(context, 484, 321, 5, 8)
    fill(context, "#FFF6D6")


def draw(path):
    picture, context = surface(WIDTH, HEIGHT)
    wall(context)
    window(context)
    table(context)
    plant(context)
    candle(context)
    books(context)
    mug(context)
    vase(context)
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, radial(360, 210, 560, (0.55, "#B4552F", 0), (1, "#B4552F", 0.16)))
    picture.write_to_png(str(path))
