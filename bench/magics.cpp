// By trial: a random number of few bits is a factor when no two sets of men that leave
// different squares attacked get the same number from it.
#include "bench/magics.h"

#include <cstdio>
#include <vector>

#include "board/tables.h"

namespace {

// A shift-register generator (xorshift64*).
struct RandomNumbers {
    std::uint64_t state = 0x9E3779B97F4A7C15;

    std::uint64_t Next() {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        return state * 0x2545F4914F6CDD1D;
    }
    // One bit in eight is set.
    std::uint64_t Sparse() {
        const std::uint64_t a = Next(), b = Next(), c = Next();
        return a & b & c;
    }
};

struct Case {
    SquareSet men, attacks;
};

// Attack sets by number, for one factor after another; what an earlier one left is void.
struct NumberedSets {
    std::vector<SquareSet> sets;
    std::vector<int> round;

    explicit NumberedSets(std::size_t count) : sets(count), round(count, 0) {}

    bool Fits(const std::vector<Case>& cases, std::uint64_t factor, int shift,
              int number) {
        for (const Case& c : cases) {
            const std::size_t i = c.men * factor >> shift;
            if (round[i] == number && sets[i] != c.attacks) return false;
            round[i] = number;
            sets[i] = c.attacks;
        }
        return true;
    }
};

std::uint64_t FindMagic(const SliderMagic& slider, RandomNumbers& random) {
    // A factor that leaves fewer of the highest bits set hardly ever fits.
    constexpr int kLeastHighBits = 6;
    std::vector<Case> cases;
    SquareSet men = 0;
    do {
        cases.push_back({men, slider.Attacks(men)});
        men = (men - slider.mask) & slider.mask;  // the next subset
    } while (men != 0);
    NumberedSets numbered(cases.size());
    for (int number = 1;;) {
        const std::uint64_t factor = random.Sparse();
        if (PopCount(slider.mask * factor >> 56) < kLeastHighBits) continue;
        if (numbered.Fits(cases, factor, slider.shift, number++)) return factor;
    }
}

void Print(const char* name, const std::array<std::uint64_t, 64>& factors) {
    std::printf("inline constexpr std::uint64_t %s[64] = {", name);
    for (std::size_t i = 0; i < factors.size(); ++i)
        std::printf("%s0x%016llX,", i % 4 == 0 ? "\n    " : " ",
                    static_cast<unsigned long long>(factors[i]));
    std::printf("\n};\n");
}

}  // namespace

Magics FindMagics() {
    BuildTables();
    RandomNumbers random;
    Magics found{};
    for (std::size_t s = 0; s < 64; ++s)
        found.bishops[s] = FindMagic(BishopMagic[s], random);
    for (std::size_t s = 0; s < 64; ++s) found.rooks[s] = FindMagic(RookMagic[s], random);
    return found;
}

void PrintMagics() {
    const Magics found = FindMagics();
    Print("kBishopMagics", found.bishops);
    Print("kRookMagics", found.rooks);
}
