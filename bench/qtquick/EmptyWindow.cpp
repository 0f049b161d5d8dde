// An empty Qt Quick window: says when its first frame was there, in nanoseconds of the machine's clock.

#include <QGuiApplication>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  QQuickWindow window;
  window.resize(375, 667);
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
