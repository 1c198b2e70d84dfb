"""From a wrong picture to the guilty call, by keyboard and mouse only: what playback-inspect is for."""

import unittest

from browser import Browser
from harness import FAMILIES
from test_inspect import Inspect

# The family draws four quarters of 128 pixels.
QUARTERS = {"glass": (64, 64), "levels": (192, 64), "fan": (20, 192)}


class Hunts(Inspect):
    def setUp(self):
        super().setUp()
        self.capture = self.record(FAMILIES, "mistakes", "--pbuffer", compositor=False)
        self.browser = Browser()
        self.addCleanup(self.browser.close)
        self.serve(self.capture)
        self.browser.open(self.address)
        self.arrive("1")

    def arrive(self, at):
        self.browser.wait(f"document.querySelector('#place').value.startsWith('{at}') && / in \\d+ ms/.test("
                          "document.querySelector('#status').textContent)")

    def go(self, frame):
        self.browser.press("g")
        self.browser.press(frame)
        self.browser.press("Enter")
        self.arrive(frame)
        # From the swap to the last draw.
        self.browser.press("k")
        self.arrive(f"{frame}:")
        self.browser.wait("location.hash.includes(':') && !document.body.classList.contains('busy')")

    def click(self, find):
        """Clicks in the middle of what an expression finds, once it is there and no longer moves."""
        x, y = self.browser.wait(f"(() => {{ const box = ({find})?.getBoundingClientRect();"
                                 "const at = box && box.width && [box.x + box.width / 2, box.y + box.height / 2];"
                                 "const isStill = String(at) === window.lastSeenAt; window.lastSeenAt = String(at);"
                                 "return isStill && at; })()")
        self.browser.click(x, y)

    def click_text(self, text, within="body"):
        self.click(f"[...document.querySelectorAll('{within} a, {within} button, {within} tr')]"
                   f".find(one => one.innerText.includes('{text}'))")

    def filter_state(self, text):
        self.click("document.querySelector('[data-tab=state]')")
        self.click("document.querySelector('#detail input[type=search]')")
        for key in text:
            self.browser.press(key)
        self.browser.press("Escape")

    def click_pixel(self, quarter):
        """Of the whole image, which is shown in the middle of the view."""
        left, top, width, height = self.browser.evaluate(
            "(box => [box.x, box.y, box.width, box.height])(document.querySelector('#view').getBoundingClientRect())")
        self.browser.press("0")
        scale = min(width, height) / 256
        x, y = QUARTERS[quarter]
        self.browser.click(left + width / 2 + (x - 128) * scale, top + height / 2 - (y - 128) * scale)
        self.click("document.querySelector('[data-tab=pixel]')")

    def go_to_last_change(self):
        """The action that gave the pixel the value that it has."""
        self.browser.wait("document.querySelectorAll('#detail tbody tr').length > 1")
        self.click("[...document.querySelectorAll('#detail tbody tr')].filter(one => one.classList.contains('changed')).at(-1)")

    def setter_of(self, state):
        self.filter_state(state)
        self.click_text("Set by", "#detail")
        self.click(f"[...document.querySelectorAll('#detail tr')].find(one => one.innerText.includes('{state}'))"
                   "?.querySelector('a.setter')")
        # Until the call is there, the draw that one comes from is shown.
        self.browser.wait("/:c\\d+/.test(location.hash) && / in \\d+ ms/.test(document.querySelector('#status').textContent)")
        self.click("document.querySelector('[data-tab=call]')")
        return self.browser.wait("document.querySelector('#detail h3')?.innerText.match(/^gl(?!Draw)/)"
                                 " && document.querySelector('#detail').innerText")

    def test_a_blend_function_that_was_left_behind(self):
        self.go("7")
        self.click_pixel("glass")
        self.go_to_last_change()
        self.arrive("7:")
        text = self.setter_of("BLEND_DST_RGB")
        self.assertTrue(text.startswith("glBlendFunc"), text)
        self.assertIn("of frame 4,", text)
        self.assertEqual(self.browser.console, [])

    def test_attributes_that_are_read_with_another_stride(self):
        self.go("7")
        self.click_pixel("fan")
        self.go_to_last_change()
        self.arrive("7:")
        text = self.setter_of("BINDING_STRIDE[1]")
        self.assertTrue(text.startswith("glVertexAttribPointer"), text)
        self.assertIn("of frame 7,", text)

    def test_a_level_with_other_pixels(self):
        self.go("7")
        self.click_pixel("levels")
        self.go_to_last_change()
        self.arrive("7:")
        self.click("document.querySelector('[data-tab=inputs]')")
        self.click("document.querySelector('#detail .thumbs button')")
        self.browser.wait("document.querySelectorAll('#detail figure').length == 6")
        # The third of them is red, and the others are green.
        self.click_text("What earlier frames did with it", "#detail")
        self.click("[...document.querySelectorAll('#detail ol.earlier li')].find(one => one.innerText.includes('level 2'))?.querySelector('a')")
        text = self.browser.wait("document.querySelector('#detail h3')?.innerText.startsWith('gl') && document.querySelector('#detail').innerText")
        self.assertTrue(text.startswith("glTexImage2D"), text)
        self.assertRegex(text, r"level\s+2\b")


if __name__ == "__main__":
    unittest.main()
