// The text entry: a document in, the same document with its results and the log out.

#include <json/value.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "api/json/document.hpp"
#include "api/routes.hpp"
#include "api/safe_request.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {

bool is_route(char const* path) {
    return find_route(path) != nullptr;
}

bool run_route(char const* path, Json::Value& root, std::vector<Log>& logs) {
    auto const* route = find_route(path);
    return route != nullptr && route->run(root, logs);
}

std::string render_answer(Json::Value& root, std::vector<Log> const& logs) {
    auto& logger = root["Logger"];
    logger = Json::Value{};  // an old log may stand here
    if (!logs.empty()) serialize(logs, logger);
    return render(root);
}

Log make_unknown_path(char const* path) {
    return {LogLevel::ERROR, std::string{"Unknown path "} + path};
}

}  // namespace ximAPI::Toolkit

bool Request(char const* path, char const* in, char* out) {
    using namespace ximAPI::Toolkit;
    Json::Value root;
    std::string error;
    std::ignore = parse(
        in, root, error);  // Relied on: a text that is no JSON counts as what was readable of it
    Logs logs;
    bool const result = run_route(path, root, logs);
    auto const answer = render_answer(root, logs);
    std::memcpy(out, answer.c_str(), answer.size() + 1);
    return result;
}
