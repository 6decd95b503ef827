// The order in which the strong search tries the moves of a node: the table's move, good
// captures, killers and the answer to the move before, quiet moves by history, losing
// captures. In check all evasions by one measure.
#pragma once

#include "search/strong/frame.h"

enum class PickStage {
    TableMove,
    Captures,  // they are generated
    GoodCaptures,
    FirstKiller,
    SecondKiller,
    Counter,
    Quiets,  // they are generated
    QuietMoves,
    BadCaptures,
    Evasions,  // they are generated
    EvasionMoves,
    End
};

// The walk of one node over its moves, each once, pseudo-legal. It owns the entries of
// the move stack from its construction on and gives them back at its end.
class MovePicker {
public:
    // `tableMove` is pseudo-legal or NO_MOVE. With `capturesOnly` a node that is not in
    // check gets captures and promotions to queens that lose nothing.
    MovePicker(Move tableMove, const SearchFrame* frame, bool capturesOnly);
    ~MovePicker() { Generated.MoveStackTop = top; }
    MovePicker(const MovePicker&) = delete;
    MovePicker& operator=(const MovePicker&) = delete;

    Move Next();  // NO_MOVE at the end
    // No quiet moves any more, but those of the table, killers and counter.
    void SkipQuiets() { skipQuiets = true; }
    // The last move given lost material in the exchange.
    bool InBadCaptures() const { return stage == PickStage::BadCaptures; }
    // The last move given was a killer or the answer to the move before.
    bool GaveSpecial() const { return lastSpecial; }

private:
    void GenerateCapturesHere();
    void GenerateQuietsHere();
    void GenerateEvasionsHere();
    Move NextGoodCapture();
    Move NextQuiet();
    Move NextEvasion();
    Move TakeBest();
    Move Special(Move m);

    Move tableMove;
    const SearchFrame* frame;
    int S, top;      // side to move; where the node's moves begin
    int index, end;  // what is left of the current group
    int badEnd;      // losing captures stand from `top` up to here
    Move killers[2] = {NO_MOVE, NO_MOVE}, counter = NO_MOVE;  // as given
    PickStage stage;
    bool capturesOnly, skipQuiets = false, lastSpecial = false;
};
