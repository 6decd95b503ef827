// Plays one engine against another and says which is the stronger one, and how sure that
// is. Also evaluates games that another runner has played, and makes openings.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <thread>

#include "bench/enginestate.h"
#include "bench/matchrunner.h"
#include "bench/openings.h"
#include "platform/version.h"

namespace {

constexpr int kProgressGames = 20;  // the state is shown once in so many games

struct Conditions {
    std::string specs[2], names[2] = {"A", "B"};
    std::vector<std::string> options[2];
    std::string control = "1+0.01", lines, positions, ours = "AB";
    std::int64_t nodes = 0;
    int depth = 0, hash = 0;
    std::uint64_t seed = 1;
    bool table = false, quiet = false;
    CLI::Option* clock = nullptr;
    bool tested = false;  // a hypothesis was given
    SequentialTest test;
    MatchPlan plan;
};
Conditions Given;

// The exit status of usage faults and of matches that could not be played.
constexpr int kTroubleStatus = 2;

int Trouble(const std::string& text) {
    std::fprintf(stderr, "veltramox-match: %s\n", text.c_str());
    return kTroubleStatus;
}

const SequentialTest* Test() { return Given.tested ? &Given.test : nullptr; }

bool Decided(const MatchTally& tally) {
    const SequentialTest* test = Test();
    return test != nullptr &&
           Decide(*test, LogLikelihoodRatio(tally.score.pairs, test->elo0, test->elo1)) !=
               TestVerdict::Undecided;
}

void Show(const MatchTally& tally) {
    if (Given.table)
        std::cout << TableLine(tally, Given.names[1]);
    else
        std::cout << ClosingLines(tally, Test(), Given.names[0], Given.names[1]);
    std::cout.flush();
}

// Faults of engines that are not ours are no fault of ours.
int StatusOf(const MatchTally& tally) {
    for (const int i : {0, 1})
        if (Given.ours.find("AB"[i]) != std::string::npos &&
            FaultCount(tally.faults[i]) > 0)
            return EXIT_FAILURE;
    return EXIT_SUCCESS;
}

int Evaluate() {
    MatchTally tally;
    GameLine game;
    for (std::string line; std::getline(std::cin, line) && !Decided(tally);)
        if (ReadGameLine(line, game)) AddGame(tally, game);
    if (tally.plies == 0) return Trouble("no games");
    Show(tally);
    return StatusOf(tally);
}

// "Name=Value"; false when there is no "=".
bool ReadOptions(int engine) {
    for (const std::string& text : Given.options[engine]) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) return false;
        Given.plan.engines[engine].options.emplace_back(text.substr(0, equals),
                                                        text.substr(equals + 1));
    }
    return true;
}

// Empty when all is well.
std::string ReadConditions() {
    MatchPlan& plan = Given.plan;
    for (const int i : {0, 1}) {
        EngineSpec& engine = plan.engines[i];
        if (!ReadEngineSpec(Given.specs[i], engine))
            return Given.specs[i] + " is neither uci:PROGRAM nor xboard:PROGRAM";
        if (!ReadOptions(i)) return "an option is Name=Value";
        engine.name = Given.names[i];
        engine.hash = Given.hash;
        // The processes of the match work elsewhere.
        if (engine.command[0].find('/') != std::string::npos)
            engine.command[0] = std::filesystem::absolute(engine.command[0]).string();
    }
    TimeControl& control = plan.rules.control;
    if (*Given.clock || (Given.nodes == 0 && Given.depth == 0))
        if (!ReadTimeControl(Given.control, control))
            return Given.control + " is no time control";
    control.nodes = Given.nodes;
    control.depth = Given.depth;
    plan.games += plan.games % 2;
    for (std::string* name : {&plan.rules.adjudication.tables, &plan.pgn})
        if (!name->empty()) *name = std::filesystem::absolute(*name).string();
    return "";
}

// From the file of positions, again from its begin after its end, or made.
bool FindOpenings(OpeningSource& source, std::string& fault) {
    if (!PrepareEngine()) return false;
    if (!Given.positions.empty()) {
        std::vector<Opening> all;
        if (!ReadPositions(Given.positions, all, fault)) return false;
        if (all.empty()) return false;
        std::mt19937_64 random(Given.seed);
        std::shuffle(all.begin(), all.end(), random);
        source = [all, next = std::size_t{0}]() mutable {
            return all[next++ % all.size()];
        };
        return true;
    }
    OpeningMaker maker;
    maker.random.seed(Given.seed);
    if (!ReadOpeningLines(Given.lines, maker)) return false;
    source = [maker]() mutable { return MakeOpening(maker); };
    return true;
}

int Play() {
    if (const std::string fault = ReadConditions(); !fault.empty()) return Trouble(fault);
    OpeningSource source;
    std::string fault;
    if (!FindOpenings(source, fault)) return Trouble("no openings; " + fault);
    MatchTally tally;
    std::int64_t heard = 0;
    const bool fine = PlayMatch(
        Given.plan, source,
        [&](const GameLine& game) {
            AddGame(tally, game);
            if (!Given.quiet) std::cout << WriteGameLine(game) << std::endl;
            if (Decided(tally)) return false;
            if (++heard % kProgressGames == 0 && heard < Given.plan.games && !Given.quiet)
                Show(tally);
            return true;
        },
        fault);
    if (tally.plies > 0) Show(tally);
    return fine ? StatusOf(tally) : Trouble(fault);
}

int PrintOpenings(std::int64_t count) {
    OpeningSource source;
    std::string fault;
    if (!FindOpenings(source, fault)) return Trouble("no openings; " + fault);
    for (; count > 0; --count) std::cout << OpeningFen(source()) << '\n';
    return EXIT_SUCCESS;
}

void AddPlayOptions(CLI::App& play) {
    Adjudication& limits = Given.plan.rules.adjudication;
    play.add_option("A", Given.specs[0], "uci:PROGRAM ARGUMENT... or xboard:...")
        ->required();
    play.add_option("B", Given.specs[1])->required();
    play.add_option("--option-a", Given.options[0], "Name=Value, for A")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    play.add_option("--option-b", Given.options[1], "Name=Value, for B")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    play.add_option("--games", Given.plan.games, "at most; made even")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000000));
    Given.clock =
        play.add_option("--tc", Given.control, "40/2, 1+0.01: moves, s, s a move")
            ->capture_default_str();
    play.add_option("--nodes", Given.nodes, "a move")->check(CLI::PositiveNumber);
    play.add_option("--depth", Given.depth, "plies")->check(CLI::Range(1, 200));
    play.add_option("--margin", Given.plan.rules.margin, "ms that a move may be late")
        ->capture_default_str()
        ->check(CLI::Range(0, 60000));
    play.add_option("--hash", Given.hash, "MB, for both")->check(CLI::Range(1, 65536));
    Given.plan.jobs = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    play.add_option("--jobs", Given.plan.jobs, "games at a time")
        ->capture_default_str()
        ->check(CLI::Range(1, 256));
    play.add_option("--pgn", Given.plan.pgn, "a file that the games are added to");
    play.add_option("--draw-after", limits.drawAfter, "moves of the game")
        ->capture_default_str();
    play.add_option("--draw-moves", limits.drawMoves, "with scores near zero; 0: never")
        ->capture_default_str();
    play.add_option("--draw-score", limits.drawScore, "cp")->capture_default_str();
    play.add_option("--win-moves", limits.winMoves, "with a won score; 0: never")
        ->capture_default_str();
    play.add_option("--win-score", limits.winScore, "cp")->capture_default_str();
    play.add_option("--tables", limits.tables, "a folder of endgame tables");
    play.add_flag("--quiet", Given.quiet, "the closing lines alone");
}

void AddOpeningOptions(CLI::App& app) {
    app.add_option("--openings", Given.positions, "a file of FEN or EPD lines")
        ->check(CLI::ExistingFile);
    app.add_option("--lines", Given.lines, "opening lines to make openings of")
        ->check(CLI::ExistingFile);
    app.add_option("--seed", Given.seed, "of the openings")->capture_default_str();
}

void AddReportOptions(CLI::App& app) {
    app.add_option("--name-a", Given.names[0]);
    app.add_option("--name-b", Given.names[1]);
    app.add_option("--ours", Given.ours, "whose faults give the exit status 1")
        ->capture_default_str()
        ->check(CLI::IsMember({"A", "B", "AB", ""}));
    app.add_flag("--table", Given.table, "closes with a row of a table");
    const auto risk = CLI::Range(1e-6, 0.5);
    for (const auto& [name, value] :
         {std::pair{"--elo0", &Given.test.elo0}, std::pair{"--elo1", &Given.test.elo1}})
        app.add_option_function<double>(
               name, [at = value](double elo) { *at = elo, Given.tested = true; },
               "of a hypothesis; the match ends when the test has decided")
            ->check(CLI::Range(-1000, 1000));
    app.add_option("--alpha", Given.test.alpha, "risk of a wrong H1")->check(risk);
    app.add_option("--beta", Given.test.beta, "risk of a wrong H0")->check(risk);
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App app("Which of two engines is the stronger one?");
    app.set_version_flag("--version", std::string("veltramox-match ") + kVersion);
    app.require_subcommand(1);
    // What a script says by default its caller may say anew.
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    std::int64_t number = 100;
    CLI::App& play = *app.add_subcommand("play", "plays A against B");
    CLI::App& evaluate =
        *app.add_subcommand("evaluate", "reads the lines of games from standard input");
    CLI::App& openings = *app.add_subcommand("openings", "writes positions as FEN");
    AddPlayOptions(play);
    for (CLI::App* with : {&play, &openings}) AddOpeningOptions(*with);
    for (CLI::App* with : {&play, &evaluate}) AddReportOptions(*with);
    openings.add_option("COUNT", number)->capture_default_str();
    CLI11_PARSE(app, count, arguments);
    if (evaluate.parsed()) return Evaluate();
    if (openings.parsed()) return PrintOpenings(number);
    return Play();
}
