#include "api/safe_request.hpp"

#include <json/value.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "api/frame.hpp"
#include "api/json/document.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {

namespace {

/// The answer when there is no memory for another; never freed.
char c_no_memory[] = R"({"Logger":[{"Level":"EXCEPTION","Message":"std::bad_alloc"}]})"
                     "\n";

/// Why a call is refused before its document is parsed; empty when it is not.
std::string find_call_refusal(char const* path, char const* in) {
    if (path == nullptr) return "Request without path";
    if (in == nullptr) return "Request without document";
    return find_refusal(in);
}

/// Parses and runs a document that was not refused. Exceptions pass through.
bool run_text(char const* path, char const* in, Json::Value& root, std::vector<Log>& logs) {
    std::string error;
    if (!parse(in, root, error)) {
        logs.push_back({LogLevel::ERROR, "Cannot read request: " + error});
        return false;
    }
    if (!is_route(path)) {
        logs.push_back(make_unknown_path(path));
        return false;
    }
    return run_route(path, root, logs);
}

bool answer_safely(char const* path, char const* in, std::string& answer) {
    Json::Value root;
    std::vector<Log> logs;
    bool result = false;
    if (auto refusal = find_call_refusal(path, in); !refusal.empty()) {
        logs.push_back({LogLevel::ERROR, std::move(refusal)});
    } else {
        try {
            result = run_text(path, in, root, logs);
        } catch (...) {
            logs.push_back({LogLevel::EXCEPTION, current_exception_text()});
        }
    }
    if (!root.isObject())
        root = Json::Value{Json::objectValue};  // anything else has no place for the log
    answer = render_answer(root, logs);
    return result;
}

char* duplicate(std::string const& text) {
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) throw std::bad_alloc{};
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

}  // namespace

}  // namespace ximAPI::Toolkit

bool RequestSafely(char const* path, char const* in, char** out) {
    using namespace ximAPI::Toolkit;
    if (out == nullptr) return false;
    *out = c_no_memory;
    try {
        std::string answer;
        bool const result = answer_safely(path, in, answer);
        *out = duplicate(answer);
        return result;
    } catch (...) {
        return false;  // only the lack of memory leads here, and `*out` says so
    }
}

void ReleaseAnswer(char* answer) {
    if (answer != ximAPI::Toolkit::c_no_memory) std::free(answer);
}
