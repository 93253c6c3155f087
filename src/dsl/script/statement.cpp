// The loop over a text of the statement language. The list of waiting operators holds "&" alone.
#include "dsl/script/parser.hpp"

namespace ximAPI::Toolkit {

Parser::Progress Parser::step_statement(Level& level) {
    auto const text = rest(level);
    if (auto const* construct = find_construct(get_statement_constructs(), text)) {
        return recognise(level, *construct);
    }
    if (auto const* both = is_CashFlowBinaryOperation(text)) {
        level.operators.push_back({both->make(), level.position});
        level.position += both->word.size();
        return Progress::going;
    }
    fail({.reason = Reason::unknown_text,
          .position = level.position,
          .argument = Argument::statement});
    return Progress::rejected;
}

}  // namespace ximAPI::Toolkit
