#include "core/contract/path_constants.hpp"

#include <functional>
#include <random>

#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Contract {
namespace {

using namespace Testing;

constexpr char const* c_fixing = "2023-07-02";
constexpr char const* c_payment = "2024-01-01";

class PathConstants : public ContractCase {
 protected:
    static std::vector<double*> places(CashFlow& root, std::string const& name) {
        std::vector<double*> found;
        root.unsafe_get_tags(name, found);
        return found;
    }
    static void assign(CashFlow& root, std::string const& name, double value) {
        for (auto* place : places(root, name)) *place = value;
    }

    Encoder encoder;
    std::uint64_t number{1};
};

TEST_F(PathConstants, AnOperationOnFixingsIsWorkedOutOnceForEachPath) {
    int const sum = encoder.add(encoder.spot("A", c_fixing), encoder.spot("B", c_fixing));
    auto const root = encoder.read(encoder.pay(encoder.mul(sum, encoder.ref("k", 2)), c_payment));
    auto on = path(root);
    keep_path_constants(*root, {"k"}, number);
    on.set("A", c_fixing, 10).set("B", c_fixing, 1);
    EXPECT_EQ(on.flow(c_payment), 22.0);
    on.set("A", c_fixing, 50);
    EXPECT_EQ(on.flow(c_payment), 22.0) << "the path has the same number";
    assign(*root, "k", 3.0);
    EXPECT_EQ(on.flow(c_payment), 33.0);
    ++number;
    EXPECT_EQ(on.flow(c_payment), 153.0);
}

TEST_F(PathConstants, AConstantThatDoesNotChangeIsKeptToo) {
    int const sum = encoder.add(encoder.spot("A", c_fixing), encoder.ref("fixed", 5));
    auto const root = encoder.read(encoder.pay(encoder.mul(sum, encoder.ref("k", 2)), c_payment));
    auto on = path(root);
    keep_path_constants(*root, {"k"}, number);
    EXPECT_EQ(on.set("A", c_fixing, 10).flow(c_payment), 30.0);
    EXPECT_EQ(on.set("A", c_fixing, 20).flow(c_payment), 30.0);
}

TEST_F(PathConstants, AReferenceToANameIsReadEachTime) {
    int const product = encoder.mul(encoder.spot("A", c_fixing), encoder.ref("k", 2));
    int const read = encoder.add(encoder.reference("name"), encoder.spot("B", c_fixing));
    auto const root =
        encoder.read(encoder.both(encoder.set("name", product), encoder.pay(read, c_payment)));
    auto on = path(root);
    keep_path_constants(*root, {"k"}, number);
    on.set("A", c_fixing, 10).set("B", c_fixing, 1);
    EXPECT_EQ(on.flow(c_payment), 21.0);
    assign(*root, "k", 4.0);
    EXPECT_EQ(on.flow(c_payment), 41.0);
}

TEST_F(PathConstants, TheLevelOfAConditionIsKeptAndItsTruthFollowsTheConstant) {
    int const sum = encoder.add(encoder.spot("A", c_fixing), encoder.spot("B", c_fixing));
    int const event = encoder.greater(sum, encoder.ref("level", 10));
    int const one = encoder.pay(encoder.number(1), c_payment);
    auto const root = encoder.read(encoder.condition(event, one, encoder.nothing()));
    auto on = path(root);
    keep_path_constants(*root, {"level"}, number);
    on.set("A", c_fixing, 10).set("B", c_fixing, 1);
    EXPECT_EQ(on.flow(c_payment), 1.0);
    assign(*root, "level", 11.0);
    EXPECT_EQ(on.flow(c_payment), 0.0);
}

TEST_F(PathConstants, RandomAmountsKeepTheirValuesToTheLastBit) {
    std::mt19937 generator(5);
    auto const below = [&](int n) {
        return static_cast<int>(generator() % static_cast<unsigned>(n));
    };
    std::function<int(int)> const amount = [&](int depth) -> int {
        if (depth == 0 || below(8) == 0) {
            switch (below(4)) {
                case 0:
                    return encoder.spot("A", c_fixing);
                case 1:
                    return encoder.spot("B", "2023-08-01");
                case 2:
                    return encoder.number(0.25 * below(20));
                default:
                    return encoder.ref(below(2) == 0 ? "k" : "fixed", 1.5);
            }
        }
        int const left = amount(depth - 1);
        int const right = amount(depth - 1);
        switch (below(3)) {
            case 0:
                return encoder.add(left, right);
            case 1:
                return encoder.mul(left, right);
            default:
                return encoder.iff(encoder.greater(left, right), left, right);
        }
    };
    for (int tree = 0; tree < 50; ++tree) {
        encoder = {};
        auto const plain = encoder.read(encoder.pay(amount(4), c_payment));
        auto const kept = plain->clone();
        auto on_plain = path(plain);
        auto on_kept = path(kept);
        keep_path_constants(*kept, {"k"}, number);
        for (int trial = 0; trial < 4; ++trial, ++number) {
            for (auto* on : {&on_plain, &on_kept})
                on->set("A", c_fixing, 0.5 + trial).set("B", "2023-08-01", 2.0 - 0.75 * trial);
            for (double const k : {0.1, 1.7, -3.3}) {
                assign(*plain, "k", k);
                assign(*kept, "k", k);
                ASSERT_EQ(on_kept.flow(c_payment), on_plain.flow(c_payment)) << tree;
            }
        }
    }
}

}  // namespace
}  // namespace ximCORE::Contract
