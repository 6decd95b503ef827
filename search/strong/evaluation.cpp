#include "search/strong/evaluation.h"

#include <algorithm>

#include "eval/strong/evaluation.h"

int StaticEvaluation() {
    return std::clamp(StrongEvaluation(), -kMostEvaluation, kMostEvaluation);
}
