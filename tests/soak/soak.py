#!/usr/bin/python3
"""Two engines, one with each search, play each other for hours while commands of every kind come
in between.

The games are watched: each move must be legal, and whenever both engines rest, the boards
they show must be the game's. An engine that ends, hangs, or says something on standard error
is a fault as well. At the first fault the commands that led to it are cut down for as long as
the fault comes back, and printed as a conversation (see tests/conversations).
"""
import argparse
import os
import random
import resource
import selectors
import shutil
import subprocess
import sys
import tempfile
import time

import referee

PATIENCE = 30  # seconds for any answer; sanitized engines are slow
LONGEST_GAME = 160  # plies


class Fault(Exception):
    def __init__(self, engine, text):
        super().__init__(f"{engine.name}: {text}")
        self.engine = engine


class Engine:
    """An engine process in a folder of its own, and everything it was sent."""

    def __init__(self, program, name, search):
        self.name, self.search = name, search
        self.folder = tempfile.mkdtemp(prefix="veltramox-soak-")
        with open(os.path.join(self.folder, "Veltramox.ini"), "w") as settings:
            settings.write("UseEGTB=off\nLearning=on\nUseLearningData=on\nTranspositionSize=15\n")
            settings.write(f"Search={search}\n")
        self.errors = open(os.path.join(self.folder, "stderr"), "w+")
        self.process = subprocess.Popen(
            [os.path.abspath(program)], cwd=self.folder, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=self.errors)
        os.set_blocking(self.process.stdout.fileno(), False)
        self.selector = selectors.DefaultSelector()
        self.selector.register(self.process.stdout, selectors.EVENT_READ)
        self.unread = b""
        self.lines = []
        self.sent = []  # (seconds since the line before, line)
        self.last = time.monotonic()
        self.forced = False

    def send(self, line):
        now = time.monotonic()
        self.sent.append((now - self.last, line))
        self.last = now
        try:
            self.process.stdin.write(line.encode("latin-1") + b"\n")
            self.process.stdin.flush()
        except OSError:
            raise Fault(self, "its input is closed") from None

    def collect(self, seconds):
        """Lines that come within the time; returns early with the first."""
        if self.selector.select(seconds):
            got = self.process.stdout.read() or b""
            if not got:
                raise Fault(self, f"ended with status {self.process.wait()}")
            self.unread += got
            *whole, self.unread = self.unread.split(b"\n")
            self.lines += [line.decode("latin-1") for line in whole]

    def line(self, seconds):
        """The next line, or None when none has come by then."""
        deadline = time.monotonic() + seconds
        while not self.lines:
            left = deadline - time.monotonic()
            if left <= 0:
                return None
            self.collect(left)
        return self.lines.pop(0)

    def rest(self):
        """Waits until it reads commands again, in force mode; returns what it said until then.

        One "force" is not enough: one that ends its search lets it move, and then ponder.
        """
        said = []
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            self.send("force")
            self.send("mvd")  # not answered while it thinks
            text = self.line(0.2)
            while text is not None:
                if text.startswith("NBP="):
                    self.drop_late_answers()
                    return said
                said.append(text)
                text = self.line(0.2)
        raise Fault(self, "does not come to rest")

    def drop_late_answers(self):
        while self.line(0.02) is not None:
            pass

    def board(self):
        """Its board as eight rows of two characters for a square."""
        self.send("brd")
        rows = [self.line(PATIENCE) for _ in range(8)]
        if None in rows:
            raise Fault(self, "shows no board")
        return rows

    def cpu_seconds(self):
        try:
            with open(f"/proc/{self.process.pid}/stat") as stat:
                fields = stat.read().rsplit(")", 1)[1].split()
        except OSError:
            return 0
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def complaint(self):
        self.errors.seek(0)
        return self.errors.read()

    def end(self):
        """Ends it as a front end does; its exit status, -9 when it had to be killed."""
        try:
            self.process.stdin.close()
        except OSError:
            pass
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            status = -9
        self.process.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)
        return status


def placement_commands(position):
    """The commands that set the position up; castling rights follow from the placement."""
    lines = ["white" if position.white else "black", "edit", "#"]
    for white in (True, False):
        if not white:
            lines.append("c")
        lines += [letter.upper() + referee.name_of(at)
                  for at, letter in position.men.items() if letter.isupper() == white]
    return lines + ["."]


def random_position(chance):
    """Some moves into a random game, often with most men gone."""
    while True:
        position = referee.Position()
        for _ in range(chance.randrange(120)):
            moves = position.moves()
            captures = [move for move in moves if position.captures(move)]
            if not moves:
                break
            wanted = captures if captures and chance.random() < 0.4 else moves
            position = position.after(chance.choice(wanted))
        position = position.with_implied_rights()
        if position.moves():
            return position


class Table:
    """Two engines at one board."""

    def __init__(self, program, chance):
        self.program, self.chance = program, chance
        self.players = []  # White first
        for name, search in (("first", "classic"), ("second", "strong")):
            self.players.append(Engine(program, name, search))
        self.begin_from(referee.Position(), standard=True)
        self.games = self.plies = self.disturbances = 0

    def begin_from(self, position, standard=False):
        self.standard = standard  # "new" sets it up
        self.positions, self.moves = [position], []

    def position(self):
        return self.positions[-1]

    def push(self, move):
        self.positions.append(self.position().after(move))
        self.moves.append(move)

    def pop(self):
        self.positions.pop()
        self.moves.pop()

    def over(self):
        return not self.position().moves() or len(self.moves) > LONGEST_GAME

    def mover(self):
        return self.players[0 if self.position().white else 1]

    def waiter(self):
        return self.players[1 if self.position().white else 0]

    # ---- In step ----
    def settle(self):
        """Both at rest in force mode; a move that came meanwhile belongs to the game."""
        mover, waiter = self.mover(), self.waiter()
        for engine in self.players:
            engine.send("force")
            engine.forced = True
        waiter.rest()
        for text in mover.rest():
            if text.startswith("move "):
                self.take(mover, text)
                waiter.send(text[5:])
        waiter.rest()
        self.compare()

    def compare(self):
        for engine in self.players:
            rows = engine.board()
            if rows != self.position().rows():
                raise Fault(engine, "its board is\n" + "\n".join(rows) + "\nand not\n" +
                            "\n".join(self.position().rows()))

    def set_up(self):
        """Both brought to the board's position, whatever they were doing."""
        for engine in self.players:
            engine.send("force")
        for engine in self.players:
            engine.rest()
            engine.send("new")
            engine.send("force")
            engine.forced = True
            if not self.standard:
                for line in placement_commands(self.positions[0]):
                    engine.send(line)
            for move in self.moves:
                engine.send(move)
            engine.rest()
        self.compare()

    # ---- A game ----
    def begin(self):
        chance = self.chance
        self.games += 1
        if chance.random() < 0.5:
            self.players.reverse()
        if chance.random() < 0.6:
            self.begin_from(referee.Position(), standard=True)
        else:
            self.begin_from(random_position(chance))
        self.set_up()
        for engine in self.players:
            engine.send(chance.choice(["level 40 0:05 0", "level 0 0:04 0", "level 0 0:02 1"]))
            engine.send(chance.choice(["hard", "easy"]))
            engine.send(chance.choice(["post", "nopost"]))
        self.prompt(None)

    def prompt(self, move):
        """Tells the side to move what was played; it thinks from then on."""
        mover = self.mover()
        mover.send(f"time {self.chance.randrange(20, 400)}")
        mover.send(f"otim {self.chance.randrange(20, 400)}")
        if move is not None:
            mover.send(move)
        if move is None or mover.forced:
            mover.send("go")
            mover.forced = False

    def take(self, engine, text):
        if text[5:] not in self.position().moves():
            raise Fault(engine, f"said {text!r} in\n" + "\n".join(self.position().rows()))
        self.push(text[5:])
        self.plies += 1

    def play(self):
        self.begin()
        deadline = time.monotonic() + PATIENCE
        while True:
            text = self.mover().line(self.chance.random() * 0.1)
            if text is None:
                if time.monotonic() > deadline:
                    raise Fault(self.mover(), "does not move")
                if self.chance.random() < 0.2:
                    deadline = time.monotonic() + PATIENCE
                    if not self.disturb():
                        break
            elif text.startswith("move "):
                self.take(self.mover(), text)
                deadline = time.monotonic() + PATIENCE
                if self.over():
                    break
                self.prompt(text[5:])
            elif "{" in text or text == "resign":
                break
            while self.waiter().lines:
                self.waiter().lines.pop(0)  # hints and thinking lines
            self.waiter().collect(0)
        for engine in self.players:
            engine.send("result " + self.chance.choice(["1-0", "0-1", "1/2-1/2"]) + " {over}")

    # ---- Commands in between ----
    def disturb(self):
        """Something in between; False when it ended the game."""
        self.disturbances += 1
        chance, kind = self.chance, self.chance.randrange(13)
        if kind < 4:
            self.mover().send(chance.choice(["?", "?", ".", "hard", "easy", "post", "nopost"]))
        elif kind < 6:
            self.waiter().send(chance.choice(["hard", "easy", "post", "nopost", ".", "otim 100"]))
        elif kind < 7:
            return False
        else:
            [self.take_back, self.edit, self.analyse, self.babble, self.babble,
             self.demonstrate][kind - 7]()
            if self.over():
                return False
            self.prompt(None)
        return True

    def take_back(self):
        self.settle()
        for _ in range(self.chance.randrange(1, 6)):
            if self.moves:
                self.pop()
                for engine in self.players:
                    engine.send("undo")
        self.compare()

    def edit(self):
        self.settle()
        self.begin_from(random_position(self.chance))
        for engine in self.players:
            for line in placement_commands(self.position()):
                engine.send(line)
        self.compare()

    def analyse(self):
        self.settle()
        engine = self.chance.choice(self.players)
        engine.send("analyze")
        made = 0
        for _ in range(self.chance.randrange(1, 8)):
            time.sleep(self.chance.random() * 0.2)
            moves = self.position().moves()
            if self.chance.random() < 0.4 and moves:
                self.push(self.chance.choice(moves))
                engine.send(self.moves[-1])
                made += 1
            elif self.chance.random() < 0.4 and made:
                self.pop()
                engine.send("undo")
                made -= 1
            else:
                engine.send(".")
        engine.send("exit")
        engine.rest()
        for _ in range(made):
            self.pop()
            engine.send("undo")
        self.compare()

    def babble(self):
        """Anything to anyone, at once or with pauses; afterwards all is set up anew."""
        chance = self.chance
        squares = [file + rank for file in referee.FILES for rank in "12345678"]
        for _ in range(chance.randrange(1, 12)):
            line = chance.choice([
                "?", ".", "new", "undo", "remove", "hard", "easy", "post", "nopost", "force",
                "go", "white", "black", "exit", "analyze", "result 1-0 {why}", "mvd", "brd",
                "evl", "bkm", "sd 3", "time 50", "time -1", "level 5 0:01 0",
                "edit\n#\nKe1\nc\nKe8\n.", "edit\nxe2\nc\nQd4\n.", "tst", "x" * 300, "\r", "",
                chance.choice(squares) + chance.choice(squares),
                chance.choice(squares) + chance.choice(squares) + "q"])
            chance.choice(self.players).send(line)
            time.sleep(chance.choice([0, 0, 0, 0.001, 0.01, 0.05, 0.3]))
        for engine in self.players:
            for line in ("?", "exit", "force", "sd 998"):
                engine.send(line)
        self.set_up()

    def demonstrate(self):
        """A game of one engine against itself ends by itself, or with the program."""
        chosen = self.chance.randrange(2)
        engine = self.players[chosen]
        engine.send("demo")
        for _ in range(self.chance.randrange(20)):
            time.sleep(self.chance.random() * 0.2)
            engine.send(self.chance.choice(["?", "?", ".", "undo", "new", "result 1-0", "e2e4"]))
        engine.send("quit")
        finish(engine)
        self.players[chosen] = Engine(self.program, engine.name, engine.search)
        self.set_up()

    def cpu_seconds(self):
        """Of all engines up to now, those that are gone included."""
        gone = resource.getrusage(resource.RUSAGE_CHILDREN)
        return gone.ru_utime + gone.ru_stime + sum(
            engine.cpu_seconds() for engine in self.players)

    def end(self):
        for engine in self.players:
            finish(engine)


def finish(engine):
    """The engine must go in peace."""
    status = engine.end()
    complaint = engine.complaint()
    if status != 0 or complaint:
        raise Fault(engine, f"status {status} at the end\n{complaint}")


# ---- At a fault ----
def crashes(program, search, sent):
    """Whether these lines, with their pauses, make an engine fail again."""
    engine = Engine(program, "again", search)
    complaint = ""
    try:
        for pause, line in sent:
            time.sleep(min(pause, 2))
            engine.send(line)
            engine.collect(0)
        engine.send("force")
        engine.rest()
    except Fault:
        complaint = "failed"
    complaint += engine.complaint()
    return engine.end() != 0 or bool(complaint)


def cut_down(program, search, sent, seconds=300):
    """Leaves out what is not needed for the fault, in ever smaller pieces."""
    deadline = time.monotonic() + seconds
    piece = max(1, len(sent) // 2)
    while piece and time.monotonic() < deadline:
        at = 0
        while at < len(sent) and time.monotonic() < deadline:
            fewer = sent[:at] + sent[at + piece:]
            if crashes(program, search, fewer):
                sent = fewer
            else:
                at += piece
        piece //= 2
    return sent


def report(program, fault):
    print(f"FAULT: {fault}")
    print(fault.engine.complaint())
    sent, search = fault.engine.sent, fault.engine.search
    print(f"file Veltramox.ini <<END\nSearch={search}\nEND")
    if crashes(program, search, sent):
        sent = cut_down(program, search, sent)
        print("# It comes back with:")
    else:
        print("# It does not come back by itself. The last that was sent:")
        sent = [step for step in sent if step[1] != "mvd"][-80:]
    for pause, line in sent:
        if pause > 0.002:
            print(f"wait {int(pause * 1000)}")
        print("\n".join("> " + part for part in line.split("\n")))


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    arguments.add_argument("program")
    arguments.add_argument("--cpu", type=float, default=3600, help="seconds of the engines' time")
    arguments.add_argument("--seed", type=int, default=None)
    options = arguments.parse_args()
    seed = options.seed if options.seed is not None else random.randrange(1 << 30)
    chance = random.Random(seed)
    print(f"seed {seed}", flush=True)
    spent = games = plies = disturbances = 0
    while spent < options.cpu:
        table = Table(options.program, chance)
        begun = spent
        try:
            # New processes now and then, so that start and end are part of it.
            while spent < min(begun + 300, options.cpu):
                table.play()
                spent = table.cpu_seconds()
            table.end()
        except Fault as fault:
            report(options.program, fault)
            print("0 passed, 1 failed")
            return 1
        games += table.games
        plies += table.plies
        disturbances += table.disturbances
        print(f"{spent:.0f} s of processor time, {games} games, {plies} plies, "
              f"{disturbances} disturbances", flush=True)
    print("1 passed, 0 failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
