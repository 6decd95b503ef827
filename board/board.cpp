// Setting men up and taking them off, with every form of the board kept in step, and the
// game's part of the history stack. Moves have a faster way of their own, in make.cpp.
#include "board/board.h"

#include <cstring>
#include <vector>

BoardRecord Board;

namespace {

// A side below this many centipawns, without pawns and majors, may lack mating material:
// two knights are drawn, two bishops or bishop and knight are not.
constexpr int kTwoMinors = 601;
constexpr int kOneMinor = 301;

constexpr int kBackRank[8] = {ROOK, KNIGHT, BISHOP, QUEEN, KING, BISHOP, KNIGHT, ROOK};

// Of a very long game this many moves at a time are put aside, an even number so that the
// same side stays to move at even plies, and at least so many stay on the stack.
constexpr int kArchiveChunk = 256;
constexpr int kGamePlyLimit = 2 * kArchiveChunk;
// Repetitions look back as far as the fifty-move rule lets them: half-moves.
constexpr int kRestoreBelow = 128;

struct ArchivedMove {
    BoardState before;
    Move move;
};
// The game's oldest half-moves, oldest first, in whole chunks. Only a game that has
// outgrown the stack allocates anything, and never while a search runs.
std::vector<ArchivedMove> Archive;

// By material alone: a bishop pair and bishop with knight win; a third knight passes the
// bound of two minors.
bool LacksMatingMaterial(int c) {
    return Board.Pawns[c] == 0 && Board.MajorCount[c] == 0 &&
           Board.Material[c] < kTwoMinors &&
           (Board.Bishops[c] == 0 || Board.Material[c] < kOneMinor);
}

// The set that a kind of man is kept in, to be changed through the pointer.
SquareSet* SetOf(int colour, int code) {
    switch (code) {
        case PAWN:
            return &Board.Pawns[colour];
        case KNIGHT:
            return &Board.Knights[colour];
        case BISHOP:
            return &Board.Bishops[colour];
        case ROOK:
            return &Board.Rooks[colour];
        case QUEEN:
            return &Board.Queens[colour];
        default:
            return &Board.Kings[colour];
    }
}

std::uint8_t Bit(int n) { return static_cast<std::uint8_t>(1 << n); }

// Puts a man on the square (sign 1) or takes it off (sign -1); kings' squares apart.
void ChangeMan(int square, int colour, int code, int sign) {
    // Kings have keys, piece-square rows and lines like all men, but no material: both
    // sides always have one.
    Board.hash1 ^= HashKeys1[colour][code][square];
    Board.hash2 ^= HashKeys2[colour][code][square];
    if (code != KING) Board.Material[colour] += sign * PieceValue[code];
    Board.Units[colour] += sign * PieceUnits[code];
    Board.Positional[colour] += sign * PieceSquare[code][colour][square];
    Board.Occupied[colour] ^= SquareMask(square);
    if (code != KING) *SetOf(colour, code) ^= SquareMask(square);
    switch (code) {
        case PAWN:
            Board.PawnCount[colour] += sign;
            Board.PawnRanks[FileOf(square)][colour] ^= Bit(RankOf(square));
            // The pawn key takes its words from the rows of piece codes 0 and 1 of White:
            // those of EMPTY are otherwise unused, and no king enters a pawn key.
            Board.PawnHash1 ^= HashKeys1[WHITE][colour][square];
            Board.PawnHash2 ^= HashKeys2[WHITE][colour][square];
            break;
        case KNIGHT:
        case BISHOP:
            Board.MinorCount[colour] += sign;
            break;
        case ROOK:
            Board.MajorCount[colour] += sign;
            break;
        case QUEEN:
            Board.MajorCount[colour] += 2 * sign;
            break;
        default:
            Board.KingCount[colour] += sign;
            break;
    }
    if (code == ROOK || code == QUEEN) Board.StraightSliders ^= SquareMask(square);
    if (code == BISHOP || code == QUEEN) Board.DiagonalSliders ^= SquareMask(square);
    Board.MatingFlagsValid = 0;
}

// Applies an operation to every array of the history stack.
template <typename Operation>
void ForEachHistory(Operation operation) {
    operation(Board.MoveHistory);
    operation(Board.Hash1History);
    operation(Board.Hash2History);
    operation(Board.StateHistory);
}

// Moves the oldest chunk from the bottom of the stack to the archive. Plies of the game
// shift down; the search starts with the new ones.
void ArchiveOldest() {
    for (int i = 0; i < kArchiveChunk; ++i)
        Archive.push_back({Board.StateHistory[i], Board.MoveHistory[i]});
    ForEachHistory([](auto& history) {
        std::memmove(history, history + kArchiveChunk,
                     (kHistoryCapacity - kArchiveChunk) * sizeof history[0]);
    });
    Board.GamePly -= kArchiveChunk;
}

// Of the man on a square.
int ColourOn(int square) {
    return (Board.Occupied[WHITE] & SquareMask(square)) != 0 ? WHITE : BLACK;
}

// The chunk put aside last goes back to the bottom of the stack.
void RestoreArchived() {
    ForEachHistory([](auto& history) {
        std::memmove(history + kArchiveChunk, history,
                     (kHistoryCapacity - kArchiveChunk) * sizeof history[0]);
    });
    const std::size_t first = Archive.size() - kArchiveChunk;
    for (int i = 0; i < kArchiveChunk; ++i) {
        const ArchivedMove& a = Archive[first + static_cast<std::size_t>(i)];
        Board.MoveHistory[i] = a.move;
        Board.Hash1History[i] = a.before.hash1;
        Board.Hash2History[i] = a.before.hash2;
        Board.StateHistory[i] = a.before;
    }
    Archive.resize(first);
    Board.GamePly += kArchiveChunk;
}

}  // namespace

void ClearBoard() {
    std::memset(Board.Piece, 0, sizeof Board.Piece);
    for (int c : {WHITE, BLACK}) {
        Board.Occupied[c] = Board.Pawns[c] = Board.Knights[c] = Board.Bishops[c] = 0;
        Board.Rooks[c] = Board.Queens[c] = Board.Kings[c] = 0;
        Board.KingSquare[c] = 0;
        Board.Material[c] = Board.Units[c] = Board.PawnCount[c] = 0;
        Board.MinorCount[c] = Board.MajorCount[c] = Board.KingCount[c] = 0;
        Board.Positional[c] = 0;
    }
    Board.StraightSliders = Board.DiagonalSliders = 0;
    std::memset(Board.PawnRanks, 0, sizeof Board.PawnRanks);
    Board.hash1 = Board.hash2 = 0;
    Board.PawnHash1 = 0;
    Board.PawnHash2 = kEmptyPawnHash2;
    Board.FiftyCounter = 0;
    Board.MatingFlagsValid = 0;
}

void AddPiece(int square, int colour, int code) {
    assert(Board.Piece[square] == EMPTY && code != EMPTY && code != NO_PIECE);
    ChangeMan(square, colour, code, 1);
    Board.Piece[square] = static_cast<std::uint8_t>(code);
    if (code == KING) {
        Board.Kings[colour] = SquareMask(square);
        Board.KingSquare[colour] = square;
    }
}

void RemovePiece(int square) {
    const int code = Board.Piece[square];
    if (code == EMPTY) return;
    const int colour = ColourOn(square);
    ChangeMan(square, colour, code, -1);
    Board.Piece[square] = EMPTY;
    if (code != KING) return;
    // Of several kings, which only editing can put there, the lowest that is left counts.
    Board.Kings[colour] = 0;
    for (SquareSet men = Board.Occupied[colour]; men != 0 && Board.Kings[colour] == 0;) {
        const int other = TakeLowest(men);
        if (Board.Piece[other] != KING) continue;
        Board.Kings[colour] = SquareMask(other);
        Board.KingSquare[colour] = other;
    }
}

void SetStartPosition() {
    Board.GamePly = 0;
    ClearGameArchive();
    ClearBoard();
    for (int file = 0; file < 8; ++file)
        AddPiece(SquareAt(file, 0), WHITE, kBackRank[file]);
    for (int file = 0; file < 8; ++file) AddPiece(SquareAt(file, 1), WHITE, PAWN);
    for (int file = 0; file < 8; ++file)
        AddPiece(SquareAt(file, 7), BLACK, kBackRank[file]);
    for (int file = 0; file < 8; ++file) AddPiece(SquareAt(file, 6), BLACK, PAWN);
    Board.A1 = Board.H1 = Board.A8 = Board.H8 = Board.WK = Board.BK = 0;
    for (int c : {WHITE, BLACK}) Board.CastledKingside[c] = Board.CastledQueenside[c] = 0;
    Board.SideToMove = WHITE;
    UpdateMatingFlags();
}

void UpdateMatingFlags() {
    for (int c : {WHITE, BLACK})
        Board.NoMatingMaterial[c] = LacksMatingMaterial(c) ? 1 : 0;
    Board.MatingFlagsValid = 1;
}

void DeriveCastlingFlags() {
    const auto lost = [](int square, int colour, int code) {
        return Board.Piece[square] == code &&
                       (Board.Occupied[colour] & SquareMask(square)) != 0
                   ? 0
                   : 1;
    };
    Board.WK = lost(E1, WHITE, KING);
    Board.BK = lost(E8, BLACK, KING);
    Board.A1 = lost(A1, WHITE, ROOK);
    Board.H1 = lost(H1, WHITE, ROOK);
    Board.A8 = lost(A8, BLACK, ROOK);
    Board.H8 = lost(H8, BLACK, ROOK);
}

void MakeNullMove() {
    assert(Board.GamePly < kHistoryCapacity);
    Board.MoveHistory[Board.GamePly] = NULL_MOVE;
    Board.SideToMove = ChangeSide(Board.SideToMove);
    ++Board.GamePly;
}

void UnmakeNullMove() {
    --Board.GamePly;
    Board.SideToMove = ChangeSide(Board.SideToMove);
}

// The front end may have switched sides between two moves: here and when a move is taken
// back, the mover is who stands on its square.
// The archive is filled before the move, so that a search that follows has the stack
// above kGamePlyLimit to itself.
void PlayGameMove(Move m) {
    if (Board.GamePly >= kGamePlyLimit) ArchiveOldest();
    Board.SideToMove = ColourOn(From(m));
    MakeMove(m);
}

// The chunk comes back before a repetition count could look below the stack's bottom.
void TakeBackGameMove() {
    Board.SideToMove = ChangeSide(ColourOn(To(LastMove())));
    UnmakeMove();
    if (Board.GamePly < kRestoreBelow && !Archive.empty()) RestoreArchived();
}

int ArchivedPlies() { return static_cast<int>(Archive.size()); }
void ClearGameArchive() { Archive.clear(); }
