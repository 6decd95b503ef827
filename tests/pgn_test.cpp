// PGN: moves told from their text, games from files of every shape.
#include "book/pgn.h"
#include "board/notation.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "board/fen.h"
#include "book/book.h"
#include "book/san.h"
#include "tests/moves.h"
#include "tests/scratch.h"
#include "tools/randomgames.h"
#include "tools/sanwriter.h"

namespace {

// What a reader of a file delivers: "W e2e4 e7e5 |" for a game that White won, then what
// came instead of a move.
std::string Digest(const std::string& name, bool unnumbered = false) {
    auto pgn = std::make_unique<PgnReader>();
    pgn->unnumbered = unnumbered;
    if (!OpenPgn(*pgn, name.c_str())) return "cannot open";
    std::string digest;
    while (NextPgnGame(*pgn)) {
        SetStartPosition();
        digest += "-WBD"[pgn->result];
        Move m = NO_MOVE;
        PgnStatus status;
        while ((status = NextPgnMove(*pgn, m)) == PgnStatus::Found) {
            digest += ' ' + MoveText(m);
            PlayPgnMove(m);
        }
        if (status == PgnStatus::Unrecognised) digest += " ?" + std::string(pgn->token);
        if (status == PgnStatus::TooLong) digest += " >" + std::string(pgn->token);
        if (status == PgnStatus::Ambiguous)
            digest += std::string(" ") + std::to_string(pgn->matches) + "*" + pgn->token;
        digest += " | ";
    }
    ClosePgn(*pgn);
    return digest;
}

TEST(PgnReading, FilesOfEveryShape) {
    const std::string tag = "[Result \"1-0\"]\n";
    const std::string e4e5 = "W e2e4 e7e5 | ";
    const struct {
        std::string text, digest;
    } cases[] = {
        {tag + "1. e4 e5 1-0\n", e4e5},
        {tag + "1. e4 e5", e4e5},
        {tag + "\r\n1. e4\r\ne5 1-0\r\n\r\n" + tag + "1.d4 1-0", e4e5 + "W d2d4 | "},
        {"junk\n\n" + tag + "1.e4e5 1-0", "W ?e4e5 | "},
        {tag + "{before [it {nested}] 1} {again} 1. e4 e5", e4e5},
        {tag + "1. e4 {after} (1. d4 (1. c4 {)} ) d5) e5", e4e5},
        {tag + "1. e4{close}e5(d5)2.Nf3", "W e2e4 e7e5 g1f3 | "},
        {tag + "1. e4 ; to the line's end d4 [\n1... e5 ; more", e4e5},
        {tag + "1. e4! $1 e5?! $14 +- 2. Nf3+ = 1/2-1/2", "W e2e4 e7e5 g1f3 | "},
        {tag + "1. Nf3 Nf6 2. g3 g6 3. Bg2 Bg7 4. O-O 0-0 5. d4 0-1",
         "W g1f3 g8f6 g2g3 g7g6 f1g2 f8g7 e1g1 e8g8 d2d4 | "},
        {tag + "1. e4 d5 2. exd5 c5 3. d5xc6 e.p. Nxc6",
         "W e2e4 d7d5 e4d5 c7c5 d5c6 b8c6 | "},
        {tag + "1. e4 d5 2. exd5 c5 3. dxc6ep Nxc6 4. f3 \xB1 D b5 5. a3 b4 "
               "6. c4 bxc3 ep 7. Nxc3",
         "W e2e4 d7d5 e4d5 c7c5 d5c6 b8c6 f2f3 b7b5 a2a3 b5b4 "
         "c2c4 b4c3 b1c3 | "},
        // Taken for a pawn's move each of these would go on with a game never played.
        {tag + "1. e4 Sf6 2. d4", "W e2e4 ?f6 | "},
        {tag + "1. \xE2\x99\x98" + "f3 e5", "W ?f3 | "},
        {tag + "1. e4 Z0 2. e5", "W e2e4 ?0 | "},
        {tag + "1. Pe4 Pe5", e4e5},
        {tag + "1. e2-e4 e7e5 2. Ng1-f3 Nb8c6", "W e2e4 e7e5 g1f3 b8c6 | "},
        {tag + "1. e4 e5 2. e4 e6 3. d4 [A \"b\"]\n1. d4", "W e2e4 e7e5 ?e4 | - d2d4 | "},
        {tag + "1. Nf3 a6 2. d3 a5 3. Nd2 a4\n\n" + tag + "1. d4",
         "W g1f3 a7a6 d2d3 a6a5 2*Nd2 | W d2d4 | "},
        {tag + "1. e4 abcdefghabcdefgh e5", "W e2e4 >abcdefghabcdefg | "},
        {tag + "1. e4 e5 2. Qxd3", "W e2e4 e7e5 ?Qd3 | "},
        {tag + "*\n" + tag + "1. e4", "W | W e2e4 | "},
        {tag + "1. e4 {never closed e5\n" + tag + "1. d4", "W e2e4 | "},
        {tag, "W | "},
        {"[Result \"1-0", ""},
        {"", ""},
    };
    const Scratch scratch;
    for (const auto& c : cases) {
        scratch.Write("games", c.text);
        EXPECT_EQ(Digest(scratch.Path("games")), c.digest) << c.text;
    }
    EXPECT_EQ(Digest(scratch.Path("none")), "cannot open");
}

// Each is read in full where moves need no numbers; otherwise from a "1" on.
TEST(PgnReading, GamesWithoutMoveNumbers) {
    const std::string tag = "[Result \"1-0\"]\n\n";
    const struct {
        std::string text, unnumbered, numbered;
    } cases[] = {
        {tag + "e4 e5 Nf3 Nc6 1-0\n", "W e2e4 e7e5 g1f3 b8c6 | ", "W | "},
        {tag + "Nf3 Nf6 Ng1 1-0\n" + tag + "1. d4", "W g1f3 g8f6 f3g1 | W d2d4 | ",
         "W | W d2d4 | "},
        {tag + "{first} e4 (d4) $1 e5 0-1", "W e2e4 e7e5 | ", "W ?e5 | "},
        {tag + "O-O", "W ?O-O | ", "W | "},
        {tag + "0-1\n" + tag + "e4", "W | W e2e4 | ", "W | W | "},
        {tag + "1. e4 e5 1-0", "W e2e4 e7e5 | ", "W e2e4 e7e5 | "},
        {tag + "1.\te4 {1} e5 1-0", "W e2e4 e7e5 | ", "W e2e4 e7e5 | "},
        {tag + "*", "W | ", "W | "},
        {tag + "e4", "W e2e4 | ", "W | "},
    };
    const Scratch scratch;
    for (const auto& c : cases) {
        scratch.Write("games", c.text);
        EXPECT_EQ(Digest(scratch.Path("games"), true), c.unnumbered) << c.text;
        EXPECT_EQ(Digest(scratch.Path("games")), c.numbered) << c.text;
    }
}

TEST(PgnReading, TagsOfEveryShape) {
    const struct {
        const char* tags;
        char result;
    } cases[] = {
        {"[Result \"1-0\"]", 'W'},
        {"[RESULT \"0-1\"]", 'B'},
        {"[Result \"1/2-1/2\"]", 'D'},
        {"[Result \"*\"]", '-'},
        {"[Result 1-0]", 'W'},
        {"[ Result  \"0-1\" ]", 'B'},
        {"[Result\t\"1-0\"]", 'W'},
        {"[ResultFine \"1/2\"]", 'D'},
        {"[Result \"\"]", '-'},
        {"[Result]", '-'},
        {"[Result \"2-0\"]", '-'},
        {"[]\n[Result \"1-0\"]", 'W'},
        {"[Event \"a [b] c\"]\n[Result \"1-0\"]", 'W'},
        {"[Event \"a \\\"b]\\\" c\"]\n[Result \"1-0\"]", 'W'},
        {"[Event \"open]\n[Result \"1-0\"]", 'W'},
        {"[Result \"1-0\"]\n[Event \"open\n[Site \"x\"]", 'W'},
        {"[AVeryLongNameOfATagIndeedLongerThanAnyOther \"and a value that is as long\"]"
         "[Result \"0-1\"]",
         'B'},
    };
    const Scratch scratch;
    for (const auto& c : cases) {
        scratch.Write("games", std::string(c.tags) + "\n1. e4 *");
        EXPECT_EQ(Digest(scratch.Path("games")), std::string(1, c.result) + " e2e4 | ")
            << c.tags;
    }
}

// How many legal moves a text agrees with, by the plainest means.
int CountByList(int piece, const std::string& origin, const std::string& to, bool capture,
                char promotion) {
    int count = 0;
    for (const Move m : LegalMoves()) {
        const std::string text = MoveText(m);
        bool agrees = Moving(m) == piece && text.substr(2, 2) == to;
        for (const char c : origin) agrees &= text[0] == c || text[1] == c;
        if (capture) agrees &= Captured(m) != EMPTY || IsEnPassant(m);
        if (promotion != '\0')
            agrees &= text.size() == 5 && text[4] == ToLower(promotion);
        count += agrees ? 1 : 0;
    }
    return count;
}

// Every text for every square in one position.
void CompareAllTexts() {
    const struct {
        const char* letter;
        int piece;
    } pieces[] = {{"", PAWN},  {"N", KNIGHT}, {"B", BISHOP},
                  {"R", ROOK}, {"Q", QUEEN},  {"K", KING}};
    Move m;
    for (const auto& p : pieces)
        for (int square = 0; square < 64; ++square) {
            const std::string to = {static_cast<char>('a' + FileOf(square)),
                                    static_cast<char>('1' + RankOf(square))};
            for (const char* origin : {"", "b", "e", "4", "7", "e1", "c7"})
                for (const char* mark : {"", "x"})
                    for (const char promotion : {'\0', 'Q', 'N', 'K'}) {
                        std::string text = p.letter + std::string(origin) + mark + to;
                        if (promotion != '\0') text += {'=', promotion};
                        ASSERT_EQ(
                            ResolveSan(text.c_str(), m),
                            CountByList(p.piece, origin, to, *mark != '\0', promotion))
                            << text;
                    }
        }
}

TEST(San, AgreesWithTheListOfLegalMoves) {
    for (const char* fen :
         {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
          "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
          "8/2p5/3p4/KP5r/1R2Pp1k/8/6P1/8 b - e3",  // taking would open the rank
          "8/8/8/2k5/3Pp3/8/8/4K3 b - d3",          // taking gets out of check
          "2n1k3/1P1P4/8/8/1Q2Q3/8/1Q2Q3/4K3 w - -", "4k3/8/8/8/1b6/8/3N4/4K1N1 w - -",
          "4r1k1/8/8/8/4Q3/8/3N4/R3K2R w KQ -",
          "rnbqkbnr/1ppppppp/8/pP6/8/8/P1PPPPPP/RNBQKBNR w KQkq a6"}) {
        ASSERT_TRUE(SetFen(fen));
        CompareAllTexts();
    }
}

TEST(San, EveryMoveOfRandomGamesIsFoundByItsText) {
    for (std::uint32_t number = 0; number < 40; ++number) {
        SeedRandom(number);
        SetStartPosition();
        for (int ply = 0; ply < 150; ++ply) {
            const LegalMoves moves;
            if (moves.count == 0) break;
            for (const Move m : moves) {
                Move found = NO_MOVE;
                ASSERT_EQ(ResolveSan(SanOf(m).c_str(), found), 1) << SanOf(m);
                ASSERT_EQ(found, m);
                const std::string squares = MoveText(m).substr(0, 4);
                const char letter = ".KNP?RBQ"[Moving(m)];
                EXPECT_GT(ResolveSan((letter + squares).c_str(), found), 0) << squares;
                EXPECT_EQ(found & 0x3FFFF, m & 0x3FFFF);
            }
            MakeMove(moves.moves[RandomNumber() % moves.count]);
        }
    }
}

// Buffers end anywhere: the same games in one line and with blanks of every length.
TEST(PgnReading, BufferEndsDoNotMatter) {
    const Scratch scratch;
    std::string plain, padded;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        const std::string game = PgnOf(MakeRandomGame(i, 160), i);
        plain += game;
        padded += game + std::string(i % 97, ' ') + "{" + std::string(i, '0') + "}";
    }
    scratch.Write("plain", plain);
    scratch.Write("padded", padded);
    const std::string digest = Digest(scratch.Path("plain"));
    EXPECT_TRUE(digest == Digest(scratch.Path("padded")));
    EXPECT_EQ(digest.find_first_of("?*>"), std::string::npos);
    EXPECT_EQ(std::count(digest.begin(), digest.end(), '|'), 1000);
}

// Bytes of every kind, and games longer than the history stack: the end is reached.
TEST(PgnReading, AnyBytesAreReadToTheEnd) {
    const Scratch scratch;
    const std::string alphabet = "[]{}();\"\\ \n10-O.abcdefgh12345678NBRQKx=+\xFF%$";
    SeedRandom(3);
    for (int round = 0; round < 60; ++round) {
        std::string text = "[Result \"1-0\"]\n1. ";
        for (int i = 0; i < 5000; ++i)
            text += round % 2 == 0 ? static_cast<char>(RandomNumber())
                                   : alphabet[static_cast<std::size_t>(RandomNumber()) %
                                              alphabet.size()];
        scratch.Write("games", text);
        Digest(scratch.Path("games"));
    }
    std::string shuffle = "[Result \"1/2-1/2\"]\n";
    for (int i = 1; i < 3000; ++i)
        shuffle += std::to_string(i) + (i % 2 != 0 ? ". Nf3 Nf6 " : ". Ng1 Ng8 ");
    scratch.Write("games", shuffle);
    const std::string digest = Digest(scratch.Path("games"));
    EXPECT_EQ(std::count(digest.begin(), digest.end(), ' '), 2 * 2999 + 2);
}

}  // namespace
