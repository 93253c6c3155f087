// The command line of the library.
//
//   xim /GetPrice request.json      the answer of any route as JSON
//   xim price request.json          price and greeks for a person
//   xim contract request.json       what the contract is and what has happened to it
//   xim ladder request.json         price and greeks over shifts of the market or the contract
//   xim solve request.json          the features that give the contract a wanted price

#include <json/writer.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>

#include "command.hpp"
#include "ladder.hpp"
#include "plot.hpp"
#include "report.hpp"

namespace {

using Reporter = std::function<void(Json::Value const& answer, std::ostream& out)>;

/// Prints the whole answer, whatever it is. The exit status tells success.
int print_route(std::string const& path, std::string const& request) {
    xim::Answer const answer = xim::run(path, request);
    std::cout << answer.text;
    return answer.success ? 0 : 1;
}

/// Runs a route and reports it; what went wrong goes to the standard error.
int report_route(std::string const& path, Json::Value const& request, Reporter const& report) {
    xim::Answer const answer =
        xim::run(path, Json::writeString(Json::StreamWriterBuilder(), request));
    xim::report_log(answer.document, std::cerr);
    xim::report_script(request, std::cerr);
    if (!answer.success) {
        std::cerr << "The request failed.\n";
        return 1;
    }
    report(answer.document, std::cout);
    return 0;
}

/// Draws into a file; the exit status tells success.
int plot_ladder(xim::Ladder const& ladder, std::string const& file) {
    auto const commands = xim::make_plot(ladder, file);
    if (!commands) {
        std::cerr << "--plot wants a file that ends in .svg or .png, not " << file << '\n';
        return 2;
    }
    if (ladder.first.values.empty() || ladder.series.front().points.empty()) {
        std::cerr << "A ladder without points has no plot.\n";
        return 1;
    }
    if (auto const problem = xim::draw(*commands)) {
        std::cerr << *problem << '\n';
        return 1;
    }
    return 0;
}

/// Runs the ladder that the request describes, prints it and, with a file, draws it.
int run_ladder(Json::Value const& request, std::string const& plot_file) {
    auto const route = xim::find_ladder_route(request);
    if (!route) {
        std::cerr << "The request has none of \"Pricer\".\"Ladder\", \"Ladder1D\" and "
                     "\"Ladder2D\".\n";
        return 2;
    }
    xim::Ladder ladder;
    auto const read = [&](Json::Value const& answer, std::ostream& out) {
        ladder = xim::read_ladder(answer, *route);
        xim::report_ladder(ladder, out);
    };
    int const status = report_route(*route, request, read);
    return status != 0 || plot_file.empty() ? status : plot_ladder(ladder, plot_file);
}

void add_options(CLI::App& command, std::string& file, xim::Overrides& overrides) {
    command.add_option("request", file, "JSON request document; - reads the standard input")
        ->required();
    command.add_option("--market", overrides.markets,
                       "market file to price on, without a login; may be given several times, the "
                       "first has priority");
    command.add_option("--trials", overrides.trials, "number of paths, in place of the request's");
    command.add_option("--threads", overrides.threads,
                       "number of threads, in place of the request's");
    command.add_option("--date", overrides.contract_date,
                       "valuation date of contract and model, in place of the request's");
}

int with_request(std::string const& file, std::function<int(std::string const&)> const& work) {
    auto const text = xim::read_text(file);
    if (!text) {
        std::cerr << "Cannot read " << file << '\n';
        return 2;
    }
    try {
        return work(*text);
    } catch (Json::Exception const& problem) {
        std::cerr << file << ": " << problem.what() << '\n';
        return 2;
    }
}

}  // namespace

int main(int count, char** words) {
    CLI::App app{"Prices derivatives and structured products."};
    app.require_subcommand(1);
    std::string file;
    xim::Overrides overrides;

    // A route is a command of its own name: anything that starts with a slash.
    std::string route;
    if (count > 1 && words[1][0] == '/') {
        route = words[1];
        auto* raw = app.add_subcommand(route, "Answer of the route as JSON");
        add_options(*raw, file, overrides);
    }
    auto* price =
        app.add_subcommand("price", "Price, confidence interval, standard error and greeks");
    auto* contract =
        app.add_subcommand("contract", "Script, underlyings, fixings and events of a contract");
    add_options(*price, file, overrides);
    add_options(*contract, file, overrides);
    auto* ladder = app.add_subcommand(
        "ladder", "Price and greeks over shifts of the market or of features of the contract");
    add_options(*ladder, file, overrides);
    std::string plot_file;
    ladder->add_option("--plot", plot_file,
                       "also draw the ladder into this file, .svg or .png, with gnuplot");
    auto* solve = app.add_subcommand("solve", "The features that give the contract a wanted price");
    add_options(*solve, file, overrides);
    app.footer("xim /ROUTE request.json runs any route of the library and prints its JSON answer.");
    CLI11_PARSE(app, count, words);

    return with_request(file, [&](std::string const& text) {
        if (price->parsed()) {
            return report_route("/GetPrice", xim::prepare(text, overrides), xim::report_price);
        }
        if (contract->parsed()) {
            return report_route("/GetContract", xim::prepare(text, overrides),
                                xim::report_contract);
        }
        if (ladder->parsed()) {
            return run_ladder(xim::prepare(text, overrides), plot_file);
        }
        if (solve->parsed()) {
            return report_route("/GetImpliedContractFeature", xim::prepare(text, overrides),
                                xim::report_solution);
        }
        bool const as_it_stands = overrides.markets.empty() && !overrides.trials &&
                                  !overrides.threads && !overrides.contract_date;
        return print_route(route, as_it_stands ? text
                                               : Json::writeString(Json::StreamWriterBuilder(),
                                                                   xim::prepare(text, overrides)));
    });
}
