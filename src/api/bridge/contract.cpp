#include "api/bridge/contract.hpp"

#include "api/bridge/encoded.hpp"
#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/toolbox/log.hpp"

namespace ximAPI::Toolkit {

bool set_contract(Contract const& record, ximCORE::Contract::Contract& contract) {
    if (record.Product == nullptr) {
        ximCORE::Toolbox::Log::s_log(ximCORE::Toolbox::Log::Level::ERROR, "Contract empty");
        return false;
    }
    std::shared_ptr<ximCORE::Contract::CashFlow> root;
    return record.Product->build() &&
           ximCORE::Contract::reflect_contract(to_tree(*record.Product->encoded), root) &&
           contract.set(root);
}

}  // namespace ximAPI::Toolkit
