#include "search/strong/correction.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "board/board.h"
#include "search/strong/evaluation.h"
#include "search/strong/state.h"

namespace {

constexpr int kLimit = 8192;        // of a counter
constexpr int kPerCentipawn = 128;  // counter units, both tables together
constexpr int kMostLearned = 1024;  // at once

std::size_t PawnIndex() {
    return (Board.PawnHash1 ^ Board.PawnHash2 * 2654435761u) >> 18;
}
// Material of both sides and kings: what the pawns do not tell.
std::size_t MaterialIndex() {
    const auto units = [](int value, int shift) {
        return static_cast<std::uint64_t>(value) << shift;
    };
    const std::uint64_t mixed =
        (units(Board.KingSquare[WHITE], 0) | units(Board.KingSquare[BLACK], 6) |
         units(Board.Material[WHITE], 12) | units(Board.Material[BLACK], 30)) *
        0x9E3779B97F4A7C15;
    return mixed >> 50;
}
static_assert(kCorrections == std::size_t{1} << 14);

void Add(std::int16_t& counter, int bonus) {
    counter =
        static_cast<std::int16_t>(counter + bonus - counter * std::abs(bonus) / kLimit);
}

}  // namespace

int CorrectedEvaluation(int evaluation) {
    const EvaluationCorrections& known = *Strong.corrections;
    const int S = Board.SideToMove;
    const int correction =
        known.pawns[S][PawnIndex()] + known.material[S][MaterialIndex()];
    return std::clamp(evaluation + correction / kPerCentipawn, -kMostEvaluation,
                      kMostEvaluation);
}

void LearnCorrection(int difference, int depth) {
    EvaluationCorrections& known = *Strong.corrections;
    const int S = Board.SideToMove;
    const int bonus = std::clamp(difference * depth * 2, -kMostLearned, kMostLearned);
    Add(known.pawns[S][PawnIndex()], bonus);
    Add(known.material[S][MaterialIndex()], bonus);
}

void ClearCorrections() {
    std::memset(static_cast<void*>(Strong.corrections), 0, sizeof *Strong.corrections);
}
