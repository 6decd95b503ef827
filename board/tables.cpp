// Each table is filled from its plain definition, by walking over files and ranks;
// nothing here is fast, and nothing needs to be.
#include "board/tables.h"

#include <algorithm>
#include <cstdlib>

#include "board/magics.h"

LookupTables Lookup;

namespace {

// The eight directions of king and queen as differences of square numbers.
constexpr int kSteps[8] = {1, -1, 7, -7, 8, -8, 9, -9};
// No two squares of an empty board are further apart in knight moves.
constexpr int kKnightDistanceMax = 6;

constexpr bool OnBoard(int file, int rank) {
    return file >= 0 && file < 8 && rank >= 0 && rank < 8;
}
// A step as change of file and rank, each -1, 0 or 1, so that walks can see the edge.
constexpr int StepFile(int step) {
    return step == 1 || step == 9 || step == -7 ? 1 : step == 8 || step == -8 ? 0 : -1;
}
constexpr int StepRank(int step) { return step > 1 ? 1 : step < -1 ? -1 : 0; }

// The set {square at (file, rank)}, empty off the board.
constexpr SquareSet SetAt(int file, int rank) {
    return OnBoard(file, rank) ? SquareMask(SquareAt(file, rank)) : 0;
}
constexpr SquareSet FileOrNone(int file) {
    return file >= 0 && file < 8 ? FileSet(file) : 0;
}
constexpr SquareSet RanksAbove(int rank) {
    return rank >= 7 ? 0 : ~SquareSet{0} << 8 * (rank + 1);
}
constexpr SquareSet RanksBelow(int rank) {
    return rank <= 0 ? 0 : ~SquareSet{0} >> 8 * (8 - rank);
}
constexpr std::uint8_t Byte(int value) { return static_cast<std::uint8_t>(value); }

constexpr int kStraightSteps[4] = {1, -1, 8, -8};
constexpr int kDiagonalSteps[4] = {7, -7, 9, -9};

// The squares from `square` in the directions, up to and including the first man.
SquareSet Slide(int square, const int (&steps)[4], SquareSet occupied) {
    SquareSet reached = 0;
    for (const int step : steps) {
        int file = FileOf(square), rank = RankOf(square);
        SquareSet next = 0;
        do {
            file += StepFile(step);
            rank += StepRank(step);
            next = SetAt(file, rank);
            reached |= next;
        } while (next != 0 && (next & occupied) == 0);
    }
    return reached;
}

// The attack sets of one square, for every combination of men on its lines. Returns where
// the next square's begin.
SquareSet* BuildSlider(SliderMagic& slider, int square, const int (&steps)[4],
                       std::uint64_t factor, SquareSet* sets) {
    // Nothing is hidden behind a man on the edge.
    const SquareSet edges = ((RankSet(0) | RankSet(7)) & ~RankSet(RankOf(square))) |
                            ((FileSet(0) | FileSet(7)) & ~FileSet(FileOf(square)));
    const SquareSet mask = Slide(square, steps, 0) & ~edges;
    slider = {mask, factor, sets, 64 - PopCount(mask)};
    SquareSet men = 0;
    do {
        sets[men * factor >> slider.shift] = Slide(square, steps, men);
        men = (men - mask) & mask;  // the next subset
    } while (men != 0);
    return sets + (std::size_t{1} << PopCount(mask));
}

void BuildSlidingAttacks() {
    SquareSet* sets = Lookup.SliderSets;
    for (int square = 0; square < 64; ++square) {
        sets = BuildSlider(Lookup.RookMagic[square], square, kStraightSteps,
                           kRookMagics[square], sets);
        sets = BuildSlider(Lookup.BishopMagic[square], square, kDiagonalSteps,
                           kBishopMagics[square], sets);
    }
    assert(sets == Lookup.SliderSets + kSliderSets);
}

void BuildLeaperAttacks() {
    for (int square = 0; square < 64; ++square) {
        const int f = FileOf(square), r = RankOf(square);
        for (int df = -2; df <= 2; ++df)
            for (int dr = -2; dr <= 2; ++dr) {
                const int far = std::max(std::abs(df), std::abs(dr));
                if (std::abs(df * dr) == 2)
                    Lookup.KnightAttacks[square] |= SetAt(f + df, r + dr);
                if (far == 1) Lookup.KingAttacks[square] |= SetAt(f + df, r + dr);
            }
        Lookup.PawnAttacks[WHITE][square] = SetAt(f - 1, r + 1) | SetAt(f + 1, r + 1);
        Lookup.PawnAttacks[BLACK][square] = SetAt(f - 1, r - 1) | SetAt(f + 1, r - 1);
    }
}

// One walk per square and direction yields Between, Direction and the ray together.
void BuildLines() {
    for (int a = 0; a < 64; ++a) {
        for (int step : kSteps) {
            SquareSet passed = 0;
            int file = FileOf(a) + StepFile(step), rank = RankOf(a) + StepRank(step);
            for (; OnBoard(file, rank); file += StepFile(step), rank += StepRank(step)) {
                const int b = SquareAt(file, rank);
                Lookup.Between[a][b] = passed;
                Lookup.Direction[b][a] = static_cast<std::int8_t>(step);
                passed |= SquareMask(b);
            }
            Lookup.RayTable[step + 9][a] = passed;
        }
    }
}

// Breadth-first over knight moves.
void BuildDistances() {
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) {
            const int distance = std::max(std::abs(FileOf(a) - FileOf(b)),
                                          std::abs(RankOf(a) - RankOf(b)));
            Lookup.Distance[a][b] = Byte(distance);
            for (int n = distance; n < 8; ++n) Lookup.Within[a][n] |= SquareMask(b);
        }
        // Each round's frontier is what one more knight move reaches for the first time.
        SquareSet seen = SquareMask(a), frontier = seen;
        for (int moves = 0; frontier != 0; ++moves) {
            SquareSet next = 0;
            while (frontier != 0) {
                const int b = TakeLowest(frontier);
                Lookup.KnightDistance[a][b] = moves;
                next |= Lookup.KnightAttacks[b];
            }
            frontier = next & ~seen;
            seen |= next;
        }
    }
}

// Masks of the pawn ranks stay empty on ranks 1 and 8, where no pawn stands.
void BuildPawnMasks(int square) {
    const int f = FileOf(square), r = RankOf(square);
    const SquareSet adjacent = FileOrNone(f - 1) | FileOrNone(f + 1);
    Lookup.FileAbove[square] = FileSet(f) & RanksAbove(r);
    Lookup.FileBelow[square] = FileSet(f) & RanksBelow(r);
    Lookup.AdjacentFiles[square] = adjacent;
    Lookup.ThreeFilesAbove[square] = (adjacent | FileSet(f)) & RanksAbove(r);
    Lookup.ThreeFilesBelow[square] = (adjacent | FileSet(f)) & RanksBelow(r);
    if (r == 0 || r == 7) return;
    Lookup.AdjacentAbove[square] = adjacent & RanksAbove(r);
    Lookup.AdjacentBelow[square] = adjacent & RanksBelow(r);
    Lookup.AdjacentLevelBehind[square] =
        adjacent & (RankSet(std::max(r - 1, 1)) | RankSet(r));
    Lookup.AdjacentLevelAhead[square] =
        adjacent & (RankSet(r) | RankSet(std::min(r + 1, 6)));
}

// The rule of the square: a king inside catches the pawn. The double step saves a move.
void BuildPawnSquares(int square) {
    const int f = FileOf(square), r = RankOf(square);
    if (r == 0 || r == 7) return;
    // Moves to promotion, by colour.
    const int moves[2] = {7 - r - (r == 1 ? 1 : 0), r - (r == 6 ? 1 : 0)};
    for (int colour : {WHITE, BLACK})
        for (int wide : {0, 1}) {
            const int n = moves[colour] + wide;
            SquareSet inside = 0;
            for (int s = 0; s < 64; ++s) {
                const int toPromote = colour == WHITE ? 7 - RankOf(s) : RankOf(s);
                if (std::abs(FileOf(s) - f) <= n && toPromote <= n)
                    inside |= SquareMask(s);
            }
            (wide != 0 ? Lookup.PawnSquareWide : Lookup.PawnSquare)[colour][square] =
                inside;
        }
}

// Two steps straight in from the edge; in a corner the knight jumps as well.
void BuildOppositionSquares(int square) {
    const int f = FileOf(square), r = RankOf(square);
    const int inFile = f == 0 ? 1 : f == 7 ? -1 : 0;
    const int inRank = r == 0 ? 1 : r == 7 ? -1 : 0;
    SquareSet members = 0;
    if (inFile != 0) members |= SetAt(f + 2 * inFile, r);
    if (inRank != 0) members |= SetAt(f, r + 2 * inRank);
    if (inFile != 0 && inRank != 0)
        members |= SetAt(f + 2 * inFile, r + inRank) | SetAt(f + inFile, r + 2 * inRank);
    while (members != 0)
        Lookup.OppositionSquares[square] |= SquareMask(Rotate(TakeLowest(members)));
}

// File sets have the a-file in the highest bit, so that "left" reads as on the board.
void BuildFileSetTables() {
    for (int b = 0; b < 256; ++b) {
        const auto set = static_cast<unsigned>(b);
        Lookup.FromHigh8[b] = Byte(std::countl_zero(static_cast<std::uint8_t>(b)));
        Lookup.FromLow8[b] = Byte(b == 0 ? 8 : 7 - std::countr_zero(set));
        Lookup.PopCount8[b] = Byte(std::popcount(set));
        const unsigned pairs = set & set >> 1;
        Lookup.AdjacentPair8[b] = Byte(pairs == 0 ? 0 : 7 - std::countr_zero(pairs));
        int widest = 0, previous = -1;
        for (int i = 0; i < 8; ++i) {
            if ((b >> i & 1) == 0) continue;
            Lookup.FileSquares8[b] |= FileSet(7 - i);
            if (previous >= 0) widest = std::max(widest, i - previous - 1);
            previous = i;
        }
        Lookup.WidestGap8[b] = Byte(widest);
    }
}

// The own outermost file is compared with the other side's outermost one, whose pawn on
// the very same file is left out. A single own file can count on one wing only. An own
// set without pawns scores 0 throughout: the loop leaves it out.
void BuildWingTables() {
    for (int a = 1; a < 256; ++a)
        for (int c = 0; c < 256; ++c) {
            const int hi = Lookup.FromHigh8[a], lo = Lookup.FromLow8[a];
            const int cHi = Lookup.FromHigh8[c & ~(128 >> hi)],
                      cLo = Lookup.FromLow8[c & ~(128 >> lo)];
            // hi and lo are the outermost files to the left and to the right, 0 for the
            // a-file.
            const int most = hi == lo ? 1 : 2;
            Lookup.OutsideWings[a * 256 + c] =
                Byte(std::min(most, (hi < cHi - 1 ? 1 : 0) + (lo > cLo + 1 ? 1 : 0)));
            Lookup.ReachWings[a * 256 + c] =
                Byte(std::min(most, (hi <= cHi + 1 ? 1 : 0) + (lo >= cLo - 1 ? 1 : 0)));
        }
}

// With the pawn j - 1 steps down its file, the knight's company is every square k within
// j knight moves of the pawn, or j + 1 when a first jump from n leads there in time.
void BuildKnightCatch() {
    // [square][n]: the squares within n knight moves.
    static SquareSet ball[64][kKnightDistanceMax + 1];
    for (int s = 0; s < 64; ++s)
        for (int t = 0; t < 64; ++t)
            for (int d = Lookup.KnightDistance[s][t]; d <= kKnightDistanceMax; ++d)
                ball[s][d] |= SquareMask(t);
    const auto within = [&](int s, int d) {
        return d < 0 ? 0 : ball[s][std::min(d, kKnightDistanceMax)];
    };
    for (int p = A2; p <= H7; ++p)
        for (int n = 0; n < 64; ++n) {
            SquareSet caught = 0;
            // Down to the promotion square itself.
            for (int j = 1, pawn = p; pawn >= 0; ++j, pawn -= 8) {
                SquareSet intercept = 0;
                for (SquareSet jumps = Lookup.KnightAttacks[n]; jumps != 0;) {
                    const int m = TakeLowest(jumps);
                    intercept |= within(m, j + 1 - Lookup.KnightDistance[pawn][m]);
                }
                caught |= within(pawn, j) | (within(pawn, j + 1) & intercept);
            }
            Lookup.KnightCatch[p][n] = caught;
        }
}

}  // namespace

// The order matters: distances need knight attacks, wings the file tables, KnightCatch
// the distances.
void BuildTables() {
    if (Lookup.built) return;
    Lookup.built = true;
    BuildLeaperAttacks();
    BuildSlidingAttacks();
    BuildLines();
    BuildDistances();
    for (int square = 0; square < 64; ++square) {
        BuildPawnMasks(square);
        BuildPawnSquares(square);
        BuildOppositionSquares(square);
    }
    BuildFileSetTables();
    BuildWingTables();
    BuildKnightCatch();
}
