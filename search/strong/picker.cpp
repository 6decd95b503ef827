// Staged generation: most nodes end before their quiet moves are looked at. Each move is
// selected when it is asked for.
#include "search/strong/picker.h"

#include "board/pseudolegal.h"
#include "search/strong/exchange.h"
#include "search/strong/state.h"

namespace {

constexpr int kCaptureUnit = 16;    // of a centipawn of the victim
constexpr int kHistoryShare = 8;    // capture history counts by this part
constexpr int kQueenBonus = 14000;  // promotion to a queen
constexpr int kUnderpromotion = -2000000;
constexpr int kCapturingEvasion = 1000000;

// Promotions to other pieces, with or without a capture, wait for the end.
bool Underpromotes(Move m) { return Promotion(m) != EMPTY && Promotion(m) != QUEEN; }

int CaptureScore(Move m, int S) {
    const int victim = IsEnPassant(m) ? PieceValue[PAWN] : PieceValue[Captured(m)];
    return (victim - OrderClass[Moving(m)]) * kCaptureUnit +
           CaptureHistory(m, S) / kHistoryShare +
           (Promotion(m) == QUEEN ? kQueenBonus : 0);
}

// The generator of quiet moves has them too; here they go with the captures.
void AppendQueenPushes(int S) {
    const int forward = S == WHITE ? 8 : -8;
    for (SquareSet pawns = Board.Pawns[S] & SeventhRank[S]; pawns != 0;) {
        const int from = TakeLowest(pawns);
        if (Board.Piece[from + forward] == EMPTY)
            Generated.MoveStack[Generated.MoveStackTop++] =
                MakeWord(from, from + forward, PAWN, EMPTY, QUEEN);
    }
}

}  // namespace

MovePicker::MovePicker(Move tablesMove, const SearchFrame* atFrame, bool onlyCaptures)
    : tableMove(tablesMove),
      frame(atFrame),
      S(Board.SideToMove),
      top(Generated.MoveStackTop),
      index(top),
      end(top),
      badEnd(top),
      stage(PickStage::TableMove),
      capturesOnly(onlyCaptures) {
    if (tableMove == NO_MOVE)
        stage = Line.InCheckAt[Line.Ply] != 0 ? PickStage::Evasions : PickStage::Captures;
}

// Brings the best of what is left to `index` and steps over it.
Move MovePicker::TakeBest() {
    int best = index;
    for (int i = index + 1; i < end; ++i)
        if (Generated.MoveScores[i] > Generated.MoveScores[best]) best = i;
    const Move m = Generated.MoveStack[best];
    Generated.MoveStack[best] = Generated.MoveStack[index];
    Generated.MoveScores[best] = Generated.MoveScores[index];
    ++index;
    return m;
}

void MovePicker::GenerateCapturesHere() {
    index = badEnd = Generated.MoveStackTop = top;
    GenerateCaptures(Board.Occupied[ChangeSide(S)]);
    AppendQueenPushes(S);
    end = Generated.MoveStackTop;
    for (int i = index; i < end; ++i)
        Generated.MoveScores[i] = CaptureScore(Generated.MoveStack[i], S);
}

// Those that lose material are put off, to where the ones given before them stood.
Move MovePicker::NextGoodCapture() {
    while (index < end) {
        const Move m = TakeBest();
        if (m == tableMove || Captured(m) == KING) continue;
        if (!Underpromotes(m) && ExchangeAtLeast(m, 0)) return m;
        if (!capturesOnly) Generated.MoveStack[badEnd++] = m;
    }
    return NO_MOVE;
}

// A killer or counter, unless it cannot be played here or has been tried.
Move MovePicker::Special(Move m) {
    if (m == NO_MOVE || m == tableMove || m == killers[0] || m == killers[1] ||
        !IsPseudoLegal(m))
        return NO_MOVE;
    return m;
}

void MovePicker::GenerateQuietsHere() {
    index = end = Generated.MoveStackTop = badEnd;
    if (skipQuiets) return;
    GenerateQuiet();
    end = Generated.MoveStackTop;
    for (int i = index; i < end; ++i) {
        const Move m = Generated.MoveStack[i];
        Generated.MoveScores[i] =
            Promotion(m) != EMPTY ? kUnderpromotion : QuietHistory(m, S, frame);
    }
}

Move MovePicker::NextQuiet() {
    while (index < end && !skipQuiets) {
        const Move m = TakeBest();
        if (Promotion(m) == QUEEN) continue;  // among the captures
        if (m != tableMove && m != killers[0] && m != killers[1] && m != counter)
            return m;
    }
    return NO_MOVE;
}

void MovePicker::GenerateEvasionsHere() {
    index = Generated.MoveStackTop = top;
    int group = kFirstStage;
    do group = GenerateStage(group, NO_MOVE);
    while (group != kNoMoreStages);
    end = Generated.MoveStackTop;
    for (int i = index; i < end; ++i) {
        const Move m = Generated.MoveStack[i];
        Generated.MoveScores[i] = IsQuiet(m) ? QuietHistory(m, S, frame)
                                  : Underpromotes(m)
                                      ? kUnderpromotion
                                      : kCapturingEvasion + CaptureScore(m, S);
    }
}

Move MovePicker::NextEvasion() {
    while (index < end) {
        const Move m = TakeBest();
        if (m != tableMove && Captured(m) != KING) return m;
    }
    return NO_MOVE;
}

Move MovePicker::Next() {
    lastSpecial = false;
    Move m = NO_MOVE;
    switch (stage) {
        case PickStage::TableMove:
            stage =
                Line.InCheckAt[Line.Ply] != 0 ? PickStage::Evasions : PickStage::Captures;
            return tableMove;
        case PickStage::Captures:
            GenerateCapturesHere();
            stage = PickStage::GoodCaptures;
            [[fallthrough]];
        case PickStage::GoodCaptures:
            if ((m = NextGoodCapture()) != NO_MOVE) return m;
            if (capturesOnly) {
                stage = PickStage::End;
                return NO_MOVE;
            }
            stage = PickStage::FirstKiller;
            Generated.MoveStackTop = badEnd;
            [[fallthrough]];
        case PickStage::FirstKiller:
            stage = PickStage::SecondKiller;
            lastSpecial = true;
            if ((killers[0] = Special(frame->killers[0])) != NO_MOVE) return killers[0];
            [[fallthrough]];
        case PickStage::SecondKiller:
            stage = PickStage::Counter;
            lastSpecial = true;
            if ((killers[1] = Special(frame->killers[1])) != NO_MOVE) return killers[1];
            [[fallthrough]];
        case PickStage::Counter:
            stage = PickStage::Quiets;
            lastSpecial = true;
            if (frame[-1].pieceTo != kNoPieceTo &&
                (counter = Special(Strong.history->counter[frame[-1].pieceTo])) !=
                    NO_MOVE)
                return counter;
            lastSpecial = false;
            [[fallthrough]];
        case PickStage::Quiets:
            GenerateQuietsHere();
            stage = PickStage::QuietMoves;
            [[fallthrough]];
        case PickStage::QuietMoves:
            if ((m = NextQuiet()) != NO_MOVE) return m;
            stage = PickStage::BadCaptures;
            index = top;
            Generated.MoveStackTop = badEnd;
            [[fallthrough]];
        case PickStage::BadCaptures:
            while (index < badEnd) {
                m = Generated.MoveStack[index++];
                if (m != tableMove) return m;
            }
            return NO_MOVE;
        case PickStage::Evasions:
            GenerateEvasionsHere();
            stage = PickStage::EvasionMoves;
            [[fallthrough]];
        case PickStage::EvasionMoves:
            return NextEvasion();
        case PickStage::End:
            break;
    }
    return NO_MOVE;
}
