// The fit of the weights to results: least squares of the expected score, by gradient
// descent (Texel's method).
#pragma once

#include <vector>

#include "tools/tune/samples.h"

struct FitOptions {
    double resultShare = 0.4;  // of the target; the rest is the search's score
    int epochs = 12;
    double rate = 1;       // centipawns of the first steps
    double shrink = 3e-9;  // pull towards the weights at the start
    int report = 5;        // epochs between two reports; 0: none
};

// [weight]
struct FittedWeights {
    std::vector<double> middlegame, endgame;
};

// The centipawns that make the logistic of the search's scores fit the results best.
double FitScale(const Samples& samples);
// Mean squared error of the expected score.
double ErrorOf(const Samples& samples, const FittedWeights& weights, double scale,
               double resultShare, bool heldOut);
void Fit(const Samples& samples, FittedWeights& weights, double scale,
         const FitOptions& options);
