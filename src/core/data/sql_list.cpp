#include "core/data/sql_list.hpp"

namespace ximCORE::Data {

bool is_safe_in_sql(std::string_view text, std::size_t max_size) {
    return text.size() <= max_size && std::ranges::none_of(text, [](char c) {
               return c == '\'' || c == '"' || c == '\\' || static_cast<unsigned char>(c) < 32U;
           });
}

}  // namespace ximCORE::Data
