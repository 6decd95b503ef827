// The strong search's order of moves: whatever table, killers and counter say, every
// legal move comes, and comes once.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "board/attacks.h"
#include "board/notation.h"
#include "board/pseudolegal.h"
#include "search/strong/exchange.h"
#include "search/strong/picker.h"
#include "search/strong/state.h"
#include "tests/support.h"

namespace {

class PickerTest : public testing::Test {
protected:
    void SetUp() override { FreshEngine(4, StrongSearch); }
    void TearDown() override { FreshEngine(); }

    static std::vector<Move> Walk(Move tableMove, bool capturesOnly,
                                  int skipFrom = 1000) {
        std::vector<Move> given;
        MovePicker picker(tableMove, FrameAt(0), capturesOnly);
        while (const Move m = picker.Next()) {
            EXPECT_TRUE(IsPseudoLegal(m)) << MoveText(m);
            EXPECT_EQ(std::count(given.begin(), given.end(), m), 0) << MoveText(m);
            if (skipFrom <= static_cast<int>(given.size())) {
                picker.SkipQuiets();
                EXPECT_TRUE(!IsQuiet(m) || picker.GaveSpecial() || inCheck ||
                            m == tableMove || skipFrom == static_cast<int>(given.size()))
                    << MoveText(m);
            }
            given.push_back(m);
        }
        return given;
    }
    // Those of them that are legal, in order of their words.
    static std::vector<Move> Legal(std::vector<Move> moves) {
        const LegalMoves legal;
        std::erase_if(moves, [&](Move m) { return !legal.Contains(m); });
        std::sort(moves.begin(), moves.end());
        return moves;
    }
    // What the quiescence search is to look at.
    static std::vector<Move> Noisy(Move tableMove) {
        std::vector<Move> moves = LegalMoveList();
        std::erase_if(moves, [&](Move m) {
            const bool good = !IsQuiet(m) && ExchangeAtLeast(m, 0) &&
                              (Promotion(m) == EMPTY || Promotion(m) == QUEEN);
            return !inCheck && m != tableMove && !good;
        });
        std::sort(moves.begin(), moves.end());
        return moves;
    }
    // A quiet move that some position before had.
    Move Remembered() {
        return seen.empty() || random.Below(4) == 0 ? NO_MOVE : random.Of(seen);
    }

    void TryPosition() {
        const int S = Board.SideToMove;
        inCheck = IsAttacked(ChangeSide(S), Board.KingSquare[S]);
        Line.InCheckAt[0] = inCheck ? 1 : 0;
        std::vector<Move> all = LegalMoveList();
        for (const Move m : all)
            if (IsQuiet(m) && seen.size() < 5000) seen.push_back(m);
        SearchFrame* const frame = FrameAt(0);
        constexpr int kBefore = 7;
        frame[-1].pieceTo = random.Below(3) == 0 ? kNoPieceTo : kBefore;
        Strong.history->counter[kBefore] = Remembered();
        frame->killers[0] = Remembered();
        do frame->killers[1] = Remembered();
        while (frame->killers[1] == frame->killers[0] && frame->killers[0] != NO_MOVE);
        const Move tableMove = random.Below(3) == 0 ? NO_MOVE : random.Of(all);
        std::sort(all.begin(), all.end());
        EXPECT_EQ(Legal(Walk(tableMove, false)), all);
        EXPECT_EQ(Legal(Walk(tableMove, true)), Noisy(tableMove));
        Walk(tableMove, false, random.Below(static_cast<int>(all.size())));
        EXPECT_EQ(Generated.MoveStackTop, 0);
        if (inCheck) ++checks;
    }

    static inline bool inCheck = false;
    Random random{21};
    std::vector<Move> seen;
    int checks = 0;
};

TEST_F(PickerTest, EveryMoveOnce) {
    for (int game = 0; game < 150; ++game) {
        const char* const starts[] = {kStart, kCastlings, kRookEnding, kPromotions,
                                      kKnightFork};
        Position(starts[game % 5]);
        for (int ply = 0; ply < 80 && LegalMoves().count > 0; ++ply) {
            TryPosition();
            if (HasFailure()) FAIL() << "game " << game << ", ply " << ply;
            PlayGameMove(random.Of(LegalMoveList()));
        }
    }
    EXPECT_GT(checks, 300);
}

}  // namespace
