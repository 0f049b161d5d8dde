#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include "apps/tlx-media-picker/Complaint.h"
#include "apps/tlx-media-picker/Json.h"

namespace tlx::program {
namespace {

TEST(Json, AndComplaintsKeepEveryByteAndCommandNoTerminal) {
  const struct {
    std::string text, json, shown, reason;
  } rows[] = {
      {"caf\xc3\xa9 \xe6\xb5\xb7 \xf0\x9f\x8f\x96", "\"caf\xc3\xa9 \xe6\xb5\xb7 \xf0\x9f\x8f\x96\"",
       "caf\xc3\xa9 \xe6\xb5\xb7 \xf0\x9f\x8f\x96", "UTF-8 stays as it is"},
      {"two\nlines\t", R"("two\u000alines\u0009")", R"(two\x0alines\x09)", "one line"},
      {"\"a\\b\"", R"("\"a\\b\"")", R"("a\\b")", "quotes"},
      {std::string("a\0b", 3), R"("a\u0000b")", R"(a\x00b)", "nothing ends early"},
      {"bad\x1b[2J\x7f", R"("bad\u001b[2J\u007f")", R"(bad\x1b[2J\x7f)", "clears the screen"},
      {"\xc2\x9b"
       "2J\xc2\x85",
       R"("\u009b2J\u0085")", R"(\u009b2J\u0085)", "so does this"},
      {"\xe2\x80\xaegpj.exe\xe2\x81\xa9\xd8\x9c", R"("\u202egpj.exe\u2069\u061c")", R"(\u202egpj.exe\u2069\u061c)",
       "written backwards"},
      {"\xe2\x80\xa8\xef\xbb\xbf", R"("\u2028\ufeff")", R"(\u2028\ufeff)", "another end of the line"},
      {"\xf3\xa0\x80\xa0", R"("\udb40\udc20")", R"(\U000e0020)", "what nobody sees"},
      {"\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x9a\x80", "\"\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x9a\x80\"",
       "\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x9a\x80", "a joiner in a pictogram"},
      {"caf\xe9.jpg", R"("caf\udce9.jpg")", R"(caf\xe9.jpg)", "Latin-1 from an old disk"},
      {"\xc3", R"("\udcc3")", R"(\xc3)", "cut in the middle of a character"},
      {"\xc0\xaf", R"("\udcc0\udcaf")", R"(\xc0\xaf)", "a slash in disguise is no character"},
      {"\xed\xa0\x80", R"("\udced\udca0\udc80")", R"(\xed\xa0\x80)", "nor is half of a pair"},
      {"\xf4\x90\x80\x80", R"("\udcf4\udc90\udc80\udc80")", R"(\xf4\x90\x80\x80)", "nor what lies beyond the last one"},
  };
  for (const auto& row : rows) {
    const std::string json = jsonString(row.text);
    EXPECT_EQ(json, row.json) << row.reason;
    EXPECT_EQ(shown(row.text), row.shown) << row.reason;
    const QByteArray array = "[" + QByteArray::fromStdString(json) + "]";
    EXPECT_TRUE(QJsonDocument::fromJson(array).array().at(0).isString()) << json << " is not read by others";
  }
}

}  // namespace
}  // namespace tlx::program
