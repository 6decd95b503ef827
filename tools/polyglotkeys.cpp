// The search for the numbers tries every place of a file: nine test positions must get
// their published keys, which a wrong place fails at the first. The positions' parts are
// worked out once, so that a place costs some thirty exclusive ors.
#include "tools/polyglotkeys.h"

#include <algorithm>
#include <filesystem>

#include "board/fen.h"
#include "platform/bytes.h"
#include "platform/files.h"

namespace {

// Where packages put a file that has the numbers.
constexpr const char* kUsualFiles[] = {"/usr/share/doc/polyglot/book_format.html",
                                       "/usr/games/polyglot", "/usr/games/xboard"};
constexpr std::size_t kLargestFile = std::size_t{1} << 24;  // bytes; more is not read

// The first number of each kind behind those of the men.
constexpr int kCastlingNumbers = 768;
constexpr int kEnPassantNumbers = 772;
constexpr int kTurnNumber = 780;

// The test keys published with the description of the format.
constexpr struct {
    const char* fen;
    std::uint64_t key;
} kTestKeys[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0x463b96181691fc9c},
    {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3", 0x823c9b50fd114196},
    {"rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq d6", 0x0756b94461c50fb0},
    {"rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR b KQkq -", 0x662fafb965db29d4},
    {"rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6", 0x22a48b5a8e47ff78},
    {"rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPPKPPP/RNBQ1BNR b kq -", 0x652a607ca3f242c1},
    {"rnbq1bnr/ppp1pkpp/8/3pPp2/8/8/PPPPKPPP/RNBQ1BNR w - -", 0x00fdd303c946bdd9},
    {"rnbqkbnr/p1pppppp/8/8/PpP4P/8/1P1PPPP1/RNBQKBNR b KQkq c3", 0x3c8123ea7b067637},
    {"rnbqkbnr/p1pppppp/8/8/P6P/R1p5/1P1PPPP1/1NBQKBNR b Kkq -", 0x5c3f9b829b279560},
};

// A test position as the numbers of its parts, and the key that they must give.
struct TestPosition {
    std::vector<int> parts;
    std::uint64_t key;
};

// The test positions' parts, by way of the board.
std::vector<TestPosition> TestPositions() {
    std::vector<TestPosition> positions;
    for (const auto& test : kTestKeys) {
        SetFen(test.fen);
        positions.push_back({PolyglotKeyParts(), test.key});
    }
    return positions;
}

// `number(i)` is the i-th of 781. A chance agreement in nine keys of 64 bits is out of
// the question.
template <typename Number>
bool AreTheNumbers(const std::vector<TestPosition>& tests, const Number& number) {
    return std::all_of(tests.begin(), tests.end(), [&](const TestPosition& test) {
        std::uint64_t key = 0;
        for (const int part : test.parts) key ^= number(part);
        return key == test.key;
    });
}

std::uint64_t WordAt(const std::uint8_t* bytes) {
    return Get32le(bytes) | std::uint64_t{Get32le(bytes + 4)} << 32;
}

// A table of words in machine code may begin at any byte.
bool FindInProgram(const std::vector<std::uint8_t>& bytes,
                   const std::vector<TestPosition>& tests, PolyglotKeys& keys) {
    constexpr std::size_t kSize = 8 * kPolyglotNumbers;
    for (std::size_t at = 0; at + kSize <= bytes.size(); ++at) {
        const auto number = [&](int i) {
            return WordAt(&bytes[at + 8 * static_cast<std::size_t>(i)]);
        };
        if (!AreTheNumbers(tests, number)) continue;
        for (int i = 0; i < kPolyglotNumbers; ++i)
            keys[static_cast<std::size_t>(i)] = number(i);
        return true;
    }
    return false;
}

int HexDigit(std::uint8_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    const int lower = c | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// All numbers "0x..." of a text.
std::vector<std::uint64_t> HexNumbers(const std::vector<std::uint8_t>& text) {
    std::vector<std::uint64_t> numbers;
    for (std::size_t i = 0; i + 2 < text.size(); ++i) {
        if (text[i] != '0' || text[i + 1] != 'x' || HexDigit(text[i + 2]) < 0) continue;
        std::uint64_t value = 0;
        for (i += 2; i < text.size() && HexDigit(text[i]) >= 0; ++i)
            value = value << 4 | static_cast<std::uint64_t>(HexDigit(text[i]));
        numbers.push_back(value);
    }
    return numbers;
}

// The text may hold other numbers in front of the table.
bool FindInText(const std::vector<std::uint64_t>& numbers,
                const std::vector<TestPosition>& tests, PolyglotKeys& keys) {
    for (std::size_t at = 0; at + kPolyglotNumbers <= numbers.size(); ++at) {
        if (!AreTheNumbers(
                tests, [&](int i) { return numbers[at + static_cast<std::size_t>(i)]; }))
            continue;
        std::copy_n(&numbers[at], kPolyglotNumbers, keys.begin());
        return true;
    }
    return false;
}

// Text is tried first: it is the smaller search.
bool FindInFile(const std::string& name, PolyglotKeys& keys) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(name, ignored)) return false;
    FileHandle file = OpenFile(name.c_str(), FileMode::Read);
    if (file == nullptr) return false;
    std::vector<std::uint8_t> bytes(kLargestFile);
    bytes.resize(ReadNext(file, bytes.data(), bytes.size()));
    CloseFile(file);
    const std::vector<TestPosition> tests = TestPositions();
    return FindInText(HexNumbers(bytes), tests, keys) ||
           FindInProgram(bytes, tests, keys);
}

// A man of this kind and colour on the square.
bool Stands(int square, int code, int colour) {
    return Board.Piece[square] == code &&
           (Board.Occupied[colour] & SquareMask(square)) != 0;
}

// The format's kind, 0 to 11, of a man on the board.
int KindAt(int square) {
    constexpr int order[] = {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING};
    const auto place =
        std::find(std::begin(order), std::end(order), int{Board.Piece[square]});
    const bool white = (Board.Occupied[WHITE] & SquareMask(square)) != 0;
    return 2 * static_cast<int>(place - std::begin(order)) + (white ? 1 : 0);
}

// The flags do not tell of rooks that were taken at home: a right needs the rook as well.
bool MayCastle(int colour, int rook, int rookHasMoved) {
    const int kingHasMoved = colour == WHITE ? Board.WK : Board.BK;
    return kingHasMoved == 0 && rookHasMoved == 0 && Stands(rook, ROOK, colour);
}

// The file of the pawn that may be taken en passant as this format sees it: legal or not,
// a pawn of the side to move stands beside it. -1: none.
int EnPassantFile() {
    const int passed = PassedSquare(), S = Board.SideToMove;
    if (passed == kNoSquare) return -1;
    // The pawn that has stepped stands one rank further on.
    const int pawn = passed + (S == WHITE ? -8 : 8), file = FileOf(pawn);
    const bool beside = (file > 0 && Stands(pawn - 1, PAWN, S)) ||
                        (file < 7 && Stands(pawn + 1, PAWN, S));
    return beside ? file : -1;
}

// Calls with the number of each part of the current position's key.
template <typename Take>
void ForEachPart(const Take& take) {
    for (SquareSet men = AllOccupied(); men != 0;) {
        const int square = TakeLowest(men);
        take(64 * KindAt(square) + square);
    }
    const bool rights[] = {MayCastle(WHITE, H1, Board.H1), MayCastle(WHITE, A1, Board.A1),
                           MayCastle(BLACK, H8, Board.H8),
                           MayCastle(BLACK, A8, Board.A8)};
    for (int i = 0; i < 4; ++i)
        if (rights[i]) take(kCastlingNumbers + i);
    if (const int file = EnPassantFile(); file >= 0) take(kEnPassantNumbers + file);
    if (Board.SideToMove == WHITE) take(kTurnNumber);
}

}  // namespace

bool FindPolyglotKeys(PolyglotKeys& keys, const std::string& name, std::string& reason) {
    if (!name.empty()) {
        reason = "the random numbers of Polyglot are not in " + name;
        return FindInFile(name, keys);
    }
    reason =
        "the random numbers of Polyglot are not here: install the package polyglot, or "
        "name a file that has them with --keys";
    return std::any_of(std::begin(kUsualFiles), std::end(kUsualFiles),
                       [&keys](const char* file) { return FindInFile(file, keys); });
}

std::vector<int> PolyglotKeyParts() {
    std::vector<int> parts;
    ForEachPart([&parts](int part) { parts.push_back(part); });
    return parts;
}

std::uint64_t PolyglotKey(const PolyglotKeys& keys) {
    std::uint64_t key = 0;
    ForEachPart([&](int part) { key ^= keys[static_cast<std::size_t>(part)]; });
    return key;
}
