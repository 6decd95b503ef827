#include "eval/endgame.h"
int CantWin[2];
EndingVerdict RecogniseEnding() { return {}; }
bool PawnWinsAlone(int, int, int, int, bool) { return false; }
bool PawnWins(int, int, int, int, bool) { return false; }
