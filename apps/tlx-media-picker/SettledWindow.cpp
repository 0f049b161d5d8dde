#include "apps/tlx-media-picker/SettledWindow.h"

#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QQuickWindow>
#include <utility>

#include "adapters/photolibrary/PhotoLibrary.h"
#include "adapters/photolibrary/images/ImageManager.h"

namespace tlx::program {
namespace {

/// Longer than any pause between two frames of a motion, in milliseconds.
constexpr int kQuiet = 250;

}  // namespace

SettledWindow::SettledWindow(QQuickWindow& window, photolibrary::PhotoLibrary& library,
                             photolibrary::ImageManager& images)
    : window_(window), library_(library), images_(images) {
  quiet_.setSingleShot(true);
  quiet_.setInterval(kQuiet);
  connect(&quiet_, &QTimer::timeout, this, &SettledWindow::look);
  connect(&window_, &QQuickWindow::frameSwapped, this, [this] {
    waited_ = false;
    if (saved_) quiet_.start();
  });
}

void SettledWindow::save(const std::string& path, std::function<void(std::string)> saved) {
  path_ = path;
  saved_ = std::move(saved);
  waited_ = false;
  quiet_.start();
}

void SettledWindow::look() {
  // What the workers leave for this thread is drawn before the time of quiet that follows is over.
  if (!std::exchange(waited_, true)) {
    library_.waitUntilScanned();
    images_.waitUntilIdle();
    quiet_.start();
    return;
  }
  const QString path = QFile::decodeName(path_.c_str());
  QImageWriter writer(path);
  const bool written = writer.write(window_.grabWindow());
  const auto saved = std::exchange(saved_, nullptr);
  saved(written ? "" : path_ + ": " + writer.errorString().toStdString());
}

}  // namespace tlx::program
