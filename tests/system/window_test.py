"""Drives the real window from outside, as a user would, against fenwright-board on a pseudo terminal.

Controls are found by their accessible names, pressed with the mouse, and looked at through the
accessibility interface; wire, files and chip are looked at from the board's side.
"""

import os
import random
import subprocess
import sys
import tempfile
import time
import unittest

import pyatspi

from board_side import hex_file, program_wire

PROGRAM, BOARD, SCREENSHOT = sys.argv[1:4]
DEVICE_INDEX = 11  # AT90S8515 in the selector
WORDS = 300
OK_TEXT = "ベリファイ　FLASH : OK / EEPROM : OK"
MAIN_TITLE = "New Fenwright"
UPDATE_TITLE = "ファームウエアアップデート"


def wait_for(what, condition, seconds=30):
    """Polls until condition() is true and returns what it gave."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    picture("failure")
    raise AssertionError(f"waited in vain for {what}")


def picture(name):
    """A picture of the screen beside the one that the run leaves."""
    path = os.path.join(os.path.dirname(SCREENSHOT), name + ".png")
    subprocess.run(["import", "-window", "root", path], check=True)


def nodes(node):
    """A node of the accessibility tree and all below it; what vanishes meanwhile is left out."""
    try:
        yield node
        children = [node[i] for i in range(node.childCount)]
    except Exception:  # the window has changed under us
        return
    for child in children:
        if child is not None:
            yield from nodes(child)


def find(name, role=None):
    """The showing control with this accessible name, or None."""
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        for node in nodes(desktop[i]):
            try:
                if node.name != name or (role and node.getRoleName() != role):
                    continue
                if node.getState().contains(pyatspi.STATE_SHOWING):
                    return node
            except Exception:
                continue
    return None


def click(node):
    """Presses a control with the mouse, as soon as it can be pressed."""
    wait_for(f"{node.name} to be enabled",
             lambda: node.getState().contains(pyatspi.STATE_ENABLED))
    box = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    x, y = box.x + box.width // 2, box.y + box.height // 2
    subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=True)


def text_of(name):
    """The text that a label shows."""
    node = find(name)
    return node.description if node else None


def document(name):
    """The whole text of a view."""
    text = find(name, "text").queryText()
    return text.getText(0, text.characterCount)


def keys(*names):
    subprocess.run(["xdotool", "key", "--clearmodifiers", *names], check=True)


def close_window(title):
    """Closes a window as its close button does. Not with Alt+F4: now and then the window manager,
    which waits for these keys, never sees the end of them and keeps the keyboard."""
    subprocess.run(["wmctrl", "-u", "-c", title], check=True)


def wait_for_keyboard(title):
    """Waits until the window with this title has the keyboard."""
    def title_of_active():
        return subprocess.run(["xdotool", "getactivewindow", "getwindowname"],
                              capture_output=True, text=True).stdout.strip()

    wait_for(f"the keyboard to be at {title}", lambda: title_of_active() == title)


def wait_for_keyboard_of_main_window():
    """Waits until the main window, whatever its title says behind the version, has the keyboard."""
    def title_of_active():
        return subprocess.run(["xdotool", "getactivewindow", "getwindowname"],
                              capture_output=True, text=True).stdout.strip()

    wait_for("the keyboard to be at the main window",
             lambda: title_of_active().startswith(MAIN_TITLE))


def focused_text():
    """The content of the text field that has the focus, or None."""
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        for node in nodes(desktop[i]):
            try:
                if node.getRoleName() == "text" and node.getState().contains(
                        pyatspi.STATE_FOCUSED):
                    text = node.queryText()
                    return text.getText(0, text.characterCount)
            except Exception:
                continue
    return None


def choose_in_file_dialog(title, path, initial=""):
    """Types the name of a file into the file dialog, once it is ready for it, and accepts it.

    Until then its field holds the initial name.
    """
    wait_for("the file dialog", lambda: find(title))
    wait_for_keyboard(title)
    wait_for("the field for the name", lambda: focused_text() == initial)

    def typed():
        # The dialog can take the keys while it is still reading the folder.
        keys("ctrl+a")
        subprocess.run(["xdotool", "type", "--delay", "5", path], check=True)
        end = time.monotonic() + 2
        while time.monotonic() < end:
            if focused_text() == path:
                return True
            time.sleep(0.1)
        return False

    wait_for("the name to be typed", typed)
    keys("Return")


class WindowCase(unittest.TestCase):
    """A board and a window in a folder of their own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.store_device(DEVICE_INDEX)
        generator = random.Random(8515)
        self.flash = generator.randbytes(2 * WORDS - 1) + b"\x5a"
        self.eeprom = generator.randbytes(39) + b"\x5a"
        self.write("code.hex", hex_file(self.flash))
        self.write("code.eep", hex_file(self.eeprom))

    def store_device(self, index):
        config = os.environ["XDG_CONFIG_HOME"]
        with open(os.path.join(config, "FenwrightV6.ini"), "w") as settings:
            settings.write(f"[Settings]\ndevice={index}\nIndex_Com_Flag=1\n")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", newline="") as file:
            file.write(text)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def start(self, command):
        process = subprocess.Popen(command, cwd=self.folder, stdout=subprocess.DEVNULL)

        def end():
            if process.poll() is None:
                process.kill()
            process.wait()

        self.addCleanup(end)
        return process

    def start_board(self, *options, device="AT90S8515"):
        self.start([BOARD, "--device", device, "--link", self.path("port"), "--dump",
                    self.path("dump"), "--log", self.path("log"), *options])
        wait_for("the board", lambda: os.path.exists(self.path("port")))

    def start_window(self):
        window = self.start([PROGRAM, "--folder", self.folder, "--port",
                             "COM1=" + self.path("port")])
        wait_for("the window", lambda: find("プログラム", "push button"))
        return window

    def open_file(self):
        click(find("オープン", "push button"))
        choose_in_file_dialog("コードファイル ＆ データファイルを開く", self.path("code.hex"))
        wait_for("the file", lambda: text_of("ステータス") == "ファイルをオープンしました。")

    def choose(self, node, index):
        """Opens a list with the mouse and picks an item with the keys."""
        click(node)
        time.sleep(0.2)
        subprocess.run(["xdotool", "key", "--delay", "20", "Home", *["Down"] * index, "Return"],
                       check=True)
        time.sleep(0.2)

    def wire(self):
        lines = self.read("log").decode().splitlines()
        return b"".join(bytes.fromhex(line[2:]) for line in lines if line.startswith("> "))

    def screenshot(self):
        subprocess.run(["import", "-window", "root", SCREENSHOT], check=True)
        colours = subprocess.run(["identify", "-format", "%k", SCREENSHOT], check=True,
                                 capture_output=True, text=True).stdout
        return int(colours)


class SaveTest(WindowCase):
    def test_a_save_leaves_the_old_content_in_the_users_folder(self):
        self.start_board()
        self.start_window()
        self.open_file()
        before = {name: self.read(name) for name in ("code.hex", "code.eep")}
        click(find("セーブ", "push button"))
        wait_for("the save", lambda: text_of("ステータス") == "ファイルを保存しました．")
        folder = os.path.join(os.environ["XDG_DATA_HOME"], "FenwrightV6", "Backups")
        copies = {}
        for name in os.listdir(folder):
            self.assertRegex(name, r"^\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d code\.(hex|eep)$")
            with open(os.path.join(folder, name), "rb") as file:
                copies[name.split(" ", 1)[1]] = file.read()
        self.assertEqual(copies, before)
        self.assertNotEqual(self.read("code.hex"), before["code.hex"])


class WindowTest(WindowCase):
    def test_a_user_opens_a_file_and_programs_a_chip(self):
        self.start_board()
        window = self.start_window()
        self.open_file()
        self.assertIn(f"{WORDS} / 4096 word", text_of("ファイルの情報"))
        click(find("プログラム", "push button"))

        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        wait_for("the elapsed time", lambda: (text_of("経過時間") or "").endswith("秒"))

        self.assertEqual(text_of("ステータス"), OK_TEXT + " 　プログラミング正常終了。")
        self.assertEqual(text_of("シグネチャ"), "1E:93:01")
        self.assertEqual(text_of("ボードのバージョン"), "KV-LOD350  V6.38")
        self.assertEqual(text_of("COMポート"), "COM1")
        self.assertEqual(document("ベリファイ結果").replace("\r\n", "\n"),
                         "Flash Program memory address verify\n\n\n"
                         "EEPROM data memory address verify\n\n")
        self.assertTrue(document("フラッシュプログラムメモリ").startswith(
            "0000: " + self.flash[1::-1].hex().upper() + " "))
        self.assertEqual(self.wire(), program_wire(self.flash, self.eeprom))
        dump = self.read("dump")
        self.assertEqual(dump[:len(self.flash)], self.flash)
        self.assertEqual(dump[8192:8192 + len(self.eeprom)], self.eeprom)
        self.assertGreater(self.screenshot(), 100, "the picture is all but empty")
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        close_window(MAIN_TITLE)
        self.assertEqual(window.wait(10), 0)
        trace = self.read("_debug_avr.txt").decode("cp932")
        self.assertIn("\r\n>>>>> START <<<<<\t", trace)

    def test_a_write_that_lies_shows_the_difference(self):
        self.start_board("--fault", "lie@2")
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        bad_text = "ベリファイ　FLASH : NG / EEPROM : OK"
        wait_for("the result", lambda: text_of("メッセージ") == bad_text)
        self.assertIn("NG = FF" + f"{self.flash[0]:02X}", document("ベリファイ結果"))
        self.assertIn("イレースしてから、もう一度プログラムしてください。", text_of("詳細"))

    def test_a_missing_port_names_its_cause_and_the_next_press_works(self):
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        no_board = "ライターを検出できませんでした。使用可能な通信ポートを設定してください。"
        wait_for("the message", lambda: text_of("メッセージ") == no_board)
        self.assertIn(self.path("port"), text_of("詳細"))
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        self.start_board()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)

    def test_the_progress_goes_on_in_the_status_bar_when_its_dialog_is_closed(self):
        # So slow and so much that every control is found while its phase lasts.
        self.flash = random.Random(1).randbytes(2 * 799) + b"\x5a\x5a"
        self.write("code.hex", hex_file(self.flash))
        self.start_board("--baud", "2400")
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))

        def now(label):
            label.clearCache()
            return label.description

        phase = wait_for("the label of the phase", lambda: find("段階", "label"))
        wait_for("the phase", lambda: now(phase) == "2 / 4 : フラッシュの書き込み")
        progress = find("進み具合", "label")
        wait_for("the remaining time", lambda: "残り 約" in now(progress))
        keys("Escape")
        remaining = wait_for("the status bar", lambda: find("処理の残り時間", "label"))
        self.assertRegex(remaining.description, r"^[0-9]+ %   残り 約 [0-9]+ 秒$")
        reached = remaining.description
        wait_for("it to move", lambda: now(remaining) != reached)
        self.assertEqual(find("処理の進行状況", "progress bar").queryValue().maximumValue, 100)
        self.assertIsNone(find("メッセージ"), "the dialog stays closed")
        wait_for("the verify", lambda: now(phase) == "4 / 4 : フラッシュのベリファイ")
        self.assertIsNone(find("処理の残り時間"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        self.assertEqual(self.wire(), program_wire(self.flash, self.eeprom))

    def test_a_good_run_says_how_much_of_the_chip_it_uses(self):
        self.start_board()
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        wait_for("the use", lambda: (text_of("詳細") or "").replace("\r\n", "\n") ==
                 "フラッシュの使用量 : 300 / 4096 ワード (8 %)\n"
                 "EEPROMの使用量 : 40 / 512 バイト (8 %)")
        wait_for("the sign", lambda: text_of("結果の印") == "成功")
        self.assertEqual(text_of("アイコン"), "成功")

    def test_another_chip_in_the_socket_is_named(self):
        self.start_board(device="ATtiny12L")
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the mismatch", lambda: (text_of("メッセージ") or "").startswith(
            "デバイス選択と、ソケット上のデバイスが一致しません。"))
        wait_for("the sign", lambda: text_of("アイコン") == "失敗")
        self.assertTrue(text_of("詳細").startswith("ソケットには ATtiny12"), text_of("詳細"))
        wire = self.wire()
        self.assertTrue(wire.endswith(b"APsL"), wire)

    def test_a_pulled_cable_is_named(self):
        self.start_board("--fault", "hangup@400")
        self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the cause", lambda: "通信ポートがなくなりました。" in (text_of("詳細") or ""))
        self.assertIn(self.path("port"), text_of("詳細"))
        self.assertTrue(text_of("結果の印").startswith("失敗"))

    def test_a_protected_chip_is_perhaps_protected(self):
        self.start_board("--state", self.path("state"))
        self.start_window()
        self.open_file()
        lock = wait_for("the list", lambda: find("Lock bit", "label"))
        box = next(relation.getTarget(0) for relation in lock.getRelationSet()
                   if relation.getRelationType() == pyatspi.RELATION_LABEL_FOR)
        click(box)
        time.sleep(0.2)
        keys("Home", "Return")
        time.sleep(0.2)
        click(find("Lock＆Fuseライト", "push button"))
        done = "Lock/Fuse bit ライトが完了しました。"
        wait_for(done, lambda: text_of("ステータス") == done)
        click(find("ベリファイ", "push button"))
        wait_for("the cause", lambda: "プロテクトされている可能性があります。" in
                 (text_of("詳細") or ""))

    def test_closing_in_the_middle_asks_and_leaves_programming_mode(self):
        self.start_board("--baud", "9600")
        window = self.start_window()
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the first words", lambda: len(self.wire()) > 100)
        close_window(MAIN_TITLE)
        yes = wait_for("the question", lambda: find("はい(Y)", "push button"))
        click(yes)
        self.assertEqual(window.wait(20), 0)
        wire = self.wire()
        self.assertEqual(wire[-1:], b"L")
        self.assertLess(len(wire), len(program_wire(self.flash, self.eeprom)))

    def open_update_dialog(self):
        click(wait_for("the menu", lambda: find("ヘルプ(H)") or find("ヘルプ")))
        time.sleep(0.3)
        click(wait_for("the item", lambda: find("ファームウエアのアップデート")))
        wait_for("the dialog", lambda: find("Version Read", "push button"))
        wait_for_keyboard(UPDATE_TITLE)

        def port_chosen():
            keys("Home")  # port 1 in the list that has the focus
            time.sleep(0.2)
            return self.setting("Com") == "1"

        wait_for("the port", port_chosen)

    def setting(self, key):
        path = os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6.ini")
        with open(path) as settings:
            section = settings.read().partition("[Settings6]")[2].partition("\n[")[0]
        values = [line.partition("=")[2] for line in section.splitlines()
                  if line.startswith(key + "=")]
        return values[0] if values else None

    def choose_update_file(self, data, version=b""):
        lines = hex_file(data).splitlines()[:-1]
        for address in range(0, len(version), 16):
            part = version[address:address + 16]
            at = 0x3FC0 + address
            record = bytes([len(part), at >> 8, at & 0xFF, 0]) + part
            lines.append(":" + record.hex().upper() + f"{-sum(record) & 0xFF:02X}")
        self.write("fw.hex", "\r\n".join(lines + [":00000001FF", ""]))
        click(find("OPEN", "push button"))
        choose_in_file_dialog("アップデータを開く", self.path("fw.hex"), "*.HEX")
        wait_for("the file", lambda: self.update_status() == "ファイル名：fw.hexを指定しました。")

    def update_status(self):
        return text_of("アップデートのステータス")

    def picture(self, name):
        time.sleep(0.3)
        picture(name)

    @staticmethod
    def update_wire(data, version=b""):
        frames = b""
        for start, part in ((0, data), (0x1FE0, version)):
            for i in range(0, len(part), 2):
                word = start + i // 2
                frames += bytes([word >> 8, word & 0xFF, part[i + 1], part[i]])
        return b"U" + frames + b"\xff" * 4

    def test_a_user_updates_the_boards_firmware(self):
        self.start_board("--state", self.path("state"))
        window = self.start_window()
        self.write("LOG.txt", "old")
        self.open_update_dialog()
        self.assertEqual(self.read("LOG.txt"), b"")
        self.picture("update-idle")
        click(find("Version Read", "push button"))
        read = "ファームウエアバージョンをリードしました。"
        wait_for("the version", lambda: self.update_status() == read)
        self.assertEqual(document("ファームウエアバージョン"), "KV-LOD350  V6.3")
        version = b"KV-LOD350  V6.40\r\n"
        self.choose_update_file(self.flash * 20, version)
        click(find("UPDATE", "push button"))
        wait_for("the middle", lambda: len(self.wire()) > 3000)
        self.assertEqual(self.update_status(), "アップデート中です。電源は絶対に切らないでください。")
        self.picture("update-running")
        wait_for("the end", lambda: (self.update_status() or "").startswith("アップデート完了。  "))
        wait_for("the box", lambda: find("OK", "push button"))
        self.picture("update-finished")
        click(find("OK", "push button"))
        self.assertEqual(self.wire(), b"?" + self.update_wire(self.flash * 20, version))
        click(find("閉じる", "push button"))
        wait_for("the dialog to go", lambda: find("Version Read", "push button") is None)

        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        self.assertEqual(text_of("ボードのバージョン"), "KV-LOD350  V6.40")
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        close_window(MAIN_TITLE)
        self.assertEqual(window.wait(10), 0)

    def test_a_wrong_sum_turns_the_instructions_red(self):
        self.start_board("--fault", "flip@40")
        self.start_window()
        self.open_update_dialog()
        self.choose_update_file(self.flash)
        click(find("UPDATE", "push button"))
        wait_for("the failure", lambda: self.update_status() == "***　アップデート失敗　***")
        self.assertIn("再開できない確立が高いです。", text_of("手順"))
        self.assertIn("error data = 0x", text_of("手順"))
        self.picture("update-failed")
        self.assertEqual(len(self.wire()), 1 + 40 * 4)

    def test_closing_in_the_middle_of_an_update_is_asked_about(self):
        self.start_board("--baud", "57600")
        window = self.start_window()
        self.open_update_dialog()
        self.choose_update_file(self.flash * 8)
        click(find("UPDATE", "push button"))
        wait_for("the first words", lambda: len(self.wire()) > 400)
        keys("Escape")
        question = wait_for("the question", lambda: find("いいえ(N)", "push button"))
        self.picture("update-question")
        click(question)
        length = len(self.wire())
        wait_for("it to go on", lambda: len(self.wire()) > length + 40)
        close_window(UPDATE_TITLE)
        click(wait_for("the question", lambda: find("はい(Y)", "push button")))
        wait_for("the dialog to go", lambda: find("Version Read", "push button") is None)
        wire = self.wire()
        whole = self.update_wire(self.flash * 8)
        self.assertEqual(wire, whole[:len(wire)])
        self.assertEqual(len(wire) % 4, 1)
        self.assertLess(len(wire), len(whole) - 4)
        close_window(MAIN_TITLE)
        self.assertEqual(window.wait(10), 0)


def panel():
    return text_of("ファイルの情報") or ""


class FilePanelTest(WindowCase):
    def test_the_panel_says_where_a_save_would_write_and_what_it_would_destroy(self):
        self.start_board()
        self.start_window()
        self.assertEqual(panel(), "ファイルは開かれていません。")
        self.open_file()
        self.assertIn("コード : code.hex  300 / 4096 word", panel())
        self.assertIn("データ : code.eep  40 / 512 byte", panel())
        self.assertIn("上書き保存の先 : code.hex、code.eep", panel())
        self.choose(find("AT90S8515", "combo box"), 12)
        wait_for("the blank buffers", lambda: "コード : 空 (デバイスの変更で消去)" in panel())
        self.assertIn("上書き保存の先 : code.hex (変更あり)、code.eep (変更あり)", panel())
        self.assertIn("⚠ 上書き保存すると code.hex と code.eep の内容は消えて空になります。", panel())
        click(find("セーブ", "push button"))
        wait_for("the save", lambda: text_of("ステータス") == "ファイルを保存しました． "
                 "code.hex と code.eep は空の内容になりました。元の内容は Backups にあります。")
        self.assertNotIn("上書き保存すると", panel())
        self.assertIn("⚠ code.hex と code.eep は空の内容になりました。元の内容は Backups にあります。", panel())

    def test_what_is_not_in_any_file_marks_the_window(self):
        def title():
            return subprocess.run(["xdotool", "search", "--name", MAIN_TITLE, "getwindowname"],
                                  capture_output=True, text=True).stdout.strip()

        self.start_board()
        self.start_window()
        self.open_file()
        self.assertFalse(title().endswith("*"))
        for field, text in (("アドレス", "10"), ("データ", "1234")):
            click(find(field, "text"))
            keys("ctrl+a")
            subprocess.run(["xdotool", "type", "--delay", "20", text], check=True)
        click(find("バッファーへの書き込み", "push button"))
        wait_for("the change", lambda: "コード : code.hex を手で変更" in panel())
        self.assertIn("上書き保存の先 : code.hex (変更あり)、code.eep", panel())
        wait_for("the mark", lambda: title().endswith("*"))
        click(find("セーブ", "push button"))
        wait_for("the save", lambda: text_of("ステータス") == "ファイルを保存しました．")
        wait_for("the mark to go", lambda: not title().endswith("*"))
        self.assertIn("上書き保存の先 : code.hex、code.eep", panel())


class SocketTest(WindowCase):
    def test_the_device_in_the_socket_is_offered_and_keeps_the_image(self):
        self.start_board(device="AT90S2313")
        self.start_window()
        self.open_file()
        shown = document("フラッシュプログラムメモリ")[:60]
        click(find("ソケットのデバイスを調べる"))
        wait_for("the answer",
                 lambda: text_of("ステータス") == "ソケットのデバイスは AT90S2313 です。")
        time.sleep(0.5)  # the menu opens at the button
        keys("Down", "Return")
        wait_for("the device", lambda: text_of("ステータス") == "デバイスを AT90S2313 に変更しました。"
                 "バッファーの内容はそのままです。")
        self.assertIn("コード : code.hex  300 / 1024 word", panel())
        self.assertEqual(document("フラッシュプログラムメモリ")[:60], shown)
        self.assertIsNotNone(find("AT90S2313", "combo box"))


    def test_the_offer_is_found_and_pressed_from_outside(self):
        self.start_board(device="AT90S1200")
        self.start_window()
        self.open_file()
        click(find("ソケットのデバイスを調べる"))
        item = wait_for("the item",
                        lambda: find("AT90S1200A(内部RCｸﾛｯｸ1MHz) に変更", "menu item"))
        self.assertIsNotNone(find("AT90S1200 (外部ｸﾛｯｸ) に変更", "menu item"))
        time.sleep(0.3)
        click(item)
        wait_for("the device", lambda: find("AT90S1200A(内部RCｸﾛｯｸ1MHz)", "combo box"))
        self.assertIn("コード : code.hex  300 / 512 word", panel())
        self.assertIsNone(find("AT90S1200 (外部ｸﾛｯｸ) に変更", "menu item"))

    def test_an_empty_socket_is_a_failure(self):
        self.start_board(device="empty")
        self.start_window()
        click(find("ソケットのデバイスを調べる"))
        text = "ソケットのデバイスを読み出せませんでした。"
        wait_for("the answer", lambda: text_of("メッセージ") == text)
        self.assertEqual(text_of("ステータス"), text)
        self.assertEqual(text_of("アイコン"), "失敗")
        self.assertEqual(text_of("結果の印"), "失敗")


class KeyboardTest(WindowCase):
    """A user without a mouse."""

    @staticmethod
    def focused():
        """The name of the control that has the focus, or None."""
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            for node in nodes(desktop[i]):
                try:
                    state = node.getState()
                    if node.getRoleName() not in ("application", "frame") and state.contains(
                            pyatspi.STATE_FOCUSED) and state.contains(pyatspi.STATE_SHOWING):
                        return node.name
                except Exception:
                    continue
        return None

    def test_a_chip_is_programmed_by_the_keyboard_alone(self):
        self.start_board()
        window = self.start_window()
        wait_for_keyboard_of_main_window()
        keys("ctrl+o")
        choose_in_file_dialog("コードファイル ＆ データファイルを開く", self.path("code.hex"))
        wait_for("the file", lambda: text_of("ステータス") == "ファイルをオープンしました。")
        wait_for_keyboard_of_main_window()
        keys("F5")
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        self.assertEqual(self.wire(), program_wire(self.flash, self.eeprom))
        wait_for_keyboard("FenwrightV6")
        keys("Return")
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        wait_for_keyboard_of_main_window()
        keys("F7")
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT)
        wait_for_keyboard("FenwrightV6")
        keys("Return")
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        wait_for_keyboard_of_main_window()
        keys("alt+f")
        wait_for("the menu", lambda: find("終了(X)", "menu item") or find("終了", "menu item"))
        keys("x")
        self.assertEqual(window.wait(10), 0)

    def test_tab_goes_round_in_the_order_of_the_eye(self):
        self.start_board()
        self.start_window()
        self.open_file()
        wait_for_keyboard_of_main_window()
        expected = ["オープン", "セーブ", "リロード", "プログラム", "リード", "ベリファイ", "イレース",
                    "COM", "フラッシュプログラムメモリ", "AT90S8515", "ソケットのデバイスを調べる",
                    "ジョブ", "プロテクトなし", "Lock＆Fuseライト", "プログラムメモリ", "アドレス", "データ",
                    "バッファーの読み出し", "バッファーへの書き込み"]

        def next_stop(before):
            keys("Tab")
            end = time.monotonic() + 2
            while time.monotonic() < end:
                now = self.focused()
                if now and now != before:
                    return now
            return before

        stop = self.focused()
        for _ in range(2 * len(expected)):
            if stop == expected[0]:
                break
            stop = next_stop(stop)
        stops = [stop]
        for _ in expected:
            stop = next_stop(stop)
            stops.append(stop)
        self.assertEqual(stops, [*expected, expected[0]])


class PortTest(WindowCase):
    def store_ports(self, asked):
        """No port of the machine, but for the one that a test gives."""
        config = os.environ["XDG_CONFIG_HOME"]
        with open(os.path.join(config, "FenwrightV6.ini"), "w") as settings:
            settings.write(f"[Settings]\ndevice={DEVICE_INDEX}\nIndex_Com_Flag={asked}\n[Ports]\n")
            for number in range(1, 21):
                settings.write(f"COM{number}=/dev/no-such-port-{number}\n")

    def stored(self):
        with open(os.path.join(os.environ["XDG_CONFIG_HOME"], "FenwrightV6.ini")) as settings:
            return settings.read()

    def test_the_search_finds_the_board_and_selects_its_port(self):
        self.store_ports(asked=1)
        self.start_board()
        self.start([PROGRAM, "--folder", self.folder, "--port", "COM7=" + self.path("port")])
        wait_for("the window", lambda: find("プログラム", "push button"))
        click(find("COM", "push button"))
        wait_for("the dialog", lambda: find("ライターを探す", "push button"))
        self.choose(wait_for("the list", lambda: find("COM7", "combo box")), 0)
        click(find("ライターを探す", "push button"))
        wait_for("the board", lambda: text_of("ポートの状態") == "COM7 にライターが見つかりました。")
        self.assertIsNotNone(find("COM7", "combo box"))
        click(find("OK", "push button"))
        wait_for("the port", lambda: text_of("COMポート") == "COM7")

    def test_a_first_start_without_a_port_goes_on_with_the_simulated_board(self):
        self.store_ports(asked=0)
        self.start([PROGRAM, "--folder", self.folder])
        wait_for("the dialog", lambda: find("ライターを探す", "push button"))
        self.choose(wait_for("the list", lambda: find("????", "combo box")), 21)
        self.assertIsNotNone(find("シミュレーション", "combo box"))
        click(find("OK", "push button"))
        wait_for("the window", lambda: find("ライターを探す", "push button") is None)
        wait_for("the title", lambda: subprocess.run(
            ["xdotool", "search", "--name", "シミュレーション"], capture_output=True).stdout)
        message = find("OK", "push button")
        if message:
            click(message)
        self.open_file()
        click(find("プログラム", "push button"))
        wait_for("the result", lambda: text_of("メッセージ") == OK_TEXT, 60)
        self.assertIn("シミュレーション", self.read("_debug_avr.txt").decode("cp932"))
        self.assertIn("Index_Com_Flag=0", self.stored())


# The lists by their accessible names.
CKSEL = "CKSEL リセットディレイセレクト"
SUT = "SUT スタートアップタイムセレクト"
BODEN = "BODEN ＢＯＤ有効ビット"
BODLEVEL = "BODLEVEL ＢＯＤレベル"
RESET = "RSTDISBL ＰＢ５端子、リセット機能無効ビット"
FSTRT = "FSTRT ファーストスタートアップ有効ビット"
RCEN = "RCEN ＲＣオシレータ有効ビット"
LOCK = "Lock bit"

# Each device with a choice for every list it has, the bytes that stand for it, and the fuse bytes
# (low, high) and lock bits of the chip then. None: its fuses cannot be read back.
FUSES = [
    ("ATtiny12L", {CKSEL: 9, BODEN: 0, BODLEVEL: 0, RESET: 1, LOCK: 1},
     "Fuse 0x19  Lock 0xFD", "19 FF"),
    ("ATtiny15L", {CKSEL: 1, BODEN: 0, BODLEVEL: 0, RESET: 1, LOCK: 1},
     "Fuse 0x17  Lock 0xFD", "1F FF"),
    ("ATtiny26L", {CKSEL: 4, SUT: 1, BODEN: 0, BODLEVEL: 0, "CKOPT": 0, "PLLCK": 0, "EESAVE": 0,
                   RESET: 1, LOCK: 1}, "Fuse 0x14  High 0xF0  Lock 0xFE", "14 F0"),
    ("AT90S2323", {FSTRT: 1, LOCK: 1}, "Fuse 0xBF  Lock 0xFD", "DF FF"),
    ("AT90S2343", {RCEN: 1, LOCK: 1}, "Fuse 0xBF  Lock 0xFD", "DF FF"),
    ("AT90S1200 (外部ｸﾛｯｸ)", {LOCK: 1}, "Lock 0xFD", None),
    ("AT90S1200A(内部RCｸﾛｯｸ1MHz)", {LOCK: 1}, "Lock 0xFD", None),
    ("AT90S2313", {LOCK: 1}, "Lock 0xFD", None),
    ("AT90S4433", {CKSEL: 5, BODEN: 0, BODLEVEL: 0, LOCK: 1}, "Fuse 0xA5  Lock 0xFD", "C5 FF"),
    ("AT90S4414", {LOCK: 1}, "Lock 0xFD", None),
    ("AT90S4434", {FSTRT: 1, LOCK: 1}, "Fuse 0xBF  Lock 0xFD", "DF FF"),
    ("AT90S8515", {LOCK: 1}, "Lock 0xFD", None),
    ("AT90S8535", {FSTRT: 1, LOCK: 1}, "Fuse 0xBF  Lock 0xFD", "DF FF"),
]


class FuseTest(WindowCase):
    def list_of(self, name):
        """The list beside a label; a list's own name is the text of its item here."""
        label = wait_for(name, lambda: find(name, "label"))
        return next(relation.getTarget(0) for relation in label.getRelationSet()
                    if relation.getRelationType() == pyatspi.RELATION_LABEL_FOR)

    def byte_line(self):
        return text_of("書き込まれるバイト")

    def chip_state(self, device):
        """The lines about a device in the board's state file, by their first word."""
        text = self.read("state").decode()
        block = text.split(f"chip {device}\n", 1)[1].split("chip ", 1)[0]
        return dict(line.split(" ", 1) for line in block.splitlines() if " " in line)

    def press(self, button, done):
        click(find(button, "push button"))
        wait_for(done, lambda: text_of("ステータス") == done)

    def write_and_read_back(self, index):
        device, choices, line, fuses = FUSES[index]
        self.store_device(index)
        self.start_board("--baud", "0", "--state", self.path("state"), device=device)
        window = self.start_window()
        for name, item in choices.items():
            self.choose(self.list_of(name), item)
        wait_for(line, lambda: self.byte_line() == line)
        self.press("Lock＆Fuseライト", "Lock/Fuse bit ライトが完了しました。")
        state = wait_for("the state", lambda: self.chip_state(device))
        self.assertEqual(state["lock"], "2")
        if fuses:
            self.assertEqual(state["fuses"], fuses)
            # Another device and back: every list has its default again.
            other = 12 - index
            self.choose(find(device, "combo box"), other)
            self.choose(wait_for("the other device", lambda: find(FUSES[other][0], "combo box")),
                        index)
            wait_for("the defaults", lambda: self.byte_line() not in (line, None))
            self.press("Lock＆Fuseリード", "Lock/Fuse bit リードが完了しました。")
            self.assertEqual(self.byte_line(), line)
        window.terminate()
        window.wait()

    def test_every_list_of_every_device_is_written_and_read_back(self):
        for index, (device, *_) in enumerate(FUSES):
            with self.subTest(device):
                try:
                    self.write_and_read_back(index)
                finally:
                    self.doCleanups()
                    self.setUp()

    def test_giving_the_reset_pin_away_warns(self):
        self.store_device(0)
        self.start_board("--state", self.path("state"), device="ATtiny12L")
        self.start_window()
        self.choose(self.list_of(RESET), 0)
        wait_for("the warning", lambda: (text_of("メッセージ") or "").startswith(
            "ＰＢ５またはＰＢ７リセット機能の無効"))
        click(find("OK", "push button"))
        wait_for("the dialog to go", lambda: find("メッセージ") is None)
        self.assertEqual(self.byte_line(), "Fuse 0xC2  Lock 0xFF")
        self.press("Lock＆Fuseライト", "Lock/Fuse bit ライトが完了しました。")
        self.assertEqual(self.chip_state("ATtiny12L")["fuses"], "C2 FF")
        click(find("Lock＆Fuseリード", "push button"))
        wait_for("the mismatch", lambda: text_of("メッセージ") ==
                 "設定デバイスと、ソケット上のデバイスがミスマッチです。")


class ShardLoader(unittest.TestLoader):
    """The share of the tests that the variables of a GoogleTest program name; all without them."""

    def getTestCaseNames(self, test_case):
        shards = int(os.environ.get("GTEST_TOTAL_SHARDS", "1"))
        index = int(os.environ.get("GTEST_SHARD_INDEX", "0"))
        names = super().getTestCaseNames(test_case)
        return [name for name in names if self._number(name) % shards == index]

    def _number(self, name):
        self._numbers = getattr(self, "_numbers", {})
        return self._numbers.setdefault(name, len(self._numbers))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:], verbosity=2, testLoader=ShardLoader())
