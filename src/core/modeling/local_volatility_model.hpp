// The local volatility of one underlying inside a calibrated market state: a grid of local variance
// by time and by log-moneyness against the forward.

#pragma once

#include <algorithm>
#include <cstdint>

#include "core/modeling/volatility_model.hpp"

namespace ximCORE::Modeling {

/// Columns are equally spaced from `lower` to `upper`. Copies are deep.
class LocalVolatilityModel final : public VolatilityModel {
 public:
    /// A grid of zeros. `columns`: at least 2.
    LocalVolatilityModel(double lowest, double highest, std::uint64_t rows, std::uint64_t columns)
        : lower(lowest),
          upper(highest),
          step((highest - lowest) / static_cast<double>(columns - 1)),
          local_variances(rows, columns) {}
    [[nodiscard]] std::unique_ptr<VolatilityModel> c_clone() const override {
        return std::make_unique<LocalVolatilityModel>(*this);
    }

    /// Log-moneyness of a column.
    [[nodiscard]] double c_get_space(std::uint64_t column) const {
        return static_cast<double>(column) * step + lower;
    }
    /// The column of the border to the left of `x`; outside the grid, and for a non-number, that of
    /// the first or the last cell.
    [[nodiscard]] std::uint64_t c_get_space_index(double x) const {
        auto const last = static_cast<double>(local_variances.c_get_cols() - 2);
        return static_cast<std::uint64_t>(std::min(std::max(0.0, (x - lower) / step), last));
    }
    /// Local variance, per year, at time `row` and log-moneyness `x`: a straight line between
    /// columns. `row` is not checked: loops over the time grid check the count of rows once.
    [[nodiscard]] double c_interpolate(std::uint64_t row, double x) const {
        std::uint64_t const i = c_get_space_index(x);
        double const* const cell = local_variances.begin() + row * local_variances.c_get_cols() + i;
        double const a = static_cast<double>(i) * step + lower;
        double const b = a + step;
        // Relied on: outside the grid the local variance goes on in the straight line of the border
        // cell, without a bound
        double const w = (x - b) / (a - b);
        return (1 - w) * cell[1] + w * cell[0];
    }

    double lower;                              ///< lowest log-moneyness
    double upper;                              ///< highest log-moneyness
    double step;                               ///< between columns
    Toolbox::Array2D<double> local_variances;  ///< [time grid index][column], per year
};

}  // namespace ximCORE::Modeling
