// The time for a move, and when the clock stops a search.
#include <gtest/gtest.h>

#include <algorithm>

#include "eval/evaluate.h"
#include "platform/clock.h"
#include "search/control.h"
#include "search/rootmoves.h"
#include "tests/support.h"

namespace {

TEST(Timing, Budget) {
    const struct {
        int moves, increment, clock, gamePly, ponder, previousScore;
        int budget;
    } cases[] = {
        {40, 0, 30000, 0, 0, 200, 1850},
        {40, 0, 30000, 0, 0, 199, 1850 + 462},
        {40, 0, 30000, 1, 0, 200, 1850},
        {40, 0, 30000, 78, 0, 200, 50000},
        {40, 0, 30000, 80, 0, 200, 1850},
        {0, 0, 30000, 0, 0, 200, 2720},
        {0, 0, 30000, 83, 0, 200, 11110},
        {0, 0, 30000, 84, 0, 200, 11530},
        {0, 0, 30000, 400, 0, 200, 11530},
        {40, 0, 30000, 0, 1, 200, 4620},
        {0, 2, 30000, 0, 0, 200, 4320},
        {0, 2, 30000, 0, 0, 0, 4320 / 4 * 5},
        {0, 0, 0, 0, 1, 200, 0},
        {0, 0, -500, 0, 0, 200, -40},
        // Above five hours nothing is added.
        {0, 0, 2000000000, 0, 0, 0, 181818180},
    };
    for (const auto& c : cases) {
        FreshEngine(4);
        // Few pieces: the evaluation has no part in it.
        Position("4k3/pppp4/8/8/8/8/PPPP4/4K3 w - -");
        GameClock.MovesPerControl = c.moves;
        GameClock.Increment = c.increment;
        GameClock.EngineClock = c.clock;
        Ponder.PonderAllowed = c.ponder;
        Result.PreviousScore = c.previousScore;
        Board.GamePly = c.gamePly;
        ComputeTimeBudget();
        EXPECT_EQ(Control.TimeBudget, c.budget) << c.clock << " at ply " << c.gamePly;
        EXPECT_EQ(Control.PollInterval, c.budget < 120 ? 300 : 20000);
    }
}

// Settled kings give a third more, and a king in danger its share.
TEST(Timing, KingSafety) {
    for (const char* fen :
         {kStart, "rnbq1rk1/ppppppbp/5np1/8/8/5NP1/PPPPPPBP/RNBQ1RK1 w - -",
          "rnb2rk1/pppp1ppp/8/7Q/7q/8/PPPP1PPP/RNB2RK1 w - -"}) {
        FreshEngine();
        Position(fen);
        GameClock.EngineClock = 60000;
        Result.PreviousScore = 500;
        const bool quiet = std::abs(Evaluated(-kFullWindow, kFullWindow)) < 320;
        const int danger = std::max(KingDanger(WHITE), KingDanger(BLACK));
        int expected = 5450;
        if (quiet && Board.WK != 0 && Board.BK != 0) expected += expected / 3;
        if (quiet && danger > 30) expected += expected * (std::max(danger, 85) - 30) / 70;
        ComputeTimeBudget();
        EXPECT_EQ(Control.TimeBudget, expected) << fen;
    }
}

TEST(Timing, Clock) {
    const struct {
        const char* what;
        int budget, clock, increment, rootMove, fall, elapsed;
        bool stops;
    } cases[] = {
        {"within the budget", 10000, 60000, 0, 0, 0, 9000, false},
        {"beyond it", 10000, 60000, 0, 0, 0, 11000, true},
        {"a later root move has three", 10000, 60000, 0, 1, 0, 29000, false},
        {"and no more", 10000, 60000, 0, 1, 0, 31000, true},
        {"half the clock for it", 10000, 4000, 0, 1, 0, 21000, true},
        {"a fall of 20 is none", 10000, 60000, 0, 0, 20, 11000, true},
        {"21 doubles", 10000, 60000, 0, 0, 21, 19000, false},
        {"70 doubles", 10000, 60000, 0, 0, 70, 21000, true},
        {"71 makes four", 10000, 60000, 0, 0, 71, 39000, false},
        {"280 makes four", 10000, 60000, 0, 0, 280, 41000, true},
        {"281 makes six", 10000, 60000, 0, 0, 281, 59000, false},
        {"never more than half the clock", 10000, 6000, 0, 0, 281, 31000, true},
        {"the increment at least", 1000, 60000, 10, 0, 0, 7000, false},
        {"but no more than that", 1000, 60000, 10, 0, 0, 9000, true},
    };
    for (const auto& c : cases) {
        FreshEngine(4);
        Control.TimeBudget = c.budget;
        GameClock.EngineClock = c.clock;
        GameClock.Increment = c.increment;
        Control.DepthLimit = kTimedDepthLimit;
        Root.RootMoveIndex = c.rootMove;
        Result.PreviousScore = 100;
        RootScore = 100 - c.fall;
        Control.SearchStartTime = ClockMilliseconds() - c.elapsed;
        EXPECT_EQ(CheckClock(), c.stops) << c.what;
        EXPECT_EQ(Control.StopSearch, c.stops ? 1 : 0) << c.what;
        EXPECT_EQ(Control.PollCountdown, Control.PollInterval);
        // Neither a search on the opponent's time nor one by depth heeds the clock.
        Ponder.PonderSearch = 1;
        EXPECT_FALSE(CheckClock()) << c.what;
        Ponder.PonderSearch = 0;
        Control.DepthLimit = 20;
        EXPECT_FALSE(CheckClock()) << c.what;
    }
}

TEST(Timing, PonderProbeEndsAfterASecond) {
    for (const int elapsed : {500, 1500}) {
        FreshEngine(4);
        Ponder.PonderSearch = Ponder.PonderProbe = 1;
        Control.SearchStartTime = ClockMilliseconds() - elapsed;
        EXPECT_EQ(CheckClock(), elapsed > 1000);
        EXPECT_EQ(Ponder.ProbeTimeUp, elapsed > 1000 ? 1 : 0);
    }
    FreshEngine(4);
}

}  // namespace
