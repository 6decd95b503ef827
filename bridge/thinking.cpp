// The moves are played out on the board library's position, which is as before
// afterwards: a promotion's missing letter is searched for by trying the four pieces, the
// line that goes on longest winning.
#include "bridge/thinking.h"

#include <algorithm>
#include <cstdlib>

#include "bridge/game.h"
#include "bridge/lines.h"

namespace {

// A mate in n half-moves is shown as this less n.
constexpr int kShownMate = 32767;
constexpr int kShownMateBound = 31000;

// Its search can count up to so many half-moves too few, and shows a mate in less than
// none.
constexpr int kMostMiscounted = 200;

constexpr std::size_t kMostMoves = 64;

// What an engine can say of itself: beyond it, the line is none.
constexpr long long kMostDepth = 1000;
constexpr long long kLongestThought = 1000000000;  // centiseconds
constexpr long long kMostNodes = 1000000000000000;

using Texts = std::vector<std::string_view>;

constexpr std::string_view kPromotions[] = {"q", "n", "r", "b"};

std::vector<std::string> Follow(const Texts& texts, std::size_t from);

// The move and what follows on it, the texts after `from`; nothing when it is illegal.
std::vector<std::string> FollowWith(const std::string& text, const Texts& texts,
                                    std::size_t from) {
    const Move m = LegalMove(text);
    if (m == NO_MOVE) return {};
    MakeMove(m);
    std::vector<std::string> line = Follow(texts, from + 1);
    UnmakeMove();
    line.insert(line.begin(), text);
    return line;
}

// The texts from `from` on as moves played from here, as far as they are legal.
std::vector<std::string> Follow(const Texts& texts, std::size_t from) {
    if (from == texts.size()) return {};
    const std::string text(texts[from]);
    std::vector<std::string> best = FollowWith(text, texts, from);
    if (!best.empty()) return best;
    for (const std::string_view ending : kPromotions) {
        std::vector<std::string> line =
            FollowWith(std::string(text).append(ending), texts, from);
        if (line.size() > best.size()) best = std::move(line);
        if (best.size() == texts.size() - from) break;
    }
    return best;
}

// Several pieces can go on as far as the best line does.
bool SeveralFit(const Texts& texts, std::size_t length) {
    if (length == 0 || LegalMove(texts[0]) != NO_MOVE) return false;
    int fitting = 0;
    for (const std::string_view ending : kPromotions)
        if (FollowWith(std::string(texts[0]).append(ending), texts, 0).size() == length)
            ++fitting;
    return fitting > 1;
}

// The engine's table knows no history: its moves may go on where the rules have ended the
// game, by a repetition above all.
void EndWithGame(std::vector<std::string>& moves) {
    std::size_t played = 0;
    while (played < moves.size() && PlayMove(moves[played])) {
        ++played;
        if (GameResult() != nullptr) break;
    }
    moves.resize(played);
    for (; played > 0; --played) TakeBackMove();
}

// The score of a mate that comes with the last of so many half-moves.
int MateBy(std::size_t plies, bool wins) {
    const int moves = std::max((static_cast<int>(plies) + 1) / 2, 1);
    return wins ? kShownMate - (2 * moves - 1) : 2 * moves - kShownMate;
}

// Beyond what an engine can say of itself the line is none.
bool IsSensible(long long depth, long long score, long long time, long long nodes) {
    constexpr long long kMostScore = kShownMate + kMostMiscounted;
    return depth >= 0 && depth <= kMostDepth && score <= kMostScore &&
           score >= -kMostScore && time >= 0 && time <= kLongestThought && nodes >= 0 &&
           nodes <= kMostNodes;
}

Texts RestOfMoves(std::string_view line) {
    Texts texts;
    for (std::string_view word;
         texts.size() < kMostMoves && !(word = TakeWord(line)).empty();)
        texts.push_back(word);
    return texts;
}

// "NAME NUMBER" off the line's beginning.
bool TakeNumber(std::string_view& line, std::string_view name, long long& number) {
    return TakeWord(line) == name && ToNumber(TakeWord(line), number);
}

bool TakeBound(std::string_view& line, Bound& bound) {
    const std::string_view word = TakeWord(line);
    bound = word == "lower"   ? Bound::Lower
            : word == "upper" ? Bound::Upper
                              : Bound::Exact;
    return bound != Bound::Exact || word == "exact";
}

}  // namespace

// Numbers out of range make a line none: it may be another program's output, and sums
// over it must not overflow.
bool ReadThinkingLine(std::string_view line, std::string_view first,
                      ThinkingReport& report) {
    long long numbers[4];
    for (long long& number : numbers)
        if (!ToNumber(TakeWord(line), number)) return false;
    if (!IsSensible(numbers[0], numbers[1], numbers[2], numbers[3])) return false;
    Texts texts = RestOfMoves(line);
    report.depth = static_cast<int>(numbers[0]);
    report.score = static_cast<int>(numbers[1]);
    report.centiseconds = numbers[2];
    report.nodes = numbers[3];
    if (!texts.empty() && !first.empty()) texts[0] = first;
    report.moves = Follow(texts, 0);
    if (std::abs(report.score) > kShownMate)
        report.score = MateBy(report.moves.size(), report.score > 0);
    report.unsure = SeveralFit(texts, report.moves.size());
    EndWithGame(report.moves);
    return true;
}

bool ReadFullLine(std::string_view line, ThinkingReport& report) {
    long long rank = 0, depth = 0, deepest = 0, score = 0, time = 0, nodes = 0, full = 0,
              hits = 0;
    if (!TakeNumber(line, "line", rank) || !TakeNumber(line, "depth", depth) ||
        !TakeNumber(line, "deepest", deepest) || !TakeNumber(line, "score", score) ||
        !TakeBound(line, report.bound) || !TakeNumber(line, "time", time) ||
        !TakeNumber(line, "nodes", nodes) || !TakeNumber(line, "full", full) ||
        !TakeNumber(line, "tables", hits) || TakeWord(line) != "pv")
        return false;
    if (!IsSensible(depth, score, time / 10, nodes) || rank < 1 || rank > kMostDepth ||
        deepest < 0 || deepest > kMostDepth || full < 0 || full > 1000 || hits < 0 ||
        hits > kMostNodes)
        return false;
    report.rank = static_cast<int>(rank);
    report.depth = static_cast<int>(depth);
    report.deepest = static_cast<int>(deepest);
    report.score = static_cast<int>(score);
    report.milliseconds = time;
    report.centiseconds = time / 10;
    report.nodes = nodes;
    report.permille = static_cast<int>(full);
    report.tableHits = hits;
    report.moves = Follow(RestOfMoves(line), 0);
    EndWithGame(report.moves);
    return !report.moves.empty();
}

bool SameSquares(std::string_view a, std::string_view b) {
    return a.size() >= 4 && a.substr(0, 4) == b.substr(0, 4);
}

int MateInMoves(int score) {
    const int distance = std::abs(score);
    if (distance <= kShownMateBound) return 0;
    const int moves = (kShownMate - distance + 1) / 2;
    return score > 0 ? moves : -moves;
}
