#include "eval/endgame.h"
#include "eval/evaluate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/fen.h"
#include "board/legalmoves.h"
#include "eval/rookpawn.h"

namespace {

class Endgame : public testing::Test {
protected:
    static void SetUpTestSuite() { BuildTables(); }
};

struct Man {
    int square, colour, code;
};

void SetUpBoard(int sideToMove, const std::vector<Man>& men) {
    Board.GamePly = 0;
    ClearBoard();
    for (const Man& man : men) AddPiece(man.square, man.colour, man.code);
    Board.SideToMove = sideToMove;
    DeriveCastlingFlags();
    UpdateMatingFlags();
}

// Exchanges the colours and mirrors the ranks.
void TurnBoard() {
    std::vector<Man> men;
    for (int square = 0; square < 64; ++square)
        if (Board.Piece[square] != EMPTY)
            men.push_back(
                {MirrorRank(square),
                 (Board.Occupied[WHITE] & SquareMask(square)) != 0 ? BLACK : WHITE,
                 Board.Piece[square]});
    SetUpBoard(ChangeSide(Board.SideToMove), men);
}

std::string Recognised() {
    const EndingVerdict v = RecogniseEnding();
    switch (v.verdict) {
        case Verdict::None:
            return v.bonus == 0 ? "none" : "none" + std::to_string(v.bonus);
        case Verdict::Draw:
            return "draw";
        case Verdict::Loss:
            return "loss";
        case Verdict::Score:
            return "score" + std::to_string(v.score);
    }
    return "?";
}

struct Case {
    const char* fen;
    const char* expected;
};

// Every case is looked at with colours exchanged too.
void Check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        ASSERT_TRUE(SetFen(c.fen)) << c.fen;
        EXPECT_EQ(Recognised(), c.expected) << c.fen;
        TurnBoard();
        EXPECT_EQ(Recognised(), c.expected) << c.fen << " turned";
    }
}

bool KingsApart(int a, int b) { return Distance[a][b] > 1; }

bool LegalPawnEnding(int p, int t, int wk, int bk) {
    return p != wk && p != bk && KingsApart(wk, bk) &&
           (t == 1 || (PawnAttacks[WHITE][p] & SquareMask(bk)) == 0);
}

bool InCheck(int colour) {
    return IsAttacked(ChangeSide(colour), Board.KingSquare[colour]);
}

// ---- The tables ----

// Exact analysis of king and pawn against king by the rules, promotion to a queen only.
// [t][pawn][wk][bk], 1 = the pawn's side wins.
class ExactPawnEnding {
public:
    ExactPawnEnding() {
        for (int pawn = H7; pawn >= A2; --pawn)
            for (bool changed = true; changed;) {
                changed = false;
                for (int i = 0; i < 2 * 64 * 64; ++i) {
                    const int t = i & 1, wk = i >> 1 & 63, bk = i >> 7;
                    if (!LegalPawnEnding(pawn, t, wk, bk) || Wins(t, pawn, wk, bk))
                        continue;
                    if (t == 0 ? !CanWin(pawn, wk, bk) : !MustLose(pawn, wk, bk))
                        continue;
                    wins[At(t, pawn, wk, bk)] = 1;
                    changed = true;
                }
            }
    }
    bool Wins(int t, int p, int wk, int bk) const { return wins[At(t, p, wk, bk)] != 0; }

private:
    static std::size_t At(int t, int p, int wk, int bk) {
        return static_cast<std::size_t>(t << 18 | p << 12 | wk << 6 | bk);
    }
    static bool NewQueenWins(int queen, int wk, int bk) {
        SetUpBoard(BLACK, {{wk, WHITE, KING}, {bk, BLACK, KING}, {queen, WHITE, QUEEN}});
        const LegalMoves legal;
        const auto takes = [](Move m) { return Captured(m) != EMPTY; };
        return legal.count == 0 ? InCheck(BLACK)
                                : std::none_of(legal.begin(), legal.end(), takes);
    }
    bool CanWin(int p, int wk, int bk) const {
        for (SquareSet steps = KingAttacks[wk] & ~SquareMask(p); steps != 0;) {
            const int to = TakeLowest(steps);
            if (KingsApart(to, bk) && Wins(1, p, to, bk)) return true;
        }
        for (int to = p + 8; to != wk && to != bk; to += 8) {
            if (to >= A8) return NewQueenWins(to, wk, bk);
            if (Wins(1, to, wk, bk)) return true;
            if (to != p + 8 || RankOf(p) != 1) break;
        }
        return false;
    }
    bool MustLose(int p, int wk, int bk) const {
        SquareSet steps = KingAttacks[bk] & ~KingAttacks[wk] & ~PawnAttacks[WHITE][p];
        if (steps == 0 || (steps & SquareMask(p)) != 0) return false;
        while (steps != 0)
            if (!Wins(0, p, wk, TakeLowest(steps))) return false;
        return true;
    }
    std::array<char, std::size_t{1} << 19> wins{};
};

TEST_F(Endgame, KingAndPawnTablesHoldTheirCountsAndContainExactAnalysis) {
    static const ExactPawnEnding exact;
    int legal = 0, exactWins = 0, closure = 0, alone = 0;
    for (int i = 0; i < 1 << 19; ++i) {
        const int p = i >> 1 & 63, t = i & 1, wk = i >> 7 & 63, bk = i >> 13;
        const int inClosure = ProbeKPK(KPKTable, p, t, wk, bk);
        const int inBase = ProbeKPK(KPKTableB, p, t, wk, bk);
        closure += inClosure;
        alone += inBase;
        ASSERT_LE(inBase, inClosure) << i;
        if (p < A2 || p > H7 || !LegalPawnEnding(p, t, wk, bk)) {
            ASSERT_EQ(inClosure, 0) << i;
            continue;
        }
        ++legal;
        const int won = exact.Wins(t, p, wk, bk) ? 1 : 0;
        exactWins += won;
        ASSERT_LE(won, inClosure) << i;
    }
    EXPECT_EQ(legal, 331352);
    EXPECT_EQ(exactWins, 222558);
    EXPECT_EQ(closure, 233428);
    EXPECT_EQ(alone, 190696);
}

TEST_F(Endgame, PawnWinsAloneOnlyWithoutItsKing) {
    EXPECT_TRUE(PawnWinsAlone(WHITE, A5, H1, E8, true));
    EXPECT_FALSE(PawnWinsAlone(WHITE, A5, H1, D8, false));
    EXPECT_TRUE(PawnWins(WHITE, E5, E6, E8, true));
    EXPECT_FALSE(PawnWinsAlone(WHITE, E5, E6, E8, true));
    EXPECT_TRUE(PawnWinsAlone(BLACK, A4, H8, E1, true));
    EXPECT_TRUE(PawnWins(BLACK, E4, E3, E1, false));
}

TEST_F(Endgame, RookPawnTableHoldsNothingIllegal) {
    int bits = 0;
    for (int word = 0; word < 65536; ++word) {
        const int rook = word >> 10, rookKing = word >> 4 & 63;
        const int pawn = SquareAt(4 + (word & 3), 3 + (word >> 2 & 3));
        bits += PopCount(KRKPTable[word]);
        if (rook == rookKing || rook == pawn || rookKing == pawn) {
            ASSERT_EQ(KRKPTable[word], 0u) << word;
            continue;
        }
        SetUpBoard(WHITE,
                   {{rook, WHITE, ROOK}, {rookKing, WHITE, KING}, {pawn, BLACK, PAWN}});
        ASSERT_EQ(KRKPTable[word] & (Board.Occupied[WHITE] | Board.Occupied[BLACK] |
                                     KingAttacks[rookKing] | RookLines(rook)),
                  0u)
            << word;
    }
    EXPECT_EQ(bits, 343117);
}

// ---- Rook against pawn, checked with the move generator ----

// The four men of the board, in the table's view.
bool TableDraw(int pawnColour) {
    const int turn = pawnColour == WHITE ? 0 : 63, rookColour = ChangeSide(pawnColour);
    return ProbeKRKP(LowestSquare(Board.Rooks[rookColour]) ^ turn,
                     Board.KingSquare[rookColour] ^ turn,
                     LowestSquare(Board.Pawns[pawnColour]) ^ turn,
                     Board.KingSquare[pawnColour] ^ turn) != 0;
}
bool InTable(int pawnColour) {
    if (Board.PawnCount[pawnColour] == 0) return false;
    const int rank = RankOf(LowestSquare(Board.Pawns[pawnColour]));
    return pawnColour == WHITE ? rank >= 3 && rank <= 6 : rank >= 1 && rank <= 4;
}

// The pawn's side is to move; the verdict follows from the table entries of all its
// moves.
int VerdictByMoves(int pawnColour) {
    bool draw = false, unknown = false;
    for (const Move m : LegalMoves()) {
        MakeMove(m);
        if (Captured(m) != EMPTY || (InTable(pawnColour) && TableDraw(pawnColour)))
            draw = true;
        else if (!InTable(pawnColour))
            unknown = true;
        UnmakeMove();
    }
    return draw ? kRookPawnDraw : unknown ? kRookPawnUnknown : kRookSideWins;
}

// The rook's side is to move, the pawn not yet on its seventh rank: some move leaves the
// pawn's side mated or with losing moves only.
bool RookWinsByMoves(int pawnColour) {
    bool wins = false;
    for (const Move m : LegalMoves()) {
        MakeMove(m);
        const LegalMoves replies;
        bool lost = replies.count != 0 || InCheck(pawnColour);
        for (const Move reply : replies) {
            MakeMove(reply);
            const bool pawnGone = Board.PawnCount[pawnColour] == 0;
            if (Captured(reply) != EMPTY || (!pawnGone && TableDraw(pawnColour)))
                lost = false;
            UnmakeMove();
        }
        UnmakeMove();
        wins |= lost;
    }
    return wins;
}

TEST_F(Endgame, RookPawnVerdictsFollowFromAllLegalMoves) {
    std::mt19937 random(45);
    int seen[3] = {0, 0, 0}, tableChecked = 0;
    for (int n = 0; n < 60000; ++n) {
        const auto square = [&] { return static_cast<int>(random() % 64); };
        const int pawnColour = static_cast<int>(random() % 2);
        const int sideToMove = static_cast<int>(random() % 2);
        const int rook = square(), king = square(), pawn = square(), pawnKing = square();
        const SquareSet all =
            SquareMask(rook) | SquareMask(king) | SquareMask(pawn) | SquareMask(pawnKing);
        if (PopCount(all) != 4 || RankOf(pawn) == 0 || RankOf(pawn) == 7) continue;
        const int rookColour = ChangeSide(pawnColour);
        SetUpBoard(sideToMove, {{rook, rookColour, ROOK},
                                {king, rookColour, KING},
                                {pawn, pawnColour, PAWN},
                                {pawnKing, pawnColour, KING}});
        if (!KingsApart(king, pawnKing) || InCheck(ChangeSide(sideToMove))) continue;
        const int verdict = RookPawnRecogniser(pawnColour);
        ++seen[verdict];
        if (sideToMove == pawnColour) {
            ASSERT_EQ(verdict, VerdictByMoves(pawnColour)) << n;
        } else if (!InTable(pawnColour)) {
            ASSERT_EQ(verdict, kRookPawnUnknown) << n;
        } else if (RankOf(pawn) != (pawnColour == WHITE ? 6 : 1)) {
            ASSERT_EQ(verdict == kRookSideWins, RookWinsByMoves(pawnColour)) << n;
            ++tableChecked;
        }
    }
    for (const int count : seen) EXPECT_GT(count, 1000);
    EXPECT_GT(tableChecked, 1000);
}

// ---- One recogniser after the other ----

TEST_F(Endgame, KingAndPawn) {
    Check({{"4k3/8/8/8/8/8/4P3/4K3 w", "score490"},
           {"k7/8/8/8/8/8/P7/K7 w", "draw"},
           {"4k3/8/4K3/4P3/8/8/8/8 w", "score520"},
           {"4k3/8/4K3/4P3/8/8/8/8 b", "score-520"},
           {"8/P7/8/8/8/8/7k/K7 w", "score540"}});
}

TEST_F(Endgame, KnightAndRooksPawn) {
    Check({{"K1k5/P7/8/8/8/5N2/8/8 w", "draw"},  // knight f3 and king c8: both light
           {"K1k5/P7/8/8/8/5N2/8/8 b", "none"},
           {"K1k5/P7/8/8/8/4N3/8/8 w", "none"},
           {"K1k5/P7/8/8/8/4N3/8/8 b", "draw"},
           {"K7/P1k5/8/8/8/5N2/8/8 w", "none"},
           {"K7/P1k5/8/8/8/5N2/8/8 b", "draw"},
           {"5k1K/7P/8/8/8/4N3/8/8 w", "draw"},
           {"5k1K/7P/8/8/8/4N3/8/8 b", "none"},
           {"7K/5k1P/8/8/8/4N3/8/8 b", "draw"},
           {"K1k5/P7/8/8/8/5B2/8/8 w", "none"},
           {"K2k4/P7/8/8/8/5N2/8/8 w", "none"}});
}

TEST_F(Endgame, MinorPieceAndPawnAgainstMinorPiece) {
    Check(
        {{"1n6/8/8/3k4/P7/8/7N/7K w", "draw"},   // the knight is in time
         {"1n6/8/8/3k4/P7/8/7B/7K b", "draw"},   // ... against a bishop, on move
         {"7n/8/8/3k4/P7/8/7N/7K w", "none"},    // too far
         {"1n6/8/8/5k2/P7/8/7N/7K w", "none"},   // the pawn wins alone: not looked at
         {"1b6/8/8/3k4/P7/8/7N/7K w", "none"},   // bishop against knight: no rule
         {"K7/P1k5/1N6/8/8/8/8/7n w", "none"},   // a8 guarded by the knight
         {"K7/P1k5/8/8/8/8/8/1N5n w", "draw"},   // by nothing but the king on it
         {"K7/P1k5/1Nn5/8/8/8/8/8 w", "none"},   // the enemy knight does not reach a8
         {"K7/P1n5/1N6/2k5/8/8/8/8 w", "draw"},  // ... or does
         {"4k3/8/4P3/8/8/8/8/KB4b1 w", "none"},  // pawn on the sixth rank
         {"4k3/8/4P3/8/8/8/8/KB4b1 b", "draw"},  // ... taken as on the fifth, king ahead
         {"8/k7/4P3/8/8/8/8/KB4b1 b", "none"},
         {"4k3/8/8/4P3/8/8/8/KB4b1 w", "draw"},
         {"8/8/k7/4P3/8/8/8/bK5B w", "none"},  // the bishop only aims at the pawn ...
         {"8/8/k7/4P3/8/8/8/bK5B b", "draw"},  // ... and takes it
         {"7b/8/4k3/8/4P3/8/8/KB6 w", "draw"},
         {"7b/8/k7/8/3P4/8/8/K1B5 w", "none"}});  // the path out of sight
}

TEST_F(Endgame, BareKingMateAndStalemate) {
    Check({{"R6k/8/6K1/8/8/8/8/8 b", "loss"},
           {"7k/5Q2/6K1/8/8/8/8/8 b", "draw"},
           {"7k/5Q2/6K1/8/8/8/8/8 w", "none"},
           {"7k/5Q2/6K1/8/p7/P7/8/8 b", "draw"},  // blocked pawn
           {"7k/5Q2/6K1/p7/8/P7/8/8 b", "none"},  // free pawn
           {"7k/5Q2/6K1/8/8/8/n7/8 b", "none"},   // a piece
           {"7k/8/6K1/8/8/8/8/6R1 b", "none"},    // g8 is free
           {"1R5k/6pp/7K/8/8/8/8/8 b", "none"},   // the g-pawn may step
           {"1R5k/6pB/6PK/8/8/8/8/8 b", "loss"},  // pawn blocked by pawn
           {"R3k3/8/4K3/8/8/8/8/8 b", "none"}});  // f8 lies in the king's own shadow
    ASSERT_TRUE(SetFen("R6k/8/6K1/8/8/8/8/8 b"));
    EXPECT_EQ(BareKingTest(), 3);
    TurnBoard();
    EXPECT_EQ(BareKingTest(), 2);
}

TEST_F(Endgame, RookAgainstPawn) {
    Check({{"R6K/8/8/8/8/8/3kp3/8 w", "draw"},
           {"3k4/8/8/8/3p4/8/8/3K3R w", "none300"},
           {"3k4/8/8/8/3p4/8/8/3K3R b", "none-300"},
           {"3k4/8/3p4/8/8/8/8/3K3R w", "none"},  // pawn on its third rank
           {"8/8/8/8/8/3p4/2R5/k6K b", "draw"},   // the pawn attacks the rook
           {"8/8/8/8/8/8/1R5p/k6K b", "draw"},    // the king takes it
           {"3k4/3p4/8/8/8/8/8/3K3R b", "none"},
           {"3k4/8/8/8/3p4/8/P7/3K3R w", "none"},  // two pawns
           {"3k4/8/8/8/3p4/8/8/3K1RR1 w", "none"}});
}

TEST_F(Endgame, QueenAgainstPawnOnTheSeventh) {
    Check({{"8/8/8/2K5/8/8/6kp/7Q w", "draw"},  // h-pawn; king on c5
           {"8/8/8/8/3K4/8/6kp/7Q w", "none"},  // d4: near with White to move
           {"8/8/8/8/3K4/8/6kp/7Q b", "draw"},  // ... far with Black
           {"8/8/8/5K2/8/8/6kp/7Q w", "none"},  // f5
           {"8/8/8/5K2/8/8/6kp/7Q b", "draw"},
           {"8/8/8/8/4K3/8/6kp/7Q b", "none"},   // e4
           {"8/8/8/2K5/8/8/4k2p/7Q w", "none"},  // Black's king not beside
           {"8/8/8/5K2/8/8/pk6/Q7 w", "draw"},   // a-pawn; f5
           {"8/8/8/4K3/8/8/pk6/Q7 w", "none"},   // e5
           {"8/8/8/4K3/8/8/pk6/Q7 b", "draw"},
           {"8/8/8/8/4K3/8/pk6/Q7 b", "draw"},    // e4
           {"8/8/8/8/3K4/8/pk6/Q7 b", "none"},    // d4
           {"8/8/8/8/8/8/5p2/Q1K2k2 w", "draw"},  // f-pawn, king before it
           {"8/8/8/3K4/8/8/5p2/Q4k2 w", "draw"},  // d5
           {"8/8/8/8/3K4/8/5p2/Q4k2 w", "none"},
           {"8/8/8/8/3K4/8/5p2/Q4k2 b", "draw"},
           {"8/8/8/8/4K3/8/5p2/Q4k2 w", "none"},  // e4
           {"8/8/8/8/4K3/8/5p2/Q4k2 b", "draw"},
           {"8/8/8/8/4K3/8/5pk1/Q7 w", "draw"},  // ... its king elsewhere
           {"8/8/8/8/8/4K3/5pk1/Q7 b", "none"},
           {"8/8/8/4K3/8/8/2p5/2k4Q w", "draw"},  // c-pawn, mirrored
           {"8/8/8/8/4K3/8/2p5/2k4Q w", "none"},
           {"8/8/8/8/3K4/8/2p5/2k4Q w", "none"},
           {"8/8/8/8/3K4/8/2p5/2k4Q b", "draw"},
           {"8/8/8/8/3K4/8/1kp5/7Q w", "draw"},
           {"8/8/8/8/8/3K4/1kp5/7Q b", "none"},
           {"8/8/8/2K5/8/8/4p1k1/7Q w", "none"},  // e-pawn
           {"8/8/8/2K5/8/8/6kp/NNN5 w", "none"}});
}

TEST_F(Endgame, ColoursThatCannotWin) {
    struct {
        const char* fen;
        int white, black;
    } const cases[] = {
        {"7k/8/8/7P/8/8/8/K2B4 w", 1, 1},    // wrong corner held
        {"7k/8/8/7P/8/8/8/K1B5 w", 0, 1},    // right bishop
        {"7k/8/8/7P/7P/7P/8/K2B4 w", 0, 1},  // three pawns
        {"7k/8/8/7P/8/8/6P1/K2B4 w", 0, 1},  // a second file
        {"k7/8/8/P7/P7/8/8/7K w", 1, 1},     // pawns alone
        {"7k/1p6/8/8/8/8/8/KBB5 w", 0, 0},   // bishops of both colours
        {"7k/1p6/8/8/8/8/8/KB1B4 w", 1, 0},  // ... of one
        {"3k4/8/3K4/8/P7/8/8/2B5 w", 0, 1},  // three steps each, White to move
        {"3k4/8/3K4/8/P7/8/8/2B5 b", 1, 1},  // Black is nearer on move
        {"5k2/P7/8/8/8/8/8/2B4K w", 0, 1},   // nearer, but the pawn runs through
        {"5k2/P7/8/8/8/8/8/N6K w", 0, 1},    // a knight helps
        {"7k/8/8/8/8/8/8/KNN4r w", 1, 0},    // two knights do not mate
        {"7k/p7/8/8/8/8/8/KB6 w", 1, 1}};
    for (const auto& c : cases) {
        ASSERT_TRUE(SetFen(c.fen)) << c.fen;
        const char* expected = c.white == 1 && c.black == 1 ? "draw" : "none";
        EXPECT_EQ(Recognised(), expected) << c.fen;
        EXPECT_EQ(LastEvaluation.CantWin[WHITE], c.white) << c.fen;
        EXPECT_EQ(LastEvaluation.CantWin[BLACK], c.black) << c.fen;
        TurnBoard();
        EXPECT_EQ(Recognised(), expected) << c.fen;
        EXPECT_EQ(LastEvaluation.CantWin[BLACK], c.white) << c.fen;
        EXPECT_EQ(LastEvaluation.CantWin[WHITE], c.black) << c.fen;
    }
}

// Any two kings and any men, pawns on the outer ranks, kings in check and crowds that no
// game can reach included. The sanitizers watch the tables.
TEST_F(Endgame, RandomBoardsAndTheirMirrorImagesAgree) {
    constexpr int kCodes[] = {PAWN, PAWN, PAWN, KNIGHT, BISHOP, ROOK, QUEEN};
    std::mt19937 random(4);
    for (int n = 0; n < 200000; ++n) {
        const auto below = [&](unsigned limit) {
            return static_cast<int>(random() % limit);
        };
        std::vector<int> squares(64);
        for (int i = 0; i < 64; ++i) squares[static_cast<std::size_t>(i)] = i;
        std::vector<Man> men;
        const int count = n % 50 == 0 ? 2 + below(63) : 2 + below(5);
        for (int i = 0; i < count; ++i) {
            std::swap(squares[static_cast<std::size_t>(i)],
                      squares[static_cast<std::size_t>(
                          i + below(64 - static_cast<unsigned>(i)))]);
            men.push_back({squares[static_cast<std::size_t>(i)], i < 2 ? i : below(2),
                           i < 2 ? KING : kCodes[below(7)]});
        }
        SetUpBoard(below(2), men);
        const std::string found = Recognised();
        const int cantWin[2] = {LastEvaluation.CantWin[WHITE],
                                LastEvaluation.CantWin[BLACK]};
        TurnBoard();
        ASSERT_EQ(Recognised(), found) << n;
        if (found.starts_with("none")) {
            ASSERT_EQ(LastEvaluation.CantWin[WHITE], cantWin[BLACK]) << n;
            ASSERT_EQ(LastEvaluation.CantWin[BLACK], cantWin[WHITE]) << n;
        }
    }
}

}  // namespace
