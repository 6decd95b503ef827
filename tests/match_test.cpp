// The match program: what it makes of results, and games against engines that misbehave.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <set>

#include "bench/matchengine.h"
#include "bench/matchreport.h"
#include "bench/matchrunner.h"
#include "bench/matchstats.h"
#include "bench/openings.h"
#include "bridge/game.h"
#include "tests/scratch.h"
#include "tests/support.h"

namespace {

// ---- Statistics ----

TEST(MatchStatistics, EloAndScore) {
    EXPECT_DOUBLE_EQ(ScoreOfElo(0), 0.5);
    EXPECT_NEAR(ScoreOfElo(400), 10.0 / 11, 1e-12);
    EXPECT_NEAR(EloOfScore(0.75), 190.8485, 1e-4);
    EXPECT_NEAR(EloOfScore(ScoreOfElo(-37)), -37, 1e-9);
    EXPECT_EQ(EloOfScore(0), -EloOfScore(1));
}

// Worked out by hand: mean 0.6, variance of a pair 0.065, standard error 0.0360555.
TEST(MatchStatistics, TheErrorIsThatOfPairs) {
    const PairCounts pairs = {0, 10, 20, 10, 10};
    const StrengthEstimate estimate = EstimateStrength(pairs);
    EXPECT_NEAR(estimate.score, 0.6, 1e-12);
    EXPECT_NEAR(estimate.elo, 70.4365, 1e-3);
    EXPECT_NEAR(estimate.low, EloOfScore(0.6 - 1.959964 * 0.0360555), 1e-2);
    EXPECT_NEAR(estimate.high, EloOfScore(0.6 + 1.959964 * 0.0360555), 1e-2);
    // 2.7735 standard errors.
    EXPECT_NEAR(estimate.likelihood, 0.997227, 1e-5);
}

TEST(MatchStatistics, FewOrEqualPairsGiveNoCertainty) {
    for (const PairCounts& pairs :
         {PairCounts{}, PairCounts{0, 0, 0, 0, 1}, PairCounts{0, 0, 9, 0, 0},
          PairCounts{0, 0, 0, 0, 9}}) {
        const StrengthEstimate estimate = EstimateStrength(pairs);
        EXPECT_TRUE(std::isinf(estimate.low) && std::isinf(estimate.high));
        EXPECT_FALSE(std::isnan(estimate.likelihood));
        EXPECT_TRUE(std::isfinite(LogLikelihoodRatio(pairs, 0, 5)));
    }
}

// With two outcomes alone the likelihoods are those of a coin.
TEST(MatchStatistics, TheRatioOfACoin) {
    const double s0 = ScoreOfElo(0), s1 = ScoreOfElo(20);
    const double coin = 600 * std::log(s1 / s0) + 500 * std::log((1 - s1) / (1 - s0));
    EXPECT_NEAR(LogLikelihoodRatio({500, 0, 0, 0, 600}, 0, 20), coin, 1e-3);
    EXPECT_NEAR(LogLikelihoodRatio({600, 0, 0, 0, 500}, 0, -20), coin, 1e-3);
}

TEST(MatchStatistics, AsAnotherRunnerReportsIt) {
    // What fastchess printed for games of its own between the bounds of Elo 0 and 30.
    EXPECT_NEAR(LogLikelihoodRatio({2, 2, 3, 1, 2}, 0, 30), -0.17, 0.005);
    EXPECT_NEAR(LogLikelihoodRatio({14, 1, 0, 0, 0}, 0, 30), -1.35, 0.005);
    EXPECT_NEAR(EstimateStrength({14, 1, 0, 0, 0}).elo, -708.34, 0.005);
}

TEST(MatchStatistics, TheTestDecidesAtItsBounds) {
    SequentialTest test;
    EXPECT_NEAR(UpperBound(test), 2.9444, 1e-4);
    EXPECT_NEAR(LowerBound(test), -2.9444, 1e-4);
    EXPECT_EQ(Decide(test, 2.94), TestVerdict::Undecided);
    EXPECT_EQ(Decide(test, 2.95), TestVerdict::AcceptedH1);
    EXPECT_EQ(Decide(test, -2.95), TestVerdict::AcceptedH0);
    test.beta = 0.01;
    EXPECT_NEAR(LowerBound(test), std::log(0.01 / 0.95), 1e-12);
}

// ---- Lines ----

TEST(MatchReport, LinesCanBeReadAgain) {
    GameLine game{8, false, "0-1", 83, Fault::Crash, true, "crash by Black"}, again;
    ASSERT_TRUE(ReadGameLine(WriteGameLine(game), again));
    EXPECT_EQ(WriteGameLine(again), WriteGameLine(game));
    for (const char* line :
         {"", "game", "game x white A result 1-0 plies 3 fault - x",
          "game 1 white C result 1-0 plies 3 fault - x",
          "game 1 white A result 2-0 plies 3 fault - x",
          "game 1 white A result 1-0 plies 3 fault A:rain x", "Games 4: +1 =3 -0"})
        EXPECT_FALSE(ReadGameLine(line, again)) << line;
}

TEST(MatchReport, PairsAreThoseOfAnOpeningInWhateverOrderTheyEnd) {
    MatchTally tally;
    for (const char* line : {"game 4 white B result 1-0 plies 20 fault A:time x",
                             "game 1 white A result 1-0 plies 20 fault - x",
                             "game 3 white A result 1/2-1/2 plies 20 fault - x",
                             "game 2 white B result 0-1 plies 20 fault B:crash x",
                             "game 5 white A result 1-0 plies 20 fault - x"}) {
        GameLine game;
        ASSERT_TRUE(ReadGameLine(line, game)) << line;
        AddGame(tally, game);
    }
    EXPECT_EQ(tally.score.pairs, (PairCounts{0, 1, 0, 0, 1}));
    const SequentialTest test;
    const std::string text = ClosingLines(tally, &test, "new", "old");
    for (const char* part :
         {"A new, B old\n", "Games 5: +3 =1 -1, 70.0 % for A", ": 0 1 0 0 1\n",
          "undecided\n",
          "A: time 1, illegal 0, crash 0, silent 0; of B: time 0, illegal "
          "0, crash 1"})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

TEST(MatchEngine, TimeControls) {
    TimeControl control;
    ASSERT_TRUE(ReadTimeControl("40/2+0.1", control));
    EXPECT_EQ(control.moves, 40);
    EXPECT_DOUBLE_EQ(control.base, 2000);
    EXPECT_DOUBLE_EQ(control.increment, 100);
    ASSERT_TRUE(ReadTimeControl("1", control));
    EXPECT_EQ(control.moves + control.increment, 0);
    for (const char* text : {"", "0", "-1", "40/", "/2", "x", "1+", "1+x", "1 2", "0/5"})
        EXPECT_FALSE(ReadTimeControl(text, control)) << text;
}

// ---- Openings ----

TEST(MatchOpenings, AreTheSameAgainAndNoneTwice) {
    FreshEngine();
    const std::string lines = VELTRAMOX_TEST_FOLDER "/../book/openings.txt";
    std::set<std::string> positions;
    std::string first;
    for (int time = 0; time < 2; ++time) {
        FreshEngine();
        OpeningMaker maker;
        ASSERT_TRUE(ReadOpeningLines(lines, maker));
        EXPECT_GT(maker.lines.size(), 500u);
        maker.random.seed(3);
        for (int i = 0; i < 8; ++i) {
            const Opening opening = MakeOpening(maker);
            EXPECT_GE(opening.moves.size(), 8u);
            EXPECT_LE(opening.moves.size(), 10u);
            positions.insert(OpeningFen(opening));
        }
    }
    EXPECT_EQ(positions.size(), 8u);
    const Scratch scratch;
    scratch.Write("positions", "# none\n\n8/8/8/8/8/8/8/8 w - - 0 1\n");
    std::vector<Opening> openings;
    std::string fault;
    EXPECT_FALSE(ReadPositions(scratch.Path("positions"), openings, fault));
}

// ---- Games ----

// A UCI engine as a script, with what it does when told to move.
std::string Script(const Scratch& scratch, const std::string& name,
                   const std::string& onGo) {
    scratch.Write(name,
                  "#!/bin/sh\nwhile read -r word rest; do case $word in\n"
                  "uci) echo 'option name Level type spin default 1'; echo uciok ;;\n"
                  "isready) echo readyok ;;\ngo) " +
                      onGo + " ;;\nquit) exit 0 ;;\nesac; done\n");
    chmod(scratch.Path(name).c_str(), S_IRWXU);
    return "uci:" + scratch.Path(name);
}

struct Played {
    bool fine = false;
    std::string trouble;
    std::vector<GameLine> games;
};

MatchPlan Plan(const std::string& a, const std::string& b, const std::string& control) {
    MatchPlan plan;
    const std::string specs[2] = {a, b};
    for (const int i : {0, 1}) {
        EXPECT_TRUE(ReadEngineSpec(specs[i], plan.engines[i]));
        plan.engines[i].name = i == 0 ? "A" : "B";
    }
    if (control.empty())
        plan.rules.control.depth = 1;
    else
        EXPECT_TRUE(ReadTimeControl(control, plan.rules.control));
    plan.games = 2;
    return plan;
}

Played PlayAll(const MatchPlan& plan, const Opening& opening = {}) {
    Played played;
    played.fine = PlayMatch(
        plan, [&] { return opening; },
        [&](const GameLine& game) {
            played.games.push_back(game);
            return true;
        },
        played.trouble);
    return played;
}

constexpr char kBridge[] = "uci:" VELTRAMOX_BRIDGE;

TEST(Match, FaultsLoseTheGameAndAreCounted) {
    const Scratch scratch;
    struct Case {
        const char *name, *onGo, *control;
        Fault fault;
    };
    for (const Case& c :
         {Case{"illegal", "echo bestmove e2e5", "", Fault::Illegal},
          Case{"nonsense", "echo bestmove", "", Fault::Illegal},
          Case{"dies", "exit 1", "", Fault::Crash},
          Case{"closes", "exec >&-", "", Fault::Crash},
          Case{"hangs", "exec sleep 30", "0.2", Fault::Time},
          Case{"flags", "sleep 0.5; echo bestmove e2e4", "0.2", Fault::Time}}) {
        const std::string bad = Script(scratch, c.name, c.onGo);
        const Played played = PlayAll(Plan(bad, kBridge, c.control));
        EXPECT_TRUE(played.fine) << c.name << ": " << played.trouble;
        ASSERT_EQ(played.games.size(), 2u) << c.name;
        for (const GameLine& game : played.games) {
            EXPECT_EQ(game.fault, c.fault) << c.name << ": " << game.reason;
            EXPECT_TRUE(game.faultOfFirst) << c.name;
            EXPECT_EQ(game.result, game.firstIsWhite ? "0-1" : "1-0") << c.name;
        }
    }
}

TEST(Match, AnEngineThatDoesNotStartEndsTheMatch) {
    const Scratch scratch;
    for (const std::string& bad :
         {std::string("uci:/nowhere/engine"), std::string("xboard:/nowhere/engine")}) {
        const Played played = PlayAll(Plan(bad, kBridge, ""));
        EXPECT_FALSE(played.fine);
        EXPECT_TRUE(played.trouble.starts_with("A: ")) << played.trouble;
        EXPECT_TRUE(played.games.empty());
    }
    MatchPlan plan = Plan(Script(scratch, "fair", "echo bestmove e2e4"), kBridge, "");
    plan.engines[0].options = {{"Levle", "3"}};
    EXPECT_EQ(PlayAll(plan).trouble, "A: no option Levle");
}

// Both protocols, several games at a time, ends by the rules and by the scores.
TEST(Match, ProtocolsPlayOneAnother) {
    const Scratch scratch;
    MatchPlan plan = Plan(kBridge, "xboard:" VELTRAMOX_BRIDGE, "");
    plan.games = 4;
    plan.jobs = 2;
    plan.pgn = scratch.Path("games.pgn");
    const Played played = PlayAll(plan);
    EXPECT_TRUE(played.fine) << played.trouble;
    ASSERT_EQ(played.games.size(), 4u);
    for (const GameLine& game : played.games)
        EXPECT_EQ(game.fault, Fault::None) << game.reason;
    EXPECT_NE(scratch.Read("games.pgn").find("\n1. "), std::string::npos);
}

TEST(Match, ScoresAndMaterialDecideEarly) {
    struct Case {
        const char *fen, *result, *reason;
    };
    for (const Case& c :
         {Case{"3qk3/8/8/8/8/8/8/4K3 w - - 0 1", "0-1", "Black wins by both scores"},
          Case{"4k3/8/8/8/8/8/8/4K1N1 w - - 0 1", "1/2-1/2",
               "Draw by insufficient material"}}) {
        MatchPlan plan = Plan(kBridge, kBridge, "");
        plan.rules.control.depth = 4;
        const Played played = PlayAll(plan, {c.fen, {}});
        ASSERT_EQ(played.games.size(), 2u) << played.trouble;
        for (const GameLine& game : played.games) {
            EXPECT_EQ(game.result, c.result);
            EXPECT_EQ(game.reason, c.reason);
        }
    }
}

TEST(Match, StopsWhenTheListenerHasHeardEnough) {
    MatchPlan plan = Plan(kBridge, kBridge, "");
    plan.games = 1000;
    plan.jobs = 2;
    int heard = 0;
    std::string trouble;
    EXPECT_TRUE(PlayMatch(
        plan,
        [] {
            return Opening{"4k3/8/8/8/8/8/8/4K1N1 w - - 0 1", {}};
        },
        [&](const GameLine&) { return ++heard < 3; }, trouble));
    EXPECT_EQ(heard, 3);
}

}  // namespace
