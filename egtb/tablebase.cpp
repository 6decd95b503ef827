// A probe: material gives the entry, the index function the place in its file, and the
// cache the value there.
#include "egtb/tablebase.h"

#include "board/board.h"
#include "egtb/cache.h"
#include "egtb/index.h"
#include "egtb/material.h"
#include "egtb/registry.h"

int TbMaxPieces = 0;

namespace {

// Where the numbering of pawns has no squares.
constexpr SquareSet kOuterRanks = RankSet(0) | RankSet(7);

// The board's men of a colour by kind, in the order of the counts.
struct MenSets {
    SquareSet set[5];
};

MenSets MenOf(int colour) {
    return {{Board.Pawns[colour], Board.Knights[colour], Board.Bishops[colour],
             Board.Rooks[colour], Board.Queens[colour]}};
}

// A side's squares by slots, ascending within a kind. No table has more than three men of
// a kind; the counts have been compared before the list is read.
void ListSquares(const MenSets& men, int king, std::uint8_t* list) {
    for (int kind = 0; kind < 5; ++kind) {
        SquareSet set = men.set[kind];
        for (int i = 0; i < 3 && set != 0; ++i)
            list[3 * kind + i] = static_cast<std::uint8_t>(TakeLowest(set));
    }
    list[kKingSlot] = static_cast<std::uint8_t>(king);
}

// The square that a pawn has just stepped over, when an enemy pawn stands beside it and
// may take it there: such positions have indices of their own.
int EnPassantSquare(int sideToMove) {
    const int passed = PassedSquare();
    if (passed == kNoSquare) return kNoEnPassant;
    // Takers stand where a pawn of the other colour would attack from the passed square.
    const SquareSet takers =
        PawnAttacks[1 - sideToMove][passed] & Board.Pawns[sideToMove];
    return takers != 0 ? passed : kNoEnPassant;
}

}  // namespace

int InitTablebases(const char* path, std::uint64_t& ramUsed) {
    TbMaxPieces = RegisterTables(path, ramUsed);
    return TbMaxPieces;
}

// A program without its cache goes on without tables.
bool SetUpTablebaseCache(int bytesLog2) {
    CloseTableFiles();
    if (AllocateTableCache(bytesLog2)) return true;
    TbMaxPieces = 0;
    return false;
}

void CloseTablebases() { CloseTableFiles(); }

bool ProbeTablebase(int sideNotToMove, int& value) {
    const MenSets men[2] = {MenOf(WHITE), MenOf(BLACK)};
    MenCounts counts;
    for (std::size_t i = 0; i < 5; ++i) {
        counts[i] = static_cast<std::uint8_t>(PopCount(men[WHITE].set[i]));
        counts[i + 5] = static_cast<std::uint8_t>(PopCount(men[BLACK].set[i]));
    }
    const int found = MaterialIndex(counts);
    // Edited positions may lack a king or have pawns where no pawn can stand.
    const SquareSet pawns = men[WHITE].set[0] | men[BLACK].set[0];
    if (found == 0 || !HasBothKings() || (pawns & kOuterRanks) != 0) return false;

    const bool exchanged = found < 0;
    // The table knows "first side" and "other side": with colours exchanged, Black's men
    // are the first side and the side to move turns over too.
    const int entry = exchanged ? -found : found;
    const int sideToMove = ChangeSide(sideNotToMove);
    const int tableSide = exchanged ? ChangeSide(sideToMove) : sideToMove;
    if (Tables[entry][ShapeOf(entry).symmetric ? WHITE : tableSide].path.empty())
        return false;

    std::uint8_t list[2][kListSize];
    const int first = exchanged ? BLACK : WHITE, second = ChangeSide(first);
    ListSquares(men[first], Board.KingSquare[first], list[0]);
    ListSquares(men[second], Board.KingSquare[second], list[1]);
    const std::uint32_t index =
        IndexFunctions[static_cast<std::size_t>(entry)][static_cast<std::size_t>(
            tableSide)](list[0], list[1], EnPassantSquare(sideToMove), exchanged);
    return index != kNoIndex && ReadTableValue(entry, tableSide, index, value);
}
