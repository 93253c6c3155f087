// What the tables of fields say about the JSON form, in the words of the reference page
// docs/records.md.
#pragma once

#include <string>
#include <vector>

#include "api/json/records.hpp"

namespace ximTest {

struct ReferenceRow {
    std::string key;
    std::string type;

    friend bool operator==(ReferenceRow const&, ReferenceRow const&) = default;
};

/// The key of a field whose object stands at the level of its record.
inline constexpr char const* c_same_level = "(same level)";

inline std::string quoted(std::string const& text) {
    return "`" + text + "`";
}

template <class T>
std::string type_text() {
    if constexpr (std::is_same_v<T, std::string>) {
        return "string";
    } else if constexpr (std::is_same_v<T, bool>) {
        return "boolean";
    } else if constexpr (std::is_same_v<T, float>) {
        return "float";
    } else if constexpr (std::is_integral_v<T>) {
        return "integer";
    } else if constexpr (Vector<T>) {
        return "array of " + type_text<typename ElementOf<T>::type>();
    } else {
        return quoted(name_of<T>());
    }
}

template <class R, class T>
ReferenceRow row_of(ximAPI::Toolkit::Field<R, T> const& field) {
    return {field.key, type_text<T>()};
}
template <class R, class T>
ReferenceRow row_of(ximAPI::Toolkit::Merged<R, T> const&) {
    return {c_same_level, type_text<T>()};
}
template <class R, class T>
ReferenceRow row_of(ximAPI::Toolkit::WriteOnly<R, T> const& field) {
    return {field.key, type_text<T>() + ", written only"};
}
template <class R, class T>
ReferenceRow row_of(ximAPI::Toolkit::Single<R, T> const& field) {
    return {field.key, "array of one " + type_text<T>()};
}
template <class R>
ReferenceRow row_of(ximAPI::Toolkit::WhenTrue<R> const& field) {
    return {field.key, "boolean, written when true"};
}
template <class R>
ReferenceRow row_of(ximAPI::Toolkit::Chosen<R> const& field) {
    return {*field.key == '\0' ? c_same_level : field.key, "object by kind"};
}
inline ReferenceRow row_of(ximAPI::Toolkit::Constant const& field) {
    return {field.key, "always " + quoted(field.text) + ", written only"};
}

/// The keys of a record in the order of writing, with their types.
template <class R>
std::vector<ReferenceRow> rows_of() {
    std::vector<ReferenceRow> rows;
    std::apply([&](auto const&... field) { (rows.push_back(row_of(field)), ...); },
               ximAPI::Toolkit::fields<R>);
    return rows;
}

}  // namespace ximTest
