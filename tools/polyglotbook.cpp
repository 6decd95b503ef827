// Both ways walk the board through the book, for neither format can be turned into the
// other by its keys alone: exporting along our book's moves, importing along all legal
// moves.
#include "tools/polyglotbook.h"

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <vector>

#include "board/legalmoves.h"
#include "book/book.h"
#include "platform/bytes.h"
#include "platform/files.h"
#include "platform/output.h"
#include "tools/bookcommands.h"
#include "tools/bookwalk.h"
#include "tools/progress.h"
#include "tools/report.h"

namespace {

constexpr std::size_t kEntrySize = 16;  // bytes
constexpr int kImportedPoints = 20;     // of ten games
// A book that goes deeper is not followed: the history stack ends a little beyond.
constexpr int kDeepest = 700;
// [promotion of the format]
constexpr int kPromotions[] = {EMPTY, KNIGHT, BISHOP, ROOK, QUEEN};

// An entry of a Polyglot book, in this machine's numbers.
struct Entry {
    std::uint64_t key;
    std::uint16_t move, weight;
};

// The format's order, and in a position the heaviest move first: importing takes its
// weight as the measure of the others.
bool ComesBefore(const Entry& a, const Entry& b) {
    return a.key != b.key ? a.key < b.key : a.weight > b.weight;
}

// ---- Moves: bits 0-2 to-file, 3-5 to-rank, so that squares are numbered as ours ----

// A king goes two files only by castling.
bool IsCastling(Move m) {
    return Moving(m) == KING && (To(m) - From(m) == 2 || From(m) - To(m) == 2);
}

// The format's bits of a legal move; castling as the king's move to its own rook's
// square.
std::uint16_t Packed(Move m) {
    const int rook = To(m) > From(m) ? From(m) + 3 : From(m) - 4;
    const int to = IsCastling(m) ? rook : To(m);
    const auto* const promotion =
        std::find(std::begin(kPromotions), std::end(kPromotions), Promotion(m));
    return static_cast<std::uint16_t>(to | From(m) << 6 |
                                      (promotion - std::begin(kPromotions)) << 12);
}

// The legal move that the format's bits name; NO_MOVE when there is none. Some writers
// castle by the king's squares. Comparing with all legal moves needs no trust in the
// file.
Move Unpacked(const LegalMoves& legal, std::uint16_t packed) {
    for (const Move m : legal) {
        if (Packed(m) == packed) return m;
        if (IsCastling(m) && (From(m) << 6 | To(m)) == packed) return m;
    }
    return NO_MOVE;
}

// ---- Export ----

// Points for the move are what readers of the format expect: twice the wins and the
// draws.
std::uint16_t WeightOf(const BookFile& book, const BookEntry& entry) {
    if (IsRemoved(book, entry)) return 0;
    if (book.version == 0 || entry.word == 0) return 1;
    return static_cast<std::uint16_t>(PointsFor(entry.word));
}

// The file's bytes.
std::vector<std::uint8_t> Image(const std::vector<Entry>& entries) {
    std::vector<std::uint8_t> image(kEntrySize * entries.size());
    std::uint8_t* at = image.data();
    for (const Entry& entry : entries) {
        Put32be(at, static_cast<std::uint32_t>(entry.key >> 32));
        Put32be(at + 4, static_cast<std::uint32_t>(entry.key));
        Put16be(at + 8, entry.move);
        Put16be(at + 10, entry.weight);
        at += kEntrySize;
    }
    return image;
}

// ---- Import ----

// All entries, sorted, of a file that may be sorted or not. False, with a complaint, when
// it cannot be one.
bool ReadEntries(const std::string& name, std::vector<Entry>& entries) {
    FileHandle file = OpenFile(name.c_str(), FileMode::Read);
    if (file == nullptr) {
        Fail("cannot open " + name);
        return false;
    }
    const std::int64_t size = FileSize(file);
    const bool fits = size > 0 && size % std::int64_t{kEntrySize} == 0;
    std::vector<std::uint8_t> bytes(fits ? static_cast<std::size_t>(size) : 0);
    const bool read = fits && ReadAt(file, 0, bytes.data(), bytes.size());
    CloseFile(file);
    if (!read) {
        Fail(name + " is not a Polyglot book: its entries have 16 bytes each");
        return false;
    }
    for (std::size_t at = 0; at < bytes.size(); at += kEntrySize) {
        const std::uint64_t high = Get32be(&bytes[at]);
        entries.push_back({high << 32 | Get32be(&bytes[at + 4]), Get16be(&bytes[at + 8]),
                           Get16be(&bytes[at + 10])});
    }
    std::stable_sort(entries.begin(), entries.end(), ComesBefore);
    return true;
}

// An import under way. `positions` is in the order of our index, and its keys are ours.
struct Import {
    const PolyglotKeys& keys;
    std::vector<Entry> entries = {};  // sorted
    std::unordered_set<std::uint64_t> visited = {};
    std::map<std::pair<std::int32_t, std::int32_t>, std::vector<BookEntry>> positions =
        {};
    std::uint64_t reached = 0, illegal = 0;  // entries
};

// The weight's share of ten won games; the rest of the twenty points speaks against the
// move, so that its score falls with its weight. Every move that may be played keeps one.
std::uint16_t WordOf(std::uint16_t weight, std::uint16_t largest) {
    if (weight == 0) return kRemovedWord;
    const int won = std::max(1, (kImportedPoints * weight + largest / 2) / largest);
    return StatisticsWord(won, kImportedPoints - won);
}

// Castling rights and en passant are in Polyglot's keys and not in ours: two of its
// positions may be one, which keeps what it heard first.
void Keep(Import& import, Move m, std::uint16_t word) {
    if (Promotion(m) != EMPTY && Promotion(m) != QUEEN) return;
    auto& list = import.positions[{BookKey1(Board.hash1, Board.SideToMove),
                                   static_cast<std::int32_t>(Board.hash2)}];
    const auto same = [m](const BookEntry& e) {
        return e.from == From(m) && e.to == To(m);
    };
    if (list.size() < kMaxBookEntries && std::none_of(list.begin(), list.end(), same))
        list.push_back(
            {static_cast<std::uint8_t>(From(m)), static_cast<std::uint8_t>(To(m)), word});
}

bool Visit(Import& import);

// Of the position after a move, whoever may make it.
bool VisitAfter(Import& import, Move m) {
    MakeMove(m);
    const bool known = Visit(import);
    UnmakeMove();
    return known;
}

// A position that the book does not have: its positions may lie one move behind it. This
// is how books of one side's moves alone are followed.
void VisitReplies(Import& import, Move m) {
    MakeMove(m);
    const auto replies = std::make_unique<const LegalMoves>();
    for (const Move reply : *replies) VisitAfter(import, reply);
    UnmakeMove();
}

// The moves of the entries from `begin` on, with the weights they have there.
std::vector<Move> KeepEntries(Import& import, std::vector<Entry>::const_iterator begin,
                              const LegalMoves& legal) {
    std::vector<Move> moves;
    for (auto entry = begin; entry != import.entries.cend() && entry->key == begin->key;
         ++entry) {
        ++import.reached;
        const Move m = Unpacked(legal, entry->move);
        if (m == NO_MOVE) {
            ++import.illegal;
            continue;
        }
        Keep(import, m, WordOf(entry->weight, std::max<std::uint16_t>(begin->weight, 1)));
        moves.push_back(m);
    }
    return moves;
}

// Takes the current position over and goes on to all others; false when the book does not
// have it. Most books leave out weak moves, and some all moves of one side: any legal
// move may lead to another position of the book, and behind its own moves one may be
// missing.
bool Visit(Import& import) {
    const std::uint64_t key = PolyglotKey(import.keys);
    const auto begin = std::lower_bound(
        import.entries.cbegin(), import.entries.cend(), key,
        [](const Entry& entry, std::uint64_t k) { return entry.key < k; });
    if (begin == import.entries.cend() || begin->key != key) return false;
    // Known, but its moves have been followed from where it was met first.
    if (!import.visited.insert(key).second) return true;
    // Not on the stack: a book may be hundreds of moves deep.
    const auto legal = std::make_unique<const LegalMoves>();
    const std::vector<Move> moves = KeepEntries(import, begin, *legal);
    if (Board.GamePly >= kDeepest) return true;
    for (const Move m : *legal) {
        const bool known = VisitAfter(import, m);
        if (!known && std::find(moves.begin(), moves.end(), m) != moves.end())
            VisitReplies(import, m);
    }
    return true;
}

}  // namespace

// The visitor always asks to be called again: positions that differ only in rights share
// a record here and have keys of their own there.
int ExportPolyglot(const std::string& name, const std::string& output,
                   const PolyglotKeys& keys, bool json) {
    OpenedBook book;
    if (!OpenForReading(book, name)) return 1;
    std::vector<Entry> entries;
    std::unordered_set<std::uint64_t> written;
    const std::vector<bool> visited = WalkBook(book, [&](const BookPosition& position) {
        const std::uint64_t key = PolyglotKey(keys);
        if (!written.insert(key).second) return true;
        for (int i = 0; i < position.list.count; ++i) {
            const BookEntry& entry = position.list.entries[i];
            if (const Move m = LegalMoveOf(entry); m != NO_MOVE)
                entries.push_back({key, Packed(m), WeightOf(book, entry)});
        }
        return true;
    });
    if (entries.empty())
        return Fail(name + " has no move that can be reached from the start position");
    std::stable_sort(entries.begin(), entries.end(), ComesBefore);
    const std::vector<std::uint8_t> image = Image(entries);
    if (!ReplaceFile(output.c_str(), image.data(), image.size()))
        return Fail("cannot write " + output);
    const auto notReached = std::count(visited.begin(), visited.end(), false);
    if (json)
        WriteJson({{"file", output},
                   {"positions", written.size()},
                   {"moves", entries.size()},
                   {"notReached", notReached}});
    else
        Write(
            "%s: %zu positions, %zu moves; %lld positions were not reached from the "
            "start\n",
            output.c_str(), written.size(), entries.size(),
            static_cast<long long>(notReached));
    return 0;
}

// The map hands the positions over in the order that our index needs.
int ImportPolyglot(const std::string& name, const std::string& output,
                   const PolyglotKeys& keys, bool json) {
    Import import{.keys = keys};
    if (!ReadEntries(name, import.entries)) return 1;
    SetStartPosition();
    Visit(import);
    BookImage image;
    std::uint64_t moves = 0;
    for (const auto& [key, list] : import.positions) {
        AddPosition(image, key.first, key.second, list);
        moves += list.size();
    }
    if (image.nodes == 0)
        return Fail(name + " has no move that can be reached from the start position");
    std::string reason;
    if (!WriteBookImage(image, output, reason)) return Fail(reason);
    const std::uint64_t notReached = import.entries.size() - import.reached;
    if (json)
        WriteJson({{"file", output},
                   {"positions", image.nodes},
                   {"moves", moves},
                   {"entries", import.entries.size()},
                   {"notReached", notReached},
                   {"illegal", import.illegal}});
    else
        Write(
            "%s: %u positions, %llu moves, from %zu entries; %llu were not reached from "
            "the start, %llu are not legal\n",
            output.c_str(), image.nodes, static_cast<unsigned long long>(moves),
            import.entries.size(), static_cast<unsigned long long>(notReached),
            static_cast<unsigned long long>(import.illegal));
    return 0;
}
