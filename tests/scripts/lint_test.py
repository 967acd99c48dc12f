"""Tests of scripts/lint: run with the project's folder as the only argument."""

import importlib.machinery
import importlib.util
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
TOOL = ROOT / "scripts" / "lint"

sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("lint", str(TOOL))
lint = importlib.util.module_from_spec(importlib.util.spec_from_loader("lint", loader))
loader.exec_module(lint)


def lines(findings):
    return [line for line, _ in findings]


class Lint(unittest.TestCase):
    def test_beginning_of_a_header(self):
        for good in (
            "#pragma once\n",
            "/**\n * @file\n * Words.\n */\n#pragma once\n",
            "/**\n * @file\n * Words.\n */\n#ifndef PL_FAN_H\n#define PL_FAN_H\n#endif\n",
        ):
            self.assertEqual(list(lint.header_findings(good)), [])
        for bad in (
            "",
            "// Words.\n#pragma once\n",
            "/** Words. */\n#pragma once\n",
            "/**\n * @file\n */\nint x;\n",
            "/**\n * @file\n */\n",
        ):
            self.assertEqual(lines(lint.header_findings(bad)), [1], bad)

    def test_style_of_a_cmake_list(self):
        for good in (
            "add_executable( x a.cpp )\n",
            "enable_testing()\n",
            "if( NOT A )\n    f( B )\nendif()\n",
            "# Words (in parentheses).\n",
            'set( A "(x)" )\n',
            "set( A\n  B )\n",
        ):
            self.assertEqual(list(lint.cmake_findings(good)), [], good)
        for bad in ("f(A )\n", "f( A)\n", "F( A )\n", "f ( A )\n", "  f( A )\n", "f( A ) \n", "\tf()\n"):
            self.assertIn(1, lines(lint.cmake_findings(bad)), bad)

    def test_a_digest_covers_what_is_included(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "a.cpp").write_text('#include "b.h"\n#include <vector>\n')
            (root / "b.h").write_text('#include "c.h"\n')
            (root / "c.h").write_text("int c;\n")
            known, lint.ROOT = lint.ROOT, root
            try:
                before = lint.digest_with_includes(root / "a.cpp")
                self.assertEqual(before, lint.digest_with_includes(root / "a.cpp"))
                (root / "c.h").write_text("int d;\n")
                lint.digest.cache_clear()
                self.assertNotEqual(before, lint.digest_with_includes(root / "a.cpp"))
            finally:
                lint.ROOT = known

    def test_an_unknown_step_is_named(self):
        done = subprocess.run([TOOL, "spelling"], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn('no step "spelling"; expected format, headers', done.stderr)


if __name__ == "__main__":
    unittest.main()
