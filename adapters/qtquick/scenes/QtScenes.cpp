#include "adapters/qtquick/scenes/QtScenes.h"

#include <QGuiApplication>
#include <QImage>
#include <QQmlComponent>
#include <QQmlContext>
#include <QResource>
#include <QTimer>
#include <QUrl>
#include <utility>

#include <png.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/SceneParts.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIViewController.h"

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {
namespace {

constexpr char kScenes[] = "qrc:/tlx/mediapicker/TLX/MediaPicker/";
constexpr char kImages[] = ":/tlx/mediapicker/images/";
/// The images are drawn at three pixels to a point, the finest screen that a picker meets.
constexpr double kImageScale = 3;
constexpr int kReadyAtATime = 4;

QUrl urlOf(const std::string& scene) {
  return QUrl(QLatin1String(kScenes) + QString::fromStdString(scene) + QStringLiteral(".qml"));
}

/// One of the library's own pictures; none where there is none of that name. Qt's reader would first look through the
/// folder of its image plug-ins and load some, for which the first frame would wait.
QImage ownPicture(const std::string& name) {
  const QResource file(QLatin1String(kImages) + QString::fromStdString(name) + QStringLiteral(".png"));
  const QByteArray bytes = file.isValid() ? file.uncompressedData() : QByteArray();
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&header, bytes.constData(), static_cast<std::size_t>(bytes.size()))) return {};
  header.format = PNG_FORMAT_RGBA;
  QImage picture(static_cast<int>(header.width), static_cast<int>(header.height), QImage::Format_RGBA8888);
  if (!png_image_finish_read(&header, nullptr, picture.bits(), static_cast<int>(picture.bytesPerLine()), nullptr)) {
    return {};
  }
  return picture;
}

}  // namespace

QtScenes::QtScenes(QQmlEngine& engine) : engine_(engine) {
  registerPlatformClasses();
  engine_.rootContext()->setContextProperty(QStringLiteral("scenes"), this);
}

QtScenes::~QtScenes() = default;

void QtScenes::readAhead() {
  for (const char* const name : {"TLXMediaPickerController", "MediaCollectionViewController", "HeaderView",
                                 "FooterView", "AlbumPickerTableViewController", "CollectionViewCell"}) {
    ahead_.push_back(std::make_unique<QQmlComponent>(&engine_, urlOf(name), QQmlComponent::Asynchronous));
  }
}

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
    kept = std::make_unique<QQmlComponent>(&engine_, urlOf(name));
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
  (void)object.release();  // from now on the item goes with its view
  const std::string ownerClass = NSClassFromString(name) ? name : "UIView";
  connectScene(name, owner ? *owner : *built.view, ownerClass, built.parts);
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
  if (const auto found = ready_.find(name); found != ready_.end() && !found->second.cells.empty()) {
    Ready& ready = found->second;
    ready.missing = 0;
    auto cell = std::move(ready.cells.back());
    ready.cells.pop_back();
    cell->setFrame(CGRectMake(0, 0, frame.size.width, frame.size.height));
    return cell;
  }
  return load(name, nullptr,
              {{QStringLiteral("width"), frame.size.width}, {QStringLiteral("height"), frame.size.height}});
}

void QtScenes::makeReady(const std::string& name, const CGSize& size, std::size_t count) {
  ready_[name] = {size, count, {}};
  QTimer::singleShot(0, this, &QtScenes::makeSomeReady);
}

void QtScenes::makeSomeReady() {
  for (auto& [name, ready] : ready_) {
    // A few at a time, so that a hand is not kept waiting.
    for (int made = 0; made < kReadyAtATime && ready.missing > 0; ++made, --ready.missing) {
      ready.cells.push_back(load(
          name, nullptr, {{QStringLiteral("width"), ready.size.width}, {QStringLiteral("height"), ready.size.height}}));
    }
    if (ready.missing > 0) QTimer::singleShot(0, this, &QtScenes::makeSomeReady);
  }
}

std::shared_ptr<const UIImage> QtScenes::imageNamed(const NSBundle& bundle, const std::string& name) {
  if (bundle.identifier != kTLXMediaPickerBundle) return nullptr;
  auto& kept = images_[name];
  if (kept) return kept;
  const QImage picture = ownPicture(name);
  if (picture.isNull()) return nullptr;
  auto pixels = std::make_shared<const QImage>(picture.convertToFormat(QImage::Format_RGBA8888_Premultiplied));
  kept = std::make_shared<const UIImage>(
      CGImage::createWithOwner(static_cast<std::size_t>(pixels->width()), static_cast<std::size_t>(pixels->height()),
                               static_cast<std::size_t>(pixels->bytesPerLine()), pixels->constBits(), pixels),
      kImageScale);
  return kept;
}

}  // namespace tlx::qtquick
