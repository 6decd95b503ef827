#include "book/positionlearn.h"

#include <cstdio>

#include "board/board.h"
#include "book/learnfile.h"
#include "driver/settings.h"
#include "platform/output.h"

namespace {

constexpr char kLogName[] = "learn.log";
constexpr int kMaxSuspects = 3;
constexpr int kPositionTextSize = 128;
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

struct Suspect {
    std::uint32_t hash1, hash2;
    int depth, oldScore, newScore;
    Move move;
    char position[kPositionTextSize];
};

FileHandle Learning = nullptr;
Suspect Suspects[kMaxSuspects];
int PendingCount = 0;
int LogLine = 0;

int GameLength() { return Board.GamePly + ArchivedPlies(); }

char* AppendPlacement(char* text) {
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const int square = SquareAt(file, rank), code = Board.Piece[square];
            if (code == EMPTY) {
                ++empty;
                continue;
            }
            if (empty > 0) *text++ = static_cast<char>('0' + empty);
            empty = 0;
            const bool white = (Board.Occupied[WHITE] & SquareMask(square)) != 0;
            const char letter = PromotionChar[code];
            *text++ = white ? static_cast<char>(letter - 'a' + 'A') : letter;
        }
        if (empty > 0) *text++ = static_cast<char>('0' + empty);
        if (rank > 0) *text++ = '/';
    }
    return text;
}

char* AppendCastling(char* text) {
    const char* const start = text;
    if (Board.WK == 0 && Board.H1 == 0) *text++ = 'K';
    if (Board.WK == 0 && Board.A1 == 0) *text++ = 'Q';
    if (Board.BK == 0 && Board.H8 == 0) *text++ = 'k';
    if (Board.BK == 0 && Board.A8 == 0) *text++ = 'q';
    if (text == start) *text++ = '-';
    *text++ = ' ';
    return text;
}

// The square behind a pawn that has just made its double step.
char* AppendEnPassant(char* text) {
    const Move last = LastMove();
    if (Moving(last) == PAWN && (From(last) ^ To(last)) == 16) {
        const int passed = (From(last) + To(last)) / 2;
        *text++ = static_cast<char>('a' + FileOf(passed));
        *text++ = static_cast<char>('1' + RankOf(passed));
    } else {
        *text++ = '-';
    }
    *text++ = ' ';
    return text;
}

// The four position fields of EPD and, right behind, the move in four characters.
void WritePosition(char (&text)[kPositionTextSize], Move move) {
    char* end = AppendPlacement(text);
    *end++ = ' ';
    *end++ = Board.SideToMove == WHITE ? 'w' : 'b';
    *end++ = ' ';
    end = AppendEnPassant(AppendCastling(end));
    char moveText[kMoveTextSize];
    MoveToTextWithoutPromotion(moveText, move);
    for (const char* c = moveText; *c != '\0'; ++c) *end++ = *c;
    *end = '\0';
}

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
        LearnRecord record;
        const LearnPlace place =
            FindLearnRecord(Learning, suspect.hash1, suspect.hash2, record);
        if (LogLearningIntoFile != 0) Log(suspect, place.record != 0);
        record = {suspect.depth, suspect.newScore, suspect.move,
                  suspect.hash1, suspect.hash2,    0};
        written = WriteLearnRecord(Learning, place, record) && written;
    }
    PendingCount = 0;
    if (written) return;
    Write("# The learning file cannot be written: what was learned is lost\n");
    FlushOutput();
}

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

bool OpenLearning(const char* name) {
    CloseLearning();
    Learning = OpenLearnFile(name);
    if (Learning != nullptr) return true;
    Write("# The learning file cannot be opened or written: no position learning\n");
    FlushOutput();
    return false;
}

void CloseLearning() {
    CloseFile(Learning);
    DropSuspects();
}

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

void LearnPosition(int rootScore, int rootDepth, const OwnMove (&recent)[3]) {
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
