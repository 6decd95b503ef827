#include "bench/openings.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "board/notation.h"
#include "book/san.h"
#include "bridge/game.h"
#include "search/control.h"
#include "search/history.h"
#include "search/root.h"
#include "search/rootmoves.h"

namespace {

constexpr int kLeastPlies = 8, kMostPlies = 10;  // of an opening, random ones included
constexpr int kRandomPlies = 2;
constexpr int kBalanceDepth = 6;   // plies, exclusive
constexpr int kBalanceScore = 60;  // centipawns

// The moves of one line of text; empty when one of them is not understood.
std::vector<std::string> ReadLine(const std::string& text) {
    std::vector<std::string> moves;
    std::istringstream words(text);
    StartGame();
    for (std::string word; words >> word;) {
        if (word.find('.') != std::string::npos) continue;
        Move move = NO_MOVE;
        if (ResolveSan(word.c_str(), move) != 1) return {};
        moves.push_back(MoveText(move));
        PlayMove(moves.back());
    }
    return moves;
}

bool PlayRandomMoves(std::mt19937_64& random, int count) {
    for (; count > 0; --count) {
        const std::vector<Move> moves = AllLegalMoves();
        PlayMove(MoveText(moves[random() % moves.size()]));
        if (GameResult() != nullptr) return false;
    }
    return true;
}

// The classic search gives the same score on every machine.
bool IsBalanced() {
    ClearHistoryAndKillers();
    Control.StopSearch = 0;
    return !Search(kBalanceDepth, false) && std::abs(RootScore) <= kBalanceScore;
}

}  // namespace

bool ReadOpeningLines(const std::string& file, OpeningMaker& maker) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with('#') || colon == std::string::npos) continue;
        std::vector<std::string> moves = ReadLine(line.substr(colon + 2));
        if (moves.size() >= kMostPlies - kRandomPlies)
            maker.lines.push_back(std::move(moves));
    }
    return !maker.lines.empty();
}

Opening MakeOpening(OpeningMaker& maker) {
    for (;;) {
        const auto& line = maker.lines[maker.random() % maker.lines.size()];
        const std::uint64_t plies =
            kLeastPlies - kRandomPlies + maker.random() % (kMostPlies - kLeastPlies + 1);
        StartGame();
        for (std::size_t i = 0; i < plies; ++i) PlayMove(line[i]);
        if (!PlayRandomMoves(maker.random, kRandomPlies)) continue;
        const Opening opening{"", Game.moves};
        if (maker.made.insert(Game.positions.back()).second && IsBalanced())
            return opening;
    }
}

bool ReadPositions(const std::string& file, std::vector<Opening>& openings,
                   std::string& fault) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        if (!StartGame(line)) {
            fault = line;
            return false;
        }
        openings.push_back({WriteFen(), {}});
    }
    return true;
}

std::string OpeningFen(const Opening& opening) {
    if (!(opening.fen.empty() ? StartGame() : StartGame(opening.fen))) return "";
    for (const std::string& move : opening.moves) PlayMove(move);
    return WriteFen();
}
