// Position learning: positions from which the score later collapsed are remembered in a
// file, and the search takes their stored scores where they come from a deeper search.
#pragma once

#include <cstdint>

// An entry of the engine's own recent moves: the position after the move, the root score
// of the search that chose it (centipawns) and whether it came from the book.
struct OwnMove {
    std::uint32_t hash1, hash2;
    std::int32_t score;
    std::int32_t fromBook;
};

// Opens or creates the learning file. False, with a line on standard output, when that
// fails: there is then nothing to look up, and nothing is learned.
bool OpenLearningFile(const char* name = "Learn.vl1");
void CloseLearningFile();

// The stored score (centipawns, for the side to move) and depth (units of 60 a ply) of a
// position; false when there is no record, or one that no search can have written.
bool LearnLookup(std::uint32_t hash1, std::uint32_t hash2, int& score, int& depth);

// Called after the engine has made its move. `recent` are its last three moves, the one
// just made first; the score and the depth in plies are those of the search behind it.
// Suspects are noted, confirmed (and then written) or dropped. The board is as before
// afterwards.
void PositionLearnAfterMove(int rootScore, int rootDepth, const OwnMove (&recent)[3]);
// Forgets the suspects without writing them.
void DropSuspects();
