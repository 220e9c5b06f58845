"""Scans as a scanner makes them, and what other programs find in the documents made of them."""

import collections
import io
import math
import random
import subprocess
import xml.etree.ElementTree

from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageFont

from harness import pdf_of, pdf_stream

FONT = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf"
RESOLUTION = 200

TEXTS = {
    "eng": """When the old lighthouse was built there was no road along the coast, and every stone
 had to be carried up from the harbour by hand. The keeper and his family lived in two narrow rooms
 below the lamp, where the wind could be heard in every season of the year. Ships that passed during
 the night answered with three short blasts of the horn, and the children learned to tell them apart
 before they learned to read. Supplies arrived once a month, unless the weather was too rough for
 landing; then there was nothing to do but wait. After the war the station was given electric power,
 and the great lens was no longer turned by weights. Visitors may climb the tower on Sundays between
 ten and four, and the museum beside it shows the letters, maps and instruments of those years.""",
    "deu": """Der Mensch ist frei geboren, und überall liegt er in Ketten. Einer hält sich für den
 Herrn der anderen und bleibt doch mehr Sklave als sie. Wie ist diese Veränderung vor sich gegangen?
 Ich weiß es nicht. Was kann sie rechtmäßig machen? Diese Frage glaube ich beantworten zu können.
 Hiermit kündige ich meinen Vertrag zum nächstmöglichen Zeitpunkt. Bitte bestätigen Sie mir den
 Eingang dieses Schreibens und das Datum, zu dem der Vertrag endet. Die Straßenbahn fährt alle zehn
 Minuten vom Hauptbahnhof über die Brücke zur Universität; am Wochenende verkehrt sie nur stündlich.
 Wir müssen außerdem darauf hinweisen, dass größere Gepäckstücke nicht befördert werden können. Die
 Prüfung der Unterlagen hat ergeben, dass mehrere Anlagen fehlen, und wir bitten um Ergänzung.""",
    "fra": """L'homme est né libre, et partout il est dans les fers. Tel se croit le maître des
 autres, qui ne laisse pas d'être plus esclave qu'eux. Comment ce changement s'est-il fait ? Je
 l'ignore. Qu'est-ce qui peut le rendre légitime ? Je crois pouvoir résoudre cette question. Par la
 présente je vous informe de ma décision de résilier mon abonnement à compter du mois prochain. Les
 élèves étaient rassemblés dans la grande salle où l'on avait disposé des chaises près de la fenêtre.
 Après le déjeuner, nous sommes allés jusqu'à la rivière, dont les eaux étaient hautes à cause des
 pluies de la semaine précédente. Il faudra également vérifier que les pièces jointes ont été
 signées, puis renvoyées à l'adresse indiquée au bas de la page.""",
}


class Scan:
    """A page of text, skewed, blurred and noisy, and turned clockwise by quarters. `lines` are its
    texts with the boxes of their ink, in points from the upper left corner of what is shown."""

    def __init__(self, text=TEXTS["eng"], width=400, height=260, size=12, seed=1, turns=0,
                 resolution=RESOLUTION):
        chance = random.Random(seed)
        scale = resolution / 72
        shape = (round(width * scale), round(height * scale))
        image = Image.new("L", shape, 255)
        draw = ImageDraw.Draw(image)
        font = ImageFont.truetype(FONT, round(size * scale))
        angle = chance.uniform(-0.25, 0.25)
        words = text.split()
        self.lines = []
        y = margin = round(30 * scale)
        while words and y < shape[1] - 2 * margin:
            line = words.pop(0)
            while words and draw.textlength(line + " " + words[0], font) < shape[0] - 2 * margin:
                line += " " + words.pop(0)
            draw.text((margin, y), line, 20, font)
            box = draw.textbbox((margin, y), line, font)
            self.lines.append((line, skewed(box, angle, shape)))
            y += round(1.35 * size * scale)
        image = image.rotate(angle, Image.BICUBIC, fillcolor=255).filter(ImageFilter.GaussianBlur(0.8))
        image = ImageChops.add(image, Image.effect_noise(shape, 10), 1, -128)
        for _ in range(turns):
            image = image.transpose(Image.ROTATE_270)
            height_now = image.size[0]
            self.lines = [(line, (height_now - b[3], b[0], height_now - b[1], b[2]))
                          for line, b in self.lines]
        self.image = image
        self.resolution = resolution
        self.lines = [(line, tuple(edge / scale for edge in box)) for line, box in self.lines]

    @property
    def words(self):
        return " ".join(line for line, _ in self.lines).split()


def skewed(box, degrees, shape):
    """The box around a box that is turned, counter-clockwise around the middle of the picture."""
    sine, cosine = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))
    middle = (shape[0] / 2, shape[1] / 2)
    points = [(x - middle[0], y - middle[1]) for x in (box[0], box[2]) for y in (box[1], box[3])]
    xs = [middle[0] + x * cosine + y * sine for x, y in points]
    ys = [middle[1] - x * sine + y * cosine for x, y in points]
    return min(xs), min(ys), max(xs), max(ys)


def scanned_pdf(pages, catalog="", extra=()):
    """A document of scans, each filling its page; a page may be a pair of scan and options: rotate,
    origin, crop (margins from the sides of the media box). Objects from `extra` are numbered 3 on."""
    kids, objects = [], []
    for page in pages:
        scan, options = page if isinstance(page, tuple) else (page, {})
        rotate = options.get("rotate", 0)
        image = scan.image
        for _ in range(rotate // 90):
            image = image.transpose(Image.ROTATE_90)
        width, height = (side * 72 / scan.resolution for side in image.size)
        left, below = options.get("origin", (0, 0))
        entries = f"/Rotate {rotate}/MediaBox[{left} {below} {left + width} {below + height}]"
        if "crop" in options:
            margin = options["crop"]
            entries += (f"/CropBox[{left + margin} {below + margin} {left + width - margin} "
                        f"{below + height - margin}]")
        jpeg = io.BytesIO()
        image.save(jpeg, "JPEG", quality=85)
        number = 3 + len(extra) + len(objects)
        kids.append(f"{number} 0 R")
        objects += [
            f"<</Type/Page/Parent 2 0 R{entries}/Contents {number + 1} 0 R"
            f"/Resources<</XObject<</Scan {number + 2} 0 R>>>>>>",
            pdf_stream(f"q {width} 0 0 {height} {left} {below} cm /Scan Do Q".encode()),
            pdf_stream(jpeg.getvalue(), f"/Type/XObject/Subtype/Image/Width {image.size[0]}/Height "
                       f"{image.size[1]}/ColorSpace/DeviceGray/BitsPerComponent 8/Filter/DCTDecode")]
    return pdf_of([f"<</Type/Catalog/Pages 2 0 R{catalog}>>",
                   f"<</Type/Pages/Kids[{' '.join(kids)}]/Count {len(kids)}>>", *extra, *objects])


def found_lines(document):
    """For every page the lines that pdftotext finds: their words, and the box around them."""
    output = subprocess.run(["pdftotext", "-bbox-layout", str(document), "-"], check=True,
                            capture_output=True, text=True).stdout
    name = "{http://www.w3.org/1999/xhtml}"
    pages = []
    for page in xml.etree.ElementTree.fromstring(output).iter(name + "page"):
        pages.append([([word.text for word in line.iter(name + "word")],
                       tuple(float(line.get(edge)) for edge in ("xMin", "yMin", "xMax", "yMax")))
                      for line in page.iter(name + "line")])
    return pages


def recall(words, found):
    """The part of the words that were found."""
    right = collections.Counter(words) & collections.Counter(found)
    return sum(right.values()) / len(words)


def pictures(document):
    """The document's pages as they look."""
    return subprocess.run(["pdftoppm", "-r", "72", str(document)], check=True,
                          capture_output=True).stdout
