// Help for the tests of the evaluation: fresh state, positions turned round, and terms in
// the state in which the evaluation calls them.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <utility>

#include "board/board.h"
#include "board/fen.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "eval/shelter.h"
#include "eval/terms.h"

// Settings, margins and pawn table as in a program that has just been started.
inline void StartFresh() {
    ASSERT_TRUE(AllocatePawnTable(10));
    ResetMargins();
    EvaluationInput.RootSide = WHITE;
    EvaluationInput.Aggressivity = EvaluationInput.Cowardice = 100;
}

class EvaluationTest : public testing::Test {
protected:
    void SetUp() override { StartFresh(); }
};

inline int FullScore() { return Evaluated(-kFullWindow, kFullWindow); }

// Exchanges the colours and turns the ranks over; everything else changes sides with
// them.
inline void TurnBoard() {
    const BoardRecord old = Board;
    ClearBoard();
    for (int square = 0; square < 64; ++square)
        if (old.Piece[square] != EMPTY) {
            const bool white = (old.Occupied[WHITE] & SquareMask(square)) != 0;
            AddPiece(MirrorRank(square), white ? BLACK : WHITE, old.Piece[square]);
        }
    Board.A1 = old.A8, Board.A8 = old.A1;
    Board.H1 = old.H8, Board.H8 = old.H1;
    Board.WK = old.BK, Board.BK = old.WK;
    for (int c : {WHITE, BLACK}) {
        Board.CastledKingside[c] = old.CastledKingside[1 - c];
        Board.CastledQueenside[c] = old.CastledQueenside[1 - c];
    }
    Board.SideToMove = ChangeSide(old.SideToMove);
    EvaluationInput.RootSide = ChangeSide(EvaluationInput.RootSide);
    UpdateMatingFlags();
}

// The evaluation in progress after its pawn and shelter terms; `endgame` chooses the path
// and `ending` says whether the kings are in their ending phase.
inline Terms PreparedTerms(bool endgame, bool ending) {
    Terms t;
    t.endgame = endgame;
    t.ending[WHITE] = t.ending[BLACK] = ending;
    PawnTerms(t);
    ShelterTerms(t);
    return t;
}

// Calls `check` with 1 for the position as it stands and with -1 for the position turned.
template <typename Check>
void InBothColours(const char* fen, Check check) {
    SCOPED_TRACE(fen);
    ASSERT_TRUE(SetFen(fen));
    check(1);
    TurnBoard();
    SCOPED_TRACE("turned");
    check(-1);
    TurnBoard();
}

// ---- Random positions, the same ones in every build ----
using Random = std::mt19937;
inline int Below(Random& random, int n) {
    return static_cast<int>(random() % static_cast<unsigned>(n));
}

// Kings anywhere, and up to `men` men of any kind anywhere else: as editing can set up,
// pawns on the outer ranks and any number of queens included.
inline void SetRandomMen(Random& random, int men, bool pawnsAtHome) {
    ClearBoard();
    // Puts a man on a random empty square of the set, if there is one.
    const auto put = [&](SquareSet squares, int colour, int kind) {
        SquareSet empty = squares & ~AllOccupied();
        if (empty == 0) return;
        for (int skip = Below(random, PopCount(empty)); skip > 0; --skip)
            TakeLowest(empty);
        AddPiece(LowestSquare(empty), colour, kind);
    };
    constexpr SquareSet kAll = ~SquareSet{0}, kPawnRanks = kAll << 16 >> 8;
    put(kAll, WHITE, KING);
    put(kAll, BLACK, KING);
    constexpr int kKinds[] = {PAWN, PAWN, PAWN, KNIGHT, BISHOP, ROOK, QUEEN};
    for (int i = 0; i < men; ++i) {
        const int kind = kKinds[Below(random, 7)], c = Below(random, 2);
        if (kind == PAWN && pawnsAtHome) {
            if (Board.PawnCount[c] < 8) put(kPawnRanks, c, PAWN);
        } else {
            put(kAll, c, kind);
        }
    }
    for (int* flag : {&Board.A1, &Board.H1, &Board.A8, &Board.H8, &Board.WK, &Board.BK})
        *flag = Below(random, 2);
    for (int c : {WHITE, BLACK}) {
        Board.CastledKingside[c] = Below(random, 4) == 0;
        Board.CastledQueenside[c] = Below(random, 4) == 0;
    }
    Board.SideToMove = Below(random, 2);
    Board.GamePly = 0;
    UpdateMatingFlags();
}
