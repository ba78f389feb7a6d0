"""The manual's PDF as independent readers see it: the one that was built, and small ones.

    manual_test.py MAKE_MANUAL.py MANUAL.pdf FOLDER VERSION
"""

import io
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

from fontTools.ttLib import TTFont
from PIL import Image, ImageOps

GENERATOR, MANUAL, FOLDER = map(Path, sys.argv[1:4])
VERSION = sys.argv[4]

sys.dont_write_bytecode = True
sys.path.insert(0, str(GENERATOR.parent))
import make_manual  # noqa: E402

TEXT_WIDTH = 168  # millimetres


def read(*command: object) -> str:
    """What a program prints about a PDF; it must not complain."""
    result = subprocess.run(map(str, command), check=True, capture_output=True, text=True)
    assert result.stderr == "", result.stderr
    return result.stdout


def bare(text: str) -> str:
    """Without blanks and without the marks of Markdown."""
    return re.sub(r"<br>|^> |[\s`|\\*]", "", text, flags=re.MULTILINE)


class Pdf:
    """A PDF and what is in it."""

    def __init__(self, path: Path):
        self.path = path
        self.pages = read("pdftotext", "-layout", path, "-").split("\f")[:-1]
        self.text = "".join(self.pages)
        self.tree = ElementTree.fromstring(read("pdftohtml", "-xml", "-i", "-stdout", path))

    def page_of(self, text: str, first: int = 4) -> int:
        """The only page with this line, contents aside."""
        found = [number for number, page in enumerate(self.pages, 1) if number >= first and
                 text in map(str.strip, page.split("\n"))]
        assert len(found) == 1, (text, found)
        return found[0]

    def bookmarks(self) -> list[tuple[int, str, int]]:
        """Level, title and page of each, in their order."""
        def walk(outline, level):
            for node in outline:
                if node.tag == "item":
                    yield level, node.text, int(node.get("page"))
                else:
                    yield from walk(node, level + 1)
        return list(walk(self.tree.find("outline"), 1))

    def contents(self) -> list[tuple[str, int]]:
        """Title, with number, and page of each line of the contents."""
        line = r"^ *([\d.]+) +(.+?) [ .]+ (\d+)$"
        return [(f"{number}　{title}", int(page)) for number, title, page in
                re.findall(line, self.text, re.MULTILINE)]

    def links(self) -> list[tuple[str, str]]:
        """Text and target of each piece of text that is a link: "#" and the page inside the PDF."""
        return [("".join(link.itertext()), re.sub(r"^.*#", "#", link.get("href")))
                for link in self.tree.iter("a")]

    def place_of(self, text: str) -> tuple[int, list[int]]:
        """Page, and left, top, width and height in 1/108 inch, of the first line of that text."""
        for page in self.tree.iter("page"):
            for piece in page.iter("text"):
                if "".join(piece.itertext()).strip() == text:
                    sides = ("left", "top", "width", "height")
                    return int(page.get("number")), [int(piece.get(side)) for side in sides]
        raise AssertionError(text)

    def left_of(self, text: str) -> float:
        """How far from the page's left edge a text starts, in millimetres."""
        return self.place_of(text)[1][0] / 108 * 25.4

    def ink_of(self, text: str) -> tuple[int, int]:
        """Width and height of what is drawn for a text, in 1/432 inch."""
        page, (left, top, width, height) = self.place_of(text)
        command = ["pdftoppm", "-gray", "-r", 432, "-f", page, "-l", page,
                   "-x", 4 * left, "-y", 4 * top, "-W", 4 * width, "-H", 4 * height, self.path]
        drawn = subprocess.run(map(str, command), check=True, capture_output=True).stdout
        with Image.open(io.BytesIO(drawn)) as image:
            box = ImageOps.invert(image).point(lambda grey: 255 * (grey > 128)).getbbox()
        return box[2] - box[0], box[3] - box[1]


FIRST_CHAPTER = """# 最初の題

用紙の長さと日本語の
文字、ｺﾐﾆｭｹｰｼｮﾝ、AT90S8515と一行目・入力。

two
words
から。

一

｜

- 前の項
- 次の項の
  続き

3. 三番目の
   手順

| 左の題 | 右の題 |
|--|------|
| 左の行 | 上<br>下 |
| \\| |  |

```
a **b**

  <c>
```

![絵の説明](images/a.png){width=60%}

> **注意** 一の文。
> 二の文。

`<b> **c**` \\*\\*d\\*\\* e & f <g>

[次の章](second.md)

[外](https://a.example/)

## 節

### 小さい題
"""

SECTIONS = 60
ROWS = 97


def second_chapter() -> str:
    """Sections, small tables and one long table, over many pages."""
    text = "# 次の題\n\n"
    for number in range(1, SECTIONS + 1):
        text += f"## 節{number}\n\n文{number}です。\n\n"
        rows = "| 中 |\n" * (number % 5)
        text += f"| 表{number} |\n|--|\n| 前{number} |\n{rows}| 後{number} |\n\n"
    text += "## 最後の節\n\n| 見出し | 内容 |\n|--|--|\n"
    return text + "".join(f"| 行{row} | 初{row}<br>二<br>三<br>終{row} |\n" for row in range(ROWS))


class SmallManual(unittest.TestCase):
    """Two chapters with something of everything."""

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = Path(cls.temporary.name)
        (cls.folder / "images").mkdir()
        (cls.folder / "images/a.png").write_bytes(
            (FOLDER / "images/message-busy.png").read_bytes())
        (cls.folder / "contents.txt").write_text("first.md\nsecond.md\n")
        (cls.folder / "first.md").write_text(FIRST_CHAPTER)
        (cls.folder / "second.md").write_text(second_chapter())
        path = cls.folder / "a.pdf"
        path.write_bytes(make_manual.make_pdf(cls.folder, "1.2.3"))
        cls.pdf = Pdf(path)

    def test_a_reader_finds_the_tree_of_bookmarks(self):
        bookmarks = self.pdf.bookmarks()
        self.assertEqual(bookmarks[:4], [(1, "1　最初の題", 4), (2, "1.1　節", 4),
                                         (1, "2　次の題", 5), (2, "2.1　節1", 5)])
        self.assertEqual(len(bookmarks), 3 + SECTIONS + 1)

    def test_the_contents_name_the_pages_of_the_headings(self):
        self.assertEqual(self.pdf.contents(),
                         [(title, page) for _, title, page in self.pdf.bookmarks()])
        for number in (1, SECTIONS // 2, SECTIONS):
            self.assertIn((f"2.{number}　節{number}", self.pdf.page_of(f"文{number}です。")),
                          self.pdf.contents())
        self.assertIn("バージョン 1.2.3", self.pdf.pages[0])

    def test_the_time_of_making_is_left_out(self):
        self.assertNotIn(b"/CreationDate", self.pdf.path.read_bytes())

    def test_the_text_can_be_searched_with_the_characters_that_were_written(self):
        # Characters whose glyph a radical shares, half-width letters, and digits after letters.
        self.assertIn("用紙の長さと日本語の文字、ｺﾐﾆｭｹｰｼｮﾝ、AT90S8515と一行目・入力。", self.pdf.text)

    def test_characters_are_drawn_as_what_they_are(self):
        width, height = self.pdf.ink_of("一")
        self.assertGreater(width, 5 * height)
        width, height = self.pdf.ink_of("｜")
        self.assertGreater(height, 5 * width)

    def test_the_places_of_a_fonts_glyphs_are_their_character_ids(self):
        # Readers differ in which of the two they go by.
        part = make_manual.part_of_font("Noto Sans CJK JP:bold", "終わり")
        with TTFont(io.BytesIO(part)) as font:
            names = font.getGlyphOrder()
            self.assertEqual(names[1:], [f"cid{place:05}" for place in range(1, len(names))])
            self.assertEqual(sorted(map(chr, font.getBestCmap())), sorted("終わり"))

    def test_lines_of_a_paragraph_are_joined_without_a_blank_between_japanese_characters(self):
        self.assertIn("日本語の文字", self.pdf.text)
        self.assertIn("two wordsから。", self.pdf.text)

    def test_items_have_their_marker(self):
        self.assertRegex(self.pdf.text, r"・ *前の項\n")
        self.assertRegex(self.pdf.text, r"・ *次の項の続き\n")
        self.assertRegex(self.pdf.text, r"3\. *三番目の手順\n")

    def test_a_table_has_its_widths_and_rows(self):
        self.assertAlmostEqual(self.pdf.left_of("右の題") - self.pdf.left_of("左の題"),
                               TEXT_WIDTH * 2 / 8, delta=0.5)
        self.assertAlmostEqual(self.pdf.left_of("上"), self.pdf.left_of("下"), delta=0.5)
        self.assertAlmostEqual(self.pdf.left_of("|"), self.pdf.left_of("左の行"), delta=0.5)

    def test_code_is_taken_as_it_is(self):
        self.assertRegex(self.pdf.text, r"\n( *)a \*\*b\*\*\n\n?\1 +<c>\n")

    def test_a_picture_has_a_caption_and_a_width(self):
        page, _, _, width, *_, horizontal, _, _, _ = read(
            "pdfimages", "-list", self.pdf.path).split("\n")[2].split()
        self.assertEqual(page, "4")
        self.assertAlmostEqual(int(width) / int(horizontal) * 25.4, TEXT_WIDTH * 0.6, delta=1)
        self.assertRegex(self.pdf.text, r"\n +絵の説明\n")

    def test_a_note_is_one_block(self):
        self.assertIn("注意 一の文。二の文。", self.pdf.text)

    def test_inline_marks_are_taken_and_the_rest_is_text(self):
        self.assertIn("<b> **c** **d** e & f <g>\n", self.pdf.text)

    def test_a_link_goes_to_its_chapter(self):
        self.assertIn(("次の章", "#5"), self.pdf.links())
        self.assertIn(("外", "https://a.example/"), self.pdf.links())

    def test_a_chapter_starts_a_page(self):
        self.assertEqual(self.pdf.page_of("小さい題"), 4)
        self.assertEqual(dict(self.pdf.contents())["2　次の題"], 5)

    def test_a_heading_is_not_left_alone_at_the_end_of_a_page(self):
        pages = dict(self.pdf.contents())
        for number in range(1, SECTIONS + 1):
            self.assertEqual(pages[f"2.{number}　節{number}"],
                             self.pdf.page_of(f"文{number}です。"))

    def test_a_short_table_is_not_cut_nor_parted_from_what_announces_it(self):
        for number in range(1, SECTIONS + 1):
            self.assertEqual({self.pdf.page_of(f"{text}{number}") for text in "表前後"},
                             {self.pdf.page_of(f"文{number}です。")})

    def test_a_table_that_goes_on_repeats_its_header(self):
        pages = [page for page in self.pdf.pages if re.search(r"\n行\d", page)]
        self.assertGreater(len(pages), 2)
        for page in pages:
            self.assertRegex(page, "見出し +内容")

    def test_a_row_is_not_cut_nor_is_the_last_one_left_alone(self):
        rows = [re.findall(r"行(\d+) +初\1\n", page) for page in self.pdf.pages]
        self.assertEqual(rows, [re.findall(r"終(\d+)", page) for page in self.pdf.pages])
        self.assertEqual([row for page in rows for row in page], list(map(str, range(ROWS))))
        # One more row would have fitted on the page before the last.
        full = len(rows[-3])
        self.assertEqual([len(page) for page in rows[-2:]], [full - 1, 2])


class BrokenText(unittest.TestCase):
    """What is refused; the file's name is put before it."""

    def fault(self, text: str) -> tuple[int, str]:
        return next(make_manual.faults(text, FOLDER))

    def refusal(self, text: str) -> str:
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            (folder / "contents.txt").write_text("a.md\n")
            (folder / "a.md").write_text(text)
            with self.assertRaises(make_manual.ManualError) as caught:
                make_manual.make_pdf(folder, "1.2.3")
            return str(caught.exception)

    def test_a_row_with_other_cells_than_the_header_is_named_with_its_line(self):
        self.assertEqual(self.fault("\n| a | b |\n|--|--|\n| 1 |\n"),
                         (4, "the row has 1 cells, the header 2"))
        self.assertEqual(self.fault("| a | b |\n| 1 | 2 |\n"),
                         (1, "the table has no rule below its header"))
        self.assertEqual(self.fault("| a | b |"), (1, "the table has no rule below its header"))
        self.assertEqual(self.fault("| a | b |\n|--|\n"),
                         (2, "the table's rule and header have different columns"))

    def test_code_without_an_end_is_named_with_its_line(self):
        self.assertEqual(self.fault("\n```\n| a |\n"), (2, "the code block has no end"))

    def test_a_second_heading_of_a_chapter_is_refused(self):
        self.assertIn("a.md: the chapter has to start with its one heading",
                      self.refusal("# 題\n\n```\n# a\n```\n\n# 題\n"))

    def test_contents_without_a_chapter_are_refused(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "contents.txt").write_text("\n")
            with self.assertRaisesRegex(make_manual.ManualError, "contents.txt lists no chapter"):
                make_manual.make_pdf(Path(folder), "1.2.3")

    def test_a_link_to_nowhere_is_named(self):
        self.assertIn("#none", self.refusal("# 題\n\n[章](none.md)\n"))

    def test_a_character_that_no_font_has_is_named(self):
        self.assertIn("U+1F600", self.refusal("# 題\n\n\N{GRINNING FACE}\n"))


class BuiltManual(unittest.TestCase):
    """The manual of this build."""

    @classmethod
    def setUpClass(cls):
        cls.pdf = Pdf(MANUAL)
        names = (FOLDER / "contents.txt").read_text().split()
        cls.chapters = [(FOLDER / name).read_text() for name in names]

    def headings(self) -> list[tuple[int, str]]:
        """Level and title, with its number, of all headings that have one."""
        headings = []
        for chapter, text in enumerate(self.chapters, 1):
            headings.append((1, f"{chapter}　" + text.split("\n")[0][2:]))
            for section, title in enumerate(re.findall("^## (.+)$", text, re.MULTILINE), 1):
                headings.append((2, f"{chapter}.{section}　{title}"))
        return headings

    def test_every_heading_is_a_bookmark_and_a_line_of_the_contents(self):
        bookmarks = self.pdf.bookmarks()
        self.assertEqual([(level, title) for level, title, _ in bookmarks], self.headings())
        self.assertEqual(self.pdf.contents(), [(title, page) for _, title, page in bookmarks])

    def test_every_heading_is_on_the_page_that_the_contents_name(self):
        for title, page in self.pdf.contents():
            self.assertIn(bare(title), bare(self.pdf.pages[page - 1]))

    def test_every_line_of_the_contents_is_a_link_to_its_page(self):
        links = self.pdf.links()
        for title, page in self.pdf.contents():
            self.assertIn((title, f"#{page}"), links)

    def test_every_text_of_every_chapter_can_be_found(self):
        found = bare(read("pdftotext", "-raw", MANUAL, "-"))
        pieces = 0
        for chapter in self.chapters:
            # Pictures are their captions; marks at the start of a line part what is around them.
            text_alone = re.sub(r"^!\[(.*)\].*$", r"\1", chapter, flags=re.MULTILINE)
            for block in re.split(r"(?m)\n\s*\n|(?<!\\)\||<br>|^```$|^- |^\d+\. |^#+ ", text_alone):
                if set(block) - set("-|: \n"):
                    pieces += 1
                    self.assertIn(bare(block), found)
        self.assertGreater(pieces, 1000)

    def test_every_picture_is_there_with_its_caption(self):
        captions = [caption for text in self.chapters
                    for caption in re.findall(r"^!\[(.+)\]", text, re.MULTILINE)]
        self.assertGreater(len(captions), 10)
        pictures = read("pdfimages", "-list", MANUAL).strip().split("\n")[2:]
        self.assertEqual(len(pictures), 1 + len(captions))
        for caption in captions:
            self.assertRegex(self.pdf.text, rf"\n +{re.escape(caption)}\n")

    def test_the_fonts_are_within_and_tell_their_characters(self):
        fonts = [line.split() for line in read("pdffonts", MANUAL).strip().split("\n")[2:]]
        self.assertEqual(sorted(font[0].split("+")[1] for font in fonts),
                         ["Code", "Text", "Text-Bold"])
        for font in fonts:
            self.assertEqual(font[-5:-2], ["yes", "yes", "yes"])

    def test_title_page_and_properties_name_the_program_and_its_version(self):
        self.assertRegex(self.pdf.pages[0],
                         rf"^\s*Fenwright\s+取扱説明書\s+AT90S.*\s+バージョン {VERSION}\s*$")
        properties = read("pdfinfo", MANUAL)
        self.assertRegex(properties, rf"(?m)^Title: +Fenwright 取扱説明書 {VERSION}$")
        self.assertRegex(properties, rf"(?m)^Creator: +Fenwright {VERSION}$")
        self.assertRegex(properties, r"(?m)^Page size: .*\(A4\)$")

    def test_it_has_about_fifty_pages_with_their_numbers(self):
        self.assertIn(len(self.pdf.pages), range(40, 61))
        for number, page in enumerate(self.pdf.pages[1:], 2):
            self.assertRegex(page, rf"\n +{number}\n*$")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[5:], verbosity=2)
