// Makes the runtime contract of a contract record.
#pragma once

#include "ximAPI/configuration.hpp"

namespace ximCORE::Contract {
class Contract;
}

namespace ximAPI::Toolkit {

/// Builds the record's product and gives its runtime tree to `contract`.
/// False when the product refuses its terms or its script does not read; a record without a product
/// and an encoded form without cash flows log "Contract empty" at ERROR, an encoded form that does
/// not hold together "Cannot read contract".
[[nodiscard]] bool set_contract(Contract const& record, ximCORE::Contract::Contract& contract);

}  // namespace ximAPI::Toolkit
