// The direct forms of a contract: a tree, a file, a script.
#include <fstream>
#include <utility>

#include "core/toolbox/log.hpp"
#include "dsl/cashflow.hpp"
#include "dsl/script/parser.hpp"
#include "dsl/script/text.hpp"
#include "ximAPI/cashflow.hpp"

namespace ximAPI {

using ximCORE::Toolbox::Log;

ICashFlow::ICashFlow() = default;
ICashFlow::~ICashFlow() = default;

bool ICashFlow::encode(ximDSL::CashFlowPtr const& root) {
    encoded.reset();
    auto fresh = std::make_unique<ximDSL::Encoded>();
    if (root == nullptr || !root->encode(*fresh)) {
        auto const& text = fresh->text_with_comma;
        return refuse(text.empty() ? "Contract empty" : "Text with a comma: " + text);
    }
    encoded = std::move(fresh);
    return true;
}

bool ICashFlow::refuse(std::string const& reason) {
    encoded.reset();
    Log::s_log(Log::Level::ERROR, reason);
    return false;
}

CashFlow::CashFlow(ximDSL::CashFlowPtr contract) : root(std::move(contract)) {}
CashFlow::~CashFlow() = default;

bool CashFlow::build() {
    return encode(root);
}

File::File(std::string path) : file(std::move(path)) {}
File::~File() = default;

bool File::build() {
    std::ifstream in(file);
    // Relied on: no blank stands between the message and the path.
    if (!in.is_open()) return refuse("Cannot find file" + file);
    auto fresh = std::make_unique<ximDSL::Encoded>();
    ximDSL::Toolkit::deserialize(in, *fresh);
    encoded = std::move(fresh);
    return true;
}

Console::Console(std::string text) : script(std::move(text)) {}
Console::~Console() = default;

bool Console::build() {
    encoded.reset();
    auto const root = Toolkit::parse<ximDSL::CashFlow>(Toolkit::clean_script(script));
    return root != nullptr && encode(root);
}

}  // namespace ximAPI
