#!/usr/bin/python3
"""Draws the three example pages letter.jpg, form.png and magazine.jpg.

Everything on them (words, logo, handwriting, bar code, landscape) comes from
this file and a fixed seed; only the DejaVu fonts are taken from the system.
What the pages are for and who may use them is told in README.md beside it.
"""

import math
import struct
import sys
import zlib
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw, ImageFilter, ImageFont

DPI = 300
WIDTH, HEIGHT = 2480, 3508  # A4 at 300 dpi
FONTS = Path("/usr/share/fonts/truetype/dejavu")
FACES = {
    "sans": "DejaVuSans.ttf",
    "sans-bold": "DejaVuSans-Bold.ttf",
    "serif": "DejaVuSerif.ttf",
    "serif-bold": "DejaVuSerif-Bold.ttf",
    "mono": "DejaVuSansMono.ttf",
}

BLACK = (24, 24, 26)
GREY = (110, 112, 116)
NAVY = (26, 58, 112)
BALLPOINT = (30, 52, 148)
PENCIL = (158, 158, 162)


# ---------------------------------------------------------------- measures

def mm(length):
    """Millimetres to pixels."""
    return round(length * DPI / 25.4)


def pt(size):
    """Points to pixels."""
    return round(size * DPI / 72)


def font(face, points):
    return ImageFont.truetype(str(FONTS / FACES[face]), pt(points))


# ------------------------------------------------------------- handwriting

# One pen stroke per word, two digits (x, y) per point.
# y: 0 descender, 3 baseline, 6 height of small letters, 9 height of capitals.
STROKES = {
    "a": "36160413233633 3343", "b": "0906031333352605", "c": "3616041333",
    "d": "3616041323393343", "e": "04352616041333", "f": "3829181310 0636",
    "g": "36160413343631 311001", "h": "090305263633", "i": "060313 0708",
    "j": "26211001 2728", "k": "0903 360433", "l": "09041323",
    "m": "06030516262325364643", "n": "06030526363343", "o": "26060413333526",
    "p": "0600 052636342303", "q": "36160413233630", "r": "0603051636",
    "s": "361615343303", "t": "18132333 0636", "u": "06041323363343",
    "v": "061336", "w": "0613253346", "x": "0633 3603", "y": "06143436311001",
    "z": "06360333", "A": "0329 2943 1535", "B": "0903 09383606 06454303",
    "C": "482906042344", "D": "0903 0938463403", "E": "4909 0903 0343 0636",
    "F": "0903 0949 0636", "G": "4829060423444626", "H": "0903 4943 0646",
    "I": "1913", "J": "39342304", "K": "0903 490543", "L": "0903 0343",
    "M": "0309 0925 2549 4943", "N": "0309 0943 4349", "O": "29070423444729",
    "P": "0903 09393706", "R": "0903 09393706 0643", "S": "48290736442304",
    "T": "0949 2923", "U": "0904234449", "V": "0923 2349",
    "W": "0913 1327 2733 3349", "Y": "0926 2649 2623", "0": "29070413343729",
    "1": "0719 1913", "2": "0829370343", "3": "093826442304",
    "4": "2905 0545 3833", "5": "3909 090636341303", "6": "391604133425 2505",
    "7": "0949 4913", "8": "26082938260413334426", "9": "371907163733",
    ".": "0313", ",": "1301", "-": "0535", "/": "0349", "+": "0535 2337",
    ":": "0313 0616", "'": "0908",
}
PEN_SCALE = 4  # handwriting is drawn this much larger, then reduced


def strokes_of(letter):
    for word in STROKES[letter].split():
        yield [(int(word[i]), int(word[i + 1])) for i in range(0, len(word), 2)]


def smooth_curve(points, steps=10):
    """Catmull-Rom curve through the points."""
    path = [points[0], *points, points[-1]]
    curve = []
    for a, b, c, d in zip(path, path[1:], path[2:], path[3:]):
        for t in (i / steps for i in range(steps)):
            curve.append(tuple(
                0.5 * (2 * q + (r - p) * t + (2 * p - 5 * q + 4 * r - s) * t * t
                       + (3 * q - p - 3 * r + s) * t ** 3)
                for p, q, r, s in zip(a, b, c, d)))
    return curve + [points[-1]]


def pen_mask(size, curves, width):
    """Mask of the curves drawn by a round pen, smooth at the edges."""
    mask = Image.new("L", (size[0] * PEN_SCALE, size[1] * PEN_SCALE), 0)
    draw = ImageDraw.Draw(mask)
    for curve in curves:
        for step, (x, y) in enumerate(dense(curve)):
            radius = PEN_SCALE * width * (0.5 + 0.08 * math.sin(step / 37))
            x, y = x * PEN_SCALE, y * PEN_SCALE
            draw.ellipse((x - radius, y - radius, x + radius, y + radius), 255)
    return mask.resize(size, Image.Resampling.BOX)


def dense(curve):
    """The curve with points at most half a pixel apart."""
    for (x0, y0), (x1, y1) in zip(curve, curve[1:]):
        count = max(1, math.ceil(math.hypot(x1 - x0, y1 - y0) * 2))
        for i in range(count):
            yield x0 + (x1 - x0) * i / count, y0 + (y1 - y0) * i / count


def handwritten_curves(rng, string, unit):
    """Curves of a handwritten line (baseline at y = 0) and its length."""
    curves, pen = [], 0.0
    for letter in string:
        if letter == " ":
            pen += 3.2
            continue
        lift, lean, grow = rng.normal(0, 0.12), rng.normal(0.25, 0.03), rng.normal(1, 0.04)
        for stroke in strokes_of(letter):
            spots = [(x + rng.normal(0, 0.08), (y - 3) * grow + rng.normal(0, 0.08) + lift)
                     for x, y in stroke]
            curves.append([((pen + x + lean * y) * unit, -y * unit)
                           for x, y in smooth_curve(spots)])
        widest = max(x for stroke in strokes_of(letter) for x, _ in stroke)
        pen += widest + 1.5 + rng.normal(0, 0.12)
    return curves, pen * unit


# ------------------------------------------------------------------- sheet

class Sheet:
    """An A4 page; its drawing helpers take millimetres and points."""

    def __init__(self, paper=(255, 255, 255)):
        self.image = Image.new("RGB", (WIDTH, HEIGHT), paper)
        self.draw = ImageDraw.Draw(self.image)

    def text(self, x, y, string, face="sans", points=9, fill=BLACK, anchor="ls"):
        self.draw.text((mm(x), mm(y)), string, fill, font(face, points), anchor)

    def box(self, x, y, w, h, fill=None, outline=None, width=2):
        self.draw.rectangle((mm(x), mm(y), mm(x + w), mm(y + h)), fill, outline, width)

    def line(self, *points, fill=BLACK, width=2):
        self.draw.line([(mm(x), mm(y)) for x, y in points], fill, width)

    def lines(self, x, y, strings, step, **style):
        """Several lines of text below each other; returns the y after them."""
        for number, string in enumerate(strings):
            self.text(x, y + number * step, string, **style)
        return y + len(strings) * step

    def justified(self, x, y, width, string, face, points, last=False, fill=BLACK):
        """One line, its spaces stretched to the width unless it is the last."""
        type_face, words = font(face, points), string.split()
        natural = sum(type_face.getlength(word) for word in words)
        gap = type_face.getlength(" ")
        if not last and len(words) > 1:
            gap = (mm(width) - natural) / (len(words) - 1)
        pen = mm(x)
        for word in words:
            self.draw.text((round(pen), mm(y)), word, fill, type_face, "ls")
            pen += type_face.getlength(word) + gap

    def paragraph(self, x, y, width, string, face, points, step, fill=BLACK):
        """A justified paragraph; returns the y after it."""
        rows = wrap(string, font(face, points), mm(width))
        for number, row in enumerate(rows):
            self.justified(x, y, width, row, face, points, number + 1 == len(rows), fill)
            y += step
        return y

    def write(self, rng, x, y, string, height=2.4, fill=BALLPOINT, pen=4.5):
        """Handwriting; height is that of a small letter."""
        curves, length = handwritten_curves(rng, string, mm(height) / 3)
        self.scribble(curves, (x, y), length, mm(height * 2.5), fill, pen)

    def scribble(self, curves, origin, length, reach, fill, pen):
        """Curves in pixels around the origin, not farther than reach above it."""
        size = (round(length) + 2 * reach, 2 * reach)
        moved = [[(px + reach, py + reach) for px, py in curve] for curve in curves]
        corner = (mm(origin[0]) - reach, mm(origin[1]) - reach)
        self.image.paste(fill, corner, pen_mask(size, moved, pen))


def wrap(string, type_face, width, indent=0):
    """The words in rows no wider than width; the first one is indented."""
    rows, row = [], ""
    for word in string.split():
        longer = f"{row} {word}".strip()
        if row and type_face.getlength(longer) > width - (0 if rows else indent):
            rows.append(row)
            longer = word
        row = longer
    return rows + [row]


# ------------------------------------------------------------ noise, capture

def noise(rng, width, height, cell_x, cell_y):
    """Smooth random field around 0, one random value per cell."""
    shape = (max(2, round(height / cell_y) + 1), max(2, round(width / cell_x) + 1))
    coarse = Image.fromarray(rng.uniform(-1, 1, shape).astype(np.float32))
    return np.asarray(coarse.resize((width, height), Image.Resampling.BICUBIC))


def fractal(rng, width, height, cell_x, cell_y, octaves):
    """Noise of several sizes added up, about -1 to 1."""
    total = np.zeros((height, width), np.float32)
    for octave in range(octaves):
        scale = 0.5 ** octave
        total += scale * noise(rng, width, height, cell_x * scale, cell_y * scale)
    return total


def grid():
    """Row and column coordinates of the page in millimetres."""
    rows = np.arange(HEIGHT, dtype=np.float32)[:, None] * (25.4 / DPI)
    columns = np.arange(WIDTH, dtype=np.float32)[None, :] * (25.4 / DPI)
    return rows, columns


def to_image(values):
    return Image.fromarray(np.clip(values + 0.5, 0, 255).astype(np.uint8))


def capture(rng, image, light, blur, texture, grain):
    """The page as a camera sees it: light, soft edges, paper texture, grain."""
    image = image.filter(ImageFilter.GaussianBlur(blur))
    seen = np.asarray(image, np.float32) * light[:, :, None]
    paper = fractal(rng, WIDTH, HEIGHT, 24, 24, 3) * texture
    paper += rng.normal(0, grain, (HEIGHT, WIDTH)).astype(np.float32)
    return to_image(seen + paper[:, :, None])


def save_jpeg(image, path, quality):
    image.save(path, quality=quality, subsampling="4:2:0", optimize=True, dpi=(DPI, DPI))


def png_chunk(kind, data):
    check = struct.pack(">I", zlib.crc32(kind + data))
    return struct.pack(">I", len(data)) + kind + data + check


def save_png(image, path):
    """24-bit PNG with unfiltered rows: flat drawn pages become smallest so."""
    head = struct.pack(">IIBBBBB", *image.size, 8, 2, 0, 0, 0)
    density = struct.pack(">IIB", round(DPI / 0.0254), round(DPI / 0.0254), 1)
    rows = np.asarray(image.convert("RGB")).reshape(image.size[1], -1)
    rows = np.insert(rows, 0, 0, axis=1)  # filter type 0 before every row
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", head) + png_chunk(b"pHYs", density)
                     + png_chunk(b"IDAT", zlib.compress(rows.tobytes(), 9)) + png_chunk(b"IEND", b""))


# ------------------------------------------------------------------- letter

LETTER_TO = ["Ms Orla Fennimore", "Keeper of Records", "Town Archive of Lower Wendle",
             "4 Tithe Barn Lane", "Lower Wendle  LW2 7QF"]
LETTER_BODY = [
    """Thank you for the parcel of sample sheets which reached us on Monday.
    We have now put all forty of them under the camera, and I am glad to
    say that nothing in the parcel is beyond reading.""",
    """The typed carbon copies were the hardest. Their paper is thin, the back
    shines through, and the strokes are hardly darker than the sheet they
    stand on. A single threshold for the whole page loses the last lines of
    almost every copy. Where the threshold follows the brightness of the
    neighbourhood, the same lines come out complete.""",
    """For your planning I have noted what one thousand sheets would need:""",
]
LETTER_TABLE = [
    ("bound minutes, grey", "300 dpi", "620 MB"),
    ("carbon copies, black and white", "300 dpi", " 41 MB"),
    ("maps and plans, colour", "400 dpi", "2.9 GB"),
    ("index cards, both sides", "300 dpi", " 65 MB"),
]
LETTER_END = [
    """The maps should travel flat. Please do not roll them: a sheet that has
    been rolled keeps its curl, and a curl casts a shadow which no lamp
    of ours can remove.""",
    """May I suggest the second week of May for the first delivery? The
    bench will be free then, and the evenings are light enough to work
    without haste.""",
]
LETTER_SMALL = [
    "Hallam & Reeve Document Studio  ·  The Old Papermill, Wharf Road 12, Wendle Bridge WB1 4HD",
    "Telephone 01632 960 147  ·  studio@hallam-reeve.example  ·  Open Monday to Friday, 9 to 17",
    "Originals are kept in a dry store at 18 degrees and 45 per cent humidity while they are in our "
    "care. We copy only what you own or may have copied.",
]


def draw_logo(sheet, x, y):
    """Three stacked sheets before an orange sun."""
    box = (mm(x + 7), mm(y - 1), mm(x + 24), mm(y + 16))
    sheet.draw.ellipse(box, (238, 142, 38))
    for step, colour in enumerate([(18, 94, 118), (36, 142, 160), (132, 200, 204)]):
        dx, dy = x + step * 4.2, y + 4 + step * 4.2
        corners = [(dx, dy), (dx + 13, dy - 2.5), (dx + 15, dy + 9), (dx + 2, dy + 11.5)]
        sheet.draw.polygon([(mm(a), mm(b)) for a, b in corners], colour, (255, 255, 255))
    for row in range(4):
        sheet.line((x + 11.6, y + 15.6 + row * 1.9), (x + 20.6, y + 13.9 + row * 1.9),
                   fill=(255, 255, 255), width=5)


def draw_letterhead(sheet):
    draw_logo(sheet, 22, 16)
    sheet.text(52, 26, "Hallam & Reeve", "serif-bold", 25, (18, 94, 118))
    sheet.text(52.4, 33, "DOCUMENT STUDIO", "sans", 11.5, (238, 142, 38))
    sheet.lines(190, 21, ["The Old Papermill", "Wharf Road 12", "Wendle Bridge WB1 4HD",
                          "01632 960 147"], 4.1, points=7.5, fill=GREY, anchor="rs")
    sheet.line((22, 42), (190, 42), fill=(18, 94, 118), width=6)
    sheet.line((22, 43), (190, 43), fill=(238, 142, 38), width=2)


def type_line(rng, sheet, x, y, string, points=10.5):
    """A typewriter line: each letter a little off its place and its black."""
    type_face = font("mono", points)
    advance = type_face.getlength("0")
    for number, letter in enumerate(string):
        shade = int(np.clip(rng.normal(44, 14), 15, 90))
        spot = (round(mm(x) + number * advance), mm(y) + round(rng.normal(0, 0.7)))
        sheet.draw.text(spot, letter, (shade, shade, shade + 6), type_face, "ls")


def type_paragraphs(rng, sheet, x, y, paragraphs, width=68, step=5.1):
    advance = font("mono", 10.5).getlength("0")
    for paragraph in paragraphs:
        for row in wrap(paragraph, font("mono", 10.5), advance * width):
            type_line(rng, sheet, x, y, row)
            y += step
        y += 3.2
    return y


def type_table(rng, sheet, x, y):
    for name, resolution, amount in LETTER_TABLE:
        type_line(rng, sheet, x, y, f"{name:.<34}{resolution:.>9}{amount:.>12}")
        y += 5.1
    return y + 3.2


def sign(rng, sheet, x, y):
    """A signature scribble: one long line of loops and an underline."""
    spots = [(0, 0), (2, -9), (5, -13), (5, -5), (3, 3), (1, 1), (6, -5), (9, -6), (8, -1),
             (10, -5), (12, -1), (14, -6), (15, 0), (18, -11), (20, -14), (19, -4), (19, 0),
             (22, -5), (24, -1), (26, -5), (28, -2), (33, -4), (38, -3), (47, -6)]
    loops = [(mm(a + rng.normal(0, 0.2)), mm(b)) for a, b in spots]
    under = [(mm(a), mm(b)) for a, b in [(-2, 4), (14, 2.5), (40, 3.5), (30, 5), (22, 4.6)]]
    curves = [smooth_curve(loops, 24), smooth_curve(under, 24)]
    sheet.scribble(curves, (x, y), mm(50), mm(18), (22, 30, 92), 6.5)


def ring_text(mask, string, radius, type_face):
    """Letters along a circle, read from outside."""
    centre = mask.size[0] / 2
    for number, letter in enumerate(string):
        angle = 360 * number / len(string)
        tile = Image.new("L", (140, 140), 0)
        ImageDraw.Draw(tile).text((70, 70), letter, 255, type_face, "mm")
        tile = tile.rotate(-angle, Image.Resampling.BICUBIC)
        turn = math.radians(angle)
        spot = (round(centre + radius * math.sin(turn)) - 70,
                round(centre - radius * math.cos(turn)) - 70)
        mask.paste(255, spot, tile)


def stamp_mask(rng, side):
    """A round stamp with worn ink."""
    mask = Image.new("L", (side, side), 0)
    draw, half = ImageDraw.Draw(mask), side // 2
    for inset, width in ((6, 10), (110, 5)):
        draw.ellipse((inset, inset, side - inset, side - inset), outline=255, width=width)
    ring_text(mask, "TOWN ARCHIVE  *  LOWER WENDLE  *  ", half - 60, font("sans-bold", 11))
    draw.text((half, half - 62), "RECEIVED", 255, font("sans-bold", 11), "mm")
    draw.text((half, half + 2), "14 APR 2025", 255, font("sans-bold", 10), "mm")
    draw.text((half, half + 62), "No. 0387", 255, font("sans", 9), "mm")
    mask = mask.rotate(13, Image.Resampling.BICUBIC)
    wear = np.clip(0.80 + 0.4 * fractal(rng, side, side, 60, 60, 5), 0.2, 0.92)
    return to_image(np.asarray(mask, np.float32) * wear)


def letter_light():
    """Lamp a little left of the middle, corners darker."""
    rows, columns = grid()
    away = np.hypot((columns - 85) / 210, (rows - 120) / 297)
    return (1.0 - 0.16 * away ** 2 - 0.05 * (columns / 210)).astype(np.float32)


def draw_letter(rng):
    sheet = Sheet((250, 247, 239))
    draw_letterhead(sheet)
    for number, row in enumerate(LETTER_TO):
        type_line(rng, sheet, 25, 58 + number * 5.1, row)
    type_line(rng, sheet, 142, 58, "11 April 2025")
    sheet.text(142.3, 64.6, "Our reference  HR-25/0412-k", "sans", 6.5, GREY)
    sheet.text(25, 97, "Your sample sheets: what we found", "serif-bold", 13)
    type_line(rng, sheet, 25, 107, "Dear Ms Fennimore,")
    y = type_paragraphs(rng, sheet, 25, 116, LETTER_BODY)
    y = type_paragraphs(rng, sheet, 25, type_table(rng, sheet, 29, y), LETTER_END)
    type_line(rng, sheet, 25, y + 1, "Yours sincerely,")
    sign(rng, sheet, 28, y + 20)
    type_line(rng, sheet, 25, y + 31, "Tobias Reeve")
    sheet.image.paste((196, 34, 52), (mm(132), mm(y - 6)), stamp_mask(rng, mm(46)))
    sheet.line((22, 279), (190, 279), fill=GREY)
    sheet.lines(106, 283, LETTER_SMALL, 3.4, points=6.5, fill=GREY, anchor="ms")
    return sheet.image


def make_letter(folder, rng):
    page = draw_letter(rng).rotate(0.4, Image.Resampling.BICUBIC, fillcolor=(188, 186, 182))
    seen = capture(rng, page, letter_light(), blur=0.7, texture=1.4, grain=2.4)
    save_jpeg(seen, folder / "letter.jpg", 68)


# --------------------------------------------------------------------- form

BLUE_TINT = (221, 238, 255)
YELLOW_TINT = (255, 238, 204)
PINK_TINT = (255, 221, 221)
FORM_FIELDS = [
    ("Name of the owner", "Ingrid Halloway"), ("Customer number", "4471 - 0926"),
    ("Street and number", "17 Mill Pond Row"), ("Telephone", "01632 960 582"),
    ("Town and postcode", "Wendle Bridge WB3 9TA"), ("Best time to call", "after 4 o'clock"),
    ("Name of the collection", "Letters of my grandmother"), ("Years", "1921 - 1958"),
]
FORM_COLUMNS = [("No.", 10), ("Description of the originals", 62), ("Sheets", 18), ("Size", 20),
                ("Colour", 16), ("Fragile", 16), ("Remarks", 38)]
FORM_ROWS = [
    ("Letters with envelopes", "214", "A5", 1, 0, "pencil dates"),
    ("Photo album, black card", "36", "A4", 0, 1, "do not unbind"),
    ("Recipe book, ruled paper", "88", "A5", 1, 1, "loose leaves"),
    ("Postcards, both sides", "61", "A6", 1, 0, ""),
    ("Map of the parish", "1", "A2", 1, 1, "folded"),
    ("Typed carbon copies", "120", "A4", 0, 0, "very faint"),
]
FORM_OPTIONS = [
    ("Black and white, fixed threshold", 0), ("Grey, 256 levels", 1), ("Colour, 24 bit", 1),
    ("Black and white, local threshold", 1), ("Straighten skewed pages", 1), ("Crop to the edge", 0),
    ("Black and white, fine dots", 0), ("Remove punch holes", 0), ("One file for all pages", 1),
]
FORM_SMALL = [
    """1. Originals. You confirm that the sheets belong to you or that their owner agrees to the
    copying. Remove clips, pins and rubber bands before you hand them over; staples are removed by
    us and are not put back. Sheets thinner than 40 g per square metre are copied on the flat bench
    only. 2. Order of the sheets. We keep the order in which they arrive. Blank backs are left out
    unless you tick the box in section 2.""",
    """3. Files. Each page becomes one image of the same size and resolution as it was captured.
    Black and white pages are packed without loss, so every dot is kept. 4. Storage. A copy remains
    with us for ninety days and is then deleted. 5. Damage. We handle your originals as if they were
    our own and replace the folder, the box and the ribbon, but nobody can replace a letter: please
    mark fragile items clearly.""",
]
ITF_DIGITS = ["nnwwn", "wnnnw", "nwnnw", "wwnnn", "nnwnw", "wnwnn", "nwwnn", "nnnww", "wnnwn",
              "nwnwn"]


def itf_widths(digits):
    """Bar and space widths of an interleaved 2 of 5 code, bars first."""
    code = "nnnn"
    for bars, spaces in zip(digits[::2], digits[1::2]):
        pair = zip(ITF_DIGITS[int(bars)], ITF_DIGITS[int(spaces)])
        code += "".join(bar + space for bar, space in pair)
    return [3 if width == "w" else 1 for width in code + "wnn"]


def draw_bar_code(sheet, right, y, height, digits, module=5):
    widths = itf_widths(digits)
    left = pen = mm(right) - sum(widths) * module
    for number, width in enumerate(widths):
        if number % 2 == 0:
            sheet.draw.rectangle((pen, mm(y), pen + width * module - 1, mm(y + height)), (0, 0, 0))
        pen += width * module
    spaced = " ".join(digits[i:i + 4] for i in range(0, len(digits), 4))
    sheet.draw.text(((left + pen) // 2, mm(y + height + 3.6)), spaced, BLACK, font("mono", 8), "ms")


def section_bar(sheet, y, title, note=""):
    sheet.box(15, y, 180, 6, fill=NAVY)
    sheet.text(17, y + 4.3, title, "sans-bold", 9.5, (255, 255, 255))
    sheet.text(193, y + 4.2, note, "sans", 6.5, (200, 214, 236), "rs")


def draw_head(sheet):
    sheet.text(15, 21, "Order for document capture", "sans-bold", 19, NAVY)
    sheet.text(15, 27, "Hallam & Reeve Document Studio  ·  Form 12 c  ·  one form per collection",
               "sans", 8.5, GREY)
    sheet.text(15, 33.5, "Please write in block letters or clearly. Tinted fields are filled in by "
               "you, pink ones by us.", "sans", 7)
    draw_bar_code(sheet, 195, 12, 13, "250447109260")


def draw_fields(rng, sheet, y):
    for number, (label, entry) in enumerate(FORM_FIELDS):
        left, width = (15, 110) if number % 2 == 0 else (125, 70)
        top = y + 11 * (number // 2)
        sheet.box(left, top, width, 11, BLUE_TINT if number % 2 else YELLOW_TINT, NAVY)
        sheet.text(left + 1.5, top + 3, label, "sans", 6, NAVY)
        sheet.write(rng, left + 5, top + 8.8, entry, 2.3)


def checkbox(rng, sheet, x, y, ticked, fill=BALLPOINT):
    sheet.box(x, y, 4, 4, (255, 255, 255), BLACK, 3)
    if not ticked:
        return
    spots = [(0.3, 1.8), (1.5, 3.6), (3.0, 0.6), (5.2, -1.6)]
    spots = [(mm(a + rng.normal(0, 0.15)), mm(b + rng.normal(0, 0.15))) for a, b in spots]
    sheet.scribble([smooth_curve(spots)], (x, y), mm(6), mm(5), fill, 5.5)


def draw_table_head(sheet, y):
    x = 15
    for title, width in FORM_COLUMNS:
        sheet.box(x, y, width, 6.5, BLUE_TINT, NAVY)
        sheet.text(x + width / 2, y + 4.4, title, "sans-bold", 7, NAVY, "ms")
        x += width


def draw_table_row(rng, sheet, y, number, row):
    name, sheets, size, colour, fragile, remark = row
    x, edges = 15, []
    for _, width in FORM_COLUMNS:
        sheet.box(x, y, width, 8, outline=GREY)
        edges.append(x)
        x += width
    sheet.text(edges[0] + 5, y + 5.4, str(number), "sans", 8, BLACK, "ms")
    pen = PENCIL if number % 3 == 0 else BALLPOINT
    for edge, entry in zip((edges[1], edges[2], edges[3], edges[6]), (name, sheets, size, remark)):
        sheet.write(rng, edge + 3, y + 5.7, entry, 1.6, pen, 3.8)
    checkbox(rng, sheet, edges[4] + 6, y + 2, colour)
    checkbox(rng, sheet, edges[5] + 6, y + 2, fragile)


def draw_table(rng, sheet, y):
    draw_table_head(sheet, y)
    for number, row in enumerate(FORM_ROWS):
        draw_table_row(rng, sheet, y + 6.5 + 8 * number, number + 1, row)
    foot = y + 6.5 + 8 * len(FORM_ROWS)
    sheet.box(15, foot, 72, 7, YELLOW_TINT, NAVY)
    sheet.text(85, foot + 4.8, "Sum of sheets", "sans-bold", 7.5, NAVY, "rs")
    sheet.box(87, foot, 18, 7, YELLOW_TINT, NAVY)
    sheet.write(rng, 90, foot + 5.2, "520", 1.8)
    sheet.text(195, foot + 4.6, "Blank backs are captured as well", "sans", 7, anchor="rs")
    checkbox(rng, sheet, 147, foot + 1.6, False)


def draw_options(rng, sheet, y):
    sheet.box(15, y, 180, 24, outline=NAVY)
    for number, (label, ticked) in enumerate(FORM_OPTIONS):
        x, top = 18 + 64 * (number % 3), y + 2.5 + 7 * (number // 3)
        checkbox(rng, sheet, x, top, ticked)
        sheet.text(x + 6, top + 3.2, label, "sans", 7)


def comb(rng, sheet, x, y, label, digits):
    """One box per digit, as on forms that a machine is to read."""
    sheet.text(x, y - 1.2, label, "sans", 6, NAVY)
    for number, digit in enumerate(digits):
        sheet.box(x + 6.2 * number, y, 6.2, 8, (255, 255, 255), NAVY)
        sheet.write(rng, x + 6.2 * number + 1.7, y + 6.5, digit, 2.4)


def draw_delivery(rng, sheet, y):
    sheet.box(15, y, 110, 34, YELLOW_TINT, NAVY)
    comb(rng, sheet, 19, y + 6, "Deliver on (day, month, year)", "22052025")
    comb(rng, sheet, 19, y + 20.5, "Number of the voucher", "700318264")
    sheet.text(85, y + 8.6, "Memory stick", "sans", 7)
    sheet.text(85, y + 15.6, "Download", "sans", 7)
    checkbox(rng, sheet, 79, y + 5.6, True)
    checkbox(rng, sheet, 79, y + 12.6, False)


def draw_office(rng, sheet, y):
    sheet.box(125, y, 70, 34, PINK_TINT, NAVY)
    sheet.text(128, y + 4.8, "For the studio only", "sans-bold", 7, (176, 96, 112))
    for number, label in enumerate(["Received by", "Bench", "Counted", "Lamp and filter", "Shelf"]):
        top = y + 10.4 + 5 * number
        sheet.text(128, top, label, "sans", 6.5, (168, 120, 130))
        sheet.line((150, top + 0.8), (192, top + 0.8), fill=(190, 150, 158))
    for number, entry in enumerate(["R. Reeve", "2", "520", "6 / soft"]):
        sheet.write(rng, 152, y + 9.8 + 5 * number, entry, 1.4, PENCIL, 3.4)


def draw_signatures(rng, sheet, y):
    sheet.line((15, y), (95, y), width=3)
    sheet.line((110, y), (195, y), width=3)
    sheet.text(15, y + 3, "Place and date", "sans", 6, GREY)
    sheet.text(110, y + 3, "Signature of the owner", "sans", 6, GREY)
    sheet.write(rng, 17, y - 2, "Wendle Bridge, 2 May 2025", 2.1)
    sheet.write(rng, 116, y - 2.5, "I. Halloway", 3.6, pen=5.5)


def draw_form(rng):
    sheet = Sheet()
    draw_head(sheet)
    section_bar(sheet, 38, "1   Owner", "all fields are needed")
    draw_fields(rng, sheet, 44)
    section_bar(sheet, 92, "2   Originals", "tick what applies")
    draw_table(rng, sheet, 98)
    section_bar(sheet, 164, "3   Treatment", "more than one is possible")
    draw_options(rng, sheet, 170)
    section_bar(sheet, 198, "4   Delivery and order", "voucher if there is one")
    draw_delivery(rng, sheet, 204)
    draw_office(rng, sheet, 204)
    draw_signatures(rng, sheet, 258)
    for column, small in enumerate(FORM_SMALL):
        sheet.paragraph(15 + 92 * column, 266, 88, small, "sans", 6, 2.9, GREY)
    return sheet.image


def posterised(image):
    """The page in 16 levels per channel, which keeps the PNG small."""
    return np.round(np.asarray(image, np.float32) / 17) * 17


def stepped_light(steps=20):
    """A mild shade towards the lower right corner, in few steps."""
    rows, columns = grid()
    near = np.clip(1.25 - np.hypot((210 - columns) / 190, (297 - rows) / 210), 0, 1)
    smooth = near * near * (3 - 2 * near)
    return 1.0 - 0.38 * np.round(smooth * steps) / steps


def make_form(folder, rng):
    page = to_image(posterised(draw_form(rng)) * stepped_light()[:, :, None])
    save_png(page, folder / "form.png")


# ----------------------------------------------------------------- magazine

HEADLINE = ["What the page", "keeps to itself"]
STANDFIRST = """A sheet of paper is never quite white and its ink never quite black. Between the
two lies everything a camera has to decide."""
CAPTION = """Evening over the upper lake. A black and white copy keeps two of all these tones
and plays the others by the density of its dots."""
ARTICLE = [
    """Lay an old book under a lamp and look at it the way a camera does. The margin glows, the
    middle of the page is a little duller, and towards the spine the paper sinks into a shadow that
    swallows the first letters of every line. Your eye does not mind. It has read so many pages that
    it forgives the lamp, and it would swear that the paper is white from edge to edge.""",
    """A machine swears nothing. It measures, and near the spine it measures paper that is darker
    than the ink at the margin. Whoever draws one line between dark and light for the whole sheet
    will lose either the shadow or the faint pencil note beside it.""",
    """The cure is old and modest: ask the neighbours. A point is called ink when it is clearly
    darker than the small patch around it, whatever the lamp may do elsewhere. The shadow fades, the
    letters stay, and the page reads as it did on the day it was bound.""",
    """Pictures want the opposite. There is no ink and no paper in a summer sky, only a slow walk
    from one tone to the next. Here the trick is to be wrong at every single point and right on
    average: each dot passes its error on to the dots that follow, and from a step back the sky is
    whole again.""",
    """No method is best for all. A good copyist looks at the page first, and chooses last.""",
]


SUN = (1.18, 0.36)  # place in the landscape, in heights of the picture


def mix(base, colour, amount):
    """Base pixels moved towards a colour by an amount from 0 to 1 per pixel."""
    return base + (np.asarray(colour, np.float32) - base) * amount[:, :, None]


def sky(rng, width, height):
    """Evening sky with a sun and clouds."""
    y = np.linspace(0, 1, height, dtype=np.float32)[:, None]
    x = np.linspace(0, width / height, width, dtype=np.float32)[None, :]
    tone = np.broadcast_to(np.clip(y / 0.62, 0, 1), (height, width))
    scene = mix(np.full((height, width, 3), (38, 74, 136), np.float32), (250, 206, 140), tone)
    away = np.hypot(x - SUN[0], y - SUN[1])
    scene = mix(scene, (255, 226, 150), 0.8 * np.exp(-away / 0.16))
    puff = fractal(rng, width, height, 520, 190, 7)
    cover = np.clip(puff * 1.7 + 0.05, 0, 1) * np.clip(1.1 - tone, 0, 1)
    lit = np.clip(0.55 + 1.1 * (puff - np.roll(puff, 40, axis=0)) - 0.3 * away, 0, 1)
    clouds = mix(np.full_like(scene, (112, 104, 132)), (255, 238, 214), lit)
    scene += (clouds - scene) * cover[:, :, None]
    return mix(scene, (255, 250, 226), np.clip((0.058 - away) / 0.006, 0, 1))


def ridge(rng, width, height, base, rise, cell):
    """Mask of everything below a hill line, and how deep each point is in it."""
    line = (base - rise * fractal(rng, width, 2, cell, 2, 7)[0]) * height
    depth = np.arange(height, dtype=np.float32)[:, None] - line[None, :]
    return np.clip(depth, 0, 1), np.clip(depth / height, 0, 1)


def add_hills(rng, scene):
    """Four ranges of hills, paler and mistier the farther they are."""
    height, width = scene.shape[:2]
    ranges = [(0.50, 0.10, 620, (134, 130, 160)), (0.55, 0.08, 480, (100, 108, 136)),
              (0.60, 0.06, 380, (70, 92, 104)), (0.645, 0.04, 300, (48, 76, 66))]
    for base, rise, cell, colour in ranges:
        mask, depth = ridge(rng, width, height, base, rise, cell)
        relief = 1 + 0.22 * fractal(rng, width, height, 90, 40, 5)
        hill = np.asarray(colour, np.float32) * relief[:, :, None]
        hill = mix(hill, (238, 208, 168), np.clip(depth * 4, 0, 0.6))
        scene += (hill - scene) * mask[:, :, None]
    return scene


def add_lake(rng, scene):
    """Water that mirrors what stands above the shore, with ripples."""
    height, width = scene.shape[:2]
    shore = round(height * 0.70)
    rows = np.arange(shore, height)
    mirrored = np.clip(2 * shore - rows - 1, 0, shore - 1)
    wave = noise(rng, width, height - shore, 130, 7) * 26
    columns = np.clip(np.arange(width)[None, :] + wave, 0, width - 1).astype(int)
    lift = (noise(rng, width, height - shore, 160, 9) * 16).astype(int)
    source = np.clip(mirrored[:, None] + lift, 0, shore - 1)
    water = scene[source, columns] * 0.80 + np.asarray((6, 14, 26), np.float32)
    scene[shore:] = mix(water, (255, 232, 172), glitter(rng, width, height - shore, height))
    return scene


def glitter(rng, width, rows, scale):
    """The sun's path on the water: bright where a ripple faces it."""
    away = np.arange(width, dtype=np.float32)[None, :] / scale - SUN[0]
    spread = np.linspace(0.03, 0.11, rows, dtype=np.float32)[:, None]
    ripple = noise(rng, width, rows, 70, 6) + noise(rng, width, rows, 30, 4)
    return np.exp(-(away / spread) ** 2) * np.clip(0.35 + ripple, 0, 0.9)


def draw_tree(draw, rng, x, foot, tall, colour):
    """A conifer silhouette with ragged branches."""
    for level in range(26):
        share = level / 26
        y = foot - tall * (1 - share)
        reach = tall * 0.22 * share * rng.uniform(0.7, 1.1) + 3
        drop = tall * 0.055 + reach * 0.25
        draw.polygon([(x, y - tall * 0.05), (x + reach, y + drop), (x + reach * 0.3, y + drop * 0.7),
                      (x - reach * 0.3, y + drop * 0.7), (x - reach, y + drop)], colour)
    draw.rectangle((x - tall * 0.012, foot - tall * 0.1, x + tall * 0.012, foot + 20), colour)


def add_foreground(rng, image):
    """A dark bank with grass and trees at both sides."""
    draw, (width, height) = ImageDraw.Draw(image), image.size
    line = (0.955 - 0.03 * fractal(rng, width, 2, 500, 2, 5)[0]) * height
    draw.polygon([(0, height), *enumerate(line.tolist()), (width, height)], (22, 32, 24))
    for share, tall in [(0.05, 0.60), (0.10, 0.46), (0.155, 0.52), (0.20, 0.30), (0.87, 0.36),
                        (0.915, 0.54), (0.965, 0.44)]:
        x = round(share * width)
        draw_tree(draw, rng, x, line[x] + 12, tall * height, (16, 26, 22))
    for x in rng.uniform(0, width, 900):
        tall, bend = rng.uniform(14, 46), rng.normal(0, 12)
        root = line[int(x)] + 6
        shade = int(rng.uniform(14, 46))
        draw.line([(x, root), (x + bend, root - tall)], (shade, shade + 14, shade), 3)
    return image


def landscape(rng, width, height):
    scene = add_lake(rng, add_hills(rng, sky(rng, width, height)))
    return add_foreground(rng, to_image(scene)).filter(ImageFilter.GaussianBlur(0.6))


def column_rows(width, indent, face, points):
    """The article as rows of (indent, text, whether it ends a paragraph)."""
    for index, paragraph in enumerate(ARTICLE):
        inset = indent if index else 0
        rows = wrap(paragraph, font(face, points), mm(width), mm(inset))
        for number, row in enumerate(rows):
            yield (0 if number else inset), row, number + 1 == len(rows)


def draw_columns(sheet, left, y, width, gap, face="serif", points=10.5, step=5.25):
    rows = list(column_rows(width, 4, face, points))
    half = math.ceil(len(rows) / 2)
    for number, (inset, row, last) in enumerate(rows):
        x = left + inset + (width + gap) * (number // half)
        sheet.justified(x, y + step * (number % half), width - inset, row, face, points, last)
    x = left + width + gap / 2
    sheet.line((x, y - 3), (x, y + step * (half - 1)), fill=(170, 168, 164))


def draw_magazine(rng):
    sheet = Sheet((246, 243, 235))
    sheet.text(18, 17, "PAPER & LIGHT", "sans-bold", 8, (168, 44, 36))
    sheet.text(196, 17, "The quarterly for keepers of documents", "sans", 7.5, GREY, "rs")
    sheet.line((18, 19.5), (196, 19.5), fill=(168, 44, 36), width=5)
    sheet.lines(18, 38, HEADLINE, 15, face="serif-bold", points=38)
    sheet.paragraph(18, 64, 178, STANDFIRST, "sans", 12.5, 6.6, (70, 70, 74))
    picture = landscape(rng, mm(178), mm(104))
    sheet.image.paste(picture, (mm(18), mm(76)))
    sheet.paragraph(18, 185, 178, CAPTION, "sans", 7, 3.8, GREY)
    draw_columns(sheet, 18, 198, 86, 6)
    sheet.text(196, 289, "47", "serif-bold", 10, anchor="rs")
    sheet.text(188, 289, "Spring issue", "sans", 7, GREY, "rs")
    return sheet.image


def sink(x):
    """How far, in pixels, the page bends down near the spine."""
    return 46 * math.exp(-x / mm(22))


def bend_page(image, strip=20):
    """The page curving into the spine at its left edge."""
    mesh = []
    for left in range(0, WIDTH, strip):
        right = min(left + strip, WIDTH)
        a, b = sink(left), sink(right)
        mesh.append(((left, 0, right, HEIGHT),
                     (left, -a, left, HEIGHT - a, right, HEIGHT - b, right, -b)))
    return image.transform(image.size, Image.Transform.MESH, mesh, Image.Resampling.BICUBIC,
                           fillcolor=(40, 38, 36))


def spine_light():
    """Dark towards the spine on the left, darkest in the lower corner."""
    rows, columns = grid()
    spine = 1 - 0.84 * np.exp(-(columns / 40) ** 1.5)
    corner = 1 - 0.5 * np.clip(1 - np.hypot(columns / 120, (297 - rows) / 110), 0, 1)
    return (spine * corner * (1 - 0.06 * (columns / 210) ** 4)).astype(np.float32)


def make_magazine(folder, rng):
    page = bend_page(draw_magazine(rng))
    seen = capture(rng, page, spine_light(), blur=0.6, texture=1.0, grain=2.0)
    save_jpeg(seen, folder / "magazine.jpg", 72)


# --------------------------------------------------------------------- main

def main():
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent
    for seed, make in enumerate((make_letter, make_form, make_magazine), start=2025):
        make(folder, np.random.default_rng(seed))
    for name in ("letter.jpg", "form.png", "magazine.jpg"):
        print(folder / name, (folder / name).stat().st_size, "bytes")


if __name__ == "__main__":
    main()
