#pragma once

#include <functional>
#include <optional>
#include <string>

#include "adapters/qtquick/window/QtCover.h"

namespace tlx::qtquick {

/// A question for a name and a password over the window, drawn like an alert. It is asked while the object lives;
/// letting go of it takes the question back.
class QtSignIn final : public QObject {
  Q_OBJECT

 public:
  struct Text {
    std::string title, message;
  };
  struct Said {
    std::string user, password;
  };
  /// Called at most once, from the event loop; with nothing when the person would rather not. It may let go of the
  /// question.
  using Answer = std::function<void(const std::optional<Said>& said)>;

  /// The window outlives the question.
  QtSignIn(QtWindow& window, QQmlEngine& engine, const Text& text, Answer answer);

  /// What is shown, for tests that act as a person.
  QQuickItem& item() const { return cover_.item(); }

 private Q_SLOTS:
  void answered(bool given, const QString& user, const QString& password);

 private:
  QtCover cover_;
  Answer answer_;
};

}  // namespace tlx::qtquick
