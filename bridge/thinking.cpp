#include "bridge/thinking.h"

#include <cstdlib>

#include "bridge/game.h"
#include "bridge/lines.h"

namespace {

// A mate in n half-moves is shown as this less n.
constexpr int kShownMate = 32767;
constexpr int kShownMateBound = 31000;

constexpr std::size_t kMostMoves = 64;

// What an engine can say of itself: beyond it, the line is none.
constexpr long long kMostDepth = 1000;
constexpr long long kLongestThought = 1000000000;  // centiseconds
constexpr long long kMostNodes = 1000000000000000;

// The texts from `from` on as moves played from here, as far as they are legal.
std::vector<std::string> Follow(const std::vector<std::string_view>& texts,
                                std::size_t from) {
    std::vector<std::string> best;
    if (from == texts.size()) return best;
    constexpr std::string_view kEndings[] = {"", "q", "n", "r", "b"};
    for (const std::string_view ending : kEndings) {
        std::string text(texts[from]);
        text += ending;
        const Move m = LegalMove(text);
        if (m == NO_MOVE) continue;
        MakeMove(m);
        std::vector<std::string> line = Follow(texts, from + 1);
        UnmakeMove();
        line.insert(line.begin(), text);
        if (line.size() > best.size()) best = std::move(line);
        if (ending.empty() || best.size() == texts.size() - from) break;
    }
    return best;
}

}  // namespace

bool ReadThinkingLine(std::string_view line, ThinkingReport& report) {
    long long numbers[4];
    for (long long& number : numbers)
        if (!ToNumber(TakeWord(line), number)) return false;
    if (numbers[0] < 0 || numbers[0] > kMostDepth || numbers[1] > kShownMate ||
        numbers[1] < -kShownMate || numbers[2] < 0 || numbers[2] > kLongestThought ||
        numbers[3] < 0 || numbers[3] > kMostNodes)
        return false;
    std::vector<std::string_view> texts;
    for (std::string_view word;
         texts.size() < kMostMoves && !(word = TakeWord(line)).empty();)
        texts.push_back(word);
    report.depth = static_cast<int>(numbers[0]);
    report.score = static_cast<int>(numbers[1]);
    report.centiseconds = numbers[2];
    report.nodes = numbers[3];
    report.moves = Follow(texts, 0);
    return true;
}

int MovesToMate(int score) {
    const int distance = std::abs(score);
    if (distance <= kShownMateBound) return 0;
    const int moves = (kShownMate - distance + 1) / 2;
    return score > 0 ? moves : -moves;
}
