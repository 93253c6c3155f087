// The examples of docs/script-language.md, read from the page.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ximAPI/diagnosis.hpp"

namespace {

/// The indented blocks of the page below a heading, up to the next one.
std::vector<std::string> blocks_below(std::string const& heading) {
    std::ifstream page(XIM_SCRIPT_PAGE);
    std::vector<std::string> blocks;
    auto inside = false;
    auto in_block = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("#")) inside = line == heading;
        auto const indented = line.starts_with("    ");
        if (inside && indented) {
            if (!in_block) blocks.emplace_back();
            blocks.back() += line.substr(4) + '\n';
        }
        in_block = indented;
    }
    return blocks;
}

TEST(ScriptPage, EveryExampleIsAScriptWithoutAWarning) {
    auto const examples = blocks_below("## Examples");
    ASSERT_GE(examples.size(), 5u);
    for (auto const& example : examples) {
        auto const diagnosis = ximAPI::diagnose_script(example);
        EXPECT_TRUE(diagnosis.accepted) << ximAPI::render_diagnosis(diagnosis, example);
        EXPECT_TRUE(diagnosis.warnings.empty()) << ximAPI::render_diagnosis(diagnosis, example);
    }
}

TEST(ScriptPage, TheDiagnosisShownIsTheOneGiven) {
    auto const blocks = blocks_below("## When a script is rejected");
    std::string const script = "End() &\n\tRecieve(1, \"2025-06-30\", EUR)";
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(blocks[1], ximAPI::render_diagnosis(ximAPI::diagnose_script(script), script));
}

}  // namespace
