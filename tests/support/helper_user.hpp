// The calibrated helper of a contract, for tests of what reads it.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/pricer.hpp"

namespace ximCORE::Pricing {

/// Hands the calibrated helper to `work` in place of a simulation.
class HelperUser final : public Pricer {
 public:
    using Work = std::function<void(Modeling::MCHelper&)>;
    explicit HelperUser(Work work) : m_work(std::move(work)) {}

 protected:
    bool run_core(Contract::Contract&, Modeling::Model* model) override {
        m_work(*model->safe_new_MC_helper());
        return true;
    }
    Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override {
        return model->safe_new_MC_helper();
    }
    void _c_safe_delete_helper(Modeling::Model* model) const override {
        model->safe_delete_MC_helper();
    }

 private:
    Work m_work;
};

/// Calls work(helper) on the calibrated Black-Scholes market of a contract.
inline void with_helper(Contract::Contract& contract, Toolbox::Date const& today,
                        HelperUser::Work const& work) {
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    EXPECT_TRUE(model->get_dependencies(contract));
    EXPECT_TRUE(HelperUser(work).run(contract, model.get()));
}

}  // namespace ximCORE::Pricing
