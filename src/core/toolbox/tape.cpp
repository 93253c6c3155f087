#include "core/toolbox/tape.hpp"

#include <sstream>
#include <string_view>

#include "core/toolbox/log.hpp"

namespace ximCORE::Toolbox::AAD {

namespace {

struct EmptyStack {
    explicit EmptyStack(char const* stack) {
        text << "Cannot pop back an empty " << stack << " stack";
    }
    std::stringstream text;
};

}  // namespace

// A path whose tape runs short comes here once a step: the texts are made once.
bool Tape::report_empty(char const* stack) {
    static EmptyStack const of_doubles("double");
    static EmptyStack const of_booleans("boolean");
    bool const is_double = stack == std::string_view("double");
    Log::s_add(Log::Level::ERROR, is_double ? of_doubles.text : of_booleans.text);
    return false;
}

}  // namespace ximCORE::Toolbox::AAD
