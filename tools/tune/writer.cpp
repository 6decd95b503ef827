#include "tools/tune/writer.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include "eval/strong/weights.h"

namespace {

// A table of the set as the header lists it.
struct WeightTable {
    const char* name;
    std::size_t count;
    std::size_t inner;  // of a table of tables: the size of each; else 0
};
#define ONE(name) \
    { #name, 1, 0 }
#define LIST(name) \
    { #name, std::size(WeightSet{}.name), 0 }
#define GRID(name) \
    { #name, std::size(WeightSet{}.name), std::size(WeightSet{}.name[0]) }
// In the order of the set.
constexpr WeightTable kTables[] = {
    LIST(material),        GRID(pairs),
    GRID(against),         LIST(bishopPair),
    LIST(knightPawns),     LIST(rookPawns),
    GRID(placement),       ONE(tempo),
    LIST(castling),        LIST(knightMobility),
    LIST(bishopMobility),  LIST(rookMobility),
    LIST(queenMobility),   LIST(bishopPawns),
    LIST(bishopBlocked),   LIST(outpost),
    ONE(reachableOutpost), ONE(behindPawn),
    GRID(kingDistance),    GRID(enemyKingDistance),
    LIST(rookFile),        ONE(rookSeventh),
    ONE(rookClosed),       ONE(rooksDoubled),
    LIST(space),           LIST(phalanx),
    LIST(defended),        LIST(isolated),
    LIST(doubled),         LIST(backward),
    LIST(candidate),       ONE(lever),
    LIST(passer),          LIST(passerOnFile),
    LIST(passerFree),      LIST(passerSafe),
    LIST(passerRun),       LIST(passerDefended),
    LIST(passerPair),      GRID(passerOwnKing),
    GRID(passerEnemyKing), LIST(rookBehind),
    LIST(pawnAttacks),     LIST(knightAttacks),
    LIST(bishopAttacks),   LIST(rookAttacks),
    LIST(queenAttacks),    LIST(kingAttacks),
    LIST(minorOnDefended), LIST(hanging),
    LIST(pawnPush),        ONE(restricted),
    LIST(queenHunt),       LIST(danger),
    LIST(dangerNoQueen),   GRID(safeCheck),
    LIST(weakRing),        LIST(attackers),
    GRID(shelter),         LIST(shelterKing),
    GRID(storm),           LIST(stormBlocked),
    LIST(kingOpenFile),    ONE(pawnlessWing),
    LIST(pawnDistance),
};
#undef ONE
#undef LIST
#undef GRID

constexpr std::size_t CountOf(const WeightTable& table) {
    return table.count * (table.inner == 0 ? 1 : table.inner);
}
consteval std::size_t CountAll() {
    std::size_t count = 0;
    for (const WeightTable& table : kTables) count += CountOf(table);
    return count;
}
static_assert(CountAll() == kWeightCount);

constexpr std::size_t kPerRow = 8;

class Writer {
public:
    explicit Writer(const FittedWeights& w) : weights(w) {}

    void Table(const WeightTable& table) {
        text += std::string("    .") + table.name + " = ";
        if (table.count == 1 && table.inner == 0) {
            Pair();
        } else if (table.inner == 0) {
            Row(table.count, "        ");
        } else {
            text += "{\n";
            for (std::size_t i = 0; i < table.count; ++i) {
                text += "        ";
                Row(table.inner, "            ");
                text += ",\n";
            }
            text += "    }";
        }
        text += ",\n";
    }
    std::string text;

private:
    void Pair() {
        char pair[40];
        std::snprintf(pair, sizeof pair, "{%4ld,%4ld}",
                      std::lround(weights.middlegame[at]),
                      std::lround(weights.endgame[at]));
        text += pair;
        ++at;
    }
    void Row(std::size_t count, const char* indent) {
        text += "{";
        for (std::size_t i = 0; i < count; ++i) {
            if (i % kPerRow == 0)
                text += std::string("\n") + indent;
            else
                text += ' ';
            Pair();
            text += ',';
        }
        text += "}";
    }
    const FittedWeights& weights;
    std::size_t at = 0;
};

}  // namespace

FittedWeights WeightsInForce() {
    FittedWeights weights;
    const auto* const first = reinterpret_cast<const Weight*>(&kWeights);
    for (std::size_t i = 0; i < kWeightCount; ++i) {
        weights.middlegame.push_back(first[i].Middlegame());
        weights.endgame.push_back(first[i].Endgame());
    }
    return weights;
}

std::string WeightsHeader(const FittedWeights& weights) {
    Writer writer(weights);
    writer.text =
        "// The weights as fitted to games: written by `veltramox-tune fit`, see\n"
        "// docs/tuning.md. Each is {middlegame, endgame} in centipawns.\n"
        "#pragma once\n\n#include \"eval/strong/weightset.h\"\n\n"
        "// clang-format off\ninline constexpr WeightSet kWeights = {\n";
    for (const WeightTable& table : kTables) writer.Table(table);
    return writer.text + "};\n// clang-format on\n";
}
