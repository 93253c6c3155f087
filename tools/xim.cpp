// The command line of the library.
//
//   xim /GetPrice request.json      the answer of any route as JSON
//   xim price request.json          price and greeks for a person
//   xim contract request.json       what the contract is and what has happened to it
//   xim ladder request.json         price and greeks over shifts of the market or the contract
//   xim solve request.json          the features that give the contract a wanted price
//   xim replicate request.json      the payoff as a portfolio of options
//   xim details request.json        payments, conditions, fixings and convergence of a simulation
//   xim calibrate request.json      the volatilities that a contract takes from the market
//   xim smile request.json          option values over strikes, of a model or of Heston parameters
//   xim diffuse request.json        paths of a basket

#include <json/writer.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <iostream>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "calibration.hpp"
#include "command.hpp"
#include "details.hpp"
#include "diffusion.hpp"
#include "gnuplot.hpp"
#include "ladder.hpp"
#include "plot.hpp"
#include "remarks.hpp"
#include "replication.hpp"
#include "report.hpp"
#include "smile.hpp"
#include "ximAPI/simulation.hpp"

namespace {

using Reporter = std::function<void(Json::Value const& answer, std::ostream& out)>;

/// Prints the whole answer, whatever it is. The exit status tells success.
int print_route(std::string const& path, std::string const& request) {
    xim::Answer const answer = xim::run(path, request);
    std::cout << answer.text;
    return answer.success ? 0 : 1;
}

void report_lines(std::vector<std::string> const& lines) {
    for (std::string const& line : lines) std::cerr << "WARNING: " << line << '\n';
}

/// The answer of a route. Nothing if it failed; what went wrong goes to the standard error.
std::optional<Json::Value> answer_of(std::string const& path, Json::Value const& request) {
    xim::Answer answer = xim::run(path, Json::writeString(Json::StreamWriterBuilder(), request));
    xim::report_log(answer.document, std::cerr);
    xim::report_script(request, std::cerr);
    if (!answer.success) {
        report_lines(xim::find_gaps(request, path));
        report_lines(xim::find_unreadable_sources(request));
        std::cerr << "The request failed.\n";
        return std::nullopt;
    }
    return std::move(answer.document);
}

/// Runs a route and reports it.
int report_route(std::string const& path, Json::Value const& request, Reporter const& report) {
    auto const answer = answer_of(path, request);
    if (!answer) return 1;
    report(*answer, std::cout);
    return 0;
}

/// A price that is no number, and one of 0 from a grid without levels, have a reason in the
/// request.
int run_price(Json::Value const& request) {
    auto const answer = answer_of("/GetPrice", request);
    if (!answer) return 1;
    report_lines(xim::find_gaps(request, "/GetPrice"));
    xim::report_price(*answer, std::cout);
    return 0;
}

/// Draws what `make_plot` made; without a file there is nothing to do.
int draw_plot(std::string const& file, auto const& drawn) {
    if (file.empty()) return 0;
    auto const commands = xim::make_plot(drawn, file);
    if (!commands) {
        std::cerr << "There are no points to draw.\n";
        return 1;
    }
    if (auto const problem = xim::draw(*commands)) {
        std::cerr << *problem << '\n';
        return 1;
    }
    return 0;
}

/// Chooses the engine of the simulation; without a name the library does.
void choose_engine(std::string const& name) {
    ximAPI::SetSimulationEngine(name == "reference" ? ximAPI::SimulationEngine::REFERENCE
                                                    : ximAPI::SimulationEngine::AUTOMATIC);
}

/// Where an engine was asked for, a last line says which one ran.
int with_engine(std::string const& name, std::function<int()> const& work) {
    choose_engine(name);
    int const status = work();
    if (status == 0 && !name.empty())
        std::cout << "Engine           "
                  << (ximAPI::LastSimulationRanInBlocks() ? "block" : "reference") << '\n';
    return status;
}

/// Runs the ladder that the request describes, prints it and, with a file, draws it.
int run_ladder(Json::Value const& request, std::string const& plot_file) {
    auto const route = xim::find_ladder_route(request);
    if (!route) {
        std::cerr << "The request has none of \"Pricer\".\"Ladder\", \"Ladder1D\" and "
                     "\"Ladder2D\".\n";
        return 2;
    }
    auto const answer = answer_of(*route, request);
    if (!answer) return 1;
    xim::Ladder const ladder = xim::read_ladder(*answer, *route);
    xim::report_ladder(ladder, std::cout);
    return draw_plot(plot_file, ladder);
}

int run_solver(Json::Value const& request) {
    if (!request["Pricer"].isObject() || !request["Pricer"]["Solver"].isObject()) {
        std::cerr << "The request has no \"Pricer\".\"Solver\".\n";
        return 2;
    }
    return report_route("/GetImpliedContractFeature", request, xim::report_solution);
}

/// The commands that look into a contract.
bool has_contract(Json::Value const& request) {
    if (request["ContractConfiguration"].isObject()) return true;
    std::cerr << "The request has no \"ContractConfiguration\".\n";
    return false;
}

int run_replication(Json::Value request, std::string const& plot_file) {
    if (!has_contract(request)) return 2;
    xim::prepare_replication(request);
    auto const answer = answer_of("/GetStaticReplication1D", request);
    if (!answer) return 1;
    xim::report_replication(*answer, std::cout);
    return draw_plot(plot_file, xim::replication_charts(*answer));
}

int run_details(Json::Value request, std::string const& plot_file) {
    if (!has_contract(request)) return 2;
    xim::prepare_details(request);
    auto const answer = answer_of("/GetMCPriceWithDetails", request);
    if (!answer) return 1;
    if (!xim::has_details(*answer)) {
        report_lines(xim::find_gaps(request, "/GetMCPriceWithDetails"));
        std::cerr << "The simulation gave no result.\n";
        return 1;
    }
    xim::report_details(*answer, std::cout);
    return draw_plot(plot_file, xim::details_charts(*answer));
}

int run_calibration(Json::Value const& request, std::string const& plot_file) {
    if (!has_contract(request)) return 2;
    auto const flat = answer_of("/GetBlackScholesCalibration", request);
    if (!flat) return 1;
    auto const term_structure = answer_of("/GetBlackScholesTermStructureCalibration", request);
    if (!term_structure) return 1;
    xim::report_calibration(*flat, *term_structure, std::cout);
    return draw_plot(plot_file, xim::calibration_charts(*flat, *term_structure));
}

int run_smile(Json::Value request, std::optional<xim::Spaces> const& spaces,
              std::string const& plot_file) {
    auto const route = xim::find_smile_route(request);
    if (!route) {
        std::cerr << "The request has neither \"Model\".\"Repricing\" nor \"ModelConfiguration\"."
                     "\"HestonStochasticVolatilityModel\".\n";
        return 2;
    }
    constexpr std::uint32_t c_most_spaces = 100'000;
    if (spaces && (spaces->size == 0 || spaces->size > c_most_spaces)) {
        std::cerr << "--spaces wants 1 to " << c_most_spaces << " strikes.\n";
        return 2;
    }
    if (spaces) xim::set_spaces(request, *route, *spaces);
    auto const answer = answer_of(*route, request);
    if (!answer) return 1;
    xim::report_smile(*answer, *route, std::cout);
    return draw_plot(plot_file, xim::smile_charts(*answer, *route));
}

/// One call for each path; the log of the first tells all.
int run_diffusion(Json::Value request, std::int32_t nb_paths, std::string const& plot_file) {
    auto const first = xim::find_trajectory(request);
    if (!first) {
        std::cerr << "The request has no \"Model\".\"Diffusion\".\n";
        return 2;
    }
    if (*first > std::numeric_limits<std::int32_t>::max() - nb_paths) {
        std::cerr << "\"Trajectory\" and --paths together are too large.\n";
        return 2;
    }
    if (auto const settings = xim::make_settings_request(request)) {
        if (!answer_of("/GetPrice", *settings)) return 1;
    }
    xim::Fan fan;
    for (std::int32_t k = 0; k < nb_paths; ++k) {
        xim::set_trajectory(request, *first + k);
        auto const answer =
            xim::run("/GetModelDiffusion", Json::writeString(Json::StreamWriterBuilder(), request));
        if (k == 0 || !answer.success) xim::report_log(answer.document, std::cerr);
        if (!answer.success) {
            report_lines(xim::find_gaps(request, "/GetModelDiffusion"));
            std::cerr << "Path " << *first + k << " failed.\n";
            return 1;
        }
        xim::add_path(fan, *first + k, answer.document);
    }
    xim::report_fan(fan, std::cout);
    return draw_plot(plot_file, xim::fan_charts(fan));
}

/// What the words of a call are read into.
struct Words {
    std::string route;
    std::string file;
    std::string plot_file;
    std::string engine;
    xim::Overrides overrides;
    std::tuple<double, double, std::uint32_t> spaces;
    CLI::Option* spaces_option{};
    std::int32_t nb_paths{1};
};

/// A command and what it does with its request.
struct Command {
    CLI::App* app;
    std::function<int(Json::Value const& request)> work;
};

void add_options(CLI::App& command, Words& words) {
    command.add_option("request", words.file, "JSON request document; - reads the standard input")
        ->required();
    command.add_option("--market", words.overrides.markets,
                       "market file to price on, without a login; may be given several times, the "
                       "first has priority");
    command.add_option("--trials", words.overrides.trials,
                       "number of paths, in place of the request's");
    command.add_option("--threads", words.overrides.threads,
                       "number of threads, in place of the request's");
    command.add_option("--date", words.overrides.contract_date,
                       "valuation date of contract and model, in place of the request's");
}

/// A command that only prints.
Command add_printed(CLI::App& app, Words& words, char const* name, char const* what,
                    std::function<int(Json::Value const&)> work) {
    CLI::App* const command = app.add_subcommand(name, what);
    add_options(*command, words);
    return {command, std::move(work)};
}

/// A command that prints and draws.
Command add_drawn(CLI::App& app, Words& words, char const* name, char const* what,
                  std::function<int(Json::Value const&)> work) {
    Command command = add_printed(app, words, name, what, std::move(work));
    command.app->add_option("--plot", words.plot_file,
                            "also draw into this file, .svg or .png, with gnuplot");
    return command;
}

std::vector<Command> add_pricing_commands(CLI::App& app, Words& words) {
    std::vector<Command> commands{
        add_printed(app, words, "price", "Price, confidence interval, standard error and greeks",
                    [&](auto const& request) {
                        return with_engine(words.engine, [&] { return run_price(request); });
                    }),
        add_printed(app, words, "contract", "Script, underlyings, fixings and events of a contract",
                    [](auto const& request) {
                        return report_route("/GetContract", request, xim::report_contract);
                    }),
        add_drawn(app, words, "ladder",
                  "Price and greeks over shifts of the market or of features of the contract",
                  [&](auto const& request) {
                      return with_engine(words.engine,
                                         [&] { return run_ladder(request, words.plot_file); });
                  }),
        add_printed(app, words, "solve", "The features that give the contract a wanted price",
                    [](auto const& request) { return run_solver(request); }),
    };
    for (char const* name : {"price", "ladder"})
        app.get_subcommand(name)
            ->add_option("--engine", words.engine,
                         "engine of a simulation, to compare: reference works path by path, block "
                         "on blocks of paths where contract and model allow; the last line says "
                         "which one ran")
            ->check(CLI::IsMember({"reference", "block"}));
    return commands;
}

std::vector<Command> add_analysis_commands(CLI::App& app, Words& words) {
    std::vector<Command> commands{
        add_drawn(app, words, "replicate",
                  "A payoff of one fixing as a portfolio of a zero coupon, puts and calls; 100 "
                  "strikes on each side, from 0.5 to 1.5 times the forward, unless the request "
                  "says otherwise",
                  [&](auto const& request) { return run_replication(request, words.plot_file); }),
        add_drawn(app, words, "details",
                  "Simulation with payments, probabilities, conditions, forward fixings, duration "
                  "and convergence",
                  [&](auto const& request) { return run_details(request, words.plot_file); }),
        add_drawn(app, words, "calibrate",
                  "The volatilities that a contract takes from the market, flat and between its "
                  "fixing dates",
                  [&](auto const& request) { return run_calibration(request, words.plot_file); }),
        add_drawn(app, words, "smile",
                  "Option values over strikes: of a model against the market, or of Heston "
                  "parameters",
                  [&](auto const& request) {
                      auto const [first, last, size] = words.spaces;
                      auto const spaces = words.spaces_option->count() > 0
                                              ? std::optional(xim::Spaces{first, last, size})
                                              : std::nullopt;
                      return run_smile(request, spaces, words.plot_file);
                  }),
        add_drawn(app, words, "diffuse", "Paths of a basket, from that of the request on",
                  [&](auto const& request) {
                      return run_diffusion(request, words.nb_paths, words.plot_file);
                  }),
    };
    words.spaces_option =
        app.get_subcommand("smile")->add_option("--spaces", words.spaces,
                                                "first, last and number of strikes, in place of "
                                                "the request's");
    app.get_subcommand("diffuse")
        ->add_option("--paths", words.nb_paths, "number of paths")
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
    return commands;
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

/// Whether a word stands where a command does and is none.
bool is_unknown(std::string const& word, CLI::App const& app) {
    auto const commands =
        app.get_subcommands([&](CLI::App const* command) { return command->get_name() == word; });
    return !word.starts_with('-') && commands.empty();
}

/// Prints the answer of a route of that name.
int run_route(std::string const& text, Words const& words) {
    auto const& overrides = words.overrides;
    bool const as_it_stands = overrides.markets.empty() && !overrides.trials &&
                              !overrides.threads && !overrides.contract_date;
    return print_route(words.route, as_it_stands
                                        ? text
                                        : Json::writeString(Json::StreamWriterBuilder(),
                                                            xim::prepare(text, overrides)));
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App app{"Prices derivatives and structured products."};
    app.require_subcommand(1);
    Words words;
    // A route is a command of its own name: anything that starts with a slash.
    if (count > 1 && arguments[1][0] == '/') {
        words.route = arguments[1];
        add_options(*app.add_subcommand(words.route, "Answer of the route as JSON"), words);
    }
    std::vector<Command> commands = add_pricing_commands(app, words);
    for (Command const& command : add_analysis_commands(app, words)) commands.push_back(command);
    app.footer("xim /ROUTE request.json runs any route of the library and prints its JSON answer.");
    if (count > 1 && is_unknown(arguments[1], app)) {
        std::cerr << "Unknown command " << arguments[1] << "; xim --help lists all.\n";
        return 2;
    }
    CLI11_PARSE(app, count, arguments);

    if (!words.plot_file.empty() && !xim::is_picture(words.plot_file)) {
        std::cerr << "--plot wants a file that ends in .svg or .png, not " << words.plot_file
                  << '\n';
        return 2;
    }
    if (!words.plot_file.empty() && !xim::can_write(words.plot_file)) {
        std::cerr << "Cannot write " << words.plot_file << '\n';
        return 2;
    }
    return with_request(words.file, [&](std::string const& text) {
        for (auto const& [command, work] : commands) {
            if (!command->parsed()) continue;
            Json::Value const request = xim::prepare(text, words.overrides);
            report_lines(xim::find_remarks(request));
            return work(request);
        }
        return run_route(text, words);
    });
}
