#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  // Without these the tests would need a screen and wait for it: they run where there is none, also by hand.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
  testing::InitGoogleTest(&argc, argv);
  QGuiApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
