#!/usr/bin/env python3
"""Compiles the public headers as hosts do.

  compile_test.py --include DIR COMPILER_PATH...

With every compiler, with and without exceptions and run-time types:
  - each header compiles alone,
  - forms.cc, every form of call, compiles without a warning,
  - refused.cc compiles, and each of its lines that begin with //! is refused, for want of a
    conversion and nothing else.
Uses no library and builds nothing. Exit code 0 when all of it holds.
"""
import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Wsign-conversion",
            "-Wold-style-cast", "-Wnon-virtual-dtor", "-Werror"]
VARIANTS = [[], ["-fno-exceptions", "-fno-rtti"]]
NO_CONVERSION = re.compile(r"no matching|no viable|could not convert|cannot convert|"
                           r"no known conversion|conversion from .* requested")


def is_clang(compiler):
    version = subprocess.run([compiler, "--version"], capture_output=True, text=True)
    return "clang" in version.stdout


class Check:
    def __init__(self, include):
        self.include = include
        self.passed = 0
        self.failed = 0

    def compile(self, compiler, flags, source):
        command = [compiler, "-std=c++20", "-fsyntax-only", "-x", "c++", f"-I{self.include}",
                   *WARNINGS, *flags, str(source)]
        run = subprocess.run(command, capture_output=True, text=True)
        return run.returncode == 0, run.stderr

    def expect(self, holds, what, details=""):
        if holds:
            self.passed += 1
        else:
            self.failed += 1
            print(f"FAILED: {what}\n{details}")

    def headers(self, compiler, flags, folder):
        for header in sorted((self.include / "zarn").glob("*.h")):
            alone = folder / "alone.cc"
            line = f'#include "zarn/{header.name}"\n'
            alone.write_text(line + line)
            ok, errors = self.compile(compiler, flags, alone)
            self.expect(ok, f"{compiler} {flags}: {header.name} alone", errors)

    def accepted(self, compiler, flags, name):
        ok, errors = self.compile(compiler, flags, HERE / name)
        self.expect(ok, f"{compiler} {flags}: {name}", errors)

    def refused(self, compiler, flags, folder):
        lines = (HERE / "refused.cc").read_text().splitlines()
        wrong = {n for n, text in enumerate(lines, 1) if text.lstrip().startswith("//! ")}
        source = folder / "refused.cc"
        # The right form below goes, since it would declare the same name once more.
        source.write_text("\n".join(
            text.replace("//! ", "", 1) if n in wrong else "" if n - 1 in wrong else text
            for n, text in enumerate(lines, 1)))
        limit = "-ferror-limit=0" if is_clang(compiler) else "-fmax-errors=0"
        _, errors = self.compile(compiler, flags + [limit, "-w"], source)
        found = {}
        for number, message in re.findall(r"refused\.cc:(\d+):\d+: error: (.*)", errors):
            found.setdefault(int(number), []).append(message)
        self.expect(bool(wrong), "refused.cc has lines to refuse")
        for number in sorted(wrong):
            messages = found.pop(number, [])
            self.expect(any(NO_CONVERSION.search(message) for message in messages),
                        f"{compiler} {flags}: refused: {lines[number - 1].strip()}",
                        "\n".join(messages) or "it compiled")
        self.expect(not found, f"{compiler} {flags}: errors elsewhere in refused.cc", str(found))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--include", type=pathlib.Path, required=True)
    parser.add_argument("compilers", nargs="+")
    arguments = parser.parse_args()
    check = Check(arguments.include)
    with tempfile.TemporaryDirectory() as folder:
        # One compiler often goes by several names.
        for compiler in {os.path.realpath(path): path for path in arguments.compilers}.values():
            for flags in VARIANTS:
                check.headers(compiler, flags, pathlib.Path(folder))
                check.accepted(compiler, flags, "forms.cc")
                check.accepted(compiler, flags, "refused.cc")
                check.refused(compiler, flags, pathlib.Path(folder))
    print(f"{check.passed} passed, {check.failed} failed")
    return 1 if check.failed else 0


if __name__ == "__main__":
    sys.exit(main())
