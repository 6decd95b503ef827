// The product of two logarithms. They are computed here, in the four basic operations at
// compile time, so that every compiler gets the same table.
#include "search/strong/reductions.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kNumbers = 64;
constexpr double kOffset = 0.5, kDivisor = 2.1;  // plies

// By the series of the inverse hyperbolic tangent, for arguments from 1 to 2.
consteval double LogarithmOfMantissa(double x) {
    const double y = (x - 1) / (x + 1);
    double power = y, sum = 0;
    for (int i = 1; i < 60; i += 2) {
        sum += power / i;
        power *= y * y;
    }
    return 2 * sum;
}
consteval double Logarithm(int n) {
    double x = n, result = 0;
    for (; x >= 2; x /= 2) result += LogarithmOfMantissa(2);
    return result + LogarithmOfMantissa(x);
}

struct ReductionTable {
    std::int16_t values[kNumbers][kNumbers];  // [depth][number]
};
consteval ReductionTable MakeReductions() {
    double logarithms[kNumbers] = {};
    for (int n = 1; n < kNumbers; ++n) logarithms[n] = Logarithm(n);
    ReductionTable table{};
    for (int depth = 1; depth < kNumbers; ++depth)
        for (int number = 1; number < kNumbers; ++number)
            table.values[depth][number] = static_cast<std::int16_t>(
                (kOffset + logarithms[depth] * logarithms[number] / kDivisor) *
                kReductionUnit);
    return table;
}
constexpr ReductionTable kReductions = MakeReductions();

}  // namespace

int BaseReduction(int depth, int number) {
    return kReductions
        .values[std::min(depth, kNumbers - 1)][std::min(number, kNumbers - 1)];
}
