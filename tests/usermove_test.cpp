// Moves as the user types them.
#include <gtest/gtest.h>

#include <cstring>

#include "driver/usermove.h"
#include "tests/support.h"

namespace {

// A line as the program reads it: in a buffer that goes on behind the text.
struct Line {
    char text[16] = {};
    explicit Line(const char* typed) { std::strncpy(text, typed, sizeof text - 1); }
};

Move Parsed(const char* typed) {
    const Line line(typed);
    return ParseCoordinateMove(line.text, line.text[4]);
}
Move Matched(const char* typed) { return MatchListMove(Line(typed).text); }

TEST(UserMove, LegalOnesAreAccepted) {
    const char* const promotion = "8/4P3/8/8/8/8/k7/4K3 w";
    const char* const enPassant = "4k3/8/8/3Pp3/8/8/8/4K2R w K e6";
    const char* const setUp = "4k3/8/8/3Pp3/8/8/8/4K2R w - -";
    const struct {
        const char* fen;
        const char* typed;
        bool legal;
    } cases[] = {
        {kStart, "e2e4", true},
        {kStart, "e2e5", false},
        {kStart, "e7e5", false},
        {kStart, "e3e4", false},
        {kStart, "e2e4q", false},
        {kStart, "e2e4x", true},  // no promotion letter
        {promotion, "e7e8q", true},
        {promotion, "e7e8n", true},
        {promotion, "e7e8", false},
        {promotion, "e7e8k", false},
        {enPassant, "d5e6", true},
        {setUp, "d5e6", false},
        {enPassant, "e1g1", true},
        {setUp, "e1g1", false},
        {"4k3/4r3/8/8/8/8/4N3/4K3 w", "e2c3", false},  // pinned
        {"4k3/4R3/8/8/8/8/8/4K3 w", "e7e8", false},    // takes a king
    };
    for (const auto& c : cases) {
        Position(c.fen);
        Generated.MoveStackTop = 3;
        EXPECT_EQ(IsLegalUserMove(Parsed(c.typed)), c.legal) << c.fen << ' ' << c.typed;
        EXPECT_EQ(Generated.MoveStackTop, 3);
    }
}

TEST(UserMove, OtherLines) {
    EXPECT_TRUE(LooksLikeMove('a', '1', 'h', '8'));
    for (const char* typed : {"i1a1", "a0a1", "a9a1", "a1i1", "a1a0", "`1a1", "a1",
                              "A1B2", "", "\xFF\xFF\xFF\xFF"}) {
        const Line line(typed);
        const char* text = line.text;
        EXPECT_FALSE(LooksLikeMove(text[0], text[1], text[2], text[3])) << typed;
        EXPECT_EQ(Parsed(typed), NO_MOVE) << typed;
    }
}

TEST(UserMove, MatchList) {
    Position(kPromotions);
    BuildMatchList();
    Position(kStart);  // the list stays that of its own position
    const Move c5 = MakeWord(C4, C5, PAWN, EMPTY);
    EXPECT_EQ(Matched("c4c5"), c5);
    EXPECT_TRUE(IsInMatchList(c5));
    EXPECT_FALSE(IsInMatchList(NO_MOVE));
    for (const char* typed : {"e2e4", "c4c5q", "c4", ""})
        EXPECT_EQ(Matched(typed), NO_MOVE) << typed;
}

}  // namespace
