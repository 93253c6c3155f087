// The brackets of a script: which one closes which, how deep they nest, and what stands between
// their commas.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace ximAPI::Toolkit {

/// The round brackets of one text, matched in one pass. "{" and "[" are plain characters. A text
/// with brackets that have no partner is no error here.
class Brackets {
 public:
    /// Keeps the view.
    explicit Brackets(std::string_view text);

    /// The deepest nesting.
    [[nodiscard]] std::size_t c_get_depth() const { return m_depth; }

    /// The arguments of the bracket that opens at `open`: appended to `arguments`, split at the
    /// commas that stand directly inside it; "()" holds one empty argument. Answers the size of
    /// `arguments`, or -1 if the bracket is not closed, or if no bracket opens there; what was
    /// appended then is of no use. Cost: the characters directly inside.
    [[nodiscard]] std::ptrdiff_t parse_args(std::size_t open,
                                            std::vector<std::string_view>& arguments) const;

 private:
    std::string_view m_text;
    std::vector<std::size_t> m_partner;  ///< of an opening bracket: where it closes; else `npos`
    std::size_t m_depth{};
};

}  // namespace ximAPI::Toolkit
