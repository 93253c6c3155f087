#include "dsl/script/words.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>
#include <vector>

#include "dsl/script/recognisers.hpp"

namespace ximAPI::Toolkit {

namespace {

constexpr std::size_t max_shown = 40;

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}
char to_lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}
bool is_letter(char character) {
    return (to_lower(character) >= 'a' && to_lower(character) <= 'z') || character == '_';
}
bool is_continuation(char character) {
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80U;
}

std::string quote(std::string_view text) {
    if (text.size() <= max_shown) return '"' + std::string(text) + '"';
    auto length = max_shown;
    while (length > 0 && is_continuation(text[length])) --length;
    return '"' + std::string(text.substr(0, length)) + "...\"";
}

/// The number of letters to change, insert or remove to get from one word to the other.
std::size_t distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        auto diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            auto const changed = diagonal + (to_lower(from[i]) == to_lower(to[j]) ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

/// All words, those of statements or those of expressions first.
std::vector<std::string_view> known_words(bool statement) {
    std::vector<std::string_view> words;
    for (auto const& row : get_expression_constructs()) words.push_back(row.word);
    for (auto const& row : get_functions()) words.push_back(row.word);
    auto const nb_expression_words = static_cast<std::ptrdiff_t>(words.size());
    for (auto const& row : get_statement_constructs()) words.push_back(row.word);
    words.insert(words.end(), {"Putable", "Callable"});
    if (statement) std::rotate(words.begin(), words.begin() + nb_expression_words, words.end());
    return words;
}

}  // namespace

std::string_view word_at(std::string_view text, std::size_t position) {
    auto const is_part = [&](std::size_t at) {
        return at < text.size() && (is_letter(text[at]) || is_digit(text[at]));
    };
    if (!is_part(position)) return {};
    auto start = position;
    while (start > 0 && is_part(start - 1)) --start;
    while (start < position && !is_letter(text[start])) ++start;
    auto end = position;
    while (is_part(end)) ++end;
    return is_letter(text[start]) ? text.substr(start, end - start) : std::string_view{};
}

std::string found_at(std::string_view text, std::size_t position) {
    if (position >= text.size()) return "end of the script";
    if (auto const word = word_at(text, position); !word.empty()) return quote(word);
    if (auto const length = is_Float(text.substr(position)); length > 0)
        return quote(text.substr(position, length));
    auto const rest = text.substr(position);
    for (std::string_view const sign : {"==", "!=", "<=", ">=", "&&", "||"}) {
        if (rest.starts_with(sign)) return quote(sign);
    }
    std::size_t length = 1;
    while (length < rest.size() && is_continuation(rest[length])) ++length;
    return quote(rest.substr(0, length));
}

std::string argument_at(std::string_view text, std::size_t position) {
    auto end = position;
    for (std::size_t depth = 0; end < text.size(); ++end) {
        auto const is_end = text[end] == ',' || text[end] == ')';
        if (depth == 0 && is_end) break;
        if (text[end] == '(') ++depth;
        if (text[end] == ')') --depth;
    }
    return end == position ? "nothing" : quote(text.substr(position, end - position));
}

std::string_view nearest_word(std::string_view word, bool statement) {
    if (word.empty() || word.size() > max_shown) return {};
    std::string_view nearest;
    auto best = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (auto const known : known_words(statement)) {
        auto const steps = distance(word, known);
        if (steps < best) {
            best = steps;
            nearest = known;
        }
    }
    return nearest;
}

}  // namespace ximAPI::Toolkit
