// The market of one contract as plain arrays: one central state and one state per bump of every
// greek. Numerical loops read the state in force and never touch a market object; a greek is
// revalued by moving the pointer to another state.

#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "core/modeling/bump.hpp"
#include "core/modeling/volatility_model.hpp"
#include "core/toolbox/basis.hpp"
#include "core/toolbox/containers.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Contract {
class CashFlow;
struct ContractInformation;
}  // namespace ximCORE::Contract

namespace ximCORE::Data {
class Currency;
class Underlying;
}  // namespace ximCORE::Data

namespace ximCORE::Modeling {

/// Life: construction (all sizes 0); `set`; `switch_to_central` and `calibrate`; then for each
/// greek `allocate`, `select` and `calibrate`. Afterwards a revaluation is one `select`. Copies are
/// deep, and their state in force is their own copy of the state in force here.
class Helper {
 public:
    /// The numbers of one market state.
    struct Calibration {
        Toolbox::Array1D<VolatilitySlot> volatilities;  ///< [underlying]
        Toolbox::Array2D<double>
            forwards;  ///< [underlying][fixing date], in the underlying's currency
        Toolbox::Triangle<double, -1> correlations;  ///< [factor][factor], strict
        Toolbox::Array2D<double> zero_coupons;       ///< [currency][maturity date]
        Toolbox::Array1D<double> discount_factors;   ///< [payment date], in the contract's currency
    };

    /// The quanto rank of an underlying without a quanto adjustment.
    static constexpr std::uint16_t s_no_quanto_rank = 65535;

    virtual ~Helper() = default;
    Helper& operator=(Helper const&) = delete;

    /// Sizes the counts and the time grid for one contract seen from `date`. `cashflow` may be
    /// null.
    virtual void set(Toolbox::Date const& date, Toolbox::DayCounter const& day_counter,
                     Contract::ContractInformation const& information,
                     Contract::CashFlow* cashflow) = 0;

    /// Fills the state in force from the market of `date` under the scenario in force. `currency`:
    /// the contract's. False at the first market object that is missing; the market layer has
    /// reported it.
    [[nodiscard]] bool calibrate(Toolbox::Date const& date, Data::Currency const& currency,
                                 Contract::ContractInformation const& information);

    virtual void switch_to_central();
    /// Frees the states of `bump` and makes n empty rows, or n(n-1)/2 empty pairs; n = 0 leaves
    /// them alone. If one of them was in force, the central state is.
    virtual void allocate(Bump bump, std::size_t n);
    /// Puts a state in force: row i, or the pair i > j. Raises SegmentationFaultException outside
    /// what was allocated.
    virtual void select(Bump bump, std::size_t i, std::size_t j = 0);

    // clang-format off
#define XIM_ROW(name) \
    void set_##name(std::size_t n) { allocate(Bump::name, n); } \
    void switch_to_##name(std::size_t i) { select(Bump::name, i); }
#define XIM_PAIR(name) \
    void set_##name(std::size_t n) { allocate(Bump::name, n); } \
    void switch_to_##name(std::size_t i, std::size_t j) { select(Bump::name, i, j); }
    XIM_ROW_BUMPS(XIM_ROW)
    XIM_PAIR_BUMPS(XIM_PAIR)
#undef XIM_ROW
#undef XIM_PAIR
    // clang-format on

    [[nodiscard]] Calibration const& c_get_current() const {
        return *m_current;
    }
    /// [payment date], of the state in force.
    [[nodiscard]] Toolbox::Array1D<double> const& c_get_discount_factors() const;
    /// The date of the last calibration; null before the first one.
    [[nodiscard]] Toolbox::Date const* c_get_calibration_date() const;
    /// [underlying]: rank of the exchange rate of its quanto adjustment, or s_no_quanto_rank.
    [[nodiscard]] Toolbox::Array1D<std::uint16_t> const& c_get_quanto_ranks() const;

    [[nodiscard]] std::uint64_t c_get_nb_fixing_dates() const {
        return m_nb_fixing_dates;
    }
    [[nodiscard]] std::uint64_t c_get_nb_maturity_dates() const {
        return m_nb_maturity_dates;
    }
    [[nodiscard]] std::uint64_t c_get_nb_payment_dates() const {
        return m_nb_payment_dates;
    }
    [[nodiscard]] std::uint64_t c_get_nb_underlyings() const {
        return m_nb_underlyings;
    }
    [[nodiscard]] std::uint64_t c_get_nb_currencies() const {
        return m_nb_currencies;
    }

    /// The factor of an underlying, or of a currency.
    [[nodiscard]] std::uint64_t _c_get_equity_like_index(std::uint64_t underlying) const;
    [[nodiscard]] std::uint64_t _c_get_currency_index(std::uint64_t currency) const;
    [[nodiscard]] std::uint64_t _c_get_nb_factors() const;
    /// Correlation of two factors in the state in force; exactly 1 of a factor with itself.
    [[nodiscard]] double _c_get_correlation(std::uint64_t i, std::uint64_t j) const;

 protected:
    Helper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency);
    Helper(Helper const& other);

    /// Last step of a calibration: what the numerical method derives from the state in force.
    [[nodiscard]] virtual bool calibrate_method(
        Toolbox::Date const& date, Contract::ContractInformation const& information) = 0;
    /// The step before: what the model adds to the state in force. Nothing here.
    [[nodiscard]] virtual bool calibrate_model(Toolbox::Date const& date,
                                               Contract::ContractInformation const& information);
    /// Fills the volatility of one underlying. Here: leaves the slot null and answers true.
    [[nodiscard]] virtual bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const;
    /// The two steps of the correlations: the market's numbers, then what the method derives.
    /// Nothing here.
    [[nodiscard]] virtual bool _calibrate_correlation_matrix(
        Toolbox::Date const& date, Contract::ContractInformation const& information);
    [[nodiscard]] virtual bool _calibrate_correlation_matrix_common(
        Toolbox::Date const& date, Contract::ContractInformation const& information);
    [[nodiscard]] virtual bool _calibrate_correlation_matrix_internal();

    /// The volatilities of all underlyings, their quanto ranks, and the zero-coupons of all
    /// currencies: steps of `calibrate`.
    [[nodiscard]] bool _calibrate_equity_like_volatility(
        Toolbox::Date const& date, Contract::ContractInformation const& information);
    [[nodiscard]] bool _set_quanto_adjustment(Contract::ContractInformation const& information);
    /// The underlying whose rate adjusts the drift of this one; none without an adjustment.
    [[nodiscard]] std::optional<std::uint64_t> _c_get_quanto_rate(std::uint64_t underlying) const;
    [[nodiscard]] bool _calibrate_zero_coupons(Toolbox::Date const& date,
                                               Contract::ContractInformation const& information);

    /// Takes the five counts from the lists of the contract.
    void _set_counts(Contract::ContractInformation const& information);
    [[nodiscard]] Calibration& _get_current() {
        return *m_current;
    }

    std::uint64_t m_nb_fixing_dates = 0;
    std::uint64_t m_nb_maturity_dates = 0;
    std::uint64_t m_nb_payment_dates = 0;
    std::uint64_t m_nb_factors_per_underlying;
    std::uint64_t m_nb_underlyings = 0;
    std::uint64_t m_nb_factors_per_currency;
    std::uint64_t m_nb_currencies = 0;
    Toolbox::Array1D<std::uint16_t> m_quanto_ranks;  // [underlying]

 private:
    [[nodiscard]] bool _calibrate_equity_like_forward_curve(
        Toolbox::Date const& date, Contract::ContractInformation const& information);
    [[nodiscard]] bool _calibrate_currency_yield_curve(
        Toolbox::Date const& date, Data::Currency const& currency,
        Contract::ContractInformation const& information);

    /// Which state is in force: `Bump::end` for the central one.
    struct Selection {
        Bump bump = Bump::end;
        std::size_t i = 0;
        std::size_t j = 0;
    };
    [[nodiscard]] Calibration& _find(Selection const& selection);

    Calibration m_central;
    std::array<Toolbox::Array1D<Calibration>, nb_row_bumps> m_rows;
    std::array<Toolbox::Triangle<Calibration, -1>, nb_pair_bumps> m_pairs;
    Selection m_selection;
    Calibration* m_current = &m_central;
    std::optional<Toolbox::Date> m_calibration_date;
};

}  // namespace ximCORE::Modeling
