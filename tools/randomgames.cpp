// Random play from a seeded generator. The moves are numbered in the order of the legal
// moves: a change of that order makes other games of the same numbers.
#include "tools/randomgames.h"

#include <algorithm>

#include "board/attacks.h"
#include "board/legalmoves.h"
#include "tools/sanwriter.h"
#include "tools/splitmix.h"

namespace {

// The longest line that the export format of PGN allows.
constexpr std::size_t kLineLength = 79;
const char* const kResults[] = {"1-0", "0-1", "1/2-1/2", "*"};

// Captures and pawn moves are preferred a little: games then simplify, and promote.
Move RandomMove(std::uint64_t& state) {
    const LegalMoves legal;
    const auto count = static_cast<std::uint64_t>(legal.count);
    if (count == 0) return NO_MOVE;
    const auto pick = [&] { return legal.moves[SplitMix(state) % count]; };
    const Move first = pick(), second = pick();
    return CapturesOrPromotes(second) || Moving(second) == PAWN ? second : first;
}

}  // namespace

// The number is the seed. Of ten results that are drawn for a game cut off, three each
// are of the first three kinds, one is "*".
RandomGame MakeRandomGame(std::uint64_t number, int maxPlies) {
    std::uint64_t state = number;
    const auto limit =
        static_cast<int>(SplitMix(state) % static_cast<unsigned>(maxPlies)) + 1;
    RandomGame game;
    SetStartPosition();
    game.result = kResults[std::min<std::uint64_t>(SplitMix(state) % 10 / 3, 3)];
    for (int ply = 0; ply < limit; ++ply) {
        const Move move = RandomMove(state);
        // Mate or stalemate takes the place of the result that was drawn.
        if (move == NO_MOVE) {
            const int S = Board.SideToMove;
            const bool mated = IsAttacked(ChangeSide(S), Board.KingSquare[S]);
            game.result = mated ? kResults[ChangeSide(S)] : kResults[2];
            break;
        }
        if (ply % 2 == 0) game.moves += std::to_string(ply / 2 + 1) + ". ";
        game.moves += SanOf(move) + ' ';
        MakeMove(move);
    }
    game.moves += game.result;
    return game;
}

// The tags of the "Seven Tag Roster", which readers may insist on.
std::string PgnOf(const RandomGame& game, std::uint64_t number) {
    std::string text =
        "[Event \"Random games\"]\n[Site \"?\"]\n[Date \"2024.01.01\"]\n[Round \"" +
        std::to_string(number) +
        "\"]\n[White \"Chance\"]\n[Black \"Chance\"]\n[Result \"" + game.result +
        "\"]\n\n";
    std::string line;
    for (std::size_t at = 0; at < game.moves.size();) {
        const std::size_t end = std::min(game.moves.find(' ', at), game.moves.size());
        if (line.size() + end - at >= kLineLength) {
            text += line + '\n';
            line.clear();
        }
        if (!line.empty()) line += ' ';
        line.append(game.moves, at, end - at);
        at = end + 1;
    }
    return text + line + "\n\n";
}
