"""Tests of scripts/eeprom-image: run with the project's folder as the only argument."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
TOOL = ROOT / "scripts" / "eeprom-image"


def run(values):
    """What the tool makes of the values: its exit code, what it complains of, the image."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "values.json"
        image = pathlib.Path(folder) / "image.bin"
        source.write_text(values if isinstance(values, str) else json.dumps(values))
        done = subprocess.run([TOOL, source, image], capture_output=True, text=True, check=False)
        problem = done.stderr.replace(f"{source}: ", "").strip()
        return done.returncode, problem, image.read_bytes() if image.exists() else None


class Images(unittest.TestCase):
    def test_tlvinfo(self):
        code, problem, image = run(
            {"format": "tlvinfo", "fields": {"partNumber": "PWR", "serialNumber": "S1"}}
        )
        self.assertEqual((code, problem), (0, ""))
        # 5 bytes of part number, 4 of serial number and 6 of checksum make 15.
        expected = b"TlvInfo\0\x01\x00\x0f" + b"\x22\x03PWR" + b"\x23\x02S1" + b"\xfe\x04"
        self.assertEqual(image[:-4], expected)
        self.assertEqual(image[-4:].hex(), "4f39fae4")

    def test_tlvinfo_length_of_two_bytes(self):
        _, _, image = run({"format": "tlvinfo", "fields": {"productName": "x" * 255}})
        self.assertEqual(image[9:11], b"\x01\x07")  # 257 + 6 = 263

    def test_fru(self):
        code, problem, image = run(
            {
                "format": "fru",
                "product": {"manufacturer": "ACME", "name": "PWR500", "serialNumber": "SN0042"},
            }
        )
        self.assertEqual((code, problem), (0, ""))
        # The product area is at 8 and has 32 bytes: 3 + 5 + 7 + 1 + 1 + 7 + 1 are 25, with the
        # checksum 26.
        self.assertEqual(image[:8], bytes([1, 0, 0, 0, 1, 0, 0, 0xFE]))
        self.assertEqual(image[8:11], bytes([1, 4, 25]))
        self.assertEqual(image[11:33], b"\xc4ACME\xc6PWR500\xc0\xc0\xc6SN0042\xc1")
        self.assertEqual(len(image), 40)
        self.assertEqual(image[33:39], bytes(6))
        self.assertEqual(sum(image[8:]) % 256, 0)

    def test_what_is_wrong_is_named(self):
        cases = [
            ("[]", "expected an object"),
            ("{", "Expecting property name"),
            ({"format": "xml"}, "format: 'xml'; expected tlvinfo or fru"),
            ({"format": "fru"}, "product: None; expected an object"),
            (
                {"format": "fru", "product": {"colour": "red"}},
                "product/colour: not known; expected one of manufacturer",
            ),
            ({"format": "fru", "product": {"name": "x"}}, "product/name: one character"),
            (
                {"format": "fru", "product": {"name": "x" * 64}},
                "name: 64 characters; expected at most 63",
            ),
            (
                {"format": "tlvinfo", "fields": {"vendor": "x" * 256}},
                "vendor: 256 characters; expected at most 255",
            ),
            ({"format": "tlvinfo", "fields": {"vendor": 3}}, "vendor: 3; expected a text"),
            (
                {"format": "tlvinfo", "fields": {"vendor": "ö"}},
                "vendor: 'ö'; expected ASCII characters",
            ),
        ]
        for values, expected in cases:
            code, problem, image = run(values)
            self.assertEqual(code, 1, values)
            self.assertIn(expected, problem)
            self.assertIsNone(image)

    def test_the_boards_images_are_those_of_their_values(self):
        found = sorted(ROOT.glob("boards/*/*/*.json"))
        self.assertTrue(found)
        for values in found:
            _, problem, image = run(values.read_text())
            self.assertEqual(problem, "", values)
            self.assertEqual(image, values.with_suffix(".bin").read_bytes(), values)


if __name__ == "__main__":
    unittest.main()
