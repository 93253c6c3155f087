// The only channel between a diffusion and a contract: the diffusion writes simulated values into
// cells addressed by ranks, the contract reads them back through dates and underlyings that carry
// those ranks. A contract opens beforehand the cells it will read, so that a path computes only
// these and stops an underlying at its last one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/toolbox/containers.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Modeling {

/// Anything that carries its row or column of the grid: an equity-like underlying (signed 16 bits,
/// -1 when not ranked) or a currency (unsigned 8 bits).
template <class T>
concept Ranked = requires(T const& item) {
    static_cast<std::int64_t>(item.c_get_rank());
};

/// A grid belongs to one thread while paths run; each clone of a helper has its own. A rank out of
/// range (-1 included, but for the fixing rank of a zero-coupon) raises
/// `SegmentationFaultException`. Per trial: no allocation.
class FixingGrid {
 public:
    /// One value of a path. The flag pair stands beside the value, so that a diffusion tests and
    /// writes one place of memory.
    class Cell {
     public:
        bool closed{false};  ///< the last cell of its column that anyone reads
        bool opened{false};  ///< somebody reads this cell
        double value{0.0};
        double adjoint{0.0};
        double antithetic_value{0.0};
        double antithetic_adjoint{0.0};

        Cell() = default;
        Cell(Cell const&) = default;
        Cell& operator=(Cell const&) = default;
        virtual ~Cell() = default;

        virtual void open() { opened = true; }
        void close() { closed = true; }

        /// The pair of a side of the adjoint simulation: the path as drawn, or its mirror image.
        double& get_value(bool antithetic) { return antithetic ? antithetic_value : value; }
        double& get_adjoint(bool antithetic) { return antithetic ? antithetic_adjoint : adjoint; }

        /// Zeroes the four numbers and leaves the flags alone.
        void reset() { value = adjoint = antithetic_value = antithetic_adjoint = 0.0; }
    };

    /// The cells of one underlying along the fixing dates, for loops that have checked the column
    /// once. Valid until the next `init` of its grid.
    class Column {
     public:
        Column(Cell* first, std::size_t stride, std::size_t size)
            : m_first(first), m_stride(stride), m_size(size) {}

        /// Unchecked: `fixing` is below the size.
        Cell& operator[](std::size_t fixing) const { return m_first[fixing * m_stride]; }
        std::size_t c_get_size() const { return m_size; }

     private:
        Cell* m_first;
        std::size_t m_stride;
        std::size_t m_size;
    };

    /// Allocates the three arrays with cleared cells. One with a zero dimension is left
    /// unallocated. The zero-coupons have nb_fixings + 1 rows: row 0 stands for fixing rank -1, a
    /// date before the first fixing.
    void init(std::size_t nb_fixings, std::size_t nb_maturities, std::size_t nb_underlyings,
              std::size_t nb_currencies, std::size_t nb_payments);
    /// Deep copy of sizes, flags and values.
    void init(FixingGrid const& other) { *this = other; }

    /// Opens every equity-like and zero-coupon cell; the stochastic rates cells are not touched.
    void open_all();
    void open_equity_like(Toolbox::Date const& fixing, Ranked auto const& underlying) {
        get_equity_like(fixing, underlying).open();
    }
    void open_zero_coupon(Toolbox::Date const& fixing, Ranked auto const& currency,
                          Toolbox::Date const& maturity) {
        get_zero_coupon(fixing, currency, maturity).open();
    }
    void open_stochastic_rates_adjustment(Ranked auto const& currency,
                                          Toolbox::Date const& payment) {
        get_stochastic_rates_adjustment(currency, payment).open();
    }

    Cell& get_equity_like(Toolbox::Date const& fixing, Ranked auto const& underlying) {
        return m_equity_like.unsafe_get(index(fixing.c_get_fixing_rank()),
                                        index(underlying.c_get_rank()));
    }
    Cell& get_zero_coupon(Toolbox::Date const& fixing, Ranked auto const& currency,
                          Toolbox::Date const& maturity) {
        return m_zero_coupon.unsafe_get(index(currency.c_get_rank()),
                                        index(fixing.c_get_fixing_rank() + 1),
                                        index(maturity.c_get_maturity_rank()));
    }
    Cell& get_stochastic_rates_adjustment(Ranked auto const& currency,
                                          Toolbox::Date const& payment) {
        return m_stochastic_rates_adjustment.unsafe_get(index(currency.c_get_rank()),
                                                        index(payment.c_get_payment_rank()));
    }

    /// Stores the value only if the cell is opened. Answers not closed, so that a writer stops at a
    /// closed cell.
    bool set_equity_like(short const& fixing_rank, short const& underlying_rank, double value);
    /// Stores the value only if the cell is opened, at row fixing rank + 1.
    /// Answers opened, which is not the sense of `set_equity_like`.
    bool set_zero_coupon(short const& fixing_rank, unsigned char const& currency_rank,
                         short const& maturity_rank, double value);
    /// Stores the running sum along the payments: `value` plus the value of the previous payment
    /// rank, plus 0.0 at rank 0.
    void set_stochastic_rates_adjustment(unsigned char const& currency_rank,
                                         short const& payment_rank, double value);

    /// Closes the last opened cell of each underlying along the fixings, then of each currency and
    /// maturity likewise.
    void filter();

    /// Zeroes the numbers of the equity-like cells, and of the zero-coupon cells only the two
    /// adjoints.
    void reset();

    /// The cells of one underlying, all fixings.
    Column get_column(std::size_t underlying);

    Toolbox::Array2D<Cell> const& c_get_equity_like() const { return m_equity_like; }
    Toolbox::Array3D<Cell> const& c_get_zero_coupon() const { return m_zero_coupon; }
    Toolbox::Array2D<Cell> const& c_get_stochastic_rates_adjustment() const {
        return m_stochastic_rates_adjustment;
    }

 private:
    /// A negative rank becomes an index that no array holds.
    static std::size_t index(std::int64_t rank) { return static_cast<std::size_t>(rank); }

    Toolbox::Array2D<Cell> m_equity_like;  ///< [fixing rank][underlying rank]
    Toolbox::Array3D<Cell> m_zero_coupon;  ///< [currency rank][fixing rank + 1][maturity rank]
    Toolbox::Array2D<Cell> m_stochastic_rates_adjustment;  ///< [currency rank][payment rank]
};

inline void FixingGrid::init(std::size_t nb_fixings, std::size_t nb_maturities,
                             std::size_t nb_underlyings, std::size_t nb_currencies,
                             std::size_t nb_payments) {
    auto const grid = [](std::size_t rows, std::size_t cols) {
        return rows > 0 && cols > 0 ? Toolbox::Array2D<Cell>(rows, cols) : Toolbox::Array2D<Cell>();
    };
    m_equity_like = grid(nb_fixings, nb_underlyings);
    m_zero_coupon = nb_currencies > 0 && nb_maturities > 0
                        ? Toolbox::Array3D<Cell>(nb_currencies, nb_fixings + 1, nb_maturities)
                        : Toolbox::Array3D<Cell>();
    m_stochastic_rates_adjustment = grid(nb_currencies, nb_payments);
}

inline void FixingGrid::open_all() {
    for (auto& cell : m_equity_like) cell.open();
    for (auto& cell : m_zero_coupon) cell.open();
}

inline bool FixingGrid::set_equity_like(short const& fixing_rank, short const& underlying_rank,
                                        double value) {
    auto& cell = m_equity_like.unsafe_get(index(fixing_rank), index(underlying_rank));
    if (cell.opened) cell.value = value;
    return !cell.closed;
}

inline bool FixingGrid::set_zero_coupon(short const& fixing_rank,
                                        unsigned char const& currency_rank,
                                        short const& maturity_rank, double value) {
    auto& cell = m_zero_coupon.unsafe_get(index(currency_rank), index(fixing_rank + 1),
                                          index(maturity_rank));
    if (cell.opened) cell.value = value;
    return cell
        .opened;  // Relied on: the writer of zero-coupons stops a row at its first unopened cell
}

inline void FixingGrid::set_stochastic_rates_adjustment(unsigned char const& currency_rank,
                                                        short const& payment_rank, double value) {
    auto& cells = m_stochastic_rates_adjustment;
    double const previous =
        payment_rank > 0 ? cells.get(index(currency_rank), index(payment_rank - 1)).value : 0.0;
    cells.unsafe_get(index(currency_rank), index(payment_rank)).value = value + previous;
}

inline void FixingGrid::filter() {
    auto const close_last = [](std::size_t size, auto&& cell_at) {
        for (std::size_t k = size; k-- > 0;) {
            if (!cell_at(k).opened) continue;
            cell_at(k).close();
            return;
        }
    };
    for (std::size_t u = 0; u < m_equity_like.c_get_cols(); ++u)
        close_last(m_equity_like.c_get_rows(),
                   [&](std::size_t k) -> Cell& { return m_equity_like.unsafe_get(k, u); });
    for (std::size_t c = 0; c < m_zero_coupon.c_get_extent(0); ++c)
        for (std::size_t m = 0; m < m_zero_coupon.c_get_extent(2); ++m)
            close_last(m_zero_coupon.c_get_extent(1),
                       [&](std::size_t k) -> Cell& { return m_zero_coupon.unsafe_get(c, k, m); });
}

inline void FixingGrid::reset() {
    for (auto& cell : m_equity_like) cell.reset();
    for (auto& cell : m_zero_coupon)
        cell.adjoint = cell.antithetic_adjoint = 0.0;  // Relied on: zero-coupons outlive a path
}

inline FixingGrid::Column FixingGrid::get_column(std::size_t underlying) {
    return {&m_equity_like.unsafe_get(0, underlying), m_equity_like.c_get_cols(),
            m_equity_like.c_get_rows()};
}

}  // namespace ximCORE::Modeling
