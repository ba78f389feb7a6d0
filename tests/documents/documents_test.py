"""What the documents promise, compared with the programs and the repository.

    documents_test.py ROOT BUILD VERSION CTEST FENWRIGHT FENWRIGHT_CLI FENWRIGHT_BOARD
                      [GUIDE.pdf]
"""

import itertools
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from functools import cache
from pathlib import Path

ROOT, BUILD = map(Path, sys.argv[1:3])
VERSION, CTEST = sys.argv[3:5]
PROGRAMS = dict(zip(("fenwright", "fenwright-cli", "fenwright-board"), sys.argv[5:8]))
GUIDE = Path(sys.argv[8]) if len(sys.argv) > 8 else None
GUIDE_PAGES = 5

FRONT = ["README.md", "README.ja.md", "CONTRIBUTING.md", "CHANGELOG.md", "THIRD-PARTY.md"]
READMES = FRONT[:2]
SCREEN_LINES = 65  # a page of the web, with its picture, that one looks over

LINK = re.compile(r"\]\(([^)\s]+)\)")
CODE = re.compile(r"^    (\S.*)$", re.MULTILINE)
OPTION = re.compile(r"(?<![\w-])(--[a-z][a-z-]*)")
REPOSITORY_PATH = re.compile(
    r"`((?:scripts|src|apps|tests|docs|cmake|packaging|tools|fuzz|examples|licenses)/[^`\s]*)`")


def read(name: str) -> str:
    return (ROOT / name).read_text(encoding="utf-8")


@cache
def documents() -> list[str]:
    """Every document but the manual's chapters, which have links of their own kind."""
    found = [*FRONT, "examples/README.md"]
    for folder, pattern in (("docs", "*.md"), ("docs/guide", "*.md"), (".github", "**/*.md")):
        found += [str(path.relative_to(ROOT)) for path in sorted((ROOT / folder).glob(pattern))]
    return found


def run(*command: str, **more) -> subprocess.CompletedProcess:
    return subprocess.run(command, capture_output=True, text=True, timeout=120, check=False, **more)


@cache
def help_of(program: str, *words: str) -> str:
    result = run(PROGRAMS[program], *words, "--help")
    assert result.returncode == 0, result.stderr
    return result.stdout


@cache
def verbs() -> list[str]:
    part = help_of("fenwright-cli").split("\nSubcommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  ([a-z][a-z-]*)", part, re.MULTILINE)


def options_of(text: str) -> set[str]:
    """The options that a help text offers."""
    return set(re.findall(r"^  (?:-\w,\s*)?(--[a-z][a-z-]*)", text, re.MULTILINE))


def commands(name: str) -> list[str]:
    """The commands of a document, without the remarks behind them and with lines joined."""
    text = read(name).replace("\\\n", " ")
    return [re.split(r"\s+#(?:\s|$)", line)[0].strip() for line in CODE.findall(text)]


def words_of(command: str) -> list[str]:
    """The words of a command, without settings of the environment before it."""
    words = shlex.split(command.split("|")[0], comments=True)
    return list(itertools.dropwhile(lambda word: re.match(r"[A-Z_]+=", word), words))


def every_command(first: str) -> list[tuple[str, list[str]]]:
    """Document and words of every command, in any document, that starts a program."""
    found = []
    for name in documents():
        for command in commands(name):
            if "\\" in command or not re.match(rf"([A-Z_]+=\S+ )*{re.escape(first)}( |$)", command):
                continue
            found.append((name, words_of(command)))
    return found


class Links(unittest.TestCase):
    """Links and paths lead somewhere."""

    def test_every_link_leads_to_a_file(self):
        count = 0
        for name in documents():
            for target in LINK.findall(re.sub("`[^`\n]*`", "", read(name))):
                if re.match(r"[a-z]+:", target):
                    continue
                path, _, anchor = target.partition("#")
                place = (ROOT / name).parent / path if path else ROOT / name
                self.assertTrue(place.exists(), f"{name}: {target}")
                self.assertTrue(place.resolve().is_relative_to(ROOT.resolve()), f"{name}: {target}")
                if anchor:
                    headings = re.findall(r"^#+ (.+)$", place.read_text(encoding="utf-8"), re.M)
                    anchors = [re.sub(r"[^\w -]", "", text).lower().replace(" ", "-")
                               for text in headings]
                    self.assertIn(anchor, anchors, f"{name}: {target}")
                count += 1
        self.assertGreater(count, 60)

    def test_every_path_of_the_repository_is_there(self):
        count = 0
        for name in documents():
            if name == "CHANGELOG.md":
                continue  # It tells of what was.
            for path in REPOSITORY_PATH.findall(read(name)):
                if re.search(r"[A-Z]{4}|[{*<]", path):
                    continue
                # Sources are named without their extensions.
                self.assertTrue((ROOT / path).exists() or list(ROOT.glob(f"{path}.*")) or
                                list(ROOT.glob(f"{path}_test.*")), f"{name}: {path}")
                count += 1
        self.assertGreater(count, 30)


class Commands(unittest.TestCase):
    """What a reader is told to type exists, and does what it is said to do."""

    def test_every_script_is_there_with_its_options(self):
        for name in documents():
            for script in re.findall(r"(?<![\w/.-])scripts/[\w-]+\.sh|scripts/pre-commit", read(name)):
                self.assertTrue(os.access(ROOT / script, os.X_OK), f"{name}: {script}")
            for script, options in re.findall(r"(?<![\w/.-])(scripts/[\w-]+\.sh)((?: --[a-z-]+)+)",
                                              read(name)):
                for option in options.split():
                    self.assertIn(option.removeprefix("--"), read(script), f"{name}: {script} {option}")

    def test_every_call_of_the_command_line_has_a_verb_and_options_that_exist(self):
        calls = every_command("fenwright-cli")
        self.assertGreater(len(calls), 8)
        general = options_of(help_of("fenwright-cli"))
        for name, words in calls:
            verb = [word for word in words if word in verbs() or word == "VERB"]
            self.assertTrue(verb, f"{name}: {words}")
            known = general if verb[0] == "VERB" else general | options_of(
                help_of("fenwright-cli", verb[0]))
            for option in filter(OPTION.fullmatch, words):
                self.assertIn(option, known, f"{name}: {words}")

    def test_every_call_of_the_other_programs_has_options_that_exist(self):
        for program in ("fenwright", "fenwright-board"):
            calls = every_command(program)
            self.assertGreater(len(calls), 0)
            for name, words in calls:
                for option in filter(OPTION.fullmatch, words):
                    self.assertIn(option, options_of(help_of(program)), f"{name}: {words}")

    def test_every_preset_target_and_test_is_there(self):
        presets = {preset["name"] for preset in
                   json.loads(read("CMakePresets.json"))["configurePresets"]}
        targets = (BUILD / "build.ninja").read_text(encoding="utf-8")
        count = 0
        for name in documents():
            for preset in re.findall(r"--preset (\S+?)[`\s]", read(name)):
                self.assertIn(preset, presets, name)
            for target in re.findall(r"--preset dev --target ([\w-]+)", read(name)):
                self.assertRegex(targets, rf"(?m)^build {re.escape(target)}: phony", name)
                count += 1
            for pattern in re.findall(r"ctest --test-dir build/dev -R ('[^']+'|\w+)", read(name)):
                listed = run(CTEST, "--test-dir", str(BUILD), "-N", "-R", pattern.strip("'"))
                for part in pattern.strip("'").split("|"):
                    self.assertRegex(listed.stdout, rf"Test +#\d+: {part}", f"{name}: {pattern}")
                count += 1
        self.assertGreater(count, 2)

    def test_every_simulated_example_runs_and_ends_as_it_should(self):
        calls = [(name, words) for name, words in every_command("fenwright-cli")
                 if "--simulate" in words and not re.search(r"\b(NAME|FILE|VERB)\b", " ".join(words))]
        self.assertGreater(len(calls), 2)
        with tempfile.TemporaryDirectory() as home:
            for name, words in calls:
                result = run(PROGRAMS["fenwright-cli"], *words[1:], cwd=ROOT,
                             env={**os.environ, "HOME": home})
                # An example with a fault shows how one is found.
                expected = 1 if "--simulate-fault" in words else 0
                self.assertEqual(result.returncode, expected,
                                 f"{name}: {words}\n{result.stdout}{result.stderr}")


class Readmes(unittest.TestCase):
    """The two READMEs say the same, on one screen."""

    def test_they_have_the_same_commands(self):
        english, japanese = (commands(name) for name in READMES)
        self.assertGreater(len(english), 5)
        self.assertEqual(english, japanese)

    def test_they_lead_to_the_same_places(self):
        english, japanese = ({*LINK.findall(read(name))} for name in READMES)
        self.assertEqual(english - japanese, {"README.ja.md"})
        self.assertIn("README.md", japanese)

    def test_they_have_the_same_sections_and_fit_on_a_screen(self):
        counts = [len(re.findall("^## ", read(name), re.MULTILINE)) for name in READMES]
        self.assertEqual(*counts)
        for name in READMES:
            self.assertLessEqual(read(name).count("\n"), SCREEN_LINES, name)


class CommandReference(unittest.TestCase):
    """docs/command-line.md and docs/simulated-board.md know the programs."""

    def test_every_verb_and_option_is_in_it(self):
        text = read("docs/command-line.md")
        for verb in verbs():
            self.assertRegex(text, rf"(?m)^\| `{verb}[ `]", verb)
            for option in options_of(help_of("fenwright-cli", verb)) - {"--help"}:
                self.assertRegex(text, rf"{option}(?![\w-])", verb)
        for option in options_of(help_of("fenwright-cli")):
            self.assertRegex(text, rf"{option}(?![\w-])")

    def test_every_verb_and_option_of_it_exists(self):
        text = read("docs/command-line.md")
        known = options_of(help_of("fenwright-cli"))
        for verb in verbs():
            known |= options_of(help_of("fenwright-cli", verb))
        self.assertEqual({*OPTION.findall(text)} - known, set())
        table = text.split("## Verbs")[1].split("## Options")[0]
        self.assertEqual({*re.findall(r"(?m)^\| `([a-z-]+)", table)}, {*verbs()})

    def test_every_option_of_the_board_exists(self):
        known = options_of(help_of("fenwright-board"))
        table = read("docs/simulated-board.md").split("| Option |")[1]
        named = re.findall(r"(?m)^\| `(--[a-z-]+)", table)
        self.assertGreater(len(named), 5)
        self.assertEqual({*named} - known, set())


class Facts(unittest.TestCase):
    """Versions and licences."""

    def test_the_changelog_begins_with_the_version(self):
        self.assertEqual(re.findall(r"(?m)^## \[(.+?)\]", read("CHANGELOG.md"))[0], VERSION)

    def test_every_library_has_its_licence_named(self):
        packages = set()
        for path in [*ROOT.glob("cmake/*.cmake"), *ROOT.glob("*/CMakeLists.txt"),
                     *ROOT.glob("*/*/CMakeLists.txt"), ROOT / "CMakeLists.txt"]:
            packages |= {*re.findall(r"find_package\((\w+)", path.read_text(encoding="utf-8"))}
        packages -= {"Threads"}  # The system's own.
        names = {"GTest": "GoogleTest", "Qt6": "Qt 6", "nlohmann_json": "nlohmann-json"}
        self.assertIn("Qt6", packages)
        for package in packages:
            self.assertRegex(read("THIRD-PARTY.md"), rf"(?m)^\| {names.get(package, package)}[ ,(|]")

    def test_every_licence_is_linked_and_shown_by_the_about_box(self):
        files = {f"licenses/{path.name}" for path in (ROOT / "licenses").iterdir()}
        linked = {*LINK.findall(read("THIRD-PARTY.md"))}
        self.assertEqual({link for link in linked if link.startswith("licenses/")}, files)
        shown = {*re.findall(r'alias="(.+?)"', read("src/ui/licenses.qrc"))}
        self.assertEqual(shown, files | {"LICENSE", "THIRD-PARTY.md"})

    def test_every_notice_beside_the_windows_programs_is_packed(self):
        page = read("THIRD-PARTY.md")
        named = {*re.findall(r"`([\w-]+\.txt)`", page[page.index("## In the Windows programs"):])}
        packed = {*re.findall(r"(?m)^notices_of \S+ (\S+)$", read("scripts/build-windows.sh"))}
        self.assertGreater(len(packed), 3)
        self.assertEqual(named, packed | {"versions.txt"})

    def test_the_groups_of_packages_are_those_that_can_be_asked_for(self):
        groups = re.findall(r"(?m)^\[(.+)\]", read("scripts/packages.txt"))
        usage = re.search(r"install-packages\.sh \[(\S+)\]\.\.\.", read("scripts/install-packages.sh"))
        self.assertEqual(sorted(usage.group(1).split("|")), sorted(groups))


class Guide(unittest.TestCase):
    """The short guide in English."""

    def chapters(self) -> list[str]:
        names = read("docs/guide/contents.txt").split()
        self.assertGreater(len(names), 2)
        return [read(f"docs/guide/{name}") for name in names]

    @unittest.skipUnless(GUIDE, "this build makes no guide")
    def test_it_has_its_pages_and_every_heading_is_on_one(self):
        text = run("pdftotext", "-layout", str(GUIDE), "-").stdout
        self.assertEqual(text.count("\f"), GUIDE_PAGES)
        self.assertIn(f"Version {VERSION}", text)
        for chapter in self.chapters():
            for heading in re.findall(r"(?m)^##? (.+)$", chapter):
                self.assertIn(heading, text)

    def test_every_caption_is_one_of_the_window(self):
        captions = set(re.findall(r"［(.+?)］", "".join(self.chapters())))
        self.assertGreater(len(captions), 12)
        window = "".join(path.read_text(encoding="utf-8") for path in (ROOT / "src/ui").glob("*.cpp"))
        for caption in captions:
            self.assertRegex(window, rf'"{re.escape(caption)}(\(&\w\))?"', caption)

    def test_every_saying_is_one_of_the_program(self):
        sources = "".join(path.read_text(encoding="utf-8") for path in (ROOT / "src").glob("*/*.cpp"))
        for saying in re.findall("「(.+?)」", "".join(self.chapters())):
            for part in re.split(r"[ 　:/]+", saying):
                self.assertIn(part, sources, saying)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
