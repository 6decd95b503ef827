"""The rules of chess, slow and plain: a referee that shares nothing with the engine."""

FILES = "abcdefgh"
START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"
KNIGHT = [(1, 2), (2, 1), (2, -1), (1, -2), (-1, -2), (-2, -1), (-2, 1), (-1, 2)]
STRAIGHT = [(1, 0), (-1, 0), (0, 1), (0, -1)]
DIAGONAL = [(1, 1), (1, -1), (-1, 1), (-1, -1)]
# Men to directions, and whether they go on in them.
STEPS = {"N": (KNIGHT, False), "K": (STRAIGHT + DIAGONAL, False), "R": (STRAIGHT, True),
         "B": (DIAGONAL, True), "Q": (STRAIGHT + DIAGONAL, True)}
# Rook's corner, king's and rook's ways of each castling.
CASTLING = {"K": ("e1", "h1", "g1", "f1"), "Q": ("e1", "a1", "c1", "d1"),
            "k": ("e8", "h8", "g8", "f8"), "q": ("e8", "a8", "c8", "d8")}


def square(name):
    return FILES.index(name[0]), int(name[1]) - 1


def name_of(where):
    return FILES[where[0]] + str(where[1] + 1)


class Position:
    """Men by square, (file, rank) to letter, capitals White; squares are pairs from 0."""

    def __init__(self, fen=START):
        rows, turn, rights, passant = fen.split()[:4]
        self.men = {}
        for rank, row in zip(range(7, -1, -1), rows.split("/")):
            file = 0
            for letter in row:
                if letter.isdigit():
                    file += int(letter)
                else:
                    self.men[file, rank] = letter
                    file += 1
        self.white = turn == "w"
        self.rights = set(rights) - {"-"}
        self.passant = None if passant == "-" else square(passant)

    def copy(self):
        other = Position.__new__(Position)
        other.men, other.white = dict(self.men), self.white
        other.rights, other.passant = set(self.rights), self.passant
        return other

    def own(self, letter):
        return letter is not None and letter.isupper() == self.white

    def attacked(self, where, by_white):
        """Whether a man of that side attacks the square."""
        for kind, (directions, slides) in STEPS.items():
            wanted = kind if by_white else kind.lower()
            for df, dr in directions:
                at = where[0] + df, where[1] + dr
                while slides and on_board(at) and at not in self.men:
                    at = at[0] + df, at[1] + dr
                if self.men.get(at) == wanted:
                    return True
        back = -1 if by_white else 1
        pawn = "P" if by_white else "p"
        return any(self.men.get((where[0] + df, where[1] + back)) == pawn for df in (-1, 1))

    def in_check(self, white):
        king = "K" if white else "k"
        return any(self.attacked(at, not white)
                   for at, letter in self.men.items() if letter == king)

    def pawn_targets(self, at):
        forward, home = (1, 1) if self.white else (-1, 6)
        one = at[0], at[1] + forward
        if one not in self.men:
            yield one
            two = at[0], at[1] + 2 * forward
            if at[1] == home and two not in self.men:
                yield two
        for df in (-1, 1):
            aside = at[0] + df, at[1] + forward
            if aside == self.passant or aside in self.men and not self.own(self.men[aside]):
                yield aside

    def targets(self, at, letter):
        if letter.upper() == "P":
            yield from self.pawn_targets(at)
            return
        directions, slides = STEPS[letter.upper()]
        for df, dr in directions:
            to = at[0] + df, at[1] + dr
            while on_board(to) and not self.own(self.men.get(to)):
                yield to
                if to in self.men or not slides:
                    break
                to = to[0] + df, to[1] + dr

    def castlings(self):
        for right in self.rights:
            if right.isupper() != self.white:
                continue
            king, rook, to, over = map(square, CASTLING[right])
            files = range(min(king[0], rook[0]) + 1, max(king[0], rook[0]))
            if all((file, king[1]) not in self.men for file in files) and not any(
                    self.attacked(at, not self.white) for at in (king, over, to)):
                yield king, to

    def moves(self):
        """All legal moves, as the engine writes them (e2e4, e7e8q)."""
        found = []
        for at, letter in list(self.men.items()):
            if not self.own(letter):
                continue
            for to in self.targets(at, letter):
                name = name_of(at) + name_of(to)
                if letter.upper() == "P" and to[1] in (0, 7):
                    found += [name + piece for piece in "qrbn"]
                else:
                    found.append(name)
        found += [name_of(king) + name_of(to) for king, to in self.castlings()]
        return [move for move in found if not self.after(move).in_check(self.white)]

    def captures(self, move):
        return square(move[2:]) in self.men

    def after(self, move):
        """The position after a move; that it is legal is the caller's business."""
        next_one = self.copy()
        men, at, to = next_one.men, square(move), square(move[2:])
        letter = men.pop(at)
        if letter.upper() == "P" and to == self.passant:
            men.pop((to[0], at[1]))
        men[to] = letter
        if len(move) > 4:
            men[to] = move[4].upper() if self.white else move[4]
        if letter.upper() == "K" and abs(to[0] - at[0]) == 2:
            for king, rook, king_to, over in CASTLING.values():
                if (square(king), square(king_to)) == (at, to):
                    men[square(over)] = men.pop(square(rook))
        next_one.rights = {right for right, (king, rook, _, _) in CASTLING.items()
                           if right in self.rights and not {square(king), square(rook)} & {at, to}}
        double = letter.upper() == "P" and abs(to[1] - at[1]) == 2
        next_one.passant = (at[0], (at[1] + to[1]) // 2) if double else None
        next_one.white = not self.white
        return next_one

    def with_implied_rights(self):
        """The same men, with all rights that their squares allow and nothing else."""
        other = self.copy()
        other.passant = None
        other.rights = {right for right, (king, rook, _, _) in CASTLING.items()
                        if other.men.get(square(king)) == ("K" if right.isupper() else "k")
                        and other.men.get(square(rook)) == ("R" if right.isupper() else "r")}
        return other

    def rows(self):
        """The eight rows that the engine shows for "brd"."""
        def cell(letter):
            if letter is None:
                return " ."
            return (" " if letter.isupper() else "*") + letter.upper()
        return ["".join(cell(self.men.get((file, rank))) for file in range(8))
                for rank in range(7, -1, -1)]


def on_board(at):
    return 0 <= at[0] < 8 and 0 <= at[1] < 8


def perft(position, depth):
    moves = position.moves()
    return len(moves) if depth == 1 else sum(perft(position.after(m), depth - 1) for m in moves)
