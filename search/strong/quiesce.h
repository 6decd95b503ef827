// The quiescence search of the strong search: captures and promotions to queens that lose
// nothing, all moves out of check, until the position is quiet.
#pragma once

// Fail-soft value of the position on the board at Line.Ply, whose InCheckAt is set, for
// the side to move. `level` counts down from 0, one at each move.
int QuiesceStrong(int alpha, int beta, int level);
// QuiesceStrong on the board's position with the widest window, its result discarded;
// given up after about a million nodes. For "tst".
void TestStrongQuiescence();
