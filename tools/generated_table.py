"""What the generators of single tables share: their command line, and the comparison with what is there."""

import argparse
import hashlib
import sys


def write_or_check(description, command, target, generate):
    """Writes what `generate` answers to `target`, or with --check compares the two. Answers the exit code."""
    parser = argparse.ArgumentParser(description=description.splitlines()[0])
    parser.add_argument("--check", action="store_true")
    check = parser.parse_args().check
    content = generate().encode()
    if not check:
        target.write_bytes(content)
        return 0
    if not target.exists() or target.read_bytes() != content:
        print(f"{target.name} is not what {command} makes", file=sys.stderr)
        return 1
    print(f"{target.name} is current, SHA-256 {hashlib.sha256(content).hexdigest()}")
    return 0
