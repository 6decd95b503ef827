// The line to mate is found by playing: each side's best move is the one whose position
// has the best value. Values are those of ProbeTablebase.
#include "tools/tables_probe.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "board/fen.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "egtb/tablebase.h"
#include "platform/output.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/sanwriter.h"

namespace {

constexpr int kCacheLog2 = 24;     // bytes
constexpr int kLongestLine = 260;  // half-moves; no table has longer mates

// Value of the position on the board for the side to move; the bare kings are in no
// table.
bool ValueHere(int& value) {
    value = 0;
    if (HasBothKings() && PopCount(AllOccupied()) == 2) return true;
    return ProbeTablebase(ChangeSide(Board.SideToMove), value);
}

// The move that leaves the opponent worst off, with the opponent's value after it;
// NO_MOVE when there is no move, or none with a value.
Move BestMove(int& least) {
    Move best = NO_MOVE;
    for (const Move m : LegalMoves()) {
        MakeMove(m);
        int value;
        if (ValueHere(value) && (best == NO_MOVE || value < least)) {
            best = m;
            least = value;
        }
        UnmakeMove();
    }
    return best;
}

// Value for the opponent after the best move of a side whose own value is this: a win is
// one move nearer, a loss as many moves away as before.
int ValueAfterBest(int value) { return value > 0 ? -value : 1 - value; }

// Both sides' best moves to mate, from a position of this value; cut short where a table
// is missing that the way to mate leads into.
std::vector<Move> BestLine(int value) {
    std::vector<Move> line;
    while (line.size() < kLongestLine) {
        int after = 0;
        const Move m = BestMove(after);
        if (m == NO_MOVE || after != ValueAfterBest(value)) break;
        line.push_back(m);
        MakeMove(m);
        value = after;
    }
    for (std::size_t i = 0; i < line.size(); ++i) UnmakeMove();
    return line;
}

const char* NameOf(int colour) { return colour == WHITE ? "White" : "Black"; }

// The answer as sentences, and the line numbered as in a game score.
void WriteWords(const TableAnswer& answer) {
    const int toMove = Board.SideToMove;
    switch (answer.verdict) {
        case TableVerdict::Unknown:
            Write("No table knows this position\n");
            return;
        case TableVerdict::Draw:
            Write("Draw\n");
            return;
        case TableVerdict::Win:
            Write("%s mates in %d\n", NameOf(toMove), answer.moves);
            break;
        case TableVerdict::Loss:
            if (answer.moves == 0)
                Write("%s is mated\n", NameOf(toMove));
            else
                Write("%s mates in %d\n", NameOf(ChangeSide(toMove)), answer.moves);
    }
    if (answer.line.empty()) return;
    int number = 1;
    bool first = true;
    for (const Move m : answer.line) {
        if (Board.SideToMove == WHITE)
            Write("%s%d. ", first ? "" : " ", number);
        else
            Write(first ? "%d... " : " ", number);
        Write("%s", SanOf(m).c_str());
        number += Board.SideToMove == BLACK ? 1 : 0;
        MakeMove(m);
        first = false;
    }
    Write("\n");
    for (std::size_t i = 0; i < answer.line.size(); ++i) UnmakeMove();
}

// The same for programs, moves as the protocol writes them.
void WriteAsJson(const TableAnswer& answer) {
    constexpr const char* names[] = {"win", "loss", "draw", "unknown"};
    Json line = Json::array();
    for (const Move m : answer.line) line.push_back(MoveText(m));
    WriteJson({{"result", names[static_cast<int>(answer.verdict)]},
               {"moves", answer.moves},
               {"line", std::move(line)}});
}

}  // namespace

// Values count from 32767 down for wins and from -32766 up for losses.
TableAnswer AskTables() {
    TableAnswer answer;
    int value;
    if (CastlingRightsLeft() || !ValueHere(value)) return answer;
    if (value == 0) {
        answer.verdict = TableVerdict::Draw;
        return answer;
    }
    answer.verdict = value > 0 ? TableVerdict::Win : TableVerdict::Loss;
    answer.moves = value > 0 ? 32767 - value : value + 32766;
    answer.line = BestLine(value);
    return answer;
}

int ProbeTables(const std::string& directory, const std::string& fen, bool json) {
    if (!SetFen(fen)) return Fail("not a position: " + fen);
    std::uint64_t ramUsed;
    if (InitTablebases(directory.c_str(), ramUsed) == 0)
        return Fail("there are no tables in " + (directory.empty() ? "." : directory));
    if (!SetUpTablebaseCache(kCacheLog2)) return Fail("not enough memory");
    const TableAnswer answer = AskTables();
    if (json)
        WriteAsJson(answer);
    else
        WriteWords(answer);
    return answer.verdict == TableVerdict::Unknown ? 1 : 0;
}
