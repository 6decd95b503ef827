#include "bench/matchreport.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <sstream>

namespace {

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string EloText(double elo) {
    if (!std::isfinite(elo)) return elo > 0 ? "+inf" : "-inf";
    return Format("%+.1f", elo + 0.0);  // no "-0.0"
}

// Half the width of the confidence interval.
std::string ErrorText(const StrengthEstimate& estimate) {
    const double width = (estimate.high - estimate.low) / 2;
    return std::isfinite(width) ? Format("%.1f", width) : "unknown";
}

std::string FaultsText(const std::int64_t (&faults)[kFaults]) {
    std::string text;
    for (const Fault kind : {Fault::Time, Fault::Illegal, Fault::Crash, Fault::Silent})
        text += (text.empty() ? "" : ", ") + std::string(FaultName(kind)) + ' ' +
                std::to_string(faults[static_cast<int>(kind)]);
    return text;
}

const char* VerdictText(TestVerdict verdict) {
    switch (verdict) {
        case TestVerdict::AcceptedH0:
            return "H0 accepted";
        case TestVerdict::AcceptedH1:
            return "H1 accepted";
        default:
            return "undecided";
    }
}

double Percent(const MatchScore& score) {
    const auto games = static_cast<double>(score.wins + score.draws + score.losses);
    const auto points = static_cast<double>(2 * score.wins + score.draws) / 2;
    return games > 0 ? 100 * points / games : 50;
}

// Half points of A: 0, 1 or 2.
int HalfPoints(const GameLine& game) {
    if (game.result == "1/2-1/2") return 1;
    return (game.result == "1-0") == game.firstIsWhite ? 2 : 0;
}

}  // namespace

std::string WriteGameLine(const GameLine& game) {
    std::string fault = "-";
    if (game.fault != Fault::None)
        fault = std::string(game.faultOfFirst ? "A:" : "B:") + FaultName(game.fault);
    return "game " + std::to_string(game.number) + " white " +
           (game.firstIsWhite ? 'A' : 'B') + " result " + game.result + " plies " +
           std::to_string(game.plies) + " fault " + fault + ' ' + game.reason;
}

bool ReadGameLine(const std::string& text, GameLine& game) {
    std::istringstream words(text);
    std::string keys[5], white, fault;
    words >> keys[0] >> game.number >> keys[1] >> white >> keys[2] >> game.result >>
        keys[3] >> game.plies >> keys[4] >> fault;
    if (!words || keys[0] != "game" || keys[1] != "white" || keys[2] != "result" ||
        keys[3] != "plies" || keys[4] != "fault" || game.number < 1 ||
        (white != "A" && white != "B") ||
        (game.result != "1-0" && game.result != "0-1" && game.result != "1/2-1/2"))
        return false;
    game.firstIsWhite = white == "A";
    game.fault = Fault::None;
    for (const Fault kind : {Fault::Time, Fault::Illegal, Fault::Crash, Fault::Silent})
        if (fault.size() > 2 && fault.substr(2) == FaultName(kind)) game.fault = kind;
    if (game.fault == Fault::None && fault != "-") return false;
    game.faultOfFirst = fault.starts_with("A:");
    std::getline(words >> std::ws, game.reason);
    return true;
}

void AddGame(MatchTally& tally, const GameLine& game) {
    const int points = HalfPoints(game);
    ++(points == 2   ? tally.score.wins
       : points == 1 ? tally.score.draws
                     : tally.score.losses);
    tally.plies += game.plies;
    if (game.fault != Fault::None)
        ++tally.faults[game.faultOfFirst ? 0 : 1][static_cast<int>(game.fault)];
    const std::int64_t pair = (game.number - 1) / 2;
    const auto other = tally.halves.find(pair);
    if (other == tally.halves.end()) {
        tally.halves[pair] = points;
        return;
    }
    ++tally.score.pairs[static_cast<std::size_t>(other->second + points)];
    tally.halves.erase(other);
}

std::int64_t FaultCount(const std::int64_t (&faults)[kFaults]) {
    std::int64_t count = 0;
    for (const std::int64_t number : faults) count += number;
    return count;
}

std::string ClosingLines(const MatchTally& tally, const SequentialTest* test,
                         const std::string& nameA, const std::string& nameB) {
    const MatchScore& score = tally.score;
    const StrengthEstimate estimate = EstimateStrength(score.pairs);
    const auto games = static_cast<long long>(score.wins + score.draws + score.losses);
    std::string text = "A " + nameA + ", B " + nameB + '\n';
    text += Format(
        "Games %lld: +%lld =%lld -%lld, %.1f %% for A, %.0f plies a game\n", games,
        static_cast<long long>(score.wins), static_cast<long long>(score.draws),
        static_cast<long long>(score.losses), Percent(score),
        games > 0 ? static_cast<double>(tally.plies) / static_cast<double>(games) : 0);
    text += "Pairs with 0, 1/2, 1, 3/2, 2 points:";
    for (const std::int64_t count : score.pairs) text += ' ' + std::to_string(count);
    text += "\nElo " + EloText(estimate.elo) + " +- " + ErrorText(estimate) +
            Format(" (95 %%), LOS %.1f %%\n", 100 * estimate.likelihood);
    if (test != nullptr) {
        const double ratio = LogLikelihoodRatio(score.pairs, test->elo0, test->elo1);
        text += Format("LLR %.2f (%.2f, %.2f) for Elo %g against %g: %s\n", ratio,
                       LowerBound(*test), UpperBound(*test), test->elo0, test->elo1,
                       VerdictText(Decide(*test, ratio)));
    }
    return text + "Faults of A: " + FaultsText(tally.faults[0]) +
           "; of B: " + FaultsText(tally.faults[1]) + '\n';
}

std::string TableLine(const MatchTally& tally, const std::string& opponent) {
    const MatchScore& score = tally.score;
    const StrengthEstimate estimate = EstimateStrength(score.pairs);
    const std::string strength = EloText(estimate.elo) + " +- " + ErrorText(estimate);
    return Format("| %s | %lld | +%lld =%lld -%lld | %.1f %% | %s | %lld / %lld |\n",
                  opponent.c_str(),
                  static_cast<long long>(score.wins + score.draws + score.losses),
                  static_cast<long long>(score.wins), static_cast<long long>(score.draws),
                  static_cast<long long>(score.losses), Percent(score), strength.c_str(),
                  static_cast<long long>(FaultCount(tally.faults[0])),
                  static_cast<long long>(FaultCount(tally.faults[1])));
}
