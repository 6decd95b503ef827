#pragma once
// What a recogniser of endings says; scores in centipawns for the side to move.
enum class Verdict { None, Draw, Win, Loss, Score };
struct EndingVerdict {
    Verdict verdict = Verdict::None;
    int score = 0;
    int bonus = 0;
};
extern int CantWin[2];
EndingVerdict RecogniseEnding();
bool PawnWinsAlone(int colour, int pawn, int attackerKing, int defenderKing,
                   bool pawnSideToMove);
bool PawnWins(int colour, int pawn, int attackerKing, int defenderKing,
              bool pawnSideToMove);
