#include "base/json.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace orvel {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(Json, OnlyTopLevelStringsAreReturned) {
  const std::vector<std::pair<std::string, TextMap>> rows{
      {"{}", {}},
      {" \t\r\n{ \n } \r\n", {}},
      {R"({"a":"b"})", {{"a", "b"}}},
      {R"({ "a" : "b" , "" : "" })", {{"a", "b"}, {"", ""}}},
      {R"({"a":1,"b":null,"c":true,"d":false,"e":["x"],"f":{"a":"x"},"g":"y"})", {{"g", "y"}}},
      {R"({"n":[0,-0,10,1.5,-1.25e10,1E+2,2e-7,1e308],"o":[[],{},[{}],""]})", {}},
      // The last of two members with the same name counts.
      {R"({"a":"1","a":"2"})", {{"a", "2"}}},
      {R"({"a":"1","a":2})", {}},
      {R"({"a":2,"a":"1"})", {{"a", "1"}}},
      // Names with a special meaning in JavaScript.
      {R"({"__proto__":"x","0":"y","toString":"z"})",
       {{"__proto__", "x"}, {"0", "y"}, {"toString", "z"}}},
      {R"({"\u0061":"1"})", {{"a", "1"}}},
  };
  for (const auto &[json, texts] : rows) EXPECT_EQ(parseJsonTexts(json), texts) << json;
}

TEST(Json, LeadingByteOrderMarkIsSkipped) {
  EXPECT_EQ(parseJsonTexts("\xEF\xBB\xBF{}"), TextMap());
  EXPECT_EQ(parseJsonTexts("\xEF\xBB\xBF \r\n{\"a\":\"\xEF\xBB\xBF\"}"),
            (TextMap{{"a", "\xEF\xBB\xBF"}}));
}

TEST(Json, EscapesAreDecoded) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {R"(\"\\\/\b\f\n\r\t)", "\"\\/\b\f\n\r\t"},
      {R"(\u0041\u00e9\u20AC)", "A\xC3\xA9\xE2\x82\xAC"},
      {R"(\ud83d\ude00)", "\xF0\x9F\x98\x80"},
      {R"(\uDBFF\uDFFF)", "\xF4\x8F\xBF\xBF"},
      {R"(a\u0000b)", "a\0b"s},
      {R"(\uFFFF\uFEFF)", "\xEF\xBF\xBF\xEF\xBB\xBF"},
      {"\xC3\xA9 \x7F \xE2\x80\xA8 \xF0\x9F\x98\x80",
       "\xC3\xA9 \x7F \xE2\x80\xA8 \xF0\x9F\x98\x80"},
  };
  for (const auto &[escaped, decoded] : rows) {
    EXPECT_EQ(parseJsonTexts("{\"a\":\"" + escaped + "\"}"), (TextMap{{"a", decoded}})) << escaped;
  }
  EXPECT_EQ(parseJsonTexts(R"({"a\u0000b":"x"})"), (TextMap{{"a\0b"s, "x"}}));
}

/// A text of JSONTestSuite. Its name begins with its kind: "y_" is JSON, "n_" is not, and "i_"
/// depends on the parser.
struct SuiteText {
  std::string_view name;
  std::string_view text;
};

constexpr SuiteText suiteTexts[] = {
#include "tests/support/data/json_test_suite.inc"
};

TEST(Json, AgreesWithJsonTestSuite) {
  for (const auto &[name, text] : suiteTexts) {
    // JSON leaves the range of numbers to the parser. Of the other "i_" texts, only the one with
    // 500 levels is valid: the rest have invalid UTF-8, unpaired surrogates or a byte order mark.
    if (name.starts_with("i_number_")) continue;
    const bool isAccepted = name.starts_with("y_") || name == "i_structure_500_nested_arrays";
    // The text becomes the value of a member, because the top level must be an object.
    const std::string object = R"({"before":"x","value":)" + std::string(text) + "}";
    EXPECT_EQ(parseJsonTexts(object).has_value(), isAccepted) << name << ": " << text;
  }
}

TEST(Json, TextOtherThanOneObjectInUtf8IsRejected) {
  const std::vector<std::string> texts{
      // Other top-level values.
      "", " ", "null", "true", "1", "\"x\"", "[]", "[{}]", "undefined",
      // Syntax extensions.
      R"({"a":"b";})", R"({"a":1_0})", R"({"a":"\U0041"})", "{}//", "/**/{}", "\v{}", "\xC2\xA0{}",
      // NUL bytes and UTF-16.
      "{}\0"s, "\0{}"s, "{\"a\":\"\0\"}"s, "\xff\xfe{\0}\0"s, "{\0}\0"s, "\0{\0}"s,
      // Byte order marks that are alone, repeated, misplaced, incomplete or of UTF-16.
      "\xEF\xBB\xBF", "\xEF\xBB\xBF\xEF\xBB\xBF{}", " \xEF\xBB\xBF{}", "{}\xEF\xBB\xBF",
      "{\xEF\xBB\xBF}", "\xEF\xBB{}", "\xEF{}", "\xFE\xFF{}", "\xFF\xFE{}"};
  for (const std::string &text : texts) EXPECT_EQ(parseJsonTexts(text), std::nullopt) << text;
}

TEST(Json, TruncatedTextIsRejected) {
  const std::string whole =
      R"({"version":"1.3 \u00e9\ud83d\ude00","zip":"a.zip","n":[-1.5e3,{"x":null}],"t":true})";
  ASSERT_TRUE(parseJsonTexts(whole));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(parseJsonTexts(std::string_view(whole).substr(0, length)), std::nullopt)
        << "first " << length << " bytes";
  }
}

TEST(Json, ExcessiveNestingIsRejected) {
  const auto nested = [](std::size_t levels) {
    return R"({"a":"b","c":)" + std::string(levels, '[') + std::string(levels, ']') + "}";
  };
  // The limit depends on the platform (Linux: 512 levels).
  EXPECT_EQ(parseJsonTexts(nested(300)), (TextMap{{"a", "b"}}));
  EXPECT_EQ(parseJsonTexts(nested(1'000'000)), std::nullopt);
  constexpr std::size_t levels = 200'000;
  std::string objects;
  for (std::size_t level = 0; level < levels; ++level) objects += R"({"a":)";
  EXPECT_EQ(parseJsonTexts(objects + "1" + std::string(levels, '}')), std::nullopt);
}

TEST(Json, LargeTextIsParsed) {
  const std::string letters(2'000'000, 'x');
  EXPECT_EQ(parseJsonTexts(R"({"a":")" + letters + "\"}"), (TextMap{{"a", letters}}));
  std::string escapes;
  std::string list;
  for (int number = 0; number < 100'000; ++number) {
    escapes += "\\n";
    list += R"({"a":[1,"b"]},)";
  }
  EXPECT_EQ(parseJsonTexts(R"({"l":[)" + list + R"(0],"a":")" + escapes + "\"}"),
            (TextMap{{"a", std::string(100'000, '\n')}}));
}

}  // namespace
}  // namespace orvel
