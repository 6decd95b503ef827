// Writes the constant endgame tables of the evaluation as C++ source:
//
//   endgame_tables OUTPUT.cpp
//
// KPKTable and KPKTableB (king and pawn against king) and KRKPTable (rook against pawn)
// are solved here from the rules of chess while the engine is being built, so that it
// computes nothing at start. Every table is checked against its known count of set bits
// and its checksum before anything is written; a mismatch fails the build (status 1).
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "board/types.h"

namespace {

using Words = std::vector<std::uint64_t>;

// A table's name, its set bits and the FNV-1a checksum of its bytes, least significant
// byte of a word first.
struct Expected {
    const char* name;
    int bits;
    std::uint64_t checksum;
};
constexpr Expected kKingPawn = {"KPKTable", 233428, 0x9D619BDA7F36E662};
constexpr Expected kKingPawnAlone = {"KPKTableB", 190696, 0x1A48C30D2F653212};
constexpr Expected kRookPawn = {"KRKPTable", 343117, 0xB1EB46FB40DA2D8A};

// ---- Geometry ----

// The members of a set one step further in a direction, none wrapping around the board.
constexpr SquareSet kNotFileA = 0xFEFEFEFEFEFEFEFE, kNotFileH = 0x7F7F7F7F7F7F7F7F;
constexpr SquareSet East(SquareSet set) { return (set & kNotFileH) << 1; }
constexpr SquareSet West(SquareSet set) { return (set & kNotFileA) >> 1; }

// The squares a king step away from any member.
constexpr SquareSet Grow(SquareSet set) {
    const SquareSet row = set | East(set) | West(set);
    return East(set) | West(set) | row << 8 | row >> 8;
}
constexpr SquareSet KingSteps(int square) { return Grow(SquareMask(square)); }

constexpr SquareSet KnightSteps(int square) {
    const SquareSet s = SquareMask(square);
    const SquareSet one = East(s) | West(s), two = East(East(s)) | West(West(s));
    return one << 16 | one >> 16 | two << 8 | two >> 8;
}

// Attacks of a pawn that moves up the board.
constexpr SquareSet PawnHits(int square) {
    return East(SquareMask(square)) << 8 | West(SquareMask(square)) << 8;
}

// Line directions as steps in file and rank; the rook's four come first.
constexpr int kDirections[8][2] = {{1, 0}, {-1, 0}, {0, 1},  {0, -1},
                                   {1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
constexpr int kRookDirections = 4;

// The next square in a direction, -1 beyond the edge.
constexpr int Step(int square, const int (&direction)[2]) {
    const int file = FileOf(square) + direction[0], rank = RankOf(square) + direction[1];
    return file < 0 || file > 7 || rank < 0 || rank > 7 ? -1 : SquareAt(file, rank);
}

// Squares a rook attacks, on every line up to and including the first of the blockers.
SquareSet RookHits(int square, SquareSet blockers) {
    SquareSet attacked = 0;
    for (int d = 0; d < kRookDirections; ++d) {
        for (int to = Step(square, kDirections[d]); to >= 0;
             to = Step(to, kDirections[d])) {
            attacked |= SquareMask(to);
            if ((blockers & SquareMask(to)) != 0) break;
        }
    }
    return attacked;
}

constexpr bool Contains(SquareSet set, int square) { return (set >> square & 1) != 0; }

// ---- King and pawn against king ----

// The pawn moves up the board. `wk` is its king, `bk` the defender's.
struct PawnEnding {
    int pawn, wk, bk;
    bool defenderToMove;

    std::size_t Index() const {
        return static_cast<std::size_t>(2 * pawn + (defenderToMove ? 1 : 0) + 128 * wk +
                                        8192 * bk);
    }
    bool Legal() const {
        return RankOf(pawn) >= 1 && RankOf(pawn) <= 6 && pawn != wk && pawn != bk &&
               wk != bk && !Contains(KingSteps(wk), bk) &&
               (defenderToMove || !Contains(PawnHits(pawn), bk));
    }
    bool Free(int square) const { return square != wk && square != bk; }
    // The position with the pawn moved and the defender to move.
    PawnEnding WithPawn(int square) const { return {square, wk, bk, true}; }
    // The squares the defending king may go to, the pawn's among them.
    SquareSet DefenderSteps() const {
        return KingSteps(bk) & ~KingSteps(wk) & ~PawnHits(pawn);
    }
};

// The bits are numbered as ProbeKPK reads them.
bool Marked(const Words& table, const PawnEnding& e) {
    return (table[e.Index() / 64] >> e.Index() % 64 & 1) != 0;
}

// A pawn step, single or double, leads to a marked position.
bool PawnStepMarked(const Words& table, const PawnEnding& e) {
    const int front = e.pawn + 8;
    if (RankOf(e.pawn) == 6 || !e.Free(front)) return false;
    if (Marked(table, e.WithPawn(front))) return true;
    return RankOf(e.pawn) == 1 && e.Free(front + 8) &&
           Marked(table, e.WithPawn(front + 8));
}

// A step of the pawn side's king leads to a marked position.
bool KingStepMarked(const Words& table, const PawnEnding& e) {
    SquareSet steps = KingSteps(e.wk) & ~KingSteps(e.bk) & ~SquareMask(e.pawn);
    while (steps != 0)
        if (Marked(table, {e.pawn, TakeLowest(steps), e.bk, true})) return true;
    return false;
}

// The defender can move, and whatever it does, it neither takes the pawn nor reaches a
// position that is not marked.
bool DefenderLost(const Words& table, const PawnEnding& e) {
    SquareSet steps = e.DefenderSteps();
    if (steps == 0 || Contains(steps, e.pawn)) return false;
    while (steps != 0)
        if (!Marked(table, {e.pawn, e.wk, TakeLowest(steps), false})) return false;
    return true;
}

// Marks the positions from which the pawn side reaches a free promotion square by force.
// With `pawnAlone` it only pushes the pawn and its king stays where it is: that is the
// base table, generated by this rule of ours as the meaning of "wins on its own".
// Otherwise it plays any move, and the table is the retrograde closure. A new queen that
// can be taken, or that stalemates, counts all the same: the table is slightly generous.
Words SolveKingPawn(bool pawnAlone) {
    Words table(65536 / 8, 0);
    const auto holds = [&](const PawnEnding& e) {
        if (e.defenderToMove) return DefenderLost(table, e);
        return (RankOf(e.pawn) == 6 && e.Free(e.pawn + 8)) || PawnStepMarked(table, e) ||
               (!pawnAlone && KingStepMarked(table, e));
    };
    for (bool changed = true; changed;) {
        changed = false;
        // From the seventh rank down: what a pawn's step leads to is mostly known by
        // then, and few sweeps are needed.
        for (int pawn = H7; pawn >= A2; --pawn)
            for (int kings = 0; kings < 64 * 64 * 2; ++kings) {
                const PawnEnding e = {pawn, kings >> 7, kings >> 1 & 63,
                                      (kings & 1) != 0};
                if (!e.Legal() || Marked(table, e) || !holds(e)) continue;
                table[e.Index() / 64] |= std::uint64_t{1} << e.Index() % 64;
                changed = true;
            }
    }
    return table;
}

// ---- Rook against one man ----

// All positions of rook and king against king and one man are solved a word at a time:
// for the squares of rook, rook's king and the man, one 64-bit word has a bit for every
// square of the lone man's king, and one set operation treats all its squares at once.
constexpr std::size_t kPlacements = 64 * 64 * 64;
constexpr std::size_t At(int rook, int king, int man) {
    return static_cast<std::size_t>(rook << 12 | king << 6 | man);
}

// Per placement, the squares of the man's king where ...
Words QuietSquares(kPlacements);  // ... it may stand with the rook side to move
struct Solution {
    Words rookWins = Words(kPlacements);  // ... the rook side is to move and wins
    Words manLost = Words(kPlacements);   // ... the man's side is to move and loses
};
Solution Knight, Queen, Pawn;
SquareSet BareLost[64][64];  // the same as manLost with the man taken, [rook][king]

// With the man gone, the rook wins unless it falls at once or stalemates: the squares of
// the lone king, not beside the other king, from which it cannot take an unprotected
// rook, and where it is in check or has a step that the rook does not forbid.
SquareSet SolveBare(int rook, int king) {
    const SquareSet checked = RookHits(rook, SquareMask(king));
    const SquareSet near = KingSteps(king) | SquareMask(king);
    const SquareSet takes = SquareMask(rook) & ~near;
    const SquareSet stands = ~(near | checked | SquareMask(rook));
    return ~(near | SquareMask(rook) | Grow(takes)) & (checked | Grow(stands));
}

// What all three men have in common, worked out once.
void PrepareRookEndings() {
    for (int rook = 0; rook < 64; ++rook)
        for (int king = 0; king < 64; ++king) {
            if (rook == king) continue;
            BareLost[rook][king] = SolveBare(rook, king);
            for (int man = 0; man < 64; ++man) {
                if (man == rook || man == king) continue;
                const SquareSet fixed = SquareMask(king) | SquareMask(man);
                QuietSquares[At(rook, king, man)] =
                    ~(fixed | SquareMask(rook) | KingSteps(king) | RookHits(rook, fixed));
            }
        }
}

// The rook side to move: the squares of the man's king where some move wins.
SquareSet RookSideWins(const Solution& known, int rook, int king, int man) {
    SquareSet wins = 0;
    for (SquareSet steps = KingSteps(king) & ~SquareMask(rook); steps != 0;) {
        const int to = TakeLowest(steps);
        wins |= to == man ? BareLost[rook][to] : known.manLost[At(rook, to, man)];
    }
    for (int d = 0; d < kRookDirections; ++d) {
        SquareSet passed = 0;  // the man's king on one of these squares is in the way
        for (int to = Step(rook, kDirections[d]); to >= 0 && to != king;
             to = Step(to, kDirections[d])) {
            wins |= (to == man ? BareLost[to][king] : known.manLost[At(to, king, man)]) &
                    ~passed;
            if (to == man) break;
            passed |= SquareMask(to);
        }
    }
    return wins & QuietSquares[At(rook, king, man)];
}

// What the moves of the man offer its side: where its king must stand for a move to
// exist, and for one that does not lose.
struct Replies {
    SquareSet any = 0, saving = 0;

    // A move to a placement with the rook side to move.
    void Add(const Solution& known, int rook, int king, int man, SquareSet passed = 0) {
        const SquareSet quiet = QuietSquares[At(rook, king, man)] & ~passed;
        any |= quiet;
        saving |= quiet & ~known.rookWins[At(rook, king, man)];
    }
    // Taking the rook.
    void AddCapture(SquareSet passed = 0) { saving |= ~passed; }
};

// The moves of the man itself; its king's are treated for all squares at once below.
Replies KnightMoves(int rook, int king, int man) {
    Replies replies;
    for (SquareSet jumps = KnightSteps(man) & ~SquareMask(king); jumps != 0;) {
        const int to = TakeLowest(jumps);
        if (to == rook)
            replies.AddCapture();
        else
            replies.Add(Knight, rook, king, to);
    }
    return replies;
}

// A queen's move needs its line free of the own king, which may stand on any square of
// the word: the squares that were passed drop out.
Replies QueenMoves(int rook, int king, int man) {
    Replies replies;
    for (const auto& direction : kDirections) {
        SquareSet passed = 0;
        for (int to = Step(man, direction); to >= 0 && to != king;
             to = Step(to, direction)) {
            if (to == rook) {
                replies.AddCapture(passed);
                break;
            }
            replies.Add(Queen, rook, king, to, passed);
            passed |= SquareMask(to);
        }
    }
    return replies;
}

// Promotion to a rook or a bishop saves nothing that a queen or a knight does not. Pawns
// stand on rank 4 or beyond: there is no double step.
Replies PawnMoves(int rook, int king, int man) {
    Replies replies;
    if (Contains(PawnHits(man), rook)) replies.AddCapture();
    const int front = man + 8;
    if (front == rook || front == king) return replies;
    if (RankOf(front) < 7) {
        replies.Add(Pawn, rook, king, front);
    } else {
        replies.Add(Queen, rook, king, front);
        replies.Add(Knight, rook, king, front);
    }
    return replies;
}

// Squares of the man's king at which the man does not attack the rook's king.
SquareSet NoCheckKnight(int, int king, int man) {
    return Contains(KnightSteps(man), king) ? 0 : ~SquareSet{0};
}
SquareSet NoCheckPawn(int, int king, int man) {
    return Contains(PawnHits(man), king) ? 0 : ~SquareSet{0};
}
// Only its own king between the two keeps a queen on an open line from giving check.
SquareSet NoCheckQueen(int rook, int king, int man) {
    for (const auto& direction : kDirections) {
        SquareSet passed = 0;
        for (int to = Step(man, direction); to >= 0 && to != rook;
             to = Step(to, direction)) {
            if (to == king) return passed;
            passed |= SquareMask(to);
        }
    }
    return ~SquareSet{0};
}

using ManMoves = Replies (*)(int rook, int king, int man);
using NoCheck = SquareSet (*)(int rook, int king, int man);

// The man's side to move: the squares of its king where it is mated or every move loses.
SquareSet ManSideLost(const Solution& known, ManMoves moves, NoCheck noCheck, int rook,
                      int king, int man) {
    const SquareSet rookKing = KingSteps(king) | SquareMask(king);
    const SquareSet legal =
        ~(rookKing | SquareMask(rook) | SquareMask(man)) & noCheck(rook, king, man);
    // The king steps to a square from which the rook does not win, or takes the rook.
    const std::size_t here = At(rook, king, man);
    const SquareSet takes = SquareMask(rook) & ~rookKing;
    const SquareSet safe = QuietSquares[here] & ~known.rookWins[here];
    const SquareSet stuck = legal & ~Grow(safe | takes);
    if (stuck == 0) return 0;
    const Replies replies = moves(rook, king, man);
    const SquareSet checked = RookHits(rook, SquareMask(king) | SquareMask(man));
    // Without any move and without check it is stalemate, no loss.
    return stuck & ~replies.saving & (replies.any | Grow(QuietSquares[here]) | checked);
}

// Sweeps the placements of one man until nothing changes: a least fixed point, so that
// positions which only repeat stay draws. `first` and `last` bound the man's square: a
// pawn's moves leave its square for good, so each is solved by itself.
void SolveRookAgainst(Solution& known, ManMoves moves, NoCheck noCheck, int first,
                      int last) {
    const auto improve = [](SquareSet& word, SquareSet found) {
        const bool grown = (found & ~word) != 0;
        word |= found;
        return grown;
    };
    for (bool changed = true; changed;) {
        changed = false;
        for (int place = 0; place < 64 * 64; ++place)
            for (int man = first; man <= last; ++man) {
                const int rook = place >> 6, king = place & 63;
                if (rook == king || man == rook || man == king) continue;
                const std::size_t here = At(rook, king, man);
                changed |= improve(known.manLost[here],
                                   ManSideLost(known, moves, noCheck, rook, king, man));
                changed |=
                    improve(known.rookWins[here], RookSideWins(known, rook, king, man));
            }
    }
}

// Pawns on files e to h, ranks 4 to 7; a set bit is a draw or better for the pawn's side,
// the rook side to move.
Words SolveRookPawn() {
    PrepareRookEndings();
    SolveRookAgainst(Knight, KnightMoves, NoCheckKnight, A1, H8);
    SolveRookAgainst(Queen, QueenMoves, NoCheckQueen, A1, H8);
    Words table(65536, 0);
    // From the top: a pawn's step leads to a placement that is solved already.
    for (int rank = 6; rank >= 3; --rank)
        for (int file = 4; file < 8; ++file) {
            const int pawn = SquareAt(file, rank);
            SolveRookAgainst(Pawn, PawnMoves, NoCheckPawn, pawn, pawn);
            for (int place = 0; place < 64 * 64; ++place) {
                const std::size_t here = At(place >> 6, place & 63, pawn);
                const int word = 16 * place + 4 * (rank - 3) + (file - 4);
                table[static_cast<std::size_t>(word)] =
                    QuietSquares[here] & ~Pawn.rookWins[here];
            }
        }
    return table;
}

// ---- Output ----

// FNV-1a, 64 bits.
std::uint64_t Checksum(const Words& table) {
    std::uint64_t sum = 0xCBF29CE484222325;
    for (const std::uint64_t word : table)
        for (int shift = 0; shift < 64; shift += 8)
            sum = (sum ^ (word >> shift & 0xFF)) * 0x100000001B3;
    return sum;
}

bool Verify(const Words& table, const Expected& expected) {
    int bits = 0;
    for (const std::uint64_t word : table) bits += PopCount(word);
    const std::uint64_t checksum = Checksum(table);
    if (bits == expected.bits && checksum == expected.checksum) return true;
    std::fprintf(stderr, "%s: %d bits, checksum 0x%016llX; expected %d, 0x%016llX\n",
                 expected.name, bits, static_cast<unsigned long long>(checksum),
                 expected.bits, static_cast<unsigned long long>(expected.checksum));
    return false;
}

void WriteTable(std::FILE* out, const Words& table, const Expected& expected) {
    std::fprintf(out, "\nconst std::uint64_t %s[%zu] = {", expected.name, table.size());
    constexpr std::size_t kPerLine = 8;
    for (std::size_t i = 0; i < table.size(); ++i)
        std::fprintf(out, "%s0x%llX,", i % kPerLine == 0 ? "\n" : "",
                     static_cast<unsigned long long>(table[i]));
    std::fputs("\n};\n", out);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: endgame_tables OUTPUT.cpp\n", stderr);
        return EXIT_FAILURE;
    }
    const Words kingPawn = SolveKingPawn(false), alone = SolveKingPawn(true);
    const Words rookPawn = SolveRookPawn();
    // All are verified before the first mismatch ends it: the report then shows which
    // differ.
    bool exact = Verify(kingPawn, kKingPawn);
    exact = Verify(alone, kKingPawnAlone) && exact;
    exact = Verify(rookPawn, kRookPawn) && exact;
    if (!exact) return EXIT_FAILURE;
    std::FILE* out = std::fopen(argv[1], "w");
    if (out == nullptr) {
        std::perror(argv[1]);
        return EXIT_FAILURE;
    }
    std::fputs(
        "// Written by tools/endgame_tables.cpp.\n#include \"eval/endgametables.h\"\n",
        out);
    WriteTable(out, kingPawn, kKingPawn);
    WriteTable(out, alone, kKingPawnAlone);
    WriteTable(out, rookPawn, kRookPawn);
    return std::fclose(out) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
