// The companion program's work on position-learning files (book/learnfile.h describes
// them); each function returns the program's exit status, 0 or 1.
#pragma once

#include <string>

// All records that the buckets lead to, bucket by bucket, with their scores in centipawns
// for the side to move and depths in sixtieths of a ply. Damaged chains end silently:
// CheckLearning tells of them.
int DumpLearning(const std::string& name, bool json);
// Rewrites the file with those records alone, one for each position: the first, which is
// the one that the engine finds. In place when `output` is empty. Only files with the
// right header are touched; the new content takes the old one's place at once. Not while
// an engine has the file open: it would go on writing to the old one.
int CompactLearning(const std::string& name, const std::string& output, bool json);
// Checks header, links and records; bytes that no bucket leads to are counted and are no
// fault, as a killed engine leaves some. Status 1 when anything is wrong with the file.
int CheckLearning(const std::string& name, bool json);
