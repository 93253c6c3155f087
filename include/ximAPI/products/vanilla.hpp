// A list of dated payments, each a cash amount times what a fixing is worth: a constant, a share of
// the fixing, options on it, and piecewise linear payoffs of its performance.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ximAPI/cashflow.hpp"
#include "ximAPI/enums.hpp"
#include "ximAPI/export.hpp"

namespace ximAPI {

/// A value with a name can be solved for or bumped under it; equal names move together. An empty
/// name fixes the value.
class XIM_EXPORT Vanilla final : public ICashFlow {
 public:
    enum class Direction : std::int32_t { PAY, REC };

    /// Quantity times the positive part of fixing minus strike (call) or strike minus fixing (put).
    struct Option {
        PayoffKind Kind{};
        std::string QuantityName;
        float QuantityValue{};
        std::string StrikeName;
        float StrikeValue{};
    };

    struct Point {
        float X{};
        float Y{};
    };

    /// Quantity times a piecewise linear function of the fixing over the level at the strike date.
    /// The points stand in increasing order of x; inner points with the same x make a jump; the
    /// outer segments go on beyond the points. Fewer than two points add nothing. All segments are
    /// closed: a performance exactly on a point counts twice.
    struct Payoff {
        std::string StrikeDate;
        std::string QuantityName;
        float QuantityValue{};
        std::vector<Point> Points;
    };

    /// Cash * (notional + delta * fixing + options + payoffs), paid or received.
    struct CliquetItem {
        std::string CashName;
        float CashValue{};
        std::string DeltaName;
        float DeltaValue{};
        std::string NotionalName;
        float NotionalValue{};
        Vanilla::Direction Direction{};
        std::string FixingDate;
        std::vector<Option> Options;
        std::string PaymentCurrency;
        std::string PaymentDate;
        std::vector<Payoff> Payoffs;
        std::string Ticker;
    };

    Vanilla();
    ~Vanilla() override;

    /// False after "Contract empty" (no item) or "Payoff starts or ends with a jump" (equal x in
    /// the first or the last pair of points).
    [[nodiscard]] bool build() override;

    std::vector<CliquetItem> Cliquet;
};

}  // namespace ximAPI
