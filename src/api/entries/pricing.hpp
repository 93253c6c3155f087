// What the entry points that price have in common: from the records to a contract at its date, a
// model and a cache that holds their market data.
#pragma once

#include <functional>
#include <memory>

#include "core/contract/contract.hpp"
#include "core/modeling/model.hpp"
#include "ximAPI/configuration.hpp"

namespace ximAPI::Toolkit {

struct PricingCase {
    ximCORE::Contract::Contract contract;
    std::unique_ptr<ximCORE::Modeling::Model> model;
};

/// Asks the cache for what a call reads beyond its contract and model; see `set_data`.
using Declaration = std::function<bool(PricingCase& what)>;

/// Writes the settings of the core, builds contract and model, fetches what they and `also` (may be
/// empty) declare and moves the contract to its date. Null after an ERROR record. What the sources
/// do not have shows when it is read.
[[nodiscard]] std::unique_ptr<PricingCase> make_pricing_case(Data& data, Contract const& contract,
                                                             Model const& model,
                                                             Pricer const& pricer,
                                                             Declaration const& also = {});

/// The same for calls without a pricer: the settings of the engines stay.
[[nodiscard]] std::unique_ptr<PricingCase> make_calibration_case(Data& data,
                                                                 Contract const& contract,
                                                                 Model const& model,
                                                                 Declaration const& also);

/// The same for calls without a model: a free one at the date of the contract.
[[nodiscard]] std::unique_ptr<PricingCase> make_free_case(Data& data, Contract const& contract,
                                                          Pricer const& pricer);

/// Whether there is an engine of the method in the settings, and the model has the helper that it
/// wants. False after an ERROR record.
[[nodiscard]] bool is_eligible(PricingCase& what);

}  // namespace ximAPI::Toolkit
