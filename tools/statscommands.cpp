// Reads the counters from the file's bytes by itself rather than by mapping it: a file
// that is only looked at must not be created or completed.
#include "tools/statscommands.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "board/tables.h"
#include "book/statistics.h"
#include "platform/bytes.h"
#include "platform/files.h"
#include "platform/output.h"
#include "tools/progress.h"
#include "tools/report.h"

namespace {

// No counter may reach this (CountResult).
constexpr int kCounterLimit = 65535;

// The bytes of a file.
using Counters = std::vector<std::uint8_t>;

// Games counted, from one side's view.
struct Results {
    std::int64_t draws = 0, wins = 0, losses = 0;
    std::int64_t Games() const { return draws + wins + losses; }
};

// The whole file; false, with a complaint, when it is not one of statistics.
bool Load(const std::string& name, Counters& counters) {
    FileHandle file = OpenFile(name.c_str(), FileMode::Read);
    if (file == nullptr) {
        Fail(errno == ENOENT ? "there is no file " + name : "cannot open " + name);
        return false;
    }
    counters.resize(kStatisticsSize);
    const bool good = FileSize(file) == static_cast<std::int64_t>(kStatisticsSize) &&
                      ReadAt(file, 0, counters.data(), counters.size());
    CloseFile(file);
    if (!good) Fail(name + " is not a file of material statistics");
    return good;
}

// `result` is one of kStatisticsDraw, Win, Loss, in the file's order.
int CounterOf(const Counters& counters, int pair, int result) {
    return Get16be(&counters[static_cast<std::size_t>(3 * pair + result) * 2]);
}

// With the side of the first signature to move.
Results ResultsToMove(const Counters& counters, int own, int other) {
    const int pair = own * kSignatures + other;
    return {CounterOf(counters, pair, kStatisticsDraw),
            CounterOf(counters, pair, kStatisticsWin),
            CounterOf(counters, pair, kStatisticsLoss)};
}

// Seen from the other side.
Results Reversed(const Results& r) { return {r.draws, r.losses, r.wins}; }

Results Sum(const Results& a, const Results& b) {
    return {a.draws + b.draws, a.wins + b.wins, a.losses + b.losses};
}

// ---- Materials as text ----

// All signatures (weights as in MaterialSignature) that the letters can stand for: two
// when they say "B" once. Empty when they stand for no material that is counted.
std::vector<int> SignaturesOf(const std::string& letters) {
    int pawns = 0, knights = 0, bishops = 0, light = 0, dark = 0, rooks = 0, queens = 0;
    for (const char c : letters) switch (ToLower(c)) {
            case 'k':
                break;
            case 'q':
                ++queens;
                break;
            case 'r':
                ++rooks;
                break;
            case 'b':
                ++bishops;
                break;
            case 'l':
                ++light;
                break;
            case 'd':
                ++dark;
                break;
            case 'n':
                ++knights;
                break;
            case 'p':
                ++pawns;
                break;
            default:
                return {};
        }
    std::vector<int> signatures;
    // A bishop of unknown colour is tried on both; a side counts one on each colour at
    // most.
    for (int onLight = 0; onLight <= bishops; ++onLight) {
        const int signature = SignatureOf(
            pawns, light + onLight, dark + bishops - onLight, knights, rooks, queens);
        if (signature >= 0) signatures.push_back(signature);
    }
    return signatures;
}

// Pieces from the queen down; the two bishops of a pair stand on both colours.
std::string LettersOf(int signature) {
    std::string letters = "K";
    if (signature % 2 != 0) letters += 'Q';
    letters.append(static_cast<std::size_t>(signature % 6 / 2), 'R');
    const bool light = signature % 72 >= 36, dark = signature % 36 >= 18;
    letters += light && dark ? "BB" : light ? "L" : dark ? "D" : "";
    letters.append(static_cast<std::size_t>(signature % 18 / 6), 'N');
    letters.append(static_cast<std::size_t>(signature / 72), 'P');
    return letters;
}

// ---- Reports ----

// The share of points from the first side's view ends the line.
void WriteResults(const char* what, const Results& r) {
    if (r.Games() == 0) {
        Write("%-28s no games\n", what);
        return;
    }
    const double percent =
        50.0 * static_cast<double>(2 * r.wins + r.draws) / static_cast<double>(r.Games());
    Write("%-28s %lld games: %lld won, %lld drawn, %lld lost, %.1f%%\n", what,
          static_cast<long long>(r.Games()), static_cast<long long>(r.wins),
          static_cast<long long>(r.draws), static_cast<long long>(r.losses), percent);
}

// Counts alone: shares are the reader's to work out.
Json JsonOf(const Results& r) {
    return {
        {"games", r.Games()}, {"wins", r.wins}, {"draws", r.draws}, {"losses", r.losses}};
}

// A pair of materials with the results from the first one's view.
struct RankedPair {
    int own, other;  // the signature that is worth more stands first
    Results results;
};

// Every pair of signatures once, both orders added up.
std::vector<RankedPair> RankPairs(const Counters& counters) {
    std::vector<RankedPair> ranked;
    for (int own = 0; own < kSignatures; ++own)
        for (int other = 0; other <= own; ++other) {
            Results r = ResultsToMove(counters, own, other);
            if (own != other) r = Sum(r, Reversed(ResultsToMove(counters, other, own)));
            if (r.Games() > 0) ranked.push_back({own, other, r});
        }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const RankedPair& a, const RankedPair& b) {
                         return a.results.Games() > b.results.Games();
                     });
    return ranked;
}

}  // namespace

// A "B" may stand for two signatures on each side: the results of all combinations add
// up.
int QueryStatistics(const std::string& name, const std::string& materials, bool json) {
    Counters counters;
    if (!Load(name, counters)) return 1;
    std::istringstream words(materials);
    std::string own, other, more;
    words >> own >> other;
    const std::vector<int> owns = SignaturesOf(own), others = SignaturesOf(other);
    if (owns.empty() || others.empty() || own.empty() || other.empty() || words >> more)
        return Fail("not a pair of materials like \"KRP KR\": " + materials);
    const auto has = [](const std::vector<int>& signatures, int signature) {
        return std::find(signatures.begin(), signatures.end(), signature) !=
               signatures.end();
    };
    Results toMove, notToMove, together;
    for (const int a : owns)
        for (const int b : others) {
            const Results first = ResultsToMove(counters, a, b);
            const Results second = Reversed(ResultsToMove(counters, b, a));
            toMove = Sum(toMove, first);
            notToMove = Sum(notToMove, second);
            together = Sum(together, first);
            // Equal materials have each game in both; it is one game all the same.
            if (!has(owns, b) || !has(others, a)) together = Sum(together, second);
        }
    if (!json) {
        WriteResults((own + " to move").c_str(), toMove);
        WriteResults((other + " to move").c_str(), notToMove);
        WriteResults("together", together);
        return 0;
    }
    WriteJson({{"material", own},
               {"against", other},
               {"toMove", JsonOf(toMove)},
               {"otherToMove", JsonOf(notToMove)},
               {"together", JsonOf(together)}});
    return 0;
}

int TopStatistics(const std::string& name, int count, bool json) {
    Counters counters;
    if (!Load(name, counters)) return 1;
    std::vector<RankedPair> ranked = RankPairs(counters);
    ranked.resize(std::min(ranked.size(), static_cast<std::size_t>(count)));
    Json pairs = Json::array();
    for (const RankedPair& pair : ranked) {
        const std::string own = LettersOf(pair.own), other = LettersOf(pair.other);
        if (!json) {
            WriteResults((own + ' ' + other).c_str(), pair.results);
            continue;
        }
        Json listed = {{"material", own}, {"against", other}};
        listed.update(JsonOf(pair.results));
        pairs.push_back(std::move(listed));
    }
    if (json) WriteJson({{"pairs", std::move(pairs)}});
    return 0;
}

// The first file's counters become the merged ones. Rescaling keeps the proportions
// within a pair; how often it was needed is reported.
int MergeStatistics(const std::string& a, const std::string& b, const std::string& output,
                    bool json) {
    Counters first, second;
    if (!Load(a, first) || !Load(b, second)) return 1;
    std::int64_t games = 0, rescaled = 0;
    for (int pair = 0; pair < kMaterialPairs; ++pair) {
        int values[3];
        for (int r = 0; r < 3; ++r)
            values[r] = CounterOf(first, pair, r) + CounterOf(second, pair, r);
        while (*std::max_element(values, values + 3) >= kCounterLimit) {
            for (int& value : values) value = 2 * value / 3;
            ++rescaled;
        }
        for (int r = 0; r < 3; ++r) {
            Put16be(&first[static_cast<std::size_t>(3 * pair + r) * 2],
                    static_cast<std::uint16_t>(values[r]));
            games += values[r];
        }
    }
    if (!ReplaceFile(output.c_str(), first.data(), first.size()))
        return Fail("cannot write " + output);
    if (!json) {
        Write("%s: %lld results, %lld times rescaled\n", output.c_str(),
              static_cast<long long>(games), static_cast<long long>(rescaled));
        return 0;
    }
    WriteJson({{"file", output}, {"results", games}, {"rescaled", rescaled}});
    return 0;
}
