"""What the pictures are made of: colours, gradients, shadows and a few forms, on top of cairo."""

import math

import cairo

CORAL = "#E8604C"
CORAL_DEEP = "#C9452F"
CREAM = "#FDF5EC"
PEACH = "#F9DCC4"
INK = "#22303C"
SAGE = "#8CAB93"
SAGE_LIGHT = "#B4C9B0"
FOREST = "#3E6B5A"
GOLD = "#E9C46A"
WHITE = "#FFFFFF"


def rgba(colour, alpha=1.0):
    """The numbers of a colour written as #RRGGBB."""
    return tuple(int(colour[i : i + 2], 16) / 255 for i in (1, 3, 5)) + (alpha,)


def mix(first, second, share):
    """A colour between two, `share` (0 to 1) of the way."""
    pair = zip(rgba(first), rgba(second))
    return "#" + "".join(f"{round(255 * (a + (b - a) * share)):02X}" for a, b in list(pair)[:3])


def surface(width, height):
    picture = cairo.ImageSurface(cairo.FORMAT_ARGB32, width, height)
    context = cairo.Context(picture)
    context.set_line_cap(cairo.LINE_CAP_ROUND)
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    return picture, context


def linear(x0, y0, x1, y1, *stops):
    """A gradient along a line; `stops` are (position, colour) or (position, colour, alpha)."""
    gradient = cairo.LinearGradient(x0, y0, x1, y1)
    for position, colour, *alpha in stops:
        gradient.add_color_stop_rgba(position, *rgba(colour, *alpha))
    return gradient


def radial(x, y, radius, *stops):
    gradient = cairo.RadialGradient(x, y, 0, x, y, radius)
    for position, colour, *alpha in stops:
        gradient.add_color_stop_rgba(position, *rgba(colour, *alpha))
    return gradient


def fill(context, paint, alpha=1.0):
    """Fills the path with a colour or a gradient."""
    if isinstance(paint, str):
        context.set_source_rgba(*rgba(paint, alpha))
    else:
        context.set_source(paint)
    context.fill()


def stroke(context, colour, width, alpha=1.0):
    context.set_source_rgba(*rgba(colour, alpha))
    context.set_line_width(width)
    context.stroke()


def circle(context, x, y, radius):
    context.new_sub_path()
    context.arc(x, y, radius, 0, 2 * math.pi)


def ellipse(context, x, y, across, down):
    context.save()
    context.translate(x, y)
    context.scale(across, down)
    circle(context, 0, 0, 1)
    context.restore()


def rounded(context, x, y, width, height, radius):
    context.new_sub_path()
    context.arc(x + width - radius, y + radius, radius, -math.pi / 2, 0)
    context.arc(x + width - radius, y + height - radius, radius, 0, math.pi / 2)
    context.arc(x + radius, y + height - radius, radius, math.pi / 2, math.pi)
    context.arc(x + radius, y + radius, radius, math.pi, 1.5 * math.pi)
    context.close_path()


def shadow(context, x, y, across, down, alpha=0.3, colour="#7A3E2A"):
    """A soft shadow on the ground, darkest in its middle."""
    context.save()
    context.translate(x, y)
    context.scale(across, down)
    circle(context, 0, 0, 1)
    fill(context, radial(0, 0, 1, (0, colour, alpha), (0.55, colour, alpha * 0.5), (1, colour, 0)))
    context.restore()


def leaf(context, x, y, length, width, angle, colour):
    """A leaf with its stalk at (x, y), pointing `angle` degrees clockwise from up, one half lighter than the other."""
    context.save()
    context.translate(x, y)
    context.rotate(math.radians(angle))
    for side, tone in ((-1, mix(colour, WHITE, 0.14)), (1, mix(colour, INK, 0.10))):
        context.move_to(0, 0)
        context.curve_to(side * width * 0.62, -length * 0.22, side * width * 0.55, -length * 0.72, 0, -length)
        context.close_path()
        fill(context, tone)
    context.move_to(0, 0)
    context.line_to(0, -length * 0.86)
    stroke(context, mix(colour, WHITE, 0.45), max(1.0, width * 0.045), 0.75)
    context.restore()


def stem(context, points, colour, width):
    """A curve through a start, two control points and an end."""
    (x0, y0), *rest = points
    context.move_to(x0, y0)
    context.curve_to(*[number for point in rest for number in point])
    stroke(context, colour, width)


def bezier(points, t):
    """The point and the direction (degrees clockwise from up) at `t` of the curve that `stem` draws."""
    (x0, y0), (x1, y1), (x2, y2), (x3, y3) = points
    u = 1 - t
    x = u**3 * x0 + 3 * u * u * t * x1 + 3 * u * t * t * x2 + t**3 * x3
    y = u**3 * y0 + 3 * u * u * t * y1 + 3 * u * t * t * y2 + t**3 * y3
    dx = 3 * (u * u * (x1 - x0) + 2 * u * t * (x2 - x1) + t * t * (x3 - x2))
    dy = 3 * (u * u * (y1 - y0) + 2 * u * t * (y2 - y1) + t * t * (y3 - y2))
    return x, y, math.degrees(math.atan2(dx, -dy))
