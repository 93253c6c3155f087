// The forwards of one equity-like underlying seen from one date, in units of its own currency: spot
// times what the asset yields, divided by the zero coupon of its currency. There is no dividend
// model: the spot of an equity grows with the zero coupon alone, that of an exchange rate also
// carries the zero coupon of its base currency.

#pragma once

#include <memory>

#include "core/data/item.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Data {

class ForwardCurve;
class RepoCurve;
class Spot;
class Underlying;
class YieldCurve;

/// What differs by asset: the factor that the asset itself yields up to a date or a time.
class ForwardCurveInternal {
 public:
    virtual ~ForwardCurveInternal() = default;

    /// A deep copy that owns copies of the curves it reads.
    [[nodiscard]] virtual std::unique_ptr<ForwardCurveInternal> c_clone() const = 0;
    /// Makes the forward curve dependent on the curves that this strategy reads.
    virtual void c_add_dependency_item(ForwardCurve* curve) const = 0;
    [[nodiscard]] virtual double _eval_internal(Toolbox::Date const& date) = 0;
    [[nodiscard]] virtual double _eval_internal(double t) = 0;
};

/// An equity yields nothing: the factor is 1.
class EquityUnderlyingForwardCurve final : public ForwardCurveInternal {
 public:
    /// `repo_curve`: not owned.
    explicit EquityUnderlyingForwardCurve(RepoCurve* repo_curve);

    [[nodiscard]] std::unique_ptr<ForwardCurveInternal> c_clone() const override;
    void c_add_dependency_item(ForwardCurve* curve) const override;
    [[nodiscard]] double _eval_internal(Toolbox::Date const& date) override;
    [[nodiscard]] double _eval_internal(double t) override;

    [[nodiscard]] RepoCurve* get_repo_curve() const { return m_repo_curve; }

 private:
    RepoCurve* m_repo_curve;
};

/// An exchange rate yields the rate of its base currency: the factor is that currency's zero
/// coupon.
class ForeignExchangeUnderlyingForwardCurve final : public ForwardCurveInternal {
 public:
    /// `foreign_yield_curve`: of the base currency, not null, not owned.
    explicit ForeignExchangeUnderlyingForwardCurve(YieldCurve* foreign_yield_curve);
    /// The same with a curve of its own.
    explicit ForeignExchangeUnderlyingForwardCurve(std::unique_ptr<YieldCurve> foreign_yield_curve);
    ~ForeignExchangeUnderlyingForwardCurve() override;

    [[nodiscard]] std::unique_ptr<ForwardCurveInternal> c_clone() const override;
    void c_add_dependency_item(ForwardCurve* curve) const override;
    [[nodiscard]] double _eval_internal(Toolbox::Date const& date) override;
    [[nodiscard]] double _eval_internal(double t) override;

 private:
    std::unique_ptr<YieldCurve> m_owned_yield_curve;  // in copies only
    YieldCurve* m_foreign_yield_curve;
};

class ForwardCurve final : public MarketDataPerturbableItem {
 public:
    /// A curve without its market data: get_dependencies links them. `underlying`: not owned.
    ForwardCurve(Toolbox::Date const& date, Underlying const* underlying);
    /// A deep copy that owns copies of spot, yield curve and strategy: frozen against later shifts
    /// of the originals.
    ForwardCurve(ForwardCurve const& other);
    ~ForwardCurve() override;
    ForwardCurve& operator=(ForwardCurve const&) = delete;
    [[nodiscard]] std::unique_ptr<ForwardCurve> c_clone() const;

    [[nodiscard]] Toolbox::Date const& c_get_date() const { return m_date; }
    [[nodiscard]] Underlying const* c_get_underlying() const { return m_underlying; }

    /// Declares and links spot, yield curves and strategy; to be called again while the underlying
    /// is being filled. True once the underlying has a currency and is an equity or an exchange
    /// rate with its base currency.
    [[nodiscard]] bool get_dependencies();

    /// The forward at a date or after `t` years, with the shifts of spot, curves and of this item.
    /// False, with `out` untouched, after the spot has reported that it is missing, or without
    /// linked market data.
    [[nodiscard]] bool eval_absolute(Toolbox::Date const& date, double& out);
    [[nodiscard]] bool eval_absolute(double t, double& out);
    /// Forward over spot, without the shifts of this item. 1 without linked market data; needs no
    /// spot.
    [[nodiscard]] double eval_relative(Toolbox::Date const& date);
    [[nodiscard]] double eval_relative(double t);
    /// Forward over spot and forward, both without the shifts of this item. Fails as eval_absolute
    /// does.
    [[nodiscard]] bool eval(Toolbox::Date const& date, double& relative, double& absolute);

    /// Adjoint form of `eval_relative`, on the sweep that `reverse` tells. Forward: numerator and
    /// zero coupon go on the tape, their quotient into `value`; always true. Reverse: adds to each
    /// of the two derivatives that is not null what `adjoint`, that by the value, amounts to.
    [[nodiscard]] bool c_aeval_relative(Toolbox::AAD::Tape& tape, bool reverse,
                                        Toolbox::Date const& date, double& value, double& adjoint,
                                        double* d_numerator, double* d_zero_coupon) const;
    /// Adjoint form of `eval_absolute`. Forward: fails as `eval_absolute` does, with nothing on the
    /// tape. Reverse: adds to `spot_adjoint`, per unit of relative spot move, and to the
    /// derivatives by numerator and zero coupon that are not null. The scenario in force is that of
    /// the forward sweep.
    [[nodiscard]] bool c_aeval_absolute(Toolbox::AAD::Tape& tape, bool reverse,
                                        Toolbox::Date const& date, double& value, double& adjoint,
                                        double& spot_adjoint, double* d_numerator = nullptr,
                                        double* d_zero_coupon = nullptr) const;

    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    void _build_internal() override;

 private:
    [[nodiscard]] bool _link_internal();
    [[nodiscard]] bool _c_is_linked() const;
    template <class X>
    [[nodiscard]] double _eval_factor(X const& x);
    template <class X>
    [[nodiscard]] bool _eval_absolute(X const& x, double& out);

    Toolbox::Date m_date;
    Underlying const* m_underlying;
    std::unique_ptr<Spot> m_owned_spot;               // in copies only
    std::unique_ptr<YieldCurve> m_owned_yield_curve;  // in copies only
    Spot* m_spot = nullptr;
    YieldCurve* m_yield_curve = nullptr;
    std::unique_ptr<ForwardCurveInternal> m_internal;
};

}  // namespace ximCORE::Data
