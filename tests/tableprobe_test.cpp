// The search and the tables: when it asks, what it makes of the answer, and that it mates
// in exactly the moves the tables say.
#include "search/tableprobe.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "board/attacks.h"
#include "board/fen.h"
#include "tests/tables.h"
#include "tools/tables_probe.h"

namespace {

constexpr int kNoScore = 99999;

class TableProbeTest : public testing::Test {
protected:
    TableProbeTest() : tables(ThreeManTables()) {
        EXPECT_TRUE(AllocateTranspositionTable(14));
        Root.RootDepth = 20;
    }
    ~TableProbeTest() override { Line.Ply = 0; }

    // The score at this ply; kNoScore when the tables are not asked or do not know.
    static int ScoreAt(int ply, const char* fen) {
        EXPECT_TRUE(SetFen(fen));
        return ScoreHere(ply);
    }
    static int ScoreHere(int ply) {
        Line.Ply = ply;
        int score;
        return ProbeTableScore(score) ? score : kNoScore;
    }
    WithTables tables;
};

// Lone rook; a mate in three.
constexpr char kMateInThree[] = "8/8/8/8/8/2k5/7r/1K6 b - -";

TEST_F(TableProbeTest, MatesCountFromTheRoot) {
    int value;
    ASSERT_TRUE(SetFen("8/8/8/8/8/1k6/7r/K7 b - -"));
    ASSERT_TRUE(ProbeTablebase(WHITE, value));
    EXPECT_EQ(value, 32766);
    EXPECT_EQ(ScoreHere(1), MateScore - 1 - 1);
    EXPECT_EQ(ScoreHere(2), MateScore - 2 - 1);
    ASSERT_TRUE(SetFen(kMateInThree));
    ASSERT_TRUE(ProbeTablebase(WHITE, value));
    const int moves = 32767 - value;
    EXPECT_EQ(ScoreHere(1), MateScore - (1 + 2 * moves - 1));
    // Mated, and lost in one.
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/1k6/8/K6r w - -"), 1 - MateScore);
    EXPECT_EQ(ScoreAt(2, "8/8/8/8/8/1k6/7r/K7 w - -"), 2 + 2 - MateScore);
}

TEST_F(TableProbeTest, ResultsGoToTheTranspositionTable) {
    const int score = ScoreAt(2, kMateInThree);
    HashHit hit;
    ASSERT_TRUE(HashProbe(hit));
    EXPECT_EQ(hit.depth, 7740);
    EXPECT_EQ(hit.boundType, kExact);
    EXPECT_EQ(hit.move, NULL_MOVE);
    EXPECT_EQ(ScoreFromTable(hit.score), score);
}

// A draw is worth a point to the side with more material, whoever is to move.
TEST_F(TableProbeTest, DrawsFavourTheSideWithMore) {
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/8/1K4N1 w - -"), 1);
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/8/1K4N1 b - -"), 1);
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/6b1/1K6 w - -"), -1);
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/6b1/1K6 b - -"), -1);
}

TEST_F(TableProbeTest, AskedNearTheRootAndAfterCaptures) {
    EXPECT_NE(ScoreAt(2, kMateInThree), kNoScore);
    EXPECT_EQ(ScoreAt(3, kMateInThree), kNoScore);
    ASSERT_TRUE(SetFen("8/8/8/8/8/2k5/6Nr/1K6 b - -"));
    MakeMove(MakeWord(H2, G2, ROOK, KNIGHT));
    EXPECT_NE(ScoreHere(3), kNoScore);
    EXPECT_NE(ScoreHere(10), kNoScore);
    // A bare king is left to the evaluation beyond half the depth.
    EXPECT_EQ(ScoreHere(11), kNoScore);
    ASSERT_TRUE(SetFen("8/8/8/8/8/2k5/7p/4K3 b - -"));
    MakeMove(MakeWord(H2, H1, PAWN, EMPTY, ROOK));
    EXPECT_NE(ScoreHere(5), kNoScore);
}

TEST_F(TableProbeTest, NotAskedWhereTablesCannotKnow) {
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/8/4K2R w K -"), kNoScore);
    EXPECT_NE(ScoreAt(1, "8/8/8/8/8/2k5/8/4K2R w - -"), kNoScore);
    EXPECT_EQ(ScoreAt(1, "8/8/8/8/8/2k5/8/1K2N2R w - -"), kNoScore);
    TbMaxPieces = 2;
    EXPECT_EQ(ScoreAt(1, kMateInThree), kNoScore);
    TbMaxPieces = 0;
    EXPECT_EQ(ScoreAt(1, kMateInThree), kNoScore);
}

struct LeftCase {
    const char* fen;
    bool left;  // to the evaluation, deep in the tree
};

// Material in which the evaluation is trusted: the tables, all draws here, are not asked.
TEST_F(TableProbeTest, EndingsLeftToTheEvaluation) {
    Scratch scratch;
    for (const char* name :
         {"krkr", "kqkn", "krkb", "kbkp", "krkp", "kpkp", "kqkp", "knkp"})
        for (const char* extension : {".nbw", ".nbb"}) {
            const int entry = FindTable(name);
            const int side = extension[3] == 'b';
            scratch.Write(std::string(name) + extension, "");
            std::filesystem::resize_file(scratch.Path(std::string(name) + extension),
                                         EntryOf(entry).size[side]);
        }
    const WithTables zeros(scratch.directory.string());
    const LeftCase cases[] = {
        {"8/8/8/1r6/8/2k5/8/1K5R b - -", true},  // equal pieces
        {"8/8/8/1q6/8/2k5/8/1K5N b - -", true},  // outclassed
        {"8/8/8/1Q6/8/2K5/8/1k5n w - -", true},
        {"8/8/8/1r6/8/2k5/8/1K5B b - -", false},  // two units more only
        {"8/8/8/1b6/8/2k5/7P/1K6 b - -", false},  // pawns on one side only, no bare king
        {"8/8/8/1r6/8/2k5/7P/1K6 b - -", false},
        {"8/8/8/1p6/8/2k5/7P/1K6 b - -", false},
    };
    Root.RootDepth = 8;
    for (const LeftCase& c : cases) {
        ASSERT_TRUE(SetFen(c.fen));
        // As if after a promotion.
        Board.MoveHistory[Board.GamePly++] = MakeWord(A7, A8, PAWN, EMPTY, QUEEN);
        EXPECT_EQ(ScoreHere(5) == kNoScore, c.left) << c.fen;
        EXPECT_NE(ScoreHere(4), kNoScore) << c.fen;
    }
}

// One pawn against pieces that should cope with it, a pawn of their own beside them: left
// to the evaluation beyond the depth of the iteration. Both colours.
TEST_F(TableProbeTest, SinglePawnsLeftToTheEvaluation) {
    Scratch scratch;
    for (const char* file : {"kqpkp.nbw", "krpkp.nbw", "kbpkp.nbw"}) {
        scratch.Write(file, "");  // these may have any length; zeros are draws
        std::filesystem::resize_file(scratch.Path(file), 400000000);
    }
    const WithTables zeros(scratch.directory.string());
    const LeftCase cases[] = {
        {"8/6k1/8/q6P/p7/8/8/1K6 b - -", true},
        {"8/6k1/7P/q7/p7/8/8/1K6 b - -", false},  // on the sixth rank
        {"1k6/8/8/P7/Q6p/8/6K1/8 w - -", true},
        {"1k6/8/8/P7/Q7/7p/6K1/8 w - -", false},
        {"8/6k1/8/r6P/p7/8/8/1K6 b - -", false},  // a rook and a pawn are no two majors
        {"8/6k1/8/b6P/p7/8/8/1K6 b - -", false},  // and this is more than a bishop
    };
    Root.RootDepth = 8;
    for (const LeftCase& c : cases) {
        ASSERT_TRUE(SetFen(c.fen));
        Board.MoveHistory[Board.GamePly++] = MakeWord(B6, B7, BISHOP, KNIGHT);
        EXPECT_NE(ScoreHere(7), kNoScore) << c.fen;
        EXPECT_EQ(ScoreHere(8) == kNoScore, c.left) << c.fen;
        // With pawns on both sides any promotion but to a queen is left to it too.
        Board.MoveHistory[Board.GamePly - 1] = MakeWord(B7, B8, PAWN, EMPTY, ROOK);
        EXPECT_NE(ScoreHere(4), kNoScore) << c.fen;
        EXPECT_EQ(ScoreHere(5), kNoScore) << c.fen;
    }
}

// ---- The line to mate ----

// A line ends where the way to mate leads into a table that is not there; it never goes
// on with moves that only keep the win.
TEST_F(TableProbeTest, LinesEndWhereTablesAreMissing) {
    constexpr char pawnWins[] = "8/1k6/8/8/8/8/4P3/4K3 w - -";
    ASSERT_TRUE(SetFen(pawnWins));
    const TableAnswer whole = AskTables();
    ASSERT_EQ(whole.verdict, TableVerdict::Win);
    EXPECT_EQ(whole.line.size(), 2U * static_cast<unsigned>(whole.moves) - 1);
    Scratch scratch;
    for (const char* name : {"kpk.nbw", "kpk.nbb"})
        std::filesystem::copy(ThreeManTables() + '/' + name, scratch.directory);
    const WithTables pawnOnly(scratch.directory.string());
    ASSERT_TRUE(SetFen(pawnWins));
    const TableAnswer cut = AskTables();
    EXPECT_EQ(cut.moves, whole.moves);
    EXPECT_GT(cut.line.size(), 10U);
    EXPECT_LT(cut.line.size(), whole.line.size());
}

// ---- Playing it out ----

// A random position of these men, FEN letters, in which White, to move, wins; the tables'
// distance.
int RandomWin(const std::string& men, std::mt19937& random) {
    for (;;) {
        ClearBoard();
        Board.GamePly = 0;
        for (const char c : men) {
            const int square = static_cast<int>(random() % 64);
            const auto code =
                static_cast<int>(std::string_view(".knp?rbq").find(ToLower(c)));
            if (Board.Piece[square] != EMPTY ||
                (code == PAWN && (square < A2 || square > H7)))
                break;
            AddPiece(square, ToLower(c) == c ? BLACK : WHITE, code);
        }
        if (PopCount(AllOccupied()) != static_cast<int>(men.size()) || !HasBothKings() ||
            IsAttacked(WHITE, Board.KingSquare[BLACK]))
            continue;
        Board.WK = Board.BK = Board.A1 = Board.H1 = Board.A8 = Board.H8 = 1;
        Board.SideToMove = WHITE;
        Board.FiftyCounter = 0;
        UpdateMatingFlags();
        int value;
        if (ProbeTablebase(BLACK, value) && value > 0) return 32767 - value;
    }
}

// The search plays White, the tables' longest defence Black; moves to mate.
int PlayOut(int depth) {
    for (int moves = 1; moves < 60; ++moves) {
        Search(depth, false);
        MakeMove(RootMoves[0]);
        const TableAnswer defence = AskTables();
        if (defence.verdict == TableVerdict::Loss && defence.moves == 0) return moves;
        if (defence.line.empty()) return 1000;
        MakeMove(defence.line[0]);
        Board.GamePly = 0;
    }
    return 1000;
}

// Plays random wins of the materials out; the moves of all games together.
int PlayOutAll(const std::vector<std::string>& materials, int games) {
    std::mt19937 random(7);
    Control.StopSearch = 0;
    Control.PollInterval = 1 << 30;
    Control.TimeBudget = kUnlimitedBudget;
    int moves = 0;
    for (const std::string& men : materials)
        for (int i = 0; i < games; ++i) {
            const int distance = RandomWin(men, random);
            moves += distance;
            EXPECT_EQ(PlayOut(3 + i % 7), distance) << men << i;
        }
    return moves;
}

TEST_F(TableProbeTest, MatesInExactlyTheDistance) {
    EXPECT_GT(PlayOutAll({"KkQ", "KkR", "KkP"}, 12), 300);
}

TEST_F(TableProbeTest, SlowMatesWithFourMenInExactlyTheDistance) {
    const char* directory = std::getenv("VELTRAMOX_FOUR_MEN");
    if (directory == nullptr) GTEST_SKIP() << "VELTRAMOX_FOUR_MEN names no directory";
    MakeTables(TablesWithMen(4), directory, 2, [](const MadeTable&) {});
    const WithTables four(directory);
    EXPECT_GT(PlayOutAll({"KkBB", "KkBN", "KkQr", "KkRn", "KkRb", "KkRr", "KkQn", "KkQb",
                          "KkQq", "KkPP", "KkPp", "KkRp", "KkPr"},
                         30),
              3000);
}

}  // namespace
