"""Makes a manual: make_manual.py FOLDER OUT.pdf VERSION [LANGUAGE]

FOLDER holds contents.txt, the chapters that it lists, one a line, and their pictures. Markdown is
read by Python-Markdown and laid out by WeasyPrint; manual.css says how it looks. Nothing is written
when anything is missing or wrong. LANGUAGE is that of what is written around the chapters: "ja", or
"en", a guide too short for a table of contents. The same input gives the same bytes, wherever it lies.
"""

import html
import io
import logging
import re
import string
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path
from urllib.parse import unquote
from xml.etree import ElementTree

import markdown
import weasyprint
from fontTools import subset
from fontTools.ttLib import TTFont
from markdown.extensions.tables import TableProcessor
from markdown.inlinepatterns import InlineProcessor, SubstituteTagInlineProcessor
from markdown.treeprocessors import Treeprocessor
from weasyprint.text.fonts import FontConfiguration

STYLE = Path(__file__).with_name("manual.css")
TITLE_PICTURE = "images/window-program.png"

SHORT_TABLE_ROWS = 6

# Of everything that the pages name: nothing tells where the folder is.
BASE_URL = "file:///"

# The fonts by the names that the style sheet gives them.
FONTS = {
    "text.otf": "Noto Sans CJK JP",
    "bold.otf": "Noto Sans CJK JP:bold",
    "code.otf": "Noto Sans Mono CJK JP",
}

PAGES = """<!DOCTYPE html>
<html lang="{language}">
<meta name="generator" content="Fenwright {version}">
<title>Fenwright {title} {version}</title>
<header>
<p class="program">Fenwright</p>
<p class="manual">{title}</p>
<p>{subject}</p>
<p>{version_word} {version}</p>
{picture}
</header>
{contents}
{chapters}
</html>
"""

# What is written around the chapters. Without a title the contents are left out.
WORDS = {
    "ja": {
        "title": "取扱説明書",
        "subject": "AT90S / ATtiny マイクロコントローラー用プログラマー",
        "version_word": "バージョン",
        "contents": "目次",
    },
    "en": {
        "title": "Short guide",
        "subject": "Programmer for AT90S and ATtiny microcontrollers",
        "version_word": "Version",
        "contents": None,
    },
}

# A line break beside a Japanese character, or a wide one, stands for no blank.
JAPANESE_BREAK = r"(?<=[\u2E80-\uFFFF])[ \t]*\n[ \t]*|[ \t]*\n[ \t]*(?=[\u2E80-\uFFFF])"
CODE_BLOCK = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)
PICTURE = re.compile(r"!\[.*?\]\((.+?)\)")
RULE = re.compile(r"\|(\s*:?-+:?\s*\|)+\s*")
BAR = re.compile(r"(?<!\\)\|")


class ManualError(Exception):
    """What is wrong with the manual's text, or with the machine."""


def cell_count(row: str) -> int:
    """The cells of a table's line."""
    return len(BAR.findall(row)) - 1


def faults(text: str, folder: Path) -> Iterator[tuple[int, str]]:
    """What Markdown would pass over in silence, with the lines of it."""
    code = rows = columns = 0
    for number, line in enumerate(f"{text}\n".split("\n"), 1):
        if line.startswith("```"):
            code = 0 if code else number
        if code:
            continue
        for path in PICTURE.findall(line):
            if not (folder / path).is_file():
                yield number, f"the picture {folder / path} is missing"
        cells = cell_count(line)
        if rows == 1 and not RULE.fullmatch(line):
            yield number - 1, "the table has no rule below its header"
        elif rows == 1 and cells != columns:
            yield number, "the table's rule and header have different columns"
        elif rows > 1 and line.startswith("|") and cells != columns:
            yield number, f"the row has {cells} cells, the header {columns}"
        columns = columns if rows else cells
        rows = rows + 1 if line.startswith("|") else 0
    if code:
        yield code, "the code block has no end"


def read_chapter(folder: Path, name: str) -> str:
    """A chapter, whose heading is the target of links to its file."""
    try:
        text = (folder / name).read_text(encoding="utf-8")
    except OSError:
        raise ManualError(f"the chapter {folder / name} is missing") from None
    for line, fault in faults(text, folder):
        raise ManualError(f"{name}:{line}: {fault}")
    if not text.startswith("# ") or len(re.findall("^# ", CODE_BLOCK.sub("", text), re.M)) != 1:
        raise ManualError(f'{name}: the chapter has to start with its one heading "# "')
    return text.replace("\n", f" {{#{Path(name).stem}}}\n", 1)


def read_chapters(folder: Path) -> str:
    """All chapters, one after the other."""
    contents = folder / "contents.txt"
    try:
        names = contents.read_text(encoding="utf-8").split()
    except OSError:
        raise ManualError(f"{contents} cannot be read") from None
    if not names:
        raise ManualError(f"{contents} lists no chapter")
    for path in sorted(folder.glob("*.md")):
        if path.name not in names:
            raise ManualError(f"{path.name} is not listed in {contents}")
    text = "\n\n".join(read_chapter(folder, name) for name in names)
    return re.sub(r"\]\(([\w-]+)\.md\)", r"](#\1)", text)


class JapaneseBreaks(InlineProcessor):
    """Joins the lines of Japanese text."""

    def handleMatch(self, m: re.Match, data: str) -> tuple[str, int, int]:
        return "", m.start(0), m.end(0)


class Tables(TableProcessor):
    """Columns are as wide, relative to each other, as the dashes below their headers.

    Pages cut no short table, nor do they leave the last row of another alone.
    """

    def run(self, parent: ElementTree.Element, blocks: list[str]) -> None:
        dashes = [len(cell) for cell in re.findall("-+", blocks[0].split("\n")[1])]
        super().run(parent, blocks)
        table = parent[-1]
        columns = ElementTree.Element("colgroup")
        for count in dashes:
            ElementTree.SubElement(columns, "col", style=f"width:{100 * count / sum(dashes)}%")
        table.insert(0, columns)
        rows = table.find("tbody")
        if len(rows) <= SHORT_TABLE_ROWS:
            table.set("class", "short")
            return
        end = ElementTree.SubElement(table, "tbody", {"class": "end"})
        end.extend(rows[-2:])
        del rows[-2:]


class Figures(Treeprocessor):
    """A paragraph that is a picture becomes a figure, its description the caption."""

    def run(self, root: ElementTree.Element) -> None:
        for paragraph in root.iter("p"):
            if [child.tag for child in paragraph] == ["img"] and not paragraph.text:
                paragraph.tag = "figure"
                ElementTree.SubElement(paragraph, "figcaption").text = paragraph[0].get("alt")


def markdown_reader() -> markdown.Markdown:
    """Python-Markdown, with what the manual needs beside its own extensions."""
    reader = markdown.Markdown(
        extensions=["attr_list", "fenced_code", "sane_lists", "tables", "toc"],
        extension_configs={"toc": {"toc_depth": 2}})
    # What looks like HTML is text, but for line breaks.
    reader.preprocessors.deregister("html_block")
    reader.inlinePatterns.register(SubstituteTagInlineProcessor("<br>", "br"), "html", 90)
    reader.inlinePatterns.register(JapaneseBreaks(JAPANESE_BREAK, reader), "breaks", 1)
    tables = Tables(reader.parser, {"use_align_attribute": False})
    reader.parser.blockprocessors.register(tables, "table", 75)
    reader.treeprocessors.register(Figures(reader), "figures", 1)
    return reader


def part_of_font(pattern: str, text: str) -> bytes:
    """What the text needs of an installed font."""
    command = ["fc-match", "-f", "%{family}\n%{file}\n%{index}", pattern]
    family, file, index = subprocess.run(
        command, check=True, capture_output=True, text=True).stdout.split("\n")
    if family != pattern.split(":")[0]:
        raise ManualError(
            f"the font {pattern} is not installed: on Debian the package fonts-noto-cjk has it")
    font = TTFont(file, fontNumber=int(index), recalcTimestamp=False)
    options = subset.Options(layout_features=[], hinting=False, desubroutinize=True,
                             ignore_missing_unicodes=False)
    options.drop_tables += ["BASE", "GPOS", "GSUB", "VORG", "vhea", "vmtx"]
    subsetter = subset.Subsetter(options)
    subsetter.populate(text=text)
    try:
        subsetter.subset(font)
    except subset.Subsetter.MissingUnicodesSubsettingError as error:
        raise ManualError(f"the font {pattern} does not have {error}") from None
    number_glyphs(font)
    result = io.BytesIO()
    font.save(result)
    return result.getvalue()


def number_glyphs(font: TTFont) -> None:
    """Makes the glyphs' character ids their places in the font, as WeasyPrint takes them to be.

    WeasyPrint takes the parts of fonts itself, too, but keeps the places of all 65,535 glyphs,
    which takes long.
    """
    names = {old: f"cid{place:05}" for place, old in enumerate(font.getGlyphOrder())}
    names[".notdef"] = ".notdef"
    font["cmap"].tables = [table for table in font["cmap"].tables if table.format != 14]
    for table in font["cmap"].tables:
        table.cmap = {character: names[old] for character, old in table.cmap.items()}
    font["hmtx"].metrics = {names[old]: metric for old, metric in font["hmtx"].metrics.items()}
    top = font["CFF "].cff.topDictIndex[0]
    top.CharStrings.charStrings = {
        names[old]: glyph for old, glyph in top.CharStrings.charStrings.items()}
    top.charset = list(names.values())
    font.setGlyphOrder(top.charset)


def make_pdf(folder: Path, version: str, language: str = "ja") -> bytes:
    """The manual as a PDF."""
    words = WORDS[language]
    reader = markdown_reader()
    chapters = reader.convert(read_chapters(folder))
    contents = f"<nav><p>{words['contents']}</p>{reader.toc}</nav>" if words["contents"] else ""
    text = PAGES.format(
        **{**words, "contents": contents}, language=language, version=html.escape(version),
        chapters=chapters,
        picture=f'<img src="{TITLE_PICTURE}">' if (folder / TITLE_PICTURE).is_file() else "")
    style = STYLE.read_text(encoding="utf-8")
    characters = (html.unescape(text) + style + string.digits).replace("\n", "")
    fonts = {name: part_of_font(pattern, characters) for name, pattern in FONTS.items()}

    def fetch(url: str) -> dict[str, bytes]:
        """What an address of the pages or of the style sheet stands for."""
        name = unquote(url).removeprefix(BASE_URL)
        return {"string": fonts[name] if name in fonts else (folder / name).read_bytes()}

    # WeasyPrint goes on after a link to nowhere or a style that it does not know.
    complaints = []
    handler = logging.Handler()
    handler.emit = lambda record: complaints.append(record.getMessage())
    logging.getLogger("weasyprint").addHandler(handler)
    configuration = FontConfiguration()
    sheet = weasyprint.CSS(string=style, base_url=BASE_URL, url_fetcher=fetch,
                           font_config=configuration)
    document = weasyprint.HTML(string=text, base_url=BASE_URL, url_fetcher=fetch)
    pdf = document.write_pdf(stylesheets=[sheet], font_config=configuration,
                             presentational_hints=True, optimize_size=())
    if complaints:
        raise ManualError("; ".join(complaints))
    return pdf


def main() -> int:
    """The program."""
    if len(sys.argv) not in (4, 5) or sys.argv[4:] not in ([], *([name] for name in WORDS)):
        print(f"usage: make_manual.py FOLDER OUT.pdf VERSION [{'|'.join(WORDS)}]", file=sys.stderr)
        return 2
    folder, output, version, *language = sys.argv[1:]
    try:
        Path(output).write_bytes(make_pdf(Path(folder), version, *language))
    except (ManualError, OSError) as error:
        print(f"make_manual.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
