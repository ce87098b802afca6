#!/usr/bin/env python3
"""Checks that the code stays in small pieces: no unit over 500 lines, no
function over 70 lines and no class over 200 lines in the C++ sources of the
library, the tool and the Python module.

    python3 scripts/check_sizes.py [ROOT]      # ROOT: the source tree (default: here)

Exits 1 and lists each piece that is too long, longest first. It reads
clang-formatted code: a definition opens with a line ending in "{" and ends
at the "}" of the same indentation, comments and doc lines included.
"""
import pathlib
import re
import sys

FOLDERS = ["src", "tools", "python/src"]
UNIT_LIMIT, FUNCTION_LIMIT, CLASS_LIMIT = 500, 70, 200
CLASS_RE = re.compile(r"(template\s*<.*>\s*)?(class|struct)\s+\w+[^;]*$")
NOT_A_FUNCTION_RE = re.compile(
    r"(namespace|extern|enum|if|for|while|switch|else|do|try|case|return|\}|.*=\s*\{$)")


def closing_line(lines, start, indent):
    """The index of the "}" that closes the definition opened at start."""
    close = " " * indent + "}"
    for j in range(start + 1, len(lines)):
        line = lines[j]
        if line.startswith(close) and (len(line) == indent + 1 or line[indent + 1] in ";) ,"):
            return j
    return None


def long_pieces(path):
    lines = path.read_text(errors="replace").split("\n")
    found = []
    i = 0
    while i < len(lines):
        body = lines[i].lstrip()
        indent = len(lines[i]) - len(body)
        is_class = CLASS_RE.match(body) is not None and body.endswith("{")
        is_function = (not is_class and body.endswith("{")
                       and NOT_A_FUNCTION_RE.match(body) is None)
        if is_class or is_function:
            end = closing_line(lines, i, indent)
            if end is not None:
                length = end - i + 1
                limit = CLASS_LIMIT if is_class else FUNCTION_LIMIT
                if length > limit:
                    kind = "class" if is_class else "function"
                    found.append((length, "%s:%d: %s of %d lines (limit %d): %s" % (
                        path, i + 1, kind, length, limit, body[:60])))
                if is_function:
                    i = end  # a function's body holds no definitions of its own
        i += 1
    return found


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    found = []
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".hpp", ".h") or not path.is_file():
                continue
            count = path.read_text(errors="replace").count("\n")
            if count > UNIT_LIMIT:
                found.append((count, "%s: unit of %d lines (limit %d)" % (path, count, UNIT_LIMIT)))
            found += long_pieces(path)
    for _, message in sorted(found, reverse=True):
        print(message)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
