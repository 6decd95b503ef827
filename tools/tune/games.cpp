// Every game begins from tables without experience, so that it depends on its number
// alone. Each process plays every so many-th game; the first one gathers the texts.
#include "tools/tune/games.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

#include "board/attacks.h"
#include "board/fen.h"
#include "board/legalmoves.h"
#include "driver/newgame.h"
#include "driver/startup.h"
#include "search/control.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/searcher.h"
#include "tools/progress.h"
#include "tools/splitmix.h"

namespace {

constexpr int kTableBits = 16;
// ---- Openings: random moves, thrown away when one side then has the better of it ----
constexpr int kFewestRandom = 6, kRandomSpread = 5;  // plies
constexpr int kMostAdvantage = 150;                  // centipawns
// ---- The end, in centipawns and plies ----
constexpr int kWon = 1000, kWonPlies = 4;
constexpr int kEven = 8, kEvenPlies = 12, kEvenFrom = 80;
constexpr int kLongestGame = 350;
constexpr int kMostScore = 1000;  // of a position that is kept

struct Kept {
    std::string epd;
    int score;  // for White
};

struct Game {
    std::vector<Kept> kept;
    std::map<std::string, int> seen;
    int wonPlies = 0, evenPlies = 0;
    double result = -1;  // for White, once it is over
};

// The score of the best move for the side to move.
int SearchPosition(std::int64_t nodes) {
    const std::string limits = "limits 0 0 " + std::to_string(nodes);
    ActiveSearch().askForLimits(limits.c_str());
    ClearRequests();
    StartSearchClock();
    Search(kTimedDepthLimit, true);
    return RootScore;
}

std::string Epd() {
    char text[kEpdSize];
    std::string epd(text, WriteEpd(text));
    while (!epd.empty() && epd.back() == ' ') epd.pop_back();
    return epd;
}

bool InCheck() {
    const int S = Board.SideToMove;
    return IsAttacked(ChangeSide(S), Board.KingSquare[S]);
}

bool IsOverByRule(Game& game) {
    if (LegalMoves().count == 0) {
        game.result = !InCheck() ? 0.5 : Board.SideToMove == WHITE ? 0 : 1;
        return true;
    }
    UpdateMatingFlags();
    const bool dead =
        Board.NoMatingMaterial[WHITE] != 0 && Board.NoMatingMaterial[BLACK] != 0;
    if (!dead && ++game.seen[Epd()] < 3 && Board.FiftyCounter < kFiftyMoves) return false;
    game.result = 0.5;
    return true;
}

// Both sides agree for some plies on who wins, or that nobody does.
bool IsAdjudicated(Game& game, int white, int ply) {
    game.wonPlies = std::abs(white) >= kWon ? game.wonPlies + 1 : 0;
    game.evenPlies = std::abs(white) <= kEven ? game.evenPlies + 1 : 0;
    if (game.wonPlies >= kWonPlies)
        game.result = white > 0 ? 1 : 0;
    else if ((game.evenPlies >= kEvenPlies && ply >= kEvenFrom) || ply >= kLongestGame)
        game.result = 0.5;
    return game.result >= 0;
}

void StartGame() {
    ActiveSearch().allocate(kTableBits, 1);
    NewGame();
}

// False when the game is over before it has begun, or one side is ahead.
bool PlayOpening(std::uint64_t& random, std::int64_t nodes) {
    StartGame();
    const int plies = kFewestRandom + static_cast<int>(SplitMix(random) % kRandomSpread);
    for (int ply = 0; ply < plies; ++ply) {
        const LegalMoves legal;
        if (legal.count == 0) return false;
        PlayGameMove(
            legal.moves[SplitMix(random) % static_cast<std::uint64_t>(legal.count)]);
    }
    return LegalMoves().count != 0 && std::abs(SearchPosition(nodes)) <= kMostAdvantage;
}

void Keep(Game& game, int score, int white) {
    if (Root.RootMoveCount < 2 || InCheck() || !IsQuiet(RootMoves[0])) return;
    if (std::abs(score) < kMostScore) game.kept.push_back({Epd(), white});
}

std::string TextOf(const Game& game) {
    const char* const result = game.result > 0.75   ? "1"
                               : game.result < 0.25 ? "0"
                                                    : "0.5";
    std::string text;
    for (const Kept& kept : game.kept)
        text += kept.epd + " ; " + result + " ; " + std::to_string(kept.score) + '\n';
    return text;
}

// ---- Processes: each sends its games as their length and text ----

bool SendAll(int pipe, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = write(pipe, bytes, size);
        if (sent <= 0) return false;
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}
bool ReceiveAll(int pipe, char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t got = read(pipe, bytes, size);
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

[[noreturn]] void PlayShare(const TrainingGames& games, std::uint64_t job, int pipe) {
    const auto jobs = static_cast<std::uint64_t>(games.jobs);
    for (std::uint64_t i = job; i < games.count; i += jobs) {
        const std::string text =
            PlayTrainingGame(games.seed, games.first + i, games.nodes);
        const std::size_t size = text.size();
        char head[sizeof size];
        std::memcpy(head, &size, sizeof size);
        if (!SendAll(pipe, head, sizeof head) || !SendAll(pipe, text.data(), size)) break;
    }
    _exit(0);
}

// The reading end of the pipe of a new process; -1 when there is none.
int StartShare(const TrainingGames& games, std::uint64_t job) {
    int ends[2];
    if (pipe(ends) != 0) return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        close(ends[0]);
        PlayShare(games, job, ends[1]);
    }
    close(ends[1]);
    if (pid > 0) return ends[0];
    close(ends[0]);
    return -1;
}

bool CopyGame(int pipe, std::FILE* to) {
    std::size_t size;
    char head[sizeof size];
    if (!ReceiveAll(pipe, head, sizeof head)) return false;
    std::memcpy(&size, head, sizeof size);
    std::string text(size, '\0');
    return ReceiveAll(pipe, text.data(), size) &&
           std::fwrite(text.data(), 1, size, to) == size;
}

}  // namespace

std::string PlayTrainingGame(std::uint64_t seed, std::uint64_t number,
                             std::int64_t nodes) {
    std::uint64_t random = seed * 0x9E3779B97F4A7C15 + number;
    while (!PlayOpening(random, nodes)) {
    }
    ActiveSearch().allocate(kTableBits, 1);
    Game game;
    for (int ply = 0; !IsOverByRule(game); ++ply) {
        RootScore = 0;
        const int score = SearchPosition(nodes);
        const int white = Board.SideToMove == WHITE ? score : -score;
        if (IsAdjudicated(game, white, ply)) break;
        Keep(game, score, white);
        PlayGameMove(RootMoves[0]);
    }
    return TextOf(game);
}

int WriteTrainingGames(const TrainingGames& games, const std::string& file) {
    if (!ResetEngine(kTableBits, StrongSearch)) return Fail("not enough memory");
    std::FILE* const to = std::fopen(file.c_str(), "wb");
    if (to == nullptr) return Fail("cannot write " + file);
    std::vector<int> pipes;
    for (int job = 0; job < games.jobs; ++job) {
        pipes.push_back(StartShare(games, static_cast<std::uint64_t>(job)));
        if (pipes.back() < 0) return Fail("cannot start a process");
    }
    bool good = true;
    for (std::uint64_t i = 0; i < games.count && good; ++i) {
        good = CopyGame(pipes[i % pipes.size()], to);
        ShowProgress("games", i + 1, games.count);
    }
    EndProgress();
    for (const int pipe : pipes) close(pipe);
    while (wait(nullptr) > 0) {
    }
    good = std::fclose(to) == 0 && good;
    return good ? 0 : Fail("the games could not all be written to " + file);
}
