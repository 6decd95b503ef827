// The tuner's command line: games to learn from, and the fit.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "board/tables.h"
#include "driver/input.h"
#include "driver/startup.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/tune/games.h"
#include "tools/tune/samples.h"
#include "tools/tune/writer.h"

namespace {

// What the command line says.
struct {
    TrainingGames games = {.seed = 1, .first = 0, .count = 0, .nodes = 5000, .jobs = 1};
    FitOptions fit;
    std::string file, written;
    int status = 0;
} Said;

void AddGames(CLI::App& app) {
    CLI::App* games = app.add_subcommand(
        "games", "Play the strong search against itself and keep quiet positions");
    games->add_option("COUNT", Said.games.count, "How many")->required();
    games->add_option("-o,--output", Said.file, "Write the positions here")->required();
    games->add_option("--nodes", Said.games.nodes, "Nodes for each move")
        ->check(CLI::Range(100, 100000000))
        ->capture_default_str();
    games->add_option("--seed", Said.games.seed, "Equal seeds, equal games")
        ->capture_default_str();
    games->add_option("--first", Said.games.first, "Number of the first game")
        ->capture_default_str();
    games->add_option("--jobs", Said.games.jobs, "Processes")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    games->callback([] { Said.status = WriteTrainingGames(Said.games, Said.file); });
}

bool WriteFile(const std::string& name, const std::string& text) {
    std::FILE* const to = std::fopen(name.c_str(), "wb");
    if (to == nullptr) return false;
    const bool good = std::fwrite(text.data(), 1, text.size(), to) == text.size();
    return std::fclose(to) == 0 && good;
}

int FitWeights() {
    Samples samples;
    if (!ResetEngine(0, StrongSearch)) return Fail("not enough memory");
    if (!ReadSamples(Said.file, samples)) return Fail("cannot read " + Said.file);
    if (samples.samples.empty()) return Fail("no positions in " + Said.file);
    const double scale = FitScale(samples);
    std::printf("%zu positions, %zu weights, scale %.1f centipawns\n",
                samples.samples.size(), kWeightCount, scale);
    FittedWeights weights = WeightsInForce();
    Fit(samples, weights, scale, Said.fit);
    if (Said.written.empty()) return 0;
    return WriteFile(Said.written, WeightsHeader(weights))
               ? 0
               : Fail("cannot write " + Said.written);
}

void AddFit(CLI::App& app) {
    CLI::App* fit = app.add_subcommand("fit", "Fit the weights to positions of games");
    fit->add_option("FILE", Said.file, "Positions, as `games` writes them")->required();
    fit->add_option("--write", Said.written, "Write the weights here, as a header");
    fit->add_option(
           "--lambda", Said.fit.resultShare,
           "Share of the result in what is expected; the rest is the search's score")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    fit->add_option("--epochs", Said.fit.epochs, "Passes over the positions")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    fit->add_option("--rate", Said.fit.rate, "Centipawns of the first steps")
        ->capture_default_str();
    fit->add_option("--shrink", Said.fit.shrink, "Pull towards the weights in force")
        ->capture_default_str();
    fit->add_option("--report", Said.fit.report, "Epochs between reports")
        ->capture_default_str();
    fit->callback([] { Said.status = FitWeights(); });
}

}  // namespace

int main(int count, char** words) {
    PrepareReport();
    CLI::App app("Fits the weights of the evaluation to games", "veltramox-tune");
    app.require_subcommand(1);
    AddGames(app);
    AddFit(app);
    BuildTables();
    IgnoreInput();
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        Said.status = app.exit(error);
    } catch (const std::bad_alloc&) {
        Said.status = Fail("not enough memory");
    }
    return FinishReport(Said.status);
}
