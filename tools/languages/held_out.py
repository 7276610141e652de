#!/usr/bin/env python3
"""Gathers the texts that language identification is measured on, none of which any profile is trained on.

    held_out.py FOLDER [CORPORA]

Sources, Debian packages by `apt-get download`: GNOME's help, the Debian handbook, the installation guide; and the texts
of CORPORA, where given. Paragraphs that stand in the English original too were never translated and are dropped. The
texts go to FOLDER/held-out/<language>.txt, one paragraph a line.
"""

import gzip
import html
import pathlib
import re
import sys

from collect import fetch, members

PACKAGES = ["gnome-user-docs", "debian-handbook", "installation-guide-amd64"]

# Where the language stands in a path, and what makes a paragraph there.
SOURCES = [(re.compile(place), re.compile(paragraph, re.S)) for place, paragraph in (
    (r"usr/share/help/([^/]+)/.*\.page$",
     r"<(p|title|desc)\b[^>]*>(.*?)</\1>"),
    (r"usr/share/doc/debian-handbook/html/([^/]+)/[^/]*\.html$",
     r"<(div class=\"para\"|p\b|h2\b)[^>]*>(.*?)</(?:div|p|h2)>"),
    (r"usr/share/doc/installation-guide-amd64/([^/]+)/[^/]*\.html(?:\.gz)?$",
     r"<(p|h3)\b[^>]*>(.*?)</\1>"),
)]

# Names there that are not the tag we know the language by, once the region is cut off.
TAGS = {"C": "en", "zh_CN": "zh-Hans", "zh-CN": "zh-Hans", "zh": "zh-Hans", "zh-TW": "zh-Hant", "sr@latin": "sr-Latn"}

ORIGINALS = {"C", "en", "en-US"}
TAG = re.compile(r"<[^>]*>")
BLANKS = re.compile(r"\s+")


def tag_of(name):
    return TAGS.get(name) or re.split("[-_]", name)[0]


def prose(markup):
    return BLANKS.sub(" ", html.unescape(TAG.sub("", markup))).strip()


def paragraphs(folder, package):
    """(name of the language, paragraph) of all pages in a package."""
    for path, data in members(folder, package):
        path = path.removeprefix("./")
        for place, paragraph in SOURCES:
            match = place.match(path)
            if match:
                page = gzip.decompress(data) if path.endswith(".gz") else data
                for _, inner in paragraph.findall(page.decode("utf-8", "replace")):
                    yield match[1], prose(inner)


def runs(paragraph):
    """All three words in a row."""
    words = re.findall(r"\w+", paragraph.lower())
    return list(zip(words, words[1:], words[2:]))


def is_translated(paragraph, english):
    found = runs(paragraph)
    return sum(run in english for run in found) * 3 <= len(found)


def main():
    root = pathlib.Path(sys.argv[1])
    fetch(root / "fetched", PACKAGES)
    texts = root / "held-out"
    texts.mkdir(parents=True, exist_ok=True)
    for former in texts.glob("*.txt"):
        former.unlink()

    found, english = {}, set()
    for package in PACKAGES:
        for name, paragraph in paragraphs(root / "fetched", package):
            if len(paragraph) < 20:
                continue
            if name in ORIGINALS:
                english.update(runs(paragraph))
            found.setdefault(tag_of(name), {})[paragraph] = None
    for corpus in pathlib.Path(sys.argv[2]).glob("??.txt") if len(sys.argv) > 2 else []:
        lines = corpus.read_text(encoding="utf-8").splitlines()
        found.setdefault(tag_of(corpus.stem), {}).update(dict.fromkeys(BLANKS.sub(" ", line).strip() for line in lines))

    for tag, kept in sorted(found.items()):
        lines = [line for line in kept if line and (tag == "en" or is_translated(line, english))]
        data = "".join(line + "\n" for line in lines).encode()
        (texts / f"{tag}.txt").write_bytes(data)
        print(f"{tag:8} {len(data) // 1024:6} KB")


if __name__ == "__main__":
    main()
