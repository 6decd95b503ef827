// What the unit tests share: the engine in a known state, positions, moves by their text,
// and the engine's output.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "board/legalmoves.h"
#include "search/searcher.h"

// Positions with castling, en passant, promotions, pins and checks of all kinds.
inline constexpr const char* kStart =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";
inline constexpr const char* kCastlings =
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -";
inline constexpr const char* kRookEnding = "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -";
inline constexpr const char* kPromotions =
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -";
inline constexpr const char* kKnightFork =
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -";
inline constexpr const char* kMiddlegame =
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -";

// The state of a program just started, without clock, thinking lines and pondering, with
// that search; its table is that of 2^tableBits classic entries.
void FreshEngine(int tableBits = 19, const Searcher& searcher = ClassicSearch);
// Sets the board by a FEN, and the search's inputs (Ply, check, killers) for it.
void Position(const char* fen);

// The legal moves, to be kept and sorted.
std::vector<Move> LegalMoveList();
// The legal move with that text; NO_MOVE and a failure when there is none.
Move MoveOf(const std::string& text);
// Plays game moves, given as texts with blanks between them.
void Play(const std::string& moves);
// The texts of the moves on the stack from `first` on, with blanks between them.
std::string TextsFrom(int first);
// Calls `visit` at every node of the tree of legal moves, down to `depth` 0.
void WalkTree(int depth, const std::function<void()>& visit);

// The boards are alike in all forms, the history in use included.
bool SameBoard(const BoardRecord& a, const BoardRecord& b);
// What the program writes to standard output meanwhile.
std::string OutputOf(const std::function<void()>& action);

// Numbers for random tests, the same in every run.
class Random {
public:
    explicit Random(std::uint32_t seed) : state(seed) {}
    int Below(int limit) {
        state = state * 1103515245u + 12345u;
        return static_cast<int>(state >> 16 & 0x7FFF) % limit;
    }
    Move Of(const std::vector<Move>& moves) {
        return moves[static_cast<std::size_t>(Below(static_cast<int>(moves.size())))];
    }

private:
    std::uint32_t state;
};
