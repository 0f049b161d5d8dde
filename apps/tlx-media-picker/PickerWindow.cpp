#include "apps/tlx-media-picker/PickerWindow.h"

#include <utility>
#include <vector>

#include "adapters/photolibrary/XdgFolders.h"

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
  parts_.platform.application().setSettingsHandler([this] { return openSettings(); });
}

PickerWindow::~PickerWindow() {
  parts_.platform.application().setSettingsHandler(nullptr);
  parts_.consent.setAsker(nullptr);
  settings_.reset();
  question_.reset();
  parts_.platform.window().model()->setRootViewController(nullptr);
}

void PickerWindow::open() {
  picker_ = TLXMediaPickerController::mediaPickerController_delegate(parts_.arguments.kind, &parts_.session);
  parts_.platform.window().model()->setRootViewController(picker_);
}

void PickerWindow::ask(const std::string& host, photolibrary::PhotoConsent::Answer answer) {
  const qtquick::QtQuestion::Text text{
      "\xe2\x80\x9c" + host + "\xe2\x80\x9d would like to access your photos",
      "You choose which photos and videos it gets. It looks for them in" + named(photolibrary::defaultRoots()),
      {{"Don\xe2\x80\x99t allow", true}, {"Allow"}}};
  question_ = std::make_unique<qtquick::QtQuestion>(parts_.platform.window(), parts_.platform.engine(), text,
                                                    [this, answer = std::move(answer)](std::size_t choice) {
                                                      answer(choice == 1);
                                                      question_.reset();
                                                    });
}

bool PickerWindow::openSettings() {
  const std::vector<std::string>& chosen = parts_.arguments.folders;
  const bool remembered = parts_.library.photosAllowed().value_or(false);
  const qtquick::QtSettingsPage::Content content{
      host_,
      {{"Photos", "Show and hand over photos and videos", remembered}},
      chosen.empty()
          ? "What you allow is remembered for this program. Photos and videos are looked for in" +
                named(photolibrary::defaultRoots())
          : "What you allow is remembered for this program. This window was opened on folders that were named "
            "to it, whatever is allowed here; it can read none of" +
                named(chosen)};
  settings_ = std::make_unique<qtquick::QtSettingsPage>(
      parts_.platform.window(), parts_.platform.engine(), content,
      [this](std::size_t, bool on) { setPhotosAllowed(on); },
      [this, before = parts_.library.authorizationStatus()] { closeSettings(before); });
  return true;
}

void PickerWindow::setPhotosAllowed(bool allowed) {
  question_.reset();
  parts_.library.setPhotosAllowed(allowed);
}

void PickerWindow::closeSettings(PHAuthorizationStatus before) {
  settings_.reset();
  if (parts_.library.authorizationStatus() == before) return;
  parts_.library.waitUntilOpened();
  open();
}

}  // namespace tlx::program
