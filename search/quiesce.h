// The quiescence search: captures and promotions until the material is settled.
#pragma once

// Fail-soft value of the current position for the side to move, centipawns.
int Quiesce(int alpha, int beta);
// Quiesce on the board's position with the widest window, its result discarded; given up
// after a million nodes. For "tst".
void TestQuiescence();
