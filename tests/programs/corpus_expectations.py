"""The files of the collections that the platform does not decode as the reference does: what comes out, and why.

refused: the platform does not decode what others do; only ours: the other way round; differs: other pixels or frames;
rounds: some channels by 1; as ...: as the program or file of that name says.
"""

FIELDS = "Short and long bit fields are scaled by repeating and dropping bits, not by rounding."
DEEP = "Samples of 16 bits are cut to 8 by libtiff's rule."
INKS = "The product of ink and paper is rounded to the nearest, not down."
OUTSIDE = "What the run-length codes leave out has the first colour of the palette."
DAMAGED = "Damaged: what can be read of it is shown."
LAB = "The two convert L*a*b* by different matrices."
NO_CODEC = "A compression that the platform leaves out."
DEPTH = "A depth of samples that is not converted."

EXPECTED = {
    "bmpsuite/b/badheadersize.bmp": ("refused", "The header is of no known size."),
    "bmpsuite/b/badpalettesize.bmp": ("only ours", "The file counts far too many colours; those that fit are taken."),
    "bmpsuite/b/badrle.bmp": ("differs", DAMAGED),
    "bmpsuite/b/pal8badindex.bmp": ("differs", "Pixels that have no colour are black; others make nothing of them."),
    "bmpsuite/b/rletopdown.bmp": ("refused", "Run-length codes go from the bottom up by definition."),
    "bmpsuite/g/pal4rle.bmp": ("as bmpsuite/g/pal4.bmp", "Pillow confuses runs of 4-bit pixels."),
    "bmpsuite/g/rgb16-565.bmp": ("rounds", FIELDS),
    "bmpsuite/g/rgb16-565pal.bmp": ("rounds", FIELDS),
    "bmpsuite/g/rgb16.bmp": ("rounds", FIELDS),
    "bmpsuite/q/pal4rletrns.bmp": ("differs", OUTSIDE),
    "bmpsuite/q/pal8os2v2-16.bmp": ("refused", "A header of OS/2 cut to 16 bytes."),
    "bmpsuite/q/pal8oversizepal.bmp": ("as bmpsuite/g/pal8.bmp", "Others refuse palettes of more than 256 colours."),
    "bmpsuite/q/pal8rletrns.bmp": ("differs", OUTSIDE),
    "bmpsuite/q/rgb32-111110.bmp": ("rounds", FIELDS),
    "libtiff/minisblack-1c-16b.tiff": ("rounds", DEEP),
    "libtiff/minisblack-2c-8b-alpha.tiff": ("differs", "ImageMagick leaves out the plane of alpha."),
    "libtiff/rgb-3c-16b.tiff": ("rounds", DEEP),
    "libtiff/test_float64_predictor2_be_lzw.tif": ("refused", DEPTH),
    "libtiff/test_float64_predictor2_le_lzw.tif": ("refused", DEPTH),
    "pillow/10ct_32bit_128.tiff": ("refused", DEPTH),
    "pillow/12bit.cropped.tif": ("refused", DEPTH),
    "pillow/16_bit_noise.tif": ("rounds", DEEP),
    "pillow/16bit.MM.cropped.tif": ("rounds", DEEP),
    "pillow/16bit.MM.deflate.tif": ("rounds", DEEP),
    "pillow/16bit.cropped.tif": ("rounds", DEEP),
    "pillow/16bit.deflate.tif": ("rounds", DEEP),
    "pillow/16bit.r.tif": ("rounds", DEEP),
    "pillow/crash-0da013a13571cc8eb457a39fee8db18f8a3c7127.tif": ("only ours", DAMAGED),
    "pillow/crash-2020-10-test.tif": ("only ours", DAMAGED),
    "pillow/crash-63b1dffefc8c075ddc606c0a2f5fdc15ece78863.tif": ("only ours", DAMAGED),
    "pillow/crash-74d2a78403a5a59db1fb0a2b8735ac068a75f6e3.tif": ("only ours", DAMAGED),
    "pillow/dispose_bgnd.gif": ("as ImageMagick", "Pillow gives the background a colour."),
    "pillow/dispose_bgnd_rgba.gif": ("as ImageMagick", "Pillow gives the background a colour."),
    "pillow/first_frame_transparency.gif": ("differs", "Around a frame that is alone lies the background colour."),
    "pillow/hopper.Lab.tif": ("differs", LAB),
    "pillow/hopper_lzma.tif": ("refused", NO_CODEC),
    "pillow/hopper_unknown_pixel_mode.tif": ("refused", DEPTH),
    "pillow/ifd_tag_type.tiff": ("rounds", DEEP),
    "pillow/issue_2811.gif": ("refused", "Its codes begin with more bits than the format allows."),
    "pillow/lab-green.tif": ("differs", LAB),
    "pillow/lab-red.tif": ("differs", LAB),
    "pillow/lab.tif": ("differs", LAB),
    "pillow/no_rows_per_strip.tif": ("differs", "The second page has floating-point samples, which are not converted."),
    "pillow/pil136.tiff": ("rounds", "Colours are divided by their alpha to the nearest, not down."),
    "pillow/tiff_16bit_RGB.tiff": ("rounds", DEEP),
    "pillow/tiff_16bit_RGBa.tiff": ("differs", "Colours are divided by their alpha after both are cut to 8 bits."),
    "pillow/tiff_strip_cmyk_16l_jpeg.tif": ("refused", DEPTH),
    "pillow/tiff_strip_cmyk_jpeg.tif": ("rounds", INKS),
    "pillow/tiff_strip_planar_16bit_RGB.tiff": ("rounds", DEEP),
    "pillow/tiff_strip_planar_16bit_RGBa.tiff": ("differs", "As tiff_16bit_RGBa.tiff."),
    "pillow/tiff_tiled_cmyk_jpeg.tif": ("rounds", INKS),
    "pillow/tiff_tiled_planar_16bit_RGB.tiff": ("rounds", DEEP),
    "pillow/tiff_tiled_planar_16bit_RGBa.tiff": ("differs", "As tiff_16bit_RGBa.tiff."),
    "pillow/tiff_wrong_bits_per_sample_3.tiff": ("differs", "Its fourth sample is not said to be alpha; Pillow guesses."),
    "testpngs/crashers/badadler.png": ("only ours", "The check sum within the pixels' stream is not looked at; the chunks have theirs."),
    "testpngs/crashers/badcrc.png": ("refused", "A wrong check sum of pixels."),
    "testpngs/crashers/huge_IDAT.png": ("refused", "Cut short; what others show of it is nothing."),
}
