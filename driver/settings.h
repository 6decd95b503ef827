// The settings: written at start-up by their defaults and the settings file, read-only
// afterwards. Aggressivity and Cowardice stand with the evaluation, which they weight.
#pragma once

#include "eval/evaluate.h"

// Table sizes as powers of two: entries, entries, bytes.
extern int TranspositionSize, PawnHashSize, EGTBHashSize;
// The engine resigns after ResignTimes moves below ResignValue centipawns.
extern int ResignValue, ResignTimes;
extern int UseEGTB;
extern int UseBookWeights, UseBookLearning;
extern int BookLearningMode;   // 0: KILL, otherwise DISCOVER
extern int VarietyOfPlay;      // randomness of the book's choice
extern int BookLearningBound;  // centipawns
extern int UseLearning, UseLearningData, LogLearningIntoFile;
extern int Pondering;  // "hard" may switch pondering on

inline constexpr int kEgtbPathSize = 1024;
extern char EgtbPath[kEgtbPathSize];  // tablebase directories

// The two groups of defaults: before and after the tables are built.
void SetEarlyDefaults();
void SetLateDefaults();
// Writes the values in force, one a line, and flushes.
void WriteSettingsReport();
