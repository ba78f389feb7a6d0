"""Drives the window program for Windows under Wine, as a user would, against fenwright-board.

COM3 of Wine is a link to the board's pseudo terminal. What the program did is looked at from the
board's side, in its files, in the registry and on the screen. scripts/test-windows.sh runs it on a
display of its own:

    windows_window_test.py WINE WINEPREFIX FOLDER ARCHIVE SETUP BOARD PICTURES

WINE runs Windows programs; FOLDER holds fenwright.exe and what is delivered with it, ARCHIVE is the
portable archive of it, SETUP the installer, BOARD fenwright-board, and PICTURES a folder for
pictures of the screen.
"""

import glob
import os
import random
import re
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile

from board_side import hex_file, program_wire

WINE, PREFIX, FOLDER, ARCHIVE, SETUP, BOARD, PICTURES = sys.argv[1:8]
SETTINGS = r"HKCU\Software\FenwrightV6\Settings"
DEVICE_INDEX = 11  # AT90S8515 in the selector
WORDS = 150
CAPTION = "^New Fenwright"
MESSAGE = "^FenwrightV6$"
COM_DIALOG = "^通信ポート選択$"
ABOUT_BOX = "^バージョン情報$"
LICENSES = "^ライセンス$"
LINK_COLOUR = "#0000FF"
FILE_DIALOG = "^コードファイル ＆ データファイルを開く$"


def wait_for(what, condition, seconds=60):
    """Polls until condition() is true and returns what it gave."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.1)
    subprocess.run(["import", "-window", "root", os.path.join(PICTURES, "failure.png")])
    raise AssertionError(f"waited in vain for {what}")


def run(*command, seconds=60, check=True):
    done = subprocess.run(command, check=check, capture_output=True, timeout=seconds)
    return done.stdout.decode("utf-8", "replace").replace("\r", "")


def wine(*command, seconds=60, check=True):
    return run(WINE, *command, seconds=seconds, check=check)


def registry(key):
    """Values of a key of the registry by name; empty when there is no such key."""
    text = wine("reg", "query", key, check=False)
    return dict(re.findall(r"^    (\S.*?)    REG_\w+    ?(.*)$", text, re.MULTILINE))


def set_value(name, value):
    wine("reg", "add", SETTINGS, "/v", name, "/d", str(value), "/f")


def windows(caption=CAPTION):
    """The windows on the screen with such a caption; a search can meet one that is just going."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", caption],
                           capture_output=True, text=True).stdout
    return found.split()


def geometry(window):
    """Place and size of a window without its frame."""
    text = run("xdotool", "getwindowgeometry", "--shell", window)
    values = dict(line.split("=") for line in text.split())
    return [int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")]


def activate(window):
    """Gives a window the keyboard, and Wine the time to notice."""
    wait_for("the keyboard", lambda: subprocess.run(
        ["xdotool", "windowactivate", window, "getactivewindow"], capture_output=True,
        text=True).stdout.strip() == window)
    time.sleep(0.5)


def key(window, *keys):
    activate(window)
    for name in keys:
        run("xdotool", "key", "--clearmodifiers", name)
        time.sleep(0.3)


def answer(caption, *keys):
    """Presses keys in the dialog with such a caption, which is to go then."""
    dialog = wait_for("the dialog " + caption, lambda: windows(caption))
    key(dialog[0], *keys)
    wait_for("the dialog to go: " + caption, lambda: dialog[0] not in windows(caption))


def picture(name):
    """Takes a picture of the screen and gives its number of colours."""
    path = os.path.join(PICTURES, name)
    run("import", "-window", "root", path)
    return int(run("identify", "-format", "%k", path))


def looks(window):
    """What stands in the status line of a window, as a text that differs when the looks do."""
    left, top, width, height = geometry(window)
    return run("import", "-window", "root", "-crop", f"{width}x40+{left}+{top + height - 40}",
               "-format", "%#", "info:")


def shows_links(window):
    """Whether something in a window is written in the colour of links."""
    left, top, width, height = geometry(window)
    path = os.path.join(PICTURES, "colours.png")
    run("import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", path)
    colours = run("convert", path, "-fill", "white", "+opaque", LINK_COLOUR, "-format", "%k",
                  "info:")
    os.remove(path)
    return colours == "2"


class WindowsWindowTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        wine("reg", "delete", r"HKCU\Software\FenwrightV6", "/f", check=False)
        set_value("device", DEVICE_INDEX)
        set_value("ComNox", 3)
        set_value("Index_Com_Flag", 1)
        generator = random.Random(8515)
        self.flash = generator.randbytes(2 * WORDS - 1) + b"\x5a"
        self.eeprom = generator.randbytes(19) + b"\x5a"
        self.write("コード.hex", hex_file(self.flash))
        self.write("コード.eep", hex_file(self.eeprom))

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", newline="") as file:
            file.write(text)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def start(self, *command):
        log = open(self.path("program.log"), "ab")
        self.addCleanup(log.close)
        process = subprocess.Popen(command, cwd=self.folder, stdout=log, stderr=log)

        def end():
            if process.poll() is None:
                process.kill()
            process.wait()

        self.addCleanup(end)
        return process

    def start_board(self):
        link = os.path.join(PREFIX, "dosdevices", "com3")
        if os.path.lexists(link):
            os.remove(link)
        self.start(BOARD, "--device", "AT90S8515", "--link", link, "--dump", self.path("dump"),
                   "--log", self.path("log"), "--baud", "0")
        wait_for("the board", lambda: os.path.exists(link))

    def start_window(self, *arguments, program=os.path.join(FOLDER, "fenwright.exe")):
        began = time.monotonic()
        process = self.start(WINE, program, *arguments)
        found = wait_for("the window", windows)
        print(f"the window is there after {time.monotonic() - began:.1f} s")
        time.sleep(1)  # other windows may still follow
        return process, found[0]

    def close_window(self, process, window):
        run("wmctrl", "-i", "-c", hex(int(window)))
        self.assertEqual(process.wait(30), 0)

    def wire(self, folder=None):
        with open(os.path.join(folder or self.folder, "log")) as log:
            lines = log.read().splitlines()
        return b"".join(bytes.fromhex(line[2:]) for line in lines if line.startswith("> "))

    def trace(self):
        if not os.path.exists(self.path("_debug_avr.txt")):
            return ""
        return self.read("_debug_avr.txt").decode("cp932")

    def test_a_user_opens_a_file_and_programs_a_chip(self):
        self.start_board()
        process, window = self.start_window("--folder", self.folder, self.path("コード.hex"))
        wait_for("the file", lambda: "ファイルをオープンしました。" in self.trace())
        self.assertGreater(picture("windows-opened.png"), 100, "the picture is all but empty")
        status_line = looks(window)

        key(window, "F5")

        wait_for("the result", lambda: "プログラミング正常終了。" in self.trace())
        wait_for("the elapsed time", lambda: re.search(r"\n\d+秒\t", self.trace()))
        self.assertEqual(self.wire(), program_wire(self.flash, self.eeprom))
        dump = self.read("dump")
        self.assertEqual(dump[:len(self.flash)], self.flash)
        self.assertEqual(dump[8192:8192 + len(self.eeprom)], self.eeprom)
        wait_for("the message about the result", lambda: windows(MESSAGE))
        time.sleep(0.5)
        picture("windows-programmed.png")
        answer(MESSAGE, "Return")
        self.assertNotEqual(looks(window), status_line, "the status line tells no result")
        self.close_window(process, window)
        self.assertIn("\r\n>>>>> START <<<<<\t", self.trace())
        self.assertFalse(os.path.exists(self.path("avrhex.txt")))

    def test_the_portable_archive_works_where_it_was_unpacked(self):
        place = self.path("取り出した 場所")
        with zipfile.ZipFile(ARCHIVE) as archive:
            archive.extractall(place)
        home = os.path.join(place, os.path.basename(FOLDER))
        self.write("code.hex", hex_file(self.flash))
        self.start_board()
        process, window = self.start_window(program=os.path.join(home, "fenwright.exe"))
        self.folder = home  # where the program leaves its files

        # The system's own dialog.
        key(window, "ctrl+o")
        dialog = wait_for("the file dialog", lambda: windows(FILE_DIALOG))
        activate(dialog[0])
        picture("windows-file-dialog.png")
        run("xdotool", "type", "--delay", "30", wine("winepath", "-w", os.path.join(
            os.path.dirname(place), "code.hex")).strip())
        answer(FILE_DIALOG, "Return")
        wait_for("the file", lambda: "ファイルをオープンしました。" in self.trace())

        key(window, "F5")
        wait_for("the result", lambda: "プログラミング正常終了。" in self.trace())
        self.assertEqual(self.wire(os.path.dirname(place)), program_wire(self.flash, b""))
        self.assertNotEqual(self.read("avrhex.txt"), b"")
        answer(MESSAGE, "Return")

        # The manual is opened by the program that is registered for such files.
        manual = "readme_tarnwick6.pdf"
        self.register_reader(r'cmd.exe /c copy "%1" C:\manual.part && ren C:\manual.part opened.pdf')
        opened = os.path.join(PREFIX, "drive_c", "opened.pdf")
        self.addCleanup(lambda: os.path.exists(opened) and os.remove(opened))
        key(window, "alt+h", "h")
        wait_for("the manual", lambda: os.path.exists(opened))
        with open(opened, "rb") as file:
            self.assertEqual(file.read(), self.read(manual))
        self.close_window(process, window)

    def register_reader(self, command):
        """Has files with the ending .pdf opened with a command; Wine 8 knows the machine's types alone."""
        classes = r"HKLM\Software\Classes"
        wine("reg", "add", classes + r"\.pdf", "/ve", "/d", "Fenwright.Reader", "/f")
        wine("reg", "add", classes + r"\Fenwright.Reader\shell\open\command", "/ve", "/d", command,
             "/f")
        for name in (".pdf", "Fenwright.Reader"):
            self.addCleanup(wine, "reg", "delete", classes + "\\" + name, "/f", check=False)

    def test_geometry_is_kept_in_the_registry_and_restored(self):
        process, window = self.start_window("--folder", self.folder)
        run("xdotool", "windowsize", "--sync", window, "820", "600")
        run("xdotool", "windowmove", window, "150", "90")
        time.sleep(1)
        placed = geometry(window)
        self.close_window(process, window)
        stored = registry(SETTINGS)
        for name in ("MainLeft", "MainTop", "MainWidth", "MainHeight", "PgmLeft", "PgmTop",
                     "PgmWidth", "PgmHeight", "EEpLeft", "EEpTop", "EEpWidth", "EEpHeight"):
            self.assertRegex(stored.get(name, ""), r"^-?\d+$", name)
        self.assertEqual(stored["ComNox"], "3")
        self.assertEqual(stored["device"], str(DEVICE_INDEX))
        process, window = self.start_window("--folder", self.folder)
        for was, now in zip(placed, geometry(window)):
            self.assertAlmostEqual(was, now, delta=2)
        self.close_window(process, window)

    def test_the_about_box_leads_to_the_licences(self):
        process, window = self.start_window("--folder", self.folder)
        self.assertFalse(shows_links(window))
        key(window, "alt+h", "Up", "Return")
        about = wait_for("the about box", lambda: windows(ABOUT_BOX))
        key(about[0], "Tab", "Tab", "space")
        page = wait_for("the licences", lambda: windows(LICENSES))
        time.sleep(0.5)
        picture("windows-licenses.png")
        # Not the source of the overview, but what it means.
        self.assertTrue(shows_links(page[0]))
        key(page[0], "Tab", "Return")
        time.sleep(0.5)
        picture("windows-license.png")
        self.assertFalse(shows_links(page[0]))
        answer(LICENSES, "Escape")
        answer(ABOUT_BOX, "Escape")
        self.close_window(process, window)

    def test_a_second_run_ends_at_once_and_the_first_goes_on(self):
        process, window = self.start_window("--folder", self.folder)
        trace = self.trace()
        began = time.monotonic()
        second = self.start(WINE, os.path.join(FOLDER, "fenwright.exe"), "--folder", self.folder)
        self.assertEqual(second.wait(30), 0)
        self.assertLess(time.monotonic() - began, 10)
        self.assertEqual(windows(), [window])
        self.assertIsNone(process.poll())
        self.assertEqual(self.trace(), trace)
        self.close_window(process, window)

    def test_the_first_start_asks_for_the_port_and_the_second_does_not(self):
        wine("reg", "delete", r"HKCU\Software\FenwrightV6", "/f")
        self.start_board()
        process = self.start(WINE, os.path.join(FOLDER, "fenwright.exe"), "--folder", self.folder)
        dialog = wait_for("the dialog for the port", lambda: windows(COM_DIALOG))
        # There is no COM7 here: the box says so, the dialog stays and nothing is stored.
        key(dialog[0], *["Down"] * 7)
        picture("windows-com-dialog.png")
        key(dialog[0], "Return")
        answer("^ポートオープン失敗$", "Return")
        self.assertNotIn("ComNox", registry(SETTINGS))
        self.assertEqual(windows(COM_DIALOG), dialog)
        self.assertEqual(self.wire(), b"")

        answer(COM_DIALOG, *["Up"] * 4, "Return")
        wait_for("the link check", self.wire)
        window = wait_for("the window", windows)
        wait_for("the port to be stored", lambda: registry(SETTINGS).get("ComNox") == "3")
        self.assertEqual(registry(SETTINGS)["Index_Com_Flag"], "1")
        time.sleep(1)
        self.close_window(process, window[0])

        process, window = self.start_window("--folder", self.folder)
        self.assertEqual(windows(COM_DIALOG), [])
        self.close_window(process, window)

    def test_a_setting_that_makes_no_sense_ends_the_start_with_a_message(self):
        set_value("MainWidth", "wide")
        process = self.start(WINE, os.path.join(FOLDER, "fenwright.exe"), "--folder", self.folder)
        wait_for("the message", lambda: windows(MESSAGE))
        picture("windows-bad-setting.png")
        answer(MESSAGE, "Return")
        self.assertEqual(process.wait(30), 1)
        self.assertEqual(registry(SETTINGS)["MainWidth"], "wide")

    def test_the_installer_installs_and_uninstalls_without_asking(self):
        entry = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Fenwright"
        shipped = [os.path.relpath(os.path.join(folder, name), FOLDER)
                   for folder, _, files in os.walk(FOLDER) for name in files]
        self.assertIn("examples/blink/blink.hex", shipped)

        def class_values():
            return (registry(r"HKCU\Software\Classes\.hex\OpenWithProgids"),
                    registry(r"HKCU\Software\Classes\Fenwright.HexFile\shell\open\command"))

        wine(SETUP, "/S", seconds=120)
        place = registry(entry)
        self.assertEqual(place["DisplayVersion"], "6.5.5")
        self.assertEqual(place["Publisher"], "Fenwright")
        size = sum(os.path.getsize(os.path.join(FOLDER, name)) for name in shipped) / 1024
        self.assertAlmostEqual(int(place["EstimatedSize"], 16), size, delta=size / 50)
        installed = wine("winepath", "-u", place["InstallLocation"]).strip()
        self.assertIn("AppData/Local/Programs/Fenwright", installed)
        program = os.path.join(installed, "fenwright.exe")
        for name in shipped:
            self.assertTrue(os.path.exists(os.path.join(installed, name)), name)
        with open(os.path.join(installed, "readme_fenwright.txt"), "rb") as file:
            readme = file.read()
        self.assertTrue(readme.startswith("\ufeffFenwright - ".encode()), readme[:20])
        self.assertEqual(readme.count(b"\n"), readme.count(b"\r\n"))
        [menu] = glob.glob(os.path.join(PREFIX, "drive_c/users/*/AppData/Roaming/Microsoft/Windows"
                                                "/Start Menu/Programs/Fenwright"))
        self.assertIn("Fenwright.lnk", os.listdir(menu))
        types, command = class_values()
        self.assertIn("Fenwright.HexFile", types)
        self.assertEqual(command["(Default)"],
                         '"' + place["InstallLocation"] + '\\fenwright.exe" "%1"')

        # Its own folder is the one that it works in.
        trace = os.path.join(installed, "_debug_avr.txt")
        process, window = self.start_window(self.path("コード.hex"), program=program)
        wait_for("the trace", lambda: os.path.exists(trace))
        picture("windows-installed.png")

        # While it runs neither a new version nor an uninstallation touches anything.
        uninstall = os.path.join(installed, "uninstall.exe")
        for command in ((SETUP, "/S"), (uninstall, "/S", "_?=" + place["InstallLocation"])):
            done = subprocess.run([WINE, *command], capture_output=True, timeout=120)
            self.assertEqual(done.returncode, 2, command)
            for name in os.listdir(FOLDER):
                self.assertTrue(os.path.exists(os.path.join(installed, name)), name)
        self.close_window(process, window)

        wine(uninstall, "/S", seconds=120)
        wait_for("the entry to go", lambda: not registry(entry))  # the last thing that goes
        self.assertFalse(os.path.exists(installed))
        self.assertEqual(class_values(), ({}, {}))
        self.assertFalse(os.path.exists(menu))
        self.assertEqual(registry(SETTINGS)["device"], str(DEVICE_INDEX), "settings must stay")

        # In a folder of the user's own his files stay as they are, and nothing else does.
        chosen = self.path("道具箱")
        own = ["readme.txt", "道具.exe", "examples/自作.hex", "examples/blink/blink.bak"]
        for name in own:
            os.makedirs(os.path.dirname(os.path.join(chosen, name)), exist_ok=True)
            self.write(os.path.join(chosen, name), "own " + name)
        wine(SETUP, "/S", "/D=" + wine("winepath", "-w", chosen).strip(), seconds=120)
        for name in shipped:
            self.assertTrue(os.path.exists(os.path.join(chosen, name)), name)
        wine(os.path.join(chosen, "uninstall.exe"), "/S", seconds=120)
        wait_for("the entry to go", lambda: not registry(entry))
        left = [os.path.relpath(os.path.join(folder, name), chosen)
                for folder, _, files in os.walk(chosen) for name in files]
        self.assertEqual(sorted(left), sorted(own))
        for name in own:
            self.assertEqual(self.read(os.path.join(chosen, name)), ("own " + name).encode())
        self.assertEqual(os.listdir(os.path.join(chosen, "examples", "blink")), ["blink.bak"])
        self.assertFalse(os.path.exists(os.path.join(chosen, "examples", "counter-eeprom")))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
