#include "tests/support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "board/attacks.h"
#include "board/fen.h"
#include "board/notation.h"
#include "driver/startup.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/history.h"

void FreshEngine(int tableBits, const Searcher& searcher) {
    ASSERT_TRUE(ResetEngine(tableBits, searcher));
    AllowPondering(false);
}

void Position(const char* fen) {
    ASSERT_TRUE(SetFen(fen)) << fen;
    ClearHistoryAndKillers();
    Generated.MoveStackTop = Line.Ply = 0;
    const int S = Board.SideToMove;
    Line.InCheckAt[0] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
}

std::vector<Move> LegalMoveList() {
    const LegalMoves legal;
    return {legal.begin(), legal.end()};
}

Move MoveOf(const std::string& text) {
    for (const Move m : LegalMoves())
        if (MoveText(m) == text) return m;
    ADD_FAILURE() << "no legal move " << text;
    return NO_MOVE;
}

void Play(const std::string& moves) {
    std::istringstream words(moves);
    for (std::string text; words >> text;) {
        const Move m = MoveOf(text);
        if (m == NO_MOVE) return;
        PlayGameMove(m);
    }
}

std::string TextsFrom(int first) {
    std::string texts;
    for (int i = first; i < Generated.MoveStackTop; ++i) {
        if (i > first) texts += ' ';
        texts += MoveText(Generated.MoveStack[i]);
    }
    return texts;
}

void WalkTree(int depth, const std::function<void()>& visit) {
    visit();
    if (depth == 0) return;
    for (const Move m : LegalMoves()) {
        MakeMove(m);
        WalkTree(depth - 1, visit);
        UnmakeMove();
    }
}

bool SameBoard(const BoardRecord& a, const BoardRecord& b) {
    BoardState states[2] = {a, b};
    if (a.MatingFlagsValid == 0 || b.MatingFlagsValid == 0)  // then they say nothing
        for (BoardState& state : states)
            state.MatingFlagsValid = state.NoMatingMaterial[WHITE] =
                state.NoMatingMaterial[BLACK] = 0;
    const auto count = static_cast<std::size_t>(a.GamePly);
    const auto same = [count](const auto* x, const auto* y) {
        return std::memcmp(x, y, count * sizeof *x) == 0;
    };
    return std::memcmp(&states[0], &states[1], sizeof states[0]) == 0 &&
           a.SideToMove == b.SideToMove && a.GamePly == b.GamePly &&
           same(a.MoveHistory, b.MoveHistory) && same(a.Hash1History, b.Hash1History) &&
           same(a.Hash2History, b.Hash2History);
}

std::string OutputOf(const std::function<void()>& action) {
    FlushOutput();
    testing::internal::CaptureStdout();
    action();
    FlushOutput();
    return testing::internal::GetCapturedStdout();
}
