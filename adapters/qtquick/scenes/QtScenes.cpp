#include "adapters/qtquick/scenes/QtScenes.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QQmlComponent>
#include <QQmlContext>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIControl.h"
#include "tlx/platform/uikit/UIViewController.h"

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {
namespace {

constexpr char kScenes[] = "qrc:/tlx/mediapicker/TLX/MediaPicker/";
constexpr char kImages[] = ":/tlx/mediapicker/images/";
/// The images are drawn at three pixels to a point, the finest screen that a picker meets.
constexpr double kImageScale = 3;

const Outlet* findOutlet(const Class* known, const std::string& name) {
  for (; known; known = NSClassFromString(known->superclass)) {
    for (const Outlet& outlet : known->outlets) {
      if (outlet.name == name) return &outlet;
    }
  }
  return nullptr;
}

const Action* findAction(const Class* known, const std::string& name) {
  for (; known; known = NSClassFromString(known->superclass)) {
    for (const Action& action : known->actions) {
      if (action.name == name) return &action;
    }
  }
  return nullptr;
}

/// Connects what the scene says with what the owner's class declares; both sides must agree.
void connectScene(const std::string& scene, NSObject& owner, const std::string& ownerClass,
                  const ViewItem::Built& built) {
  const Class* known = NSClassFromString(ownerClass);
  std::vector<std::string> connected;
  for (const auto& [name, view] : built.outlets) {
    const Outlet* outlet = findOutlet(known, name);
    if (!outlet) {
      throw NSException(NSInternalInconsistencyException,
                        "The scene " + scene + " connects " + name + ", which " + ownerClass + " does not declare");
    }
    if (!outlet->connect(owner, view)) {
      throw NSException(NSInternalInconsistencyException, "The scene " + scene + " gives the outlet " + name +
                                                              " a view that is no " + outlet->targetClass);
    }
    connected.push_back(name);
  }
  for (const Class* each = known; each; each = NSClassFromString(each->superclass)) {
    for (const Outlet& outlet : each->outlets) {
      if (std::find(connected.begin(), connected.end(), outlet.name) == connected.end()) {
        throw NSException(NSInternalInconsistencyException,
                          "The scene " + scene + " lacks the outlet " + outlet.name + " of " + ownerClass);
      }
    }
  }
  for (const auto& [name, view] : built.actions) {
    const Action* action = findAction(known, name);
    auto control = std::dynamic_pointer_cast<UIControl>(view);
    if (!action || !control) {
      throw NSException(NSInternalInconsistencyException, "The scene " + scene + " sends the unknown action " + name);
    }
    control->addSceneAction(owner.weak_from_this(), *action, UIControlEventTouchUpInside);
  }
}

}  // namespace

QtScenes::QtScenes(QQmlEngine& engine) : engine_(engine) {
  registerPlatformClasses();
  engine_.rootContext()->setContextProperty(QStringLiteral("scenes"), this);
}

QtScenes::~QtScenes() = default;

void QtScenes::setSize(const CGSize& size) {
  if (size_ == size) return;
  size_ = size;
  Q_EMIT sizeChanged();
}

bool QtScenes::isPad() const {
  return UIDevice::currentDevice().userInterfaceIdiom() == UIUserInterfaceIdiomPad;
}

QQmlComponent& QtScenes::component(const std::string& name) {
  auto& kept = components_[name];
  if (!kept) {
    kept = std::make_unique<QQmlComponent>(
        &engine_, QUrl(QLatin1String(kScenes) + QString::fromStdString(name) + QStringLiteral(".qml")));
  }
  if (kept->isError()) {
    const std::string reason = kept->errorString().toStdString();
    components_.erase(name);
    throw NSException(NSInvalidArgumentException, "There is no scene " + name + ": " + reason);
  }
  return *kept;
}

/// With an owner the outlets are the owner's, else the root view's own.
std::shared_ptr<UIView> QtScenes::load(const std::string& name, NSObject* owner, const QVariantMap& initial) {
  QQmlComponent& file = component(name);
  std::unique_ptr<QObject> object(file.createWithInitialProperties(initial));
  auto* item = qobject_cast<ViewItem*>(object.get());
  if (!item) {
    throw NSException(NSInvalidArgumentException,
                      "The scene " + name + " holds no view: " + file.errorString().toStdString());
  }
  QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
  ViewItem::Built built;
  item->build(built);
  object.release();  // from now on the item goes with its view
  if (owner) {
    connectScene(name, *owner, name, built);
  } else {
    connectScene(name, *built.view, NSClassFromString(name) ? name : "UIView", built);
  }
  for (const auto& view : built.awake) view->awakeFromNib();
  return built.view;
}

std::shared_ptr<UIViewController> QtScenes::instantiateViewController(const NSBundle& bundle,
                                                                      const std::string& storyboard,
                                                                      const std::string& identifier) {
  const Class* known = NSClassFromString(identifier);
  auto controller = known && known->alloc ? std::dynamic_pointer_cast<UIViewController>(known->alloc()) : nullptr;
  if (!controller || bundle.identifier != kTLXMediaPickerBundle || storyboard != "PickerStoryboard") {
    throw NSException(NSInvalidArgumentException,
                      "The storyboard " + storyboard + " has no scene with the identifier " + identifier);
  }
  component(identifier);
  controller->initWithCoder();
  std::weak_ptr<NSObject> weak = controller;
  controller->setViewLoader([this, weak, identifier]() -> std::shared_ptr<UIView> {
    auto owner = weak.lock();
    if (!owner) return nullptr;
    return load(identifier, owner.get(),
                {{QStringLiteral("width"), size_.width}, {QStringLiteral("height"), size_.height}});
  });
  controller->awakeFromNib();
  return controller;
}

std::vector<std::shared_ptr<NSObject>> QtScenes::loadNib(const NSBundle& bundle, const std::string& name) {
  if (bundle.identifier != kTLXMediaPickerBundle) {
    throw NSException(NSInvalidArgumentException, "The bundle " + bundle.identifier + " has no interface file " + name);
  }
  return {load(name, nullptr, {})};
}

std::shared_ptr<UIView> QtScenes::makeCell(const std::string& name, const CGRect& frame) {
  return load(name, nullptr,
              {{QStringLiteral("width"), frame.size.width}, {QStringLiteral("height"), frame.size.height}});
}

std::shared_ptr<const UIImage> QtScenes::imageNamed(const NSBundle& bundle, const std::string& name) {
  if (bundle.identifier != kTLXMediaPickerBundle) return nullptr;
  auto& kept = images_[name];
  if (kept) return kept;
  QImage picture(QLatin1String(kImages) + QString::fromStdString(name) + QStringLiteral(".png"));
  if (picture.isNull()) return nullptr;
  auto pixels = std::make_shared<const QImage>(picture.convertToFormat(QImage::Format_RGBA8888_Premultiplied));
  kept = std::make_shared<const UIImage>(
      CGImage::createWithOwner(static_cast<std::size_t>(pixels->width()), static_cast<std::size_t>(pixels->height()),
                               static_cast<std::size_t>(pixels->bytesPerLine()), pixels->constBits(), pixels),
      kImageScale);
  return kept;
}

}  // namespace tlx::qtquick
