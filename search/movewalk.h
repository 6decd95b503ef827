// The order in which a node of the search tries its moves: stage by stage, losing
// captures put off to the end, repeats of moves already searched left out.
#pragma once

#include <algorithm>

#include "board/attacks.h"
#include "board/generate.h"
#include "search/hash.h"

// The walk of one node over its moves; the caller makes them and restores MoveStackTop
// when it is done.
struct MoveWalk {
    Move hashMove;
    int S;           // side to move
    bool inCheck;    // evasions come unscored and nothing is put off
    int entryTop;    // where the node's moves begin on the stack
    int index, end;  // what is left of the current group
    int sorted;      // entries before this one are in their final order
    int stage;       // stage of the current group; 0 at the end and in deferred captures
    int deferredFrom = -1, capturesEnd = 0;  // losing captures put off
    int quietMoves = 0;                      // moves that the quiet stage generated

    explicit MoveWalk(Move hash);
    // The next move, pseudo-legal; NO_MOVE at the end.
    Move Next() {
        return Next([](Move) { return false; });
    }
    // The same for a node that leaves out every move for which `isHopeless` is true: a
    // group of nothing else is not even ordered. Single hopeless moves still come.
    template <typename Hopeless>
    Move Next(Hopeless isHopeless);
    // In the deferred captures and the quiet moves, where killers come again.
    bool InLateStages() const { return stage < kKillerStage; }

private:
    template <typename Hopeless>
    bool NextGroup(Hopeless isHopeless);
    template <typename Hopeless>
    void OrderGroup(Hopeless isHopeless);
    void SortSome();
    bool IsRepeat(Move m) const;
};

inline MoveWalk::MoveWalk(Move hash)
    : hashMove(hash),
      S(Board.SideToMove),
      inCheck(Line.InCheckAt[Line.Ply] != 0),
      entryTop(Generated.MoveStackTop),
      index(Generated.MoveStackTop),
      end(Generated.MoveStackTop),
      sorted(Generated.MoveStackTop),
      stage(kFirstStage) {}

// A group of nothing but hopeless moves is dropped, and a single other one among quiet
// moves needs no order.
template <typename Hopeless>
inline void MoveWalk::OrderGroup(Hopeless isHopeless) {
    Move* const moves = Generated.MoveStack;
    int kept = 0, survivor = index;
    for (int i = index; i < end && kept < 2; ++i) {
        if (isHopeless(moves[i])) continue;
        survivor = i;
        ++kept;
    }
    if (kept == 0) {
        index = end;
    } else if (kept == 1 && stage == kQuietStage) {
        moves[index] = moves[survivor];
        sorted = end = index + 1;
    } else {
        ScoreGroup(stage, index, hashMove);
    }
}

// Generates the next group above the current one; after the last, goes back to the losing
// captures that were put off.
template <typename Hopeless>
inline bool MoveWalk::NextGroup(Hopeless isHopeless) {
    if (stage == kNoMoreStages) return false;
    index = sorted = Generated.MoveStackTop;
    stage = GenerateGroup(stage);
    end = Generated.MoveStackTop;
    if (stage == kQuietStage) quietMoves = end - index;
    if (stage != kNoMoreStages) {
        OrderGroup(isHopeless);
        return true;
    }
    if (deferredFrom < 0) return false;
    index = sorted = deferredFrom;
    end = Generated.MoveStackTop = capturesEnd;
    return true;
}

// The table's move is searched before the walk; a killer has had its own stage.
inline bool MoveWalk::IsRepeat(Move m) const {
    if (m == hashMove) return true;
    return InLateStages() && !inCheck &&
           (m == Ordering.Killer1[S][Line.Ply] || m == Ordering.Killer2[S][Line.Ply]);
}

// Selection by need: most nodes end after a few moves, and sorting the rest would be
// wasted. Behind a quiet move that never did well all are such, and stay as they are.
inline void MoveWalk::SortSome() {
    SelectMoves(index, end);
    sorted = index + kSelectedAtOnce;
    for (int i = index; i < end && i < sorted; ++i) PrefetchAfter(Generated.MoveStack[i]);
    if (stage == kQuietStage && sorted < end && Generated.MoveScores[sorted - 1] == 0)
        sorted = end;
}

template <typename Hopeless>
inline Move MoveWalk::Next(Hopeless isHopeless) {
    for (;;) {
        if (index >= end) {
            if (!NextGroup(isHopeless)) return NO_MOVE;
            continue;
        }
        if (!inCheck && stage != kKillerStage) {
            if (index >= sorted) SortSome();
            // The captures are in falling order: from the first losing one on all are put
            // off.
            if (stage == kCaptureStage && Generated.MoveScores[index] < 0) {
                deferredFrom = index;
                capturesEnd = end;
                if (!NextGroup(isHopeless)) return NO_MOVE;
                continue;
            }
        }
        const Move m = Generated.MoveStack[index++];
        if (!IsRepeat(m)) return m;
    }
}

// Squares on the lines from S's king along which an enemy slider could attack it: a move
// from one of them may expose the king.
inline SquareSet ExposedSquares(int S) {
    const int O = ChangeSide(S), king = Board.KingSquare[S];
    if (Board.Queens[O] != 0) return QueenLines(king);
    SquareSet lines = 0;
    if (Board.Rooks[O] != 0) lines |= RookLines(king);
    if (Board.Bishops[O] != 0) lines |= BishopLines(king);
    return lines;
}

// Where a move must come from or go to if it is to give check, found out once a node: as
// long as the enemy king is not in check, only the man that moves or one behind it on the
// king's lines can attack it.
struct CheckingSquares {
    SquareSet from;  // the first men met on the king's lines: one behind may be uncovered
    SquareSet to[8];  // [piece code]: a man of that kind attacks the king from there

    explicit CheckingSquares(int S);
    // False only when the move gives no check. Castling, en passant and promotions are
    // not looked into.
    bool MayGiveCheck(Move m) const {
        if (Promotion(m) != EMPTY || IsEnPassant(m)) return true;
        return ((to[Moving(m)] & SquareMask(To(m))) | (from & SquareMask(From(m)))) != 0;
    }
};

inline CheckingSquares::CheckingSquares(int S) {
    const int O = ChangeSide(S), king = Board.KingSquare[O];
    const SquareSet straight = RookLines(king), diagonal = BishopLines(king);
    from = straight | diagonal;
    to[EMPTY] = to[NO_PIECE] = 0;
    // A king never gives check itself, but its castling rook may.
    to[KING] = RankSet(S == WHITE ? 0 : 7);
    to[KNIGHT] = KnightAttacks[king];
    to[PAWN] = PawnAttacks[O][king];
    to[ROOK] = straight;
    to[BISHOP] = diagonal;
    to[QUEEN] = straight | diagonal;
}

// Makes the move unless it leaves S's king attacked: then it is taken back, and false.
// Only king moves, moves from exposed squares and en passant can do that.
inline bool MakeIfLegal(Move m, int S, SquareSet exposed) {
    // Only behind a table's move that belongs to another position of the same key.
    if (Captured(m) == KING) return false;
    MakeMove(m);
    if (Moving(m) != KING && (exposed & SquareMask(From(m))) == 0 && !IsEnPassant(m))
        return true;
    if (!IsAttacked(ChangeSide(S), Board.KingSquare[S])) return true;
    UnmakeMove();
    return false;
}
