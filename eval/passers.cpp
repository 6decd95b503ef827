// Passed pawns are found by the pawn pass and kept in the hash table as files; what
// depends on pieces, kings and the move is added here at every evaluation.
#include "eval/passers.h"

#include <algorithm>

#include "board/attacks.h"
#include "eval/endgame.h"
#include "eval/pawnentry.h"

namespace {

// Ranks count from the pawn's own side, its first rank is 0.
constexpr int kPasserPair[8] = {0, 0, 0, 12, 24, 48, 100, 0};  // [rank of the rear pawn]
constexpr int kPairRank = 5;        // both at least here: the pair is about to promote
constexpr int kPairUnits = 9;       // against fewer enemy units
constexpr int kAdvancedPair = 100;  // the king can reach one of the two
constexpr int kAdvancedPairFree = 200;  // it can reach neither

// [enemy units]: fewer pieces, better chances for outside passers.
constexpr int kOutsideWeight[21] = {96, 48, 48, 48, 45, 42, 40, 40, 36, 36, 32,
                                    32, 28, 28, 24, 24, 20, 20, 16, 16, 12};
constexpr int kGapWeight = 48;  // each file of distance, against no pieces
constexpr int kKingBetween = 150;

constexpr int kRookBehindFree = 40, kRookBehindBlocked = 20, kEnemyRookBehind = 12;
constexpr int kPasserOwnKing[8] = {0, 0, 0, 2, 12, 60, 100, 0};
constexpr int kPasserBlocked[8] = {0, 7, 11, 15, 30, 45, 60, 0};
constexpr int kSeveralUnits = 4;  // of the enemy: below it, several passers count
constexpr int kSeveralNoPieces = 80, kSeveralKnight = 15;

constexpr int kNoRunner = 99;  // moves to promotion of a side without a runner
constexpr int kWonRace = 500, kNarrowRace = 400;

// Pawn endings, [rank].
constexpr int kAllBlocked[8] = {0, 6, 12, 19, 150, 350, 600, 0};
constexpr int kAllImmobile[8] = {0, 6, 6, 12, 32, 64, 80, 0};
constexpr int kWinningPasser[8] = {0, 1, 1, 3, 4, 5, 6, 0};

bool IsToMove(int c) { return Board.SideToMove == c; }

// The square of the pawn: an enemy king outside it does not catch the pawn.
template <int c>
SquareSet CatchingSquares(int pawn) {
    return IsToMove(c) ? PawnSquare[c][pawn] : PawnSquareWide[c][pawn];
}

// ---- Structure with pieces ----

// Two passers side by side, far advanced ones more when the enemy is weak and has no man
// before them.
template <int c>
int PairTerm(int a, int b) {
    constexpr int e = 1 - c;
    const int rear = std::min(RelativeRank<c>(a), RelativeRank<c>(b));
    const int score = kPasserPair[rear];
    const SquareSet stops = Forward<c>(SquareMask(a) | SquareMask(b));
    if (rear < kPairRank || std::max(RelativeRank<c>(a), RelativeRank<c>(b)) > 6)
        return score;
    if (Board.Units[e] >= kPairUnits || (stops & Board.Occupied[e]) != 0) return score;
    const SquareSet reach = CatchingSquares<c>(a) | CatchingSquares<c>(b);
    return score + ((reach & Board.Kings[e]) == 0 ? kAdvancedPairFree : kAdvancedPair);
}

// Passed pawns on adjacent files, pair by pair from the h-side.
template <int c>
int ConnectedPassers(const Terms& t) {
    int score = 0;
    unsigned files = t.pawns->Of(c).passed;
    while (const int right = AdjacentPair8[files]) {
        const SquareSet a = t.passers[c] & FileSet(right),
                        b = t.passers[c] & FileSet(right - 1);
        // Two structures may share a key: the entry proves nothing about the board.
        if (a != 0 && b != 0) score += PairTerm<c>(LowestSquare(a), LowestSquare(b));
        files &= ~(2 * FileBit(right) - 1);
    }
    return score;
}

// Passers that lie outside the enemy pawns, or farther apart than the enemy's.
template <int c>
int OutsidePassers(int flags) {
    const int weight = kOutsideWeight[std::min(Board.Units[1 - c], 20)];
    if ((flags & kOutsidePassers[c]) != 0) return 2 * weight;
    return (flags & kOutsidePasser[c]) != 0 ? weight : 0;
}

// Passers of one side that lie farther apart than the other's, which one king cannot
// hold.
int WiderSpread(int flags) {
    constexpr int kSpread = 3;
    if ((flags & kWiderSpread[WHITE]) != 0)
        return kSpread * kOutsideWeight[std::min(Board.Units[BLACK], 20)];
    if ((flags & kWiderSpread[BLACK]) != 0)
        return -kSpread * kOutsideWeight[std::min(Board.Units[WHITE], 20)];
    return 0;
}

// In a pawn ending, the king stands between the other king and all pawns it could defend;
// the other king needs a step less to be cut off when it is not its move.
template <int c>
int KingBetween(const PawnEntry& pawns) {
    constexpr int e = 1 - c;
    const unsigned files = pawns.files[e];
    const int own = FileOf(Board.KingSquare[c]), other = FileOf(Board.KingSquare[e]);
    const int apart = IsToMove(c) ? 1 : 2;
    const bool left = other <= own - apart && (files == 0 || own < FromHigh8[files]);
    const bool right = other >= own + apart && (files == 0 || own > FromLow8[files]);
    return left || right ? kKingBetween : 0;
}

// Passers far apart against a side without pieces.
template <int c>
int WideGap(const PawnEntry& pawns) {
    if (Board.Units[1 - c] != 0) return 0;
    const int gap = WidestGap8[pawns.Of(c).passed | pawns.Of(c).candidates];
    return gap > 1 ? (gap - 1) * kGapWeight : 0;
}

// ---- Passed pawns ----

// A rook behind a passer with nothing between them, of either colour.
template <int c>
int RookBehind(int pawn, SquareSet stop) {
    constexpr int e = 1 - c;
    const SquareSet behind = FileAhead<e>(pawn);
    if ((behind & (Board.Rooks[c] | Board.Rooks[e])) == 0) return 0;
    const SquareSet seen = behind & RookLines(pawn);
    if ((seen & Board.Rooks[e]) != 0) return -kEnemyRookBehind;
    if ((seen & Board.Rooks[c]) == 0) return 0;
    return (stop & Board.Occupied[e]) == 0 ? kRookBehindFree : kRookBehindBlocked;
}

// One passer: rooks behind it, the own king before it, a man in its way.
template <int c>
int PasserTerm(int pawn) {
    const int rank = RelativeRank<c>(pawn);
    const SquareSet stop = Forward<c>(SquareMask(pawn));
    int score = RookBehind<c>(pawn, stop);
    if ((PasserZone<c>(pawn) & Board.Kings[c]) != 0) score += kPasserOwnKing[rank];
    if ((stop & AllOccupied()) != 0) score -= kPasserBlocked[rank];
    return score;
}

// More passers than a bare king, or a king and a knight, can watch.
template <int c>
int SeveralPassers(SquareSet passers) {
    constexpr int e = 1 - c;
    const int n = PopCount(passers);
    if (n < 2 || Board.Units[e] >= kSeveralUnits) return 0;
    if (Board.Units[e] == 0) return kSeveralNoPieces * (n - 1);
    return Board.Knights[e] != 0 ? kSeveralKnight * n : 0;
}

// All passers of one colour, races apart.
template <int c>
int PassersFor(SquareSet passers) {
    if (passers == 0) return 0;
    int score = SeveralPassers<c>(passers);
    for (SquareSet rest = passers; rest != 0;) score += PasserTerm<c>(TakeLowest(rest));
    return score;
}

// ---- Races ----

// The fastest passer that nobody stops; of equals the one on the lowest square.
struct Runner {
    int moves = kNoRunner;
    int square = 0;

    void Offer(int candidateMoves, int candidate) {
        if (candidateMoves > moves || (candidateMoves == moves && candidate > square))
            return;
        moves = candidateMoves;
        square = candidate;
    }
};

// A knight guards the promotion square or the pawn's next one, or stands there.
template <int c>
bool KnightsCatch(int pawn) {
    const SquareSet knights = Board.Knights[1 - c];
    const int stop = c == WHITE ? pawn + 8 : pawn - 8;
    const int promotion = SquareAt(FileOf(pawn), c == WHITE ? 7 : 0);
    return (knights &
            (KnightAttacks[promotion] | KnightAttacks[stop] | SquareMask(stop))) != 0;
}

// On a free path the table knows; past an enemy man the rule of the square has to do.
template <int c>
bool KingCatches(int pawn, SquareSet path) {
    constexpr int e = 1 - c;
    const int king = Board.KingSquare[e];
    if ((path & Board.Occupied[e]) == 0)
        return !PawnWinsAlone(c, pawn, Board.KingSquare[c], king, IsToMove(c));
    return (CatchingSquares<c>(pawn) & SquareMask(king)) != 0;
}

// Moves the pawn needs to promote, its own men in the way included. On a way free of
// those, a king that stands before it and yet comes too late saves it one; that of a pawn
// on its last step leaves 0.
template <int c>
int RunningMoves(int pawn, SquareSet path) {
    const int file = FileOf(pawn), rank = RelativeRank<c>(pawn);
    if ((file == 0 || file == 7) && (path & Board.Kings[c]) != 0) return kNoRunner;
    const int inTheWay = PopCount(path & Board.Occupied[c]);
    int moves = 7 - rank + inTheWay;
    if (IsToMove(c)) moves -= rank == 1 ? 2 : 1;
    if (inTheWay == 0 && (PasserZone<c>(pawn) & Board.Kings[1 - c]) != 0) --moves;
    return moves;
}

// Two passers apart: whichever the king goes for, the other runs, if neither stands in
// the other's square.
template <int c>
void OfferDistantPair(Runner& best, SquareSet clear) {
    int left = -1, right = -1;
    while (clear != 0) {
        const int pawn = TakeLowest(clear);
        if (left < 0 || FileOf(pawn) < FileOf(left)) left = pawn;
        if (right < 0 || FileOf(pawn) > FileOf(right)) right = pawn;
    }
    if (left < 0 || FileDistance(left, right) <= 1) return;
    const auto offer = [&](int pawn, int other) {
        if ((PawnSquare[c][pawn] & SquareMask(other)) != 0) return;
        best.Offer(std::min(7 - RelativeRank<c>(pawn), 5), pawn);
    };
    offer(left, right);
    offer(right, left);
}

// The runner of a colour against nothing but knights and the king.
template <int c>
Runner FindRunner(SquareSet passers) {
    constexpr int e = 1 - c;
    Runner best;
    // Only knights, or nothing, against the pawns.
    if (Board.Units[e] != PieceUnits[KNIGHT] * PopCount(Board.Knights[e])) return best;
    passers &= ~RelativeRankSet<c>(7);  // an edited pawn may stand there
    SquareSet clear = 0;
    for (SquareSet rest = passers; rest != 0;) {
        const int pawn = TakeLowest(rest);
        const SquareSet path = FileAhead<c>(pawn);
        if ((path & Board.Occupied[c]) == 0) clear |= SquareMask(pawn);
        const int moves = RunningMoves<c>(pawn, path);
        if (moves == kNoRunner || moves > best.moves) continue;
        if (KingCatches<c>(pawn, path) || KnightsCatch<c>(pawn)) continue;
        best.Offer(moves, pawn);
    }
    OfferDistantPair<c>(best, clear);
    return best;
}

// A queen on `from` attacks `to`, with only the kings in her way.
bool QueenSees(int from, int to) {
    const SquareSet kings = Board.Kings[WHITE] | Board.Kings[BLACK];
    return Direction[from][to] != 0 && (Between[from][to] & kings) == 0;
}

// Both sides promote, `c` first: its queen checks, or controls the other's promotion
// square where the king does not guard it.
template <int c>
bool PromotesWithEffect(const Runner& own, const Runner& other) {
    constexpr int e = 1 - c;
    const int queen = SquareAt(FileOf(own.square), c == WHITE ? 7 : 0);
    const int target = SquareAt(FileOf(other.square), e == WHITE ? 7 : 0);
    const int king = Board.KingSquare[e];
    return QueenSees(queen, king) ||
           (QueenSees(queen, target) && Distance[king][target] > 1);
}

// The sooner the promotion, the better: 10 centipawns a move.
int RaceValue(int base, int moves) { return base + (500 - 100 * moves) / 10; }

// Equally fast: the side to move promotes first, which counts if it has an effect.
int EqualRace(const Runner& white, const Runner& black) {
    if (IsToMove(WHITE))
        return PromotesWithEffect<WHITE>(white, black)
                   ? RaceValue(kNarrowRace, white.moves)
                   : 0;
    return PromotesWithEffect<BLACK>(black, white) ? -RaceValue(kNarrowRace, black.moves)
                                                   : 0;
}

// Unstoppable passers; with one on either side, the race between them.
int PawnRace(const Terms& t) {
    const Runner white = FindRunner<WHITE>(t.passers[WHITE]);
    const Runner black = FindRunner<BLACK>(t.passers[BLACK]);
    const int ahead = black.moves - white.moves;
    if (ahead == 0) return white.moves == kNoRunner ? 0 : EqualRace(white, black);
    if (ahead > 0) return RaceValue(ahead >= 2 ? kWonRace : kNarrowRace, white.moves);
    return -RaceValue(ahead <= -2 ? kWonRace : kNarrowRace, black.moves);
}

// ---- Pawn endings ----

// The other side's pawns cannot move: zugzwang makes its king give way.
template <int c>
int WinningPassers(const Terms& t) {
    constexpr int e = 1 - c;
    if (Board.Pawns[e] == 0 || t.passers[e] != 0) return 0;
    const SquareSet pawns = Board.Pawns[WHITE] | Board.Pawns[BLACK];
    const SquareSet unblocked = Board.Pawns[e] & ~Backward<e>(pawns);
    const SquareSet safe =
        ~(PawnCover<c>(Board.Pawns[c]) & ~PawnCover<e>(Board.Pawns[e]));
    const bool immobile =
        (Forward<e>(unblocked) & safe) == 0 && (t.pawns->flags & EndingFlagsOf(e)) == 0;
    int score = 0;
    for (SquareSet rest = t.passers[c]; rest != 0;) {
        const int pawn = TakeLowest(rest), rank = RelativeRank<c>(pawn);
        if ((FileAhead<c>(pawn) & Board.Pawns[c]) != 0 ||
            !PawnWins(c, pawn, Board.KingSquare[c], Board.KingSquare[e], IsToMove(c)))
            continue;
        score += kWinningPasser[rank];
        if (unblocked == 0) score += kAllBlocked[rank];
        if (immobile) score += kAllImmobile[rank];
    }
    return score;
}

}  // namespace

int PawnsWithPieces(const Terms& t) {
    const int flags = t.pawns->flags;
    int score = ConnectedPassers<WHITE>(t) - ConnectedPassers<BLACK>(t);
    if (flags != 0)
        score += OutsidePassers<WHITE>(flags) - OutsidePassers<BLACK>(flags) +
                 WiderSpread(flags);
    if (!t.endgame) return score;
    if (Board.Units[WHITE] + Board.Units[BLACK] == 0)
        return score + KingBetween<WHITE>(*t.pawns) - KingBetween<BLACK>(*t.pawns);
    return score + WideGap<WHITE>(*t.pawns) - WideGap<BLACK>(*t.pawns);
}

int PasserTerms(const Terms& t) {
    int score = PassersFor<WHITE>(t.passers[WHITE]) - PassersFor<BLACK>(t.passers[BLACK]);
    score += PawnRace(t);
    if (Board.Units[WHITE] + Board.Units[BLACK] == 0)
        score += WinningPassers<WHITE>(t) - WinningPassers<BLACK>(t);
    return score;
}
