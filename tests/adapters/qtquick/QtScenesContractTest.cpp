#include <QCoreApplication>
#include <QFile>
#include <QQmlAbstractUrlInterceptor>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <map>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/memory/MemoryImageManager.h"
#include "adapters/memory/MemoryLogs.h"
#include "adapters/memory/MemoryPhotoLibrary.h"
#include "adapters/memory/MemoryReachability.h"
#include "adapters/qtquick/QtPlatform.h"
#include "tests/contracts/SceneContract.h"

namespace tlx::contracts {
namespace {

/// Gives the engine spoilt copies in place of the scenes' own files.
class SpoiltScenes final : public QQmlAbstractUrlInterceptor {
 public:
  QUrl intercept(const QUrl& url, DataType) override {
    const auto spoilt = files_.find(url.fileName());
    return spoilt == files_.end() ? url : QUrl::fromLocalFile(folder_.filePath(url.fileName()));
  }
  /// Takes the outlet's name out of the class's file, or puts `by` in place of the class named next to it.
  bool spoil(const std::string& className, const std::string& outlet, const std::string& by) {
    const QString name = QString::fromStdString(className) + QStringLiteral(".qml");
    QString& text = files_[name];
    if (text.isEmpty()) {
      QFile own(QStringLiteral(":/tlx/mediapicker/TLX/MediaPicker/") + name);
      if (!own.open(QIODevice::ReadOnly)) return false;
      text = QString::fromUtf8(own.readAll());
    }
    const QString line = QStringLiteral("outlet: \"%1\"").arg(QString::fromStdString(outlet));
    const auto at = text.indexOf(line);
    if (at < 0) return false;
    if (by.empty()) {
      text.replace(at, line.size(), QStringLiteral("objectName: \"nothing\""));
    } else {
      const QString custom = QStringLiteral("customClass: \"");
      const auto begin = text.indexOf(custom, at) + custom.size();
      text.replace(begin, text.indexOf(u'"', begin) - begin, QString::fromStdString(by));
    }
    QFile file(folder_.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) > 0;
  }

 private:
  QTemporaryDir folder_;
  std::map<QString, QString> files_;
};

class QtSceneWorld final : public SceneWorld {
 public:
  QtSceneWorld() {
    library_.setStatus(PHAuthorizationStatusDenied);
    window_.resize(375, 667);
    platform_ = std::make_unique<qtquick::QtPlatform>(qtquick::LoopPorts{loop_, loop_, loop_, runLoops_}, window_,
                                                      library_, images_, reachability_, log_);
    platform_->engine().addUrlInterceptor(&spoilt_);
    platform_->application().setSettingsHandler([this] {
      openedURLs_.emplace_back(UIApplicationOpenSettingsURLString);
      return true;
    });
  }
  ~QtSceneWorld() override {
    background_.end();
    loop_.clear();
    platform_.reset();
  }

  MainQueuePort& mainQueue() override { return loop_; }
  bool runUntil(const std::function<bool()>& done) override { return loop_.runUntil(done); }
  void settle() override {
    loop_.runUntilIdle();
    QCoreApplication::processEvents();
  }

  ResourcePort& resources() override { return platform_->scenes(); }
  std::vector<std::string> openedURLs() override { return openedURLs_; }
  bool disconnect(const std::string& className, const std::string& outlet) override {
    return spoilt_.spoil(className, outlet, {});
  }
  bool replace(const std::string& className, const std::string& outlet, const std::string& byClass) override {
    return spoilt_.spoil(className, outlet, byClass);
  }

 private:
  memory::Background background_;
  memory::MainLoop loop_{background_};
  memory::RunLoops runLoops_{loop_};
  memory::MemorySystemLog log_;
  memory::MemoryPhotoLibrary library_{background_};
  memory::MemoryImageManager images_{library_, loop_, background_};
  memory::MemoryReachability reachability_;
  SpoiltScenes spoilt_;
  QQuickWindow window_;
  std::unique_ptr<qtquick::QtPlatform> platform_;
  std::vector<std::string> openedURLs_;
};

std::unique_ptr<SceneWorld> makeSceneWorld() {
  return std::make_unique<QtSceneWorld>();
}

INSTANTIATE_TEST_SUITE_P(Qt, SceneContract, testing::Values(&makeSceneWorld));

}  // namespace
}  // namespace tlx::contracts
