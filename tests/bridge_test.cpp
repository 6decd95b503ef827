// The bridge: its parts by themselves, and the program with the engine behind it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>

#include "bench/engineprocess.h"
#include "bench/positions.h"
#include "board/fen.h"
#include "board/notation.h"
#include "bridge/clock.h"
#include "bridge/game.h"
#include "bridge/gamefolder.h"
#include "bridge/lines.h"
#include "bridge/options.h"
#include "bridge/setup.h"
#include "bridge/thinking.h"
#include "tests/scratch.h"
#include "tests/support.h"

namespace {

constexpr int kPatience = 20000;  // ms

// ---- Set-ups ----

// Placement, side to move, castling, en passant.
std::string Fields(const std::string& fen, int count) {
    std::size_t end = 0;
    for (; count > 0 && end != std::string::npos; --count) end = fen.find(' ', end + 1);
    return fen.substr(0, end);
}

// What the engine makes of edit commands: men on squares, every right that they imply.
std::string EditedFen(const std::string& men, char side) {
    std::string fen;
    for (std::size_t rank = 8; rank-- > 0;) {
        for (const char man : men.substr(8 * rank, 8)) fen += man == '.' ? '1' : man;
        fen += rank > 0 ? "/" : "";
    }
    return fen + ' ' + side + " KQkq - 0 1";
}

// Follows the plan as the engine would; the position reached.
std::string Reached(const SetUpPlan& plan) {
    std::istringstream lines(plan.commands);
    std::string men(64, '.');
    char side = 'w';
    bool black = false, editing = false;
    int plies = 0;
    SetFen(kStartFen);
    for (std::string line; std::getline(lines, line);) {
        if (line == "white" || line == "black") {
            side = line[0];
            Board.SideToMove = side == 'w' ? WHITE : BLACK;
        } else if (line == "edit") {
            editing = true;
        } else if (line == "c") {
            black = !black;
        } else if (line == ".") {
            editing = false;
            EXPECT_TRUE(SetFen(EditedFen(men, side)));
        } else if (editing && line != "#") {
            const auto square =
                static_cast<std::size_t>(line[1] - 'a' + 8 * (line[2] - '1'));
            men[square] = black ? static_cast<char>(std::tolower(line[0])) : line[0];
        } else if (line != "new" && line != "force" && line != "#") {
            const Move m = LegalMove(line);
            EXPECT_NE(m, NO_MOVE) << line << " in\n" << plan.commands;
            if (m != NO_MOVE) MakeMove(m);
            ++plies;
        }
    }
    EXPECT_EQ(plies, plan.plies);
    return Fields(WriteFen(), 4);
}

void ExpectReached(const std::string& fen) {
    ASSERT_TRUE(SetPlayableFen(fen)) << fen;
    Board.FiftyCounter = 0;
    const std::string target = WriteFen();
    const SetUpPlan plan = PlanSetUp(target);
    EXPECT_EQ(plan.remark, "") << fen;
    EXPECT_EQ(Reached(plan), Fields(target, 4)) << fen;
    EXPECT_LE(plan.plies, 3);
}

TEST(BridgeSetUp, EveryPartOfTheCastlingRights) {
    const std::string rights[] = {"K", "Q", "k", "q"};
    for (const char* placement :
         {"r3k2r/p6p/8/8/8/8/P6P/R3K2R", "r3k2r/8/8/8/8/8/8/R3K2R",
          "rn2k1nr/8/8/4p3/8/8/8/RN2K2R"})
        for (const char* side : {" w ", " b "})
            for (unsigned set = 0; set < 16; ++set) {
                std::string text;
                for (unsigned i = 0; i < 4; ++i)
                    if ((set >> i & 1) != 0) text += rights[i];
                ExpectReached(placement + (side + (text.empty() ? "-" : text)) +
                              " - 0 1");
            }
}

TEST(BridgeSetUp, EnPassantWithAndWithoutRights) {
    for (const char* fen :
         {"rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3",
          "r3k2r/8/8/8/3pP3/8/8/R3K2R b KQkq e3 0 1",
          "r3k2r/8/8/8/3pP3/8/8/R3K2R b Kq e3 0 1",
          "r3k2r/8/8/3pP3/8/8/8/R3K2R w - d6 0 1", "8/8/8/K1pP3q/8/8/8/7k w - c6 0 2",
          // No capture is possible: the square does not matter.
          "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"})
        ExpectReached(fen);
}

TEST(BridgeSetUp, RandomGamesCanBeEnteredAnywhere) {
    Random random(7);
    for (int game = 0; game < 40; ++game) {
        StartGame();
        for (int ply = 0; ply < 60 && GameResult() == nullptr; ++ply)
            PlayMove(MoveText(random.Of(AllLegalMoves())));
        if (GameResult() == nullptr) ExpectReached(WriteFen());
    }
}

TEST(BridgeSetUp, SaysWhatItCannotCarryOver) {
    // White's king and rook cannot have moved lately.
    const SetUpPlan plan =
        PlanSetUp("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w kq - 0 1");
    EXPECT_NE(plan.remark, "");
    const SetUpPlan counter = PlanSetUp("7k/8/8/8/8/8/8/K6R w - - 30 1");
    EXPECT_NE(counter.remark, "");
}

TEST(BridgeGame, BadPositionsAndMovesChangeNothing) {
    StartGame();
    PlayMove("e2e4");
    const std::string before = WriteFen();
    std::string fault;
    for (const char* fen :
         {"", "8/8/8/8/8/8/8/8 w - - 0 1", "kk6/8/8/8/8/8/8/K7 w - - 0 1",
          "P6k/8/8/8/8/8/8/K7 w - - 0 1",  // a pawn on the last rank
          "7k/7R/8/8/8/8/8/K7 w - - 0 1",  // the king could be taken
          "rnbqkbnr/pppppppp/9/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
          "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq e9 0 1"})
        EXPECT_FALSE(ReplaceGame(fen, {}, fault)) << fen;
    for (const char* move : {"e7e4", "e7e5q", "0000", "e7", "e7e5e5", "\xff\xff\xff\xff"})
        EXPECT_FALSE(ReplaceGame(kStartFen, {"e2e4", move}, fault)) << move;
    EXPECT_EQ(WriteFen(), before);
    EXPECT_EQ(Game.moves.size(), 1u);
    TakeBackMove();
    EXPECT_EQ(WriteFen(), kStartFen);
}

TEST(BridgeGame, RepetitionLooksAtRightsToo) {
    std::string fault;
    const std::vector<std::string> shuffle = {"h1g1", "a8b8", "g1h1", "b8a8"};
    std::vector<std::string> moves = shuffle;
    moves.insert(moves.end(), shuffle.begin(), shuffle.end());
    ASSERT_TRUE(ReplaceGame("r3k3/8/8/8/8/8/8/4K2R w Kq - 0 1", moves, fault));
    EXPECT_EQ(GameResult(), nullptr);  // the first time both could still castle
    for (const std::string& move : shuffle) PlayMove(move);
    EXPECT_STREQ(GameResult(), "1/2-1/2 {Draw by repetition}");
}

// ---- Thinking lines ----

TEST(BridgeThinking, CompletesAndChecksMoves) {
    struct Case {
        const char *fen, *line, *moves;
    };
    const Case cases[] = {
        {kStartFen, "5 20 3 12345 e2e4 e7e5 g1f3", "e2e4 e7e5 g1f3"},
        {kStartFen, "5 20 3 12345 e2e4 e7e5 e7e5 g1f3", "e2e4 e7e5"},
        {kStartFen, "5 20 3 12345", ""},
        {"8/P7/8/8/8/k7/8/K7 w - - 0 1", "5 900 3 1 a7a8 a3b3", "a7a8q a3b3"},
        // Only a knight on a8 can go to b6.
        {"8/P7/8/8/8/k7/8/K7 w - - 0 1", "5 900 3 1 a7a8 a3b3 a8b6", "a7a8n a3b3 a8b6"},
        {"7k/P7/8/8/8/8/p7/6K1 w - - 0 1", "5 0 3 1 a7a8 h8h7 a8a2", "a7a8q h8h7 a8a2"},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(SetPlayableFen(c.fen));
        ThinkingReport report;
        ASSERT_TRUE(ReadThinkingLine(c.line, "", report)) << c.line;
        std::string moves;
        for (const std::string& move : report.moves)
            moves += (moves.empty() ? "" : " ") + move;
        EXPECT_EQ(moves, c.moves);
    }
    ThinkingReport report;
    ASSERT_TRUE(SetPlayableFen("8/P7/8/8/8/k7/8/K7 w - - 0 1"));
    for (const char* first : {"", "a7a8r"}) {
        // A queen and a rook can go on like this, a knight or a bishop cannot.
        ASSERT_TRUE(ReadThinkingLine("5 900 3 1 a7a8 a3b3 a8a7", first, report));
        EXPECT_EQ(report.unsure, *first == '\0');
        EXPECT_EQ(report.moves[0], *first == '\0' ? "a7a8q" : first);
        EXPECT_EQ(report.moves.size(), 3u);
    }
    ASSERT_TRUE(ReadThinkingLine("5 900 3 1 a7a8 a3b3 a8d5", "", report));
    EXPECT_TRUE(report.unsure);  // a queen or a bishop
    ASSERT_TRUE(ReadThinkingLine("5 900 3 1 a7a8 a3b3 a8b6", "", report));
    EXPECT_FALSE(report.unsure);
    for (const char* line : {"", "5", "5 20 3", "5 x 3 1 e2e4", "5 99999999 3 1 e2e4",
                             "move e2e4", "1-0 {White mates}"})
        EXPECT_FALSE(ReadThinkingLine(line, "", report)) << line;
}

TEST(BridgeThinking, LinesEndWithTheGame) {
    const struct {
        const char *fen, *line;
        std::vector<std::string> played;
        std::size_t length;
    } cases[] = {
        {kStartFen, "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8", {}, 8},
        // What has been in the game counts.
        {kStartFen, "g1f3 g8f6 f3g1 f6g8 g1f3", {"g1f3", "g8f6", "f3g1", "f6g8"}, 4},
        {"7k/8/8/8/8/8/R7/K7 w - - 97 80", "a2a3 h8g8 a3a4 g8g7 a4a5", {}, 3},
        {"7k/8/8/8/8/8/1r6/K7 w - - 0 80", "a1b2 h8g8 b2b3", {}, 1},
    };
    for (const auto& c : cases) {
        std::string fault;
        ASSERT_TRUE(ReplaceGame(c.fen, c.played, fault));
        const std::string before = WriteFen();
        ThinkingReport report;
        ASSERT_TRUE(ReadThinkingLine(std::string("5 0 3 1 ") + c.line, "", report));
        EXPECT_EQ(report.moves.size(), c.length) << c.line;
        EXPECT_EQ(WriteFen(), before);
        EXPECT_EQ(Game.moves, c.played);
    }
    StartGame();
}

TEST(BridgeThinking, Mates) {
    const int cases[][2] = {{0, 0},     {31000, 0},   {-31000, 0},  {32766, 1},
                            {32764, 2}, {-32765, -1}, {-32763, -2}, {-32767, 0}};
    for (const auto& c : cases) EXPECT_EQ(MateInMoves(c[0]), c[1]) << c[0];
}

// ---- Time ----

SearchLimits OnClock(std::int64_t clock, std::int64_t increment, int movesToGo = 0) {
    SearchLimits limits;
    limits.clock = clock;
    limits.increment = increment;
    limits.movesToGo = movesToGo;
    return limits;
}

TEST(BridgeClock, NeverNothingAndNeverAll) {
    for (std::int64_t clock : {std::int64_t{0}, std::int64_t{1}, std::int64_t{10},
                               std::int64_t{50}, std::int64_t{850}, kLongestTime})
        for (std::int64_t increment : {std::int64_t{0}, std::int64_t{10}, kLongestTime})
            for (int number : {1, 23, 60, 9999})
                for (int moves : {0, 1, 40, 1000000})
                    for (std::int64_t overhead : {0, 50, 5000}) {
                        const TimePlan plan =
                            PlanTime(OnClock(clock, increment, moves), number, overhead);
                        EXPECT_GE(plan.soft, 1);
                        EXPECT_GE(plan.hard, plan.soft);
                        EXPECT_LE(plan.hard, std::max(clock * 3 / 4, std::int64_t{1}));
                        if (clock > 2 * overhead) {
                            EXPECT_LE(plan.hard, clock - overhead);
                        }
                    }
}

// Whole games of nothing but hard limits, each order a millisecond late: the clock holds.
TEST(BridgeClock, LastsForTheGame) {
    struct Case {
        std::int64_t base, increment;
        int perControl;
    };
    for (const Case& c : {Case{1000, 10, 0}, Case{300, 3, 0}, Case{1000, 0, 0},
                          Case{60000, 0, 40}, Case{10, 2, 0}}) {
        std::int64_t clock = c.base;
        for (int number = 1; number < 200; ++number) {
            const int toGo =
                c.perControl == 0 ? 0 : c.perControl - (number - 1) % c.perControl;
            clock -= PlanTime(OnClock(clock, c.increment, toGo), number, 50).hard + 1;
            ASSERT_GE(clock, 0) << c.base << '+' << c.increment << " at " << number;
            clock += c.increment + (toGo == 1 ? c.base : 0);
            if (c.increment + c.perControl == 0 && clock < 5) break;
        }
    }
}

TEST(BridgeClock, FewerMovesAreExpectedLater) {
    const SearchLimits limits = OnClock(850, 10);
    EXPECT_GE(PlanTime(limits, 1, 50).soft, 25);
    EXPECT_GT(PlanTime(limits, 23, 50).soft, PlanTime(limits, 1, 50).soft);
    EXPECT_GT(PlanTime(limits, 40, 50).soft, PlanTime(limits, 23, 50).soft);
    EXPECT_GT(PlanTime(OnClock(850, 0, 1), 40, 50).soft, 400);
}

TEST(BridgeClock, AFallOfTheScoreStretches) {
    const TimePlan plan = {100, 250};
    const std::int64_t cases[][2] = {{-500, 100}, {20, 100},  {21, 150},
                                     {71, 200},   {281, 250}, {65534, 250}};
    for (const auto& c : cases)
        EXPECT_EQ(StretchedLimit(plan, static_cast<int>(c[0])), c[1]) << c[0];
}

// The engine divides its clock by 110 less the half-moves on its board, at least by 26.
TEST(BridgeClock, TheEngineIsToldNoLess) {
    for (std::int64_t soft : {1, 9, 10, 11, 33, 60})
        for (int ply : {0, 41, 84, 200})
            for (bool ponder : {false, true}) {
                int told = 0;
                const std::string text =
                    LimitCommands(OnClock(1000, 0), {soft, soft}, ply, ponder);
                ASSERT_EQ(std::sscanf(text.c_str(), "level 0 0 0\ntime %d", &told), 1);
                int share = told / std::max(110 - ply, 26);
                if (ponder) share = share * 5 / 2;
                EXPECT_GE(share * 10, soft);
                EXPECT_LT(share * 10, soft + 30);
            }
    EXPECT_EQ(LimitCommands(OnClock(60000, 0), {1500, 4500}, 0, false),
              "time -1\nsd 99\n");
}

TEST(BridgeClock, OrdersComeBeforeTheLimit) {
    for (std::int64_t time : {1, 5, 20, 75, 76, 1000}) {
        SearchLimits limits;
        limits.moveTime = time;
        const TimePlan plan = PlanTime(limits, 1, 50);
        EXPECT_EQ(plan.soft, plan.hard);
        EXPECT_LE(plan.hard, time);
        EXPECT_GE(plan.hard, time / 2);
    }
    SearchLimits depth;
    depth.depth = 40;
    EXPECT_EQ(PlanTime(depth, 1, 50).soft, 0);
    depth.clock = 1000;  // a depth that takes too long
    EXPECT_GT(PlanTime(depth, 1, 50).soft, 0);
    EXPECT_LT(PlanTime(depth, 1, 50).hard, 500);
    depth.endless = true;
    EXPECT_EQ(PlanTime(depth, 1, 50).soft, 0);
}

TEST(BridgeClock, MovesAreNumberedFromTheFen) {
    std::string fault;
    struct Case {
        const char* fen;
        int number, afterTwo;
    };
    for (const Case& c :
         {Case{kStartFen, 1, 2}, Case{"7k/8/8/8/8/8/R7/K7 w - - 0 57", 57, 58},
          Case{"7k/8/8/8/8/8/R7/K7 w - -", 1, 2},
          Case{"7k/8/8/8/8/8/R7/K7 w - - 0 -3", 1, 2},
          Case{"7k/8/8/8/8/8/R7/K7 w - - 0 99999999999999999999", 9999, 10000}}) {
        if (!StartGame(c.fen)) continue;  // where the reader wants all fields
        EXPECT_EQ(MoveNumber(), c.number) << c.fen;
        PlayMove(c.fen == kStartFen ? "e2e4" : "a2a3");
        PlayMove(c.fen == kStartFen ? "e7e5" : "h8h7");
        EXPECT_EQ(MoveNumber(), c.afterTwo) << c.fen;
    }
    ASSERT_TRUE(StartGame("7k/8/8/8/8/8/R7/K7 b - - 0 57"));
    PlayMove("h8h7");
    EXPECT_EQ(MoveNumber(), 58);
    StartGame();
}

// ---- Options and settings ----

TEST(BridgeOptions, AreWrittenAsSettings) {
    std::string fault;
    ASSERT_TRUE(UseGameFolder("", fault));
    EXPECT_EQ(WriteSettings(), "Search=strong\n");
    const char* set[][3] = {
        {"Hash", "64", "TranspositionSize=21\n"},
        {"hash", "1", "TranspositionSize=15\n"},
        {"Hash", "320", "TranspositionSize=24\n"},
        {"Hash", "0", "TranspositionSize=15\n"},
        {"Hash", "999999999999999999999", "TranspositionSize=24\n"},
        {"PawnHash", "6", "PawnHashSize=18\n"},
        {"EGTBCache", "1024", "EGTBHashSize=30\n"},
        {"VarietyOfPlay", "0", "VarietyOfPlay=0\n"},
        {"BookLearning", "false", "BookLearning=off\n"},
        {"Learning", "1", "Learning=on\nUseLearningData=on\n"},
        {"Aggressivity", "300", "Aggressivity=300\n"},
        {"ResignValue", "9999", "ResignValue=9999\n"},
        {"Ponder", "0", "Pondering=off\n"},
        {"search", "STRONG", "Search=strong\n"},
        {"Threads", "256", "Threads=256\n"},
    };
    OptionsChanged = false;
    EXPECT_TRUE(SetOption("Move Overhead", "30", fault) && !OptionsChanged);
    EXPECT_EQ(MoveOverhead(), 30);
    for (const auto& s : set) {
        SetOption("PawnHash", "7", fault);  // so that 6 is a change
        EXPECT_TRUE(SetOption(s[0], s[1], fault)) << fault;
        EXPECT_NE(WriteSettings().find(s[2]), std::string::npos)
            << s[0] << '=' << s[1] << ":\n"
            << WriteSettings();
    }
    const std::string before = WriteSettings();
    const char* bad[][2] = {{"Hash", "x"},
                            {"Hash", ""},
                            {"Nothing", "1"},
                            {"", ""},
                            {"Learning", "maybe"},
                            {"ResignTimes", "10"},
                            {"Search", "stronger"},
                            {"Search", ""},
                            {"Threads", "0"},
                            {"Threads", "257"},
                            {"EGTBPath", "a\nTranspositionSize=13"}};
    for (const auto& b : bad) {
        fault.clear();
        EXPECT_FALSE(SetOption(b[0], b[1], fault)) << b[0];
        EXPECT_NE(fault, "");
    }
    EXPECT_FALSE(SetOption("EGTBPath", std::string(5000, 'x'), fault));
    EXPECT_EQ(WriteSettings(), before);
}

TEST(BridgeOptions, SayWhatIsGivenOfATable) {
    std::string remark;
    ASSERT_TRUE(UseGameFolder("", remark));
    const char* sizes[][3] = {{"Hash", "40", ""},
                              {"Hash", "64", "Hash is 40 MB"},
                              {"Hash", "-5", "Hash is 0.625 MB"},
                              {"Hash", "1024", "Hash is 320 MB"},
                              {"PawnHash", "11", ""},
                              {"PawnHash", "6", "PawnHash is 5.5 MB"},
                              {"EGTBCache", "1024", ""},
                              {"EGTBCache", "1000", "EGTBCache is 512 MB"},
                              {"Cowardice", "50", ""}};
    for (const auto& [name, value, said] : sizes) {
        EXPECT_TRUE(SetOption(name, value, remark));
        EXPECT_EQ(remark, said) << name << ' ' << value;
    }
    ASSERT_TRUE(UseGameFolder("", remark));
}

// The book is the only thing that the mode changes: without one the engine goes on.
TEST(BridgeOptions, StartTheEngineAnewOnlyWhereTheyMatter) {
    std::string remark;
    ASSERT_TRUE(UseGameFolder("", remark));
    const struct {
        const char *name, *value;
        bool matters;
    } cases[] = {{"UCI_AnalyseMode", "true", false}, {"Hash", "10", false},
                 {"Clear Hash", "", true},           {"Clear Hash", "", true},
                 {"OwnBook", "true", true},          {"UCI_AnalyseMode", "false", true}};
    for (const auto& c : cases) {
        OptionsChanged = false;
        EXPECT_TRUE(SetOption(c.name, c.value, remark));
        EXPECT_EQ(OptionsChanged, c.matters) << c.name;
    }
    ASSERT_TRUE(UseGameFolder("", remark));
    OptionsChanged = false;
}

TEST(BridgeOptions, AGameFolderIsTheStart) {
    Scratch folder;
    folder.Write("Veltramox.ini",
                 "; a comment\r\ntranspositionsize=22\r\nBookLearningMode=discover\r\n"
                 "EGTBPath=tables\r\nCowardice=50\r\nSearch=classic\r\n");
    std::string fault;
    ASSERT_TRUE(UseGameFolder(folder.directory.string(), fault));
    EXPECT_EQ(OptionValue("Hash"), "80");
    EXPECT_EQ(OptionValue("Cowardice"), "50");
    EXPECT_EQ(OptionValue("EGTBPath"), "tables");
    EXPECT_EQ(OptionValue("Search"), "strong");  // what plays here is not its business
    EXPECT_TRUE(SetOption("Cowardice", "60", fault));
    EXPECT_EQ(WriteSettings(),
              "transpositionsize=22\nBookLearningMode=discover\nSearch=strong\n"
              "Cowardice=60\n");
    EXPECT_TRUE(SetOption("Search", "classic", fault));
    EXPECT_EQ(WriteSettings().find("Search"), std::string::npos);
    EXPECT_FALSE(UseGameFolder(folder.Path("missing"), fault));
    ASSERT_TRUE(UseGameFolder("", fault));
}

// As the engine reads them: two digits, and what is out of range has a value of its own.
TEST(BridgeOptions, SizesInAGameFolderAreClamped) {
    const char* cases[][2] = {{"-1", "10"},  {"-9223372036854775808", "10"},
                              {"9", "10"},   {"", "10"},
                              {"99", "10"},  {"12", "10"},
                              {"24", "320"}, {"13x", "1"}};
    for (const auto& c : cases) {
        ReadBaseSettings("TranspositionSize=" + std::string(c[0]) + '\n', false);
        EXPECT_EQ(OptionValue("Hash"), c[1]) << c[0];
    }
    ReadBaseSettings("PawnHashSize=-1\nEGTBHashSize=-1\n", false);
    EXPECT_EQ(OptionValue("PawnHash"), "6");
    EXPECT_EQ(OptionValue("EGTBCache"), "1");
    ReadBaseSettings("EGTBHashSize=99\n", false);
    EXPECT_EQ(OptionValue("EGTBCache"), "1024");
    ReadBaseSettings("", false);
}

// Whatever the folders are called, the engine finds them.
TEST(BridgeOptions, TablesAreFoundUnderEveryName) {
    for (const std::string name : {"plain", "a;b", "a,b;c", "t\xC3\xA4\xC3\xA4\xC3\xA4",
                                   "\xFF\xFE", "a b", "long"}) {
        Scratch room;
        std::filesystem::path game = room.directory / name;
        if (name == "long") game = game / std::string(200, 'x') / std::string(200, 'y');
        std::filesystem::create_directories(game / "tables,2");
        std::filesystem::create_directories(game / "tables");
        std::ofstream(game / "tables" / "first");
        std::ofstream(game / "tables,2" / "second");
        std::ofstream(game / "Veltramox.ini") << "EGTBPath=tables,2;,;tables;missing\n";
        std::string fault, remark;
        ASSERT_TRUE(UseGameFolder(game.string(), fault)) << fault;
        const std::filesystem::path folder = MakeEngineFolder(remark);
        EXPECT_TRUE(std::filesystem::exists(folder / "2" / "first")) << name;
        EXPECT_TRUE(std::filesystem::exists(folder / "1" / "second")) << name;
        EXPECT_EQ(remark, "no endgame tables can be read in missing");
        ASSERT_TRUE(SetOption("EGTBPath", (game / "tables,2").string(), fault)) << fault;
        remark.clear();
        const std::filesystem::path second = MakeEngineFolder(remark);
        EXPECT_EQ(remark, "");
        EXPECT_TRUE(std::filesystem::exists(second / "1" / "second")) << name;
        std::ifstream settings(second / "Veltramox.ini");
        std::string line;
        while (!line.starts_with("EGTBPath") && std::getline(settings, line)) continue;
        EXPECT_EQ(line, "EGTBPath=1");
        EXPECT_FALSE(std::filesystem::exists(folder));
        RemoveEngineFolder();
    }
    std::string fault;
    ASSERT_TRUE(UseGameFolder("", fault));
}

// ---- Lines ----

bool Put(int descriptor, const std::string& text) {
    return write(descriptor, text.data(), text.size()) ==
           static_cast<ssize_t>(text.size());
}

TEST(BridgeLines, NumbersBeyondAllMeasure) {
    constexpr long long kLeast = std::numeric_limits<long long>::min();
    constexpr long long kMost = std::numeric_limits<long long>::max();
    long long number = 0;
    EXPECT_TRUE(ToNumber("99999999999999999999", number) && number == kMost);
    EXPECT_TRUE(ToNumber("-99999999999999999999", number) && number == kLeast);
    for (const char* bad : {"", "-", "1x", "99999999999999999999x", "+1"})
        EXPECT_FALSE(ToNumber(bad, number)) << bad;
}

TEST(BridgeLines, LongAndBrokenOnes) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    LineReader reader;
    reader.descriptor = ends[0];
    std::string line;
    ASSERT_TRUE(Put(ends[1], "one\r\ntwo\n\nhal"));
    ReadSome(reader);
    EXPECT_TRUE(TakeLine(reader, line) && Trimmed(line) == "one");
    EXPECT_TRUE(TakeLine(reader, line) && line == "two");
    EXPECT_TRUE(TakeLine(reader, line) && line.empty());
    EXPECT_FALSE(TakeLine(reader, line));
    ASSERT_TRUE(Put(ends[1], "f\n"));
    ReadSome(reader);
    EXPECT_TRUE(TakeLine(reader, line) && line == "half");
    // A line beyond all measure goes, the next one counts.
    const std::string part(1 << 15, 'x');
    for (std::size_t sent = 0; sent <= kLongestLine + part.size(); sent += part.size()) {
        ASSERT_TRUE(Put(ends[1], part));
        ReadSome(reader);
        EXPECT_FALSE(TakeLine(reader, line));
    }
    ASSERT_TRUE(Put(ends[1], "xx\nnext\nrest"));
    close(ends[1]);
    while (!reader.ended) ReadSome(reader);
    EXPECT_TRUE(TakeLine(reader, line) && line == "next");
    EXPECT_FALSE(TakeLine(reader, line));
    close(ends[0]);
}

// ---- The program ----

EngineProcess StartBridge(bool uci) {
    return uci ? StartEngine(VELTRAMOX_BRIDGE, "uci\n", "uciok")
               : StartEngine(VELTRAMOX_BRIDGE, "xboard\nprotover 2\n", "feature done=1");
}

pid_t ChildOf(pid_t parent) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line == "PPid:\t" + std::to_string(parent))
                return std::stoi(entry.path().filename().string());
    }
    return 0;
}

// Score, nodes and move of a search to a depth, by the engine alone.
std::string Alone(const std::string& fen, const std::vector<std::string>& moves,
                  int depth) {
    EngineProcess engine = StartEngine(VELTRAMOX_PROGRAM);
    const SetUpPlan plan = PlanSetUp(fen);
    std::string text = "easy\n" + plan.commands;
    for (const std::string& move : moves) text += move + '\n';
    SendText(engine, text + "sd " + std::to_string(depth) + "\ngo\n");
    std::string thought;
    for (std::string line = "?"; !line.empty();) {
        line = WaitForLine(engine, "", kPatience);
        if (line.starts_with("move ")) {
            StopEngine(engine);
            std::istringstream words(thought);
            std::string shown, score, time, nodes;
            words >> shown >> score >> time >> nodes;
            return score + ' ' + nodes + ' ' + line.substr(5);
        }
        thought = line;
    }
    return "nothing";
}

std::string ThroughUci(const std::string& fen, const std::string& moves, int depth) {
    EngineProcess bridge = StartBridge(true);
    SendText(bridge, "setoption name Search value classic\nisready\nposition fen " + fen +
                         (moves.empty() ? "" : " moves " + moves) + "\ngo depth " +
                         std::to_string(depth) + '\n');
    std::string thought;
    for (std::string line = "?"; !line.empty();) {
        line = WaitForLine(bridge, "", kPatience);
        std::istringstream words(line);
        std::string word, score, nodes;
        words >> word;
        if (word == "bestmove") {
            words >> word;
            StopEngine(bridge);
            return thought + ' ' + word;
        }
        while (words >> word) {
            if (word == "cp") words >> score;
            if (word == "nodes") words >> nodes;
        }
        thought = score + ' ' + nodes;
    }
    return "nothing";
}

TEST(BridgeProgram, SearchesAsTheEngineAlone) {
    struct Case {
        const char* fen;
        std::vector<std::string> moves;
    };
    const Case cases[] = {
        {kStartFen, {"e2e4", "c7c5", "g1f3"}},
        {kStartFen, {}},
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w Kq - 0 1", {}},
        {"rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 1", {"e5f6"}},
        {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", {}},
    };
    for (const Case& c : cases) {
        std::string text;
        for (const std::string& move : c.moves) text += (text.empty() ? "" : " ") + move;
        EXPECT_EQ(ThroughUci(c.fen, text, 7), Alone(c.fen, c.moves, 7)) << c.fen;
    }
}

// A position by FEN in the middle of a game, on a short clock: the engine's own division
// leaves no time at all, and about 300 nodes.
TEST(BridgeProgram, ShortClocksAreThoughtOn) {
    EngineProcess bridge = StartBridge(true);
    SendText(bridge,
             "position fen rq2kb1r/1p1bppp1/1B1p4/p2P2N1/3QP3/3P4/1P2BPpP/R1R3K1 w kq - "
             "0 23\ngo wtime 850 btime 850 winc 10 binc 10\n");
    long long nodes = 0;
    for (std::string line = "?"; !line.empty() && !line.starts_with("bestmove");) {
        line = WaitForLine(bridge, "", kPatience);
        const std::size_t found = line.find(" nodes ");
        if (found != std::string::npos) nodes = std::stoll(line.substr(found + 7));
    }
    EXPECT_GT(nodes, 1000);
    EXPECT_TRUE(StopEngine(bridge));
}

// The last line is what test frameworks read; the nodes are those of the lines above it.
TEST(BridgeProgram, BenchEndsInNodesAndSpeed) {
    std::FILE* const pipe = popen(VELTRAMOX_BRIDGE " bench 3", "r");
    char line[256];
    long long sum = 0, nodes = 0, total = 0, speed = 0;
    int searches = 0;
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        searches += std::sscanf(line, "%*d %*s %*d %lld", &nodes) == 1;
        if (std::sscanf(line, "%lld nodes %lld nps", &total, &speed) != 2) sum += nodes;
    }
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_EQ(searches, static_cast<int>(std::size(kBenchPositions)));
    EXPECT_EQ(total, sum);
    EXPECT_GT(speed, 0);
}

TEST(BridgeProgram, AnEngineThatDiesIsReplaced) {
    for (const bool uci : {true, false}) {
        EngineProcess bridge = StartBridge(uci);
        SendText(bridge, uci ? "position startpos moves e2e4\ngo movetime 1500\n"
                             : "new\nst 1\npost\nusermove e2e4\n");
        EXPECT_NE(WaitForLine(bridge, uci ? "info depth 10" : "10 ", kPatience), "");
        const pid_t engine = ChildOf(bridge.child.pid);
        ASSERT_GT(engine, 0);
        kill(engine, SIGKILL);
        EXPECT_NE(
            WaitForLine(bridge, uci ? "info string the engine ended" : "# the engine",
                        kPatience),
            "");
        EXPECT_NE(WaitForLine(bridge, uci ? "bestmove " : "move ", kPatience), "");
        const pid_t second = ChildOf(bridge.child.pid);
        EXPECT_NE(second, engine);
        EXPECT_TRUE(StopEngine(bridge));
        EXPECT_NE(kill(second, 0), 0);  // gone with the bridge
    }
}

// A bridge with this script for its engine.
EngineProcess StartWithEngine(const Scratch& folder, const std::string& script, bool uci,
                              const std::string& arguments = "") {
    folder.Write("engine", "#!/bin/sh\n" + script);
    folder.Write("bridge", "#!/bin/sh\nexec " VELTRAMOX_BRIDGE " --engine " +
                               folder.Path("engine") + ' ' + arguments + "\n");
    for (const char* name : {"engine", "bridge"})
        std::filesystem::permissions(folder.Path(name),
                                     std::filesystem::perms::owner_all);
    return uci ? StartEngine(folder.Path("bridge"), "uci\n", "uciok")
               : StartEngine(folder.Path("bridge"), "xboard\nprotover 2\n",
                             "feature done=1");
}

int LinesIn(const std::string& text, const std::string& wanted) {
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with(wanted);
    return count;
}

// An engine that answers questions, and sleeps for ever at this word: every time, or only
// once. Otherwise it plays.
std::string Sleeping(const Scratch& folder, const std::string& word, bool always) {
    const std::string said = folder.Path("said");
    return "while read -r line; do echo \"$line\" >>" + said +
           "; case $line in\n"
           "a1a1x*) echo \"Illegal move: $line\";;\n" +
           word + ") " +
           (always ? "" : "test $(grep -cFx '" + word + "' " + said + ") -gt 1 || ") +
           "exec sleep 100;;\nesac; case $line in\n"
           "go) echo '5 20 3 1000 e7e5'; echo move e7e5;;\n"
           "quit) exit;; esac; done\n";
}

constexpr char kShortPatience[] = "--patience 500";
constexpr int kEnough = 5000;  // ms

// It does not move when it is told to, or is not heard of when it is to stop: after its
// patience the bridge starts another one, which searches on.
TEST(BridgeProgram, AnEngineThatHangsIsReplaced) {
    const struct {
        bool uci;
        const char *word, *sent, *remark;
    } cases[] = {
        {true, "go", "go movetime 100\n", "info string the engine ended"},
        {true, "analyze", "go infinite\nstop\n", "info string the engine ended"},
        {false, "go", "?\n", "# the engine ended"},
    };
    for (const auto& c : cases) {
        Scratch folder;
        EngineProcess bridge = StartWithEngine(folder, Sleeping(folder, c.word, false),
                                               c.uci, kShortPatience);
        SendText(bridge, c.uci ? "position startpos moves e2e4\n" : "usermove e2e4\n");
        const auto asked = BenchClock::now();
        SendText(bridge, c.sent);
        EXPECT_NE(WaitForLine(bridge, c.remark, kEnough), "") << c.sent;
        EXPECT_GE(BenchClock::now() - asked, std::chrono::milliseconds(500));
        EXPECT_NE(WaitForLine(bridge, c.uci ? "bestmove e7e5" : "move e7e5", kEnough), "")
            << c.sent;
        EXPECT_TRUE(StopEngine(bridge));
    }
}

TEST(BridgeProgram, SlowAnEngineThatAlwaysHangsIsGivenUp) {
    Scratch folder;
    EngineProcess bridge =
        StartWithEngine(folder, Sleeping(folder, "go", true), true, kShortPatience);
    SendText(bridge, "position startpos moves e2e4\ngo movetime 100\n");
    EXPECT_NE(WaitForLine(bridge, "info string the engine keeps ending", kEnough), "");
    int status = 0;
    const bool ended = ChildEnded(bridge.child, kEnough, &status);
    EXPECT_TRUE(ended && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE);
    if (!ended) StopEngine(bridge);
    KillChild(bridge.child);
    EXPECT_EQ(LinesIn(folder.Read("said"), "go"), 3);
}

// An engine that plays without looking: the bridge does not pass such moves on.
TEST(BridgeProgram, IllegalMovesDoNotPass) {
    Scratch folder;
    EngineProcess bridge =
        StartWithEngine(folder,
                        "while read line; do case $line in\n"
                        "a1a1x*) echo \"Illegal move: $line\";; go) echo move e2e5;;\n"
                        "quit) exit;; esac; done\n",
                        true);
    SendText(bridge, "position startpos\ngo depth 5\n");
    EXPECT_NE(WaitForLine(bridge, "info string the engine made an illegal", kPatience),
              "");
    EXPECT_EQ(WaitForLine(bridge, "bestmove", kPatience), "");
    // It gives such an engine up, and ends.
    int status = 0;
    ASSERT_EQ(waitpid(bridge.child.pid, &status, 0), bridge.child.pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE);
    close(bridge.child.input);
    close(bridge.child.output);
}

// An engine that thinks of a promotion, says what it looks at when asked, and moves.
std::string Promoting(const std::string& lines, const std::string& status) {
    return "while read line; do case $line in\n"
           "a1a1x*) echo \"Illegal move: $line\";;\n"
           "go) went=yes; printf '" +
           lines + "';;\n.) test -z \"$went\" || printf '" + status +
           "';;\nquit) exit;; esac; done\n";
}

// The engine's lines leave the piece out: it is the one that it plays, or looks at first.
TEST(BridgeProgram, PromotionsGetTheirPiece) {
    constexpr char kLine[] = "5 900 3 20000 a7a8 a3b3 a8a7\\n";
    constexpr char kMove[] = "move a7a8r\\n";
    const std::string rest = " time 30 nodes 20000 nps 666666";
    struct Case {
        std::string lines, status;
        std::vector<std::string> said;
    };
    const Case cases[] = {
        {std::string(kLine) + kMove, "", {"cp 900" + rest + " pv a7a8r a3b3 a8a7"}},
        {kLine,
         std::string("stat01: 4 30000 5 7 8 a7a8r\\n6 901 3 20000 a7a8 a3b3 a8a7\\n") +
             kMove,
         {"cp 900" + rest + " pv a7a8r a3b3 a8a7",
          "cp 901" + rest + " pv a7a8r a3b3 a8a7"}},
        // While it looks at another move, nothing is known: what is shown has no moves.
        {kLine,
         std::string("stat01: 4 30000 5 3 8 a7a8q\\n5 902 3 20000 a1b1 a3b3\\n") +
             "move a1b1\\n",
         {"cp 900" + rest, "cp 902" + rest + " pv a1b1 a3b3"}},
    };
    for (const Case& c : cases) {
        Scratch folder;
        EngineProcess bridge =
            StartWithEngine(folder, Promoting(c.lines, c.status), true);
        SendText(bridge, "position fen 8/P7/8/8/8/k7/8/K7 w - - 0 1\ngo depth 9\n");
        for (const std::string& said : c.said) {
            const std::string line = WaitForLine(bridge, "info depth", kPatience);
            EXPECT_EQ(line.substr(line.find("cp")), said);
        }
        EXPECT_NE(WaitForLine(bridge, "bestmove", kPatience), "");
        EXPECT_TRUE(StopEngine(bridge));
    }
}

// The engine credits a game to its book once, and at "new" begins another.
TEST(BridgeProgram, ANewGameIsOneToTheEngine) {
    Scratch folder;
    EngineProcess bridge = StartWithEngine(
        folder, "tee -a " + folder.Path("said") + " | " VELTRAMOX_PROGRAM "\n", false);
    for (int game = 0; game < 3; ++game) {
        SendText(bridge, "new\nsd 3\nusermove e2e4\n");
        EXPECT_NE(WaitForLine(bridge, "move ", kPatience), "");
    }
    EXPECT_TRUE(StopEngine(bridge));
    EXPECT_EQ(LinesIn(folder.Read("said"), "new"), 3);
}

// The move that the engine ponders on after its `number`th own, as it has said itself.
std::string PonderedMove(const Scratch& folder, int number) {
    for (int waited = 0; waited < kPatience; waited += 10, usleep(10000)) {
        const std::string heard = folder.Read("heard");
        if (LinesIn(heard, "Hint: ") == number && heard.ends_with('\n'))
            return heard.substr(heard.rfind("Hint: ") + 6, 4);
    }
    return "";
}

// A hit lets the search go on that there is: "go" would begin another, with another
// clock. After a miss too, whose search began a little late with a little less time; the
// engine, which hears questions late here, sees to that.
TEST(BridgeProgram, PonderHitsCountAfterAMiss) {
    for (const char* control :
         {"st 0.2", "level 0 0:06 0", "option Search=classic\nst 0.2"}) {
        Scratch folder;
        EngineProcess bridge = StartWithEngine(
            folder,
            "while read -r line; do echo \"$line\" >>" + folder.Path("said") +
                "; case $line in a1a1x*) sleep 0.1;; esac; echo "
                "\"$line\"; done | " VELTRAMOX_PROGRAM " | tee " +
                folder.Path("heard") + "\n",
            false);
        StartGame();
        PlayMove("e2e4");
        SendText(bridge, std::string("new\nhard\n") + control + "\nusermove e2e4\n");
        std::string answer = WaitForLine(bridge, "move ", kPatience);
        int number = 0;
        for (const bool hit : {true, false, true, true}) {
            ASSERT_TRUE(answer != "" && PlayMove(answer.substr(5))) << answer;
            const std::string expected = PonderedMove(folder, ++number);
            ASSERT_NE(LegalMove(expected), NO_MOVE) << expected;
            const std::vector<Move> legal = AllLegalMoves();
            const std::string other =
                MoveText(MoveText(legal[0]) == expected ? legal[1] : legal[0]);
            const std::string& move = hit ? expected : other;
            PlayMove(move);
            const std::size_t before = folder.Read("said").size();
            SendText(bridge, "usermove " + move + '\n');
            answer = WaitForLine(bridge, "move ", kPatience);
            const std::string told = folder.Read("said").substr(before);
            EXPECT_EQ(LinesIn(told, move), 1) << control << ": " << told;
            EXPECT_EQ(LinesIn(told, "go"), hit ? 0 : 1) << control << ": " << told;
            EXPECT_EQ(LinesIn(told, "force") == 0, hit) << control << ": " << told;
        }
        EXPECT_TRUE(StopEngine(bridge));
    }
    StartGame();
}

// More questions than the engine answers while it thinks.
TEST(BridgeProgram, QuestionsDoNotPileUp) {
    EngineProcess bridge = StartBridge(false);
    std::string questions = "new\nanalyze\n";
    for (int i = 0; i < 55000; ++i) questions += ".\n";
    SendText(bridge, questions + "ping 1\n");
    EXPECT_NE(WaitForLine(bridge, "pong 1", kPatience), "");
    EXPECT_TRUE(StopEngine(bridge));
}

// Nobody reads what it says, and its writing blocks.
TEST(BridgeProgram, EndsWhenToldToWhileItWaits) {
    EngineProcess bridge = StartBridge(true);
    const pid_t engine = ChildOf(bridge.child.pid);
    std::string junk;
    for (int i = 0; i < 3000; ++i) junk += "what is this\n";
    SendText(bridge, junk);  // the complaints are longer than the pipe
    usleep(300000);
    kill(bridge.child.pid, SIGTERM);
    int status = 0, waited = 0;
    pid_t ended = 0;
    while ((ended = waitpid(bridge.child.pid, &status, WNOHANG)) == 0 && waited++ < 1000)
        usleep(10000);
    EXPECT_EQ(ended, bridge.child.pid);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_NE(kill(engine, 0), 0);
    if (ended == 0) kill(bridge.child.pid, SIGKILL);
    close(bridge.child.input);
    close(bridge.child.output);
}

// The engine does not run on, and its pipe is full.
TEST(BridgeProgram, EndsWhenToldToWhileTheEngineTakesNothing) {
    EngineProcess bridge = StartBridge(true);
    const pid_t engine = ChildOf(bridge.child.pid);
    kill(engine, SIGSTOP);
    std::string game = "position startpos moves";
    for (int i = 0; i < 12000; ++i) game += i % 2 == 0 ? " g1f3 g8f6" : " f3g1 f6g8";
    SendText(bridge, game + "\ngo depth 3\n");
    usleep(1500000);
    kill(bridge.child.pid, SIGTERM);
    int status = 0, waited = 0;
    pid_t ended = 0;
    while ((ended = waitpid(bridge.child.pid, &status, WNOHANG)) == 0 && waited++ < 500)
        usleep(10000);
    EXPECT_EQ(ended, bridge.child.pid);
    EXPECT_NE(kill(engine, 0), 0);
    if (ended == 0) {
        kill(bridge.child.pid, SIGKILL);
        kill(engine, SIGKILL);
    }
    close(bridge.child.input);
    close(bridge.child.output);
}

// A temporary folder for the programs that are started while it lives.
struct TemporaryFolder {
    explicit TemporaryFolder(const std::string& name) {
        if (const char* named = std::getenv("TMPDIR")) before = named;
        setenv("TMPDIR", name.c_str(), 1);
    }
    ~TemporaryFolder() {
        if (before.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", before.c_str(), 1);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    std::string before;
};

// What killed bridges leave behind goes at the next start; nothing else does.
TEST(BridgeProgram, SweepsWhatKilledOnesLeft) {
    Scratch room;
    TemporaryFolder temporary(room.directory.string());
    const auto folders = [&] {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(room.directory))
            names.insert(entry.path().filename().string());
        return names;
    };
    const std::set<std::string> kept = {
        "veltramox-bridge-1-abcdef", "veltramox-bridge-notes",
        "veltramox-bridge-999999999-abcdefg", "xveltramox-bridge-999999999-abcdef"};
    for (const std::string& name : kept)
        std::filesystem::create_directory(room.directory / name);
    EngineProcess killed = StartBridge(true), living = StartBridge(true);
    ASSERT_EQ(folders().size(), kept.size() + 2);
    kill(killed.child.pid, SIGKILL);
    waitpid(killed.child.pid, nullptr, 0);
    close(killed.child.input);
    close(killed.child.output);
    EngineProcess next = StartBridge(true);
    EXPECT_EQ(folders().size(), kept.size() + 2);
    EXPECT_TRUE(StopEngine(living));
    EXPECT_TRUE(StopEngine(next));
    EXPECT_EQ(folders(), kept);
}

TEST(BridgeProgram, AnEmptyTemporaryFolderIsNone) {
    std::FILE* const pipe = popen("echo uci | TMPDIR= " VELTRAMOX_BRIDGE, "r");
    std::string said;
    for (char line[256]; std::fgets(line, sizeof line, pipe) != nullptr;) said += line;
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_NE(said.find("uciok"), std::string::npos) << said;
}

// Commands in any order, at any moment, pondering or not: every move of the engine is
// legal in the game as the front end knows it, and no answer is missing.
TEST(BridgeProgram, SlowStaysInStepWhateverComes) {
    EngineProcess bridge = StartBridge(false);
    Random random(11);
    std::string fault;
    StartGame();
    SendText(bridge, "new\nlevel 0 0:05 0.05\nhard\npost\n");
    int enginesMoves = 0;
    // Everything up to the answer; "move" lines are played.
    const auto settle = [&](const std::string& sent) {
        static int number = 0;
        const std::string pong = "pong " + std::to_string(++number);
        SendText(bridge, sent + "ping " + std::to_string(number) + '\n');
        for (;;) {
            const std::string line = WaitForLine(bridge, "", kPatience);
            ASSERT_NE(line, "") << "after " << sent;
            if (line == pong) return;
            EXPECT_FALSE(line.starts_with("# ")) << line << " after " << sent;
            EXPECT_FALSE(line.starts_with("Illegal")) << line << " after " << sent;
            if (!line.starts_with("move ")) continue;
            ++enginesMoves;
            EXPECT_TRUE(PlayMove(line.substr(5))) << line << " after " << sent;
        }
    };
    for (int i = 0; i < 250 && !HasFailure(); ++i) {
        if (GameResult() != nullptr) {
            StartGame();
            settle("new\ntime 200\n");
        }
        usleep(static_cast<useconds_t>(random.Below(30)) * 1000);
        const int kind = random.Below(12);
        if (kind < 6) {
            const std::string move = MoveText(random.Of(AllLegalMoves()));
            const bool engineMoved = !Game.moves.empty() && enginesMoves > 0;
            if (!engineMoved) settle("playother\n");
            PlayMove(move);
            settle("time 200\nusermove " + move + '\n');
        } else if (kind == 6 && Game.moves.size() >= 2) {
            TakeBackMove();
            TakeBackMove();
            settle("remove\n");
        } else if (kind == 7 && !Game.moves.empty()) {
            TakeBackMove();
            settle("force\nundo\n");
            settle("time 200\ngo\n");
        } else if (kind == 8) {
            const std::string fen =
                "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/"
                "R3K2R w KQkq - 0 1";
            ASSERT_TRUE(StartGame(fen));
            settle("force\nsetboard " + fen + '\n');
            settle("time 100\ngo\n");
        } else if (kind == 9) {
            settle(random.Below(2) == 0 ? "easy\n" : "hard\n");
        } else if (kind == 10) {
            settle("analyze\n");
            settle("exit\n");
            settle("time 200\ngo\n");
        } else {
            settle("?\n");
        }
    }
    EXPECT_GT(enginesMoves, 50);
    EXPECT_TRUE(StopEngine(bridge));
}

}  // namespace
