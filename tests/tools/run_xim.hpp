// Runs the command line as a person does.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace xim::testing {

struct Outcome {
    int status{};
    std::string out;
    std::string err;
};

inline std::string read(std::string const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// `environment`: settings in front of the command.
inline Outcome run_xim(std::string const& words, std::string const& environment = "") {
    std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(test.begin(), test.end(), '/', '_');  // between a test and its parameter
    std::string const base = ::testing::TempDir() + "xim_" + test;
    std::string const command = "cd " XIM_ROOT " && " + environment + " " XIM_PROGRAM " " + words +
                                " >" + base + ".out 2>" + base + ".err </dev/null";
    int const status = std::system(command.c_str());
    Outcome outcome{
        .status = WEXITSTATUS(status), .out = read(base + ".out"), .err = read(base + ".err")};
    std::remove((base + ".out").c_str());
    std::remove((base + ".err").c_str());
    return outcome;
}

}  // namespace xim::testing
