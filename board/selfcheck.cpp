// The board's self-check: every form is rebuilt from the piece array (and the colour
// sets, which tell whose man stands where) by the plain definitions, and compared.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "board/board.h"
#include "board/notation.h"

#ifdef VELTRAMOX_SELF_CHECK

namespace {

// What has just run, for the message.
const char* Operation = "";

// Aborts rather than exits: a debugger or a fuzzer then has the stack of the faulty move.
[[noreturn]] void Fail(const char* form, int index, std::uint64_t is,
                       std::uint64_t want) {
    char text[kMoveTextSize] = "none";
    if (Board.GamePly > 0) MoveToText(text, LastMove());
    std::fflush(stdout);
    std::fprintf(
        stderr,
        "Board self-check after %s at ply %d (last move %s): %s[%d] is 0x%" PRIx64
        ", should be 0x%" PRIx64 "\n",
        Operation, Board.GamePly, text, form, index, is, want);
    std::abort();
}

template <typename T, typename U>
void Expect(const char* form, int index, T is, U want) {
    const auto a = static_cast<std::uint64_t>(is), b = static_cast<std::uint64_t>(want);
    if (a != b) Fail(form, index, a, b);
}

// The forms as the definitions in board.h give them, computed without any of the board's
// own update code.
struct Rebuilt {
    SquareSet sets[2][8] = {};
    unsigned pawnRanks[8][2] = {};
    int material[2] = {}, units[2] = {}, positional[2] = {};
    std::uint32_t hash1 = 0, hash2 = 0, pawnHash1 = 0, pawnHash2 = kEmptyPawnHash2;
};

// By or-ing bits in, not by toggling: the order of men does not matter, and a man met
// twice would not vanish.
void AddMan(Rebuilt& r, int square, int c, int code) {
    r.sets[c][code] |= SquareMask(square);
    if (code != KING) r.material[c] += PieceValue[code];
    r.units[c] += PieceUnits[code];
    r.positional[c] += PieceSquare[code][c][square];
    r.hash1 ^= HashKeys1[c][code][square];
    r.hash2 ^= HashKeys2[c][code][square];
    if (code != PAWN) return;
    r.pawnRanks[FileOf(square)][c] |= 1u << RankOf(square);
    r.pawnHash1 ^= HashKeys1[WHITE][c][square];
    r.pawnHash2 ^= HashKeys2[WHITE][c][square];
}

// Also checks what the rebuilding relies on: the colour sets are disjoint and cover
// exactly the occupied squares.
Rebuilt Rebuild() {
    Rebuilt r;
    Expect("Occupied both", 0, Board.Occupied[WHITE] & Board.Occupied[BLACK], 0);
    for (int square = 0; square < 64; ++square) {
        const bool occupied = (AllOccupied() & SquareMask(square)) != 0;
        const int code = Board.Piece[square];
        Expect("Occupied at square", square, occupied, code != EMPTY);
        if (code == EMPTY) continue;
        const int c = (Board.Occupied[WHITE] & SquareMask(square)) != 0 ? WHITE : BLACK;
        AddMan(r, square, c, code);
    }
    return r;
}

// What is kept by colour. The index in a message is the colour's number.
void CompareColour(const Rebuilt& r, int c) {
    const SquareSet* sets = r.sets[c];
    Expect("Pawns", c, Board.Pawns[c], sets[PAWN]);
    Expect("Knights", c, Board.Knights[c], sets[KNIGHT]);
    Expect("Bishops", c, Board.Bishops[c], sets[BISHOP]);
    Expect("Rooks", c, Board.Rooks[c], sets[ROOK]);
    Expect("Queens", c, Board.Queens[c], sets[QUEEN]);
    Expect("KingCount", c, Board.KingCount[c], PopCount(sets[KING]));
    // Editing can set up several kings; one of them is the king.
    if (sets[KING] != 0) {
        Expect("Kings", c, Board.Kings[c], SquareMask(Board.KingSquare[c]));
        Expect("Kings on board", c, Board.Kings[c] & ~sets[KING], 0);
    } else {
        Expect("Kings", c, Board.Kings[c], 0);
    }
    Expect("Material", c, Board.Material[c], r.material[c]);
    Expect("Units", c, Board.Units[c], r.units[c]);
    Expect("PawnCount", c, Board.PawnCount[c], PopCount(sets[PAWN]));
    Expect("MinorCount", c, Board.MinorCount[c], PopCount(sets[KNIGHT] | sets[BISHOP]));
    Expect("MajorCount", c, Board.MajorCount[c],
           PopCount(sets[ROOK]) + 2 * PopCount(sets[QUEEN]));
    Expect("Positional", c, Board.Positional[c], r.positional[c]);
}

void ComparePawnRanks(const Rebuilt& r) {
    for (int i = 0; i < 8; ++i)
        for (int c : {WHITE, BLACK})
            Expect(c == WHITE ? "PawnRanks of White" : "PawnRanks of Black", i,
                   Board.PawnRanks[i][c], r.pawnRanks[i][c]);
}

}  // namespace

void CheckBoard(const char* after) {
    Operation = after;
    const Rebuilt r = Rebuild();
    for (int c : {WHITE, BLACK}) CompareColour(r, c);
    ComparePawnRanks(r);
    const SquareSet queens = r.sets[WHITE][QUEEN] | r.sets[BLACK][QUEEN];
    Expect("StraightSliders", 0, Board.StraightSliders,
           r.sets[WHITE][ROOK] | r.sets[BLACK][ROOK] | queens);
    Expect("DiagonalSliders", 0, Board.DiagonalSliders,
           r.sets[WHITE][BISHOP] | r.sets[BLACK][BISHOP] | queens);
    Expect("hash1", 0, Board.hash1, r.hash1);
    Expect("hash2", 0, Board.hash2, r.hash2);
    Expect("PawnHash1", 0, Board.PawnHash1, r.pawnHash1);
    Expect("PawnHash2", 0, Board.PawnHash2, r.pawnHash2);
    if (Board.MatingFlagsValid == 0) return;
    for (int c : {WHITE, BLACK}) {
        // Lazily computed flags are compared only while they claim to be valid.
        const int stored = Board.NoMatingMaterial[c];
        UpdateMatingFlags();
        Expect("NoMatingMaterial", c, stored, Board.NoMatingMaterial[c]);
    }
}

#endif
