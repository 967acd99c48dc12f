"""Tests that docs/status-codes.md names every trace at level 0; run with the project's folder."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
LIBRARY = ROOT / "OrvanGeneric"
DOCUMENT = ROOT / "docs" / "status-codes.md"

TEXT = r'"((?:[^"\\]|\\.)*)"'
TRACE = re.compile(r'TRACE\(\s*0,\s*((?:' + TEXT + r'\s*)+|[A-Za-z_.]+)')
NAMED = re.compile(r'(?:failure|writeFailed|readFailed)\s*=\s*((?:' + TEXT + r'\s*)+)')
LITERALS = re.compile(r"(?:" + TEXT + r"\s*)+")


def joined(literals):
    return "".join(re.findall(TEXT, literals))


def traces():
    """The format of each trace at level 0, and where it is."""
    for path in sorted(LIBRARY.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        source = path.read_text()
        for match in [*TRACE.finditer(source), *NAMED.finditer(source)]:
            if text := joined(match.group(1)):
                yield text, path.relative_to(ROOT)


class StatusCodes(unittest.TestCase):
    def test_every_trace_at_level_0_is_named(self):
        document = DOCUMENT.read_text().replace("\n", " ")
        found = list(traces())
        self.assertGreater(len(found), 100)
        for text, place in found:
            with self.subTest(text=text, place=str(place)):
                self.assertIn(f'"{text}"', document)

    def test_every_quoted_trace_exists(self):
        # Some are handed to what traces them.
        known = {text for text, _ in traces()}
        for path in LIBRARY.rglob("*.cpp"):
            known.update(joined(match.group(0)) for match in LITERALS.finditer(path.read_text()))
        document = DOCUMENT.read_text().replace("\n", " ")
        tables = document[document.index("## Traces at level 0") : document.index("## What ends")]
        quoted = re.findall(r'"([^"]+)"', tables)
        self.assertGreater(len(quoted), 100)
        for text in quoted:
            with self.subTest(text=text):
                self.assertTrue(text in known, "no source has this text")

    def test_every_status_is_there(self):
        header = (ROOT / "platform" / "include" / "pl" / "types.h").read_text()
        document = DOCUMENT.read_text()
        statuses = re.findall(r"(PL_STATUS_\w+) = (\d)", header)
        self.assertEqual(len(statuses), 7)
        for name, number in statuses:
            self.assertIn(f"| {number} | `{name}` |", document)


if __name__ == "__main__":
    unittest.main()
