#include "remarks.hpp"

#include <json/reader.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "api/json/engine.hpp"
#include "api/json/fields_analysis.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/json/fields_results.hpp"
#include "api/json/products.hpp"
#include "command.hpp"
#include "ximAPI/ximAPI.hpp"

namespace xim {

namespace {

namespace Toolkit = ximAPI::Toolkit;
using Lines = std::vector<std::string>;

std::string quoted_key(std::string const& key) {
    return '"' + key + '"';
}

/// What came in against what the library writes back after it has read it.
void compare(Json::Value const& given, Json::Value const& read, std::string const& place,
             Lines& lines);

void compare_members(Json::Value const& given, Json::Value const& read, std::string const& place,
                     Lines& lines) {
    for (std::string const& key : given.getMemberNames()) {
        std::string const inner = place + '.' + quoted_key(key);
        if (read.isMember(key)) {
            compare(given[key], read[key], inner, lines);
        } else {
            lines.push_back(inner + " is an unknown key.");
        }
    }
}

void compare(Json::Value const& given, Json::Value const& read, std::string const& place,
             Lines& lines) {
    if (given.isString() && read.isString() && given != read) {
        lines.push_back(place + ": " + quoted_key(given.asString()) + " is unknown, " +
                        quoted_key(read.asString()) + " counts.");
    } else if (!given.isString() && !given.isNull() && read.isString()) {
        lines.push_back(place + " is no text.");
    } else if (given.isObject() && read.isObject()) {
        compare_members(given, read, place, lines);
    } else if (given.isArray() && read.isArray() && given.size() == read.size()) {
        for (Json::ArrayIndex i = 0; i < given.size(); ++i) {
            compare(given[i], read[i], place + '[' + std::to_string(i) + ']', lines);
        }
    }
}

/// One member, read and written back by each of the records; nothing if none of them has it.
template <class... R>
Json::Value read_back(std::string const& key, Json::Value const& value) {
    Json::Value given;
    given[key] = value;
    Json::Value written;
    if (value.isBool()) written[key] = Json::Value();  // a switch may be written only where it was
    auto const pass = [&]<class Record>(Record record) {
        Toolkit::deserialize(std::as_const(given), record);
        Toolkit::serialize(record, written);
    };
    (pass(R{}), ...);
    if (value.isBool() && written[key].isNull()) written.removeMember(key);
    return written;
}

/// The members of an object that the records R share.
template <class... R>
void check(Json::Value const& object, std::string const& place, Lines& lines,
           std::initializer_list<std::string_view> others = {}) {
    if (object.isNull()) return;
    if (!object.isObject()) {
        lines.push_back(place + " is not a JSON object.");
        return;
    }
    for (std::string const& key : object.getMemberNames()) {
        if (std::find(others.begin(), others.end(), key) != others.end()) continue;
        Json::Value given;
        given[key] = object[key];
        try {
            compare_members(given, read_back<R...>(key, object[key]), place, lines);
        } catch (Json::Exception const& problem) {
            lines.push_back(place + '.' + quoted_key(key) + ": " + problem.what());
        }
    }
}

// The classes of products whose keys are checked.
using Products =
    std::tuple<ximAPI::Console, ximAPI::File, ximAPI::AmericanOptionExample,
               ximAPI::AsianOptionExample, ximAPI::BarrierOptionExample,
               ximAPI::BarrierReverseConvertibleExample, ximAPI::ButterflySpreadOptionExample,
               ximAPI::CondorSpreadExample, ximAPI::DigitalOptionExample,
               ximAPI::DoubleBarrierOptionExample, ximAPI::EuropeanOptionExample,
               ximAPI::MultiAssetOptionExample, ximAPI::ReverseConvertibleExample,
               ximAPI::RiskReversalExample, ximAPI::SpreadOptionExample, ximAPI::StraddleExample,
               ximAPI::StrangleExample, ximAPI::Autocall, ximAPI::Vanilla>;

/// The keys of the contract and of the product that its kind names.
void check_contract(Json::Value const& contract, Lines& lines) {
    std::string const place = R"("ContractConfiguration")";
    if (!contract.isObject()) return check<ximAPI::Contract>(contract, place, lines);
    Json::Value const& text = contract["Kind"];
    auto const kind =
        text.isString() ? Toolkit::from_text<ximAPI::ContractKind>(text.asString()) : std::nullopt;
    auto const& row = Toolkit::product_table[static_cast<std::size_t>(
        kind.value_or(ximAPI::ContractKind::CONSOLE))];
    auto const check_as = [&]<std::size_t k>(std::integral_constant<std::size_t, k>) {
        using Product = std::tuple_element_t<k, Products>;
        if (row.reader == &Toolkit::read_product<Product>)
            check<ximAPI::Contract, Product>(contract, place, lines);
    };
    [&]<std::size_t... k>(std::index_sequence<k...>) {
        (check_as(std::integral_constant<std::size_t, k>{}), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<Products>>{});
    if (row.kind == ximAPI::ContractKind::CONSOLE && !contract.isMember("Script"))
        lines.push_back(place + R"( has no "Script".)");
}

/// A member of a member of the request, null where it is absent.
Json::Value const& member(Json::Value const& object, char const* key) {
    return object.isObject() ? object[key] : Json::Value::nullSingleton();
}

void check_analyses(Json::Value const& request, Lines& lines) {
    Json::Value const& pricer = member(request, "Pricer");
    Json::Value const& model = member(request, "Model");
    check<ximAPI::LadderResults>(member(pricer, "Ladder"), R"("Pricer"."Ladder")", lines);
    check<ximAPI::Ladder1DResults>(member(pricer, "Ladder1D"), R"("Pricer"."Ladder1D")", lines);
    check<ximAPI::Ladder2DResults>(member(pricer, "Ladder2D"), R"("Pricer"."Ladder2D")", lines);
    check<ximAPI::ImpliedContractFeatureResults>(member(pricer, "Solver"), R"("Pricer"."Solver")",
                                                 lines);
    check<ximAPI::ModelDiffusionResults>(member(model, "Diffusion"), R"("Model"."Diffusion")",
                                         lines);
    check<ximAPI::ModelImpliedVolatilityResults>(member(model, "Repricing"),
                                                 R"("Model"."Repricing")", lines);
    check<ximAPI::HestonImpliedVolatilityResults>(
        member(member(request, "ModelConfiguration"), "HestonStochasticVolatilityModel"),
        R"("ModelConfiguration"."HestonStochasticVolatilityModel")", lines);
}

constexpr auto c_members = std::to_array<std::string_view>(
    {"DataConfiguration", "ContractConfiguration", "ModelConfiguration", "PricerConfiguration",
     "Data", "Contract", "Model", "Pricer", "Sequence", "Schedule", "Logger"});

/// The routes that read neither the trials nor the threads.
constexpr auto c_without_simulation = std::to_array<std::string_view>(
    {"/GetContract", "/GetStaticReplication1D", "/GetBlackScholesCalibration",
     "/GetBlackScholesTermStructureCalibration", "/GetHestonImpliedVolatility"});

constexpr auto c_without_contract = std::to_array<std::string_view>(
    {"/GetModelImpliedVolatility", "/GetModelDiffusion", "/GetHestonImpliedVolatility"});
constexpr auto c_without_model = std::to_array<std::string_view>(
    {"/GetContract", "/GetStaticReplication1D", "/GetHestonImpliedVolatility"});

bool is_among(auto const& routes, std::string_view route) {
    return std::find(routes.begin(), routes.end(), route) != routes.end();
}

bool is_simulated(Json::Value const& pricer) {
    Json::Value const& method = member(pricer, "Method");
    return method != "FINITE_DIFFERENCE" && method != "STATIC_REPLICATION";
}

/// Whether a number is absent or 0; true for no other value.
bool is_zero(Json::Value const& value) {
    return value.isNull() || (value.isNumeric() && value.asDouble() == 0.0);
}

}  // namespace

std::vector<std::string> find_remarks(Json::Value const& request) {
    Lines lines;
    for (std::string const& key : request.getMemberNames()) {
        if (std::find(c_members.begin(), c_members.end(), key) == c_members.end())
            lines.push_back(quoted_key(key) + " is an unknown key.");
    }
    check<ximAPI::Data>(request["DataConfiguration"], R"("DataConfiguration")", lines);
    check_contract(request["ContractConfiguration"], lines);
    check<ximAPI::Model>(
        request["ModelConfiguration"], R"("ModelConfiguration")", lines,
        {"BlackScholesModel", "BlackScholesTermStructureModel", "HestonStochasticVolatilityModel"});
    check<ximAPI::Pricer>(request["PricerConfiguration"], R"("PricerConfiguration")", lines);
    check_analyses(request, lines);
    return lines;
}

std::vector<std::string> find_gaps(Json::Value const& request, std::string_view route) {
    Lines lines;
    auto const ask = [&](char const* record, char const* key) {
        if (member(member(request, record), key).isNull())
            lines.push_back(quoted_key(record) + " has no " + quoted_key(key) + '.');
    };
    if (!is_among(c_without_contract, route)) ask("ContractConfiguration", "Date");
    if (!is_among(c_without_model, route)) ask("ModelConfiguration", "CalibrationDate");
    if (is_among(c_without_simulation, route)) return lines;
    Json::Value const& pricer = member(request, "PricerConfiguration");
    for (char const* key : {"MonteCarloTrials", "MonteCarloNbThreads"}) {
        if (is_simulated(pricer) && is_zero(member(pricer, key)))
            lines.push_back(std::string(R"(A simulation needs "PricerConfiguration".")") + key +
                            R"(" above 0.)");
    }
    if (member(pricer, "Method") == "STATIC_REPLICATION" &&
        (is_zero(member(pricer, "ClosedFormMoneynessGridSize")) ||
         member(pricer, "ClosedFormMoneynessGridLowerBound") ==
             member(pricer, "ClosedFormMoneynessGridUpperBound"))) {
        lines.emplace_back(
            R"(A static replication needs "ClosedFormMoneynessGridSize", )"
            R"("ClosedFormMoneynessGridLowerBound" and "ClosedFormMoneynessGridUpperBound" in )"
            R"("PricerConfiguration".)");
    }
    Json::Value const& trajectory =
        member(member(member(request, "Model"), "Diffusion"), "Trajectory");
    Json::Value const& trials = member(pricer, "MonteCarloTrials");
    if (route == "/GetModelDiffusion" && trajectory.isInt() && trials.isInt() &&
        trajectory >= trials)
        lines.emplace_back(R"("Trajectory" must stay below "MonteCarloTrials".)");
    return lines;
}

std::vector<std::string> find_unreadable_sources(Json::Value const& request) {
    Lines lines;
    for (Json::Value const& source : member(member(request, "DataConfiguration"), "Sources")) {
        Json::Value const& file = member(source, "File");
        auto const text = file.isString() ? read_text(file.asString()) : std::nullopt;
        if (!text) continue;
        Json::Value ignored;
        std::string problems;
        std::istringstream stream(*text);
        if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &ignored, &problems))
            lines.push_back("The market file " + file.asString() + " is no JSON.");
    }
    return lines;
}

}  // namespace xim
