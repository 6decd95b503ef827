#include "tools/tune/samples.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <unordered_set>

#include "board/attacks.h"
#include "board/fen.h"
#include "eval/strong/evaluation.h"

namespace {

constexpr int kHeldOutOf = 10;

// The number behind the mark, which is cut off with it.
double TakeNumber(std::string_view& line) {
    const std::size_t mark = line.rfind(';');
    if (mark == std::string_view::npos) return 0;
    const double number = std::atof(line.data() + mark + 1);
    line = line.substr(0, mark);
    return number;
}

bool InCheck() {
    const int S = Board.SideToMove;
    return IsAttacked(ChangeSide(S), Board.KingSquare[S]);
}

void AddFeatures(Samples& samples, Sample& sample, const RecordedSum& sum) {
    sample.first = static_cast<std::uint32_t>(samples.features.size());
    for (std::size_t i = 0; i < kWeightCount; ++i)
        if (sum.counts[i] != 0)
            samples.features.push_back({static_cast<std::uint16_t>(i), sum.counts[i]});
    sample.features = static_cast<std::uint32_t>(samples.features.size()) - sample.first;
}

// False when it is left out.
bool AddSample(Samples& samples, std::string_view line, bool heldOut) {
    Sample sample{};
    sample.heldOut = heldOut;
    sample.score = static_cast<float>(TakeNumber(line));
    sample.result = static_cast<float>(TakeNumber(line));
    if (!SetFen(line) || InCheck()) return false;
    RecordedEvaluation recorded;
    if (!RecordEvaluation(recorded)) return false;
    sample.fixed = static_cast<float>(recorded.fixed);
    sample.phase = static_cast<float>(recorded.phase) / kFullPhase;
    AddFeatures(samples, sample, recorded.sum);
    samples.samples.push_back(sample);
    return true;
}

// Men in the line's first field.
int MenIn(std::string_view line) {
    int men = 0;
    for (const char c : line.substr(0, line.find(' '))) men += (c | 32) >= 'a' ? 1 : 0;
    return men;
}

}  // namespace

// A position with more men than the one before begins another game.
bool ReadSamples(const std::string& file, Samples& samples) {
    std::FILE* const from = std::fopen(file.c_str(), "rb");
    if (from == nullptr) return false;
    std::unordered_set<std::string> seen;
    char text[256];
    int men = 0, game = 0;
    while (std::fgets(text, sizeof text, from) != nullptr) {
        const std::string_view line(text);
        const int now = MenIn(line);
        if (now > men) ++game;
        men = now;
        if (!seen.emplace(line.substr(0, line.find(';'))).second) continue;
        AddSample(samples, line, game % kHeldOutOf == 0);
    }
    std::fclose(from);
    return true;
}
