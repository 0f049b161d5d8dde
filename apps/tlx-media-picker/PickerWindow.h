#pragma once

#include <QObject>
#include <memory>
#include <optional>
#include <string>

#include "adapters/photolibrary/access/PhotoConsent.h"
#include "adapters/qtquick/QtPlatform.h"
#include "adapters/qtquick/window/QtQuestion.h"
#include "adapters/qtquick/window/QtSettingsPage.h"
#include "adapters/qtquick/window/QtSignIn.h"
#include "apps/tlx-media-picker/CameraAccess.h"
#include "apps/tlx-media-picker/CloudCredentials.h"
#include "apps/tlx-media-picker/Session.h"
#include "apps/tlx-media-picker/WindowConsent.h"

namespace tlx::program {

/// The picker in the platform's window, and what the program shows over it: the question whether it may have the
/// photos and the camera, who the person is to a cloud, and the page on which they change their mind.
class PickerWindow final : public QObject {
  Q_OBJECT

 public:
  struct Parts {
    const Arguments& arguments;
    Session& session;
    photolibrary::PhotoLibrary& library;
    WindowConsent& consent;
    CameraAccess& camera;
    CloudCredentials& credentials;
    qtquick::QtPlatform& platform;
  };
  /// `host` is the program's name as the person knows it. All parts outlive the object.
  PickerWindow(const Parts& parts, std::string host);
  /// Takes the picker and everything over it off the window.
  ~PickerWindow() override;

  /// Makes a picker, which asks for access when nobody has decided, in place of the one that is open.
  void open();
  /// The one that is open.
  TLXMediaPickerController& picker() const { return *picker_; }

 private:
  void ask(const std::string& host, photolibrary::PhotoConsent::Answer answer);
  void askForCamera(camera::CameraConsent::Answer answer);
  void put(const qtquick::QtQuestion::Text& text, std::function<void(bool allowed)> answer);
  void askForCredentials(const std::string& address, const CloudCredentials::Answer& answer);
  bool openSettings();
  void closeSettings();
  /// What the switch says holds from when the page is left: a picker whose access goes drops its picks, and who only
  /// switched to and fro is to keep them. True when access changed.
  bool decideAboutPhotos();

  const Parts parts_;
  const std::string host_;
  std::shared_ptr<TLXMediaPickerController> picker_;
  std::unique_ptr<qtquick::QtQuestion> question_;
  std::unique_ptr<qtquick::QtSignIn> signIn_;
  std::unique_ptr<qtquick::QtSettingsPage> settings_;
  std::optional<bool> photosWanted_;  ///< by the switch on the open page; nothing while nobody touched it
};

}  // namespace tlx::program
