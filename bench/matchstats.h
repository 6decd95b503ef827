// What the games of a match say: score, Elo with its error, and the sequential test.
// Games come in pairs, one opening with both colours; errors are those of whole pairs,
// for the two games of an opening hang together.
#pragma once

#include <array>
#include <cstdint>

// [points of a pair for the first engine, in half points]
using PairCounts = std::array<std::int64_t, 5>;

struct MatchScore {
    std::int64_t wins = 0, draws = 0, losses = 0;  // single games, of the first engine
    PairCounts pairs = {};                         // complete ones
};

// ---- Elo ----
// The score, 0 to 1, that is expected of so many Elo more than the opponent; and back,
// infinite at both ends.
double ScoreOfElo(double elo);
double EloOfScore(double score);

struct StrengthEstimate {
    double score;       // of all complete pairs, 0 to 1
    double elo;         // infinite when every game was won or lost
    double low, high;   // 95 % confidence, Elo; infinite where the pairs do not tell
    double likelihood;  // that the first engine is the stronger one
};
// With fewer than two pairs the error is unknown: infinite limits.
StrengthEstimate EstimateStrength(const PairCounts& pairs);

// ---- Sequential test ----
struct SequentialTest {
    double elo0 = 0, elo1 = 5;         // the hypotheses H0 and H1
    double alpha = 0.05, beta = 0.05;  // accepted risk of a wrong H1, of a wrong H0
};
enum class TestVerdict { Undecided, AcceptedH0, AcceptedH1 };

// The logarithm of the generalised likelihood ratio of H1 to H0, with the pairs' results
// as five outcomes of unknown frequency (GSPRT). 0 without pairs.
double LogLikelihoodRatio(const PairCounts& pairs, double elo0, double elo1);
// The test ends at or below `lower` with H0 and at or above `upper` with H1.
double LowerBound(const SequentialTest& test);
double UpperBound(const SequentialTest& test);
TestVerdict Decide(const SequentialTest& test, double ratio);
