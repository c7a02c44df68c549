"""A large repository with a description for each package."""

import io
import os
import random
import zipfile

FILES = 10_000
PACKAGES = 4_000
STAMP = "2024-05-01T12:00:00.000Z"
DIRECTORIES = ("core/version_latest", "blocks/version_latest")
WORDS = "board controller memory flash timer driver header pin bus clock debug power".split()


def archive_bytes(folder):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        archive.writestr(f"{folder}/version.info", "build: 2024.05.01\r\n")
    return buffer.getvalue()


def description(title):
    """About 6 kB, as an office program writes them: styled paragraphs and a table of pins."""
    generator = random.Random(title)

    def words(count):
        return " ".join(generator.choices(WORDS, k=count))

    paragraphs = "".join(f'<p style="font-size:12.0pt; line-height:150%;"><b>{words(3)}</b> '
                         f"{words(50)}.</p>\n" for _ in range(8))
    rows = "".join(f'<tr><td style="padding-right:16px;">{pin}</td><td>{words(3)}</td></tr>\n'
                   for pin in range(40))
    return (f'<html><body style="font-size:10.0pt;"><h2>{title}</h2>\n{paragraphs}'
            f"<table>{rows}</table></body></html>")


def make(site):
    """Two files for each package; the others belong to the core and the blocks."""
    bsp = f"{site}/zeft/bsp"
    for directory in ("bsp", *DIRECTORIES):
        os.makedirs(f"{site}/zeft/{directory}")
    files, packages = [], []
    with zipfile.ZipFile(f"{bsp}/hwd_doc.zip", "w", zipfile.ZIP_DEFLATED) as pages:
        for n in range(PACKAGES):
            stems = [f"zeft_bsp_board{n}.{kind}" for kind in ("hlib", "htc")]
            files += [("bsp", f"{stem}.zip", f"board{n}") for stem in stems]
            packages.append(f"8#{n % 8}#Board {n}##{stems[0]}#{stems[1]}#board{n}.html\r\n")
            pages.writestr(f"hwd_doc/board{n}.html", description(f"Board {n}"))
    for n in range(FILES - len(files)):
        files.append((DIRECTORIES[n % 2], f"zeft_part{n}.zip", f"zeft_part{n}"))
    lines = ["//zeft_upt_fversions.info\r\n"]
    for directory, name, folder in files:
        data = archive_bytes(folder)
        with open(f"{site}/zeft/{directory}/{name}", "wb") as file:
            file.write(data)
        lines.append(f"8#{name}#{directory}#{STAMP}#{len(data)}#{sum(data)}\r\n")
    for path, text in ((f"{site}/zeft/zeft_upt_fversions.info", lines),
                       (f"{bsp}/zeft_bsps.info", packages)):
        with open(path, "w", newline="") as file:
            file.writelines(text)
