// The strong search's own evaluation terms.
#include <gtest/gtest.h>

#include "eval/strong/evaluation.h"
#include "tests/evaluation.h"

namespace {

class StrongTerms : public EvaluationTest {};

// What the recorded counts come to with the weights in force.
int ValueOf(const RecordedEvaluation& recorded) {
    const auto* const weights = reinterpret_cast<const Weight*>(&kWeights);
    int middlegame = 0, endgame = 0;
    for (std::size_t i = 0; i < kWeightCount; ++i) {
        middlegame += recorded.sum.counts[i] * weights[i].Middlegame();
        endgame += recorded.sum.counts[i] * weights[i].Endgame();
    }
    return recorded.fixed +
           (middlegame * recorded.phase + endgame * (kFullPhase - recorded.phase)) /
               kFullPhase;
}

// A term that looks at one colour's side of the board only, or reads a table upside down.
TEST_F(StrongTerms, SeeBothColoursAlike) {
    constexpr int kPositions = 5000;
    std::mt19937 random(1);
    for (int n = 0; n < kPositions; ++n) {
        SetRandomMen(random, 4 + n % 26, true);
        const int value = StrongEvaluation();
        RecordedEvaluation recorded, turned;
        const bool open = RecordEvaluation(recorded);
        TurnBoard();
        ASSERT_EQ(StrongEvaluation(), value) << n;
        ASSERT_EQ(RecordEvaluation(turned), open) << n;
        if (!open) continue;
        for (std::size_t i = 0; i < kWeightCount; ++i)
            ASSERT_EQ(turned.sum.counts[i], -recorded.sum.counts[i]) << n << " " << i;
    }
}

// The tuner must see what is played: also from the table of pawn structures.
TEST_F(StrongTerms, AreCountedAsTheyArePlayed) {
    constexpr int kPositions = 5000;
    std::mt19937 random(2);
    int counted = 0;
    for (int n = 0; n < kPositions; ++n) {
        SetRandomMen(random, 4 + n % 26, true);
        RecordedEvaluation recorded;
        if (!RecordEvaluation(recorded)) continue;
        ++counted;
        const int value =
            Board.SideToMove == WHITE ? ValueOf(recorded) : -ValueOf(recorded);
        ASSERT_EQ(StrongEvaluation(), value) << n;
        ASSERT_EQ(StrongEvaluation(), value) << n;
    }
    EXPECT_GT(counted, kPositions / 2);
}

TEST_F(StrongTerms, DoNotDependOnTheRootSide) {
    ASSERT_TRUE(
        SetFen("r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -"));
    EvaluationInput.RootSide = WHITE;
    const int value = StrongEvaluation();
    EvaluationInput.RootSide = BLACK;
    EXPECT_EQ(StrongEvaluation(), value);
}

TEST(Weights, HoldBothValues) {
    for (const int middlegame : {-3000, -1, 0, 1, 3000})
        for (const int endgame : {-3000, -1, 0, 1, 3000}) {
            Weight sum;
            sum.packed = 3 * Weight(middlegame, endgame).packed - Weight(7, -9).packed;
            EXPECT_EQ(sum.Middlegame(), 3 * middlegame - 7);
            EXPECT_EQ(sum.Endgame(), 3 * endgame + 9);
        }
}

}  // namespace
