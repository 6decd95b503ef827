#include "tools/tune/fit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/splitmix.h"

namespace {

constexpr std::size_t kBatch = 4096;  // samples between two steps

double Logistic(double centipawns, double scale) {
    return 1 / (1 + std::exp(-centipawns / scale));
}

double ValueOf(const Samples& samples, const Sample& s, const FittedWeights& w) {
    double middlegame = 0, endgame = 0;
    for (std::uint32_t i = s.first; i < s.first + s.features; ++i) {
        const Feature f = samples.features[i];
        middlegame += f.count * w.middlegame[f.weight];
        endgame += f.count * w.endgame[f.weight];
    }
    const double phase = static_cast<double>(s.phase);
    return static_cast<double>(s.fixed) + phase * middlegame + (1 - phase) * endgame;
}

double TargetOf(const Sample& s, double scale, double resultShare) {
    return resultShare * static_cast<double>(s.result) +
           (1 - resultShare) * Logistic(static_cast<double>(s.score), scale);
}

// Adam: steps by the gradient's mean over its spread.
struct Descent {
    std::vector<double> mean, spread, gradient;
    long steps = 0;

    explicit Descent(std::size_t n) : mean(n), spread(n), gradient(n) {}
    void Step(std::vector<double>& weights, const std::vector<double>& start, double rate,
              double shrink) {
        constexpr double kMean = 0.9, kSpread = 0.999, kTiny = 1e-12;
        ++steps;
        const double meanShare = 1 - std::pow(kMean, static_cast<double>(steps));
        const double spreadShare = 1 - std::pow(kSpread, static_cast<double>(steps));
        for (std::size_t i = 0; i < weights.size(); ++i) {
            const double g = gradient[i] + shrink * (weights[i] - start[i]);
            mean[i] = kMean * mean[i] + (1 - kMean) * g;
            spread[i] = kSpread * spread[i] + (1 - kSpread) * g * g;
            weights[i] -=
                rate * mean[i] / meanShare / (std::sqrt(spread[i] / spreadShare) + kTiny);
            gradient[i] = 0;
        }
    }
};

// Of the squared error of one sample, so many times.
void AddGradient(const Samples& samples, const Sample& s, const FittedWeights& weights,
                 double scale, double resultShare, double times,
                 std::vector<double>& middlegame, std::vector<double>& endgame) {
    const double p = Logistic(ValueOf(samples, s, weights), scale);
    const double slope =
        times * (p - TargetOf(s, scale, resultShare)) * p * (1 - p) / scale;
    const double phase = static_cast<double>(s.phase);
    for (std::uint32_t k = s.first; k < s.first + s.features; ++k) {
        const Feature f = samples.features[k];
        middlegame[f.weight] += slope * phase * f.count;
        endgame[f.weight] += slope * (1 - phase) * f.count;
    }
}

// The steps become smaller from epoch to epoch.
double RateAt(int epoch, const FitOptions& options) {
    constexpr double kLast = 0.02;
    const double left = 1 - static_cast<double>(epoch - 1) / options.epochs;
    return options.rate * (kLast + (1 - kLast) * left * left);
}

std::vector<std::uint32_t> ForFitting(const Samples& samples) {
    std::vector<std::uint32_t> order;
    for (std::uint32_t i = 0; i < samples.samples.size(); ++i)
        if (!samples.samples[i].heldOut) order.push_back(i);
    return order;
}

void Report(const Samples& samples, const FittedWeights& weights, double scale,
            const FitOptions& options, int epoch) {
    std::printf("%4d  training %.6f  held out %.6f, of the results alone %.6f\n", epoch,
                ErrorOf(samples, weights, scale, options.resultShare, false),
                ErrorOf(samples, weights, scale, options.resultShare, true),
                ErrorOf(samples, weights, scale, 1, true));
    std::fflush(stdout);
}

void Shuffle(std::vector<std::uint32_t>& order, std::uint64_t& random) {
    for (std::size_t i = order.size(); i > 1; --i)
        std::swap(order[i - 1], order[SplitMix(random) % i]);
}

}  // namespace

double ErrorOf(const Samples& samples, const FittedWeights& weights, double scale,
               double resultShare, bool heldOut) {
    double sum = 0;
    std::size_t n = 0;
    for (const Sample& s : samples.samples) {
        if (s.heldOut != heldOut) continue;
        const double d = Logistic(ValueOf(samples, s, weights), scale) -
                         TargetOf(s, scale, resultShare);
        sum += d * d;
        ++n;
    }
    return n == 0 ? 0 : sum / static_cast<double>(n);
}

// By golden section.
double FitScale(const Samples& samples) {
    const auto error = [&](double scale) {
        double sum = 0;
        for (const Sample& s : samples.samples) {
            const double d = Logistic(static_cast<double>(s.score), scale) -
                             static_cast<double>(s.result);
            sum += d * d;
        }
        return sum;
    };
    constexpr double kShare = 0.6180339887498949;
    double low = 30, high = 1000;
    while (high - low > 0.5) {
        const double a = high - kShare * (high - low), b = low + kShare * (high - low);
        if (error(a) < error(b))
            high = b;
        else
            low = a;
    }
    return (low + high) / 2;
}

void Fit(const Samples& samples, FittedWeights& weights, double scale,
         const FitOptions& options) {
    const FittedWeights start = weights;
    std::vector<std::uint32_t> order = ForFitting(samples);
    Descent middlegame(weights.middlegame.size()), endgame(weights.endgame.size());
    std::uint64_t random = 1;
    for (int epoch = 1; epoch <= options.epochs; ++epoch) {
        Shuffle(order, random);
        const double rate = RateAt(epoch, options);
        for (std::size_t at = 0; at < order.size(); at += kBatch) {
            const std::size_t end = std::min(at + kBatch, order.size());
            for (std::size_t i = at; i < end; ++i)
                AddGradient(samples, samples.samples[order[i]], weights, scale,
                            options.resultShare, 2 / static_cast<double>(end - at),
                            middlegame.gradient, endgame.gradient);
            middlegame.Step(weights.middlegame, start.middlegame, rate, options.shrink);
            endgame.Step(weights.endgame, start.endgame, rate, options.shrink);
        }
        const bool last = epoch == options.epochs;
        if (options.report > 0 && (last || epoch % options.report == 0))
            Report(samples, weights, scale, options, epoch);
    }
}
