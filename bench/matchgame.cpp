#include "bench/matchgame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "board/attacks.h"
#include "bridge/game.h"
#include "egtb/tablebase.h"
#include "tools/sanwriter.h"

namespace {

constexpr const char* kDraw = "1/2-1/2";
constexpr const char* kWins[] = {"1-0", "0-1"};  // [colour]
constexpr int kMenOfTables = 3;                  // at most so many are looked up
constexpr int kTableCache = 20;                  // logarithm of its bytes

// The scores of the game so far, from White's view.
struct ScoreRecord {
    int draws = 0;     // plies in a row with a score near zero
    int wins[2] = {};  // [colour] plies in a row with a won score
};

void NoteScore(ScoreRecord& record, const MoveAnswer& answer, int colour,
               const Adjudication& limits) {
    const int white = colour == WHITE ? answer.score : -answer.score;
    const bool draw = answer.hasScore && std::abs(white) <= limits.drawScore;
    record.draws = draw ? record.draws + 1 : 0;
    const bool won[2] = {answer.hasScore && white >= limits.winScore,
                         answer.hasScore && white <= -limits.winScore};
    for (const int c : {WHITE, BLACK}) record.wins[c] = won[c] ? record.wins[c] + 1 : 0;
}

void End(GameOutcome& outcome, const char* result, const std::string& reason) {
    outcome.result = result;
    outcome.reason = reason;
}

int Men() { return PopCount(AllOccupied()); }

bool LoneMinor() {
    return Men() == kMenOfTables && (Board.Knights[WHITE] | Board.Knights[BLACK] |
                                     Board.Bishops[WHITE] | Board.Bishops[BLACK]) != 0;
}

// By the rules, by what is certain, or by what both sides think. True when it has ended.
bool HasEnded(GameOutcome& outcome, const ScoreRecord& record,
              const Adjudication& limits) {
    const int S = Board.SideToMove;
    if (const char* ruled = GameResult()) {
        const std::string text = ruled;
        const std::size_t blank = text.find(' ');
        outcome.result = text.substr(0, blank);
        outcome.reason = text.substr(blank + 2, text.size() - blank - 3);
        return true;
    }
    int value = 0;
    if (LoneMinor())
        End(outcome, kDraw, "Draw by insufficient material");
    else if (Men() <= std::min(kMenOfTables, TbMaxPieces) &&
             ProbeTablebase(ChangeSide(S), value))
        End(outcome, value == 0 ? kDraw : kWins[value > 0 ? S : ChangeSide(S)],
            "Endgame table");
    else if (MoveNumber() > limits.drawAfter && limits.drawMoves > 0 &&
             record.draws >= 2 * limits.drawMoves)
        End(outcome, kDraw, "Draw by both scores");
    else if (limits.winMoves > 0 && record.wins[WHITE] >= 2 * limits.winMoves)
        End(outcome, kWins[WHITE], "White wins by both scores");
    else if (limits.winMoves > 0 && record.wins[BLACK] >= 2 * limits.winMoves)
        End(outcome, kWins[BLACK], "Black wins by both scores");
    else if (MoveNumber() > limits.mostMoves)
        End(outcome, kDraw, "Draw by length");
    return outcome.result != "*";
}

void WriteMove(GameOutcome& outcome, const std::string& move, const MoveAnswer* answer) {
    const bool white = Board.SideToMove == WHITE;
    if (white || outcome.moves.empty())
        outcome.moves += std::to_string(MoveNumber()) + (white ? ". " : "... ");
    outcome.moves += SanOf(LegalMove(move)) + ' ';
    ++outcome.plies;
    if (answer == nullptr || !answer->hasScore) return;
    char text[64];
    std::snprintf(text, sizeof text, "{%+.2f/%d %.3fs} ", answer->score / 100.0,
                  answer->depth, answer->used / 1000);
    outcome.moves += text;
}

// What it takes from the clock; a finished control brings the next one's time.
void PassTime(MatchClock& clock, double used, const TimeControl& control) {
    if (control.base <= 0) return;
    clock.left = std::max(clock.left - used, 0.0) + control.increment;
    if (clock.movesToGo > 0 && --clock.movesToGo == 0) {
        clock.left += control.base;
        clock.movesToGo = control.moves;
    }
}

// A move of the side to move; the outcome says so when it was the last.
void PlayTurn(MatchEngine& engine, const Opening& opening, const MatchRules& rules,
              MatchClock (&clocks)[2], ScoreRecord& record, GameOutcome& outcome,
              const volatile int& broken) {
    const int S = Board.SideToMove;
    const GameSoFar game{opening.fen, Game.moves, S == WHITE};
    MoveAnswer answer = AskForMove(engine, game, rules.control, clocks[S],
                                   clocks[ChangeSide(S)], rules.margin);
    if (broken != 0) return;
    const bool legal = LegalMove(answer.move) != NO_MOVE;
    if (answer.fault == Fault::None && !answer.resigned && !legal)
        answer.fault = Fault::Illegal;
    if (answer.fault != Fault::None) {
        outcome.fault = answer.fault;
        outcome.loser = S;
        std::string reason = std::string(FaultName(answer.fault)) + " by " +
                             (S == WHITE ? "White" : "Black");
        if (answer.fault == Fault::Illegal)
            reason += ": \"" + answer.move + "\" at " + WriteFen();
        End(outcome, kWins[ChangeSide(S)], reason);
    } else if (answer.resigned) {
        End(outcome, kWins[ChangeSide(S)],
            S == WHITE ? "White resigns" : "Black resigns");
    } else {
        PassTime(clocks[S], answer.used, rules.control);
        NoteScore(record, answer, S, rules.adjudication);
        WriteMove(outcome, answer.move, &answer);
        PlayMove(answer.move);
    }
}

// False when it cannot be set up, with the trouble said.
bool SetUpOpening(const Opening& opening, GameOutcome& outcome) {
    if (!(opening.fen.empty() ? StartGame() : StartGame(opening.fen))) {
        outcome.trouble = "bad position " + opening.fen;
        return false;
    }
    for (const std::string& move : opening.moves) {
        if (LegalMove(move) == NO_MOVE) {
            outcome.trouble = "bad move " + move + " in an opening";
            return false;
        }
        WriteMove(outcome, move, nullptr);
        PlayMove(move);
    }
    return true;
}

}  // namespace

void OpenTables(const Adjudication& adjudication) {
    std::uint64_t ignored = 0;
    if (!adjudication.tables.empty() &&
        InitTablebases(adjudication.tables.c_str(), ignored) > 0)
        SetUpTablebaseCache(kTableCache);
}

GameOutcome PlayMatchGame(MatchEngine* const (&engines)[2], const Opening& opening,
                          const MatchRules& rules, const volatile int& broken) {
    GameOutcome outcome;
    if (!SetUpOpening(opening, outcome)) return outcome;
    for (MatchEngine* engine : engines) {
        std::string fault;
        if (!PrepareForGame(*engine, rules.control, opening.fen, fault)) {
            outcome.trouble = engine->spec.name + ": " + fault;
            return outcome;
        }
    }
    MatchClock clocks[2];
    for (MatchClock& clock : clocks) clock = {rules.control.base, rules.control.moves};
    ScoreRecord record;
    while (broken == 0 && outcome.result == "*" &&
           !HasEnded(outcome, record, rules.adjudication))
        PlayTurn(*engines[Board.SideToMove], opening, rules, clocks, record, outcome,
                 broken);
    for (MatchEngine* engine : engines) LeaveGame(*engine);
    outcome.moves += outcome.result;
    return outcome;
}
