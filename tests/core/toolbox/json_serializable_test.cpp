#include "core/toolbox/json_serializable.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

#include <array>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::Raises;

namespace {

Json::Value document() {
    Json::Value json;
    json["int"] = 7;
    json["text"] = "abcdef";
    json["bool"] = true;
    json["double"] = 0.25;
    json["null"] = Json::Value();
    json["object"]["int"] = 3;
    return json;
}

/// Neither reads nor writes.
class Mute final : public JsonSerializable {};

/// Reads one whole number.
class Number final : public JsonSerializable {
 public:
    void deserialize(Json::Value const& json) override {
        EXPECT_TRUE(s_set_int(json, "int", value));
    }
    std::int32_t value{0};
};

TEST(JsonSerializable, APresentMemberSetsItsTarget) {
    Json::Value const json = document();
    std::int32_t whole = 0;
    std::string text;
    bool flag = false;
    double real = 0.0;
    float single = 0.0F;
    EXPECT_TRUE(JsonSerializable::s_set_int(json, "int", whole));
    EXPECT_TRUE(JsonSerializable::s_set_string(json, "text", text));
    EXPECT_TRUE(JsonSerializable::s_set_cstring(json, "text"));
    EXPECT_TRUE(JsonSerializable::s_set_bool(json, "bool", flag));
    EXPECT_TRUE(JsonSerializable::s_set_double(json, "double", real));
    EXPECT_TRUE(JsonSerializable::s_set_float(json, "double", single));
    EXPECT_EQ(whole, 7);
    EXPECT_EQ(text, "abcdef");
    EXPECT_TRUE(flag);
    EXPECT_EQ(real, 0.25);
    EXPECT_EQ(single, 0.25F);
}

TEST(JsonSerializable, AnAbsentOrNullMemberLeavesItsTarget) {
    Json::Value const json = document();
    for (std::string const key : {"absent", "null"}) {
        double real = 1.5;
        std::int32_t whole = 2;
        std::string text = "kept";
        bool flag = true;
        float single = 2.5F;
        std::array<char, 8> buffer{"kept"};
        EXPECT_FALSE(JsonSerializable::s_set_double(json, key, real));
        EXPECT_FALSE(JsonSerializable::s_set_int(json, key, whole));
        EXPECT_FALSE(JsonSerializable::s_set_string(json, key, text));
        EXPECT_FALSE(JsonSerializable::s_set_cstring(json, key));
        EXPECT_FALSE(JsonSerializable::s_set_bool(json, key, flag));
        EXPECT_FALSE(JsonSerializable::s_set_float(json, key, single));
        EXPECT_FALSE(JsonSerializable::s_set_char(json, key, buffer));
        EXPECT_EQ(real, 1.5);
        EXPECT_EQ(whole, 2);
        EXPECT_EQ(text, "kept");
        EXPECT_TRUE(flag);
        EXPECT_EQ(single, 2.5F);
        EXPECT_STREQ(buffer.data(), "kept");
    }
}

TEST(JsonSerializable, AnEmptyKeyMeansTheValueItself) {
    double real = 0.0;
    EXPECT_TRUE(JsonSerializable::s_set_double(Json::Value(4.5), "", real));
    EXPECT_EQ(real, 4.5);
    EXPECT_FALSE(JsonSerializable::s_set_double(Json::Value(), "", real));
    EXPECT_FALSE(JsonSerializable::s_set_double(Json::Value(), "any", real));
}

TEST(JsonSerializable, ATextIsCutAtTheWidthOfItsBuffer) {
    std::array<char, 4> narrow{};
    std::array<char, 8> wide{};
    EXPECT_TRUE(JsonSerializable::s_set_char(document(), "text", narrow));
    EXPECT_TRUE(JsonSerializable::s_set_char(document(), "text", wide));
    EXPECT_TRUE(JsonSerializable::s_set_char(document(), "text", std::span<char>{}));
    EXPECT_STREQ(narrow.data(), "abc");
    EXPECT_STREQ(wide.data(), "abcdef");
}

TEST(JsonSerializable, AnObjectIsReadByItsOwnOperation) {
    Number number;
    EXPECT_TRUE(JsonSerializable::s_set_object(document(), "object", number));
    EXPECT_EQ(number.value, 3);
    EXPECT_FALSE(JsonSerializable::s_set_object(document(), "absent", number));
}

TEST(JsonSerializable, AnObjectThatReadsNothingIsSetAllTheSame) {
    Mute mute;
    EXPECT_TRUE(JsonSerializable::s_set_object(document(), "object", mute));
    Json::Value json;
    mute.serialize(json);
    EXPECT_TRUE(json.isNull());
}

TEST(JsonSerializable, AValueOfTheWrongTypeRaisesTheExceptionOfTheReader) {
    std::int32_t whole = 0;
    EXPECT_THAT([&] { return JsonSerializable::s_set_int(document(), "text", whole); },
                Raises<Json::LogicError>());
    EXPECT_THAT([&] { return JsonSerializable::s_set_int(Json::Value("text"), "int", whole); },
                Raises<Json::LogicError>());
    EXPECT_THAT([&] { return JsonSerializable::s_set_cstring(document(), "int"); },
                Raises<Json::LogicError>());
}

}  // namespace
