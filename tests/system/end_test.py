"""Ends of the real window that nobody is asked about: signals, and a display that is lost."""

import configparser
import os
import signal
import subprocess
import threading
import time
import unittest

import pyatspi

import window_test
from board_side import program_wire
from window_test import PROGRAM, find, text_of, wait_for

TEMPORARY = ("avrhex.txt", "avreep.txt", "avrvfy.txt")
PLACES = ("MainLeft", "MainTop", "MainWidth", "MainHeight", "PgmLeft", "EEpLeft", "IndLeft")


def node(name):
    """The control with this accessible name, showing or not."""
    desktop = pyatspi.Registry.getDesktop(0)
    return next(found for i in range(desktop.childCount)
                for found in window_test.nodes(desktop[i]) if found.name == name)


def press(name):
    """Presses a button, as soon as it can be pressed, without a mouse: it may be on another
    display."""
    button = find(name, "push button")
    wait_for(f"{name} to be enabled",
             lambda: button.getState().contains(pyatspi.STATE_ENABLED))
    button.queryAction().doAction(0)


class EndTest(window_test.WindowCase):
    def setUp(self):
        super().setUp()
        # Whoever runs the tests may have them ignored, and the window would inherit that.
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            previous = signal.signal(number, signal.SIG_DFL)
            self.addCleanup(signal.signal, number, previous)
        with open(os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6-simulated.ini"),
                  "w") as settings:
            settings.write("[Settings]\nIndex_Com_Flag=1\n")

    def start_display(self):
        """A display of the test's own, which it can end."""
        read_end, write_end = os.pipe()
        display = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1024x768x24", "-noreset"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        self.addCleanup(display.wait)
        self.addCleanup(display.kill)
        with os.fdopen(read_end) as number:
            os.environ["DISPLAY"] = ":" + number.readline().strip()
        return display

    def start_with_file(self, *before):
        self.start_board("--baud", "9600")
        window = self.start([*before, PROGRAM, "--folder", self.folder, "--port",
                             "COM1=" + self.path("port"), self.path("code.hex")])
        wait_for("the file", lambda: text_of("ステータス") == "ファイルをオープンしました。")
        for name in TEMPORARY[:2]:
            self.assertTrue(os.path.exists(self.path(name)), name)
        return window

    def program(self):
        press("プログラム")
        wait_for("the first words", lambda: os.path.exists(self.path("log"))
                 and len(self.wire()) > 100)

    def stored(self):
        parser = configparser.ConfigParser()
        parser.optionxform = str
        parser.read(os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6.ini"))
        return dict(parser["Settings"])

    def expect_orderly_end(self, window, code):
        self.assertEqual(window.wait(10), code)
        for name in TEMPORARY:
            self.assertFalse(os.path.exists(self.path(name)), name)
        self.assertTrue(os.path.exists(self.path("_debug_avr.txt")))
        for key in PLACES:
            self.assertIn(key, self.stored())

    def expect_programming_mode_left(self):
        end = time.monotonic() + 5
        while self.wire()[-1:] != b"L" and time.monotonic() < end:
            time.sleep(0.05)
        wire = self.wire()
        self.assertEqual(wire[-1:], b"L")
        self.assertGreater(len(wire), 100)
        self.assertLess(len(wire), len(program_wire(self.flash, self.eeprom)))

    def test_a_signal_ends_an_idle_window_in_order(self):
        window = self.start_with_file()
        window.send_signal(signal.SIGTERM)
        self.expect_orderly_end(window, 128 + signal.SIGTERM)

    def test_a_signal_in_the_middle_of_programming_leaves_programming_mode(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            with self.subTest(number):
                self.setUp()
                window = self.start_with_file()
                self.program()
                window.send_signal(number)
                self.expect_orderly_end(window, 128 + number)
                self.expect_programming_mode_left()

    def test_a_client_that_is_busy_asking_changes_nothing_in_an_end(self):
        asking = threading.Event()

        def ask():
            while not asking.is_set():
                find("no control has this name")

        for number in range(4):
            with self.subTest(number):
                window = self.start([PROGRAM, "--simulate", "--folder", self.folder])
                wait_for("the window", lambda: find("プログラム", "push button"))
                client = threading.Thread(target=ask, daemon=True)
                asking.clear()
                client.start()
                try:
                    window_test.close_window(window_test.MAIN_TITLE)
                    code = window.wait(10)
                finally:
                    asking.set()
                    client.join(10)
                self.assertEqual(code, 0)

    def test_a_client_that_ends_the_window_gets_its_answer(self):
        for _ in range(4):
            window = self.start([PROGRAM, "--simulate", "--folder", self.folder])
            wait_for("the window", lambda: find("プログラム", "push button"))
            node("終了(X)").queryAction().doAction(0)
            self.assertEqual(window.wait(10), 0)

    def test_a_hang_up_that_is_ignored_changes_nothing(self):
        window = self.start_with_file("nohup")
        self.program()
        window.send_signal(signal.SIGHUP)
        wait_for("the result", lambda: text_of("メッセージ") == window_test.OK_TEXT)
        window.send_signal(signal.SIGTERM)
        self.expect_orderly_end(window, 128 + signal.SIGTERM)

    def test_a_question_that_waits_for_its_answer_holds_nothing_up(self):
        window = self.start_with_file()
        self.program()
        window_test.close_window(window_test.MAIN_TITLE)
        wait_for("the question", lambda: find("はい(Y)", "push button"))
        window.send_signal(signal.SIGTERM)
        self.expect_orderly_end(window, 128 + signal.SIGTERM)
        self.expect_programming_mode_left()

    def test_a_lost_display_leaves_programming_mode(self):
        usual = os.environ["DISPLAY"]
        try:
            for busy in (False, True):
                with self.subTest(busy=busy):
                    self.setUp()
                    display = self.start_display()
                    window = self.start_with_file()
                    if busy:
                        self.program()
                    display.kill()
                    self.expect_orderly_end(window, 1)
                    if busy:
                        self.expect_programming_mode_left()
        finally:
            os.environ["DISPLAY"] = usual


if __name__ == "__main__":
    unittest.main(argv=["end_test"], verbosity=2)
