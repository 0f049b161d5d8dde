#pragma once

#include <QObject>
#include <QQmlEngine>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/uikit/ResourcePort.h"
#include "tlx/platform/uikit/UIView.h"

#include "adapters/qtquick/views/CellSource.h"

class QQmlComponent;

namespace tlx::qtquick {

/// Loads scenes, interface files and images from the library's own resources. Scenes are files named after their
/// class; a file's elements say which view is which outlet.
class QtScenes final : public QObject, public ResourcePort, public CellSource {
  Q_OBJECT
  Q_PROPERTY(qreal width READ width NOTIFY sizeChanged)
  Q_PROPERTY(qreal height READ height NOTIFY sizeChanged)
  Q_PROPERTY(bool pad READ isPad CONSTANT)

 public:
  explicit QtScenes(QQmlEngine& engine);
  ~QtScenes() override;

  /// Begins to read the scenes of a picker's first screen, on the engine's own thread.
  void readAhead();
  /// The size at which scenes are loaded: the window's.
  void setSize(const CGSize& size);
  qreal width() const { return size_.width; }
  qreal height() const { return size_.height; }
  bool isPad() const;

  // ResourcePort
  std::shared_ptr<UIViewController> instantiateViewController(const NSBundle& bundle, const std::string& storyboard,
                                                              const std::string& identifier) override;
  std::vector<std::shared_ptr<NSObject>> loadNib(const NSBundle& bundle, const std::string& name) override;
  std::shared_ptr<const UIImage> imageNamed(const NSBundle& bundle, const std::string& name) override;

  // CellSource
  std::shared_ptr<UIView> makeCell(const std::string& name, const CGRect& frame) override;
  void makeReady(const std::string& name, const CGSize& size, std::size_t count) override;
  /// Lets go of the cells that nobody asked for. Before the engine's last turn.
  void dropReady() { ready_.clear(); }

 Q_SIGNALS:
  void sizeChanged();

 private:
  QQmlComponent& component(const std::string& name);
  void makeSomeReady();
  std::shared_ptr<UIView> load(const std::string& name, NSObject* owner, const QVariantMap& initial);

  QQmlEngine& engine_;  // unretained: the platform owns both, the engine outlives this
  CGSize size_{375, 667};
  std::map<std::string, std::unique_ptr<QQmlComponent>> components_;
  std::vector<std::unique_ptr<QQmlComponent>> ahead_;  ///< keep what was read
  std::map<std::string, std::shared_ptr<const UIImage>> images_;
  struct Ready {
    CGSize size;
    std::size_t missing = 0;
    std::vector<std::shared_ptr<UIView>> cells;
  };
  std::map<std::string, Ready> ready_;
};

}  // namespace tlx::qtquick
