#include "ximAPI/diagnosis.hpp"

#include <algorithm>
#include <exception>
#include <utility>

#include "dsl/script/messages.hpp"
#include "dsl/script/parser.hpp"
#include "dsl/script/text.hpp"

namespace ximAPI {

namespace {

using Toolkit::Remark;
using Toolkit::Trace;

bool is_continuation(char character) {
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80U;
}

/// Places of the cleaned script as lines and columns of the script.
class Places {
 public:
    explicit Places(std::string_view script)
        : m_script(script), m_offsets(Toolkit::get_offsets(script)) {}

    void place(ScriptRemark& remark, std::size_t position) const {
        auto const offset = c_get_offset(position);
        auto const line = m_script.rfind('\n', offset == 0 ? std::string_view::npos : offset - 1);
        auto const start = offset == 0 || line == std::string_view::npos ? 0 : line + 1;
        remark.line =
            1 + static_cast<std::size_t>(std::count(
                    m_script.begin(), m_script.begin() + static_cast<std::ptrdiff_t>(start), '\n'));
        auto const before = m_script.substr(start, offset - start);
        remark.column = 1 + static_cast<std::size_t>(std::ranges::count_if(
                                before, [](char c) { return !is_continuation(c); }));
    }

 private:
    /// Behind the last character for the end of the cleaned script.
    [[nodiscard]] std::size_t c_get_offset(std::size_t position) const {
        if (position < m_offsets.size()) return m_offsets[position];
        return m_offsets.empty() ? 0 : m_offsets.back() + 1;
    }

    std::string_view m_script;
    std::vector<std::size_t> m_offsets;
};

/// Whether the text is a contract; an exception of the parser, told in the trace, means no.
bool parses(std::string_view text, Trace& trace) {
    try {
        return Toolkit::Parser(text, &trace).parse(Toolkit::Language::statement).get() != nullptr;
    } catch (std::logic_error const&) {
        return false;
    }
}

ScriptRemark put_in_words(Remark const& remark, std::string_view text, Places const& places) {
    auto [words, position] = Toolkit::describe(remark, text);
    places.place(words, position);
    return std::move(words);
}

ScriptDiagnosis diagnose(std::string const& script) {
    auto const text = Toolkit::clean_script(script);
    Trace trace;
    ScriptDiagnosis diagnosis;
    diagnosis.accepted = parses(text, trace);
    Places const places(script);
    if (trace.failure.has_value()) diagnosis.error = put_in_words(*trace.failure, text, places);
    std::ranges::stable_sort(trace.notes, {}, &Remark::position);
    for (auto const& note : trace.notes)
        diagnosis.warnings.push_back(put_in_words(note, text, places));
    return diagnosis;
}

}  // namespace

ScriptDiagnosis diagnose_script(std::string const& script) noexcept {
    try {
        return diagnose(script);
    } catch (std::exception const&) {
        // Only memory can have run out.
        ScriptDiagnosis failed;
        failed.error.line = 1;
        failed.error.column = 1;
        return failed;
    }
}

}  // namespace ximAPI
