// One pass over each colour's pawns, its result kept in a hash table by the pawns' keys
// and the class of the kings' wings, on which the placement tables depend.
#include "eval/pawns.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "eval/passers.h"
#include "eval/shelter.h"
#include "eval/state.h"
#include "platform/memory.h"

namespace {

// ---- Placement, eighth rank on top, files a to h, from White's side ----
enum PawnTable { kCentre, kAdvance, kStormKingside, kStormQueenside };
// clang-format off
constexpr int kPawnSquares[4][64] = {
    {  // Centre: the kings are not on opposite wings
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  4,  6,  6,  0,  0,  0,
      0,  0, 12, 12, 12,  0,  0,  0,
      0,  0, 12, 12, 12,  6,  0,  0,
      0,  0,  3,  4,  4,  1,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
    },
    {  // Advance: the ending
      0,  0,  0,  0,  0,  0,  0,  0,
     25, 28, 31, 34, 34, 31, 28, 25,
     22, 25, 28, 31, 31, 28, 25, 22,
      9, 12, 15, 18, 18, 15, 12,  9,
      6,  9, 12, 15, 15, 12,  9,  6,
      3,  6,  9, 12, 12,  9,  6,  3,
      0,  3,  6, -7, -7,  6,  3,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
    },
    {  // StormKingside: the enemy king has castled there, the own one long
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  0,  0, 15, 21, 25, 25,
      0,  0,  0,  0, 13, 16, 19, 19,
      0,  0,  0, 12, 12,  9, 12, 12,
      0,  0,  2, 12, 12,  5,  7,  7,
      0,  0,  1,  4,  4,  1,  2,  2,
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
    },
    {  // StormQueenside
      0,  0,  0,  0,  0,  0,  0,  0,
     25, 25, 21, 15,  0,  0,  0,  0,
     19, 19, 16, 13,  0,  0,  0,  0,
     12, 12, 12, 12, 12,  0,  0,  0,
      7,  7, 12, 12, 12,  2,  0,  0,
      2,  2,  1,  4,  4,  1,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
      0,  0,  0,  0,  0,  0,  0,  0,
    },
};
// clang-format on

// King classes: each has its own slots in the hash table and its own placement tables.
enum KingClass { kSameWing, kEndgame, kWhiteLong, kBlackLong };
constexpr PawnTable kTableOf[4][2] = {
    // [class][colour]
    {kCentre, kCentre},
    {kAdvance, kAdvance},
    {kStormKingside, kStormQueenside},
    {kStormQueenside, kStormKingside},
};
// [White's king: files a-c, d and e, f-h][Black's]
constexpr KingClass kClassOfWings[3][3] = {
    {kSameWing, kSameWing, kWhiteLong},
    {kSameWing, kSameWing, kSameWing},
    {kBlackLong, kSameWing, kSameWing},
};
constexpr int kWingOfFile[8] = {0, 0, 0, 1, 1, 2, 2, 2};

// ---- Structure, centipawns; ranks count from the pawn's own side, first rank 0 ----
constexpr int kPassedBase[2][8] = {{0, 8, 16, 32, 60, 120, 160, 0},   // files b to g
                                   {0, 7, 14, 29, 56, 115, 154, 0}};  // files a and h
constexpr int kDuoBonus[8] = {0, 0, 3, 7, 12, 30, 0, 0};       // beside another pawn
constexpr int kAdvancedBonus[8] = {0, 0, 0, 0, 0, 16, 24, 0};  // blocked, but held
constexpr int kDoubledPenalty[9] = {0,  0,  5,  10, 20,
                                    25, 30, 30, 30};  // [pawns on the file]
constexpr int kIsolatedPenalty[9] = {0, 12, 24, 56, 66, 80, 90, 100, 110};  // [how many]
constexpr int kIsolatedOpenPenalty[9] = {0, 5, 10, 15, 20, 25, 30, 35, 40};
constexpr int kIsolatedDoubled = 4;
constexpr int kMobileSteps = 3;
// [a helper can come up][the stop square is attacked by two more than defend it]
constexpr int kBackward[2][2] = {{12, 20}, {8, 12}};
constexpr int kMobilityPawns = 4;  // a side with no more pawns than this is not judged
constexpr int kEnoughMobile = 3;
constexpr int kMobilityPerPawn = 12;

// ---- The hash table ----
struct {
    PawnEntry* entries = nullptr;
    std::size_t bytes = 0;
    std::uint32_t mask = 0;  // number of entries in use - 1
    std::uint32_t all = 0;   // the same when all are in use
} PawnHashTable;
constexpr int kMaxPawnHashBits = 28;
constexpr std::size_t kSpareEntries = 2;

// Part of the slot's number, so that one structure keeps an entry for each class.
KingClass ClassOfKings(bool endgame) {
    if (endgame) return kEndgame;
    return kClassOfWings[kWingOfFile[FileOf(Board.KingSquare[WHITE])]]
                        [kWingOfFile[FileOf(Board.KingSquare[BLACK])]];
}

// A single slot, always replaced: pawn structures change slowly.
PawnEntry& SlotOf(KingClass kings) {
    const std::uint32_t slot =
        (Board.PawnHash2 ^ static_cast<std::uint32_t>(kings)) & PawnHashTable.mask;
    return PawnHashTable.entries[slot];
}

// The halves of the keys are compared as bytes, for the entry is aligned to two only.
bool HoldsCurrentPawns(const PawnEntry& entry) {
    return std::memcmp(&entry.key[0], &Board.PawnHash1, 4) == 0 &&
           std::memcmp(&entry.key[2], &Board.PawnHash2, 4) == 0;
}

// ---- Attacks by pawns on a square ----
template <int c>
int EnemyAttackers(int square) {
    return PopCount(PawnAttacks[c][square] & Board.Pawns[1 - c]);
}
template <int c>
int Defenders(int square) {
    return PopCount(PawnAttacks[1 - c][square] & Board.Pawns[c]);
}
// Own pawns on the adjacent files behind the square, which could come to defend it.
template <int c>
int Supporters(int square) {
    const SquareSet behind = c == WHITE ? AdjacentBelow[square] : AdjacentAbove[square];
    return PopCount(behind & Board.Pawns[c]);
}
template <int c>
constexpr int kStep = c == WHITE ? 8 : -8;

bool IsEmpty(int square) { return Board.Piece[square] == EMPTY; }

// The pawn can walk three squares, or to its promotion, or to a square where it meets
// enemy pawns that it can stand up to, without a man in its way.
template <int c>
bool IsMobile(int square) {
    for (int step = 0; step < kMobileSteps; ++step) {
        if (RelativeRank<c>(square) >= 6) return true;
        square += kStep<c>;
        if (!IsEmpty(square)) return false;
        const int attackers = EnemyAttackers<c>(square);
        if (attackers != 0) return attackers - Supporters<c>(square) < 2;
    }
    return true;
}

// The nearest pawn of one file behind `rank` (own side's view) can walk up to it through
// empty squares that no enemy pawn attacks.
template <int c>
bool CanComeUp(int file, int rank) {
    const SquareSet below = c == WHITE ? FileBelow[SquareAt(file, rank + 1)]
                                       : FileAbove[SquareAt(file, 7 - (rank + 1))];
    const SquareSet pawns = below & Board.Pawns[c];
    if (pawns == 0) return false;
    int square = c == WHITE ? HighestSquare(pawns) : LowestSquare(pawns);
    while (RelativeRank<c>(square) < rank) {
        square += kStep<c>;
        if (!IsEmpty(square) || EnemyAttackers<c>(square) != 0) return false;
    }
    return true;
}

// The pawn cannot advance past enemy pawns and is not defended where it stands.
template <int c>
int BackwardPenalty(int square) {
    if ((FileAhead<c>(square) & Board.Pawns[1 - c]) != 0 || RelativeRank<c>(square) == 7)
        return 0;
    if (Defenders<c>(square) > EnemyAttackers<c>(square)) return 0;
    const int stop = square + kStep<c>;
    const int attackers = EnemyAttackers<c>(stop), defenders = Defenders<c>(stop);
    if (attackers == 0 || defenders > attackers) return 0;
    const int file = FileOf(square), behind = RelativeRank<c>(square) - 1;
    const bool helped = behind >= 0 && ((file > 0 && CanComeUp<c>(file - 1, behind)) ||
                                        (file < 7 && CanComeUp<c>(file + 1, behind)));
    return kBackward[helped ? 1 : 0][attackers - defenders == 2 ? 1 : 0];
}

// The pawn can walk, past squares that are its own to hold, to where no enemy pawn can
// stop it any more.
template <int c>
bool CanPass(int square) {
    while (RelativeRank<c>(square) < 6) {
        square += kStep<c>;
        if (!IsEmpty(square) || EnemyAttackers<c>(square) > Supporters<c>(square))
            return false;
        if ((PasserZone<c>(square) & Board.Pawns[1 - c]) == 0) return true;
    }
    return false;
}

// Three pawns abreast against pawns of which only the second file's can get in the way.
template <int c>
bool IsMajority(int file) {
    constexpr int e = 1 - c;
    const int inwards = file < 4 ? 1 : -1;
    const auto count = [&](int colour, int steps) {
        return PopCount8[Board.PawnRanks[file + steps * inwards][colour]];
    };
    return count(c, 1) != 0 && count(c, 2) != 0 && count(e, 0) == 0 && count(e, 1) < 3 &&
           count(e, 2) == 0 && count(e, 3) == 0;
}

// The pawn may become a passed pawn by advancing or by an exchange.
template <int c>
bool IsCandidate(int square) {
    const int file = FileOf(square);
    const bool free = Board.PawnRanks[file][1 - c] == 0 &&
                      (AdjacentFiles[square] & Board.Pawns[c]) != 0 &&
                      EnemyAttackers<c>(square) == 0 && CanPass<c>(square);
    return free || IsMajority<c>(file);
}

// A far advanced pawn that an enemy pawn blocks, but that is defended and cannot be
// taken.
template <int c>
int AdvancedTerm(int square) {
    const int bonus = kAdvancedBonus[RelativeRank<c>(square)];
    if (bonus == 0 || (Forward<c>(SquareMask(square)) & Board.Pawns[1 - c]) == 0)
        return 0;
    return Defenders<c>(square) != 0 && EnemyAttackers<c>(square) == 0 ? bonus : 0;
}

// What the pass over one colour's pawns has found so far.
struct PawnPass {
    int value = 0;
    int isolated = 0, isolatedOpen = 0, mobile = 0;
    unsigned passed = 0, candidates = 0, files = 0;
    bool supported = false;
};

// No own pawn on either adjacent file.
template <int c>
void IsolatedPawn(PawnPass& pass, int square, int onFile) {
    if (onFile > 1) pass.value -= kIsolatedDoubled;
    ++pass.isolated;
    if ((FileAhead<c>(square) & Board.Pawns[1 - c]) == 0) ++pass.isolatedOpen;
}

// The file may have a helper: whether it can move, and whether it holds its place.
template <int c>
void ConnectedPawn(PawnPass& pass, int square, int onFile) {
    if (IsMobile<c>(square)) ++pass.mobile;
    pass.value -= BackwardPenalty<c>(square) + kDoubledPenalty[onFile];
}

// No enemy pawn can stop or take it; with an own pawn behind it, it is worth half.
template <int c>
void PassedPawn(PawnPass& pass, int square) {
    const int file = FileOf(square);
    const int base = kPassedBase[file == 0 || file == 7 ? 1 : 0][RelativeRank<c>(square)];
    const SquareSet company =
        c == WHITE ? AdjacentLevelBehind[square] : AdjacentLevelAhead[square];
    pass.passed |= FileBit(file);
    pass.value += base;
    if ((FileAhead<1 - c>(square) & Board.Pawns[c]) != 0) pass.value -= base / 2;
    if ((company & Board.Pawns[c]) != 0) pass.supported = true;
}

// All that one pawn contributes.
template <int c>
void AddPawn(PawnPass& pass, int square, const int (&table)[64]) {
    const int file = FileOf(square);
    const int onFile = PopCount8[Board.PawnRanks[file][c]];
    pass.files |= FileBit(file);
    pass.value += table[Relative<c>(MirrorRank(square))];
    if (file < 7 && (Board.Pawns[c] & SquareMask(square + 1)) != 0)
        pass.value += kDuoBonus[RelativeRank<c>(square)];
    if ((AdjacentFiles[square] & Board.Pawns[c]) == 0)
        IsolatedPawn<c>(pass, square, onFile);
    else
        ConnectedPawn<c>(pass, square, onFile);
    if ((PasserZone<c>(square) & Board.Pawns[1 - c]) == 0) {
        PassedPawn<c>(pass, square);
        return;
    }
    if (IsCandidate<c>(square)) pass.candidates |= FileBit(file);
    pass.value += AdvancedTerm<c>(square);
}

// The pass over one colour's pawns; isolated and immobile ones count together at its end.
template <int c>
PawnPass PassOver(PawnTable table) {
    PawnPass pass;
    for (SquareSet pawns = Board.Pawns[c]; pawns != 0;)
        AddPawn<c>(pass, TakeLowest(pawns), kPawnSquares[table]);
    pass.value -= kIsolatedPenalty[std::min(pass.isolated, 8)] +
                  kIsolatedOpenPenalty[std::min(pass.isolatedOpen, 8)];
    const bool judged = Board.PawnCount[WHITE] > kMobilityPawns &&
                        Board.PawnCount[BLACK] > kMobilityPawns;
    if (judged && pass.mobile < kEnoughMobile)
        pass.value -= kMobilityPerPawn * (kEnoughMobile - pass.mobile);
    return pass;
}

// How far own passers and candidates lie outside the enemy pawns: 0 to 2 wings.
int OutsideStrength(const PawnPass& own, const PawnPass& other) {
    return OutsideWings[own.passed * 256 + other.files] |
           ReachWings[own.candidates * 256 + other.files];
}

// The farthest that two neighbouring passers or candidates stand apart, files between.
int WidestGap(const PawnPass& pass) { return WidestGap8[pass.passed | pass.candidates]; }

int OutsideFlag(int c, int strength) {
    if (strength >= 2) return kOutsidePassers[c];
    return strength == 1 && Board.PawnCount[c] > 1 ? kOutsidePasser[c] : 0;
}

int EndingFlags(const PawnPass& white, const PawnPass& black) {
    const int w = OutsideStrength(white, black), b = OutsideStrength(black, white);
    if (w > 0 && b > 0) return 0;
    if (w > 0 || b > 0) return OutsideFlag(WHITE, w) | OutsideFlag(BLACK, b);
    const int spread = WidestGap(white) - WidestGap(black);
    return spread > 0 ? kWiderSpread[WHITE] : spread < 0 ? kWiderSpread[BLACK] : 0;
}

std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value); }

FileSets SetsOf(const PawnPass& pass) {
    return {Byte(pass.passed), Byte(pass.candidates)};
}

// The pawn pass: everything about the structure that the entry keeps, but the shield.
void EvaluatePawns(PawnEntry& entry, KingClass kings) {
    const PawnPass white = PassOver<WHITE>(kTableOf[kings][WHITE]);
    const PawnPass black = PassOver<BLACK>(kTableOf[kings][BLACK]);
    LastEvaluation.PSValue[WHITE] = white.value;
    LastEvaluation.PSValue[BLACK] = black.value;
    std::memcpy(&entry.key[0], &Board.PawnHash1, 4);
    std::memcpy(&entry.key[2], &Board.PawnHash2, 4);
    entry.score = static_cast<std::int16_t>(white.value - black.value);
    entry.Of(WHITE) = SetsOf(white);
    entry.Of(BLACK) = SetsOf(black);
    entry.supported = Byte((white.supported ? 1u : 0u) | (black.supported ? 2u : 0u));
    entry.flags = Byte(static_cast<unsigned>(EndingFlags(white, black)));
    entry.files[WHITE] = Byte(white.files);
    entry.files[BLACK] = Byte(black.files);
}

#ifdef VELTRAMOX_SELF_CHECK
// What depends on the pawns alone must be in the entry as a fresh pass finds it.
void CheckEntry(const PawnEntry& entry, KingClass kings) {
    const int kept[2] = {LastEvaluation.PSValue[WHITE], LastEvaluation.PSValue[BLACK]};
    PawnEntry fresh;
    ShieldDefects(fresh);
    EvaluatePawns(fresh, kings);
    LastEvaluation.PSValue[WHITE] = kept[WHITE];
    LastEvaluation.PSValue[BLACK] = kept[BLACK];
    bool same = std::memcmp(fresh.defects, entry.defects, sizeof fresh.defects) == 0;
    for (int c : {WHITE, BLACK})
        same = same && fresh.files[c] == entry.files[c] &&
               fresh.Of(c).passed == entry.Of(c).passed;
    if (same && fresh.supported == entry.supported) return;
    std::fprintf(stderr, "Pawn hash self-check: a stored entry differs from its pawns\n");
    std::abort();
}
#else
void CheckEntry(const PawnEntry&, KingClass) {}
#endif

// No pawns: all files of both wings are open, and no pass runs.
constexpr PawnEntry PawnlessEntry() {
    constexpr std::uint8_t kOpen = kAllFilesOpenDefects;
    PawnEntry entry{};
    for (auto& defects : entry.defects) defects[0] = defects[1] = kOpen;
    return entry;
}
constexpr PawnEntry kNoPawns = PawnlessEntry();

// The entry of the current pawns, made when the table does not hold it.
const PawnEntry& ProbePawns(bool endgame) {
    const KingClass kings = ClassOfKings(endgame);
    PawnEntry& entry = SlotOf(kings);
    if (HoldsCurrentPawns(entry)) {
        CheckEntry(entry, kings);
        return entry;
    }
    ShieldDefects(entry);
    EvaluatePawns(entry, kings);
    return entry;
}

// The foremost passed pawn of each file.
template <int c>
SquareSet ForemostPassers(const PawnEntry& entry) {
    const SquareSet pawns = Board.Pawns[c] & FileSquares8[entry.Of(c).passed];
    SquareSet behind = Backward<c>(pawns);
    behind |= Backward<c>(behind);
    behind |= Backward<c>(Backward<c>(behind));
    behind |= Backward<c>(Backward<c>(Backward<c>(Backward<c>(behind))));
    return pawns & ~behind;
}

}  // namespace

bool AllocatePawnTable(int bits) {
    FreePawnTable();
    if (bits < 0 || bits > kMaxPawnHashBits) return false;
    const std::size_t entries = std::size_t{1} << bits;
    // All zero: no structure has the key 0, 0.
    PawnHashTable.bytes = (entries + kSpareEntries) * sizeof(PawnEntry);
    PawnHashTable.entries = static_cast<PawnEntry*>(AllocateTable(PawnHashTable.bytes));
    PawnHashTable.mask = PawnHashTable.all = static_cast<std::uint32_t>(entries - 1);
    return PawnHashTable.entries != nullptr;
}

void FreePawnTable() {
    FreeTable(PawnHashTable.entries, PawnHashTable.bytes);
    PawnHashTable.entries = nullptr;
}

void NarrowPawnTable() {
    constexpr std::uint32_t kNarrow = (1 << 12) - 1;
    PawnHashTable.mask = std::min(PawnHashTable.all, kNarrow);
    std::fill_n(PawnHashTable.entries, PawnHashTable.mask + 1 + kSpareEntries,
                PawnEntry{});
}

void WidenPawnTable() { PawnHashTable.mask = PawnHashTable.all; }

int PawnTerms(Terms& t) {
    const bool none = (Board.Pawns[WHITE] | Board.Pawns[BLACK]) == 0;
    t.pawns = none ? &kNoPawns : &ProbePawns(t.endgame);
    t.passers[WHITE] = ForemostPassers<WHITE>(*t.pawns);
    t.passers[BLACK] = ForemostPassers<BLACK>(*t.pawns);
    t.pawnScore = t.pawns->score;
    if (!none) t.pawnScore += PawnsWithPieces(t);
    return t.pawnScore;
}
