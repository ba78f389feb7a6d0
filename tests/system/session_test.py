"""Whole sessions of the real window, one after the other on the same settings, driven from outside."""

import configparser
import os
import re
import signal
import subprocess
import time
import unittest

import pyatspi

import window_test
from window_test import BOARD, OK_TEXT, PROGRAM, click, find, text_of, wait_for

OPEN_FAILED = "ポートオープン失敗"


def xdotool(*arguments):
    return subprocess.run(["xdotool", *arguments], check=True, capture_output=True,
                          text=True).stdout.strip()


def main_window():
    return wait_for("the main window's id", lambda: subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", "^New Fenwright"],
        capture_output=True, text=True).stdout.split())[0]


def geometry(window):
    """Position and size of the inside of a window, in pixels of the screen."""
    text = subprocess.run(["xwininfo", "-id", window], check=True, capture_output=True,
                          text=True).stdout
    return tuple(int(re.search(rf"{name}:\s+(-?\d+)", text).group(1)) for name in
                 ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))


def node(name):
    """The control with this accessible name, showing or not."""
    desktop = pyatspi.Registry.getDesktop(0)
    return next(found for i in range(desktop.childCount)
                for found in window_test.nodes(desktop[i]) if found.name == name)


class SessionTest(window_test.WindowTest):
    def setUp(self):
        super().setUp()
        self.store = os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6.ini")
        with open(self.store, "w") as settings:
            settings.write(f"[Settings]\ndevice=11\n[Ports]\nCOM6={self.path('port')}\n"
                           f"COM7={self.path('nothing')}\n")

    def stored(self):
        parser = configparser.ConfigParser()
        parser.optionxform = str
        parser.read(self.store)
        return dict(parser["Settings"])

    def start_program(self, *options):
        return self.start([PROGRAM, "--folder", self.folder, *options])

    def wait_for_dialog(self):
        return wait_for("the COM port dialog", lambda: find("通信ポート選択", "dialog"))

    def choose(self, presses):
        """Moves the selection of the list, which has the focus."""
        window_test.wait_for_keyboard("通信ポート選択")
        time.sleep(0.3)
        for _ in range(presses):
            xdotool("key", "Down")

    def press_in_dialog(self, name):
        click(find(name, "push button"))

    def close_window(self, process):
        window_test.close_window(window_test.MAIN_TITLE)
        self.assertEqual(process.wait(10), 0)

    def first_session(self):
        """The first run, in which the port is chosen."""
        process = self.start_program()
        self.wait_for_dialog()
        self.choose(6)
        wait_for("the port's line", lambda: self.path("port") in (text_of("ポートの状態") or ""))
        self.press_in_dialog("OK")
        wait_for("the link check", lambda: text_of("ステータス") == "ライタの準備　ＯＫ ！！")
        return process

    def test_a_second_session_finds_what_the_first_one_left(self):
        self.start_board()
        process = self.first_session()
        self.assertIsNone(find("通信ポート選択", "dialog"))
        self.assertEqual(text_of("COMポート"), "COM6")
        self.assertEqual(text_of("ボードのバージョン"), "KV-LOD350  V6.38")

        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)

        window = main_window()
        xdotool("windowsize", "--sync", window, "800", "600")
        xdotool("windowmove", "--sync", window, "123", "77")
        time.sleep(0.5)
        place = geometry(window)
        self.assertEqual(place[2:], (800, 600))
        self.assertTrue(os.path.exists(self.path("avrhex.txt")))
        self.close_window(process)

        for name in ("avrhex.txt", "avreep.txt", "avrvfy.txt"):
            self.assertFalse(os.path.exists(self.path(name)), name)
        self.assertIn("ベリファイ", self.read("_debug_avr.txt").decode("cp932"))
        stored = self.stored()
        self.assertEqual((stored["ComNox"], stored["device"], stored["Index_Com_Flag"]),
                         ("6", "11", "1"))
        self.assertEqual((stored["MainWidth"], stored["MainHeight"]), ("12000", "9000"))

        process = self.start_program()
        wait_for("the window", lambda: find("プログラム", "push button"))
        self.assertEqual(geometry(main_window()), place)
        self.assertIsNone(find("通信ポート選択", "dialog"))
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        self.assertEqual(text_of("COMポート"), "COM6")
        self.assertEqual(text_of("シグネチャ"), "1E:93:01")
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        self.close_window(process)
        again = self.stored()
        self.assertEqual({key: again[key] for key in stored}, stored, "an unmoved window drifts")

    def test_a_second_start_ends_at_once_and_a_killed_program_locks_nobody_out(self):
        self.start_board()
        first = self.first_session()
        started = time.monotonic()
        second = subprocess.run([PROGRAM, "--folder", self.folder], capture_output=True, timeout=20)
        self.assertEqual((second.returncode, second.stdout), (0, b""))
        self.assertLess(time.monotonic() - started, 10)
        self.assertIsNone(first.poll())
        simulated = self.start_program("--simulate")
        # Its settings are others, so that it does not end as the second start did.
        with self.assertRaises(subprocess.TimeoutExpired):
            simulated.wait(3)
        simulated.kill()
        simulated.wait()
        first.send_signal(signal.SIGKILL)
        first.wait()
        wait_for("the window to go", lambda: find("プログラム", "push button") is None)
        third = self.start_program()
        wait_for("the window", lambda: find("プログラム", "push button"))
        self.close_window(third)

    def test_a_simulated_start_asks_for_no_port_and_selects_the_device_that_it_is_given(self):
        self.store = os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6-simulated.ini")
        process = self.start_program("--simulate", "--device", "at90s8515")
        wait_for("the window", lambda: find("プログラム", "push button"))
        time.sleep(1)
        self.assertIsNone(find("通信ポート選択", "dialog"))
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        self.assertEqual(text_of("シグネチャ"), "1E:93:01")
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        self.close_window(process)
        stored = self.stored()
        self.assertEqual(stored["device"], "11", "it is remembered like one that was picked")
        self.assertNotIn("ComNox", stored)
        self.assertNotIn("Index_Com_Flag", stored)

    def test_a_port_that_is_not_there_leaves_the_dialog_open_for_another(self):
        process = self.start_program()
        self.wait_for_dialog()
        self.press_in_dialog("OK")
        text = "COM? のオープンに失敗しました。\nポート番号を再設定してください。"
        wait_for("the box", lambda: find(text))
        self.assertIsNotNone(find(OPEN_FAILED))
        xdotool("key", "Return")
        wait_for("the box to go", lambda: find(text) is None)
        self.wait_for_dialog()
        self.choose(7)
        wait_for("the port's line", lambda: self.path("nothing") in (text_of("ポートの状態") or ""))
        self.assertIn("ありません", text_of("ポートの状態"))
        xdotool("key", "Return")
        text = "COM7 のオープンに失敗しました。\nポート番号を再設定してください。"
        wait_for("the box", lambda: find(text))
        xdotool("key", "Return")
        wait_for("the box to go", lambda: find(text) is None)
        self.assertNotIn("ComNox", self.stored())
        # The board comes while its number is selected.
        xdotool("key", "Up")
        wait_for("the port's line", lambda: self.path("port") in (text_of("ポートの状態") or ""))
        self.assertIn("ありません", text_of("ポートの状態"))
        self.start_board()
        wait_for("the line to change", lambda: "使用できます" in text_of("ポートの状態"))
        xdotool("key", "Return")
        wait_for("the link check", lambda: text_of("ステータス") == "ライタの準備　ＯＫ ！！")
        self.assertEqual(self.stored()["ComNox"], "6")
        self.close_window(process)

    def test_closing_while_minimised_keeps_the_stored_place(self):
        process = self.start_program()
        self.wait_for_dialog()
        self.press_in_dialog("CANCEL")
        wait_for("the dialog to go", lambda: find("通信ポート選択", "dialog") is None)
        self.close_window(process)
        before = self.stored()
        process = self.start_program()
        wait_for("the window", lambda: find("プログラム", "push button"))
        window = main_window()
        xdotool("windowmove", "--sync", window, "200", "150")
        xdotool("windowminimize", "--sync", window)
        # The one way to close a minimised window from outside that needs no task bar.
        node("終了(X)").queryAction().doAction(0)
        self.assertEqual(process.wait(10), 0)
        self.assertEqual(self.stored(), before)


# What it inherits is for its own tests.
for name in [name for name in dir(window_test.WindowTest) if name.startswith("test_")]:
    setattr(SessionTest, name, None)


if __name__ == "__main__":
    unittest.main(argv=["session_test"], verbosity=2)
