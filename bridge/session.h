// What both protocols have in common: the engine kept in step with the game, its
// searches, and the loop that listens to both sides.
#pragma once

#include <string>

#include "bridge/clock.h"
#include "bridge/thinking.h"

// What the engine says of its search when it is asked.
struct EngineStatus {
    long long centiseconds, nodes;
    long long depth;  // plies, as shown
    // Root moves still to be searched, the current one among them, and one more than
    // there are in all.
    long long movesLeft, movesAndOne;
    std::string move;  // the root's one that is being searched, promotion complete
};

// What a protocol makes of what happens. All of it must be there but onProgress.
struct Protocol {
    // A line from the outside.
    void (*onLine)(const std::string& line);
    // The engine's thoughts about the game's position while it searches or analyses.
    void (*onThinking)(const ThinkingReport& report);
    // The search has ended with this legal move, which has been played in the game.
    // `resigns`: the engine gives the game up.
    void (*onMove)(const std::string& move, bool resigns);
    // The engine finds no move here and says why.
    void (*onNoMove)(const std::string& result);
    // The engine's answer to AskStatus.
    void (*onStatus)(const std::string& line);
    // Something the user may want to know.
    void (*onNotice)(const std::string& text);
    // Now and then in a long search; nullptr: not wanted.
    void (*onProgress)(const EngineStatus& status);
    // Between lines and the engine's words: goes on with what has waited for them. True
    // when there is more to come before the program may end, should the input have ended.
    bool (*goOn)(bool inputEnded);
};

// What the engine is at. Changed in session.cpp alone, which knows what it has been told
// and what it has answered.
enum class Activity {
    Idle,
    Searching,  // for a move in the game's position
    Analysing,  // until stopped
    Pondering,  // after its own move, on the opponent's time; perhaps done with it
};
// The session as the protocols see it. Written by bridge/session.cpp, but for what they
// wish: PonderWanted and QuitRequested.
struct SessionState {
    Activity EngineActivity = Activity::Idle;
    // The engine is to ponder after its moves, by its own prediction.
    bool PonderWanted = false;
    // The move the engine expects after its own, four characters; empty: none known.
    std::string PonderHint;
    // The last thinking line of the search or analysis under way, or of the last one.
    ThinkingReport LastReport;
    // Ends the loop.
    bool QuitRequested = false;
    // How often something has been read from the outside: lines that came together with
    // another one are those taken under the same number.
    long long InputReads = 0;
};
extern SessionState Session;

// Plies of a search that is over before it could be interrupted: for a move where the
// engine has not named one.
inline constexpr int kQuickDepth = 3;

// Has the engine search the game's position, which must have a legal move. Whatever it
// did before is ended first, and new options are put into force.
void BeginSearch(const SearchLimits& limits);
// The same without an end, and without a move at it.
// With moves, only of these legal ones.
void BeginAnalysis(const std::vector<std::string>& moves = {});
// Ends what the engine does. Nothing of it will be heard any more.
void EndActivity();
// Has the search end with the best move found so far, which then comes as usual.
void MoveNow();
// Ends the search or analysis here and now; its best move so far, empty when there is
// none. Unlike after a move of its own accord, the game is as it was.
std::string EndWithMove();
// The move just played in the game is the one that the engine ponders on: its search goes
// on as the search for its answer. False, with nothing done, when it is not.
bool TurnPonderHit(const SearchLimits& limits);
// For a protocol whose outside asks: the answer comes by onStatus.
void AskStatus();
// Milliseconds since the search began.
long long SearchTime();

// Starts the engine, anew if it runs; true when it is ready. Otherwise the program is to
// end, and has been told so.
bool RestartEngine();
// Ends what the engine does. Its next position is the beginning of a new game to it, also
// where the moves would lead there from the old one: a game is credited to the book once.
void LeaveGame();
// The engine forgets the games it has seen, unless it has not searched any yet.
void ForgetGames();
// Puts options into force that were set since the engine's start.
void ApplyOptions();

// Speaks the protocol that the first line asks for, until the outside ends or quits;
// returns the exit status.
int RunSessionByFirstLine();
