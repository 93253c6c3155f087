// A contract that moves to a date, and what it tells on the way.
#pragma once

#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Testing {

/// The valuation date is 2023-01-01; A has fixed 123 on 2022-12-01 and 110 on 2023-01-01.
class Moving : public ContractCase {
 protected:
    Moving() {
        quote("A", "2022-12-01", 123);
        quote("A", "2023-01-01", 110);
    }
    /// The text of the contract after it has moved to `date`.
    std::string moved(Encoder& encoder, int root, std::string const& date = "2023-01-01",
                      FixingOverrides const& fixings = {}) {
        auto on = contract(encoder, root);
        EXPECT_TRUE(on.move(Date(date), fixings, &listener));
        EXPECT_EQ(on.c_get_date(), Date(date));
        return text(on);
    }
    int past_spot(Encoder& encoder) { return encoder.spot("A", "2022-12-01"); }
    int future_spot(Encoder& encoder) { return encoder.spot("A", "2023-07-02"); }

    Listener listener;
};

}  // namespace ximCORE::Testing
