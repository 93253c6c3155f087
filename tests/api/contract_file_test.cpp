// Contract files from anywhere: a file that was changed at random is priced, described or refused
// with a record, never more.

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"
#include "ximAPI/dsl.hpp"

namespace {

using namespace ximAPI::testing;

/// A contract with every family of nodes, as a contract file holds it.
std::string encoded_contract(std::string const& path) {
    using namespace ximDSL;
    auto const spot = Spot("^GSPC", "2022-05-03", "");
    auto const start = Spot("^GSPC", "2021-05-03", "");
    auto const performance = spot / start;
    auto const contract =
        Set("p", Max(performance, 0.5F)) &
        If(performance > 1.0F && !(performance > 2.0F), 0.01F)(
            Pay(AmountRef("p") * 100.0F, "2022-05-05", "USD"), Receive(1.0F, "2022-05-05", "USD")) &
        Buy("2021-06-03", 2.0F, Pay(If(performance < 0.9F)(1.0F, 2.0F), "2022-06-03", "USD")) &
        Either("2022-05-03", 1)({Pay(CstRef("k", 3.0F), "2022-05-03", "USD"), End()}) &
        Pay(Sorted({performance, spot, start})[1], "2022-05-05", "USD");
    EXPECT_TRUE(Save(contract, path));
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class ContractFile : public ::testing::Test {
 protected:
    ContractFile()
        : m_path(::testing::TempDir() + "xim_contract_file_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt") {}
    ~ContractFile() override { std::remove(m_path.c_str()); }

    RouteAnswer call(char const* route, std::string const& text) const {
        std::ofstream(m_path, std::ios::trunc) << text;
        Json::Value request = price_request("", 3);
        request["ContractConfiguration"]["Kind"] = "FILE";
        request["ContractConfiguration"]["File"] = m_path;
        request["PricerConfiguration"]["SmoothingType"] = "LOWER";
        return call_route(route, request);
    }

    /// A failure says why: an ERROR or EXCEPTION record.
    void expect_price_or_reason(std::string const& text) const {
        for (char const* route : {"/GetPrice", "/GetContract"}) {
            auto const answer = call(route, text);
            bool const has_reason =
                !answer.messages("ERROR").empty() || !answer.messages("EXCEPTION").empty();
            EXPECT_TRUE(answer.success || has_reason) << route << '\n' << text << answer.log();
        }
    }

    std::string m_path;
};

TEST_F(ContractFile, AsSavedIsPriced) {
    auto const answer = call("/GetPrice", encoded_contract(m_path));
    EXPECT_TRUE(answer.success) << answer.log();
}

TEST_F(ContractFile, CutAnywhereIsPricedOrRefused) {
    std::string const whole = encoded_contract(m_path);
    for (std::size_t size = 0; size < whole.size(); size += 3) {
        expect_price_or_reason(whole.substr(0, size));
    }
}

TEST_F(ContractFile, ChangedAtRandomIsPricedOrRefused) {
    std::string const whole = encoded_contract(m_path);
    std::string const characters = "0123456789-+,.ace \nXe";
    std::mt19937_64 random(20240305);
    auto const below = [&random](std::size_t bound) {
        return static_cast<std::size_t>(random() % bound);
    };
    for (int round = 0; round < 600; ++round) {
        std::string text = whole;
        for (std::size_t change = 0; change <= below(3); ++change) {
            std::size_t const place = below(text.size());
            switch (below(3)) {
                case 0:
                    text[place] = characters[below(characters.size())];
                    break;
                case 1:
                    text.insert(place, 1, characters[below(characters.size())]);
                    break;
                default:
                    text.erase(place, 1 + below(8));
                    break;
            }
        }
        expect_price_or_reason(text);
    }
}

}  // namespace
