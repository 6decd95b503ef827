// The commands "book build", "dump" and "merge". Dumps go out position by position and
// merging is one pass over two sorted indices, so that large books need little memory
// beside the new book's own.
#include "tools/bookcommands.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "board/fen.h"
#include "board/notation.h"
#include "book/book.h"
#include "platform/output.h"
#include "tools/bookwalk.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/sanwriter.h"

namespace {

constexpr std::uint32_t kProgressEvery = 4096;  // records

// For the progress bar; 0 when it cannot be told.
std::uint64_t SizeOf(const std::string& name) {
    std::error_code error;
    const auto size = std::filesystem::file_size(name, error);
    return error ? 0 : static_cast<std::uint64_t>(size);
}

// ---- Dump ----

// As "bkm" shows moves, also those that no board has.
std::string SquaresOf(const BookEntry& entry) {
    return SquareText(entry.from) + SquareText(entry.to);
}

// "" when the entry is no legal move of the position, or the position is not on the
// board.
std::string SanOfEntry(const BookEntry& entry, bool onBoard) {
    const Move m = onBoard ? LegalMoveOf(entry) : NO_MOVE;
    return m == NO_MOVE ? "" : SanOf(m);
}

// Scores as percentages for people; programs get the points and the per mille that the
// engine chooses by.
void DumpEntryText(const BookFile& book, const BookEntry& entry, bool onBoard) {
    Write("  %s %-8s", SquaresOf(entry).c_str(), SanOfEntry(entry, onBoard).c_str());
    if (IsRemoved(book, entry))
        Write("removed\n");
    else if (book.version == 0)
        Write("flag %d\n", entry.word);
    else if (entry.word == 0)
        Write("not yet played\n");
    else
        Write("%5.1f%%  for %d, against %d\n", MoveScore(entry) / 10.0,
              PointsFor(entry.word), PointsAgainst(entry.word));
}

// The move, its text where the position is known, and what it has scored.
Json JsonOfEntry(const BookFile& book, const BookEntry& entry, bool onBoard) {
    Json json = {{"move", SquaresOf(entry)}};
    const std::string san = SanOfEntry(entry, onBoard);
    if (!san.empty()) json["san"] = san;
    json["removed"] = IsRemoved(book, entry);
    if (book.version == 0) {
        json["flag"] = entry.word;
    } else if (!IsRemoved(book, entry)) {
        json["for"] = PointsFor(entry.word);
        json["against"] = PointsAgainst(entry.word);
        json["score"] = MoveScore(entry);
    }
    return json;
}

// The position on the board, by which another program can set it up.
std::string EpdHere() {
    char epd[kEpdSize] = "";
    WriteEpd(epd)[-1] = '\0';  // without the last blank
    return epd;
}

// A position on the board, or one that only its keys are known of.
void DumpPositionText(const BookFile& book, const BookPosition& position, bool onBoard) {
    Write("%s\n", !onBoard                 ? "position not reached"
                  : !position.line.empty() ? position.line.c_str()
                                           : "start");
    if (onBoard) Write("  %s\n", EpdHere().c_str());
    Write("  keys %08x %08x, list at %u\n",
          static_cast<std::uint32_t>(position.record.key1),
          static_cast<std::uint32_t>(position.record.key2), position.record.list);
    for (int i = 0; i < position.list.count; ++i)
        DumpEntryText(book, position.list.entries[i], onBoard);
}

// The same for programs; "line" and "epd" are missing where only the keys are known.
Json JsonOfPosition(const BookFile& book, const BookPosition& position, bool onBoard) {
    Json json;
    if (onBoard) {
        json["line"] = position.line;
        json["epd"] = EpdHere();
    }
    json["key1"] = position.record.key1;
    json["key2"] = position.record.key2;
    json["list"] = position.record.list;
    Json& moves = json["moves"] = Json::array();
    for (int i = 0; i < position.list.count; ++i)
        moves.push_back(JsonOfEntry(book, position.list.entries[i], onBoard));
    return json;
}

// As text when there is no list.
void DumpPosition(JsonList* list, const BookFile& book, const BookPosition& position,
                  bool onBoard) {
    if (list == nullptr)
        DumpPositionText(book, position, onBoard);
    else
        AddToJsonList(*list, JsonOfPosition(book, position, onBoard));
}

// Reached positions with their lines, then the others by their keys alone.
void DumpAll(JsonList* list, const BookFile& book) {
    const std::vector<bool> visited = WalkBook(book, [&](const BookPosition& position) {
        DumpPosition(list, book, position, true);
        return false;
    });
    BookPosition position;
    for (position.index = 0; position.index < book.nodes; ++position.index) {
        if (visited[position.index]) continue;
        if (!ReadBookRecord(book, position.index, position.record)) break;
        // A damaged list is shown as empty; "book check" says what is wrong with it.
        if (!ReadBookList(book, position.record.list, position.list))
            position.list.count = 0;
        DumpPosition(list, book, position, false);
    }
}

// ---- Merge ----

// Reads a book's positions in the order of its index.
struct Cursor {
    OpenedBook book;
    std::uint32_t next = 0;
    BookRecord record{};
    BookList list{};
};

// What Advance has come to.
enum class Step { Position, End, Damage };

// The next position with its list; a book out of order cannot be merged in one pass.
Step Advance(Cursor& cursor) {
    if (cursor.next == cursor.book.nodes) return Step::End;
    const BookRecord last = cursor.record;
    if (!ReadBookRecord(cursor.book, cursor.next, cursor.record) ||
        !ReadBookList(cursor.book, cursor.record.list, cursor.list))
        return Step::Damage;
    const bool ordered =
        cursor.next == 0 || last.key1 < cursor.record.key1 ||
        (last.key1 == cursor.record.key1 && last.key2 < cursor.record.key2);
    ++cursor.next;
    return ordered ? Step::Position : Step::Damage;
}

// Version 0 knows only that a move was removed.
std::uint16_t WordOf(const BookFile& book, const BookEntry& entry) {
    if (IsRemoved(book, entry)) return kRemovedWord;
    return book.version == 0 ? std::uint16_t{0} : entry.word;
}

// Adds the entries of the cursor's list to those of the same position.
void AddList(std::vector<BookEntry>& entries, const Cursor& cursor) {
    for (int i = 0; i < cursor.list.count; ++i) {
        BookEntry added = cursor.list.entries[i];
        added.word = WordOf(cursor.book, added);
        // Lists have a few moves: a search through them is quicker than any index.
        const auto same =
            std::find_if(entries.begin(), entries.end(), [&added](const BookEntry& e) {
                return e.from == added.from && e.to == added.to;
            });
        if (same == entries.end())
            entries.push_back(added);
        else if (same->word == kRemovedWord || added.word == kRemovedWord)
            same->word = kRemovedWord;
        else
            same->word = ScaledWord(
                static_cast<std::uint64_t>(PointsFor(same->word) + PointsFor(added.word)),
                static_cast<std::uint64_t>(PointsAgainst(same->word) +
                                           PointsAgainst(added.word)));
    }
}

bool ComesFirst(const BookRecord& a, const BookRecord& b) {
    return a.key1 != b.key1 ? a.key1 < b.key1 : a.key2 < b.key2;
}

// Both books in one pass over their sorted indices. False when one is damaged.
bool MergeInto(BookImage& image, Cursor& a, Cursor& b) {
    Step stepA = Advance(a), stepB = Advance(b);
    while (stepA == Step::Position || stepB == Step::Position) {
        if (stepA == Step::Damage || stepB == Step::Damage) return false;
        const bool takeA = stepA == Step::Position &&
                           (stepB == Step::End || !ComesFirst(b.record, a.record));
        const bool takeB = stepB == Step::Position &&
                           (stepA == Step::End || !ComesFirst(a.record, b.record));
        // Both are taken when they are of the same position.
        const BookRecord record = takeA ? a.record : b.record;
        std::vector<BookEntry> entries;
        if (takeA) AddList(entries, a);
        if (takeB) AddList(entries, b);
        AddPosition(image, record.key1, record.key2, entries);
        if (takeA) stepA = Advance(a);
        if (takeB) stepB = Advance(b);
        if (image.nodes % kProgressEvery == 0)
            ShowProgress("Merging", std::uint64_t{a.next} + b.next,
                         std::uint64_t{a.book.nodes} + b.book.nodes);
    }
    EndProgress();
    return stepA == Step::End && stepB == Step::End;
}

// Games read in part or skipped are no error, but whoever wonders about a small book must
// learn of them.
void ReportBuild(const BuildCounts& counts, const std::string& output, bool json) {
    if (!json) {
        Write("%s: %u positions, %u moves, from %llu games and %llu lines\n",
              output.c_str(), counts.positions, counts.moves,
              static_cast<unsigned long long>(counts.games),
              static_cast<unsigned long long>(counts.lines));
        if (counts.broken + counts.skipped > 0)
            Write(
                "%llu games were read only in part, %llu skipped for their own start "
                "position\n",
                static_cast<unsigned long long>(counts.broken),
                static_cast<unsigned long long>(counts.skipped));
        return;
    }
    WriteJson({{"file", output},
               {"positions", counts.positions},
               {"moves", counts.moves},
               {"games", counts.games},
               {"lines", counts.lines},
               {"broken", counts.broken},
               {"skipped", counts.skipped}});
}

}  // namespace

// Lines first: a mistake in them is found before hours of games are read.
int BuildBook(const std::vector<std::string>& games,
              const std::vector<std::string>& lines, const std::string& output,
              const BuildOptions& options, bool json) {
    BookBuilder builder;
    std::string reason;
    for (const std::string& name : lines)
        if (!AddLines(builder, name, reason)) return Fail(reason);
    std::uint64_t whole = 0, before = 0;
    for (const std::string& name : games) whole += SizeOf(name);
    for (const std::string& name : games) {
        if (!AddGames(builder, name, options, before, whole, reason)) return Fail(reason);
        before += SizeOf(name);
    }
    const BookImage image = FinishBook(builder, options);
    if (image.nodes == 0)
        return Fail("the book would be empty: " + WhyEmpty(builder.counts, options));
    if (!WriteBookImage(image, output, reason)) return Fail(reason);
    ReportBuild(builder.counts, output, json);
    return 0;
}

// One position is an object of its own; a whole book is an object with an array.
int DumpBook(const std::string& name, const std::string& fen, bool json) {
    OpenedBook book;
    if (!OpenForReading(book, name)) return 1;
    BookPosition position;
    if (!fen.empty()) {
        if (!SetFen(fen)) return Fail("not a position: " + fen);
        position.line = "position";
        if (!FindPosition(book, position.index, position.record) ||
            !ReadBookList(book, position.record.list, position.list))
            return Fail("the position is not in the book");
        if (json)
            WriteJson(JsonOfPosition(book, position, true));
        else
            DumpPositionText(book, position, true);
    } else if (!json) {
        Write("%s: version %u, %u positions\n", name.c_str(), book.version, book.nodes);
        DumpAll(nullptr, book);
    } else {
        JsonList list = BeginJsonList(
            {{"file", name}, {"version", book.version}, {"positions", book.nodes}},
            "book");
        DumpAll(&list, book);
        EndJsonList(list, Json::object());
    }
    return 0;
}

// The new book is complete in memory before anything is written.
int MergeBooks(const std::string& a, const std::string& b, const std::string& output,
               bool json) {
    Cursor first, second;
    if (!OpenForReading(first.book, a) || !OpenForReading(second.book, b)) return 1;
    BookImage image;
    std::string reason;
    if (!MergeInto(image, first, second))
        return Fail("a book is damaged: run \"book check\" on both");
    // The output may bear the name of one of them.
    CloseBookFile(first.book);
    CloseBookFile(second.book);
    if (!WriteBookImage(image, output, reason)) return Fail(reason);
    if (!json) {
        Write("%s: %u positions\n", output.c_str(), image.nodes);
        return 0;
    }
    WriteJson({{"file", output}, {"positions", image.nodes}});
    return 0;
}

// Stricter than the engine, which plays from what is left of a cut index: a copy of half
// a book should not be taken for the whole.
bool OpenForReading(OpenedBook& book, const std::string& name) {
    if (!OpenBookFile(book, name.c_str())) {
        Fail("cannot open " + name);
        return false;
    }
    switch (ReadBookHeader(book)) {
        case BookHeader::Good:
            if (BookListsAt(book) <= book.size) return true;
            Fail(name + ": the index is cut off");
            return false;
        case BookHeader::BadVersion:
            Fail(name + ": version " + std::to_string(book.version) + " is not known");
            return false;
        default:
            Fail(name + " is not a book");
            return false;
    }
}
