// The game as the front end sees it, kept on the board library's one position: where it
// began, its moves, and whether it is over.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "board/notation.h"

inline constexpr char kStartFen[] =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// All that is needed to build the board anew. Written in game.cpp alone, through the
// functions below.
struct GameRecord {
    std::string start = kStartFen;   // as WriteFen writes it
    int firstMove = 1;               // the move number that the FEN gave
    std::vector<std::string> moves;  // "e2e4", "e7e8q"
    // Positions by everything that makes them the same to the rules, the start first:
    // one more than there are moves.
    std::vector<std::string> positions;
};
extern GameRecord Game;

// The board as FEN. The en passant square is written only when a capture there is legal;
// the move number is 1.
std::string WriteFen();
// Sets the board up from a FEN that can be played from: each side one king, no pawns on
// the outer ranks, the side that has moved not in check. False otherwise, with the board
// undefined. An en passant square that allows no capture is dropped.
bool SetPlayableFen(std::string_view fen);

// A new game from the start position or a FEN; false leaves the game as it was.
bool StartGame(std::string_view fen = kStartFen);
// Plays the move if LegalMove knows it; false leaves the game as it was.
bool PlayMove(std::string_view text);
// Without a move to take back nothing happens.
void TakeBackMove();
// The board is the game's again, after it has been used for something else.
void ReplayGame();
// The number of the move to come, as in a FEN.
int MoveNumber();
// The whole game at once; false, with the text in `fault`, leaves the old one.
bool ReplaceGame(std::string_view fen, const std::vector<std::string>& moves,
                 std::string& fault);

// The legal move of the current position that the text, in either case, names ("e2e4",
// "E7E8Q"); NO_MOVE if there is none.
Move LegalMove(std::string_view text);
// Of the board's position, in the generator's order; empty at mate and stalemate.
std::vector<Move> AllLegalMoves();
// Where a pawn may legally be taken in passing; kNoSquare when there is no such move.
int EnPassantTarget();

// The king of that colour is attacked, whoever is to move.
bool InCheck(int colour);

// "1-0 {White mates}" and its like when the rules end the game here, nullptr when it goes
// on.
const char* GameResult();
