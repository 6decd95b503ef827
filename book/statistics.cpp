// Counting into the mapped file: one game costs a few dozen stores and no system call.
#include "book/statistics.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "board/board.h"
#include "book/pgn.h"
#include "platform/bytes.h"
#include "platform/files.h"
#include "platform/output.h"
#include "platform/process.h"

namespace {

constexpr int kCounterLimit = 65535;
constexpr int kTooLongStatus = 2;

FileMapping Counters;

// Where the three counters of a pair stand, draws first.
std::uint8_t* CounterAt(int pair, int result) {
    return Counters.bytes + (std::size_t{3} * static_cast<std::size_t>(pair) +
                             static_cast<std::size_t>(result)) *
                                2;
}

// Both bytes go in one store, which a kill finds either done or not.
void StoreCounter(int pair, int result, int value) {
    std::uint8_t bytes[2];
    Put16be(bytes, static_cast<std::uint16_t>(value));
    std::memcpy(CounterAt(pair, result), bytes, sizeof bytes);
}

// All three counters of a pair at once, so that a kill finds them in proportion: eight
// bytes in one store, the two that are a neighbour's as they were.
void StorePair(int pair, const int (&values)[3]) {
    const int before =
        pair == kMaterialPairs - 1 ? 2 : 0;  // nothing stands behind the last
    std::uint8_t* const at = CounterAt(pair, 0) - before;
    std::uint8_t bytes[8];
    std::memcpy(bytes, at, sizeof bytes);
    for (int r = 0; r < 3; ++r)
        Put16be(bytes + before + 2 * r, static_cast<std::uint16_t>(values[r]));
    std::memcpy(at, bytes, sizeof bytes);
}

// Creates the file, or fills up one that is too short, with zeros. Never empties one:
// another process may have made it meanwhile.
bool CompleteFile(const char* name) {
    FileHandle file = OpenFile(name, FileMode::Update);
    if (file == nullptr && AppendText(name, "")) file = OpenFile(name, FileMode::Update);
    if (file == nullptr) return false;
    const std::int64_t size = FileSize(file);
    bool complete = size >= static_cast<std::int64_t>(kStatisticsSize);
    if (!complete && size >= 0) {
        const std::vector<char> zeros(kStatisticsSize - static_cast<std::size_t>(size));
        complete = WriteAt(file, size, zeros.data(), zeros.size());
    }
    CloseFile(file);
    return complete;
}

// ---- Counting a game ----

// The result code of the reader as the side to move sees it.
int ResultFor(int side, int gameResult) {
    if (gameResult == kPgnDrawn) return kStatisticsDraw;
    return (gameResult == kPgnWhiteWon) == (side == WHITE) ? kStatisticsWin
                                                           : kStatisticsLoss;
}

// Positions with material beyond the signatures are left out.
void CountPosition(int gameResult) {
    const int S = Board.SideToMove;
    const int own = MaterialSignature(S), other = MaterialSignature(ChangeSide(S));
    if (own >= 0 && other >= 0)
        CountResult(own * kSignatures + other, ResultFor(S, gameResult));
}

// Plays the game and counts each stretch between changes of material at its first quiet
// move. Returns what ended it.
PgnStatus CountGame(PgnReader& pgn) {
    bool counted = pgn.result == kPgnNoResult;
    Move m = NO_MOVE;
    PgnStatus status;
    while ((status = NextPgnMove(pgn, m)) == PgnStatus::Found) {
        if (!IsQuiet(m)) {
            counted = pgn.result == kPgnNoResult;
        } else if (!counted) {
            CountPosition(pgn.result);
            counted = true;
        }
        PlayPgnMove(m);
    }
    return status;
}

// Says what went wrong with a move.
void ReportMove(const PgnReader& pgn, PgnStatus status) {
    if (status == PgnStatus::Unrecognised)
        Write("\nCan't recognize: %s...\n", pgn.token);
    else if (status == PgnStatus::Ambiguous)
        for (int further = 1; further < pgn.matches; ++further)
            Write("\nAmbigous move: %s...\n", pgn.token);
    else if (status == PgnStatus::TooLong)
        Write("Error parsing move (move too long): %s...\n", pgn.token);
}

}  // namespace

int MaterialSignature(int colour) {
    const int light = PopCount(Board.Bishops[colour] & LightSquares);
    const int dark = PopCount(Board.Bishops[colour] & DarkSquares);
    const int knights = PopCount(Board.Knights[colour]);
    const int rooks = PopCount(Board.Rooks[colour]);
    const int queens = PopCount(Board.Queens[colour]);
    if (light > 1 || dark > 1 || knights > 2 || rooks > 2 || queens > 1) return -1;
    // Nine pawns, which only editing sets up, would be another material's number.
    if (Board.PawnCount[colour] > 8) return -1;
    return 72 * Board.PawnCount[colour] + 36 * light + 18 * dark + 6 * knights +
           2 * rooks + queens;
}

// The file has its full size before it is mapped: no store can fall behind its end.
bool OpenStatisticsFile(const char* name) {
    CloseStatisticsFile();
    if (CompleteFile(name) && MapFile(Counters, name, kStatisticsSize)) return true;
    Write("Error opening file %s...\n", name);
    FlushOutput();
    return false;
}

void CloseStatisticsFile() { UnmapFile(Counters); }

void CountResult(int pair, int result) {
    if (Counters.bytes == nullptr) return;
    int values[3];
    for (int r = 0; r < 3; ++r) values[r] = ReadCounter(pair, r);
    if (++values[result] < kCounterLimit) {
        StoreCounter(pair, result, values[result]);
        return;
    }
    for (int& value : values) value = 2 * value / 3;
    StorePair(pair, values);
}

std::uint16_t ReadCounter(int pair, int result) {
    return Counters.bytes != nullptr ? Get16be(CounterAt(pair, result))
                                     : std::uint16_t{0};
}

int BuildStatistics(const char* pgnName) {
    const auto pgn = std::make_unique<PgnReader>();
    if (!OpenPgn(*pgn, pgnName)) {
        Write("Error opening file %s...\n", pgnName);
        FlushOutput();
        return 0;
    }
    PgnStatus status = PgnStatus::GameEnd;
    for (int finished = 0;
         status == PgnStatus::GameEnd && !TerminationRequested() && NextPgnGame(*pgn);
         ++finished) {
        SetStartPosition();
        // After a move that cannot be told the rest of the game is only read over.
        do {
            status = CountGame(*pgn);
            ReportMove(*pgn, status);
        } while (status == PgnStatus::Unrecognised || status == PgnStatus::Ambiguous);
        if (status == PgnStatus::GameEnd) Write("Processed %d games...\r", finished);
    }
    ClosePgn(*pgn);
    FlushOutput();
    return status == PgnStatus::TooLong ? kTooLongStatus : 0;
}

// Half points are counted as one, so that the result stays an integer.
void ReportStatistics(const char* reportName) {
    const int S = Board.SideToMove;
    const MaterialResults found =
        ResultsOf(MaterialSignature(S), MaterialSignature(ChangeSide(S)));
    const int games = found.draws + found.wins + found.losses;
    char line[128] = "No matching games\n\n";
    if (games != 0) {
        const int points = 2 * found.wins + found.draws;
        std::snprintf(line, sizeof line,
                      "Draws=%d wins=%d losses=%d Result=%d/%d (%d%%)\n\n", found.draws,
                      found.wins, found.losses, points, 2 * games,
                      100 * points / (2 * games));
    }
    if (AppendText(reportName, line)) return;
    Write("Error opening file %s...\n", reportName);
    FlushOutput();
}

// The other side's wins are this side's losses. Equal signatures are read twice, once for
// each side.
MaterialResults ResultsOf(int signature, int otherSignature) {
    if (signature < 0 || otherSignature < 0) return {};
    const int i = signature * kSignatures + otherSignature;
    const int j = otherSignature * kSignatures + signature;
    return {ReadCounter(i, kStatisticsDraw) + ReadCounter(j, kStatisticsDraw),
            ReadCounter(i, kStatisticsWin) + ReadCounter(j, kStatisticsLoss),
            ReadCounter(i, kStatisticsLoss) + ReadCounter(j, kStatisticsWin)};
}
