// A tokeniser over a buffer that is refilled, driven by one table of character classes.
// The NUL at the buffer's end stops every inner loop, so that only then the end is
// tested.
#include "book/pgn.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "book/san.h"

namespace {

// What a character can be, several at once.
enum CharacterClass : std::uint8_t {
    kBlank = 1,  // blanks and control characters, but NUL, which may be the buffer's end
    kAnnotation = 2,  // may be skipped between moves; the "0" is looked at more closely
    kToken = 4,       // belongs to a move
    kStructure = 8,   // "[", "{", "(", ";"
    kForeign = 16,    // letters of other notations: "S" and "T", those beyond ASCII
    kMoveBegin = 32,  // what makes a move of another notation when it follows those
};

// [character]: sum of its classes; 0 for NUL and for what belongs to nothing.
consteval std::array<std::uint8_t, 256> MakeClasses() {
    std::array<std::uint8_t, 256> classes{};
    const auto add = [&classes](const char* characters, std::uint8_t bit) {
        for (; *characters != '\0'; ++characters)
            classes[static_cast<unsigned char>(*characters)] |= bit;
    };
    for (std::size_t c = 1; c <= ' '; ++c) classes[c] = kBlank | kAnnotation;
    add("123456789.!?+-#$/\\*", kAnnotation);
    add("abcdefgh012345678KQNBRP=-O:x", kToken);
    add("abcdefgh012345678KQNBRPOx", kMoveBegin);
    add("[{(;", kStructure);
    add("ijklmnopqrstuvwyzACDEFGHIJLMSTUVWXYZ", kForeign);
    for (std::size_t c = 0x80; c <= 0xFF; ++c) classes[c] = kForeign;
    return classes;
}
constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

bool Is(char c, int classes) {
    return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

// ---- The stream ----

// The source where there is one, else the file.
std::size_t ReadMore(PgnReader& pgn, char* buffer, std::size_t size) {
    return pgn.source != nullptr ? pgn.source(pgn.from, buffer, size)
                                 : ReadNext(pgn.file, buffer, size);
}

// Fetches more, behind what is left; false at the file's end, where nothing comes. Moves
// the text within the buffer: a pointer kept by the caller is stale afterwards.
bool Refill(PgnReader& pgn) {
    const auto left = static_cast<std::size_t>(pgn.end - pgn.at);
    pgn.bytesBefore += static_cast<std::uint64_t>(pgn.at - pgn.buffer);
    std::memmove(pgn.buffer, pgn.at, left);
    const std::size_t got =
        pgn.fileEnd ? 0 : ReadMore(pgn, pgn.buffer + left, kPgnBufferSize - left);
    if (got == 0) pgn.fileEnd = true;
    pgn.at = pgn.buffer;
    pgn.end = pgn.buffer + left + got;
    pgn.buffer[left + got] = '\0';
    return got > 0;
}

// Skips characters of the classes, and NULs that the file itself holds. The first other
// one, or NUL at the file's end.
char SkipClass(PgnReader& pgn, int classes) {
    for (;;) {
        while (Is(*pgn.at, classes)) ++pgn.at;
        if (*pgn.at != '\0') return *pgn.at;
        if (pgn.at < pgn.end)
            ++pgn.at;
        else if (!Refill(pgn))
            return '\0';
    }
}

// Goes to the next of two characters, which is not consumed; false at the file's end.
bool SkipTo(PgnReader& pgn, char a, char b) {
    for (;;) {
        while (*pgn.at != a && *pgn.at != b && *pgn.at != '\0') ++pgn.at;
        if (*pgn.at != '\0') return true;
        if (pgn.at < pgn.end)
            ++pgn.at;
        else if (!Refill(pgn))
            return false;
    }
}

// The character `ahead` places on; NUL behind the file's end.
char Peek(PgnReader& pgn, int ahead) {
    if (pgn.end - pgn.at <= ahead) Refill(pgn);
    return pgn.end - pgn.at <= ahead ? '\0' : pgn.at[ahead];
}

// ---- What is not a move ----

// A comment in braces, which nest; `at` is on the first one.
void SkipComment(PgnReader& pgn) {
    int depth = 0;
    while (SkipTo(pgn, '{', '}')) {
        depth += *pgn.at++ == '{' ? 1 : -1;
        if (depth == 0) return;
    }
}

// A variation in parentheses, which nest; those in its comments do not count.
void SkipVariation(PgnReader& pgn) {
    int depth = 0;
    for (;;) {
        while (*pgn.at != '(' && *pgn.at != ')' && *pgn.at != '{' && *pgn.at != '\0')
            ++pgn.at;
        if (*pgn.at == '{') {
            SkipComment(pgn);
        } else if (*pgn.at == '\0') {
            if (pgn.at < pgn.end)
                ++pgn.at;
            else if (!Refill(pgn))
                return;
        } else {
            depth += *pgn.at++ == '(' ? 1 : -1;
            if (depth == 0) return;
        }
    }
}

// Whatever structure begins here, but the tag of the next game. False for anything else.
bool SkipStructure(PgnReader& pgn) {
    switch (*pgn.at) {
        case '{':
            SkipComment(pgn);
            return true;
        case '(':
            SkipVariation(pgn);
            return true;
        case ';':
            SkipTo(pgn, '\n', '\r');
            return true;
        default:
            return false;
    }
}

// Move numbers, results and annotation signs, but not castling written with zeros. The
// first character that is none of them, or NUL at the file's end.
char SkipAnnotations(PgnReader& pgn) {
    for (;;) {
        const char c = SkipClass(pgn, kAnnotation);
        if (c != '0' || (Peek(pgn, 1) == '-' && Peek(pgn, 2) == '0')) return c;
        ++pgn.at;
    }
}

// ---- Tags ----

// The character at hand when it is not a NUL of the file; NUL at the file's end.
char AtCharacter(PgnReader& pgn) {
    while (*pgn.at == '\0')
        if (pgn.at < pgn.end)
            ++pgn.at;
        else if (!Refill(pgn))
            return '\0';
    return *pgn.at;
}

// Keeps the first characters of a part of a tag and goes to the first of the characters
// that end it; false at the file's end.
template <std::size_t size, typename Ends>
bool ReadTagPart(PgnReader& pgn, char (&part)[size], Ends ends) {
    std::size_t length = 0;
    for (char c; (c = AtCharacter(pgn)) != '\0' && !ends(c); ++pgn.at)
        if (length + 1 < size) part[length++] = c;
    part[length] = '\0';
    return *pgn.at != '\0';
}

// Keeps the first characters of a value in quotes and goes to the quote that closes it. A
// "]" in it does not end the tag; a line end does when one has been met, for then the
// closing quote is missing. False at the file's end.
template <std::size_t size>
bool ReadQuoted(PgnReader& pgn, char (&value)[size]) {
    std::size_t length = 0;
    bool bracket = false;
    value[0] = '\0';
    for (char c; (c = AtCharacter(pgn)) != '\0'; ++pgn.at) {
        if (c == '"' || (c == '\n' && bracket)) return true;
        if (c == ']') bracket = true;
        if (c == '\\' && Peek(pgn, 1) == '"') ++pgn.at;
        if (length + 1 < size) value[length++] = c;
        value[length] = '\0';
    }
    return false;
}

// From the first characters of the tag's value: "1-0", "0-1", "1/2-1/2"; all else, "*"
// and damage, is no result.
int ResultOf(const char* value) {
    if (value[0] == '1' && value[1] == '-') return kPgnWhiteWon;
    if (value[0] == '0' && value[1] == '-') return kPgnBlackWon;
    if (value[0] == '1' && value[1] == '/') return kPgnDrawn;
    return kPgnNoResult;
}

// Whatever the case of the tag's name: "Result", "result", "RESULT".
bool NameBegins(const char* name, const char* lowerCase) {
    for (; *lowerCase != '\0'; ++name, ++lowerCase)
        if (ToLower(*name) != *lowerCase) return false;
    return true;
}

// `at` is on "["; afterwards behind the tag. False at the file's end.
bool ReadTag(PgnReader& pgn) {
    char name[8], value[kPgnValueSize];
    ++pgn.at;
    SkipClass(pgn, kBlank);
    const auto endsName = [](char c) { return c == ']' || c == '"' || Is(c, kBlank); };
    if (!ReadTagPart(pgn, name, endsName) || SkipClass(pgn, kBlank) == '\0') return false;
    if (*pgn.at == '"') {
        ++pgn.at;
        if (!ReadQuoted(pgn, value) || !SkipTo(pgn, ']', '\n')) return false;
    } else if (!ReadTagPart(pgn, value, [](char c) { return c == ']' || c == '\n'; })) {
        return false;
    }
    ++pgn.at;
    if (NameBegins(name, "result")) pgn.result = ResultOf(value);
    if (NameBegins(name, "fen") && name[3] == '\0') {
        pgn.hasFen = true;
        std::memcpy(pgn.fen, value, sizeof value);
    }
    return true;
}

// ---- Moves ----

// Reads a move's characters; false when there are too many.
bool ReadToken(PgnReader& pgn, char (&raw)[kPgnTokenLimit + 1]) {
    int length = 0;
    for (;;) {
        while (Is(*pgn.at, kToken) && length < kPgnTokenLimit) raw[length++] = *pgn.at++;
        raw[length] = '\0';
        if (length == kPgnTokenLimit) return false;
        if (pgn.at < pgn.end || !Refill(pgn)) return true;
    }
}

// The token as it is shown: without capture marks and "=".
void CleanToken(const char* raw, char* token) {
    for (; *raw != '\0'; ++raw)
        if (*raw != 'x' && *raw != ':' && *raw != '=') *token++ = *raw;
    *token = '\0';
}

// "e.p." and "ep" behind an en passant capture are no moves of a pawn on the e-file.
bool SkipEnPassantMark(PgnReader& pgn, const char* token) {
    if (token[0] != 'e' || token[1] != '\0') return false;
    const int dots = *pgn.at == '.' ? 1 : 0;
    if (Peek(pgn, dots) != 'p') return false;
    pgn.at += dots + 1;
    return true;
}

// Skips letters of other notations. True when a move follows them at once: "Sf3" and a
// figurine's "f3" must not be taken for a pawn's move.
bool SkipForeign(PgnReader& pgn) {
    do
        while (Is(*pgn.at, kForeign)) ++pgn.at;
    while (pgn.at == pgn.end && Refill(pgn));
    return Is(*pgn.at, kMoveBegin);
}

// "=" and ":" by themselves say something about the position; they are no moves.
bool IsMark(const char* raw) {
    while (*raw == 'x' || *raw == ':' || *raw == '=') ++raw;
    return *raw == '\0';
}

// Finds the move of a token, and leaves what an error message about it needs. Once a move
// could not be told, those behind it would be read on a wrong board: the game is lost.
PgnStatus Resolve(PgnReader& pgn, const char* raw, bool foreign, Move& move) {
    pgn.matches = foreign ? 0 : ResolveSan(raw, move);
    if (pgn.matches == 1) return PgnStatus::Found;
    CleanToken(raw, pgn.token);
    pgn.gameLost = true;
    return pgn.matches == 0 ? PgnStatus::Unrecognised : PgnStatus::Ambiguous;
}

}  // namespace

bool OpenPgn(PgnReader& pgn, const char* name) {
    OpenPgn(pgn, nullptr, nullptr);
    std::error_code ignored;
    if (!std::filesystem::is_directory(name, ignored))
        pgn.file = OpenFile(name, FileMode::Read);
    return pgn.file != nullptr;
}

void OpenPgn(PgnReader& pgn, PgnSource source, void* from) {
    ClosePgn(pgn);
    pgn.source = source;
    pgn.from = from;
    pgn.inGame = pgn.fileEnd = false;
    pgn.bytesBefore = 0;
    pgn.at = pgn.end = pgn.buffer;
    pgn.buffer[0] = '\0';
}

void ClosePgn(PgnReader& pgn) { CloseFile(pgn.file); }

// A game without tags cannot be told from the text around it: the search is for "[".
bool NextPgnGame(PgnReader& pgn) {
    pgn.gameLost = true;  // what is left of the last one is not played
    for (Move m; pgn.inGame;)
        if (NextPgnMove(pgn, m) == PgnStatus::FileEnd) return false;
    pgn.result = kPgnNoResult;
    pgn.hasFen = pgn.gameLost = false;
    if (!SkipTo(pgn, '[', '[')) return false;
    do
        if (!ReadTag(pgn)) return false;
    while (SkipClass(pgn, kBlank) == '[');
    while (Is(SkipClass(pgn, kBlank), kStructure) && SkipStructure(pgn)) {
    }
    if (!pgn.unnumbered && !pgn.hasFen) SkipTo(pgn, '1', '[');
    pgn.inGame = true;
    return true;
}

// A single loop over what may stand between two moves; whatever cannot be told is passed
// over one character at a time, so that the reading always goes on.
PgnStatus NextPgnMove(PgnReader& pgn, Move& move) {
    for (;;) {
        char c = SkipAnnotations(pgn);
        const bool foreign = Is(c, kForeign);
        if (foreign) {
            if (!SkipForeign(pgn)) continue;
            c = *pgn.at;
        }
        if (Is(c, kToken)) {
            char raw[kPgnTokenLimit + 1];
            if (!ReadToken(pgn, raw)) {
                std::memcpy(pgn.token, raw, sizeof raw);
                pgn.gameLost = true;
                return PgnStatus::TooLong;
            }
            // Of a lost game tokens are still read, so that its end is found.
            if (pgn.gameLost || SkipEnPassantMark(pgn, raw)) continue;
            if (!IsMark(raw)) return Resolve(pgn, raw, foreign, move);
        } else if (c == '\0' || c == '[') {
            pgn.inGame = false;
            return c == '[' ? PgnStatus::GameEnd : PgnStatus::FileEnd;
        } else if (!SkipStructure(pgn)) {
            ++pgn.at;
        }
    }
}

void SkipPgnGame(PgnReader& pgn) { pgn.gameLost = true; }

// A game longer than the history stack puts its oldest moves aside, where they would pile
// up from game to game.
void PlayPgnMove(Move move) {
    PlayGameMove(move);
    if (ArchivedPlies() > 0) ClearGameArchive();
}

std::uint64_t PgnPosition(const PgnReader& pgn) {
    return pgn.bytesBefore + static_cast<std::uint64_t>(pgn.at - pgn.buffer);
}
