"""The examples as a user runs them: "make flash", and the steps of the workflow for CI.

usage: examples_test.py EXAMPLES FENWRIGHT-CLI FENWRIGHT-BOARD
"""

import csv
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

EXAMPLES, CLI, BOARD = sys.argv[1:4]
HAS_COMPILER = shutil.which("avr-gcc") is not None
FLASH_BYTES = 8192


def records(path):
    """What an Intel HEX file gives, by address."""
    image = {}
    with open(path, encoding="ascii") as file:
        for line in file:
            record = bytes.fromhex(line.strip()[1:])
            if record[3] == 0:
                start = record[1] << 8 | record[2]
                image.update(enumerate(record[4:-1], start))
    return image


class Examples(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.blink = os.path.join(self.folder.name, "blink")
        shutil.copytree(os.path.join(EXAMPLES, "blink"), self.blink)
        # The file of the repository is taken where there is no compiler, whatever its time is.
        if HAS_COMPILER:
            os.remove(self.hex_file())
        else:
            os.utime(os.path.join(self.blink, "blink.c"), (1, 1))
        self.environment = dict(os.environ, LC_ALL="C")
        self.environment["PATH"] = os.path.dirname(CLI) + ":" + os.environ["PATH"]

    def hex_file(self):
        return os.path.join(self.blink, "blink.hex")

    def run_in_blink(self, command):
        return subprocess.run(command, cwd=self.blink, env=self.environment, text=True,
                              capture_output=True, timeout=120, check=False)

    def start_board(self, *options, device="AT90S8515"):
        port = os.path.join(self.folder.name, "port")
        dump = os.path.join(self.folder.name, "dump")
        board = subprocess.Popen([BOARD, "--device", device, "--baud", "0", "--link", port,
                                  "--dump", dump, *options], stdout=subprocess.DEVNULL)
        self.addCleanup(board.wait)
        self.addCleanup(board.terminate)
        for _ in range(200):
            if os.path.exists(port):
                break
            time.sleep(0.05)
        return port, dump

    def test_make_flash_programs_the_simulated_board(self):
        result = self.run_in_blink(["make", "flash"])
        self.assertEqual(result.returncode, 0, result)
        self.assertIn("ok: programmed and verified", result.stdout)
        self.assertEqual(os.path.exists(os.path.join(self.blink, "blink.elf")), HAS_COMPILER)

    def test_make_flash_with_a_port_programs_the_chip_there(self):
        port, dump = self.start_board()
        result = self.run_in_blink(["make", "flash", "PORT=" + port])
        self.assertEqual(result.returncode, 0, result)
        with open(dump, "rb") as file:
            flash = file.read()[:FLASH_BYTES]
        image = records(self.hex_file())
        self.assertGreater(len(image), 50)
        expected = bytes(image.get(address, 0xFF) for address in range(FLASH_BYTES))
        self.assertEqual(flash, expected)
        self.assertEqual(self.run_in_blink(["make", "verify", "PORT=" + port]).returncode, 0)

    def test_make_flash_fails_when_the_chip_does_not_hold_the_program(self):
        port, _ = self.start_board("--fault", "stuck@flash:0:0=1", "--fault", "stuck@flash:1:0=0")
        result = self.run_in_blink(["make", "flash", "PORT=" + port])
        self.assertEqual(result.returncode, 2, result)
        self.assertIn("Error 1", result.stderr)

    def run_job(self, *arguments):
        """In a copy of the job's folder, with the folder of its code beside it."""
        for name in ("job", "toggle-tiny12"):
            shutil.copytree(os.path.join(EXAMPLES, name), os.path.join(self.folder.name, name),
                            dirs_exist_ok=True)
        return subprocess.run([CLI, *arguments], cwd=os.path.join(self.folder.name, "job"),
                              env=self.environment, text=True, capture_output=True, timeout=120,
                              check=False)

    def test_the_job_tells_its_plan_and_leaves_nothing(self):
        result = self.run_job("--simulate", "run", "toggle.json", "--plan", "--counter-start", "1")
        self.assertEqual(result.returncode, 0, result)
        steps = [line.split()[0] for line in result.stdout.splitlines()[:-1]]
        self.assertEqual(steps, ["check", "identify", "osccal", "serial", "erase", "write", "verify",
                                 "fuses", "lock", "record"])
        self.assertEqual(os.listdir(os.path.join(self.folder.name, "job")), ["toggle.json"])

    def test_the_job_programs_chip_after_chip(self):
        port, dump = self.start_board(device="ATtiny12L")
        first = self.run_job("--port", port, "run", "toggle.json", "--counter-start", "1000")
        self.assertEqual(first.returncode, 0, first)
        again = self.run_job("--port", port, "run", "toggle.json")
        self.assertEqual(again.returncode, 0, again)
        self.assertIn("lock write, serial 1001", again.stdout)
        with open(dump, "rb") as file:
            flash = file.read()[:1024]
        self.assertEqual(int.from_bytes(flash[0x3F8:0x3FC], "little"), 1001)
        self.assertNotEqual(flash[0x3FF], 0xFF)
        with open(os.path.join(self.folder.name, "job", "chips.csv"), encoding="utf-8") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual([(row["serial"], row["result"]) for row in rows],
                         [("1000", "pass"), ("1001", "pass")])

    def test_every_step_of_the_workflow_passes(self):
        with open(os.path.join(self.blink, "ci.yml"), encoding="utf-8") as file:
            steps = re.findall(r"^ +run: (.+)$", file.read(), re.MULTILINE)
        self.assertGreaterEqual(len(steps), 5)
        for step in steps:
            result = self.run_in_blink(["bash", "-e", "-c", step.strip("'")])
            self.assertEqual(result.returncode, 0, (step, result))
        with open(os.path.join(self.blink, "result.json"), encoding="utf-8") as file:
            self.assertEqual(json.load(file)["result"], "ok")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
