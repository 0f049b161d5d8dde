#include <QQmlComponent>
#include <QQmlEngine>
#include <typeinfo>

#include "adapters/memory/SceneTable.h"
#include "adapters/qtquick/views/ViewItem.h"
#include "tests/adapters/qtquick/PickerWindow.h"
#include "tests/contracts/SceneContract.h"
#include "tests/contracts/ScreenContract.h"

namespace tlx::contracts {
namespace {

class QtSceneWorld final : public SceneWorld {
 public:
  QtSceneWorld() {
    session_.library.setStatus(PHAuthorizationStatusDenied);
    session_.platform->application().setSettingsHandler([this] {
      openedURLs_.emplace_back(UIApplicationOpenSettingsURLString);
      return true;
    });
  }

  MainQueuePort& mainQueue() override { return session_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return session_.loop.runUntil(done); }
  void settle() override { session_.wait(0); }
  ResourcePort& resources() override { return session_.platform->scenes(); }
  std::vector<std::string> openedURLs() const { return openedURLs_; }
  QQmlEngine& engine() { return session_.platform->engine(); }

 private:
  test::PickerWindow session_{{}};
  std::vector<std::string> openedURLs_;
};

INSTANTIATE_TEST_SUITE_P(Qt, SceneContract, testing::Values(&makeWorld<SceneWorld, QtSceneWorld>));

class QtScreenWorld final : public ScreenWorld {
 public:
  TextMeasurementPort& text() override { return Platform::current().ports().textMeasurement; }
  ApplicationPort& application() override { return Platform::current().ports().application; }
  std::size_t settingsOpened() override { return world_.openedURLs().size(); }

 private:
  QtSceneWorld world_;
};

INSTANTIATE_TEST_SUITE_P(Qt, ScreenContract, testing::Values(&makeWorld<ScreenWorld, QtScreenWorld>));

/// A scene as lines, a view each: what code relies on, without what is only looked at.
class SceneLines {
 public:
  void add(std::size_t depth, const std::string& type, const std::string& outlet, const std::string& action,
           std::int64_t tag, const std::string& text, bool hidden, double alpha, bool takesTouches) {
    lines.push_back(std::string(2 * depth, ' ') + type + " " + outlet + " " + action + " #" + std::to_string(tag) +
                    " \"" + text + "\"" + (hidden ? " hidden" : "") + (alpha == 1 ? "" : " faint") +
                    (takesTouches ? "" : " disabled"));
  }
  std::vector<std::string> lines;
};

void describe(const memory::SceneView& view, SceneLines& into, std::size_t depth = 0) {
  const Class* known = NSClassFromString(view.className);
  ASSERT_TRUE(known) << view.className;
  const auto made = known->alloc();
  into.add(depth, typeid(*made).name(), view.outlet, view.action, view.tag, view.text, view.hidden, view.alpha,
           view.takesTouches);
  for (const auto& each : view.subviews) describe(each, into, depth + 1);
}

void describe(const UIView& view, const SceneParts& parts, SceneLines& into, std::size_t depth = 0) {
  const auto nameIn = [&](const auto& list) {
    for (const auto& [name, object] : list) {
      if (object.get() == &view) return name;
    }
    return std::string();
  };
  std::string text;
  if (const auto* label = dynamic_cast<const UILabel*>(&view)) text = label->text();
  if (const auto* button = dynamic_cast<const UIButton*>(&view)) text = button->titleForState(UIControlStateNormal);
  into.add(depth, typeid(view).name(), nameIn(parts.outlets), nameIn(parts.actions), view.tag(), text, view.isHidden(),
           view.alpha(), view.isUserInteractionEnabled());
  if (dynamic_cast<const UIButton*>(&view)) return;  // its label and its picture are its own
  for (const auto& each : view.subviews()) describe(*each, parts, into, depth + 1);
}

class ScenesInMemory : public SceneContract {
 protected:
  /// The file's views must be those of the table; answers the reusable views that the file names.
  QStringList compare(const std::string& file, const memory::SceneView& table) {
    QQmlComponent component(
        &dynamic_cast<QtSceneWorld&>(*world_).engine(),
        QUrl(QStringLiteral("qrc:/tlx/mediapicker/TLX/MediaPicker/") + QString::fromStdString(file + ".qml")));
    auto* item = qobject_cast<qtquick::ViewItem*>(component.create());
    if (!item) {
      ADD_FAILURE() << file << ": " << component.errorString().toStdString();
      return {};
    }
    const QStringList prototypes = item->property("prototypes").toStringList();
    QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
    qtquick::ViewItem::Built built;
    item->build(built);
    SceneLines drawn, listed;
    describe(*built.view, built.parts, drawn);
    describe(table, listed);
    EXPECT_THAT(listed.lines, testing::ElementsAreArray(drawn.lines)) << file;
    return prototypes;
  }
};

/// The core's tests run on the table: what it says must be what a person meets.
TEST_P(ScenesInMemory, AreThoseThatAreDrawn) {
  std::vector<memory::Scene> scenes = memory::pickerScenes();
  for (auto& file : memory::pickerInterfaceFiles()) scenes.push_back(std::move(file));
  for (const auto& scene : scenes) {
    QStringList listed;
    for (const auto& each : scene.prototypes) {
      listed << QString::fromStdString(each.reuseIdentifier);
      compare(each.reuseIdentifier, each.view);
    }
    EXPECT_EQ(compare(scene.identifier, scene.view), listed) << scene.identifier;
  }
}

INSTANTIATE_TEST_SUITE_P(Qt, ScenesInMemory, testing::Values(&makeWorld<SceneWorld, QtSceneWorld>));

}  // namespace
}  // namespace tlx::contracts
