// The one global position, held in several redundant forms at once, and the operations
// that change it. All forms agree after every operation.
#pragma once

#include <cstdint>

#include "board/hashkeys.h"
#include "board/piecesquare.h"
#include "board/tables.h"
#include "board/types.h"

// Entries of the history stack: the game's moves and, above them, the search's.
inline constexpr int kHistoryCapacity = 768;

// What moves change and unmaking them brings back, in one block that is saved and
// restored as a whole: cheaper, and free of branches, than undoing each form by itself.
struct alignas(64) BoardState {
    // ---- Placement ----
    std::uint8_t Piece[64];  // piece code by square, 0 when empty
    SquareSet Occupied[2];   // all men of a colour
    SquareSet Pawns[2], Knights[2], Bishops[2], Rooks[2], Queens[2], Kings[2];
    SquareSet StraightSliders;  // rooks and queens of both colours
    SquareSet DiagonalSliders;  // bishops and queens of both colours
    int KingSquare[2];
    std::uint8_t PawnRanks[8][2];  // [file][colour], bit = rank of a pawn

    // ---- Counters and sums, by colour ----
    int Material[2];  // centipawns, kings not counted
    int Units[2];     // non-pawn material in pawn units: NWP for White, NBP for Black
    int PawnCount[2];
    int MinorCount[2];  // knights and bishops
    int MajorCount[2];  // rooks count 1, queens 2
    int Positional[2];  // sum of PieceSquare, centipawns

    // ---- Keys: neither the side to move, nor castling, nor en passant enter them ----
    std::uint32_t hash1, hash2;
    std::uint32_t PawnHash1, PawnHash2;  // pawns only; never both 0

    // ---- Rights and flags, 0 or 1 ----
    // Set when the rook of that corner, or that king, has left its home: castling is
    // possible only while the king's flag and the corner's flag are both 0.
    int A1, H1, A8, H8, WK, BK;
    int FiftyCounter;  // half-moves since the last capture or pawn move
    std::uint8_t CastledKingside[2], CastledQueenside[2];
    std::uint8_t NoMatingMaterial[2];  // bare king, one minor piece, or two knights
    std::uint8_t MatingFlagsValid;     // 0: UpdateMatingFlags must run before
                                       // NoMatingMaterial is read
    std::uint8_t unused[5];            // always 0
};

// Written by the operations below alone, but for the fields of the rights and the
// fifty-move counter that setting up a position fills (FEN, editing). Everybody reads it.
struct BoardRecord : BoardState {
    int SideToMove;
    int KingCount[2];  // 1 each, but for what editing can set up

    // ---- History stack ----
    int GamePly;  // moves on the stack, null moves of the search included
    Move MoveHistory[kHistoryCapacity];  // the move made from the position at that index
    // Keys of the position at that index, close together for the walk over repetitions.
    std::uint32_t Hash1History[kHistoryCapacity], Hash2History[kHistoryCapacity];
    BoardState StateHistory[kHistoryCapacity];  // nothing at the index of a null move
};

extern BoardRecord Board;

// Pawn key of a board without pawns: 0 and this.
inline constexpr std::uint32_t kEmptyPawnHash2 = 0xC85E31;

// Everything off the board, keys and counters at those of an empty one, the fifty-move
// counter at 0. Castling flags, side to move and history stay as they are: who sets a
// position up gives them himself.
void ClearBoard();
// Puts a man on an empty square and updates every form. Of several kings of a colour the
// one added last is the king. Castling flags do not change.
void AddPiece(int square, int colour, int code);
// Takes whatever stands on the square off the board and updates every form; an empty
// square is left alone. Castling flags do not change.
void RemovePiece(int square);
// The start position with all rights, White to move, no game behind it.
void SetStartPosition();
// Recomputes both NoMatingMaterial flags and declares them valid. They are lazy: captures
// and promotions only invalidate them, and the few readers ask for them when needed.
void UpdateMatingFlags();
// Castling flags from the placement alone, as after editing: a right exists where king
// and rook stand at home, since the moves that led there are not known.
void DeriveCastlingFlags();

// Plays a move that the generators produced for this position; legality is the caller's
// business, and a king is never captured. The stack must have room (GamePly <
// kHistoryCapacity). SideToMove changes and GamePly grows by one.
void MakeMove(Move m);
// Takes the last move back, every form as it was before; never a null move. There must be
// one (GamePly > 0).
void UnmakeMove();
// The side to move passes: SideToMove changes, and the history gets NULL_MOVE so that no
// en passant capture is seen. Keys, fifty-move counter and the other histories stay:
// nothing stands elsewhere.
void MakeNullMove();
void UnmakeNullMove();

// BK + 2 WK + 4 H1 + 8 A1 + 16 H8 + 32 A8.
inline std::uint32_t CastleFlags() {
    return static_cast<std::uint32_t>(Board.BK + 2 * Board.WK + 4 * Board.H1 +
                                      8 * Board.A1 + 16 * Board.H8 + 32 * Board.A8);
}

// At least one side may still castle later, on whichever wing.
inline bool CastlingRightsLeft() {
    return (Board.WK == 0 && (Board.A1 == 0 || Board.H1 == 0)) ||
           (Board.BK == 0 && (Board.A8 == 0 || Board.H8 == 0));
}

// Exactly one king a side stands on the board. Without that no move is legal, and nothing
// may be searched or evaluated.
inline bool HasBothKings() {
    return Board.KingCount[WHITE] == 1 && Board.KingCount[BLACK] == 1;
}

inline SquareSet AllOccupied() { return Board.Occupied[WHITE] | Board.Occupied[BLACK]; }

// The last move on the stack; NO_MOVE when there is none.
inline Move LastMove() {
    return Board.GamePly > 0 ? Board.MoveHistory[Board.GamePly - 1] : NO_MOVE;
}

// The square that the last move's pawn has passed over in a double step; kNoSquare
// otherwise.
inline constexpr int kNoSquare = -1;
inline int PassedSquare() {
    const Move last = LastMove();
    const bool doubleStep = Moving(last) == PAWN && (From(last) ^ To(last)) == 16;
    return doubleStep ? (From(last) + To(last)) / 2 : kNoSquare;
}

// FiftyCounter from which on the game is drawn.
inline constexpr int kFiftyMoves = 100;

// ---- Game moves: made and taken back by the driver, in games of any length ----
// Like MakeMove and UnmakeMove, but they keep room for a search on the history stack: of
// a very long game the oldest moves are put aside, and come back when moves are taken
// back. The move played must be legal; SideToMove becomes the mover's before it is made.
// To take back there must be a move (GamePly > 0).
void PlayGameMove(Move m);
void TakeBackGameMove();
// Half-moves of the game that are put aside: GamePly + ArchivedPlies() is the game's
// length.
int ArchivedPlies();
// Forgets the moves put aside: whenever a new position is set up.
void ClearGameArchive();

#ifdef VELTRAMOX_SELF_CHECK
// Rebuilds every form from the piece array and stops the program with a message at the
// first difference. `after` names the operation that has just run.
void CheckBoard(const char* after);
#else
inline void CheckBoard(const char*) {}
#endif
