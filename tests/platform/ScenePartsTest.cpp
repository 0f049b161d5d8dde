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

class SceneConnections : public testing::Test {
 protected:
  SceneConnections() {
    static const Class base{"Base", "UIView", {}, {}, {outlet("title", &Panel::title, "UILabel")}, {}};
    static const Class panel{
        "Panel", "Base", {}, {}, {outlet("label", &Panel::label, "UILabel")}, {action("pressed:", &Panel::pressed_)}};
    for (const Class* each : {&base, &panel}) registerClass(*each);
    registerPlatformClasses();
  }
  std::string complaint(const SceneParts& parts) {
    try {
      connectScene("Scene", *panel_, "Panel", parts);
    } catch (const NSException& exception) {
      return exception.reason();
    }
    return "nothing was raised";
  }

  memory::MemoryPlatform platform_;
  std::shared_ptr<Panel> panel_ = std::make_shared<Panel>();
  std::shared_ptr<UILabel> label_ = std::make_shared<UILabel>(), title_ = std::make_shared<UILabel>();
  std::shared_ptr<UIButton> button_ = std::make_shared<UIButton>();
  SceneParts parts_{{{"label", label_}, {"title", title_}}, {{"pressed:", button_}}, {panel_}};
};

TEST_F(SceneConnections, AreRefusedByNameWhereSceneAndClassDisagree) {
  EXPECT_EQ(complaint(parts_), "nothing was raised");
  struct Row {
    const char* what;
    const char* named;
    std::function<void(SceneParts&)> spoil;
  };
  for (const Row& row : {
           Row{"an outlet that the scene forgot", "label",
               [](SceneParts& parts) { parts.outlets.erase(parts.outlets.begin()); }},
           Row{"a superclass's outlet", "title", [](SceneParts& parts) { parts.outlets.pop_back(); }},
           Row{"an outlet that no class declares", "lable",
               [this](SceneParts& parts) { parts.outlets.emplace_back("lable", title_); }},
           Row{"a view of another class", "title",
               [this](SceneParts& parts) { parts.outlets.back().second = button_; }},
           Row{"an action that no class declares",
               "press:", [this](SceneParts& parts) { parts.actions.emplace_back("press:", button_); }},
           Row{"an action of what cannot be pressed",
               "pressed:", [this](SceneParts& parts) { parts.actions.back().second = title_; }},
       }) {
    SceneParts spoilt = parts_;
    row.spoil(spoilt);
    EXPECT_THAT(complaint(spoilt), testing::AllOf(HasSubstr("Scene"), HasSubstr(row.named))) << row.what;
  }
}

}  // namespace
}  // namespace tlx
