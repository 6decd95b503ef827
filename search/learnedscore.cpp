#include "search/learnedscore.h"

#include <algorithm>

#include "board/generate.h"
#include "eval/state.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/rootmoves.h"

bool LearnedScore(int depth, int& score) {
    constexpr int kMostGamePly = 120, kLeastUnits = 14, kMostFifty = 70;
    if (Control.LearnedScoresUsed == 0 || Board.SideToMove != EvaluationInput.RootSide ||
        Line.Ply > std::max(Root.RootDepth / 2, 2) ||
        Board.GamePly + ArchivedPlies() >= kMostGamePly ||
        Board.Units[WHITE] <= kLeastUnits || Board.Units[BLACK] <= kLeastUnits ||
        Board.FiftyCounter >= kMostFifty)
        return false;
    int learnedDepth = 0;
    return LearnLookup(Board.hash1, Board.hash2, score, learnedDepth) &&
           depth <= learnedDepth;
}
