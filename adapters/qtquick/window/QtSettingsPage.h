#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "adapters/qtquick/window/QtCover.h"

namespace tlx::qtquick {

/// A page of switches over the window: what the person allows the host program. Open while the object lives.
class QtSettingsPage final : public QObject {
  Q_OBJECT

 public:
  struct Switch {
    std::string title;
    std::string detail;  ///< a line below; may be empty
    bool on = false;
  };
  struct Content {
    std::string host;  ///< the program's name, over the switches
    std::vector<Switch> switches;
    std::string note;  ///< a paragraph below the switches; may be empty
  };
  using Switched = std::function<void(std::size_t index, bool on)>;
  using Closed = std::function<void()>;

  /// The handlers are called from the event loop; `closed`, which may let go of the page, when the person wants it
  /// away. The window outlives the page.
  QtSettingsPage(QtWindow& window, QQmlEngine& engine, const Content& content, Switched switched, Closed closed);

 private Q_SLOTS:
  void tellSwitched(int index, bool on) { switched_(static_cast<std::size_t>(index), on); }
  void tellClosed() { closed_(); }

 private:
  QtCover cover_;
  Switched switched_;
  Closed closed_;
};

}  // namespace tlx::qtquick
