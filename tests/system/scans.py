"""Scans as a scanner makes them: pictures of text whose words and places are known, and documents of them."""

import dataclasses
import io
import pathlib
import random

from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageFont

from harness import pdf_of, pdf_stream, wait_until

FONT = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf"
RESOLUTION = 200
ENDLESS = object()

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


@dataclasses.dataclass(frozen=True)
class Word:
    """A word where it is seen, in pixels from the upper left corner: the ends of its ink's baseline."""
    text: str
    start: tuple
    end: tuple


@dataclasses.dataclass(frozen=True, eq=False)
class Scan:
    """A picture of a page. `lines` are the words that were set on it, line by line."""
    image: Image.Image
    resolution: float = RESOLUTION
    lines: tuple = ()

    @property
    def words(self):
        return [word for line in self.lines for word in line]

    @property
    def text(self):
        return "\n".join(" ".join(word.text for word in line) for line in self.lines)

    def shown(self):
        """The words in points from the upper left corner."""
        scale = 72 / self.resolution
        return [Word(word.text, *[tuple(scale * value for value in point)
                                  for point in (word.start, word.end)]) for word in self.words]


def set_text(text=TEXTS["eng"], width=400, height=260, size=12, resolution=RESOLUTION, font=FONT,
             margin=30):
    """A page as a printer sets it: as much of the text as fits, all sizes in points."""
    scale = resolution / 72
    image = Image.new("L", (round(width * scale), round(height * scale)), 255)
    draw = ImageDraw.Draw(image)
    face = ImageFont.truetype(str(font), round(size * scale))
    left, right, bottom = margin * scale, (width - margin) * scale, (height - margin) * scale
    words, lines, baseline = text.split(), [], (margin + size) * scale
    while words and baseline < bottom:
        x, line = left, []
        while words and (not line or x + draw.textlength(words[0], face) <= right):
            word = words.pop(0)
            draw.text((x, baseline), word, 20, face, anchor="ls")
            ink = draw.textbbox((x, baseline), word, face, anchor="ls")
            line.append(Word(word, (ink[0], baseline), (ink[2], baseline)))
            x += draw.textlength(word + " ", face)
        lines.append(tuple(line))
        baseline += 1.35 * size * scale
    return Scan(image, resolution, tuple(lines))


def scanned(scan, seed=1):
    """Seen by a scanner: a little out of focus, with noise of that seed."""
    image = scan.image.filter(ImageFilter.GaussianBlur(0.8))
    # About as strong as Gaussian noise with a deviation of 10.
    noise = Image.frombytes("L", image.size, random.Random(seed).randbytes(image.width * image.height))
    noise = noise.point(lambda value: round(111 + value * 0.136))
    return dataclasses.replace(scan, image=ImageChops.add(image, noise, 1, -128))


def scanned_pdf(pages, catalog="", extra=()):
    """A document of scans, each filling its page; a page may be a pair of scan and options: rotate,
    origin, crop (margins from the sides of the media box), tiles (their distance); or ENDLESS.
    Objects from `extra` are numbered 3 on."""
    kids, objects = [], []
    for page in pages:
        number = 3 + len(extra) + len(objects)
        kids.append(f"{number} 0 R")
        if page is ENDLESS:
            objects += ["<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]"
                        f"/Contents {number + 1} 0 R/Resources<<{tile_resources(number + 2)}>>>>",
                        pdf_stream(TILED), *tiles(number + 2, 0.0001)]
            continue
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
        content, resources, tile_objects = b"", "", []
        if "tiles" in options:
            content, resources = TILED, tile_resources(number + 3)
            tile_objects = tiles(number + 3, options["tiles"])
        objects += [
            f"<</Type/Page/Parent 2 0 R{entries}/Contents {number + 1} 0 R"
            f"/Resources<</XObject<</Scan {number + 2} 0 R>>{resources}>>>>",
            pdf_stream(content + f"q {width} 0 0 {height} {left} {below} cm /Scan Do Q".encode()),
            pdf_stream(jpeg.getvalue(), f"/Type/XObject/Subtype/Image/Width {image.size[0]}/Height "
                       f"{image.size[1]}/ColorSpace/DeviceGray/BitsPerComponent 8/Filter/DCTDecode"),
            *tile_objects]
    return pdf_of([f"<</Type/Catalog/Pages 2 0 R{catalog}>>",
                   f"<</Type/Pages/Kids[{' '.join(kids)}]/Count {len(kids)}>>", *extra, *objects])


# Content that writes a word in FONT, which is mapped while the page is rendered, and then fills the
# page with tiles.
TILED = b"BT /F 12 Tf 20 20 Td (Wait) Tj ET /Pattern cs /P scn 0 0 612 792 re f "


def tile_resources(number):
    return f"/Pattern<</P {number} 0 R>>/Font<</F {number + 1} 0 R>>"


def tiles(number, distance):
    """The objects, numbered from that on, of a pattern whose tiles are so many points apart. Rendering a
    page of it takes the longer the closer they are; at a ten thousandth of a point it does not end."""
    return [pdf_stream(b"0 0 1 1 re f", "/Type/Pattern/PatternType 1/PaintType 1/TilingType 1"
                       f"/BBox[0 0 1 1]/XStep {distance}/YStep {distance}/Resources<<>>"),
            "<</Type/Font/Subtype/TrueType/BaseFont/LiberationSans>>"]


def find_rendering_workers(agent):
    """The workers that render a page of tiles: the page's font is mapped in them."""
    found = []
    for worker in agent.workers():
        try:
            if FONT in pathlib.Path(f"/proc/{worker}/maps").read_text():
                found.append(worker)
        except OSError:
            pass  # it has just ended
    return found


def rendering_workers(agent, count=1):
    """So many of them, once there are."""
    def find():
        found = find_rendering_workers(agent)
        return len(found) >= count and found
    return wait_until(find)
