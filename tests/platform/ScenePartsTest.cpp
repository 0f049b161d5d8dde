#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/SceneParts.h"
#include "tlx/platform/uikit/UIButton.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::HasSubstr;

struct Panel : UIView {
  void pressed_(const std::shared_ptr<UIButton>&) {}
  std::weak_ptr<UILabel> label, title;
};

TEST(SceneConnections, AreRefusedByNameWhereSceneAndClassDisagree) {
  memory::MemoryPlatform platform;
  static const Class base{"Base", "UIView", {}, {}, {outlet("title", &Panel::title, "UILabel")}, {}};
  static const Class derived{
      "Panel", "Base", {}, {}, {outlet("label", &Panel::label, "UILabel")}, {action("pressed:", &Panel::pressed_)}};
  for (const Class* each : {&base, &derived}) registerClass(*each);
  registerPlatformClasses();
  using Parts = decltype(SceneParts::outlets);
  const auto panel = std::make_shared<Panel>();
  const auto text = std::make_shared<UILabel>();
  const auto button = std::make_shared<UIButton>();
  const Parts::value_type label{"label", text}, title{"title", text};
  const Parts outlets{label, title}, actions{{"pressed:", button}};
  connectScene("Scene", *panel, "Panel", {outlets, actions, {panel}});
  const struct {
    const char* what;
    const char* named;
    SceneParts spoilt;
  } rows[] = {
      {"an outlet that the scene forgot", "label", {{title}, actions, {}}},
      {"a superclass's outlet", "title", {{label}, actions, {}}},
      {"an outlet that no class declares", "lable", {{label, title, {"lable", text}}, actions, {}}},
      {"a view of another class", "title", {{label, {"title", button}}, actions, {}}},
      {"an action that no class declares", "press:", {outlets, {{"press:", button}}, {}}},
      {"an action of what cannot be pressed", "pressed:", {outlets, {{"pressed:", text}}, {}}},
  };
  for (const auto& row : rows) {
    EXPECT_THAT([&] { connectScene("Scene", *panel, "Panel", row.spoilt); },
                testing::ThrowsMessage<NSException>(testing::AllOf(HasSubstr("Scene"), HasSubstr(row.named))))
        << row.what;
  }
}

}  // namespace
}  // namespace tlx
