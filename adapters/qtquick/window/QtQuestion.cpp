#include "adapters/qtquick/window/QtQuestion.h"

#include <QQuickItem>
#include <QVariantList>
#include <algorithm>
#include <utility>

namespace tlx::qtquick {
namespace {

QVariantMap propertiesOf(const QtQuestion::Text& text) {
  QVariantList actions;
  for (const QtQuestion::Choice& choice : text.choices) {
    actions.append(QVariantMap{{QStringLiteral("title"), QString::fromStdString(choice.title)},
                               {QStringLiteral("cancels"), choice.cancels}});
  }
  return {{QStringLiteral("title"), QString::fromStdString(text.title)},
          {QStringLiteral("message"), QString::fromStdString(text.message)},
          {QStringLiteral("actions"), actions},
          {QStringLiteral("firstFocus"), -1}};
}

}  // namespace

QtQuestion::QtQuestion(QtWindow& window, QQmlEngine& engine, const Text& text, Answer answer)
    : cover_(window, engine, "Alert.qml", propertiesOf(text)), answer_(std::move(answer)) {
  // Queued: the answer may destroy the item that is telling.
  connect(&cover_.item(), SIGNAL(chosen(int)), this, SLOT(chosen(int)), Qt::QueuedConnection);
  const auto cancels =
      std::find_if(text.choices.begin(), text.choices.end(), [](const Choice& each) { return each.cancels; });
  if (cancels == text.choices.end()) return;
  const auto index = static_cast<int>(cancels - text.choices.begin());
  connect(
      &cover_, &QtCover::escaped, this, [this, index] { chosen(index); }, Qt::QueuedConnection);
}

void QtQuestion::chosen(int index) {
  if (const auto answer = std::exchange(answer_, nullptr)) answer(static_cast<std::size_t>(index));
}

}  // namespace tlx::qtquick
