#include "search/strong/wishes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "board/legalmoves.h"
#include "board/notation.h"
#include "search/rootmoves.h"
#include "search/strong/state.h"

namespace {

SearchWishes& Wishes = Strong.wishes;

// The rest of the line when it begins with the word; else nullptr.
const char* After(const char* line, const char* word) {
    const std::size_t length = std::strlen(word);
    return std::strncmp(line, word, length) == 0 ? line + length : nullptr;
}

void HearLines(const char* rest) {
    const long number = std::strtol(rest, nullptr, 10);
    if (number > 0) Wishes.lines = static_cast<int>(std::min<long>(number, kMostLines));
}

// The next word of the text, which is cut off; empty at its end.
std::string_view NextWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

Move LegalMoveOf(std::string_view word, const LegalMoves& legal) {
    char text[kMoveTextSize];
    for (const Move m : legal) {
        MoveToText(text, m);
        if (word == text) return m;
    }
    return NO_MOVE;
}

bool IsWanted(Move m) {
    const Move* const begin = Wishes.only;
    const Move* const end = begin + Wishes.onlyCount;
    return std::find(begin, end, m) != end;
}

void HearMoves(std::string_view rest) {
    const std::uint64_t key = PositionKey();
    std::string_view word = NextWord(rest);
    if (word.empty() || Wishes.onlyAt != key) Wishes.onlyCount = 0;
    Wishes.onlyAt = key;
    const LegalMoves legal;
    for (; !word.empty(); word = NextWord(rest)) {
        const Move m = LegalMoveOf(word, legal);
        if (m != NO_MOVE && !IsWanted(m)) Wishes.only[Wishes.onlyCount++] = m;
    }
}

}  // namespace

void HearWish(const char* line) {
    if (const char* rest = After(line, "lines")) HearLines(rest);
    if (const char* rest = After(line, "strength")) HearStrength(rest);
    if (const char* rest = After(line, "searchmoves")) HearMoves(rest);
}

void RestrictRoot() {
    if (Wishes.onlyCount == 0 || Wishes.onlyAt != PositionKey()) return;
    int kept = 0;
    for (int i = 0; i < Root.RootMoveCount; ++i)
        if (IsWanted(RootMoves[i])) MoveRootMove(i, kept++);
    if (kept == 0) return;
    Generated.MoveStackTop = Root.RootMoveCount = kept;
}

int WantedLines() {
    return std::clamp(Wishes.lines, 1, std::min(Root.RootMoveCount, kMostLines));
}
