// The implied volatility surface of one underlying seen from one date: total variance by time and
// moneyness, with the shifts of the scenario in force applied to the volatility. Nothing feeds it
// with quotes: it runs on the parameters of its smiler, a flat 20%.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/data/item.hpp"
#include "core/data/surfaces/smiler.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/formulas/volatility.hpp"

namespace ximCORE::Data {

class ForwardCurve;
class Underlying;

class ImpliedVolatilitySurface final : public MarketDataPerturbableItem {
 public:
    using Point = ImpliedVolatilityPoint;

    enum class SmilerKind : std::uint8_t { stochastic_volatility_inspired };
    /// Which smiler a surface makes; any value but the first makes none, and evaluations give a
    /// non-number.
    inline static SmilerKind s_smiler_kind = SmilerKind::stochastic_volatility_inspired;

    /// Takes the forward curve of the underlying from the cache; under STICKY_OPTION a shift that
    /// reaches that curve marks this surface dirty. `underlying`: not owned. Throws
    /// ConstructorException without a forward curve.
    ImpliedVolatilitySurface(Toolbox::Date const& date, Underlying const* underlying);
    ~ImpliedVolatilitySurface() override;
    ImpliedVolatilitySurface(ImpliedVolatilitySurface const&) = delete;
    ImpliedVolatilitySurface& operator=(ImpliedVolatilitySurface const&) = delete;

    /// Total variance after `t` years at log-forward-moneyness `x`. A non-number at t = 0: the
    /// volatility is the root of variance over time.
    [[nodiscard]] double eval(double t, double x);
    /// Total variance at the forward.
    [[nodiscard]] double at_the_money_eval(double t);
    /// Slope of total variance in x at the forward: central difference over 0.02.
    [[nodiscard]] double skew_eval(double t);
    /// Second derivative of total variance in x at the forward: central difference over 0.01.
    [[nodiscard]] double curve_eval(double t);
    /// All forms of the strike `value` (read as `space` says) and of the option value there.
    [[nodiscard]] Toolbox::Volatility eval(Toolbox::MarketParameters const& parameters,
                                           double value, Toolbox::Volatility::SpaceKind space);

    /// Empties the grid and drops the smiler and the copy of the forward curve.
    void clear();
    [[nodiscard]] bool c_has_missing() const { return m_grid.empty(); }
    [[nodiscard]] std::size_t get_size() const { return m_maturity_dates.size(); }

    [[nodiscard]] Underlying const* c_get_underlying() const { return m_underlying; }
    /// Null until the first evaluation. Owned by the surface.
    [[nodiscard]] ImpliedVolatilitySmiler* get_smiler() const { return m_smiler.get(); }
    [[nodiscard]] std::vector<Toolbox::Date> const& get_maturity_dates() const;
    [[nodiscard]] std::vector<double> const& get_maturity_times() const;
    [[nodiscard]] ImpliedVolatilitySmiler::Grid const& get_grid() const;
    [[nodiscard]] std::vector<double>& unsafe_get_maturity_times() { return m_maturity_times; }
    [[nodiscard]] std::vector<Toolbox::Date>& scan_maturity_dates() { return m_maturity_dates; }
    [[nodiscard]] ImpliedVolatilitySmiler::Grid& unsafe_get_grid() { return m_grid; }

    /// Replaces the smiler by a new one of the class-wide kind.
    void set_smiler();
    /// Reads the moneyness with the opposite sign: the surface is quoted for the inverse pair.
    void is_inverse_pair(bool is_inverse) { m_is_inverse_pair = is_inverse; }

    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    void _build_internal() override;

 private:
    [[nodiscard]] double _eval_volatility(double t, double x);

    Underlying const* m_underlying;
    std::vector<Toolbox::Date> m_maturity_dates;
    std::vector<double> m_maturity_times;
    ImpliedVolatilitySmiler::Grid m_grid;  // one row per maturity
    std::unique_ptr<ImpliedVolatilitySmiler> m_smiler;
    ForwardCurve* m_forward_curve;  // of the cache
    std::unique_ptr<ForwardCurve> m_forward_curve_copy;
    bool m_is_inverse_pair = false;
};

}  // namespace ximCORE::Data
