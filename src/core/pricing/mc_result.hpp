// The running statistic of one number: a price or a sensitivity of any engine.

#pragma once

#include <cstdint>
#include <limits>

namespace ximCORE::Pricing {

/// `mean`, the bounds and `standard_error` are valid after `agregate`. A cleared value has all
/// fields 0 but the extremes.
struct MCResult {
    double sum{0.0};
    double sum_of_squares{0.0};
    std::uint64_t count{0};
    double mean{0.0};
    double lower_bound{0.0};
    double upper_bound{0.0};
    double standard_error{0.0};  ///< of the mean
    double min{std::numeric_limits<double>::max()};
    double max{std::numeric_limits<double>::min()};  // Relied on: only negative values report the
                                                     // smallest positive double as max

    MCResult() = default;
    MCResult(MCResult const&) = default;
    MCResult& operator=(MCResult const&) = default;

    /// One observation in place of all before.
    MCResult& operator=(double x);
    /// One more observation.
    MCResult& operator+=(double x);
    /// The observations of another.
    MCResult& operator+=(MCResult const& other);
    /// Scales the sums; the extremes are folded with `scale` itself.
    MCResult& operator*=(double scale);

    void clear() { *this = MCResult(); }
    /// Mean, standard error sqrt(variance / count) with the unbiased variance (0 below two
    /// observations), and the bounds mean +- standard error * 2.2414, the quantile of 1.25 % on
    /// each side whatever the confidence level asked for. No observation gives a mean of 0 / 0.
    void agregate();
};

/// A copy, scaled as `operator*=` does.
inline MCResult operator*(double scale, MCResult const& result) {
    MCResult scaled(result);
    scaled *= scale;
    return scaled;
}

/// The observations of both.
inline MCResult operator+(MCResult const& left, MCResult const& right) {
    MCResult sum(left);
    sum += right;
    return sum;
}

inline MCResult& MCResult::operator=(double x) {
    sum = x;
    sum_of_squares = x * x;
    count = 1;
    min = max = x;
    return *this;
}

inline MCResult& MCResult::operator+=(double x) {
    sum += x;
    sum_of_squares += x * x;
    count += 1;
    min = x < min ? x : min;
    max = x > max ? x : max;
    return *this;
}

}  // namespace ximCORE::Pricing
