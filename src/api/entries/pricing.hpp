// What the entry points that price have in common: from the records to a contract at its date, a
// model and a cache that holds their market data.
#pragma once

#include <memory>

#include "core/contract/contract.hpp"
#include "core/modeling/model.hpp"
#include "ximAPI/configuration.hpp"

namespace ximAPI::Toolkit {

struct PricingCase {
    ximCORE::Contract::Contract contract;
    std::unique_ptr<ximCORE::Modeling::Model> model;
};

/// Writes the settings of the core, builds contract and model, fetches what they declare and moves
/// the contract to its date. Null after an ERROR record. What the sources do not have shows when it
/// is read.
[[nodiscard]] std::unique_ptr<PricingCase> make_pricing_case(Data& data, Contract const& contract,
                                                             Model const& model,
                                                             Pricer const& pricer);

/// Whether there is an engine of the method in the settings, and the model has the helper that it
/// wants. False after an ERROR record.
[[nodiscard]] bool is_eligible(PricingCase& what);

}  // namespace ximAPI::Toolkit
