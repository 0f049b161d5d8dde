#include "apps/tlx-media-picker/PickerWindow.h"

#include <utility>
#include <vector>

#include "adapters/photolibrary/base/XdgFolders.h"

namespace tlx::program {
namespace {

/// The folders in words, each on a line of its own.
std::string named(const std::vector<std::string>& folders) {
  std::string text;
  for (const std::string& folder : folders) text += "\n" + folder;
  return text;
}

}  // namespace

PickerWindow::PickerWindow(const Parts& parts, std::string host) : parts_(parts), host_(std::move(host)) {
  parts_.consent.setAsker(
      [this](const std::string& asking, photolibrary::PhotoConsent::Answer answer) { ask(asking, std::move(answer)); });
  parts_.camera.setAsker([this](camera::CameraConsent::Answer answer) { askForCamera(std::move(answer)); });
  parts_.credentials.setAsker([this](const std::string& address, const CloudCredentials::Answer& answer) {
    QMetaObject::invokeMethod(this, [this, address, answer] { askForCredentials(address, answer); });
  });
  parts_.platform.application().setSettingsHandler([this] { return openSettings(); });
}

PickerWindow::~PickerWindow() {
  parts_.platform.application().setSettingsHandler(nullptr);
  parts_.camera.setAsker(nullptr);
  parts_.consent.setAsker(nullptr);
  parts_.credentials.setAsker(nullptr);
  signIn_.reset();
  settings_.reset();
  decideAboutPhotos();
  question_.reset();
  parts_.platform.window().model()->setRootViewController(nullptr);
}

void PickerWindow::open() {
  picker_ = TLXMediaPickerController::mediaPickerController_delegate(parts_.arguments.kind, &parts_.session);
  parts_.platform.window().model()->setRootViewController(picker_);
}

void PickerWindow::ask(const std::string& host, photolibrary::PhotoConsent::Answer answer) {
  put({"\xe2\x80\x9c" + host + "\xe2\x80\x9d would like to access your photos",
       "You choose which photos and videos it gets. It looks for them in" + named(photolibrary::defaultRoots()),
       {{"Don\xe2\x80\x99t allow", true}, {"Allow"}}},
      std::move(answer));
}

void PickerWindow::askForCamera(camera::CameraConsent::Answer answer) {
  put({"\xe2\x80\x9c" + host_ + "\xe2\x80\x9d would like to access the camera",
       "It takes photos, and videos with sound, when you press the shutter. They are kept among your pictures.",
       {{"Don\xe2\x80\x99t allow", true}, {"Allow"}}},
      std::move(answer));
}

void PickerWindow::put(const qtquick::QtQuestion::Text& text, std::function<void(bool allowed)> answer) {
  question_ = std::make_unique<qtquick::QtQuestion>(parts_.platform.window(), parts_.platform.engine(), text,
                                                    [this, answer = std::move(answer)](std::size_t choice) {
                                                      answer(choice == 1);
                                                      question_.reset();
                                                    });
}

void PickerWindow::askForCredentials(const std::string& address, const CloudCredentials::Answer& answer) {
  signIn_ = std::make_unique<qtquick::QtSignIn>(
      parts_.platform.window(), parts_.platform.engine(),
      qtquick::QtSignIn::Text{"Sign in", "Your photos on\n" + address + "\nneed a name and a password."},
      [this, answer](const std::optional<qtquick::QtSignIn::Said>& said) {
        answer(said ? std::optional(photolibrary::Credentials{said->user, said->password}) : std::nullopt);
        signIn_.reset();
      });
}

bool PickerWindow::openSettings() {
  const std::vector<std::string>& chosen = parts_.arguments.folders;
  const bool remembered = parts_.library.photosAllowed().value_or(false);
  std::vector<qtquick::QtSettingsPage::Switch> switches = {
      {"Photos", "Show and hand over photos and videos", remembered}};
  if (parts_.arguments.camera != Arguments::Camera::None) {
    switches.push_back({"Camera", "Take photos, and videos with sound", parts_.camera.cameraAllowed().value_or(false)});
  }
  const qtquick::QtSettingsPage::Content content{
      host_, switches,
      chosen.empty()
          ? "What you allow is remembered for this program. Photos and videos are looked for in" +
                named(photolibrary::defaultRoots())
          : "What you allow is remembered for this program. This window was opened on folders that were named "
            "to it, whatever is allowed here; it can read none of" +
                named(chosen)};
  settings_ = std::make_unique<qtquick::QtSettingsPage>(
      parts_.platform.window(), parts_.platform.engine(), content,
      [this](std::size_t index, bool on) {
        if (index == 0) {
          photosWanted_ = on;
        } else {
          parts_.camera.setCameraAllowed(on);
        }
      },
      [this] { closeSettings(); });
  return true;
}

void PickerWindow::closeSettings() {
  settings_.reset();
  if (!decideAboutPhotos()) return;
  parts_.library.waitUntilOpened();
  open();
}

bool PickerWindow::decideAboutPhotos() {
  const std::optional<bool> allowed = std::exchange(photosWanted_, std::nullopt);
  if (!allowed || allowed == parts_.library.photosAllowed()) return false;
  const auto before = parts_.library.authorizationStatus();
  question_.reset();
  parts_.library.setPhotosAllowed(*allowed);
  return parts_.library.authorizationStatus() != before;
}

}  // namespace tlx::program
