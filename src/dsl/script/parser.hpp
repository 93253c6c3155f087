// From a script to the description of a contract.
//
// Two languages share the text: statements describe cash flows, expressions describe amounts and
// events. Each text is turned into a queue in reverse Polish order by a loop over its constructs; a
// construct that holds texts of its own puts the loop aside until these are parsed. The texts that
// are open stand on a list, so that nesting costs no stack. Cost: linear in the length of the
// script.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "dsl/cashflow.hpp"
#include "dsl/script/arguments.hpp"
#include "dsl/script/recognisers.hpp"
#include "dsl/script/trace.hpp"

namespace ximAPI::Toolkit {

/// Brackets nested deeper, and operators nested deeper ("1+1+..."), are rejected. A list of
/// statements joined by "&" is not deep.
inline constexpr std::size_t max_nesting = 10'000;

/// So many warnings are kept.
inline constexpr std::size_t max_notes = 100;

enum class Language : std::uint8_t { statement, expression };

class Parser {
 public:
    /// Keeps the view. Why a text is rejected, and what is worth a warning, goes to `trace` unless
    /// it is null.
    explicit Parser(std::string_view text, Trace* trace = nullptr);

    /// The node of the whole text; empty if it is rejected. Raises what `read_number` raises.
    [[nodiscard]] ximDSL::NodePtr parse(Language language);

 private:
    enum class Progress : std::uint8_t { going, nested, finished, rejected };

    /// A node and where its word stands. Without a node: an open parenthesis.
    struct Placed {
        ximDSL::NodePtr node;
        std::size_t position;
    };

    /// A text inside a construct, to be parsed.
    struct Nested {
        Argument kind;
        std::string_view text;
    };

    /// A construct whose nested texts are being parsed: as many are done as `reading` has nodes.
    struct Pending {
        Construct const* construct;
        std::size_t position;
        std::size_t next;
        Reading reading;
        std::vector<Nested> nested;
    };

    /// A text that is being parsed.
    struct Level {
        Language language;
        std::size_t position;
        std::size_t end;
        std::vector<Placed> output;     ///< reverse Polish order
        std::vector<Placed> operators;  ///< those that wait for their right side
        std::optional<Pending> pending;
    };

    // The loop over the open texts.
    [[nodiscard]] Level open(Language language, std::string_view text) const;
    [[nodiscard]] bool deliver(Level& level, ximDSL::NodePtr node);
    [[nodiscard]] ximDSL::NodePtr evaluate(Level& level);

    // The loop over one text. `nested` if a construct waits, `finished` if `output` is complete.
    [[nodiscard]] Progress build_reverse_polish_notation(Level& level);
    [[nodiscard]] Progress step_statement(Level& level);
    [[nodiscard]] Progress step_expression(Level& level);
    [[nodiscard]] Progress step_punctuation(Level& level);
    [[nodiscard]] Progress close(Level& level);
    void push_operator(Level& level, Operator const& row);
    static void move_operators(Level& level);
    [[nodiscard]] Progress close_group(Level& level);
    void add_number(Level& level, std::size_t length);

    // One construct with brackets, at the position of the level.
    [[nodiscard]] Progress recognise(Level& level, Construct const& construct);
    [[nodiscard]] bool read_brackets(Pending& pending, std::vector<std::string_view>& branches);
    [[nodiscard]] bool read_arguments(Pending& pending);
    [[nodiscard]] bool read_argument(Pending& pending, Argument kind, std::string_view text);
    [[nodiscard]] float read_number(Pending const& pending, Argument kind, std::string_view text);
    [[nodiscard]] bool make(Level& level);
    [[nodiscard]] bool measure(ximDSL::Node& node, std::size_t position);

    // Remarks. `fail` answers false, so that it can be returned.
    bool fail(Remark remark);
    void note(Remark remark);
    void note_text(Pending const& pending, Argument kind, std::string_view text);
    void note_number(std::size_t position, float value);

    [[nodiscard]] std::string_view rest(Level const& level) const;
    [[nodiscard]] std::size_t place(std::string_view part) const;

    std::string_view m_text;
    Brackets m_brackets;
    Trace* m_trace;
};

/// The description of the contract (T = ximDSL::CashFlow) or of the amount or event (T =
/// ximDSL::Component) that a text without blanks and quotes stands for; empty if it is rejected. Of
/// several values without an operator between them the last one counts. Raises what `read_number`
/// raises.
template <class T>
[[nodiscard]] std::shared_ptr<T> parse(std::string_view text);

template <>
std::shared_ptr<ximDSL::CashFlow> parse(std::string_view text);
template <>
std::shared_ptr<ximDSL::Component> parse(std::string_view text);

}  // namespace ximAPI::Toolkit
