// Both engines of the simulation on every request of examples/, the ready products among them.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "api/entries/pricing.hpp"
#include "api/json/engine.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/plug.hpp"
#include "api/route_call.hpp"
#include "core/contract/cashflow.hpp"
#include "core/data/cache.hpp"
#include "core/data/scenario.hpp"
#include "support/both_engines.hpp"
#include "support/precompiled.hpp"

namespace ximCORE::Pricing {
namespace {

namespace fs = std::filesystem;
namespace Toolkit = ximAPI::Toolkit;
using Engine = MCOptions::Engine;

std::vector<std::string> requests() {
    std::vector<std::string> names;
    fs::path const root = fs::path(XIM_ROOT) / "examples";
    for (auto const& entry : fs::recursive_directory_iterator(root)) {
        std::string const parent = entry.path().parent_path().filename().string();
        if (entry.path().extension() == ".json" && parent != "market" && parent != "analysis")
            names.push_back(fs::relative(entry.path(), root).string());
    }
    std::ranges::sort(names);
    return names;
}

std::string name_of(testing::TestParamInfo<std::string> const& parameter) {
    std::string name = fs::path(parameter.param).replace_extension().string();
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

/// Market files are named from the root of the repository.
class ExamplesOnBothEngines : public testing::TestWithParam<std::string> {
 protected:
    ExamplesOnBothEngines() : m_before(fs::current_path()) {
        fs::current_path(XIM_ROOT);
        clear();
    }
    ~ExamplesOnBothEngines() override {
        fs::current_path(m_before);
        clear();
    }

    /// The contract and the model of the request, under its settings but for the trials.
    std::unique_ptr<Toolkit::PricingCase> make_case() {
        clear();
        std::ifstream file(fs::path("examples") / GetParam());
        auto request = ximAPI::testing::parse_json({std::istreambuf_iterator<char>(file), {}});
        request["PricerConfiguration"]["Method"] = "MONTE_CARLO";
        request["PricerConfiguration"]["WithGreeks"] = false;
        request["PricerConfiguration"]["MonteCarloTrials"] = 203;
        request["PricerConfiguration"]["MonteCarloNbThreads"] = 1;
        ximAPI::Data data;
        ximAPI::Contract contract;
        ximAPI::Model model;
        ximAPI::Pricer pricer;
        Toolkit::deserialize(request["DataConfiguration"], data);
        Toolkit::deserialize(request["ContractConfiguration"], contract);
        Toolkit::deserialize(request["ModelConfiguration"], model);
        Toolkit::deserialize(request["PricerConfiguration"], pricer);
        m_has_program = model.Name != ximAPI::ModelName::DUPIRE_LOCAL_VOLATILITY_MODEL;
        return Toolkit::make_pricing_case(data, contract, model, pricer);
    }

    void expect_engine(Engine engine) const {
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks,
                  engine == Engine::automatic && m_has_program);
    }

    Results price(Toolkit::PricingCase& what, Engine engine) {
        MCPricerOptions::s_options.engine = engine;
        auto const pricer = get_pricer();
        EXPECT_TRUE(pricer->run(what.contract, what.model.get()));
        expect_engine(engine);
        return pricer->c_get_results();
    }

    std::vector<ContractLadderResults> climb(Toolkit::PricingCase& what, Engine engine,
                                             std::vector<ContractLadderResults> points) {
        MCPricerOptions::s_options.engine = engine;
        auto const ladder = get_contract_ladder();
        ladder->get_results() = std::move(points);
        EXPECT_TRUE(ladder->run(what.contract, what.model.get()));
        expect_engine(engine);
        return ladder->get_results();
    }

    /// The names of the numbers that a ladder can move.
    static std::set<std::string> features(Contract::Contract const& contract) {
        std::string text;
        std::uint64_t indent = 0;
        contract.get_current()->c_to_string(text, indent, 0, 0);
        std::regex const pattern("CstRef\\(\"([^\"]+)\"");
        std::set<std::string> names;
        for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it)
            names.insert((*it)[1]);
        return names;
    }

 private:
    /// No test sees the settings and market data of another.
    static void clear() {
        Toolkit::plug_data_parameters({});
        Toolkit::plug_contract_parameters({});
        Toolkit::plug_model_parameters({});
        Toolkit::plug_pricing_parameters({});
        Data::MarketDataCache::s_get().clear();
        Data::MarketDataScenario::s_get().clear();
        Toolbox::Log::s_get().clear();
        MCPricerOptions::s_options.engine = Engine::automatic;
    }

    fs::path m_before;
    bool m_has_program{true};
};

TEST_P(ExamplesOnBothEngines, HaveOnePrice) {
    auto const what = make_case();
    ASSERT_NE(what, nullptr);
    for (auto const smoothing : {SmoothingType::NONE, SmoothingType::LOWER, SmoothingType::SYMETRIC,
                                 SmoothingType::UPPER}) {
        PricerOptions::s_options.smoothing = smoothing;
        auto const block = price(*what, Engine::automatic);
        expect_same(block, price(*what, Engine::reference), 1.0, 1e-12);
    }
}

TEST_P(ExamplesOnBothEngines, HaveTheSameSensitivities) {
    auto const what = make_case();
    ASSERT_NE(what, nullptr);
    MCPricerOptions::s_options.trials = 67;
    activate_block_greeks(0, 1, -1);
    auto const block = price(*what, Engine::automatic);
    expect_same(block, price(*what, Engine::reference), 1.0, 1e-12);
}

TEST_P(ExamplesOnBothEngines, HaveTheSameAdjoints) {
    auto const what = make_case();
    ASSERT_NE(what, nullptr);
    activate_adjoints();
    for (auto const smoothing : {SmoothingType::NONE, SmoothingType::SYMETRIC}) {
        PricerOptions::s_options.smoothing = smoothing;
        auto const block = price(*what, Engine::automatic);
        expect_same(block, price(*what, Engine::reference), 1.0, 1e-12);
    }
}

TEST_P(ExamplesOnBothEngines, HaveTheSameLadders) {
    auto const what = make_case();
    ASSERT_NE(what, nullptr);
    using Shift = Data::MarketDataShift;
    std::vector<ContractLadderResults> points(1);
    for (auto const& name : features(what->contract))
        for (double const factor : {0.9, 1.2}) {
            Shift const shift{Shift::Kind::multiplicative, Shift::Unit::none, factor};
            points.push_back({{{name, shift}}, {}});
        }
    auto const block = climb(*what, Engine::automatic, points);
    auto const reference = climb(*what, Engine::reference, points);
    for (std::size_t i = 0; i < points.size(); ++i)
        expect_same(block[i].results, reference[i].results, 1.0, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(All, ExamplesOnBothEngines, testing::ValuesIn(requests()), name_of);

}  // namespace
}  // namespace ximCORE::Pricing
