#include "core/contract/amount.hpp"

#include "core/contract/ranking.hpp"
#include "core/contract/text.hpp"

namespace ximCORE::Contract {

void Amount::c_write(std::string& text, std::uint64_t width) const {
    std::string own;
    c_to_string(own, false);
    append_lines(text, own, 0, width);
}

bool Amount::scan_all(ContractInformation& information, bool accumulate) {
    return (!accumulate || accumulate_all(information)) && sort_all(information, false);
}

}  // namespace ximCORE::Contract
