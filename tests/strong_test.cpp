// The strong search: the same input gives the same tree, mates and draws are seen, limits
// are kept, and whatever its table holds no illegal move comes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "bench/positions.h"
#include "bench/searchbench.h"
#include "board/attacks.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "board/pseudolegal.h"
#include "driver/edit.h"
#include "egtb/tablebase.h"
#include "platform/clock.h"
#include "search/control.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/evaluation.h"
#include "search/strong/node.h"
#include "search/strong/quiesce.h"
#include "search/strong/reductions.h"
#include "search/strong/state.h"
#include "tests/signature.h"
#include "tests/support.h"
#include "tests/tables.h"

namespace {

// More queens than any game has: the captures alone would go on for hours.
const char* const kManyQueens =
    "qqqqqqqk/qqqqqqqq/1q1q1qqq/8/8/QQQ1Q1Q1/QQQQQQQQ/KQQQQQQQ w - -";

void FreshStrong(int tableBits = 19) { FreshEngine(tableBits, StrongSearch); }

// All tests here; those of other files find the classic search again.
class StrongSearchTest : public testing::Test {
protected:
    void SetUp() override { FreshStrong(); }
    void TearDown() override { FreshEngine(); }

    // From a fresh state; RootMoves, RootScore and NodeCount tell the result.
    static void SearchFresh(const char* fen, int depthLimit) {
        FreshStrong();
        Position(fen);
        Search(depthLimit, false);
    }
    // As for a game, so long at most.
    static void SearchFor(const char* fen, int milliseconds) {
        FreshStrong();
        Position(fen);
        ThinkFor(milliseconds);
    }
    static void ThinkFor(int milliseconds) {
        AskForLimits(("limits 0 " + std::to_string(milliseconds) + " 0").c_str());
        StartSearchClock();
        ClearRequests();
        Search(kTimedDepthLimit, true);
    }
    static void ThinkWith(std::int64_t nodes) {
        AskForLimits(("limits 0 0 " + std::to_string(nodes)).c_str());
        StartSearchClock();
        ClearRequests();
        Search(kTimedDepthLimit, true);
    }
    static std::vector<std::int64_t> Outcome() {
        std::vector<std::int64_t> all = {Result.NodeCount, Root.RootDepth, RootScore};
        all.insert(all.end(), RootMoves, RootMoves + Root.RootMoveCount);
        return all;
    }
    // One node, ten plies deep at the root, with the widest window.
    static int Node(int depth, int ply = 1) {
        const int S = Board.SideToMove;
        Line.Ply = ply;
        Line.InCheckAt[ply] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
        Strong.depth = 10;
        Control.PollCountdown = Control.PollInterval;
        const int score = SearchOpen(-ScoreBound, ScoreBound, depth);
        EXPECT_EQ(Line.Ply, ply);
        EXPECT_EQ(Generated.MoveStackTop, 0);
        return score;
    }
};

// ---- The tree ----

TEST_F(StrongSearchTest, SameInputSameTree) {
    SearchFresh(kCastlings, 9);
    const auto first = Outcome();
    SearchFresh(kRookEnding, 9);
    SearchFresh(kCastlings, 9);
    EXPECT_EQ(Outcome(), first);
    // By nodes too, and in a game's second search.
    const auto game = [] {
        FreshStrong();
        Position(kMiddlegame);
        ThinkWith(30000);
        PlayGameMove(RootMoves[0]);
        ThinkWith(20000);
        return Outcome();
    };
    const auto played = game();
    EXPECT_EQ(game(), played);
    EXPECT_EQ(played[0], 20000);
}

TEST_F(StrongSearchTest, BenchSignature) {
    ExpectSignature("strong-signature.txt", kStrongSignatureDepth, SearchFresh);
}

TEST_F(StrongSearchTest, StoppedAnywhereTheBoardIsAsItWas) {
    for (const char* fen : {kCastlings, kMiddlegame, kManyQueens})
        for (std::int64_t nodes = 1; nodes < 3000; nodes += nodes / 6 + 1) {
            FreshStrong(10);
            Position(fen);
            const BoardRecord before = Board;
            ThinkWith(nodes);
            ASSERT_EQ(Result.NodeCount, nodes) << fen;
            ASSERT_TRUE(SameBoard(Board, before)) << fen << ' ' << nodes;
            ASSERT_TRUE(LegalMoves().Contains(RootMoves[0]));
            ASSERT_EQ(Line.Ply, 0);
            ASSERT_EQ(Generated.MoveStackTop, Root.RootMoveCount);
        }
}

// The line that is shown can be played.
TEST_F(StrongSearchTest, ShownLinesAreLegal) {
    for (const char* fen : kBenchPositions) {
        SearchFresh(fen, 8);
        Move line[20];
        MakeMove(RootMoves[0]);
        const int count = StrongSearch.expectedLine(line, 20);
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(LegalMoves().Contains(line[i])) << fen << ' ' << i;
            MakeMove(line[i]);
        }
        EXPECT_GT(count, 0) << fen;
    }
}

// ---- Mates and draws ----

TEST_F(StrongSearchTest, FindsMates) {
    const struct {
        const char *fen, *move;
        int plies;
    } cases[] = {
        {"6k1/5ppp/8/8/8/8/8/K3R3 w", "e1e8", 1},
        {"k3r3/8/8/8/8/8/5PPP/6K1 b", "e8e1", 1},
        {"kbK5/pp6/1P6/8/8/8/8/R7 w", "a1a6", 3},
        {"r5rk/5p1p/5R2/4B3/8/8/7P/7K w", "f6a6", 5},
        {"8/6K1/1p1B1RB1/8/2Q5/2n1kP1N/3b4/4n3 w - - 0 1", "", 3},
        // Smothered, behind a queen's sacrifice.
        {"r6k/6pp/7N/8/2Q5/8/8/6K1 w - - 0 1", "c4g8", 3},
        {"5r1k/6pp/7N/8/2Q5/8/8/6K1 w - - 0 1", "c4g8", 3},
    };
    // Sacrifices are pruned until the search is deep.
    constexpr int kMilliseconds = 10000;
    for (const auto& c : cases) {
        SearchFor(c.fen, kMilliseconds);
        if (*c.move != '\0') {
            EXPECT_EQ(MoveText(RootMoves[0]), c.move) << c.fen;
        }
        EXPECT_EQ(RootScore, MateScore - c.plies) << c.fen;
        EXPECT_LT(ElapsedMilliseconds(), kMilliseconds) << c.fen;
    }
}

// The number of plies in which the side to move mates at best, by trying everything.
int MateDistance(int plies) {
    const LegalMoves legal;
    const int S = Board.SideToMove;
    if (legal.count == 0) return IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 0 : -1;
    if (plies == 0) return -1;
    int best = -1;
    bool allLose = true;
    for (const Move m : legal) {
        MakeMove(m);
        const int reply = MateDistance(plies - 1);
        UnmakeMove();
        // Odd: the mover mates. Even: he is mated.
        if (reply >= 0 && reply % 2 == 0 && (best < 0 || reply + 1 < best))
            best = reply + 1;
        allLose &= reply > 0 && reply % 2 == 1;
    }
    if (best >= 0 || !allLose) return best;
    int longest = 0;
    for (const Move m : legal) {
        MakeMove(m);
        longest = std::max(longest, MateDistance(plies - 1) + 1);
        UnmakeMove();
    }
    return longest;
}

// A mate that is announced within three plies is there.
TEST_F(StrongSearchTest, AnnouncedMatesExist) {
    Random random(11);
    int mates = 0;
    for (int game = 0; game < 400; ++game) {
        FreshStrong(12);
        Position("r1b1k2r/pp3ppp/2n2q2/2b1p3/2B1P3/2N2Q2/PP3PPP/R1B1K2R w KQkq -");
        for (int ply = 0; ply < 20; ++ply) {
            const std::vector<Move> moves = LegalMoveList();
            if (moves.empty()) break;
            MakeMove(random.Of(moves));
        }
        if (LegalMoveList().size() < 2 || Board.FiftyCounter > 40) continue;
        Board.GamePly = 0;
        Search(6, false);
        const int distance = MateScore - std::abs(RootScore);
        if (distance > 3) continue;
        ++mates;
        EXPECT_EQ(MateDistance(3), distance) << "game " << game;
    }
    EXPECT_GT(mates, 5);
}

TEST_F(StrongSearchTest, Draws) {
    Position("4k3/8/8/8/8/8/P7/R3K3 w");
    Play("a1b1 e8d8 b1a1");
    EXPECT_EQ(Node(2), 0);  // a position that comes again, once is enough
    Position("4k3/8/8/8/8/8/P7/R3K3 w");
    Play("a1b1 e8d8 b1c1");
    EXPECT_LT(Node(2), -100);
    Position("R3k3/8/4K3/8/8/8/8/8 b - - 99");
    EXPECT_EQ(Node(2), 1 - MateScore);
    // Mate goes before the fifty moves, check alone does not.
    Position("R3k3/8/4K3/8/8/8/8/8 b - - 100");
    EXPECT_EQ(Node(2), 1 - MateScore);
    Position("R3k3/8/3K4/8/8/8/8/8 b - - 100");
    EXPECT_EQ(Node(2), 0);
    Position("7k/5Q2/8/8/8/8/8/K7 b");  // stalemate
    EXPECT_EQ(Node(2), 0);
    // The queen is won, but the counter or the position's third time come first.
    Position("7k/8/8/8/8/8/R7/K7 w - - 99");
    SearchFresh("7k/8/8/8/8/8/R7/K7 w - - 99", 8);
    EXPECT_EQ(RootScore, 0);
    // A pawn more, but every way on is stalemate or its loss.
    SearchFresh("7k/8/6KP/8/8/8/8/8 w - - 0 1", 10);
    EXPECT_EQ(RootScore, 0);
}

// ---- Endgame tables ----

// Both kings and so many men in all, somewhere, legal and not yet over, and no ending of
// pieces that cannot mate.
bool RandomEnding(Random& random, int men) {
    ClearBoard();
    constexpr int kMen[] = {QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
    const auto add = [&](int code, int colour) {
        const int at = code == PAWN ? 8 + random.Below(48) : random.Below(64);
        const bool isFree = Board.Piece[at] == EMPTY;
        if (isFree) AddPiece(at, colour, code);
        return isFree;
    };
    bool placed = add(KING, WHITE) && add(KING, BLACK);
    for (int i = 2; i < men && placed; ++i)
        placed = add(kMen[random.Below(5)], random.Below(2));
    if (!placed) return false;
    DeriveCastlingFlags();
    Board.SideToMove = random.Below(2);
    Board.GamePly = 0;
    ClearGameArchive();
    Board.FiftyCounter = 0;
    UpdateMatingFlags();
    const int S = Board.SideToMove;
    return !(Board.NoMatingMaterial[WHITE] != 0 && Board.NoMatingMaterial[BLACK] != 0) &&
           !CastlingRightsLeft() && !IsAttacked(S, Board.KingSquare[ChangeSide(S)]) &&
           LegalMoves().count > 1;
}

// Plies to the mate, negative for the side that is mated; 0: a draw.
int TablePlies() {
    int value = 0;
    EXPECT_TRUE(ProbeTablebase(ChangeSide(Board.SideToMove), value));
    if (value == 0) return 0;
    return value > 0 ? 2 * (32767 - value) - 1 : -2 * (value + 32766);
}

// The same after the move, for the side that makes it.
int TablePliesAfter(Move m) {
    if (Captured(m) != EMPTY && PopCount(AllOccupied()) == 3) return 0;  // bare kings
    MakeMove(m);
    const int reply = TablePlies();
    const bool mates =
        reply == 0 && LegalMoves().count == 0 &&
        IsAttacked(ChangeSide(Board.SideToMove), Board.KingSquare[Board.SideToMove]);
    UnmakeMove();
    if (mates) return 1;
    return reply == 0 ? 0 : reply < 0 ? 1 - reply : -1 - reply;
}

// Searches so many random positions, without tables to so many nodes: a mate that is then
// announced comes of the move that is played, and no sooner than the tables say. With
// tables every result is known. Returns the number of mates announced.
int CompareWithTables(int men, int positions, int nodes) {
    const int known = TbMaxPieces;
    Random random(5);
    int mates = 0;
    for (int tried = 0; tried < positions;) {
        FreshStrong(12);
        if (!RandomEnding(random, men)) continue;
        ++tried;
        TbMaxPieces = 0;
        AskForLimits(("limits 0 0 " + std::to_string(nodes)).c_str());
        ClearRequests();
        Search(kTimedDepthLimit, true);
        TbMaxPieces = known;
        if (std::abs(RootScore) > kMateBound) {
            ++mates;
            const int plies = TablePliesAfter(RootMoves[0]);
            EXPECT_NE(plies, 0) << EditCommands();
            EXPECT_EQ(RootScore > 0, plies > 0) << EditCommands();
            EXPECT_GE(MateScore - std::abs(RootScore), std::abs(plies)) << EditCommands();
        }
        StrongSearch.allocate(12, 1);  // what it has found so far is not to count
        ClearRequests();
        Search(4, false);
        const int plies = TablePlies();
        EXPECT_EQ(RootScore, plies == 0  ? 0
                             : plies > 0 ? MateScore - plies
                                         : -MateScore - plies)
            << EditCommands();
    }
    return mates;
}

TEST_F(StrongSearchTest, MatesAgreeWithTheTables) {
    const WithTables tables(ThreeManTables());
    EXPECT_GT(CompareWithTables(3, 300, 10000), 20);
}

TEST_F(StrongSearchTest, SlowMatesAgreeWithTheTablesOfFourMen) {
    const char* directory = std::getenv("VELTRAMOX_FOUR_MEN");
    if (directory == nullptr) GTEST_SKIP() << "VELTRAMOX_FOUR_MEN names no directory";
    MakeTables(TablesWithMen(4), directory, 2, [](const MadeTable&) {});
    const WithTables four(directory);
    EXPECT_GT(CompareWithTables(4, 1000, 20000), 150);
}

// ---- The table ----

// A board's keys, made to be those of another.
void TakeKeysOf(const BoardRecord& other) {
    Board.hash1 = other.hash1;
    Board.hash2 = other.hash2;
}

TEST_F(StrongSearchTest, ForeignEntriesGiveNoIllegalMoves) {
    for (const char* fen : {kStart, kCastlings, kRookEnding,
                            "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6",
                            "7k/P7/8/8/8/8/p7/6K1 w - -"}) {
        Position(fen);
        const LegalMoves legal;
        // Every word of 15 bits that can stand in an entry, and some more.
        int pseudo = 0;
        for (std::uint32_t packed = 0; packed < 1u << 15; ++packed) {
            const Move m = UnpackedMove(packed);
            if (m == NO_MOVE) continue;
            ++pseudo;
            const BoardRecord before = Board;
            MakeMove(m);
            const bool safe = !IsAttacked(Board.SideToMove,
                                          Board.KingSquare[ChangeSide(Board.SideToMove)]);
            UnmakeMove();
            ASSERT_TRUE(SameBoard(Board, before)) << fen << ' ' << MoveText(m);
            EXPECT_EQ(safe, legal.Contains(m)) << fen << ' ' << MoveText(m);
        }
        EXPECT_GE(pseudo, legal.count);
        for (const Move m : legal) EXPECT_EQ(UnpackedMove(PackedMove(m)), m);
        for (const Move m :
             {NULL_MOVE, MakeWord(E2, E4, PAWN, PAWN), MakeWord(E2, E4, KNIGHT, EMPTY),
              Move{0xFFFFFFFF}, MakeWord(A7, A8, PAWN, EMPTY, KING)})
            EXPECT_FALSE(IsPseudoLegal(m));
    }
}

// Searches in a table in which every bucket holds what another position has left.
TEST_F(StrongSearchTest, CollidingPositionsPlayLegalMoves) {
    FreshStrong(1);
    ASSERT_EQ(Strong.results.count, 1u);
    for (const char* fen : kBenchPositions) {
        Position(fen);
        const BoardRecord before = Board;
        Search(7, false);
        ASSERT_TRUE(LegalMoves().Contains(RootMoves[0])) << fen;
        ASSERT_TRUE(SameBoard(Board, before)) << fen;
    }
    // The same keys for every position: the table's moves are always strangers'.
    Position(kStart);
    const BoardRecord start = Board;
    StoreResult(PositionKey(), MakeWord(D1, H5, QUEEN, EMPTY), 0, 0, 5, kExact);
    EXPECT_TRUE(LookUpResult(PositionKey()).found);
    EXPECT_EQ(LookUpResult(PositionKey()).move, NO_MOVE);
    Position(kRookEnding);
    TakeKeysOf(start);
    StoreResult(PositionKey(), MakeWord(D2, D4, PAWN, EMPTY), 0, 0, 5, kExact);
    EXPECT_EQ(LookUpResult(PositionKey()).move, NO_MOVE);
    EXPECT_EQ(StrongSearch.bestKnown(), NO_MOVE);
}

// Halves of two entries: what is read while another is being written.
TEST_F(StrongSearchTest, TornEntriesAreNotFound) {
    FreshStrong(1);
    Position(kStart);
    const std::uint64_t key = PositionKey();
    StoreResult(key, MakeWord(E2, E4, PAWN, EMPTY), 30, 20, 5, kExact);
    ResultEntry& entry = Strong.results.buckets[0].entries[0];
    const std::uint64_t data = entry.data;
    EXPECT_TRUE(LookUpResult(key).found);
    for (int bit = 0; bit < 64; ++bit) {
        entry.data = data ^ std::uint64_t{1} << bit;
        EXPECT_FALSE(LookUpResult(key).found) << bit;
    }
    entry.data = 0;
    EXPECT_FALSE(LookUpResult(key).found);
}

TEST_F(StrongSearchTest, TableKeepsWhatWasStored) {
    FreshStrong(8);
    Position(kStart);
    const std::uint64_t key = PositionKey();
    const Move move = MakeWord(E2, E4, PAWN, EMPTY);
    const auto stored = [&](int score, int at, int readAt) {
        Line.Ply = at;
        StoreResult(key, move, score, -123, 7, kExact);
        Line.Ply = readAt;
        const KnownResult known = LookUpResult(key);
        EXPECT_EQ(known.move, move);
        EXPECT_EQ(known.evaluation, -123);
        EXPECT_EQ(known.depth, 7);
        EXPECT_EQ(known.bound, kExact);
        return known.score;
    };
    // Mates are counted from the node.
    EXPECT_EQ(stored(MateScore - 5, 3, 1), MateScore - 3);
    EXPECT_EQ(stored(3 - MateScore, 3, 9), 9 - MateScore);
    EXPECT_EQ(stored(-250, 3, 9), -250);
    // A much shallower bound does not replace it, and a move stays where none comes.
    StoreResult(key, NO_MOVE, 10, 5, 2, kLowerBound);
    EXPECT_EQ(LookUpResult(key).depth, 7);
    StoreResult(key, NO_MOVE, 10, 5, 6, kLowerBound);
    EXPECT_EQ(LookUpResult(key).depth, 6);
    EXPECT_EQ(LookUpResult(key).move, move);
    // Side to move, rights and en passant make another position.
    Board.SideToMove = BLACK;
    EXPECT_FALSE(LookUpResult(PositionKey()).found);
    Board.SideToMove = WHITE;
    Board.H1 = 1;
    EXPECT_FALSE(LookUpResult(PositionKey()).found);
    Board.H1 = 0;
    EXPECT_TRUE(LookUpResult(PositionKey()).found);
    Position("rnbqkbnr/pppp1ppp/8/8/3Pp3/8/PPP1PPPP/RNBQKBNR b KQkq d3");
    const std::uint64_t passing = PositionKey();
    Position("rnbqkbnr/pppp1ppp/8/8/3Pp3/8/PPP1PPPP/RNBQKBNR b KQkq -");
    EXPECT_NE(PositionKey(), passing);
}

// ---- Limits ----

TEST_F(StrongSearchTest, DeepestPly) {
    for (const int ply : {120, 124, 125}) {
        FreshStrong();
        Position(kRookEnding);
        AskForLimits("limits 0 5000 0");
        Node(12, ply);
        EXPECT_EQ(Control.StopSearch, 0);
    }
}

// Without room for one more node's moves the position is taken as it stands.
TEST_F(StrongSearchTest, FullStacks) {
    for (const auto& [top, gamePly] : {std::pair{kSearchStackEnd, 0},
                                       {kSearchStackEnd + kMaxMoves - 9, 0},
                                       {0, kHistoryCapacity - 4},
                                       {0, kHistoryCapacity}}) {
        FreshStrong();
        Position(kMiddlegame);
        Generated.MoveStackTop = top;
        Board.GamePly = gamePly;
        if (gamePly > 0) Board.MoveHistory[gamePly - 1] = MakeWord(A2, A3, PAWN, EMPTY);
        Line.Ply = 1;
        Line.InCheckAt[1] = 0;
        Result.NodeCount = 0;
        SearchOpen(-ScoreBound, ScoreBound, 5);
        EXPECT_EQ(Result.NodeCount, 1) << top << ' ' << gamePly;
        EXPECT_EQ(Generated.MoveStackTop, top);
        EXPECT_EQ(Board.GamePly, gamePly);
    }
}

TEST_F(StrongSearchTest, TimeIsKept) {
    for (const char* fen : {kMiddlegame, kManyQueens})
        for (const int time : {1, 20, 100}) {
            SearchFor(fen, time);
            EXPECT_LT(ElapsedMilliseconds(), time + 100) << fen;
            EXPECT_TRUE(LegalMoves().Contains(RootMoves[0]));
        }
    // The engine's own clock, in centiseconds: some of it and not all of it.
    FreshStrong();
    Position(kMiddlegame);
    GameClock.EngineClock = 50;
    StartSearchClock();
    ClearRequests();
    Search(kTimedDepthLimit, true);
    EXPECT_LT(ElapsedMilliseconds(), 300);
    EXPECT_GT(Result.NodeCount, 1000);
}

TEST(StrongTiming, NeverNothingAndNeverAll) {
    for (const std::int64_t left : {0LL, 1LL, 10LL, 50LL, 2000LL, 4000000000000LL})
        for (const std::int64_t increment : {0LL, 10LL, 4000000000000LL})
            for (const int moves : {0, 1, 2, 40, 1000000})
                for (const int number : {1, 40, 9999})
                    for (const bool ponders : {false, true}) {
                        const MoveLimits limits =
                            DivideClock({left, increment, moves, number}, ponders);
                        EXPECT_GE(limits.soft, 1);
                        EXPECT_GE(limits.hard, limits.soft);
                        EXPECT_LE(limits.hard, std::max<std::int64_t>(left * 4 / 5, 1));
                    }
    // Fewer moves to come, more time for this one.
    EXPECT_GT(DivideClock({60000, 0, 0, 60}, false).soft,
              DivideClock({60000, 0, 0, 1}, false).soft);
    EXPECT_GT(DivideClock({60000, 0, 5, 1}, false).soft,
              DivideClock({60000, 0, 40, 1}, false).soft);
}

TEST_F(StrongSearchTest, LimitsAreReadOnceAndOnlyWhole) {
    for (const char* line : {"limits", "limits 1", "limits 1 2", "limits 1 2 x",
                             "limits -1 2 3", "limits x y z"}) {
        AskForLimits(line);
        EXPECT_FALSE(Strong.time.limitsAsked) << line;
    }
    Position(kMiddlegame);
    ThinkWith(777);
    EXPECT_EQ(Result.NodeCount, 777);
    EXPECT_FALSE(Strong.time.limitsAsked);
    // Analysis is not limited by what was asked for a move.
    AskForLimits("limits 0 0 10");
    ClearRequests();
    Search(6, false);
    EXPECT_EQ(Root.RootDepth, 5);
}

// On the opponent's time nothing ends the search; with the predicted move the limits
// hold.
TEST_F(StrongSearchTest, PonderHit) {
    Position(kMiddlegame);
    BeginPondering(LegalMoveList()[0]);
    AskForLimits("limits 0 0 5000");
    StartSearchClock();
    Search(9, true);
    EXPECT_EQ(Control.StopSearch, 0);
    EXPECT_GT(Result.NodeCount, 5000);
    LeavePondering();
    Strong.time.pondering = true;
    Strong.time.iterated = true;
    Strong.time.limitsAsked = true;
    Strong.time.asked = {.soft = 50, .hard = 100, .nodes = 0};
    Control.SearchStartTime = ClockMilliseconds() - 500;
    Control.PollCountdown = 0;
    EXPECT_TRUE(CountNode());  // as long as the move may take has passed
    EXPECT_FALSE(Strong.time.pondering);
}

TEST_F(StrongSearchTest, QuiescenceForTst) {
    Position(kManyQueens);
    const BoardRecord before = Board;
    StrongSearch.testQuiescence();
    EXPECT_TRUE(SameBoard(Board, before));
    EXPECT_FALSE(Strong.time.alone);
}

// ---- Numbers ----

TEST(StrongReductions, GrowWithDepthAndNumber) {
    EXPECT_EQ(BaseReduction(1, 1), kReductionUnit / 2);
    for (int depth = 1; depth < 100; ++depth)
        for (int number = 1; number < 100; ++number) {
            EXPECT_LE(BaseReduction(depth, number), BaseReduction(depth + 1, number));
            EXPECT_LE(BaseReduction(depth, number), BaseReduction(depth, number + 1));
        }
    EXPECT_EQ(BaseReduction(63, 63), BaseReduction(200, 200));
    EXPECT_EQ(BaseReduction(8, 8), 2620);  // 0.5 + (ln 8)^2 / 2.1 plies
}

TEST_F(StrongSearchTest, HistoryStaysWithinItsLimits) {
    Position(kStart);
    SearchFrame* const frame = FrameAt(0);
    frame[-1].pieceTo = 5;
    frame[-2].pieceTo = 700;
    const Move m = MakeWord(G1, F3, KNIGHT, EMPTY),
               other = MakeWord(B1, C3, KNIGHT, EMPTY);
    for (int i = 0; i < 1000; ++i) UpdateQuiet(m, WHITE, frame, 1600);
    EXPECT_GT(QuietHistory(m, WHITE, frame), 3 * 14000);
    EXPECT_LE(QuietHistory(m, WHITE, frame), 3 * 16384);
    EXPECT_EQ(QuietHistory(other, WHITE, frame), 0);
    EXPECT_EQ(QuietHistory(m, BLACK, frame), 0);
    for (int i = 0; i < 1000; ++i) UpdateQuiet(m, WHITE, frame, -1600);
    EXPECT_LT(QuietHistory(m, WHITE, frame), -3 * 14000);
    StrongSearch.forget();
    EXPECT_EQ(QuietHistory(m, WHITE, frame), 0);
    // Corrections move the evaluation and stay bounded.
    for (int i = 0; i < 1000; ++i) LearnCorrection(300, 10);
    EXPECT_GT(CorrectedEvaluation(0), 60);
    EXPECT_LE(CorrectedEvaluation(0), 128);
    EXPECT_EQ(CorrectedEvaluation(kMostEvaluation), kMostEvaluation);
    Board.SideToMove = BLACK;
    EXPECT_EQ(CorrectedEvaluation(0), 0);
}

}  // namespace
