#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include "apps/tlx-media-picker/Json.h"

namespace tlx::program {
namespace {

TEST(Json, KeepsEveryByteOfAName) {
  struct Row {
    std::string text, json, reason;
  };
  const Row rows[] = {
      {"", R"("")", "nothing"},
      {"beach.jpg", R"("beach.jpg")", "plain"},
      {"caf\xc3\xa9 \xe6\xb5\xb7 \xf0\x9f\x8f\x96", "\"caf\xc3\xa9 \xe6\xb5\xb7 \xf0\x9f\x8f\x96\"",
       "UTF-8 stays as it is"},
      {"two\nlines\t", R"("two\u000alines\u0009")", "one object stays one line"},
      {"\"a\\b\"", R"("\"a\\b\"")", "quotes"},
      {std::string("a\0b", 3), R"("a\u0000b")", "nothing ends early"},
      {"caf\xe9.jpg", R"("caf\udce9.jpg")", "Latin-1 from an old disk"},
      {"\xc3", R"("\udcc3")", "cut in the middle of a character"},
      {"\xe6\xb5", R"("\udce6\udcb5")", "each byte for itself"},
      {"\xc0\xaf", R"("\udcc0\udcaf")", "a slash in disguise is no character"},
      {"\xed\xa0\x80", R"("\udced\udca0\udc80")", "nor is half of a pair"},
      {"\xf4\x90\x80\x80", R"("\udcf4\udc90\udc80\udc80")", "nor what lies beyond the last one"},
      {"\xff\xfe", R"("\udcff\udcfe")", "never part of any character"},
  };
  for (const Row& row : rows) {
    const std::string json = jsonString(row.text);
    EXPECT_EQ(json, row.json) << row.reason;
    const QByteArray array = "[" + QByteArray::fromStdString(json) + "]";
    EXPECT_TRUE(QJsonDocument::fromJson(array).array().at(0).isString()) << json << " is not read by others";
  }
}

TEST(Json, NumbersReadBackTheSame) {
  for (const double number : {0.0, 3.0, 12.48, 1.0 / 3, 1e21, 1.7e308, 5e-324, -2.5}) {
    const std::string json = jsonNumber(number);
    const auto array = QJsonDocument::fromJson(QByteArray::fromStdString("[" + json + "]")).array();
    ASSERT_EQ(array.size(), 1) << json;
    EXPECT_EQ(array.at(0).toDouble(), number) << json;
  }
  EXPECT_EQ(jsonNumber(1600), "1600");
  EXPECT_EQ(jsonNumber(std::numeric_limits<double>::infinity()), "0");
  EXPECT_EQ(jsonNumber(std::numeric_limits<double>::quiet_NaN()), "0");
}

TEST(Json, DatesAreWholeSecondsOfUniversalTime) {
  EXPECT_EQ(isoDate(1710252309), "2024-03-12T14:05:09Z");
  EXPECT_EQ(isoDate(1710252309.9), "2024-03-12T14:05:09Z");
  EXPECT_EQ(isoDate(-0.5), "1969-12-31T23:59:59Z") << "before 1970, too, a second is counted down";
}

}  // namespace
}  // namespace tlx::program
