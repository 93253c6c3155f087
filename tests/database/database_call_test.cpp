// A price on a real market database: the login that every call with sources checks, and a source of
// kind "base".

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "api/route_call.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::HasSubstr;

std::string setting(char const* name, char const* value) {
    char const* own = std::getenv(name);
    return own == nullptr ? value : own;
}

/// A description of the server's database, in a file that is removed at the end of the test.
class SourceFile {
 public:
    SourceFile() : m_path(::testing::TempDir() + "xim_database_source.json") {
        Json::Value source;
        source["Kind"] = "base";
        Json::Value& data = source["Data"];
        data["Hostname"] = "127.0.0.1";
        data["Port"] = std::stoi(setting("XIM_MARKET_DATABASE_PORT", "3307"));
        data["Basename"] = "market";
        data["Username"] = user();
        data["Password"] = password();
        std::ofstream(m_path) << source;
    }
    ~SourceFile() { std::remove(m_path.c_str()); }
    SourceFile(SourceFile const&) = delete;
    SourceFile& operator=(SourceFile const&) = delete;

    static std::string user() { return setting("XIM_MARKET_DATABASE_USER", "market"); }
    static std::string password() {
        return setting("XIM_MARKET_DATABASE_PASSWORD", "market-password");
    }
    [[nodiscard]] std::string const& c_get_path() const { return m_path; }

 private:
    std::string m_path;
};

Json::Value request_on(SourceFile const& source, std::string const& script) {
    Json::Value request = price_request(script, 20000, "EUR");
    request["ContractConfiguration"]["Date"] = "2023-01-01";
    request["ModelConfiguration"]["CalibrationDate"] = "2023-01-01";
    Json::Value& data = request["DataConfiguration"];
    data["Username"] = SourceFile::user();
    data["Password"] = SourceFile::password();
    data["Sources"][0]["File"] = source.c_get_path();
    data["Sources"][0]["IsActivated"] = true;
    return request;
}

TEST(DatabaseCall, PricesOnTheDatabase) {
    SourceFile const source;
    auto const answer =
        call_route("/GetPrice", request_on(source, "Pay(Spot(SHARE,2024-01-02),2024-01-02,EUR)"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.document["DataConfiguration"]["Sources"][0]["Status"].asBool());
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), 100.0,
                4.0 * answer.price()["Stddev"].asDouble());
}

TEST(DatabaseCall, RefusesAWrongPassword) {
    SourceFile const source;
    Json::Value request = request_on(source, "Pay(Spot(SHARE,2024-01-02),2024-01-02,EUR)");
    request["DataConfiguration"]["Password"] = "wrong";
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Authentication failure."));
    EXPECT_THAT(answer.messages("WARNING"), Contains(HasSubstr("(mysqlerrno: 1045)")));
}

TEST(DatabaseCall, FindsNothingUnderATickerOfStatements) {
    SourceFile const source;
    auto const answer = call_route(
        "/GetPrice", request_on(source, "Pay(Spot(x') OR ('1'='1,2024-01-02),2024-01-02,EUR)"));
    EXPECT_FALSE(answer.success);
    auto const after =
        call_route("/GetPrice", request_on(source, "Pay(Spot(SHARE,2024-01-02),2024-01-02,EUR)"));
    EXPECT_TRUE(after.success) << after.log();
}

}  // namespace
