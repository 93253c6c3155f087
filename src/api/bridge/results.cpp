#include "api/bridge/results.hpp"

namespace ximAPI::Toolkit {

namespace {

using ximCORE::Pricing::CrossGreekResult;
using ximCORE::Pricing::MCResult;
using ximCORE::Pricing::Results;
using ximCORE::Pricing::RowGreekResult;
using ximCORE::Toolbox::Array1D;
using ximCORE::Toolbox::Triangle;

void set_all_result(std::vector<RowGreekResult> const& from, std::vector<NameValueResult>& to) {
    to.clear();
    for (RowGreekResult const& named : from) {
        NameValueResult& record = to.emplace_back();
        record.Name = named.name;
        set_pricing_result(named.result, record.Value);
    }
}

void set_greek_result(Array1D<RowGreekResult> const& from, std::vector<TickerValueResult>& to) {
    to.assign(static_cast<std::uint8_t>(from.c_get_size()), {});
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i].Ticker = from.get(i).name;
        set_pricing_result(from.get(i).result, to[i].Value);
    }
}

void set_xgreek_result(Triangle<CrossGreekResult, -1> const& from, std::vector<XGreek>& to) {
    to.clear();
    std::size_t const count = static_cast<std::uint8_t>(from.c_get_count());
    for (std::size_t i = 1; i < from.c_get_side(); ++i) {
        for (std::size_t j = 0; j < i && to.size() < count; ++j) {
            CrossGreekResult const& cell = from.get(i, j);
            XGreek& record = to.emplace_back();
            record.FirstTicker = cell.first_name;
            record.SecondTicker = cell.second_name;
            set_pricing_result(cell.result, record.Value);
        }
    }
}

}  // namespace

void set_pricing_result(MCResult const& from, PricingResult& to) {
    to.Lower = static_cast<float>(from.lower_bound);
    to.Upper = static_cast<float>(from.upper_bound);
    to.Mean = static_cast<float>(from.mean);
    to.Stddev = static_cast<float>(from.standard_error);
}

void set_pricing_results(Results const& from, PricingResults& to) {
    set_all_result(from.results, to.All);
    set_pricing_result(from.price, to.Price.Value);
    set_greek_result(from.delta, to.Delta);
    set_greek_result(from.gamma, to.Gamma);
    set_greek_result(from.vega, to.Vega);
    set_greek_result(from.volga, to.Volga);
    set_greek_result(from.vanna, to.Vanna);
    set_xgreek_result(from.xgamma, to.XGamma);
    set_xgreek_result(from.xvolga, to.XVolga);
    set_xgreek_result(from.xvanna, to.XVanna);
    set_xgreek_result(from.cega, to.Cega);
}

}  // namespace ximAPI::Toolkit
