// Scaling of scores in endings that are hard to win.
#pragma once

#include "eval/terms.h"

// The score after scaling, both from the side to move's view, as `balance`, the material
// balance, is. CantWin must be up to date.
int ScaleDrawish(int score, int balance);
// 0 when the side that the score favours cannot win; else the score. Side to move's view.
int ClampCantWin(int score);
