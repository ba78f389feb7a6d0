#!/usr/bin/env python3
"""Makes docs/command-line-examples.md: every verb of fenwright-cli with good input, bad input, no
board, the wrong chip and a pulled cable, in both languages and with --json, on the simulated board.

  scripts/command-line-examples.py [PROGRAM]           writes the file anew
  scripts/command-line-examples.py --check [PROGRAM]   fails when a run gives something else

PROGRAM is fenwright-cli; build/dev/apps/fenwright-cli/fenwright-cli without one. A verb that the
program has and this script does not know is an error.
"""

import concurrent.futures
import difflib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DOCUMENT = os.path.join(ROOT, "docs", "command-line-examples.md")
PROGRAM = os.path.join(ROOT, "build", "dev", "apps", "fenwright-cli", "fenwright-cli")

TOGGLE = os.path.join(ROOT, "examples", "toggle-tiny12", "toggle-tiny12.hex")
FILES = {
    "broken.hex": ":020000000102FC\r\n:00000001FF\r\n",
    "firmware.hex": ":020000000102FB\r\n:00000001FF\r\n",
    "mine.hex": ":00000001FF\r\n",
    "blank.eep": ":00000001FF\r\n",
    "job.json": '{"fenwright_job": 1, "device": "ATtiny12L", "code": "toggle.hex",\n'
                ' "fuses": {"BODEN": "Enable"}, "lock": "write",\n'
                ' "serial": "flash:0x3FC=next:4", "counter": "numbers.txt", "record": "chips.csv"}\n',
    "mistyped.json": '{"fenwright_job": 1, "device": "ATtny12L", "code": "toggle.hex", "fuse": {}}\n',
    "numbers.txt": "fenwright-counter 1\nfirst 1000\n",
}


def check_sum(text):
    return "%08x" % zlib.crc32(text.encode("ascii"))


def safety_copy(flash):
    """The description of a safety copy whose memories are toggle.hex and blank.eep."""
    copy = {"fenwright_copy": 1, "device": "ATtiny12L", "signature": "1E:90:05",
            "taken": "2026-04-01T09:30:00", "calibration": [107],
            "flash": {"file": "toggle.hex", "crc32": check_sum(flash)},
            "eeprom": {"file": "blank.eep", "crc32": check_sum(FILES["blank.eep"])},
            "fuses": {"Fuse": 210, "Lock": 255}}
    copy["crc32"] = check_sum(json.dumps(copy, sort_keys=True, separators=(",", ":")))
    return json.dumps(copy)


# How the call starts where there is a board, and where none, or no chip to speak of, is needed.
CHIP = "--simulate --device ATtiny12L "
BOARD = "--simulate "
NO_PORT = "--port /dev/no-board "
OTHER_CHIP = CHIP + "--simulate-chip AT90S2313 "
# The line goes when that byte from the PC has arrived.
UNPLUGGED = "--simulate-fault hangup@%d "

GOOD = "Good input"
BAD = "Bad input"
MISSING = "No board"
OTHER = "Wrong chip"
PULLED = "Pulled cable"


def on_chip(arguments, bad, pulled_at):
    """The calls of a verb that works on the chip."""
    return {
        GOOD: CHIP + arguments,
        BAD: CHIP + bad,
        MISSING: NO_PORT + "--device ATtiny12L " + arguments,
        OTHER: OTHER_CHIP + arguments,
        PULLED: CHIP + UNPLUGGED % pulled_at + arguments,
    }


def on_board(arguments, bad, pulled_at):
    """The calls of a verb that asks the board and leaves the chip alone."""
    return {
        GOOD: BOARD + arguments,
        BAD: BOARD + bad,
        MISSING: NO_PORT + arguments,
        PULLED: BOARD + UNPLUGGED % pulled_at + arguments,
    }


def without_board(good, bad):
    """The calls of a verb that needs no board."""
    return {GOOD: good, BAD: bad}


CALLS = {
    "devices": without_board("devices", "--jsn devices"),
    "program": on_chip("program toggle.hex", "program broken.hex", 40),
    "run": on_chip("run job.json", "run mistyped.json", 40),
    "restore": on_chip("restore copy.json", "restore broken.json", 40),
    "read": on_chip("read --code out.hex", "read --code mine.hex", 40),
    "verify": on_chip("verify toggle.hex", "verify none.hex", 40),
    "compare": on_chip("compare toggle.hex chip", "compare toggle.hex none.hex", 40),
    "erase": dict(on_chip("erase", "", 12), **{BAD: BOARD + "--device ATtny12L erase"}),
    "read-fuses": on_chip("read-fuses", "read-fuses now", 12),
    "write-fuses": on_chip("write-fuses BODLEVEL=1.8V", "write-fuses BODLEVL=1.8V", 12),
    "dump": without_board("--device ATtiny12L dump toggle.hex", "--device ATtiny12L dump none.hex"),
    "lint": without_board("--device ATtiny12L lint toggle.hex",
                          "--device ATtiny12L lint broken.hex"),
    "ports": without_board("--simulate ports", "--port COM999 ports"),
    "identify": dict(on_board("identify", "--simulate-chip nothing identify", 6),
                     **{OTHER: BOARD + "--simulate-chip ATtiny11L identify"}),
    "detect": on_board("detect", "detect --devcie ATtiny12L", 1),
    "check-link": on_board("check-link", "--device ATtiny99 check-link", 12),
    "board-version": on_board("board-version", "--simulate-fault lost@1 board-version", 1),
    "update-firmware": on_board("update-firmware firmware.hex --yes",
                                "update-firmware broken.hex --yes", 4),
    "explain": without_board("explain wrong-chip", "explain wrong-chp"),
    "help": without_board("help erase", "help prgram"),
    "completion": without_board("completion bash", "completion tcsh"),
}
ABSENT = {
    MISSING: "It needs no board.",
    OTHER: "It does not look at the chip.",
    PULLED: "",
}

ENGLISH = {"LC_ALL": "C.UTF-8"}
JAPANESE = {"LC_ALL": "ja_JP.UTF-8"}
# What is read of an output, from its start and at its end.
FIRST_LINES = 34
LAST_LINES = 6


def normalised(text):
    """With 0.0 for every time, and without what a run leaves at the ends of lines."""
    def zero(match):
        blanks, number, unit = match.groups()
        width = len(blanks) + len(number) if len(blanks) > 1 else len(blanks) + 3
        return "0.0".rjust(width) + unit

    text = re.sub(r'("(?:[a-z_]*seconds|[a-z]+_ms)": )[-+0-9.e]+', r"\g<1>0.0", text)
    text = re.sub(r"( *)(\d+\.\d+)( (?:s\b|ms\b|秒))", zero, text)
    return "\n".join(line.rstrip() for line in text.splitlines())


def shortened(text):
    lines = text.splitlines()
    left_out = len(lines) - FIRST_LINES - LAST_LINES
    if left_out <= 1:
        return text
    note = "[... %d more lines ...]" % left_out
    return "\n".join(lines[:FIRST_LINES] + [note] + lines[-LAST_LINES:])


def run_once(program, arguments, language, output_alone):
    """The call in a folder of its own; its output and its exit code."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in FILES.items():
            with open(os.path.join(folder, name), "w", encoding="ascii", newline="") as file:
                file.write(content)
        shutil.copy(TOGGLE, os.path.join(folder, "toggle.hex"))
        with open(TOGGLE, encoding="ascii", newline="") as file:
            copy = safety_copy(file.read())
        with open(os.path.join(folder, "copy.json"), "w", encoding="ascii") as file:
            file.write(copy)
        environment = {"PATH": os.environ["PATH"], "HOME": folder, **language}
        result = subprocess.run(
            [program] + arguments.split(), cwd=folder, env=environment, timeout=60, check=False,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, encoding="utf-8",
            stderr=subprocess.DEVNULL if output_alone else subprocess.STDOUT)
    return result.stdout, result.returncode


def transcript(program, arguments, language, output_alone=False):
    """What a terminal shows of the call."""
    for _ in range(3):
        output, code = run_once(program, arguments, language, output_alone)
        # A machine that is busy with other things answers late.
        if "slow-link" not in output and "late" not in output and "遅れ" not in output:
            break
    lines = ["$ fenwright-cli " + arguments, shortened(normalised(output)), "$ echo $?", str(code)]
    return "\n".join(line for line in lines if line)


def verbs_of(program):
    output = subprocess.run([program, "--json", "help"], check=True, stdout=subprocess.PIPE,
                            env=dict(os.environ, **ENGLISH), encoding="utf-8").stdout
    return json.loads(output)["verbs"]


def document(program):
    verbs = verbs_of(program)
    names = [verb["name"] for verb in verbs]
    for name in sorted(set(names) ^ set(CALLS)):
        sys.exit("%s: the verb %s is not the same in the program and in this script"
                 % (os.path.basename(__file__), name))
    with concurrent.futures.ThreadPoolExecutor(max_workers=10) as pool:
        shown = {}
        for name in names:
            for case, arguments in CALLS[name].items():
                for kind, call in (("English", (arguments, ENGLISH)),
                                   ("Japanese", (arguments, JAPANESE)),
                                   ("JSON", ("--json " + arguments, ENGLISH, True))):
                    shown[name, case, kind] = pool.submit(transcript, program, *call)
        text = INTRODUCTION
        for verb in verbs:
            text += "\n## %s\n\n%s%s.\n" % (verb["name"], verb["description"][0].upper(),
                                            verb["description"][1:])
            for case in (GOOD, BAD, MISSING, OTHER, PULLED):
                if case not in CALLS[verb["name"]]:
                    needs_board = MISSING in CALLS[verb["name"]]
                    if case == OTHER and needs_board:
                        text += "\n" + ABSENT[OTHER] + "\n"
                    elif case == MISSING:
                        text += "\n" + ABSENT[MISSING] + "\n"
                    continue
                text += "\n### %s: %s\n" % (verb["name"], case.lower())
                for kind in ("English", "Japanese", "JSON"):
                    text += "\n```console\n%s\n```\n" % shown[verb["name"], case, kind].result()
    return text


INTRODUCTION = """# Command-line examples

What `fenwright-cli` prints, verb by verb: with good input, bad input, no board, the wrong chip in the socket and a
cable that is pulled meanwhile; where the locale is English, where it is Japanese, and with `--json` (standard output
alone). On a terminal each phase has a bar meanwhile; the differences of `verify` are in colour.

`scripts/command-line-examples.py` makes this page, and a test runs it again. 0.0 stands for every time. `toggle.hex` is
`examples/toggle-tiny12/toggle-tiny12.hex`; `broken.hex` has a wrong checksum; `copy.json` is a safety copy with
`toggle.hex` in it; `job.json` programs `toggle.hex` with fuse bits, a lock and a serial number.
"""


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    if check:
        arguments.pop(0)
    if len(arguments) > 1 or arguments[:1] == ["--help"]:
        sys.exit(__doc__)
    text = document(arguments[0] if arguments else PROGRAM)
    if not check:
        with open(DOCUMENT, "w", encoding="utf-8") as file:
            file.write(text)
        return
    with open(DOCUMENT, encoding="utf-8") as file:
        kept = file.read()
    if kept == text:
        return
    sys.stdout.writelines(difflib.unified_diff(kept.splitlines(True), text.splitlines(True),
                                               "docs/command-line-examples.md", "this run"))
    sys.exit("docs/command-line-examples.md is not what the program prints; "
             "scripts/command-line-examples.py makes it anew")


if __name__ == "__main__":
    main()
