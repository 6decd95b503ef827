// Positions with their results as the fit takes them: what of the evaluation is fixed,
// and how often each weight counts.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eval/strong/weightset.h"

// A weight that counts in a position.
struct Feature {
    std::uint16_t weight;
    std::int16_t count;  // White's less Black's
};

struct Sample {
    std::uint32_t first, features;  // in Samples::features
    float fixed;                    // centipawns for White, whatever the weights
    float phase;                    // 1 in the middlegame, 0 in the endgame
    float result;                   // for White: 1, 0.5, 0
    float score;                    // the search's, centipawns for White
    bool heldOut;                   // not for fitting: it tells how good the fit is
};

struct Samples {
    std::vector<Sample> samples;
    std::vector<Feature> features;
};

// Reads positions as PlayTrainingGame writes them; those that the terms do not decide
// (in check, known endings, drawish ones) are left out, and positions seen before. Of
// each ten games the last is held out. False when there is no such file.
bool ReadSamples(const std::string& file, Samples& samples);
