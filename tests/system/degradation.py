"""What paper, glass and cameras do to a page. Each function gives a worse copy of a scan and keeps account
of where its words went."""

import dataclasses
import math
import random

from PIL import Image, ImageChops, ImageFilter

from scans import Scan, Word

IDENTITY = ((1, 0, 0), (0, 1, 0), (0, 0, 1))


def product(a, b):
    return tuple(tuple(sum(a[i][k] * b[k][j] for k in range(3)) for j in range(3)) for i in range(3))


def inverse(m):
    """Of a matrix of three rows, but for its scale, which does not matter to a projection."""
    def minor(i, j):
        rows = [[m[r][c] for c in range(3) if c != i] for r in range(3) if r != j]
        return (-1) ** (i + j) * (rows[0][0] * rows[1][1] - rows[0][1] * rows[1][0])
    return tuple(tuple(minor(i, j) for j in range(3)) for i in range(3))


def mapped(m, point):
    x, y, w = (row[0] * point[0] + row[1] * point[1] + row[2] for row in m)
    return x / w, y / w


def moved(matrix, x, y):
    """The projection, followed by a shift."""
    return product(((1, 0, x), (0, 1, y), (0, 0, 1)), matrix)


def projected(scan, matrix, size=None):
    """The scan under a projection: into a picture of that size, or of the size that shows all of it."""
    if size is None:
        width, height = scan.image.size
        xs, ys = zip(*[mapped(matrix, p) for p in ((0, 0), (width, 0), (0, height), (width, height))])
        matrix = moved(matrix, -min(xs), -min(ys))
        size = tuple(math.ceil(max(side) - min(side) - 1e-6) for side in (xs, ys))
    back = inverse(matrix)
    image = scan.image.transform(size, Image.PERSPECTIVE,
                                 [value / back[2][2] for row in back for value in row][:8],
                                 Image.BICUBIC, fillcolor=255)
    lines = tuple(tuple(Word(word.text, mapped(matrix, word.start), mapped(matrix, word.end))
                        for word in line) for line in scan.lines)
    return Scan(image, scan.resolution, lines)


def changed(scan, image):
    return dataclasses.replace(scan, image=image)


def tilted(scan, degrees):
    """Counterclockwise."""
    sine, cosine = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))
    return projected(scan, ((cosine, sine, 0), (-sine, cosine, 0), (0, 0, 1)))


def photographed(scan, degrees=2, depth=0.06):
    """Seen by a hand-held camera: tilted, its lower right corner further away by that share, in uneven
    light and a little out of focus."""
    width, height = scan.image.size
    far = ((1, 0, 0), (0, 1, 0), (depth / width, depth / height, 1))
    seen = shaded(tilted(projected(scan, far), degrees), 120)
    return changed(seen, seen.image.filter(ImageFilter.GaussianBlur(scan.resolution / 400)))


def shaded(scan, darkest=110):
    """Light falls from the upper left; at the lower right corner so much of 255 is left of it."""
    down = Image.linear_gradient("L").resize(scan.image.size)
    across = down.transpose(Image.ROTATE_90).resize(scan.image.size).transpose(Image.FLIP_LEFT_RIGHT)
    light = Image.blend(down, across, 0.5).point(lambda v: 255 - (255 - darkest) * v // 255)
    return changed(scan, ImageChops.multiply(scan.image, light))


def faint(scan):
    """Light gray on gray, as a worn ribbon or toner at its end prints."""
    blurred = scan.image.filter(ImageFilter.GaussianBlur(0.6))
    return changed(scan, blurred.point(lambda v: 150 + v * 80 // 255))


def speckled(scan, share=0.002, seed=1):
    """Dust on the glass: black and white dots, so many of all pixels."""
    chance, image = random.Random(seed), scan.image.copy()
    for _ in range(int(image.width * image.height * share)):
        x, y = chance.randrange(image.width), chance.randrange(image.height)
        image.paste(chance.choice((0, 0, 255)), (x, y, x + chance.choice((1, 2)), y + chance.choice((1, 2))))
    return changed(scan, image)


def random_gray(size, seed):
    return Image.frombytes("L", size, random.Random(seed).randbytes(size[0] * size[1]))


def halftone(size, seed=2, dot=8):
    """A picture without words in black dots of many sizes."""
    gray = random_gray((12, 8), seed).resize(size, Image.BICUBIC)
    cell = Image.new("L", (dot, dot))
    cell.putdata([round(128 + 60 * (math.cos(2 * math.pi * x / dot) + math.cos(2 * math.pi * y / dot)))
                  for y in range(dot) for x in range(dot)])
    screen = Image.new("L", size)
    for y in range(0, size[1], dot):
        for x in range(0, size[0], dot):
            screen.paste(cell, (x, y))
    return ImageChops.add(gray, screen, 1, -128).point(lambda v: 255 if v > 127 else 0)


def with_picture(scan, seed=2):
    """A halftone picture above the text, a quarter as high as the page."""
    width, height = scan.image.size
    above = height // 4
    page = projected(scan, moved(IDENTITY, 0, above), (width, height + above))
    page.image.paste(halftone((width, above), seed), (0, 0))
    return page


def with_margin(scan, note):
    """Another scan, turned to its left side, along the left margin."""
    side = tilted(note, 90)
    size = (side.image.width + scan.image.width, max(side.image.height, scan.image.height))
    page = projected(scan, moved(IDENTITY, side.image.width, 0), size)
    page.image.paste(side.image, (0, 0))
    return dataclasses.replace(page, lines=page.lines + side.lines)


def noise(size, resolution, seed=1):
    """Nothing but dithered gray: thousands of specks and no word."""
    return Scan(random_gray(size, seed).convert("1").convert("L"), resolution)
