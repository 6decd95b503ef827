// Counts defects: files without pawns, shield pawns away from home, and where the king
// stands. The pawns' share is kept in the pawn hash table.
#include "eval/shelter.h"

#include <algorithm>

#include "eval/state.h"

namespace {

// Files of a wing from the edge inwards: king side, queen side.
constexpr int kShieldFiles[2][3] = {{7, 6, 5}, {0, 1, 2}};
constexpr int kOpenFiles[4] = {0, 8, 13,
                               kAllFilesOpenDefects};  // [files without any pawn]
constexpr int kHalfOpenFiles[4] = {0, 3, 7, 9};  // [shield files without one colour's]
constexpr int kMaxDefended = 63;
constexpr int kFullAttackUnits = 14;    // above it, with a queen, defects count in full
constexpr int kBaseUnits = 13;          // below it the king may step out
constexpr int kQueenNotAtHome = -12;    // an early queen delays castling
constexpr int kOpponentKingShare = 60;  // percent of Aggressivity
constexpr int kHoleByKing = 3;          // no pawn on g2 (b2), an enemy on f3 (c3)

// King square from its own side, eighth rank on top.
// clang-format off
constexpr int ShelterBase[64] = {
    8, 8, 8, 8, 8, 8, 8, 8,
    7, 7, 7, 7, 7, 7, 7, 7,
    6, 6, 6, 6, 6, 6, 6, 6,
    5, 5, 5, 5, 5, 5, 5, 5,
    4, 4, 4, 4, 4, 4, 4, 4,
    3, 3, 3, 3, 3, 3, 3, 3,
    1, 1, 2, 3, 3, 2, 1, 1,
    1, 0, 2, 3, 3, 2, 0, 1,
};
constexpr int kShelterPenalty[64] = {  // [defects], centipawns
      0,   4,  15,  24,  36,  42,  54,  72,  81,  90,  99, 108, 117, 126, 135, 144,
    148, 152, 156, 160, 164, 168, 172, 175, 180, 180, 180, 180, 180, 180, 180, 180,
    180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180,
    180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180,
};
// clang-format on

struct WingCount {
    int open = 0;           // files without any pawn
    int halfOpen[2] = {};   // [colour]: other files without its pawns
    int displaced[2] = {};  // [colour]: steps its shield pawns have left home
};

// `relativeRank` counts from the colour's own side, 0 to 7.
template <int c>
bool HasPawn(int file, int relativeRank) {
    return (Board.PawnRanks[file][c] >> (c == WHITE ? relativeRank : 7 - relativeRank) &
            1) != 0;
}

// The pawn beside the corner counts one more when it has moved: its hole is the worst.
template <int c>
int Displacement(int file) {
    if (HasPawn<c>(file, 1)) return 0;
    const int inner = file == 1 || file == 6 ? 1 : 0;
    return inner + (HasPawn<c>(file, 2) ? 1 : 2);
}

// One file of the shield, which holds a pawn of either colour.
template <int c>
void CountFile(WingCount& wing, int file) {
    if (Board.PawnRanks[file][c] == 0)
        ++wing.halfOpen[c];
    else
        wing.displaced[c] += Displacement<c>(file);
}

// Two pawns side by side on the third rank, one of them the middle one, still hold
// together.
template <int c>
int Phalanx(const int (&files)[3]) {
    return HasPawn<c>(files[1], 2) && (HasPawn<c>(files[0], 2) || HasPawn<c>(files[2], 2))
               ? 1
               : 0;
}

// The bishop's file counts for a colour only when the outer files show some defect.
WingCount CountWing(const int (&files)[3]) {
    WingCount wing;
    for (int i = 0; i < 3; ++i) {
        const int file = files[i];
        if ((Board.PawnRanks[file][WHITE] | Board.PawnRanks[file][BLACK]) == 0) {
            ++wing.open;
            continue;
        }
        const bool outer = i < 2;
        const int shared = wing.open + wing.halfOpen[WHITE] + wing.halfOpen[BLACK];
        if (outer || shared + wing.displaced[WHITE] != 0) CountFile<WHITE>(wing, file);
        if (outer || shared + wing.displaced[BLACK] != 0) CountFile<BLACK>(wing, file);
    }
    wing.displaced[WHITE] -= Phalanx<WHITE>(files);
    wing.displaced[BLACK] -= Phalanx<BLACK>(files);
    return wing;
}

// Files half-open for the enemy count half.
std::uint8_t WingDefects(const WingCount& wing, int c) {
    const int defects = kOpenFiles[wing.open] + kHalfOpenFiles[wing.halfOpen[c]] +
                        kHalfOpenFiles[wing.halfOpen[1 - c]] / 2 + wing.displaced[c];
    return static_cast<std::uint8_t>(std::max(defects, 0));
}

// Pawnless files in front of a king in the centre; `middle` is the file he stands on.
int CentreGaps(unsigned pawnFiles, int middle) {
    const unsigned empty = ~pawnFiles;
    return ((empty & FileBit(middle - 1)) != 0 ? 2 : 0) +
           ((empty & FileBit(middle)) != 0 ? 4 : 0) +
           ((empty & FileBit(middle + 1)) != 0 ? 2 : 0);
}

// An enemy pawn or bishop next to the hole in front of the castled king, with a queen to
// exploit it. `hole` and `wedge` are squares from the king's side.
template <int c>
bool HoleByKing(int hole, int wedge) {
    constexpr int e = 1 - c;
    return Board.Queens[e] != 0 &&
           (Board.Pawns[c] & SquareMask(Relative<c>(hole))) == 0 &&
           ((Board.Pawns[e] | Board.Bishops[e]) & SquareMask(Relative<c>(wedge))) != 0;
}

// The king has neither castled nor moved: the wing where the rook is still at home
// counts.
template <int c>
int UncastledDefects(const PawnEntry& pawns) {
    const auto& defects = pawns.defects[c];
    int d = CentreGaps(pawns.files[WHITE] | pawns.files[BLACK], 4);
    if (KingRookMoved<c>() != 0 && QueenRookMoved<c>() == 0) d += defects[1] / 2;
    if (QueenRookMoved<c>() != 0 && KingRookMoved<c>() == 0) d += defects[0] / 2;
    return d;
}

// A king that has made its home; attackers of a corner aim at the square beside it.
template <int c>
int SettledDefects(const PawnEntry& pawns, int king, int& target) {
    const unsigned files = pawns.files[WHITE] | pawns.files[BLACK];
    const int file = FileOf(king);
    const bool kingside = file >= 4;
    if (file == 7) target = king - 1;
    if (file == 0) target = king + 1;
    int d = pawns.defects[c][kingside ? 0 : 1];
    if (HoleByKing<c>(kingside ? G2 : B2, kingside ? F3 : C3)) d += kHoleByKing;
    if (file == 3 || file == 4) d += CentreGaps(files, file);
    return d;
}

// The defects of a king's shelter, and what the king costs, centipawns of its own side.
template <int c>
int ShelterFor(Terms& t) {
    constexpr int e = 1 - c;
    const int king = Board.KingSquare[c];
    t.target[c] = king;
    t.defended[c] = 0;
    if (t.ending[c]) return 0;
    int d = ShelterBase[MirrorRank(Relative<c>(king))];
    if (Board.Units[e] < kBaseUnits) d /= 2;
    int penalty = 0;
    if ((Board.CastledKingside[c] | Board.CastledQueenside[c] | KingMoved<c>()) == 0) {
        if ((Board.Queens[c] & SquareMask(Relative<c>(D1))) == 0)
            penalty = kQueenNotAtHome;
        d += UncastledDefects<c>(*t.pawns);
    } else {
        d += SettledDefects<c>(*t.pawns, king, t.target[c]);
    }
    if (Board.Units[e] <= kFullAttackUnits || Board.Queens[e] == 0) d /= 2;
    t.defended[c] = std::min(d, kMaxDefended);
    const int weight = EvaluationInput.RootSide == c
                           ? EvaluationInput.Cowardice
                           : EvaluationInput.Aggressivity * kOpponentKingShare / 100;
    return penalty - weight * kShelterPenalty[t.defended[c]] / 100;
}

}  // namespace

void ShieldDefects(PawnEntry& entry) {
    for (int side : {0, 1}) {
        const WingCount wing = CountWing(kShieldFiles[side]);
        for (int c : {WHITE, BLACK}) entry.defects[c][side] = WingDefects(wing, c);
    }
}

int ShelterTerms(Terms& t) { return ShelterFor<WHITE>(t) - ShelterFor<BLACK>(t); }

int ShelterPenalty(int defects) { return kShelterPenalty[defects]; }
