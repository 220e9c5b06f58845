"""PWG raster documents as CUPS clients send them: written by libcups itself, from pictures."""

import ctypes
import struct
import tempfile

PWG = 3  # CUPS_RASTER_WRITE_PWG

# The type of a raster (PWG 5102.4), and the mode of the pictures that it is made of.
MODES = {"black_1": "1", "sgray_8": "L", "srgb_8": "RGB"}

# Where a page's header has its width and height in pixels, and the bytes of a line.
WIDTH, HEIGHT, LINE = 372, 376, 392


def written(pages, kind, media="iso_a4_210x297mm"):
    """The document of these pictures as rasters of that type; the pictures have the size of the media."""
    cups = ctypes.CDLL("libcups.so.2")
    for function in (cups.pwgMediaForPWG, cups.cupsRasterOpen):
        function.restype = ctypes.c_void_p
    header = ctypes.create_string_buffer(1796)
    paper = ctypes.c_void_p(cups.pwgMediaForPWG(media.encode()))
    if not cups.cupsRasterInitPWGHeader(header, paper, kind.encode(), 300, 300, b"one-sided",
                                        None):
        raise ValueError(f"no raster of {kind} on {media}")
    with tempfile.TemporaryFile() as file:
        raster = ctypes.c_void_p(cups.cupsRasterOpen(file.fileno(), PWG))
        for page in pages:
            size = struct.unpack_from("II", header, WIDTH)
            (line,) = struct.unpack_from("I", header, LINE)
            # A picture of one bit has white as 1, a raster black.
            page = page.resize(size).convert(MODES[kind])
            pixels = page.tobytes("raw", "1;I") if kind == "black_1" else page.tobytes()
            if not cups.cupsRasterWriteHeader2(raster, header):
                raise ValueError("libcups wrote no page header")
            if len(pixels) != line * size[1] or cups.cupsRasterWritePixels(
                    raster, pixels, len(pixels)) != len(pixels):
                raise ValueError("libcups wrote no page")
        cups.cupsRasterClose(raster)
        file.seek(0)
        return file.read()
