#!/usr/bin/env python3
"""A shift at the bench: 40 chips on 4 boards, and what happens in a shift.

    shift_test.py FENWRIGHT-CLI FENWRIGHT-BOARD

Three chips are bad, one board is pulled while it works, and the program is killed in the middle and
started again. Whatever happens, the record has one row for each chip, and every serial number that
was taken stands in one row.
"""

import csv
import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

BOARDS = 4
CHIPS = 40
BAD = {7, 18, 31}
CHIP = "ATtiny12L"
PULL_AFTER = 12  # rows
KILL_AFTER = 22
OUT_OF_SOCKET = 1.5  # seconds; the program looks several times meanwhile
LONGEST = 240  # seconds

cli, board_program = sys.argv[1:3]


def hex_file(data):
    """One record and the end record of Intel HEX."""
    record = bytes([len(data), 0, 0, 0]) + data
    return f":{record.hex().upper()}{-sum(record) & 0xFF:02X}\n:00000001FF\n"


class Socket:
    """A board, with one chip after the other in its socket."""

    def __init__(self, folder, number):
        self.port = str(folder / f"port{number}")
        self.process = None
        self.chip = None

    def put_in(self, chip):
        faults = ["--fault", "stuck@flash:0:0=1"] if chip in BAD else []
        self.chip = chip
        self.process = subprocess.Popen(
            [board_program, "--device", CHIP, "--link", self.port, "--baud", "57600", *faults],
            stdout=subprocess.PIPE)
        self.process.stdout.readline()

    def take_out(self, number=signal.SIGTERM):
        # First the name: the terminal's number goes to the next board that starts.
        pathlib.Path(self.port).unlink(missing_ok=True)
        self.process.send_signal(number)
        self.process.wait()
        self.process.stdout.close()
        self.process = None
        self.chip = None
        time.sleep(OUT_OF_SOCKET / BOARDS)


class Shift:
    def __init__(self, folder):
        self.folder = folder
        self.record = folder / "shift.csv"
        self.counter = folder / "numbers.txt"
        self.sockets = [Socket(folder, number) for number in range(1, BOARDS + 1)]
        self.left = list(range(1, CHIPS + 1))
        self.rows_seen = {}  # board -> rows that its chips have had
        self.out_since = {}  # board -> when its chip was taken out
        self.program = None
        self.start = time.monotonic()

    def rows(self):
        if not self.record.exists():
            return []
        text = self.record.read_text()
        return list(csv.DictReader(text[:text.rfind("\n") + 1].splitlines()))

    def at_work(self):
        """Boards that a chip has been begun on."""
        texts = [file.read_text() for file in self.folder.glob("*.open")]
        return [s for s in self.sockets if any(f",{s.port}," in text for text in texts)]

    def run(self, *more):
        ports = [word for s in self.sockets for word in ("--port", s.port)]
        self.program = subprocess.Popen([cli, *ports, "run", "job.json", "--repeat", *more],
                                        cwd=self.folder, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)

    def change_chips(self):
        """Takes out what has its row, and puts the next ones in."""
        now = time.monotonic()
        if now - self.start > LONGEST:
            sys.exit(f"the shift takes too long; {len(self.rows())} rows: {self.rows()}")
        counts = {}
        for row in self.rows():
            counts[row["board"]] = counts.get(row["board"], 0) + 1
        for s in self.sockets:
            if s.process is not None and counts.get(s.port, 0) > self.rows_seen.get(s.port, 0):
                self.rows_seen[s.port] = counts[s.port]
                s.take_out()
                self.out_since[s.port] = now
            if s.process is None and self.left and now - self.out_since.get(s.port, 0) > OUT_OF_SOCKET:
                s.put_in(self.left.pop(0))

    def pull_a_board(self):
        while not self.at_work():
            self.change_chips()
            time.sleep(0.01)
        victim = self.at_work()[0]
        print(f"pulled {victim.port} with chip {victim.chip}")
        victim.take_out(signal.SIGKILL)
        self.out_since[victim.port] = time.monotonic()
        before = len(self.rows())
        self.wait_for(lambda: len(self.rows()) > before)
        self.rows_seen[victim.port] = sum(r["board"] == victim.port for r in self.rows())

    def kill_the_program(self):
        while len(self.at_work()) < 2:
            self.change_chips()
            time.sleep(0.01)
        self.program.kill()
        self.program.communicate()
        interrupted = self.at_work()
        print("killed the program with chips", [s.chip for s in interrupted], "under way")
        # What was begun is put aside; what had not been begun stays in its socket.
        for s in interrupted:
            s.take_out()
        done = {row["board"] for row in self.rows()}
        for s in self.sockets:
            count = sum(row["board"] == s.port for row in self.rows())
            if s.process is not None and s.port in done and count > self.rows_seen.get(s.port, 0):
                s.take_out()
            self.rows_seen[s.port] = count + (s in interrupted)
        self.run()
        return len(interrupted)

    def wait_for(self, condition):
        while not condition():
            self.change_chips()
            if self.program.poll() is not None:
                sys.exit("the program has ended: " + self.program.stdout.read())
            time.sleep(0.05)

    def end(self):
        self.program.send_signal(signal.SIGINT)
        output, _ = self.program.communicate(timeout=30)
        for s in self.sockets:
            if s.process is not None:
                s.take_out()
        return output, self.program.returncode

    def clear_away(self):
        """What a shift that failed has left would go on, and meet the ports of other tests."""
        for process in [self.program, *(s.process for s in self.sockets)]:
            if process is not None and process.poll() is None:
                process.kill()
                process.wait()


def work(shift):
    shift.run("--counter-start", "1000")
    shift.wait_for(lambda: len(shift.rows()) >= PULL_AFTER)
    shift.pull_a_board()
    shift.wait_for(lambda: len(shift.rows()) >= KILL_AFTER)
    interrupted = shift.kill_the_program()
    shift.wait_for(lambda: len(shift.rows()) >= CHIPS)
    output, code = shift.end()
    print(output)
    account(shift, interrupted)
    check(code == 1, "the program says that not every chip has passed")
    print(f"{CHIPS} chips on {BOARDS} boards in {time.monotonic() - shift.start:.0f} s")


def check(condition, what):
    if not condition:
        sys.exit("FAILED: " + what)
    print("ok:", what)


def account(shift, interrupted):
    rows = shift.rows()
    numbers = [int(row["serial"]) for row in rows if row["serial"]]
    states = {}
    for line in shift.counter.read_text().splitlines()[2:]:
        word, number = line.split()[:2]
        if word == "taken":
            if int(number) in states:
                sys.exit(f"FAILED: number {number} is taken twice")
        states[int(number)] = word

    def of(result):
        return [row for row in rows if row["result"] == result]

    check(len(rows) == CHIPS, f"{len(rows)} rows for {CHIPS} chips")
    check(len(of("interrupted")) == interrupted, f"{interrupted} chips were under way at the crash")
    check(len(of("fail")) == len(BAD) + 1, "three bad chips and the one on the pulled board failed")
    check(len(of("pass")) == CHIPS - interrupted - len(BAD) - 1, "all the others passed")
    check(sorted(row["error"] for row in of("fail"))[:3] == ["differences"] * 3,
          "a bad chip is told by its differences")
    check(len(numbers) == len(set(numbers)), "no number stands in two rows")
    check(set(numbers) == set(states), "every number that was taken is in the record, and no other")
    for result, word in (("pass", "used"), ("fail", "failed"), ("interrupted", "taken")):
        check(all(states[int(row["serial"])] == word for row in of(result) if row["serial"]),
              f"the numbers of chips that came to \"{result}\" are marked \"{word}\"")
    check(not list(shift.folder.glob("*.open")), "no row is left open")


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "code.hex").write_text(hex_file(bytes([0x0C, 0x94, 0xFF, 0xCF])))
        (folder / "job.json").write_text(json.dumps({
            "fenwright_job": 1, "device": CHIP, "code": "code.hex", "data": None,
            "serial": "flash:0x0C=next:4", "counter": "numbers.txt", "record": "shift.csv"}))
        shift = Shift(folder)
        try:
            work(shift)
        finally:
            shift.clear_away()


main()
