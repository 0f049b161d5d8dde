#include "adapters/qtquick/window/QtSignIn.h"

#include <QQuickItem>
#include <utility>

namespace tlx::qtquick {

QtSignIn::QtSignIn(QtWindow& window, QQmlEngine& engine, const Text& text, Answer answer)
    : cover_(window, engine, "SignIn.qml",
             {{QStringLiteral("title"), QString::fromStdString(text.title)},
              {QStringLiteral("message"), QString::fromStdString(text.message)}}),
      answer_(std::move(answer)) {
  // Queued: the answer may destroy the item that is telling.
  connect(&cover_.item(), SIGNAL(answered(bool, QString, QString)), this, SLOT(answered(bool, QString, QString)),
          Qt::QueuedConnection);
  connect(
      &cover_, &QtCover::escaped, this, [this] { answered(false, {}, {}); }, Qt::QueuedConnection);
}

void QtSignIn::answered(bool given, const QString& user, const QString& password) {
  if (const auto answer = std::exchange(answer_, nullptr)) {
    answer(given ? std::optional(Said{user.toStdString(), password.toStdString()}) : std::nullopt);
  }
}

}  // namespace tlx::qtquick
