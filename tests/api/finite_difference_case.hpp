// What the tests of the finite differences share: dates, closed formulas, scripts and requests on a
// market of one share.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "api/share_market.hpp"
#include "core/toolbox/date.hpp"

namespace ximAPI::testing {

inline constexpr double c_volatility = 0.2;

/// The day that many days after 3 May 2021.
inline std::string day(int days) {
    ximCORE::Toolbox::Date date(2021, 5, 3);
    for (int k = 0; k < days; ++k) ++date;
    char text[32];
    std::ignore = date.c_format(text, "%Y-%m-%d");
    return text;
}

inline double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// Black and Scholes without rates; `deviation`: volatility times the root of the maturity.
inline double call_formula(double spot, double strike, double deviation) {
    double const d = std::log(spot / strike) / deviation + 0.5 * deviation;
    return spot * cumulative(d) - strike * cumulative(d - deviation);
}
inline double put_formula(double spot, double strike, double deviation) {
    return call_formula(spot, strike, deviation) - spot + strike;
}
inline double digital_formula(double spot, double strike, double deviation) {
    return cumulative(std::log(spot / strike) / deviation - 0.5 * deviation);
}

inline double mean_of(RouteAnswer const& answer) {
    EXPECT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("ERROR"), ::testing::IsEmpty());
    return answer.price()["Mean"].asDouble();
}

inline double price(Json::Value const& request, double spot = 100.0,
                    double volatility = c_volatility) {
    return mean_of(call_route("/GetPrice", ShareMarket(spot, volatility).on(request)));
}

inline std::string text(double x) {
    std::ostringstream stream;
    stream.precision(6);
    stream << x;
    return stream.str();
}

inline std::string call_script(double strike, std::string const& date) {
    return "Pay(Max(Spot(AAA," + date + ")-" + text(strike) + ",0)," + date + ",USD)";
}
inline std::string put_script(double strike, std::string const& date) {
    return "Pay(Max(" + text(strike) + "-Spot(AAA," + date + "),0)," + date + ",USD)";
}
inline std::string digital_script(double strike, std::string const& date) {
    return "If(Spot(AAA," + date + ")>" + text(strike) + ")(Pay(1," + date + ",USD),End())";
}

/// Fully implicit with extrapolation, which damps what a jump or a kink throws up.
inline Json::Value damped(Json::Value request) {
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 0;
    request["PricerConfiguration"]["FiniteDifferenceUseRichardsonRombergExtrapolation"] = true;
    return request;
}

/// A contract file, removed at the end of the test.
class EncodedFile {
 public:
    EncodedFile() = default;
    explicit EncodedFile(std::string const& encoded) { std::ofstream(m_path) << encoded; }
    ~EncodedFile() { std::remove(m_path.c_str()); }
    EncodedFile(EncodedFile const&) = delete;
    EncodedFile& operator=(EncodedFile const&) = delete;

    [[nodiscard]] std::string const& c_get_path() const { return m_path; }
    [[nodiscard]] Json::Value request() const {
        Json::Value request = finite_difference_request("");
        request["ContractConfiguration"]["Kind"] = "FILE";
        request["ContractConfiguration"]["File"] = m_path;
        return request;
    }

 private:
    std::string m_path = ::testing::TempDir() + "xim_encoded_" + std::to_string(::getpid());
};

}  // namespace ximAPI::testing
