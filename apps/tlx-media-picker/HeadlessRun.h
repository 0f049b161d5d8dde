#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "apps/tlx-media-picker/Session.h"
#include "apps/tlx-media-picker/SettledWindow.h"

namespace tlx::program {

/// Picks without a person: chooses albums and taps items in the very controllers that a window shows, presses Done, and
/// answers the alert as the command line says.
class HeadlessRun final : public QObject {
  Q_OBJECT

 public:
  /// The picker's view is in a window, which nobody need see; `settled` is that window when a picture of it is wanted,
  /// with what was picked, before Done. All outlive the run.
  HeadlessRun(const Arguments& arguments, TLXMediaPickerController& picker, UIWindow& window, Session& session,
              SettledWindow& settled);

  /// Takes the first step; the session ends when all are done.
  void start();

 private:
  void proceed();
  bool pickAll();
  bool pick(const Arguments::Pick& pick);
  void photograph();
  void answerAlert(UIAlertController& alert);

  enum class Stage { Opening, Photographing, Picked, Fetching };
  /// The next step is taken when what this one set off has been done.
  void goOn(Stage stage);

  const Arguments& arguments_;
  TLXMediaPickerController& picker_;
  UIWindow& window_;
  Session& session_;
  SettledWindow& settled_;
  Stage stage_ = Stage::Opening;
  bool full_ = false, retried_ = false;
};

}  // namespace tlx::program
