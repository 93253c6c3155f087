// The two calibration routes. They differ in what a model reads for one underlying, one number or
// one for each fixing date, and in the record that takes it.

#include <tuple>

#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/contract/cashflow.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_term_structure_model.hpp"
#include "core/modeling/model_dependencies.hpp"
#include "core/toolbox/math.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using Toolkit::PricingCase;
using ximCORE::Modeling::BlackScholesModel;
using ximCORE::Modeling::BlackScholesTermStructureModel;
using ximCORE::Toolbox::Date;
using ximCORE::Toolbox::Math;
using Underlyings = std::vector<ximCORE::Data::Underlying*>;

float percentage(double fraction) {
    return static_cast<float>(Math::get_percentage(fraction));
}

/// The equity-like underlyings of the contract as it stands, sorted, each once.
Underlyings underlyings_of(ximCORE::Contract::Contract const& contract) {
    Underlyings underlyings;
    contract.c_get_cashflow()->scan_equity_like_underlyings(underlyings, true);
    return underlyings;
}

/// An ERROR record for each underlying that the sources do not know: it is left out.
void report_unknown(ximCORE::Contract::Contract const& contract) {
    Underlyings underlyings;
    contract.c_get_cashflow()->scan_underlyings(underlyings, true);
    for (auto const* underlying : underlyings) {
        std::ignore = underlying->c_has_impl(ximCORE::Data::Level::error);
    }
}

struct Flat {
    using Record = TickerVolatility;

    explicit Flat(ximCORE::Contract::Contract const& contract) : m_date(contract.c_get_date()) {}

    /// Asks for what `calibrate` reads.
    static bool declare(Date const& date, Underlyings const& underlyings) {
        return BlackScholesModel::s_calibration_kind == BlackScholesModel::CalibrationKind::manual
                   ? ximCORE::Modeling::declare_black_scholes_volatilities(date, underlyings)
                   : ximCORE::Modeling::declare_volatility_surfaces(date, underlyings);
    }

    [[nodiscard]] bool calibrate(ximCORE::Data::Underlying const& underlying, float& record) const {
        double volatility = 0.0;
        if (!BlackScholesModel::s_calibrate_volatility(m_date, &underlying, volatility)) {
            return false;
        }
        record = percentage(volatility);
        return true;
    }

 private:
    Date m_date;
};

struct TermStructure {
    using Record = TickerTermStructureVolatility;

    explicit TermStructure(ximCORE::Contract::Contract const& contract)
        : m_date(contract.c_get_date()) {
        contract.c_get_cashflow()->scan_fixing_dates(m_fixing_dates, true);
    }

    static bool declare(Date const& date, Underlyings const& underlyings) {
        return ximCORE::Modeling::declare_volatility_surfaces(date, underlyings);
    }

    [[nodiscard]] bool calibrate(ximCORE::Data::Underlying const& underlying,
                                 std::vector<TermStructureVolatility>& record) const {
        ximCORE::Toolbox::Array1D<double> times(m_fixing_dates.size());
        for (std::size_t k = 0; k < m_fixing_dates.size(); ++k) {
            times.unsafe_get(k) =
                underlying.c_get_day_counter().c_year_fraction(m_date, *m_fixing_dates[k]);
        }
        ximCORE::Toolbox::Array1D<double> volatilities;
        if (!BlackScholesTermStructureModel::s_calibrate_volatility(m_date, &underlying, times,
                                                                    volatilities)) {
            return false;
        }
        for (std::size_t k = 0; k < m_fixing_dates.size(); ++k) {
            record.push_back({.Tenor = m_fixing_dates[k]->c_str(),
                              .Volatility = percentage(volatilities.get(k))});
        }
        return true;
    }

 private:
    Date m_date;
    std::vector<Date*> m_fixing_dates;
};

/// One record for each underlying that calibrates. `Calibration`: one of the two above.
template <class Calibration>
bool calibrate(Data& data, Contract const& contract, Model const& model,
               std::vector<typename Calibration::Record>& records) {
    auto const what =
        Toolkit::make_calibration_case(data, contract, model, [](PricingCase& fetched) -> bool {
            return Calibration::declare(fetched.contract.c_get_date(),
                                        underlyings_of(fetched.contract));
        });
    if (what == nullptr) {
        return false;
    }
    report_unknown(what->contract);
    records.clear();
    Calibration const calibration(what->contract);
    for (auto const* underlying : underlyings_of(what->contract)) {
        typename Calibration::Record record{.Ticker = underlying->c_get_ticker(), .Volatility = {}};
        if (calibration.calibrate(*underlying, record.Volatility)) {
            records.push_back(std::move(record));
        }
    }
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetBlackScholesCalibration(ximAPI::Data& data, ximAPI::Contract& contract,
                                ximAPI::Model& model,
                                ximAPI::BlackScholesCalibrationResults& results,
                                std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetBlackScholesCalibration", logs, [&]() -> bool {
        return ximAPI::calibrate<ximAPI::Flat>(data, contract, model, results.Volatility);
    });
}

bool GetBlackScholesTermStructureCalibration(
    ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
    ximAPI::BlackScholesTermStructureCalibrationResults& results, std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetBlackScholesTermStructureCalibration", logs, [&]() -> bool {
        return ximAPI::calibrate<ximAPI::TermStructure>(data, contract, model, results.Volatility);
    });
}
