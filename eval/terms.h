// What the terms of the evaluation share: the evaluation in progress, and the geometry as
// each colour sees it, so that every term is written once for both. A term of colour c is
// positive when it is good for c; sums run from White's view until the score is handed
// out.
#pragma once

#include "board/board.h"

struct PawnEntry;

// One evaluation in progress. Arrays are indexed by colour.
struct Terms {
    bool endgame;               // a side has little material: the endgame path
    bool ending[2];             // the king is in its ending phase: it need not hide
    const PawnEntry* pawns;     // what is known of the pawn structure
    int pawnScore;              // pawn structure, White's view
    SquareSet passers[2];       // the foremost passed pawn of each file
    int defended[2];            // defects in front of the king and in its placement
    int danger[2];              // attack units of the colour against the other king
    int target[2];              // the square attackers of this colour's king aim at
    SquareSet cover[2];         // squares the pawns attack
    SquareSet blockedPawns[2];  // pawns with a man directly in front
};

// With less non-pawn material on a side the evaluation takes its endgame path, pawn
// units.
inline constexpr int kMiddlegameUnits = 15;
inline bool IsEndgame() {
    return Board.Units[WHITE] < kMiddlegameUnits || Board.Units[BLACK] < kMiddlegameUnits;
}

// The king of the colour is in its ending phase: the enemy is too weak to attack it.
inline bool IsEnding(int c) {
    constexpr int kEndingUnits = 10, kEndingUnitsQueenless = 15;
    const int against = Board.Units[ChangeSide(c)];
    return against < kEndingUnits ||
           (against < kEndingUnitsQueenless && Board.Queens[ChangeSide(c)] == 0);
}

// ---- The board as one colour sees it: ranks count from its own side ----
template <int c>
constexpr int Relative(int square) {
    return c == WHITE ? square : MirrorRank(square);
}
template <int c>
constexpr int RelativeRank(int square) {
    return RankOf(Relative<c>(square));
}
template <int c>
constexpr SquareSet RelativeRankSet(int rank) {
    return RankSet(c == WHITE ? rank : 7 - rank);
}
// The squares in front of the square on its file, from the colour's own side.
template <int c>
SquareSet FileAhead(int square) {
    return c == WHITE ? FileAbove[square] : FileBelow[square];
}
// The squares from which an enemy pawn could still stop or take a pawn.
template <int c>
SquareSet PasserZone(int square) {
    return c == WHITE ? ThreeFilesAbove[square] : ThreeFilesBelow[square];
}

// ---- File sets: bit 7 is the a-file, bit 0 the h-file ----
constexpr unsigned FileBit(int file) { return 128u >> file; }

inline bool ExactlyOne(SquareSet set) { return set != 0 && (set & (set - 1)) == 0; }
// Men on files of the queen side and of the king side.
inline bool BothWings(SquareSet set) {
    return (set & QueensideFiles) != 0 && (set & KingsideFiles) != 0;
}
// Both bishops, if each side has one, stand on squares of different colours.
inline bool OnLightAndDark(SquareSet set) {
    return (set & LightSquares) != 0 && (set & DarkSquares) != 0;
}
// The flag of an unmoved king, 0 while it has not moved.
template <int c>
int KingMoved() {
    return c == WHITE ? Board.WK : Board.BK;
}
template <int c>
int QueenRookMoved() {
    return c == WHITE ? Board.A1 : Board.A8;
}
template <int c>
int KingRookMoved() {
    return c == WHITE ? Board.H1 : Board.H8;
}
