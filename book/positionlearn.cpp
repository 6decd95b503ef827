// Suspects are positions in which the engine moved just before its score fell. Whether
// they were to blame shows later: if the game collapses they are written down, if the
// score recovers they are dropped.
#include "book/positionlearn.h"

#include <cstdio>
#include <cstring>

#include "board/board.h"
#include "board/fen.h"
#include "board/notation.h"
#include "book/learnfile.h"
#include "driver/settings.h"
#include "platform/output.h"

namespace {

constexpr char kLogName[] = "learn.log";
constexpr int kMaxSuspects = 3;
constexpr int kDepthUnits = 60;

// Scores in centipawns: the game confirms the suspects below this...
constexpr int kCollapse = -400;
// ...and clears them when the last three scores are above this.
constexpr int kRecovered = -10;
// A suspect's scores: the old one not lost, the new one not won, and a drop in between.
constexpr int kOldAbove = -180;
constexpr int kNewBelow = 520;
constexpr int kDrop = 40;
constexpr int kDepthAbove = 6;  // plies
// A suspect's position: material in pawn units on both sides, quiet half-moves, game
// plies.
constexpr int kUnitsAbove = 13;
constexpr int kFiftyBelow = 70;
constexpr int kPlyBelow = 100;
// No search returns scores beyond this: a mate at ply 0 is 32700.
constexpr int kScoreLimit = 32701;

// A position before a move of the engine's, with that move. Depth in units of 60 a ply,
// scores in centipawns: of the search that chose it and of the one after it.
struct Suspect {
    std::uint32_t hash1, hash2;
    int depth, oldScore, newScore;
    Move move;
    char position[kEpdSize];
};

// The open file, the suspects of the game at hand, and the log's next line number.
FileHandle Learning = nullptr;
Suspect Suspects[kMaxSuspects];
int PendingCount = 0;
int LogLine = 0;

// Of the whole game: the oldest moves of a long one are put aside.
int GameLength() { return Board.GamePly + ArchivedPlies(); }

// The position and, right behind, the move in four characters.
void WritePosition(char (&text)[kEpdSize], Move move) {
    char moveText[kMoveTextSize];
    MoveToTextWithoutPromotion(moveText, move);
    std::memcpy(WriteEpd(text), moveText, sizeof moveText);
}

// Lines are numbered from the program's start.
void Log(const Suspect& suspect, bool refresh) {
    char line[512];
    std::snprintf(line, sizeof line,
                  "%d%c%s Depth=%d%cOldEvaluation=%d%cEvaluaton=%d%cEPD=%s\n", LogLine,
                  '\t', refresh ? "Refresh:" : "Add:", suspect.depth, '\t',
                  suspect.oldScore, '\t', suspect.newScore, '\t', suspect.position);
    ++LogLine;
    AppendText(kLogName, line);
}

// Writes the suspects into the file.
void CommitPending() {
    bool written = true;
    for (int i = 0; i < PendingCount; ++i) {
        const Suspect& suspect = Suspects[i];
        bool known = false;
        written = StoreLearnRecord(Learning,
                                   {suspect.depth, suspect.newScore, suspect.move,
                                    suspect.hash1, suspect.hash2, 0},
                                   known) &&
                  written;
        if (Settings.LogLearningIntoFile != 0) Log(suspect, known);
    }
    PendingCount = 0;
    if (written) return;
    Write("# The learning file cannot be written: what was learned is lost\n");
    FlushOutput();
}

// Both halves of the key agree.
bool PositionIs(const OwnMove& own, std::uint32_t hash1, std::uint32_t hash2) {
    return own.hash1 == hash1 && own.hash2 == hash2;
}

// The score has fallen sharply between two searches of this very game.
bool ScoreDropped(int rootDepth, const OwnMove (&recent)[3]) {
    const int newScore = recent[0].score, oldScore = recent[1].score;
    const int ply = Board.GamePly;
    return ply > 2 && recent[0].fromBook == 0 && recent[1].fromBook == 0 &&
           oldScore > kOldAbove && newScore < kNewBelow && newScore - oldScore < -kDrop &&
           rootDepth > kDepthAbove && PositionIs(recent[0], Board.hash1, Board.hash2) &&
           PositionIs(recent[1], Board.Hash1History[ply - 2],
                      Board.Hash2History[ply - 2]);
}

// Notes the current position as a suspect if it is a middlegame one and the file has
// nothing as deep.
void AddSuspect(int depth, int oldScore, int newScore, Move move) {
    if (Board.Units[WHITE] <= kUnitsAbove || Board.Units[BLACK] <= kUnitsAbove ||
        Board.FiftyCounter >= kFiftyBelow || GameLength() >= kPlyBelow ||
        PendingCount == kMaxSuspects)
        return;
    LearnRecord record;
    const LearnPlace place = FindLearnRecord(Learning, Board.hash1, Board.hash2, record);
    if (place.record != 0 && record.depth >= depth) return;
    Suspect& suspect = Suspects[PendingCount++];
    suspect = {Board.hash1, Board.hash2, depth, oldScore, newScore, move, {}};
    WritePosition(suspect.position, move);
}

}  // namespace

bool OpenLearningFile(const char* name) {
    CloseLearningFile();
    Learning = OpenOrCreateLearnFile(name);
    if (Learning != nullptr) return true;
    Write("# The learning file cannot be opened or written: no position learning\n");
    FlushOutput();
    return false;
}

void CloseLearningFile() {
    CloseFile(Learning);
    DropSuspects();
}

// Asked in the search: two reads for most positions that are in the file, one for others.
bool LearnLookup(std::uint32_t hash1, std::uint32_t hash2, int& score, int& depth) {
    LearnRecord record;
    if (Learning == nullptr ||
        FindLearnRecord(Learning, hash1, hash2, record).record == 0 ||
        record.score < -kScoreLimit || record.score > kScoreLimit)
        return false;
    score = record.score;
    depth = record.depth;
    return true;
}

// First the old suspects are judged, then the last two scores may make a new one.
void PositionLearnAfterMove(int rootScore, int rootDepth, const OwnMove (&recent)[3]) {
    if (Learning == nullptr) return;
    const bool recovered = recent[0].score > kRecovered && recent[1].score > kRecovered &&
                           recent[2].score > kRecovered;
    if (PendingCount > 0 && rootScore < kCollapse)
        CommitPending();
    else if (recovered || recent[0].fromBook != 0)
        DropSuspects();
    if (!ScoreDropped(rootDepth, recent)) return;

    // Back to where the engine made its previous move: one of its own, the reply, its
    // last.
    Move taken[3];
    for (Move& m : taken) {
        m = LastMove();
        TakeBackGameMove();
    }
    AddSuspect(rootDepth * kDepthUnits + kDepthUnits / 2, recent[1].score,
               recent[0].score, taken[2]);
    for (int i = 2; i >= 0; --i) PlayGameMove(taken[i]);
}

void DropSuspects() { PendingCount = 0; }
