// What the two text entries share: one document through one route.
#pragma once

#include <json/forwards.h>

#include <string>
#include <vector>

#include "ximAPI/log.hpp"

namespace ximAPI::Toolkit {

/// Whether a path stands in the table of routes, served or not.
[[nodiscard]] bool is_route(char const* path);

/// Runs the route of `path` on the document `root`, which a successful call changes. False for a
/// path without a route, after an ERROR record if the path is known and not served. Exceptions of
/// reading and of calls without a frame pass through.
[[nodiscard]] bool run_route(char const* path, Json::Value& root, std::vector<Log>& logs);

/// The document as text with the log under "Logger", null without records. `root`: an object or
/// null.
[[nodiscard]] std::string render_answer(Json::Value& root, std::vector<Log> const& logs);

/// The record at level ERROR for a path that no route serves.
[[nodiscard]] Log make_unknown_path(char const* path);

}  // namespace ximAPI::Toolkit
