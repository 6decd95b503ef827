// Games are reduced to points at once: memory holds one slot for each different move of
// each different position.
#include "tools/bookbuild.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <tuple>

#include "book/book.h"
#include "book/pgn.h"
#include "book/san.h"
#include "tools/progress.h"

namespace {

constexpr int kProgressEvery = 1024;  // games

// A slot in use has games, or comes from a line.
bool IsFree(const BuiltMove& slot) { return slot.games == 0 && !slot.fromLine; }

// The keys are well mixed already; the squares are spread over them (Fibonacci hashing),
// so that the moves of a position do not crowd into neighbouring slots.
std::size_t HashOf(const BuiltMove& move) {
    const std::uint64_t keys =
        static_cast<std::uint64_t>(static_cast<std::uint32_t>(move.key1)) << 32 |
        static_cast<std::uint32_t>(move.key2);
    const auto squares = static_cast<std::uint64_t>(move.from | move.to << 6);
    return static_cast<std::size_t>((keys ^ squares << 20) * 0x9E3779B97F4A7C15 >> 24);
}

// The slot of the move, or the free one where it belongs: linear probing. There is always
// a free slot (MakeRoom), so that the search ends.
BuiltMove& SlotOf(std::vector<BuiltMove>& slots, const BuiltMove& move) {
    const std::size_t mask = slots.size() - 1;
    for (std::size_t i = HashOf(move) & mask;; i = (i + 1) & mask) {
        BuiltMove& slot = slots[i];
        if (IsFree(slot) || (slot.key1 == move.key1 && slot.key2 == move.key2 &&
                             slot.from == move.from && slot.to == move.to))
            return slot;
    }
}

// Keeps a quarter of the slots free; doubles the table and enters all slots anew.
void MakeRoom(BookBuilder& builder) {
    if (builder.used * 4 < builder.slots.size() * 3) return;
    std::vector<BuiltMove> larger(builder.slots.size() * 2);
    for (const BuiltMove& slot : builder.slots)
        if (!IsFree(slot)) SlotOf(larger, slot) = slot;
    builder.slots.swap(larger);
}

// The slot of a move of the current position; the caller makes sure that it is no longer
// free afterwards.
BuiltMove& Slot(BookBuilder& builder, Move m) {
    MakeRoom(builder);
    BuiltMove move = {};
    move.key1 = BookKey1(Board.hash1, Board.SideToMove);
    move.key2 = static_cast<std::int32_t>(Board.hash2);
    move.from = static_cast<std::uint8_t>(From(m));
    move.to = static_cast<std::uint8_t>(To(m));
    BuiltMove& slot = SlotOf(builder.slots, move);
    if (IsFree(slot)) {
        slot = move;
        ++builder.used;
    }
    return slot;
}

// Books know promotions to a queen alone: another one would be played as that, and would
// lend it its results. The moves behind it can be told again.
bool FitsBook(Move m) { return Promotion(m) == EMPTY || Promotion(m) == QUEEN; }

// A game's outcome gives its moves the points that book learning would: 2 for a win, 1
// and 1 for a draw. A game without a result counts as played, which --min-games asks for.
void CreditGame(BuiltMove& slot, int result, int side) {
    ++slot.games;
    if (result == kPgnNoResult) return;
    const int winner = result == kPgnWhiteWon ? WHITE : BLACK;
    const bool drawn = result == kPgnDrawn, won = !drawn && winner == side;
    slot.pointsFor += drawn ? 1 : won ? 2 : 0;
    slot.pointsAgainst += drawn ? 1 : won ? 0 : 2;
}

// ---- Games ----

using GzipFile = std::unique_ptr<gzFile_s, int (*)(gzFile)>;

// The PGN reader's source. What is not compressed is read as it stands: zlib tells the
// two apart by itself. An error looks like the end here and is asked for when all is
// read.
std::size_t ReadGzip(void* file, void* buffer, std::size_t size) {
    const int got =
        gzread(static_cast<gzFile>(file), buffer, static_cast<unsigned>(size));
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

// The moves up to the limit; the reader goes over the rest by itself.
void AddGame(BookBuilder& builder, PgnReader& pgn, const BuildOptions& options) {
    SetStartPosition();
    Move m = NO_MOVE;
    for (int ply = 0; ply < options.maxPly; ++ply) {
        const PgnStatus status = NextPgnMove(pgn, m);
        if (status != PgnStatus::Found) {
            const bool ended =
                status == PgnStatus::GameEnd || status == PgnStatus::FileEnd;
            builder.counts.broken += ended ? 0 : 1;
            return;
        }
        if (FitsBook(m)) CreditGame(Slot(builder, m), pgn.result, Board.SideToMove);
        PlayPgnMove(m);
    }
}

// ---- Opening lines ----

// "12.", "12...": the number in front of a move, or alone.
std::string WithoutNumber(const std::string& word) {
    std::size_t at = word.find_first_not_of("0123456789");
    if (at == std::string::npos || at == 0 || word[at] != '.') return word;
    at = word.find_first_not_of('.', at);
    return at == std::string::npos ? "" : word.substr(at);
}

// A move that one line marks as doubtful stays removed whatever other lines say of it.
void KeepMove(BuiltMove& slot, bool removed) {
    slot.fromLine = true;
    slot.removed |= removed;
}

// Plays the moves of one line; false at the first that is not legal, which `word` then
// is.
bool AddLine(BookBuilder& builder, const std::string& moves, std::string& word) {
    SetStartPosition();
    std::istringstream words(moves);
    while (words >> word) {
        const std::string text = WithoutNumber(word);
        if (text.empty()) continue;
        // Marks behind the move are the line's comment on it.
        const std::string san = text.substr(0, text.find_last_not_of("!?+#") + 1);
        Move m = NO_MOVE;
        if (san.size() > kPgnTokenLimit || ResolveSan(san.c_str(), m) != 1) return false;
        // Of "!?" and "?!" only the latter is a doubtful move.
        const std::size_t mark = text.find_first_of("!?");
        const bool doubtful = mark != std::string::npos && text[mark] == '?';
        if (FitsBook(m)) KeepMove(Slot(builder, m), doubtful);
        PlayPgnMove(m);
    }
    return true;
}

// ---- The book ----

// Lines are somebody's choice; what games alone have played must have been played often,
// or a blunder of one game would be in the book.
bool IsKept(const BuiltMove& slot, const BuildOptions& options) {
    return slot.fromLine || slot.games >= static_cast<std::uint32_t>(options.minGames);
}

// By the index's order, then the most played first.
bool ComesBefore(const BuiltMove& a, const BuiltMove& b) {
    return std::tuple(a.key1, a.key2, b.games, a.from, a.to) <
           std::tuple(b.key1, b.key2, a.games, b.from, b.to);
}

}  // namespace

bool AddGames(BookBuilder& builder, const std::string& name, const BuildOptions& options,
              std::uint64_t bytesBefore, std::uint64_t wholeBytes, std::string& reason) {
    const GzipFile file(name == "-" ? gzdopen(0, "rb") : gzopen(name.c_str(), "rb"),
                        gzclose);
    if (!file) {
        reason = "cannot open " + name;
        return false;
    }
    gzbuffer(file.get(), 2 * kPgnBufferSize);
    const auto pgn = std::make_unique<PgnReader>();
    OpenPgn(*pgn, ReadGzip, file.get());
    pgn->unnumbered = true;
    while (NextPgnGame(*pgn)) {
        ++builder.counts.games;
        if (pgn->hasFen)
            ++builder.counts.skipped;
        else
            AddGame(builder, *pgn, options);
        if (builder.counts.games % kProgressEvery == 0)
            ShowProgress("Reading games",
                         bytesBefore + static_cast<std::uint64_t>(gzoffset(file.get())),
                         wholeBytes);
    }
    EndProgress();
    int error = Z_OK;
    const char* const text = gzerror(file.get(), &error);
    if (error == Z_OK || error == Z_STREAM_END) return true;
    reason =
        "cannot read " + name + ": " + (error == Z_ERRNO ? std::strerror(errno) : text);
    return false;
}

// The moves stand behind the last colon: names may have colons of their own.
bool AddLines(BookBuilder& builder, const std::string& name, std::string& reason) {
    std::ifstream file(name);
    if (!file) {
        reason = "cannot open " + name;
        return false;
    }
    std::string text, word;
    for (int number = 1; std::getline(file, text); ++number) {
        text.resize(std::min(text.find('#'), text.size()));
        if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
        const std::size_t colon = text.rfind(':');
        const std::string moves =
            colon == std::string::npos ? text : text.substr(colon + 1);
        if (!AddLine(builder, moves, word)) {
            reason = name + ":" + std::to_string(number) + ": \"" + word +
                     "\" is not one legal move";
            return false;
        }
        ++builder.counts.lines;
    }
    return true;
}

// The slots are sorted where they are, so that no second table is needed.
BookImage FinishBook(BookBuilder& builder, const BuildOptions& options) {
    std::vector<BuiltMove>& moves = builder.slots;
    for (const BuiltMove& m : moves)
        builder.counts.mostGames = std::max(builder.counts.mostGames, m.games);
    // Free slots go with the moves that are too rare: neither is kept.
    std::erase_if(moves, [&](const BuiltMove& m) { return !IsKept(m, options); });
    std::sort(moves.begin(), moves.end(), ComesBefore);
    BookImage image;
    std::vector<BookEntry> entries;
    for (std::size_t i = 0; i < moves.size(); ++i) {
        const BuiltMove& m = moves[i];
        const std::uint16_t word =
            m.removed ? kRemovedWord : ScaledWord(m.pointsFor, m.pointsAgainst);
        entries.push_back({m.from, m.to, word});
        if (i + 1 < moves.size() && moves[i + 1].key1 == m.key1 &&
            moves[i + 1].key2 == m.key2)
            continue;
        AddPosition(image, m.key1, m.key2, entries);
        builder.counts.moves += static_cast<std::uint32_t>(entries.size());
        entries.clear();
    }
    builder.counts.positions = image.nodes;
    builder = BookBuilder{.counts = builder.counts};
    return image;
}

// From the first rule that drops a game to the last.
std::string WhyEmpty(const BuildCounts& counts, const BuildOptions& options) {
    if (counts.games == 0)
        return "there are no games (a game begins with its tags, like [Result \"1-0\"]) "
               "and no opening lines";
    const std::string games = std::to_string(counts.games);
    if (counts.skipped == counts.games)
        return "all games (" + games + ") begin at a position of their own";
    if (counts.mostGames == 0)
        return "of " + games + " games no first move could be told";
    return "no move occurs in " + std::to_string(options.minGames) +
           " games, which is --min-games; the most frequent occurs in " +
           std::to_string(counts.mostGames);
}
