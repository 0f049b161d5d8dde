#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/SceneParts.h"
#include "tlx/platform/uikit/UIButton.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string>* theWakings = nullptr;

/// Tells what it finds when it awakes: its own outlet and its superclass's.
struct Panel : UIView {
  void awakeFromNib() override {
    theWakings->push_back(label.lock() && title.lock() ? "panel, connected" : "panel, unconnected");
  }
  void pressed_(const std::shared_ptr<UIButton>&) { ++presses; }
  std::weak_ptr<UILabel> label, title;
  int presses = 0;
};

struct Child : UILabel {
  void awakeFromNib() override {
    const auto panel = std::dynamic_pointer_cast<Panel>(superview());
    theWakings->push_back(panel && panel->label.lock().get() == this ? "child, connected" : "child, unconnected");
  }
};

class SceneConnections : public testing::Test {
 protected:
  SceneConnections() {
    static const Class base{"Base", "UIView", {}, {}, {outlet("title", &Panel::title, "UILabel")}, {}};
    static const Class panel{
        "Panel", "Base", {}, {}, {outlet("label", &Panel::label, "UILabel")}, {action("pressed:", &Panel::pressed_)}};
    for (const Class* each : {&base, &panel}) registerClass(*each);
    registerPlatformClasses();
    theWakings = &wakings_;
    for (const auto& each : std::vector<std::shared_ptr<UIView>>{child_, title_, button_}) panel_->addSubview(each);
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
  std::shared_ptr<Child> child_ = std::make_shared<Child>();
  std::shared_ptr<UILabel> title_ = std::make_shared<UILabel>();
  std::shared_ptr<UIButton> button_ = std::make_shared<UIButton>();
  SceneParts parts_{{{"label", child_}, {"title", title_}}, {{"pressed:", button_}}, {child_, panel_}};
  std::vector<std::string> wakings_;
};

TEST_F(SceneConnections, AreThereWhenAnythingAwakesChildrenFirst) {
  connectScene("Scene", *panel_, "Panel", parts_);
  EXPECT_THAT(wakings_, ElementsAre("child, connected", "panel, connected"));
  button_->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_EQ(panel_->presses, 1);
}

TEST_F(SceneConnections, AreRefusedByNameWhereSceneAndClassDisagree) {
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
    EXPECT_TRUE(wakings_.empty()) << row.what;
  }
}

}  // namespace
}  // namespace tlx
