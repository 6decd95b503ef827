// Results of games by material: for every pair of material signatures, how often the side
// to move won, lost and drew. The counters live in a file that is mapped into memory, so
// what has been counted is in the file at once.
//
// A program killed at any instant leaves the file as it was between two counts: every
// count made so far is in it, by this run and by those before, and no counter is half
// written. (The rescaling of a pair is one store where processors have stores of eight
// bytes; on others a kill can fall between its two halves.) The games of a run that did
// not reach its end are counted up to the kill: counting the same collection again counts
// those twice. Programs that count into one file at once take turns, game by game, where
// the file system has locks; elsewhere each may undo counts of the other. Nothing is
// promised for a system that goes down itself, which writes files back when it likes.
//
//   The file: 648 x 648 x 3 counters of 16 bits, most significant byte first, no header.
//   The counters of pair i = 648 x (signature of the side to move) + (signature of the
//   other side) stand at 6 i: draws, wins, losses of the side to move.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int kSignatures = 648;
inline constexpr int kMaterialPairs = kSignatures * kSignatures;
inline constexpr std::size_t kStatisticsSize = kMaterialPairs * 3 * 2;

inline constexpr int kStatisticsDraw = 0;
inline constexpr int kStatisticsWin = 1;
inline constexpr int kStatisticsLoss = 2;

// The signature of a side's material, 0 to 647: 72 a pawn, 36 for a bishop on light
// squares, 18 for one on dark squares, 6 a knight, 2 a rook, 1 for a queen. -1 when it
// has more than two knights or rooks or more than one of the others.
int MaterialSignature(int colour);
// The same from counts of men, bishops by the colour of their squares; -1 for more than
// the signatures tell apart.
int SignatureOf(int pawns, int light, int dark, int knights, int rooks, int queens);

// Opens the file, creating it and completing one that is too short; what it holds is
// never discarded. False, with a line on standard output, when that fails, or when there
// is no room on the disk for all of it: the file is then as before.
bool OpenStatisticsFile(const char* name = "Veltramox.set");
// Nothing when none is open; counters read as 0 afterwards.
void CloseStatisticsFile();

// Adds one result, 0 to 2. A counter that reaches 65535 takes its pair's three to two
// thirds.
void CountResult(int pair, int result);
// The counter of a pair (0 to kMaterialPairs - 1) and result; 0 when no file is open.
std::uint16_t ReadCounter(int pair, int result);

// Counts all games of a PGN file, from the start position or the one of their tags, each
// when it has been read to its end, and reports on standard output. The statistics file
// is the open one; with none open, the usual one is opened, once the games are. Adds to
// what it holds, unless `fresh` empties it first. When the program is asked to end it
// stops and leaves the game at hand out. The exit status: 0; 1 when either file cannot be
// opened or the statistics file is cut off meanwhile; 2 when a token is too long to be a
// move and the reading has stopped there.
int BuildStatistics(const char* pgnName, bool fresh = false);
// Appends a line with the results for the material on the board to the report. The exit
// status: 0, or 1 with a line on standard output when it cannot be written.
int ReportStatistics(const char* reportName = "out.vlx");

// Totals of a pair of materials from the first side's view, whoever is to move; 0 when a
// signature is -1.
struct MaterialResults {
    int draws = 0, wins = 0, losses = 0;
};
MaterialResults ResultsOf(int signature, int otherSignature);
