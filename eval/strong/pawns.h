// Pawn structure, and passed pawns with what stands about them.
#pragma once

#include "eval/strong/attacks.h"
#include "eval/strong/sum.h"

template <int c>
constexpr int kAhead = c == WHITE ? 8 : -8;

// Squares behind or beside on the adjacent files, from where a pawn could come to help.
template <int c>
SquareSet Helpers(int square) {
    const SquareSet behind = c == WHITE ? AdjacentBelow[square] : AdjacentAbove[square];
    const SquareSet beside = AdjacentFiles[square] & RankSet(RankOf(square));
    return (behind | beside) & Board.Pawns[c];
}

template <int c, class Sum>
void AddPasser(const AttackSets& sets, int square, bool attended, Sum& sum) {
    constexpr int e = 1 - c;
    const int rank = RelativeRank<c>(square), next = square + kAhead<c>;
    const SquareSet ahead = FileAhead<c>(square), step = SquareMask(next);
    sum.template Add<c>(kWeights.passer[rank]);
    const int file = FileOf(square);
    sum.template Add<c>(kWeights.passerOnFile[file < 4 ? file : 7 - file]);
    sum.template Add<c>(
        kWeights.passerOwnKing[rank][Distance[next][Board.KingSquare[c]]]);
    sum.template Add<c>(
        kWeights.passerEnemyKing[rank][Distance[next][Board.KingSquare[e]]]);
    if ((step & AllOccupied()) == 0) sum.template Add<c>(kWeights.passerFree[rank]);
    if ((step & sets.all[e]) == 0) sum.template Add<c>(kWeights.passerSafe[rank]);
    if ((ahead & (AllOccupied() | sets.all[e])) == 0)
        sum.template Add<c>(kWeights.passerRun[rank]);
    if ((sets.by[c][PAWN] & SquareMask(square)) != 0)
        sum.template Add<c>(kWeights.passerDefended[rank]);
    if (attended) sum.template Add<c>(kWeights.passerPair[rank]);
    const SquareSet behind = FileAhead<e>(square);
    if ((behind & (Board.Rooks[c] | Board.Rooks[e])) != 0) {
        const SquareSet seen = behind & RookLines(square);
        if ((seen & Board.Rooks[c]) != 0) sum.template Add<c>(kWeights.rookBehind[0]);
        if ((seen & Board.Rooks[e]) != 0) sum.template Add<c>(kWeights.rookBehind[1]);
    }
}

// Neighbours, or the want of them.
template <int c, class Sum>
void AddStructure(int square, Sum& sum) {
    constexpr int e = 1 - c;
    const SquareSet own = Board.Pawns[c], other = Board.Pawns[e];
    const int rank = RelativeRank<c>(square), open = (FileAhead<c>(square) & other) == 0;
    const SquareSet neighbours = AdjacentFiles[square] & own;
    const bool beside = (neighbours & RankSet(RankOf(square))) != 0;
    const bool defended = (PawnAttacks[e][square] & own) != 0;
    const bool doubled = (FileAhead<c>(square) & own) != 0;
    if (beside) sum.template Add<c>(kWeights.phalanx[rank]);
    if (defended) sum.template Add<c>(kWeights.defended[rank]);
    if (neighbours == 0) sum.template Add<c>(kWeights.isolated[open]);
    if (doubled) sum.template Add<c>(kWeights.doubled[neighbours != 0 ? 1 : 0]);
    if (neighbours != 0 && !beside && Helpers<c>(square) == 0 &&
        (PawnAttacks[c][square + kAhead<c>] & other) != 0)
        sum.template Add<c>(kWeights.backward[open]);
    sum.template Add<c>(kWeights.lever, PopCount(PawnAttacks[c][square] & other));
}

// No passed pawn, but free on its file, with at least as many helpers as sentries.
template <int c>
bool IsCandidate(int square) {
    const SquareSet sentries = PasserZone<c>(square) & Board.Pawns[1 - c];
    return sentries != 0 &&
           (FileAhead<c>(square) & (Board.Pawns[c] | Board.Pawns[1 - c])) == 0 &&
           PopCount(Helpers<c>(square)) >= PopCount(sentries);
}

// What the pawns alone decide.
template <int c, class Sum>
void AddStructures(Sum& sum) {
    for (SquareSet men = Board.Pawns[c] & ~RankSet(0) & ~RankSet(7); men != 0;) {
        const int square = TakeLowest(men);
        sum.template Add<c>(kWeights.material[kPawn]);
        sum.template Add<c>(kWeights.placement[kPawn][TableIndex<c>(square)]);
        AddStructure<c>(square, sum);
        if (IsCandidate<c>(square))
            sum.template Add<c>(kWeights.candidate[RelativeRank<c>(square)]);
    }
}

// `passers`: the foremost passed pawn of each file.
template <int c, class Sum>
void AddPassers(const AttackSets& sets, SquareSet passers, Sum& sum) {
    for (SquareSet men = passers & ~RankSet(0) & ~RankSet(7); men != 0;) {
        const int square = TakeLowest(men);
        const SquareSet beside = KingAttacks[square] & ~FileSet(FileOf(square));
        AddPasser<c>(sets, square, (beside & passers) != 0, sum);
    }
}
