// A market of one share, AAA in USD on 3 May 2021, as a market file; and requests that price on it
// by finite differences.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include "api/route_call.hpp"

namespace ximAPI::testing {

/// The file lives as long as this.
class ShareMarket {
 public:
    /// `volatility`: a fraction. `more`: further objects of the file, each behind a comma.
    ShareMarket(double spot, double volatility, std::string const& more = "")
        : m_path(::testing::TempDir() + "xim_share_" + std::to_string(::getpid()) + "_" +
                 std::to_string(s_count++) + ".json") {
        std::ofstream file(m_path);
        file.precision(std::numeric_limits<double>::max_digits10);
        file << R"({"Kind": "manual", "Data": [)"
             << R"({"type": "Currency", "ticker": "USD", "name": "dollar", "calendar": "dummy",)"
             << R"( "day_counter": "act_365", "forward_rate_affinity_factor": 0.5},)"
             << R"({"type": "ShareUnderlying", "ticker": "AAA", "name": "A", "currency": "USD",)"
             << R"( "fixing_calendar": "dummy", "day_counter": "act_365"},)"
             << R"({"type": "Spot", "ticker": "AAA", "date": "2021-05-03", "bid": )" << spot
             << R"(, "ask": )" << spot << "},"
             << R"({"type": "BlackScholesVolatility", "ticker": "AAA", "date": "2021-05-03",)"
             << R"( "value": )" << 100.0 * volatility << "}" << more << "]}";
    }
    ~ShareMarket() { std::remove(m_path.c_str()); }
    ShareMarket(ShareMarket const&) = delete;
    ShareMarket& operator=(ShareMarket const&) = delete;

    /// The request with this file as its only source.
    [[nodiscard]] Json::Value on(Json::Value request) const {
        request["DataConfiguration"]["WithoutLogin"] = true;
        request["DataConfiguration"]["Sources"][0]["File"] = m_path;
        request["DataConfiguration"]["Sources"][0]["IsActivated"] = true;
        return request;
    }

 private:
    inline static int s_count = 0;
    std::string m_path;
};

/// Crank-Nicolson, a step a day.
inline Json::Value finite_difference_request(std::string const& script, int grid_size = 400) {
    Json::Value request = price_request(script);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["Method"] = "FINITE_DIFFERENCE";
    pricer["FiniteDifferenceExplicitRate"] = 50;
    pricer["FiniteDifferenceBoundaryCondition"] = "DIRICHLET";
    pricer["FiniteDifferenceTimeStep"] = 1;
    pricer["SmoothingType"] = "NONE";
    Json::Value& model = request["ModelConfiguration"];
    model["BlackScholesCalibrationKind"] = "MANUAL";
    model["BlackScholesFiniteDifferenceGridSize"] = grid_size;
    model["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.9999;
    return request;
}

}  // namespace ximAPI::testing
