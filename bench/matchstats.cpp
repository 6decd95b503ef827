#include "bench/matchstats.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNormal95 = 1.959963984540054;  // standard errors, both sides
// An outcome that has not come is not impossible; the count that stands for it.
constexpr double kRareCount = 1e-3;
constexpr std::size_t kOutcomes = std::tuple_size_v<PairCounts>;

using Frequencies = std::array<double, kOutcomes>;

// The score of a pair with that outcome, 0 to 1.
double OutcomeScore(std::size_t outcome) {
    return static_cast<double>(outcome) / (kOutcomes - 1);
}

double Total(const PairCounts& pairs) {
    double total = 0;
    for (const std::int64_t count : pairs) total += static_cast<double>(count);
    return total;
}

// Among all distributions with that mean the likeliest one has the frequencies
// f / (1 + t (a - mean)); returns t. The sum below falls as t grows, from one pole to the
// other.
double LikeliestTilt(const Frequencies& frequencies, double mean) {
    double low = -1 / (1 - mean), high = 1 / mean;
    constexpr int kHalvings = 200;
    for (int i = 0; i < kHalvings; ++i) {
        const double tilt = (low + high) / 2;
        double sum = 0;
        for (std::size_t k = 0; k < kOutcomes; ++k) {
            const double offset = OutcomeScore(k) - mean;
            sum += frequencies[k] * offset / (1 + tilt * offset);
        }
        (sum > 0 ? low : high) = tilt;
    }
    return (low + high) / 2;
}

}  // namespace

double ScoreOfElo(double elo) { return 1 / (1 + std::pow(10, -elo / 400)); }

double EloOfScore(double score) {
    if (score <= 0) return -kInfinity;
    if (score >= 1) return kInfinity;
    return -400 * std::log10(1 / score - 1);
}

StrengthEstimate EstimateStrength(const PairCounts& pairs) {
    const double total = Total(pairs);
    if (total == 0) return {0.5, 0, -kInfinity, kInfinity, 0.5};
    double mean = 0, variance = 0;
    for (std::size_t k = 0; k < kOutcomes; ++k)
        mean += static_cast<double>(pairs[k]) / total * OutcomeScore(k);
    for (std::size_t k = 0; k < kOutcomes; ++k)
        variance +=
            static_cast<double>(pairs[k]) / total * std::pow(OutcomeScore(k) - mean, 2);
    if (total < 2) return {mean, EloOfScore(mean), -kInfinity, kInfinity, 0.5};
    const double error = std::sqrt(variance / total);
    // All pairs alike: their error is not known to be small.
    if (error == 0) {
        const double likelihood = mean == 0.5 ? 0.5 : mean > 0.5 ? 1 : 0;
        return {mean, EloOfScore(mean), -kInfinity, kInfinity, likelihood};
    }
    return {mean, EloOfScore(mean), EloOfScore(mean - kNormal95 * error),
            EloOfScore(mean + kNormal95 * error),
            std::erfc((0.5 - mean) / error / std::sqrt(2.0)) / 2};
}

double LogLikelihoodRatio(const PairCounts& pairs, double elo0, double elo1) {
    if (Total(pairs) == 0) return 0;
    Frequencies frequencies;
    for (std::size_t k = 0; k < kOutcomes; ++k)
        frequencies[k] = pairs[k] > 0 ? static_cast<double>(pairs[k]) : kRareCount;
    const double score0 = ScoreOfElo(elo0), score1 = ScoreOfElo(elo1);
    const double tilt0 = LikeliestTilt(frequencies, score0);
    const double tilt1 = LikeliestTilt(frequencies, score1);
    double ratio = 0;
    for (std::size_t k = 0; k < kOutcomes; ++k)
        ratio += frequencies[k] * (std::log1p(tilt0 * (OutcomeScore(k) - score0)) -
                                   std::log1p(tilt1 * (OutcomeScore(k) - score1)));
    return ratio;
}

double LowerBound(const SequentialTest& test) {
    return std::log(test.beta / (1 - test.alpha));
}

double UpperBound(const SequentialTest& test) {
    return std::log((1 - test.beta) / test.alpha);
}

TestVerdict Decide(const SequentialTest& test, double ratio) {
    if (ratio >= UpperBound(test)) return TestVerdict::AcceptedH1;
    if (ratio <= LowerBound(test)) return TestVerdict::AcceptedH0;
    return TestVerdict::Undecided;
}
