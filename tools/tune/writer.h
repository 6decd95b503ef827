// The weights as a header of the engine.
#pragma once

#include <string>

#include "tools/tune/fit.h"

// The weights in force: where a fit begins.
FittedWeights WeightsInForce();
// eval/strong/weights.h with these, rounded.
std::string WeightsHeader(const FittedWeights& weights);
