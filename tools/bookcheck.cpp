// Checking a book: everything that the engine relies on, and where it does not hold.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "board/board.h"
#include "board/notation.h"
#include "book/book.h"
#include "platform/output.h"
#include "tools/bookcommands.h"
#include "tools/bookwalk.h"
#include "tools/findings.h"
#include "tools/progress.h"
#include "tools/report.h"

namespace {

constexpr std::uint32_t kProgressEvery = 4096;  // records

// Problems and counts: records read, their moves, and positions met in walking the book.
struct Findings {
    Problems problems;
    std::uint64_t moves = 0;
    std::uint32_t positions = 0, reached = 0;
};

std::string Number(std::int64_t value) { return std::to_string(value); }

// Offsets in the file, where the reports point to.
std::int64_t RecordAt(std::uint32_t index) {
    return kBookHeaderSize + std::int64_t{kBookRecordSize} * index;
}

// The entry after the last one is the list's end.
std::int64_t EntryAt(const BookFile& book, const BookList& list, int i) {
    return list.offset + 1 + (book.version == 0 ? 3 : 4) * i;
}

// Squares, and the same move twice. Legality is for positions that can be reached.
void CheckList(Findings& findings, const BookFile& book, const BookList& list) {
    for (int i = 0; i < list.count; ++i) {
        const BookEntry& entry = list.entries[i];
        const std::int64_t at = EntryAt(book, list, i);
        if (entry.from > 63 || entry.to > 63)
            Report(findings.problems, at,
                   "square beyond the board: " + Number(entry.from) + " to " +
                       Number(entry.to));
        else if (entry.from == entry.to)
            Report(findings.problems, at,
                   "move from a square to itself: " + Number(entry.from));
        for (int j = 0; j < i; ++j)
            if (list.entries[j].from == entry.from && list.entries[j].to == entry.to) {
                Report(findings.problems, at, "move listed before in the same list");
                break;
            }
    }
    findings.moves += static_cast<std::uint64_t>(list.count);
}

// A list's bytes and whose they are.
struct Extent {
    std::int64_t begin, end;
    std::uint32_t index;
};

// Order of the index, place and content of every list, lists that overlap.
void CheckRecords(Findings& findings, const BookFile& book) {
    std::vector<Extent> extents;
    BookRecord record{}, last{};
    BookList list;
    for (std::uint32_t i = 0; i < book.nodes && ReadBookRecord(book, i, record); ++i) {
        if (i > 0 && (record.key1 < last.key1 ||
                      (record.key1 == last.key1 && record.key2 <= last.key2)))
            Report(findings.problems, RecordAt(i),
                   "record " + Number(i) + " is out of order");
        last = record;
        if (ReadBookList(book, record.list, list)) {
            CheckList(findings, book, list);
            extents.push_back({list.offset, EntryAt(book, list, list.count), i});
        } else {
            Report(findings.problems, RecordAt(i) + 8,
                   "record " + Number(i) + ": its list at " + Number(record.list) +
                       " is not within the file's lists");
        }
        ++findings.positions;
        if (i % kProgressEvery == 0) ShowProgress("Checking", i, book.nodes);
    }
    EndProgress();
    // Sorted by place, only neighbours can be the first to overlap.
    std::sort(extents.begin(), extents.end(),
              [](const Extent& a, const Extent& b) { return a.begin < b.begin; });
    for (std::size_t i = 1; i < extents.size(); ++i)
        if (extents[i].begin < extents[i - 1].end)
            Report(findings.problems, RecordAt(extents[i].index) + 8,
                   "record " + Number(extents[i].index) +
                       ": its list overlaps that of record " +
                       Number(extents[i - 1].index));
}

// A move that was not legal however its position was reached so far.
struct IllegalMove {
    std::uint32_t index;
    std::int64_t offset;
    BookEntry entry;
    std::string line;
};

// Moves that are not legal, in the positions that the book's own moves lead to. The keys
// of the others do not tell the position.
void CheckLegality(Findings& findings, const BookFile& book) {
    std::vector<IllegalMove> illegal;
    std::vector<bool> met(book.nodes);
    WalkBook(book, [&](const BookPosition& position) {
        // Reached again with other rights: moves that are legal now are no fault.
        if (met[position.index])
            return std::erase_if(illegal, [&](const IllegalMove& m) {
                       return m.index == position.index &&
                              LegalMoveOf(m.entry) != NO_MOVE;
                   }) == 0;
        met[position.index] = true;
        ++findings.reached;
        const std::size_t before = illegal.size();
        for (int i = 0; i < position.list.count; ++i) {
            const BookEntry& entry = position.list.entries[i];
            if (entry.from <= 63 && entry.to <= 63 && entry.from != entry.to &&
                LegalMoveOf(entry) == NO_MOVE)
                illegal.push_back({position.index, EntryAt(book, position.list, i), entry,
                                   position.line});
        }
        return illegal.size() > before;
    });
    for (const IllegalMove& m : illegal) {
        char text[kMoveTextSize];
        MoveToTextWithoutPromotion(text,
                                   MakeWord(m.entry.from, m.entry.to, EMPTY, EMPTY));
        Report(findings.problems, m.offset,
               std::string(text) + " is not legal after " +
                   (m.line.empty() ? "no move" : m.line));
    }
}

// The problems, and a last line for the whole.
void WriteText(const Findings& findings, const std::string& name) {
    WriteText(findings.problems, name);
    Write("%s: %u positions, %llu moves, %u positions reached from the start: %s\n",
          name.c_str(), findings.positions,
          static_cast<unsigned long long>(findings.moves), findings.reached,
          findings.problems.count == 0 ? "good" : "damaged");
}

// The same for programs.
void WriteAsJson(const Findings& findings, const std::string& name) {
    Json report = {{"file", name},
                   {"good", findings.problems.count == 0},
                   {"positions", findings.positions},
                   {"moves", findings.moves},
                   {"reached", findings.reached}};
    AddProblems(findings.problems, report);
    WriteJson(report);
}

// Everything behind a header that has been read.
void CheckContent(Findings& findings, BookFile& book) {
    switch (ReadBookHeader(book)) {
        case BookHeader::NoBook:
            Report(findings.problems, 0, "the header is not a book's");
            return;
        case BookHeader::BadVersion:
            Report(findings.problems, kBookVersionAt,
                   "version " + Number(book.version) + " is not known");
            return;
        case BookHeader::Good:
            break;
    }
    // Nothing behind such a header can be relied on.
    if (BookListsAt(book) > book.size) {
        Report(findings.problems, kBookNodesAt,
               Number(book.nodes) + " positions do not fit into " + Number(book.size) +
                   " bytes");
        return;
    }
    CheckRecords(findings, book);
    CheckLegality(findings, book);
}

}  // namespace

// A book with a wrong header is a finding and not an error of the command: only a file
// that cannot be opened is that.
int CheckBook(const std::string& name, bool json) {
    OpenedBook book;
    if (!OpenBookFile(book, name.c_str())) return Fail("cannot open " + name);
    Findings findings;
    CheckContent(findings, book);
    json ? WriteAsJson(findings, name) : WriteText(findings, name);
    return findings.problems.count == 0 ? 0 : 1;
}
