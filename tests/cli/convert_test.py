"""The command-line tool as a user runs it: exit status, messages, and what is left in the folder.

The tool's path comes from PIXTOLA_TOOL. Pictures are made and read with Pillow.
"""

import os
import resource
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from PIL import Image

TOOL = os.environ["PIXTOLA_TOOL"]


def gradient(size=(200, 160)):
    """A colour image with every kind of level in it."""
    image = Image.new("RGB", size)
    image.putdata([((x * 5) % 256, (y * 3) % 256, (x * y) % 256)
                   for y in range(size[1]) for x in range(size[0])])
    return image


class ConvertTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="pixtola-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.page = self.folder / "page.png"
        gradient().save(self.page, dpi=(300, 300))

    def run_tool(self, *arguments, **options):
        return subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True,
                              errors="surrogateescape", timeout=120, **options)

    def convert(self, *arguments):
        done = self.run_tool("convert", *arguments)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def assert_fails(self, done, *fragments):
        """Status 1 and one sentence that holds the fragments."""
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertEqual(done.stdout, "")
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertTrue(done.stderr.endswith(".\n"), done.stderr)
        for fragment in fragments:
            self.assertIn(fragment, done.stderr)

    def assert_wrong_usage(self, done, fragment):
        self.assertEqual(done.returncode, 2, done.stderr)
        self.assertIn(fragment, done.stderr)

    def assert_only(self, *names):
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), sorted(names))

    def assert_dpi(self, image, expected, kind):
        """PNG and BMP hold whole pixels per metre, and so do pages that become black and white, which
        the library decodes from a BMP copy: half a pixel is 0.0127 dpi."""
        tolerance = 0.01 if kind in ("tiff-lzw", "tiff-none") else 0.0127 + 1e-4
        for dpi in image.info["dpi"]:
            self.assertAlmostEqual(float(dpi), expected, delta=tolerance)

    # ------------------------------------------------------------------------------- what is made

    def test_common_resolutions_survive(self):
        for expected in [72, 96, 100, 150, 200, 204, 240, 300, 400, 600]:
            # A TIFF file holds the resolution that the others can only come near to.
            source = self.folder / "source.tif"
            gradient().save(source, dpi=(expected, expected))
            for kind in ["tiff-g4", "tiff-lzw", "tiff-none", "png", "bmp"]:
                with self.subTest(dpi=expected, type=kind):
                    self.convert(source, self.folder / "out", "--type", kind)
                    with Image.open(self.folder / "out") as image:
                        self.assert_dpi(image, expected, kind)

    def test_pcx_files_are_read(self):
        source = self.folder / "page.pcx"
        page = gradient().convert("RGB")
        page = page.crop((0, 0, page.width // 2 * 2, page.height))  # PCX rows have even lengths
        page.save(source)
        self.convert(source, self.folder / "page.png")
        with Image.open(self.folder / "page.png") as image:
            self.assertEqual(image.convert("RGB").tobytes(), page.tobytes())

    def test_black_and_white_pages_keep_their_sense_whatever_their_palette(self):
        # No multiple of 16 each way, with black down to the last rows.
        page = Image.new("1", (75, 59), 1)
        page.paste(0, (8, 8, 40, 58))
        shown = page.convert("L").tobytes()
        for name, palette in {"black first": [0, 0, 0, 255, 255, 255],
                              "white first": [255, 255, 255, 0, 0, 0],
                              "nearly black first": [1, 1, 1, 255, 255, 255],
                              "blue on yellow": [255, 255, 0, 0, 0, 128]}.items():
            indexed = Image.new("P", page.size)
            white = 1 if palette[0] < 128 else 0
            indexed.putdata([white if level else 1 - white for level in page.getdata()])
            indexed.putpalette(palette)
            indexed.save(self.folder / "indexed.png", bits=1)
            for options in [["--type", "tiff-g4"], ["--type", "tiff-packbits"],
                            ["--type", "png", "--method", "otsu"],
                            ["--type", "tiff-g4", "--method", "diffusion"],
                            ["--type", "tiff-g4", "--method", "adaptive"],
                            ["--type", "bmp", "--method", "otsu"]]:
                with self.subTest(palette=name, options=options):
                    self.convert(self.folder / "indexed.png", self.folder / "out", *options)
                    with Image.open(self.folder / "out") as image:
                        made = image.convert("L").tobytes()
                    if name == "blue on yellow":  # diffusion keeps some of the blue's lightness
                        equal = sum(a == b for a, b in zip(made, shown))
                        self.assertGreater(equal, 0.8 * len(shown))
                    else:
                        self.assertEqual(made, shown)

    def test_every_method_and_type_keeps_size_and_resolution(self):
        expected_modes = {"gray": "L", "otsu": "1", "adaptive": "1", "diffusion": "1"}
        for method in [None, *expected_modes]:
            for kind in ["tiff-g3", "tiff-g4", "tiff-lzw", "tiff-packbits", "tiff-none", "png",
                         "bmp"]:
                with self.subTest(method=method, type=kind):
                    output = self.folder / "output"
                    options = ["--method", method] if method else []
                    self.convert(self.page, output, "--type", kind, *options)
                    with Image.open(output) as image:
                        self.assertEqual(image.size, (200, 160))
                        self.assert_dpi(image, 300, kind)
                        if kind in {"tiff-g3", "tiff-g4", "tiff-packbits"}:
                            self.assertEqual(image.mode, "1")
                        elif method is None:
                            self.assertEqual(image.convert("RGB").tobytes(), gradient().tobytes())
                        elif method == "gray":
                            self.assertIn(image.mode, {"L", "P"})
                        else:
                            self.assertIn(image.convert("L").getextrema(), {(0, 255)})

    def test_the_type_names_the_compression(self):
        names = {"tiff-g3": "group3", "tiff-g4": "group4", "tiff-lzw": "tiff_lzw",
                 "tiff-packbits": "packbits", "tiff-none": "raw"}
        for kind, compression in names.items():
            self.convert(self.page, self.folder / "out.tif", "--type", kind)
            with Image.open(self.folder / "out.tif") as image:
                self.assertEqual(image.info["compression"], compression)

    def test_the_outputs_extension_decides_without_type(self):
        self.convert(self.page, self.folder / "a.PNG")
        self.convert(self.page, self.folder / "a.bmp")
        self.convert(self.page, self.folder / "colour.tif")
        self.convert(self.page, self.folder / "bilevel.TIFF", "--method", "otsu")
        for name, kind, compression in [("a.PNG", "PNG", None), ("a.bmp", "BMP", None),
                                        ("colour.tif", "TIFF", "tiff_lzw"),
                                        ("bilevel.TIFF", "TIFF", "group4")]:
            with Image.open(self.folder / name) as image:
                self.assertEqual(image.format, kind)
                if compression:
                    self.assertEqual(image.info["compression"], compression)

    def test_gray_is_the_weighted_sum(self):
        self.convert(self.page, self.folder / "gray.png", "--method", "gray")
        with Image.open(self.folder / "gray.png") as image:
            grays = list(image.convert("L").getdata())
        expected = [(r * 7680 // 100 + g * 15104 // 100 + b * 2816 // 100) >> 8
                    for r, g, b in gradient().getdata()]
        self.assertEqual(grays, expected)

    def test_reads_every_input_format(self):
        for name, options in [("in.png", {}), ("in.bmp", {}), ("in.tif", {}),
                              ("in.jpg", {"quality": 95})]:
            gradient().save(self.folder / name, dpi=(200, 200), **options)
            self.convert(self.folder / name, self.folder / "out.png")
            with Image.open(self.folder / name) as source, \
                    Image.open(self.folder / "out.png") as made:
                self.assertEqual(made.convert("RGB").size, source.size)
                self.assertAlmostEqual(float(made.info["dpi"][0]), 200, delta=0.01)
                pairs = zip(made.convert("RGB").tobytes(), source.convert("RGB").tobytes())
                self.assertLessEqual(max(abs(a - b) for a, b in pairs),
                                     2 if name == "in.jpg" else 0)

    def test_names_beyond_ascii(self):
        page = self.folder / "Bücher – 頁.png"
        gradient().save(page)
        self.convert(page, self.folder / "écrit 🖨.tif")
        self.assertTrue((self.folder / "écrit 🖨.tif").is_file())

    def test_an_output_that_is_the_input_is_refused(self):
        before = self.page.read_bytes()
        (self.folder / "symbolic.png").symlink_to("page.png")
        os.link(self.page, self.folder / "hard.png")
        other_way = self.folder / ".." / self.folder.name / "page.png"
        for output in [self.page, other_way, self.folder / "symbolic.png", self.folder / "hard.png"]:
            with self.subTest(output=output):
                done = self.run_tool("convert", self.page, output, "--method", "otsu")
                self.assert_fails(done, output.name, "is the input")
                self.assertEqual(self.page.read_bytes(), before)
        self.assert_only("hard.png", "page.png", "symbolic.png")

    def test_group_3_shows_every_page(self):
        for size in [(31, 5), (32, 5), (33, 5), (64, 64), (1728, 3)]:
            for first in [0, 1]:
                with self.subTest(size=size, first=first):
                    page = Image.new("1", size)
                    page.putdata([(x + first + (x > 20)) % 2 for _ in range(size[1]) for x in range(size[0])])
                    page.save(self.page)
                    self.convert(self.page, self.folder / "out.tif", "--type", "tiff-g3")
                    with Image.open(self.folder / "out.tif") as image:
                        self.assertEqual(image.convert("1").tobytes(), page.tobytes())

    def test_group_3_that_libtiff_cannot_decode_is_not_left(self):
        # A run for each pixel, after an empty one of index 0 with which every row begins: one more than libtiff's decoder
        # has room for when the width is a multiple of 32.
        for name, palette in [("black first", [0, 0, 0, 255, 255, 255]), ("white first", [255, 255, 255, 0, 0, 0])]:
            with self.subTest(palette=name):
                page = Image.new("P", (64, 40))
                page.putdata([(x + 1) % 2 for _ in range(40) for x in range(64)])
                page.putpalette(palette)
                page.save(self.page, bits=1)
                (self.folder / "out.tif").write_bytes(b"precious")
                done = self.run_tool("convert", self.page, self.folder / "out.tif", "--type", "tiff-g3")
                self.assert_fails(done, "out.tif", "group 3")
                self.assertEqual((self.folder / "out.tif").read_bytes(), b"precious")
                self.assert_only("out.tif", "page.png")
                self.convert(self.page, self.folder / "out.tif", "--type", "tiff-g4")
                with Image.open(self.folder / "out.tif") as image:
                    self.assertEqual(image.convert("RGB").tobytes(), page.convert("RGB").tobytes())

    def test_a_replaced_output_keeps_its_permissions(self):
        output = self.folder / "out.png"
        output.write_bytes(b"old")
        output.chmod(0o640)
        self.convert(self.page, output)
        self.assertEqual(output.stat().st_mode & 0o777, 0o640)

    @unittest.skipUnless(os.geteuid() == 0, "only root can give files away")
    def test_a_replaced_output_keeps_its_owner(self):
        output = self.folder / "out.png"
        output.write_bytes(b"old")
        os.chown(output, 65534, 65534)
        self.convert(self.page, output)
        self.assertEqual((output.stat().st_uid, output.stat().st_gid), (65534, 65534))

    def test_a_new_output_has_the_permissions_of_new_files(self):
        done = self.run_tool("convert", self.page, self.folder / "out.png", umask=0o027)
        self.assertEqual(done.returncode, 0)
        self.assertEqual((self.folder / "out.png").stat().st_mode & 0o777, 0o640)

    def test_a_link_to_nothing_yet_stays_a_link(self):
        (self.folder / "link.png").symlink_to("target.png")
        self.convert(self.page, self.folder / "link.png")
        self.assertTrue((self.folder / "link.png").is_symlink())
        self.assertTrue((self.folder / "target.png").is_file())

    def test_a_link_to_itself_is_refused(self):
        (self.folder / "loop.png").symlink_to("loop.png")
        done = self.run_tool("convert", self.page, self.folder / "loop.png")
        self.assert_fails(done, "loop.png", "symbolic links")
        self.assertTrue((self.folder / "loop.png").is_symlink())

    def test_a_link_stays_a_link(self):
        (self.folder / "target.png").write_bytes(b"old")
        (self.folder / "link.png").symlink_to("target.png")
        self.convert(self.page, self.folder / "link.png")
        self.assertTrue((self.folder / "link.png").is_symlink())
        self.assertGreater((self.folder / "target.png").stat().st_size, 3)

    # ----------------------------------------------------------------------------- what goes wrong

    def test_a_missing_input(self):
        done = self.run_tool("convert", self.folder / "no.png", self.folder / "out.png")
        self.assert_fails(done, "no.png", "No such file")
        self.assert_only("page.png")

    def test_an_input_that_is_no_image(self):
        (self.folder / "text.png").write_text("This is no image.")
        done = self.run_tool("convert", self.folder / "text.png", self.folder / "out.png")
        self.assert_fails(done, "text.png", "not an image", "PCX")
        self.assert_only("page.png", "text.png")

    def test_an_empty_input(self):
        (self.folder / "empty.png").touch()
        done = self.run_tool("convert", self.folder / "empty.png", self.folder / "out.png")
        self.assert_fails(done, "empty.png", "is empty")

    def test_a_folder_as_input(self):
        done = self.run_tool("convert", self.folder, self.folder / "out.png")
        self.assert_fails(done, "is a folder")

    def test_a_pipe_as_input_is_not_waited_for(self):
        os.mkfifo(self.folder / "pipe")
        done = self.run_tool("convert", self.folder / "pipe", self.folder / "out.png")
        self.assert_fails(done, "pipe", "not a regular file")

    def test_a_damaged_input(self):
        for name in ["page.png", "page.bmp", "page.jpg", "page.gif", "page.tif", "page.pcx"]:
            gradient().save(self.folder / name)
            damaged = self.folder / ("damaged-" + name)
            damaged.write_bytes((self.folder / name).read_bytes()[:25])
            done = self.run_tool("convert", damaged, self.folder / "out.png")
            kind = {"jpg": "JPEG", "tif": "TIFF"}.get(name[-3:], name[-3:].upper())
            self.assert_fails(done, damaged.name, f"is a {kind} file that cannot be decoded")
            self.assertFalse((self.folder / "out.png").exists())

    @unittest.skipIf(os.geteuid() == 0, "root may read every file")
    def test_an_input_that_may_not_be_read(self):
        self.page.chmod(0)
        done = self.run_tool("convert", self.page, self.folder / "out.png")
        self.assert_fails(done, "page.png", "Permission denied")

    def test_a_name_that_is_not_utf8(self):
        done = subprocess.run([TOOL, "convert", b"\xff.png", str(self.folder / "out.png")],
                              capture_output=True, timeout=60)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"not valid UTF-8", done.stderr)

    def test_an_output_folder_that_is_not_there(self):
        done = self.run_tool("convert", self.page, self.folder / "no" / "out.png")
        self.assert_fails(done, "out.png", "No such file")

    def test_a_folder_as_output(self):
        (self.folder / "out.png").mkdir()
        done = self.run_tool("convert", self.page, self.folder / "out.png")
        self.assert_fails(done, "out.png", "not a regular file")
        self.assert_only("page.png", "out.png")

    def test_an_existing_output_survives_a_failed_run(self):
        output = self.folder / "out.png"
        output.write_bytes(b"precious")
        (self.folder / "text.png").write_text("This is no image.")
        self.assert_fails(self.run_tool("convert", self.folder / "text.png", output), "text.png")
        self.assertEqual(output.read_bytes(), b"precious")
        self.assert_only("page.png", "text.png", "out.png")

    def test_a_full_disk_leaves_nothing_behind(self):
        # A limit on the size of files stands for the disk.
        for name in ["out.tif", "out.bmp", "out.png"]:
            output = self.folder / name
            output.write_bytes(b"precious")
            done = self.run_tool(
                "convert", self.page, output,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096)))
            self.assert_fails(done, name, "Cannot write")
            self.assertEqual(output.read_bytes(), b"precious")
            output.unlink()
            self.assert_only("page.png")

    def test_a_bilevel_tiff_on_a_full_disk_leaves_nothing_behind(self):
        done = self.run_tool(
            "convert", self.page, self.folder / "out.tif", "--method", "diffusion",
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (512, 512)))
        self.assert_fails(done, "out.tif", "Cannot write")
        self.assert_only("page.png")

    def test_an_interrupted_run_leaves_nothing_behind(self):
        gradient((3000, 3000)).save(self.page)
        for ending in [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM, signal.SIGXCPU, signal.SIGPIPE,
                       signal.SIGALRM, signal.SIGUSR1, signal.SIGUSR2]:
            with self.subTest(signal=ending):
                # Python ignores SIGPIPE, which programs that it starts would inherit.
                process = subprocess.Popen([TOOL, "convert", self.page, self.folder / "out.png"], restore_signals=True)
                deadline = time.monotonic() + 60
                while process.poll() is None and time.monotonic() < deadline:
                    if any(path.name.startswith(".pixtola") for path in self.folder.iterdir()):
                        process.send_signal(ending)
                        break
                self.assertEqual(process.wait(timeout=60), -ending)
                self.assert_only("page.png")

    def test_an_ignored_signal_stays_ignored(self):
        gradient((2000, 2000)).save(self.page)
        process = subprocess.Popen(
            [TOOL, "convert", self.page, self.folder / "out.png"],
            preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        is_sent = False
        deadline = time.monotonic() + 60
        while process.poll() is None and time.monotonic() < deadline:
            if any(path.name.startswith(".pixtola") for path in self.folder.iterdir()):
                process.send_signal(signal.SIGHUP)
                is_sent = True
                break
        self.assertTrue(is_sent)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assert_only("out.png", "page.png")

    def test_names_with_control_characters_stay_on_one_line(self):
        done = self.run_tool("convert", self.folder / "bad\nname.png", self.folder / "out.png")
        self.assert_fails(done, "bad?name.png")

    # ------------------------------------------------------------------------------------- usage

    def test_wrong_usage(self):
        output = self.folder / "out.png"
        self.assert_wrong_usage(self.run_tool(), "subcommand")
        self.assert_wrong_usage(self.run_tool("convert"), "INPUT")
        self.assert_wrong_usage(self.run_tool("convert", self.page), "OUTPUT")
        self.assert_wrong_usage(self.run_tool("convert", self.page, output, "--method", "magic"),
                                "--method")
        self.assert_wrong_usage(self.run_tool("convert", self.page, output, "--type", "tga"),
                                "--type")
        self.assert_wrong_usage(self.run_tool("convert", self.page, output, "--colour"), "--colour")
        self.assert_only("page.png")

    def test_a_dash_is_no_name(self):
        for arguments in [("-", self.folder / "out.png"), (self.page, "-"), (self.page, "-", "--type", "png")]:
            with self.subTest(arguments=arguments):
                done = self.run_tool("convert", *arguments, cwd=self.folder)
                self.assert_wrong_usage(done, "'./-'")
                self.assertNotIn("does not tell a file type", done.stderr)
        self.assert_only("page.png")
        self.convert(self.page, self.folder / "-", "--type", "png")
        done = self.run_tool("convert", "./-", "out.png", cwd=self.folder)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_arguments_that_are_too_many_are_named_in_their_order(self):
        output = self.folder / "out.png"
        done = self.run_tool("convert", self.page, output, "first", "second", "--third", "fourth")
        self.assert_wrong_usage(done, "'first' 'second' '--third' 'fourth'.\n")
        self.assert_wrong_usage(self.run_tool("convert", self.page, output, "alone"), "'alone'.\n")
        self.assert_only("page.png")

    def test_an_extension_that_tells_no_type(self):
        for name in ["out", "out.xyz", "out.jpg", "tif"]:
            done = self.run_tool("convert", self.page, self.folder / name)
            self.assert_wrong_usage(done, "--type")
        self.assert_only("page.png")

    def test_help_and_version(self):
        done = self.run_tool("convert", "--help")
        self.assertEqual(done.returncode, 0)
        for word in ["gray", "otsu", "adaptive", "diffusion", "tiff-g4", "tiff-packbits"]:
            self.assertIn(word, done.stdout)
        done = self.run_tool("--version")
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stdout, r"^pixtola \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main()
