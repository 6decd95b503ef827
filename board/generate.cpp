// Move generation. Everything that depends on the side to move is a template over it, so
// that ranks and directions are constants in the inner loops. The order in which moves
// appear is part of the search's behaviour: equal scores keep it.
#include "board/generate.h"

#include <cstdlib>

#include "board/attacks.h"

GeneratedMoves Generated;
SearchLine Line;
MoveOrdering Ordering;

namespace {

// Capture scores are victim less attacker in units far above the exchange values in
// centipawns, which losing and even captures get.
constexpr std::int32_t kScoreUnit = 65536;
constexpr std::int32_t kEnPassantScore = 900 * kScoreUnit;
constexpr std::int32_t kHashMoveScore = -1000000;

// Two orders, both part of what the search sees: evasions by capture try the rook before
// the knight.
constexpr int kPromotions[4] = {QUEEN, KNIGHT, ROOK, BISHOP};
constexpr int kEvasionPromotions[4] = {QUEEN, ROOK, KNIGHT, BISHOP};

// Where pawns of a colour stand and go. `corner` is the one square of the last rank that
// the unconditional promotion captures leave out.
// Ranks are rank indices 0..7, as RankOf gives them.
template <int S>
struct PawnGeometry;
template <>
struct PawnGeometry<WHITE> {
    static constexpr int forward = 8;
    static constexpr int secondRank = 1, fifthRank = 4, seventhRank = 6;
    static constexpr SquareSet promotionTargets = RankSet(7) & ~SquareMask(H8);
};
template <>
struct PawnGeometry<BLACK> {
    static constexpr int forward = -8;
    static constexpr int secondRank = 6, fifthRank = 3, seventhRank = 1;
    static constexpr SquareSet promotionTargets = RankSet(0) & ~SquareMask(H1);
};

// White's pawns are taken lowest square first, Black's highest first, as each player
// reads his own from the back rank on.
template <int S>
inline int TakePawn(SquareSet& pawns) {
    return S == WHITE ? TakeLowest(pawns) : TakeHighest(pawns);
}

inline void Append(Move m) { Generated.MoveStack[Generated.MoveStackTop++] = m; }

// The captured man is read off the board, so that it is EMPTY for a quiet move.
inline void AppendTo(int from, int piece, SquareSet targets) {
    while (targets != 0) {
        const int to = TakeLowest(targets);
        Append(MakeWord(from, to, piece, Board.Piece[to]));
    }
}

// Moves of all men of one kind to the target squares.
template <typename Attacks>
inline void AppendPieceMoves(SquareSet men, int piece, SquareSet targets,
                             Attacks attacks) {
    while (men != 0) {
        const int from = TakeLowest(men);
        AppendTo(from, piece, attacks(from) & targets);
    }
}

inline SquareSet KnightSquares(int square) { return KnightAttacks[square]; }

// One pawn move for each piece, all onto `to`, which a capture leaves occupied for them
// all.
inline void AppendPromotions(int from, int to, const int (&order)[4]) {
    for (const int promotion : order)
        Append(MakeWord(from, to, PAWN, Board.Piece[to], promotion));
}

// The two neighbours of the pawn on `t` that could take it en passant, left one first.
template <int S>
inline void AppendEnPassant(int t) {
    const int to = t + PawnGeometry<S>::forward;
    if (FileOf(t) != 0 && (Board.Pawns[S] & SquareMask(t - 1)) != 0)
        Append(MakeWord(t - 1, to, PAWN, EMPTY));
    if (FileOf(t) != 7 && (Board.Pawns[S] & SquareMask(t + 1)) != 0)
        Append(MakeWord(t + 1, to, PAWN, EMPTY));
}

// The last move was a pawn's double step towards S.
template <int S>
inline bool LastMoveWasDoubleStep(Move last) {
    return Moving(last) == PAWN && From(last) - To(last) == 2 * PawnGeometry<S>::forward;
}

// Pawns, en passant, then the pieces by rising value. With the quiescence search's
// restricted targets pawns still capture anything on the last rank, since promoting is a
// gain of its own; the corner that is left out stays out.
template <int S>
void GenerateCapturesOf(SquareSet targets) {
    constexpr int O = ChangeSide(S);
    using Geometry = PawnGeometry<S>;
    const SquareSet pawnTargets =
        targets | (Board.Occupied[O] & Geometry::promotionTargets);
    // A pawn can take from wherever an enemy pawn on a target could.
    for (SquareSet pawns = Board.Pawns[S] & PawnCover<O>(pawnTargets); pawns != 0;) {
        const int from = TakePawn<S>(pawns);
        // A set: the left and the right capture come in square order.
        SquareSet to = PawnAttacks[S][from] & pawnTargets;
        if (RankOf(from) == Geometry::seventhRank)
            while (to != 0) AppendPromotions(from, TakeLowest(to), kPromotions);
        else
            AppendTo(from, PAWN, to);
    }
    const Move last = LastMove();
    if (LastMoveWasDoubleStep<S>(last)) AppendEnPassant<S>(To(last));
    AppendPieceMoves(Board.Knights[S], KNIGHT, targets, KnightSquares);
    AppendPieceMoves(Board.Bishops[S], BISHOP, targets, BishopLines);
    AppendPieceMoves(Board.Rooks[S], ROOK, targets, RookLines);
    AppendPieceMoves(Board.Queens[S], QUEEN, targets, QueenLines);
    const int king = Board.KingSquare[S];
    AppendTo(king, KING, KingAttacks[king] & targets);
}

// King's home, squares that must be empty and, in this order, not attacked.
struct CastlingWing {
    Move word;
    int rook;
    SquareSet empty;
    int crossed, target;
};
// [colour]; the long wing's knight square must be empty but may be attacked.
constexpr CastlingWing kShortWing[2] = {
    {CASTLE_WHITE_SHORT, H1, SquareMask(F1) | SquareMask(G1), F1, G1},
    {CASTLE_BLACK_SHORT, H8, SquareMask(F8) | SquareMask(G8), F8, G8},
};
constexpr CastlingWing kLongWing[2] = {
    {CASTLE_WHITE_LONG, A1, SquareMask(D1) | SquareMask(C1) | SquareMask(B1), D1, C1},
    {CASTLE_BLACK_LONG, A8, SquareMask(D8) | SquareMask(C8) | SquareMask(B8), D8, C8},
};
constexpr int kKingHome[2] = {E1, E8};

// The king's own square is not asked: whether it is in check is the caller's business.
template <int S>
inline bool CanCastle(const CastlingWing& wing, int cornerFlag) {
    constexpr int O = ChangeSide(S);
    return cornerFlag == 0 && (AllOccupied() & wing.empty) == 0 &&
           (Board.Rooks[S] & SquareMask(wing.rook)) != 0 &&
           !IsAttacked(O, wing.crossed) && !IsAttacked(O, wing.target);
}
template <int S>
inline bool KingIsHome() {
    return (S == WHITE ? Board.WK : Board.BK) == 0 && Board.KingSquare[S] == kKingHome[S];
}
template <int S>
inline bool CanCastleShort() {
    return KingIsHome<S>() &&
           CanCastle<S>(kShortWing[S], S == WHITE ? Board.H1 : Board.H8);
}
template <int S>
inline bool CanCastleLong() {
    return KingIsHome<S>() &&
           CanCastle<S>(kLongWing[S], S == WHITE ? Board.A1 : Board.A8);
}

// Single before double step for each pawn.
template <int S>
inline void AppendPawnPushes(SquareSet empty) {
    using Geometry = PawnGeometry<S>;
    for (SquareSet pawns = Board.Pawns[S] & Backward<S>(empty); pawns != 0;) {
        const int from = TakePawn<S>(pawns);
        const int one = from + Geometry::forward;
        if (RankOf(from) == Geometry::seventhRank) {
            AppendPromotions(from, one, kPromotions);
            continue;
        }
        Append(MakeWord(from, one, PAWN, EMPTY));
        const int two = one + Geometry::forward;
        if (RankOf(from) == Geometry::secondRank && (empty & SquareMask(two)) != 0)
            Append(MakeWord(from, two, PAWN, EMPTY));
    }
}

// Castling, knights, bishops, pawns, rooks, queens, king: the order in which moves
// without a history score are tried.
template <int S>
void GenerateQuietOf(bool castling) {
    const SquareSet empty = ~AllOccupied();
    if (castling) {
        if (CanCastleShort<S>()) Append(kShortWing[S].word);
        if (CanCastleLong<S>()) Append(kLongWing[S].word);
    }
    AppendPieceMoves(Board.Knights[S], KNIGHT, empty, KnightSquares);
    AppendPieceMoves(Board.Bishops[S], BISHOP, empty, BishopLines);
    AppendPawnPushes<S>(empty);
    AppendPieceMoves(Board.Rooks[S], ROOK, empty, RookLines);
    AppendPieceMoves(Board.Queens[S], QUEEN, empty, QueenLines);
    const int king = Board.KingSquare[S];
    AppendTo(king, KING, KingAttacks[king] & empty);
}

// A killer was pseudo-legal in a sibling position. There its men may have gone or been
// blocked, so that placement, a slider's way and castling's conditions are tested; a
// leaper's or single pawn step's geometry has not changed.
template <int S>
bool KillerIsValid(Move m) {
    const int from = From(m), to = To(m), piece = Moving(m);
    if (piece == KING && from == kKingHome[S]) {
        if (m == kShortWing[S].word) return CanCastleShort<S>();
        if (m == kLongWing[S].word) return CanCastleLong<S>();
    }
    if (Board.Piece[from] != piece || Board.Piece[to] != Captured(m) ||
        (Board.Occupied[S] & SquareMask(from)) == 0 ||
        (Board.Occupied[S] & SquareMask(to)) != 0)
        return false;
    switch (piece) {
        case PAWN:
            return std::abs(to - from) != 16 || Board.Piece[(from + to) / 2] == EMPTY;
        case BISHOP:
            return (BishopLines(from) & SquareMask(to)) != 0;
        case ROOK:
            return (RookLines(from) & SquareMask(to)) != 0;
        case QUEEN:
            return (QueenLines(from) & SquareMask(to)) != 0;
        default:
            return true;
    }
}

// Ordering score of the capture at `i` of a list that began at `start`. Captures of one
// man by like men score alike, which saves exchange evaluations.
// The hash move has been searched before the stage began: it goes to the end, where it is
// skipped. Exchange values are in centipawns and thus far below any winning capture.
std::int32_t CaptureScore(int i, int start, Move hashMove) {
    const Move m = Generated.MoveStack[i];
    if (m == hashMove) return kHashMoveScore;
    if (i > start) {
        const Move previous = Generated.MoveStack[i - 1];
        if (To(m) == To(previous) &&
            OrderClass[Moving(m)] == OrderClass[Moving(previous)])
            return Generated.MoveScores[i - 1];
    }
    const std::int32_t victim = PieceValue[Captured(m)] * kScoreUnit;
    const std::int32_t attacker = PieceValue[Moving(m)] * kScoreUnit;
    if (victim == 0) return kEnPassantScore;
    // Taking a more valuable man wins whatever follows: no exchange needs to be
    // evaluated.
    if (attacker < victim) return victim - attacker;
    return StaticExchange(To(m), From(m));
}

// ---- Evasions ----

// Fills Line.CheckerSquare at the node's ply, which the later evasion stages read.
template <int S>
void FindCheckers() {
    constexpr int O = ChangeSide(S);
    SquareSet checkers = AttackersOf(Board.KingSquare[S]) & Board.Occupied[O];
    // In check as the search knows it; a position set up otherwise counts as double
    // check.
    int checker = kSeveralCheckers;
    if (checkers != 0) {
        checker = TakeLowest(checkers);
        if (checkers != 0) checker = kSeveralCheckers;
    }
    Line.CheckerSquare[Line.Ply] = static_cast<std::uint8_t>(checker);
}

// Captures of the single checker, each kind of man looked up from its square. En passant
// comes first when the checker is the pawn that has just made its double step.
template <int S>
void GenerateCheckerCaptures() {
    using Geometry = PawnGeometry<S>;
    const int c = Line.CheckerSquare[Line.Ply];
    const SquareSet target = SquareMask(c);
    const Move last = LastMove();
    if (Board.Piece[c] == PAWN && RankOf(c) == Geometry::fifthRank && To(last) == c &&
        LastMoveWasDoubleStep<S>(last))
        AppendEnPassant<S>(c);
    for (SquareSet pawns = PawnAttacks[ChangeSide(S)][c] & Board.Pawns[S]; pawns != 0;) {
        const int from = TakeLowest(pawns);
        if (RankOf(c) == 0 || RankOf(c) == 7)
            AppendPromotions(from, c, kEvasionPromotions);
        else
            Append(MakeWord(from, c, PAWN, Board.Piece[c]));
    }
    for (SquareSet knights = KnightAttacks[c] & Board.Knights[S]; knights != 0;)
        Append(MakeWord(TakeLowest(knights), c, KNIGHT, Board.Piece[c]));
    const int king = Board.KingSquare[S];
    AppendTo(king, KING, KingAttacks[king] & target);
    for (SquareSet bishops = BishopLines(c) & Board.Bishops[S]; bishops != 0;)
        Append(MakeWord(TakeLowest(bishops), c, BISHOP, Board.Piece[c]));
    for (SquareSet rooks = RookLines(c) & Board.Rooks[S]; rooks != 0;)
        Append(MakeWord(TakeLowest(rooks), c, ROOK, Board.Piece[c]));
    for (SquareSet queens = QueenLines(c) & Board.Queens[S]; queens != 0;)
        Append(MakeWord(TakeLowest(queens), c, QUEEN, Board.Piece[c]));
}

// A square ahead of a pawn on the last rank does not exist: only editing and FEN put
// pawns there.
constexpr bool IsInside(int square) { return square >= 0 && square < 64; }

// Moves onto the squares between a single checking slider and the king. Pawns go lowest
// square first for both colours here.
template <int S>
void GenerateInterpositions() {
    using Geometry = PawnGeometry<S>;
    const SquareSet between = Between[Line.CheckerSquare[Line.Ply]][Board.KingSquare[S]];
    if (between == 0) return;
    for (SquareSet pawns = Board.Pawns[S]; pawns != 0;) {
        const int from = TakeLowest(pawns);
        const int one = from + Geometry::forward;
        if (!IsInside(one)) continue;
        if ((between & SquareMask(one)) != 0) {
            if (RankOf(from) == Geometry::seventhRank)
                AppendPromotions(from, one, kPromotions);
            else
                Append(MakeWord(from, one, PAWN, EMPTY));
        }
        const int two = one + Geometry::forward;
        if (RankOf(from) == Geometry::secondRank && Board.Piece[one] == EMPTY &&
            (between & SquareMask(two)) != 0)
            Append(MakeWord(from, two, PAWN, EMPTY));
    }
    AppendPieceMoves(Board.Bishops[S], BISHOP, between, BishopLines);
    AppendPieceMoves(Board.Knights[S], KNIGHT, between, KnightSquares);
    AppendPieceMoves(Board.Rooks[S], ROOK, between, RookLines);
    AppendPieceMoves(Board.Queens[S], QUEEN, between, QueenLines);
}

// The king's steps, attacked squares included: the search tests its king after the move.
// The king's capture of a single checker is among the captures of it, not here; in double
// check captures are here.
template <int S>
void GenerateKingEvasions() {
    const int king = Board.KingSquare[S];
    SquareSet targets = KingAttacks[king] & ~Board.Occupied[S];
    if (Line.CheckerSquare[Line.Ply] != kSeveralCheckers)
        targets &= ClearMask(Line.CheckerSquare[Line.Ply]);
    AppendTo(king, KING, targets);
}

// GenerateStage for a side in check: captures of the checker, king moves, interpositions.
// In double check only the king can move. An empty group falls through to the next one.
template <int S>
int GenerateEvasionStage(int stage) {
    const int start = Generated.MoveStackTop;
    if (stage >= kFirstStage) FindCheckers<S>();
    const int checker = Line.CheckerSquare[Line.Ply];
    if (stage > kCaptureStage && checker != kSeveralCheckers) {
        GenerateCheckerCaptures<S>();
        if (Generated.MoveStackTop > start) return kCaptureStage;
    }
    if (stage >= kCaptureStage) {
        GenerateKingEvasions<S>();
        if (Generated.MoveStackTop > start) return kKillerStage;
    }
    if (stage >= kKillerStage && checker != kSeveralCheckers &&
        IsSlider(Board.Piece[checker])) {
        GenerateInterpositions<S>();
        if (Generated.MoveStackTop > start) return kQuietStage;
    }
    return kNoMoreStages;
}

// ---- Quiescence ----

// Enemy men worth at least the threshold, in centipawns. The king always: that it can be
// taken proves the move before illegal.
SquareSet QuiesceTargets(int threshold, int O) {
    SquareSet targets = Board.Queens[O] | Board.Kings[O];
    if (threshold <= PieceValue[ROOK]) targets |= Board.Rooks[O];
    if (threshold <= PieceValue[BISHOP]) targets |= Board.Bishops[O] | Board.Knights[O];
    if (threshold <= PieceValue[PAWN]) targets |= Board.Pawns[O];
    return targets;
}

// The quiescence search looks at no other promotion that captures nothing:
// underpromotions rarely decide and would widen every node.
template <int S>
void AppendQueenPushes() {
    using Geometry = PawnGeometry<S>;
    const SquareSet empty = ~AllOccupied();
    for (SquareSet pawns = Board.Pawns[S] & RankSet(Geometry::seventhRank); pawns != 0;) {
        const int from = TakeLowest(pawns);
        const int to = from + Geometry::forward;
        if ((empty & SquareMask(to)) != 0) Append(MakeWord(from, to, PAWN, EMPTY, QUEEN));
    }
}

// The exchange value last computed, which serves for captures of the same man by like
// men.
struct LastExchange {
    int to = -1, orderClass = -1, value = 0;

    int Of(Move m) {
        const int moverClass = OrderClass[Moving(m)];
        if (To(m) != to || moverClass != orderClass) {
            to = To(m);
            orderClass = moverClass;
            value = StaticExchange(To(m), From(m));
        }
        return value;
    }
};

// Generates, filters and scores in place: kept moves are moved down over dropped ones. A
// capture by a less valuable man scores its victim without an exchange evaluation; others
// must not lose material. The two forms differ in the hash move and in the reuse of
// exchange values, whose results may differ between like men behind different lines.
template <bool inner>
bool GenerateQuiesce(int threshold, Move hashMove) {
    const int start = Generated.MoveStackTop;
    const int O = ChangeSide(Board.SideToMove);
    GenerateCaptures(QuiesceTargets(threshold, O));
    if (Board.SideToMove == WHITE)
        AppendQueenPushes<WHITE>();
    else
        AppendQueenPushes<BLACK>();

    const SquareSet pawnCover = O == WHITE ? PawnCover<WHITE>(Board.Pawns[WHITE])
                                           : PawnCover<BLACK>(Board.Pawns[BLACK]);
    // Within one list only: the board is the same for all its moves.
    LastExchange last;
    int kept = start;
    const auto keep = [&kept](Move m, int score) {
        Generated.MoveStack[kept] = m;
        Generated.MoveScores[kept] = score;
        ++kept;
    };
    for (int i = start; i < Generated.MoveStackTop; ++i) {
        const Move m = Generated.MoveStack[i];
        // At its first node the quiescence search has tried the hash move already.
        if (!inner && m == hashMove) continue;
        if (Captured(m) == KING) return true;
        const bool enPassant = !CapturesOrPromotes(m);
        const int victim = enPassant ? PieceValue[PAWN] : PieceValue[Captured(m)];
        const int gain = victim + PieceValue[Promotion(m)];
        if (gain < threshold) continue;
        const int attacker = PieceValue[Moving(m)];
        // With nothing to gain yet an even trade needs no proof either.
        if (attacker < victim || (threshold < 1 && attacker == victim)) {
            keep(m, victim);
        } else if (Promotion(m) == 0) {
            // A pawn takes back, and taking it in turn does not make up for the loss. The
            // value kept until now is of another capture and no longer the last one.
            if (attacker > victim + PieceValue[PAWN] &&
                (pawnCover & SquareMask(To(m))) != 0) {
                last = {};
                continue;
            }
            const int exchange = inner ? last.Of(m) : StaticExchange(To(m), From(m));
            if (exchange >= 0) keep(m, exchange);
        } else {
            keep(m, gain);
        }
    }
    Generated.MoveStackTop = kept;
    if (kept - start > 1) SortMoves(start, kept);
    return false;
}

// ---- Legal moves ----

// Own men between the king and an enemy slider on its line: they may move along it only.
SquareSet PinnedMen(int S) {
    const int O = ChangeSide(S), king = Board.KingSquare[S];
    const SquareSet straight = Board.StraightSliders & Board.Occupied[O];
    const SquareSet diagonal = Board.DiagonalSliders & Board.Occupied[O];
    const int file = FileOf(king), rank = RankOf(king);
    // Sliders that would reach the king's square on an empty board.
    SquareSet snipers = (straight & (RankSet(rank) | FileSet(file))) |
                        (diagonal & BishopAttacks(king, 0));
    SquareSet pinned = 0;
    while (snipers != 0) {
        const SquareSet men = Between[TakeLowest(snipers)][king] & AllOccupied();
        // A single man in between is pinned if it is an own one.
        if (men != 0 && (men & (men - 1)) == 0) pinned |= men & Board.Occupied[S];
    }
    return pinned;
}

// The slow and certain test, for evasions and en passant, where two men leave one rank.
bool LeavesKingSafe(Move m, int S) {
    MakeMove(m);
    const bool safe = !IsAttacked(ChangeSide(S), Board.KingSquare[S]);
    UnmakeMove();
    return safe;
}

// For a side not in check: only king moves, moves of pinned men off the line and en
// passant can expose the king. Castling has had its squares tested.
// The king's step is tested with the king still on its square: that hides no attack,
// since a slider behind it would be giving check now.
bool IsLegalOutOfCheck(Move m, int S, SquareSet pinned) {
    const int from = From(m), to = To(m);
    if (Moving(m) == KING)
        return FileDistance(from, to) == 2 || !IsAttacked(ChangeSide(S), to);
    if ((pinned & SquareMask(from)) != 0) {
        const int king = Board.KingSquare[S];
        // On the same line and on the same side of the king; a knight never is.
        if (Direction[from][king] != Direction[to][king]) return false;
    }
    return !IsEnPassant(m) || LeavesKingSafe(m, S);
}

// ---- Sorting ----

// Score above, move below: exchanged as one.
using ScoredMove = std::int64_t;

// Multiplied, not shifted, since scores may be negative.
inline ScoredMove Load(int i) {
    return static_cast<ScoredMove>(Generated.MoveScores[i]) * (ScoredMove{1} << 32) +
           Generated.MoveStack[i];
}
inline void Store(int i, ScoredMove entry) {
    Generated.MoveStack[i] = static_cast<Move>(entry);
    Generated.MoveScores[i] = static_cast<std::int32_t>(entry >> 32);
}

// What a pass does at each entry: it takes the entry along when its score is strictly
// above the one carried, and leaves that one there instead. Free of branches.
inline ScoredMove CarryPast(ScoredMove& carried, ScoredMove entry) {
    constexpr ScoredMove kMovePart = 0xFFFFFFFF;
    const ScoredMove before = carried;
    const bool above = entry > (before | kMovePart);
    carried = above ? entry : before;
    return above ? before : entry;
}

}  // namespace

void GenerateCaptures(SquareSet targets) {
    if (Board.SideToMove == WHITE)
        GenerateCapturesOf<WHITE>(targets);
    else
        GenerateCapturesOf<BLACK>(targets);
}

void GenerateQuiet() {
    if (Board.SideToMove == WHITE)
        GenerateQuietOf<WHITE>(true);
    else
        GenerateQuietOf<BLACK>(true);
}

// A valid killer may still leave the king attacked, as every pseudo-legal move may.
void AddKillerIfValid(Move m) {
    const bool valid =
        Board.SideToMove == WHITE ? KillerIsValid<WHITE>(m) : KillerIsValid<BLACK>(m);
    if (valid) Append(m);
}

bool FitsPosition(Move m) {
    const int S = Board.SideToMove, from = From(m), to = To(m), piece = Moving(m);
    if (piece == EMPTY || Board.Piece[from] != piece || Board.Piece[to] != Captured(m) ||
        (Board.Occupied[S] & SquareMask(from)) == 0 ||
        (Board.Occupied[S] & SquareMask(to)) != 0 || Captured(m) == KING)
        return false;
    if (piece == KING && from == kKingHome[S]) {
        for (const CastlingWing& wing : {kShortWing[S], kLongWing[S]})
            if (m == wing.word)
                return (AllOccupied() & wing.empty) == 0 &&
                       (Board.Rooks[S] & SquareMask(wing.rook)) != 0;
    }
    if (piece != PAWN) return Promotion(m) == EMPTY;
    const bool lastRank = RankOf(to) == (S == WHITE ? 7 : 0);
    const int promotion = Promotion(m);
    const bool promotes = promotion == QUEEN || promotion == ROOK ||
                          promotion == BISHOP || promotion == KNIGHT;
    return !IsEnPassant(m) && promotes == lastRank && promotes == (promotion != EMPTY);
}

// A group that turns out empty falls through to the next, so that the caller never gets
// an empty one before the end.
int GenerateGroup(int stage) {
    const int start = Generated.MoveStackTop;
    const int S = Board.SideToMove;
    if (Line.InCheckAt[Line.Ply] != 0)
        return S == WHITE ? GenerateEvasionStage<WHITE>(stage)
                          : GenerateEvasionStage<BLACK>(stage);
    if (stage > kCaptureStage) {
        GenerateCaptures(Board.Occupied[ChangeSide(S)]);
        if (Generated.MoveStackTop > start) return kCaptureStage;
    }
    if (stage >= kCaptureStage) {
        if (Ordering.Killer1[S][Line.Ply] != 0)
            AddKillerIfValid(Ordering.Killer1[S][Line.Ply]);
        if (Ordering.Killer2[S][Line.Ply] != 0)
            AddKillerIfValid(Ordering.Killer2[S][Line.Ply]);
        if (Generated.MoveStackTop > start) return kKillerStage;
    }
    if (stage >= kKillerStage) {
        GenerateQuiet();
        if (Generated.MoveStackTop > start) return kQuietStage;
    }
    return kNoMoreStages;
}

void ScoreGroup(int stage, int start, Move hashMove) {
    if (Line.InCheckAt[Line.Ply] != 0) return;
    const auto S = static_cast<std::size_t>(Board.SideToMove);
    if (stage == kCaptureStage)
        for (int i = start; i < Generated.MoveStackTop; ++i)
            Generated.MoveScores[i] = CaptureScore(i, start, hashMove);
    else if (stage == kQuietStage)
        for (int i = start; i < Generated.MoveStackTop; ++i)
            Generated.MoveScores[i] =
                Ordering.HistoryTable[FromTo(Generated.MoveStack[i]) * 2 + S];
}

int GenerateStage(int stage, Move hashMove) {
    const int start = Generated.MoveStackTop;
    const int generated = GenerateGroup(stage);
    ScoreGroup(generated, start, hashMove);
    return generated;
}

bool GenerateQuiesceCaptures(int threshold, Move hashMove) {
    return GenerateQuiesce<false>(threshold, hashMove);
}

bool GenerateQuiesceCapturesInner(int threshold) {
    return GenerateQuiesce<true>(threshold, NO_MOVE);
}

// Out of check pins are found once and most moves need no test by making them; in check,
// where few moves are legal, every one is made. Perft measures this function.
void GenerateLegalMoves(int start) {
    Generated.MoveStackTop = start;
    if (!HasBothKings()) return;
    const int S = Board.SideToMove, O = ChangeSide(S);
    const bool inCheck = IsAttacked(O, Board.KingSquare[S]);
    // A king that could be taken, which only editing sets up, stays on the board.
    GenerateCaptures(Board.Occupied[O] & ~Board.Kings[O]);
    if (S == WHITE)
        GenerateQuietOf<WHITE>(!inCheck);
    else
        GenerateQuietOf<BLACK>(!inCheck);
    const SquareSet pinned = inCheck ? 0 : PinnedMen(S);
    int kept = start;
    for (int i = start; i < Generated.MoveStackTop; ++i) {
        const Move m = Generated.MoveStack[i];
        if (Captured(m) == KING) continue;
        if (inCheck ? LeavesKingSafe(m, S) : IsLegalOutOfCheck(m, S, pinned))
            Generated.MoveStack[kept++] = m;
    }
    Generated.MoveStackTop = kept;
}

// Four passes at once: each entry is loaded and stored once instead of four times.
void SelectMoves(int first, int end) {
    static_assert(kSelectedAtOnce == 4);
    if (end - first < kSelectedAtOnce) {
        for (; first + 1 < end; ++first) {
            ScoredMove a = Load(first);
            for (int j = first + 1; j < end; ++j) Store(j, CarryPast(a, Load(j)));
            Store(first, a);
        }
        return;
    }
    // Each pass follows one entry behind the pass before it.
    ScoredMove a = Load(first);
    ScoredMove b = CarryPast(a, Load(first + 1));
    ScoredMove c = CarryPast(b, CarryPast(a, Load(first + 2)));
    ScoredMove d = CarryPast(c, CarryPast(b, CarryPast(a, Load(first + 3))));
    for (int j = first + 4; j < end; ++j)
        Store(j, CarryPast(d, CarryPast(c, CarryPast(b, CarryPast(a, Load(j))))));
    Store(first, a);
    Store(first + 1, b);
    Store(first + 2, c);
    Store(first + 3, d);
}

void SortMoves(int start, int end) {
    for (; start + 1 < end; start += kSelectedAtOnce) SelectMoves(start, end);
}
