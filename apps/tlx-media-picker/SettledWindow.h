#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <string>

class QQuickWindow;

namespace tlx::photolibrary {
class ImageManager;
class PhotoLibrary;
}  // namespace tlx::photolibrary

namespace tlx::program {

/// Waits for a window to come to rest: the library is looked through, no picture is on its way, and nothing was drawn
/// for a while.
class SettledWindow final : public QObject {
  Q_OBJECT

 public:
  /// All outlive the object. The window is shown.
  SettledWindow(QQuickWindow& window, photolibrary::PhotoLibrary& library, photolibrary::ImageManager& images);

  /// Saves the window's picture once it is at rest, in the format that the name's ending says, then calls `saved` with
  /// what went wrong; empty when nothing did. Once at a time.
  void save(const std::string& path, std::function<void(std::string error)> saved);

 private:
  void look();

  QQuickWindow& window_;
  photolibrary::PhotoLibrary& library_;
  photolibrary::ImageManager& images_;
  QTimer quiet_;
  std::string path_;
  std::function<void(std::string)> saved_;
  bool waited_ = false;  ///< for the library and the workers, and nothing was drawn since
};

}  // namespace tlx::program
