// What the command line does: reads a request, adds the options of the command, runs a route and
// hands the answer on.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace xim {

/// Options that replace members of the request document.
struct Overrides {
    std::vector<std::string> markets;          ///< market files; used without a login
    std::optional<std::int32_t> trials;        ///< number of paths
    std::optional<std::int32_t> threads;       ///< worker threads
    std::optional<std::string> contract_date;  ///< valuation date of contract and model
};

/// One answered route.
struct Answer {
    bool success{};
    std::string text;      ///< the answer as the library rendered it
    Json::Value document;  ///< the same, read
};

/// The text of a file, "-" being the standard input. Nothing when it cannot be read.
std::optional<std::string> read_text(std::string const& path);

/// The request document with the overrides put in. Raises `Json::Exception` for text that is no
/// JSON object.
Json::Value prepare(std::string const& text, Overrides const& overrides);

/// Runs one route of the library.
Answer run(std::string const& path, std::string const& request);

}  // namespace xim
