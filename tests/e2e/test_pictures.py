"""Screenshots show what the recorded program drew, judged by a read-back that the program made itself."""

import unittest

from harness import PLAYBACK, SPINNING, EndToEndTest
from images import flip, read_png


class Screenshots(EndToEndTest):
    WIDTH, HEIGHT = 320, 240

    def test_png_of_tenth_frame_has_the_pixels_of_the_program(self):
        capture = self.record(SPINNING, "--frames", "12", "--readback", "10:frame.raw")
        self.run_program(PLAYBACK, "-headless", "-screenshots", "10", "-screenshotdir", "out", "-screenshotformat",
                         "png", capture)
        pictures = list((self.dir / "out").iterdir())
        self.assertEqual(len(pictures), 1, pictures)
        width, height, pixels = read_png(pictures[0])
        self.assertEqual((width, height), (self.WIDTH, self.HEIGHT))
        expected = flip((self.dir / "frame.raw").read_bytes(), self.WIDTH)
        self.assertTrue(pixels == expected, f"{pictures[0]} differs from what the program read back")

    def test_interval_writes_every_fifth_frame(self):
        capture = self.record(SPINNING, "--frames", "12", "--pbuffer", compositor=False)
        self.run_program(PLAYBACK, "-headless", "-screenshots", "5*", "-screenshotdir", "out", capture)
        self.assertEqual(len(list((self.dir / "out").glob("*.bmp"))), 2)


if __name__ == "__main__":
    unittest.main()
