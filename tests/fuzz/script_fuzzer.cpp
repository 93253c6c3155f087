// Feeds arbitrary bytes to the script parser and its diagnosis, which must agree and never fail
// otherwise. Run as
// ./script_fuzzer -max_len=4096 -max_total_time=600
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "ximAPI/cashflow.hpp"
#include "ximAPI/diagnosis.hpp"

namespace {

bool builds(std::string const& script) {
    ximAPI::Console console(script);
    try {
        return console.build();
    } catch (std::logic_error const&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const script(reinterpret_cast<char const*>(data), size);
    auto const diagnosis = ximAPI::diagnose_script(script);
    if (diagnosis.accepted != builds(script)) std::abort();
    if (diagnosis.accepted != diagnosis.error.message.empty()) std::abort();
    auto const is_silent = diagnosis.accepted && diagnosis.warnings.empty();
    if (ximAPI::render_diagnosis(diagnosis, script).empty() != is_silent) std::abort();
    return 0;
}
