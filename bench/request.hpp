// Requests on the demonstration market, and their answers.

#pragma once

#include <json/json.h>
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>

#include "baseline.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximBench {

// The demonstration market on 7 October 2021: three indices, flat volatilities of 20 %, rates of 0.
// All are paid in EUR, so that the others are quanto; only the American one has a correlation with
// its exchange rate.
inline constexpr char const* c_today = "2021-10-07";
inline constexpr std::array<char const*, 3> c_tickers{"^STOXX50E", "^GSPC", "^N225"};
inline constexpr Market c_market{{4224.525, 4704.455, 28890.19},
                                 {0.2, 0.2, 0.2},
                                 {{{1.0, 0.5, 0.3}, {0.5, 1.0, 0.2}, {0.3, 0.2, 1.0}}},
                                 {0.0, 0.25 * 0.2 * 0.2, 0.0}};

/// A number of days after today as a date text.
inline std::string date_text(int days) {
    using namespace std::chrono;
    year_month_day const date = sys_days(year(2021) / 10 / 7) + std::chrono::days(days);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

inline std::string make_script(Case const& what) {
    std::ostringstream average;
    std::string last;
    for (std::size_t k = 0; k < what.nb_dates; ++k) {
        last = date_text(static_cast<int>(k + 1) * what.days_between_dates);
        std::string least;
        for (std::size_t u = 0; u < what.nb_underlyings; ++u) {
            std::ostringstream performance;
            performance.precision(9);
            performance << "Spot(" << c_tickers[u] << "," << last << ")/" << c_market.spots[u];
            least = u == 0 ? performance.str() : "Min(" + least + "," + performance.str() + ")";
        }
        average << (k == 0 ? "" : "+") << least;
    }
    std::ostringstream script;
    script << "Pay(100*Max((" << average.str() << ")/" << what.nb_dates << "-1,0)," << last
           << ",EUR)";
    return script.str();
}

/// A price of a script; with sensitivities: delta, gamma and vega.
inline Json::Value make_request(std::string const& script, bool with_greeks, std::uint64_t trials,
                                int threads) {
    Json::Value root;
    auto& data = root["DataConfiguration"];  // no sources: the demonstration market
    for (auto const* missing : {"Spot", "FXSpot", "Volatility", "Correlation"})
        data["SuccessOn" + std::string(missing) + "RequestFailure"] = true;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = c_today;
    contract["PremiumCurrency"] = "EUR";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = script;
    auto& model = root["ModelConfiguration"];
    model["CalibrationDate"] = c_today;
    model["Name"] = "BLACK_SCHOLES_MODEL";
    model["BlackScholesCalibrationKind"] = "AT_THE_MONEY_FORWARD";
    model["BlackScholesVolatilityCalibrationTenor"]["Shift"] = "+1y";
    model["BlackScholesVolatilityCalibrationTenor"]["Calendar"] = "DUMMY";
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "MONTE_CARLO";
    pricer["MonteCarloTrials"] = Json::UInt64(trials);
    pricer["MonteCarloNbThreads"] = threads;
    pricer["MonteCarloSeed"] = 23051994;
    pricer["WithGreeks"] = with_greeks;
    for (auto const* name : {"ComputeDelta", "ComputeGamma", "ComputeVega"})
        pricer[name] = with_greeks;
    for (auto const* name : {"DeltaSpotBump", "GammaSpotBump", "VegaVolatilityBump"})
        pricer[name] = 100.0;
    return root;
}

/// The answer of a route; null after a failure, which is printed.
inline Json::Value ask(char const* path, Json::Value const& request) {
    std::string const text = Json::writeString(Json::StreamWriterBuilder(), request);
    char* answer = nullptr;
    bool const success = ::RequestSafely(path, text.c_str(), &answer);
    std::string const answered = answer;
    ::ReleaseAnswer(answer);
    Json::Value root;
    std::istringstream(answered) >> root;
    if (success) return root;
    for (auto const& record : root["Logger"])
        std::fprintf(stderr, "%s: %s\n", record["Level"].asCString(),
                     record["Message"].asCString());
    return {};
}

/// The price of a request; -1 after a failure.
inline double ask_price(Json::Value const& request) {
    auto const answer = ask("/GetPrice", request);
    return answer.isNull() ? -1.0
                           : answer["Pricer"]["Pricer"]["Price"][0]["Value"]["Mean"].asDouble();
}

/// The most memory that the process has held so far.
inline double peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

}  // namespace ximBench
