#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "adapters/qtquick/window/QtCover.h"

namespace tlx::qtquick {

/// A question of the host program's over the window, drawn like an alert, except that no choice has the keyboard at
/// first: what is typed when it appears answers nothing. It is asked while the object lives; letting go of it takes the
/// question back.
class QtQuestion final : public QObject {
  Q_OBJECT

 public:
  struct Choice {
    std::string title;
    bool cancels = false;  ///< what Escape chooses
  };
  struct Text {
    std::string title, message;
    std::vector<Choice> choices;  ///< at least one
  };
  /// Called at most once, with the choice's index, from the event loop. It may let go of the question.
  using Answer = std::function<void(std::size_t choice)>;

  /// The window outlives the question.
  QtQuestion(QtWindow& window, QQmlEngine& engine, const Text& text, Answer answer);

 private Q_SLOTS:
  void chosen(int index);

 private:
  QtCover cover_;
  Answer answer_;
};

}  // namespace tlx::qtquick
