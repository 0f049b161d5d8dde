// A window whose QML shows one word, made as the picker's scenes are: says when its first frame was there, in
// nanoseconds of the machine's clock.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  QQmlEngine engine;
  QQuickWindow window;
  window.resize(375, 667);
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/bench/Bench/Word.qml")));
  const std::unique_ptr<QObject> object(component.create());
  auto* const word = qobject_cast<QQuickItem*>(object.get());
  if (!word) qFatal("%s", qPrintable(component.errorString()));
  word->setParentItem(window.contentItem());
  QObject::connect(
      &window, &QQuickWindow::frameSwapped, &application,
      [&] {
        std::printf("%lld\n", static_cast<long long>(std::chrono::steady_clock::now().time_since_epoch().count()));
        QCoreApplication::quit();
      },
      Qt::QueuedConnection);
  window.show();
  return application.exec();
}
