// The tuner of the evaluation's weights: games, fit, and the header it writes.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "eval/strong/weights.h"
#include "tests/scratch.h"
#include "tests/support.h"
#include "tools/splitmix.h"
#include "tools/tune/fit.h"
#include "tools/tune/games.h"
#include "tools/tune/samples.h"
#include "tools/tune/writer.h"

namespace {

// Samples whose results are what two known weights make them.
Samples Synthetic(const FittedWeights& truth, double scale) {
    constexpr int kSamples = 20000;
    Samples samples;
    std::uint64_t random = 3;
    const auto draw = [&](int n) {
        return static_cast<int>(SplitMix(random) % static_cast<unsigned>(n));
    };
    for (int i = 0; i < kSamples; ++i) {
        Sample s{};
        s.first = static_cast<std::uint32_t>(samples.features.size());
        s.features = 2;
        s.phase = static_cast<float>(draw(25)) / 24;
        s.fixed = static_cast<float>(draw(201) - 100);
        double value = static_cast<double>(s.fixed);
        for (std::uint16_t weight = 0; weight < 2; ++weight) {
            const int count = draw(7) - 3;
            samples.features.push_back({weight, static_cast<std::int16_t>(count)});
            const double phase = static_cast<double>(s.phase);
            value += count * (phase * truth.middlegame[weight] +
                              (1 - phase) * truth.endgame[weight]);
        }
        s.result = static_cast<float>(1 / (1 + std::exp(-value / scale)));
        s.score = static_cast<float>(value);
        s.heldOut = i % 10 == 0;
        samples.samples.push_back(s);
    }
    return samples;
}

TEST(Tuner, FindsKnownWeightsAndTheScale) {
    constexpr double kScale = 200;
    const FittedWeights truth = {.middlegame = {30, -12}, .endgame = {-5, 44}};
    const Samples samples = Synthetic(truth, kScale);
    const double scale = FitScale(samples);
    EXPECT_NEAR(scale, kScale, 2);
    FittedWeights found = {.middlegame = {0, 0}, .endgame = {0, 0}};
    FitOptions options;
    options.epochs = 60;
    options.report = 0;
    options.resultShare = 1;
    Fit(samples, found, scale, options);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(found.middlegame[i], truth.middlegame[i], 0.7) << i;
        EXPECT_NEAR(found.endgame[i], truth.endgame[i], 0.7) << i;
    }
    EXPECT_LT(ErrorOf(samples, found, scale, 1, true), 1e-5);
}

// The header in force is what the writer makes of its weights: no table is left out or
// out of place.
TEST(Tuner, WritesTheHeaderInForce) {
    std::ifstream file(VELTRAMOX_TEST_FOLDER "/../eval/strong/weights.h");
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(WeightsHeader(WeightsInForce()), text.str());
}

TEST(Tuner, PlaysTheSameGamesAgainAndReadsThem) {
    FreshEngine(16, StrongSearch);
    const std::string first = PlayTrainingGame(5, 1, 200);
    const std::string other = PlayTrainingGame(5, 2, 200);
    EXPECT_EQ(PlayTrainingGame(5, 1, 200), first);
    EXPECT_NE(other, first);
    const Scratch scratch;
    const std::string one = scratch.Path("one.txt"), two = scratch.Path("two.txt");
    ASSERT_EQ(WriteTrainingGames(
                  {.seed = 5, .first = 1, .count = 6, .nodes = 200, .jobs = 1}, one),
              0);
    ASSERT_EQ(WriteTrainingGames(
                  {.seed = 5, .first = 1, .count = 6, .nodes = 200, .jobs = 3}, two),
              0);
    EXPECT_EQ(scratch.Read("one.txt"), scratch.Read("two.txt"));
    EXPECT_EQ(scratch.Read("one.txt").find(first + other), 0u);
    Samples samples;
    ASSERT_TRUE(ReadSamples(one, samples));
    EXPECT_GT(samples.samples.size(), 50u);
    for (const Sample& s : samples.samples) {
        EXPECT_TRUE(s.result == 0 || s.result == 0.5F || s.result == 1);
        EXPECT_LT(std::abs(s.score), 1000);
        EXPECT_GT(s.features, 0u);
    }
    FreshEngine();
}

}  // namespace
