"""A window and two command lines at once, on two boards, from one folder."""

import os
import subprocess
import sys
import unittest

import window_test
from board_side import hex_file, program_wire
from window_test import BOARD, OK_TEXT, click, find, text_of, wait_for

CLI = sys.argv[4]


class CrowdTest(window_test.WindowCase):
    def start_second_board(self):
        self.start([BOARD, "--device", "AT90S2313", "--link", self.path("port2"), "--dump",
                    self.path("dump2"), "--log", self.path("log2"), "--baud", "57600"])
        wait_for("the second board", lambda: os.path.exists(self.path("port2")))

    def cli(self, port, device, *words):
        return subprocess.Popen([CLI, "--port", self.path(port), "--device", device, *words],
                                cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True)

    def test_each_does_its_own_work_and_none_touches_that_of_another(self):
        self.start_board("--baud", "19200")
        self.start_second_board()
        small = bytes(range(64))
        self.write("small.hex", hex_file(small))
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the first words",
                 lambda: os.path.exists(self.path("log")) and len(self.wire()) > 100)

        on_second = self.cli("port2", "AT90S2313", "program", "small.hex")
        # The window's board is taken: it must hear nothing of this.
        on_first = self.cli("port", "AT90S8515", "program", "small.hex")
        refused = on_first.communicate(timeout=30)
        self.assertEqual(on_first.returncode, 3, refused)
        self.assertIn("is in use by another program", refused[1])
        told = on_second.communicate(timeout=30)
        self.assertEqual(on_second.returncode, 0, told)

        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT, 60)
        self.assertEqual(self.wire(), program_wire(self.flash, self.eeprom))
        self.assertEqual(self.read("dump")[:len(self.flash)], self.flash)
        self.assertEqual(self.read("dump2")[:len(small)], small)
        # The folder is the window's: its trace has its own lines, and there is nobody else's file.
        trace = self.read("_debug_avr.txt").decode("cp932")
        self.assertEqual(trace.count(">>>>> START <<<<<"), 1)
        self.assertEqual(
            {name for name in os.listdir(self.folder)
             if not name.startswith(("port", "dump", "log", "code.", "small."))},
            {"_debug_avr.txt", "avrhex.txt", "avreep.txt", "avrvfy.txt"})

    def test_two_command_lines_in_a_row_on_two_boards_beside_an_idle_window(self):
        self.start_board("--baud", "0")
        self.start_second_board()
        self.start_window()
        self.write("small.hex", hex_file(bytes(range(32))))
        for number in range(5):
            calls = [self.cli("port", "AT90S8515", "program", "small.hex"),
                     self.cli("port2", "AT90S2313", "program", "small.hex")]
            for call in calls:
                told = call.communicate(timeout=30)
                self.assertEqual(call.returncode, 0, (number, told))
        self.assertEqual(self.read("dump")[:32], bytes(range(32)))
        self.assertEqual(self.read("dump2")[:32], bytes(range(32)))


if __name__ == "__main__":
    unittest.main(argv=["crowd_test"], verbosity=2)
