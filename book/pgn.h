// Games from PGN text, read as a stream in memory that does not depend on the file's
// size. A game begins with its tags. Its moves are resolved on the board, one at a time,
// as the caller plays them:
//
//   while (NextPgnGame(pgn)) {
//       SetStartPosition();  // or the position of its [FEN] tag
//       for (Move m; NextPgnMove(pgn, m) == PgnStatus::Found;) PlayPgnMove(m);
//   }
//
// Read over wherever they stand: comments in braces, nested, and after semicolons;
// variations in parentheses, nested; move numbers, results, annotation signs and numbers;
// characters that belong to nothing. A move in another notation ("Sf3", a figurine) is
// none that could be told.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/board.h"
#include "platform/files.h"

// Results of a game, as its tag "Result" gives them; "*" and anything else are no result.
inline constexpr int kPgnNoResult = 0;
inline constexpr int kPgnWhiteWon = 1;
inline constexpr int kPgnBlackWon = 2;
inline constexpr int kPgnDrawn = 3;

// A move token of this many characters is longer than any form of a move: a sign that the
// file is not what it was taken for.
inline constexpr int kPgnTokenLimit = 15;
// Bytes that a reader holds at once; the text around them is forgotten.
inline constexpr std::size_t kPgnBufferSize = 1 << 16;
// Of a tag's value as it is kept; no position's text is as long.
inline constexpr std::size_t kPgnValueSize = 128;

// Puts at most `size` bytes into the buffer; 0 at the end, and on an error.
using PgnSource = std::size_t (*)(void* from, void* buffer, std::size_t size);

// A reader of one stream. Too large for a stack: callers keep it on the heap or as a
// static object. OpenPgn makes it ready; `unnumbered` is the caller's to set.
struct PgnReader {
    FileHandle file = nullptr;
    PgnSource source = nullptr;  // instead of the file
    void* from = nullptr;
    // Moves begin right behind the tags, with or without numbers. Otherwise all text up
    // to a "1" is skipped, and a game without move numbers is not told from such text;
    // not so in a game with a position of its own, whose numbers begin anywhere.
    bool unnumbered = false;
    // ---- The game being read ----
    int result = kPgnNoResult;     // by its tag
    bool hasFen = false;           // it says that it does not begin at the start position
    char fen[kPgnValueSize] = {};  // then where
    // ---- The last token read ----
    char token[kPgnTokenLimit + 1] = {};  // without ":", "x" and "="
    int matches = 0;                      // legal moves that agree with it
    // ---- Private to the reader ----
    bool inGame = false;    // among the moves
    bool gameLost = false;  // a move could not be told: the rest is skipped
    bool fileEnd = false;
    std::uint64_t bytesBefore = 0;  // read before the buffer's first byte
    const char *at = nullptr, *end = nullptr;
    char buffer[kPgnBufferSize + 1] = {};  // a NUL stands at `end`
};

enum class PgnStatus {
    Found,         // the next move of the game
    GameEnd,       // another game follows
    FileEnd,       // the file ends, and the game with it
    Unrecognised,  // no legal move agrees with the token, or
    Ambiguous,     // several do; after either the rest of the game is skipped
    TooLong,       // a token of kPgnTokenLimit characters
};

// Begins with a file, in place of what was open; false when it cannot be opened, as a
// folder cannot, and nothing may be read then.
bool OpenPgn(PgnReader& pgn, const char* name);
// Reads from something else than a file, which stays the caller's and must outlive the
// reading. `from` is handed to the source at every call.
void OpenPgn(PgnReader& pgn, PgnSource source, void* from);
// Closes the file, if it is one that is read.
void ClosePgn(PgnReader& pgn);
// Goes on to the next game, whatever is left of this one, and reads its tags; false when
// the file has no more. Sets `result`, `hasFen` and `fen`. The board is not touched: the
// caller sets up where the game begins.
bool NextPgnGame(PgnReader& pgn);
// The board must stand where the moves delivered so far have led; it is read and stays.
// `move` is good only with Found; with the other three kinds of token `token` and
// `matches` say what was read. A game that has been lost ends with GameEnd or FileEnd at
// a later call.
PgnStatus NextPgnMove(PgnReader& pgn, Move& move);
// The rest of the game is only read over: NextPgnMove goes to its end.
void SkipPgnGame(PgnReader& pgn);
// Makes a move of a game that is only read forwards: the history stack never fills up.
void PlayPgnMove(Move move);
// Bytes of the file that have been read over.
std::uint64_t PgnPosition(const PgnReader& pgn);
