#include "search/strong/evaluation.h"

#include <algorithm>

#include "eval/evaluate.h"

int StaticEvaluation() {
    return std::clamp(EvaluatedWithActivity(), -kMostEvaluation, kMostEvaluation);
}
