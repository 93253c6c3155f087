#include "core/pricing/options.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

namespace ximCORE::Pricing {
namespace {

TEST(Options, StartSwitchedOffWithBumpsOfOneBasisPoint) {
    Options const options;
    for (auto const* record :
         {&options.greeks.delta, &options.greeks.vega, &options.greeks.rho, &options.greeks.cega}) {
        EXPECT_FALSE(record->activate);
        EXPECT_EQ(record->direction, 0);
        EXPECT_EQ(record->bump, 1.0);
    }
    for (auto const* record : {&options.greeks.gamma, &options.greeks.volga, &options.greeks.xgamma,
                               &options.greeks.xvolga}) {
        EXPECT_FALSE(record->activate);
        EXPECT_EQ(record->bump, 1.0);
    }
    for (auto const* record : {&options.greeks.vanna, &options.greeks.xvanna}) {
        EXPECT_FALSE(record->activate);
        EXPECT_EQ(record->spot_bump, 1.0);
        EXPECT_EQ(record->vol_bump, 1.0);
    }
    EXPECT_FALSE(options.greeks.epsilonn.activate);
    EXPECT_EQ(options.smoothing, SmoothingType::NONE);
    EXPECT_EQ(options.method, PricingMethod::MONTE_CARLO);
}

TEST(Options, EnginesStartAtTheirDocumentedValues) {
    MCOptions const simulation;
    EXPECT_EQ(simulation.trials, 100000U);
    EXPECT_EQ(simulation.nb_threads, 1U);
    EXPECT_EQ(simulation.confidence_level, 95.0);
    EXPECT_EQ(simulation.antithetic_factor, 0.0);
    CFOptions const closed_form;
    EXPECT_EQ(closed_form.moneyness_grid_size, 0U);
    EXPECT_EQ(closed_form.grid_lower_bound, 0.0);
    EXPECT_EQ(closed_form.grid_upper_bound, 0.0);
    EXPECT_FALSE(PDEOptions().use_richardson_romberg);
}

TEST(Options, EnumeratorsStandInTheOrderOfTheirTexts) {
    EXPECT_EQ(static_cast<int>(SmoothingType::LOWER), 1);
    EXPECT_EQ(static_cast<int>(SmoothingType::SYMETRIC), 2);
    EXPECT_EQ(static_cast<int>(SmoothingType::UPPER), 3);
    EXPECT_EQ(static_cast<int>(PricingMethod::FINITE_DIFFERENCE), 1);
    EXPECT_EQ(static_cast<int>(PricingMethod::STATIC_REPLICATION), 2);
    EXPECT_EQ(static_cast<int>(PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION), 3);
}

TEST(Options, GreeksAreWrittenUnderTheirOddKeys) {
    Options::Greeks greeks;
    greeks.vega.activate = true;
    greeks.vega.direction = -1;
    greeks.vega.bump = 25.0;
    greeks.xvanna.spot_bump = 2.0;
    greeks.xvanna.vol_bump = 3.0;
    greeks.gamma.bump = 4.0;
    Json::Value json;
    greeks.serialize(json);
    EXPECT_EQ(json.getMemberNames(),
              (std::vector<std::string>{"Cega", "Delta", "Epsilonn", "Gamma", "Rho//", "Vanna//",
                                        "Vega//", "Volga//", "XGamma", "XVanna//", "XVolga//"}));
    EXPECT_TRUE(json["Vega//"]["Activate"].asBool());
    EXPECT_EQ(json["Vega//"]["FDM"].asInt(), -1);
    EXPECT_EQ(json["Vega//"]["Bump"].asDouble(), 25.0);
    EXPECT_EQ(json["XVanna//"]["SpotBump"].asDouble(), 2.0);
    EXPECT_EQ(json["XVanna//"]["VolBump"].asDouble(), 3.0);
    EXPECT_EQ(json["Gamma"]["Bump"].asDouble(), 4.0);
    EXPECT_FALSE(json["Gamma"].isMember("FDM"));
    EXPECT_TRUE(json["Epsilonn"].isNull());
}

TEST(Options, GreeksComeBackFromTheirJsonForm) {
    Options::Greeks written;
    written.delta.activate = written.xvolga.activate = written.vanna.activate = true;
    written.rho.direction = 1;
    written.volga.bump = 7.0;
    written.vanna.vol_bump = 9.0;
    Json::Value json;
    written.serialize(json);
    Options::Greeks read;
    read.deserialize(json);
    EXPECT_TRUE(read.delta.activate && read.xvolga.activate && read.vanna.activate);
    EXPECT_FALSE(read.vega.activate || read.cega.activate || read.xgamma.activate);
    EXPECT_EQ(read.rho.direction, 1);
    EXPECT_EQ(read.volga.bump, 7.0);
    EXPECT_EQ(read.vanna.vol_bump, 9.0);
}

TEST(Options, WhatTheJsonFormLeavesOutKeepsItsValue) {
    Options::Greeks greeks;
    greeks.delta.bump = 5.0;
    greeks.epsilonn.activate = true;
    Json::Value json;
    json["Rho//"]["Activate"] = true;
    json["Delta"]["Activate"] = true;
    json["Epsilonn"]["Activate"] = false;
    greeks.deserialize(json);
    EXPECT_TRUE(greeks.rho.activate);
    EXPECT_TRUE(greeks.delta.activate);
    EXPECT_EQ(greeks.delta.bump, 5.0);
    EXPECT_TRUE(greeks.epsilonn.activate);  // it has no JSON form of its own
}

}  // namespace
}  // namespace ximCORE::Pricing
