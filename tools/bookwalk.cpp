// Depth first over the book's own moves. Each record is entered once, so that circles in
// a book end, and the time is that of one look-up for every move.
#include "tools/bookwalk.h"

#include "book/book.h"
#include "tools/sanwriter.h"

namespace {

// A book that goes deeper is not followed: the history stack ends a little beyond.
constexpr int kDeepest = 700;

// [index of the record] in both lists.
struct Walk {
    const BookFile& book;
    const BookVisitor& visit;
    std::vector<bool> visited, wantedAgain;
};

// The line with one more move, numbered as in a game score.
std::string Extended(const std::string& line, Move m) {
    std::string text = line;
    if (!text.empty()) text += ' ';
    if (Board.SideToMove == WHITE) text += std::to_string(Board.GamePly / 2 + 1) + ". ";
    return text + SanOf(m);
}

// The current position, if the book has it, and all that its moves lead to.
void Visit(Walk& walk, const std::string& line) {
    BookPosition position;
    if (!FindPosition(walk.book, position.index, position.record)) return;
    const std::uint32_t index = position.index;
    const bool again = walk.visited[index];
    if (again && !walk.wantedAgain[index]) return;
    walk.visited[index] = true;
    position.line = line;
    if (!ReadBookList(walk.book, position.record.list, position.list))
        position.list.count = 0;
    walk.wantedAgain[index] = walk.visit(position);
    if (again) return;
    if (Board.GamePly >= kDeepest) return;
    for (int i = 0; i < position.list.count; ++i) {
        const Move m = LegalMoveOf(position.list.entries[i]);
        if (m == NO_MOVE) continue;
        const std::string next = Extended(line, m);
        MakeMove(m);
        Visit(walk, next);
        UnmakeMove();
    }
}

}  // namespace

// Recursion is as deep as the book's longest line, which kDeepest bounds.
std::vector<bool> WalkBook(const BookFile& book, const BookVisitor& visit) {
    Walk walk{book, visit, std::vector<bool>(book.nodes), std::vector<bool>(book.nodes)};
    SetStartPosition();
    Visit(walk, "");
    return walk.visited;
}

bool FindPosition(const BookFile& book, std::uint32_t& index, BookRecord& record) {
    return BookFind(book, BookKey1(Board.hash1, Board.SideToMove),
                    static_cast<std::int32_t>(Board.hash2), record, &index);
}
