// Counting into the mapped file: one game costs a few dozen stores and no system call.
#include "book/statistics.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/board.h"
#include "board/fen.h"
#include "book/pgn.h"
#include "platform/bytes.h"
#include "platform/files.h"
#include "platform/output.h"
#include "platform/process.h"

namespace {

// A counter never holds this value: the pair is scaled down instead.
constexpr int kCounterLimit = 65535;
constexpr int kFailedStatus = 1;
constexpr int kTooLongStatus = 2;

// Material changes at most 46 times in a game, by captures and promotions.
constexpr int kMostCounts = 64;

struct StatisticsFile {
    std::string name;
    FileHandle file = nullptr;
    FileMapping counters;
} Statistics;

// What a game adds, until it is known to its end.
struct GameCounts {
    int moves = 0;
    int count = 0;
    struct {
        int pair, result;
    } results[kMostCounts];
};

// Where the three counters of a pair stand, draws first.
std::uint8_t* CounterAt(int pair, int result) {
    return Statistics.counters.bytes + (std::size_t{3} * static_cast<std::size_t>(pair) +
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

// Adds one to a counter; the caller holds the lock.
void Increase(int pair, int result) {
    int values[3];
    for (int r = 0; r < 3; ++r) values[r] = ReadCounter(pair, r);
    if (++values[result] < kCounterLimit) {
        StoreCounter(pair, result, values[result]);
        return;
    }
    for (int& value : values) value = 2 * value / 3;
    StorePair(pair, values);
}

// Fills up a file that is too short with zeros; when they find no room it is as before.
bool Complete(FileHandle file) {
    const std::int64_t size = FileSize(file);
    if (size >= static_cast<std::int64_t>(kStatisticsSize)) return true;
    if (size < 0) return false;
    const std::vector<char> zeros(kStatisticsSize - static_cast<std::size_t>(size));
    if (WriteAt(file, size, zeros.data(), zeros.size())) return true;
    ShortenFile(file, size);
    return false;
}

// Opens the file and maps its counters.
bool OpenCounters(const char* name) {
    bool created = false;
    Statistics.name = name;
    Statistics.file = OpenOrCreateFile(name, created);
    if (Statistics.file == nullptr) return false;
    const FileLock lock(Statistics.file, 0, kStatisticsSize);
    if (Complete(Statistics.file) &&
        MapFile(Statistics.counters, Statistics.file, kStatisticsSize))
        return true;
    if (created) std::remove(name);
    return false;
}

// ---- Counting a game ----

// The result code of the reader as the side to move sees it.
int ResultFor(int side, int gameResult) {
    if (gameResult == kPgnDrawn) return kStatisticsDraw;
    return (gameResult == kPgnWhiteWon) == (side == WHITE) ? kStatisticsWin
                                                           : kStatisticsLoss;
}

// Positions with material beyond the signatures are left out.
void CountPosition(GameCounts& counts, int gameResult) {
    const int S = Board.SideToMove;
    const int own = MaterialSignature(S), other = MaterialSignature(ChangeSide(S));
    if (own >= 0 && other >= 0 && counts.count < kMostCounts)
        counts.results[counts.count++] = {own * kSignatures + other,
                                          ResultFor(S, gameResult)};
}

// Plays the game and counts each stretch between changes of material at its first quiet
// move. Returns what ended it.
PgnStatus CountMoves(PgnReader& pgn, GameCounts& counts) {
    bool counted = pgn.result == kPgnNoResult;
    Move m = NO_MOVE;
    PgnStatus status;
    while ((status = NextPgnMove(pgn, m)) == PgnStatus::Found) {
        if (!IsQuiet(m)) {
            counted = pgn.result == kPgnNoResult;
        } else if (!counted) {
            CountPosition(counts, pgn.result);
            counted = true;
        }
        PlayPgnMove(m);
        ++counts.moves;
    }
    return status;
}

// Says what went wrong with a move of game `number`.
void ReportMove(const PgnReader& pgn, PgnStatus status, int number) {
    if (status == PgnStatus::Unrecognised)
        Write("\nCan't recognize: %s...\n", pgn.token);
    else if (status == PgnStatus::Ambiguous)
        for (int further = 1; further < pgn.matches; ++further)
            Write("\nAmbigous move: %s...\n", pgn.token);
    else if (status == PgnStatus::TooLong)
        Write("Error parsing move (move too long): %s...\n", pgn.token);
    else
        return;
    Write("in game %d\n", number);
}

// Where a game begins; false when no game can be at that position.
bool SetFirstPosition(const PgnReader& pgn) {
    if (!pgn.hasFen) {
        SetStartPosition();
        return true;
    }
    constexpr SquareSet kOuterRanks = 0xFF000000000000FF;
    if (!SetFen(pgn.fen)) return false;
    const int S = Board.SideToMove;
    return PopCount(Board.Occupied[WHITE]) <= 16 &&
           PopCount(Board.Occupied[BLACK]) <= 16 &&
           ((Board.Pawns[WHITE] | Board.Pawns[BLACK]) & kOuterRanks) == 0 &&
           !IsAttacked(S, Board.KingSquare[ChangeSide(S)]);
}

// Counts a whole game, the file's `number`th, and reports. After a move that cannot be
// told the rest of it is only read over.
PgnStatus CountGame(PgnReader& pgn, GameCounts& counts, int number) {
    if (!SetFirstPosition(pgn)) {
        SetStartPosition();
        SkipPgnGame(pgn);
        Write("\nCan't set up the position of game %d\n", number);
    }
    PgnStatus status;
    do {
        status = CountMoves(pgn, counts);
        ReportMove(pgn, status, number);
    } while (status == PgnStatus::Unrecognised || status == PgnStatus::Ambiguous);
    return status;
}

// One lock for the counts of a game. False when the file has been cut off, or another
// one has taken its place.
bool StoreCounts(const GameCounts& counts) {
    const FileLock lock(Statistics.file, 0, kStatisticsSize);
    if (!IsStillCalled(Statistics.file, Statistics.name.c_str()) ||
        FileSize(Statistics.file) < static_cast<std::int64_t>(kStatisticsSize))
        return false;
    for (int i = 0; i < counts.count; ++i)
        Increase(counts.results[i].pair, counts.results[i].result);
    return !MappingDamaged();
}

// What went through BuildStatistics.
struct Progress {
    int games = 0;
    int withoutMoves = 0;
    bool fileLost = false;
};

// All games of the file, until the program is asked to end; the game at hand is then left
// out.
PgnStatus CountGames(PgnReader& pgn, Progress& progress) {
    PgnStatus status = PgnStatus::GameEnd;
    while (status == PgnStatus::GameEnd && !progress.fileLost &&
           !TerminationRequested() && NextPgnGame(pgn)) {
        GameCounts counts;
        status = CountGame(pgn, counts, progress.games + 1);
        if (status == PgnStatus::FileEnd && TerminationRequested()) break;
        progress.fileLost = !StoreCounts(counts);
        if (status == PgnStatus::GameEnd)
            Write("Processed %d games...\r", progress.games);
        ++progress.games;
        if (counts.moves == 0) ++progress.withoutMoves;
    }
    return status;
}

}  // namespace

int SignatureOf(int pawns, int light, int dark, int knights, int rooks, int queens) {
    // Nine pawns, which only editing sets up, would be another material's number.
    if (light > 1 || dark > 1 || knights > 2 || rooks > 2 || queens > 1 || pawns > 8)
        return -1;
    return 72 * pawns + 36 * light + 18 * dark + 6 * knights + 2 * rooks + queens;
}

int MaterialSignature(int colour) {
    return SignatureOf(
        Board.PawnCount[colour], PopCount(Board.Bishops[colour] & LightSquares),
        PopCount(Board.Bishops[colour] & DarkSquares), PopCount(Board.Knights[colour]),
        PopCount(Board.Rooks[colour]), PopCount(Board.Queens[colour]));
}

// The file has its full size before it is mapped: no store can fall behind its end.
bool OpenStatisticsFile(const char* name) {
    CloseStatisticsFile();
    if (OpenCounters(name)) return true;
    CloseStatisticsFile();
    Write("Error opening file %s...\n", name);
    FlushOutput();
    return false;
}

void CloseStatisticsFile() {
    UnmapFile(Statistics.counters);
    CloseFile(Statistics.file);
}

void CountResult(int pair, int result) {
    const FileLock lock(Statistics.file, 0, kStatisticsSize);
    Increase(pair, result);
}

std::uint16_t ReadCounter(int pair, int result) {
    return Statistics.counters.bytes != nullptr ? Get16be(CounterAt(pair, result))
                                                : std::uint16_t{0};
}

namespace {

// A file of zeros takes the old one's place: a kill leaves one or the other.
bool BeginAnew() {
    const std::string name = Statistics.name;
    const std::vector<char> zeros(kStatisticsSize);
    CloseStatisticsFile();
    if (ReplaceFile(name.c_str(), zeros.data(), zeros.size()))
        return OpenStatisticsFile(name.c_str());
    Write("Error writing file %s...\n", name.c_str());
    FlushOutput();
    return false;
}

// Ready to be counted into, opened if none is open.
bool PrepareFile(bool fresh) {
    if (Statistics.counters.bytes == nullptr && !OpenStatisticsFile()) return false;
    return !fresh || BeginAnew();
}

}  // namespace

int BuildStatistics(const char* pgnName, bool fresh) {
    const auto pgn = std::make_unique<PgnReader>();
    if (!OpenPgn(*pgn, pgnName)) {
        Write("Error opening file %s...\n", pgnName);
        FlushOutput();
        return kFailedStatus;
    }
    if (!PrepareFile(fresh)) {
        ClosePgn(*pgn);
        return kFailedStatus;
    }
    Progress progress;
    const PgnStatus status = CountGames(*pgn, progress);
    ClosePgn(*pgn);
    if (progress.withoutMoves > 0)
        Write("\nNo move was taken from %d of %d games\n", progress.withoutMoves,
              progress.games);
    if (progress.fileLost)
        Write("\nThe statistics file has been cut off or replaced: stopped\n");
    if (TerminationRequested()) Write("\nStopped after %d games\n", progress.games);
    FlushOutput();
    if (status == PgnStatus::TooLong) return kTooLongStatus;
    return progress.fileLost ? kFailedStatus : 0;
}

// Half points are counted as one, so that the result stays an integer.
int ReportStatistics(const char* reportName) {
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
    if (AppendText(reportName, line)) return 0;
    Write("Error opening file %s...\n", reportName);
    FlushOutput();
    return kFailedStatus;
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
