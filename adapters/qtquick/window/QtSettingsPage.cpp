#include "adapters/qtquick/window/QtSettingsPage.h"

#include <QQuickItem>
#include <QVariantList>
#include <utility>

namespace tlx::qtquick {
namespace {

QVariantMap propertiesOf(const QtSettingsPage::Content& content) {
  QVariantList switches;
  for (const QtSettingsPage::Switch& each : content.switches) {
    switches.append(QVariantMap{{QStringLiteral("title"), QString::fromStdString(each.title)},
                                {QStringLiteral("detail"), QString::fromStdString(each.detail)},
                                {QStringLiteral("checked"), each.on}});
  }
  return {{QStringLiteral("host"), QString::fromStdString(content.host)},
          {QStringLiteral("note"), QString::fromStdString(content.note)},
          {QStringLiteral("switches"), switches}};
}

}  // namespace

QtSettingsPage::QtSettingsPage(QtWindow& window, QQmlEngine& engine, const Content& content, Switched switched,
                               Closed closed)
    : cover_(window, engine, "SettingsPage.qml", propertiesOf(content)),
      switched_(std::move(switched)),
      closed_(std::move(closed)) {
  connect(&cover_.item(), SIGNAL(switched(int, bool)), this, SLOT(tellSwitched(int, bool)), Qt::QueuedConnection);
  connect(&cover_.item(), SIGNAL(closed()), this, SLOT(tellClosed()), Qt::QueuedConnection);
  connect(&cover_, &QtCover::escaped, this, &QtSettingsPage::tellClosed, Qt::QueuedConnection);
}

}  // namespace tlx::qtquick
