"""Captures that were changed and given right checksums crash nothing. docs/howto/find-hostile-captures.md tells more."""

import unittest

from harness import BUILD, FAKE_DRIVER, FAMILIES, EndToEndTest

MUTATE = str(BUILD / "tests/mutate")
# Those that depend on what is bound, or are in several contexts.
CLIENTS = ["buffer-maps", "client-arrays", "multisample", "pixel-buffers", "shared-maps", "threads", "vertex-arrays"]
MUTANTS = 100


class Mutants(EndToEndTest):
    def mutate(self, *options):
        captures = [self.record(FAMILIES, family, "--pbuffer", capture=f"{family}.glcap", options=["--hash=draws"],
                                compositor=False)
                    for family in CLIENTS]
        self.run_program(MUTATE, "--seed", 1, "--count", MUTANTS, "--keep", self.dir, *options, *captures)

    def test_live_driver(self):
        self.mutate()

    def test_fake_driver(self):
        self.mutate("--driver", FAKE_DRIVER)


if __name__ == "__main__":
    unittest.main()
