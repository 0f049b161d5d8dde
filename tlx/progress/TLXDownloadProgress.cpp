#include "tlx/progress/TLXDownloadProgress.h"

#include <string>

#include "tlx/platform/foundation/NSBundle.h"

namespace tlx {
namespace {

constexpr UIColor kIndicatorColor{1, 1, 1, 0.6};

}  // namespace

const Class& TLXDownloadProgress::classObject() {
  using Self = TLXDownloadProgress;
  static const Class object{
      "TLXDownloadProgress",
      "UIView",
      kTLXMediaPickerBundle,
      [] { return std::make_shared<Self>(); },
      {outlet("lblDownloadProgress", &Self::lblDownloadProgress, "UILabel"),
       outlet("viewDownloadProgress", &Self::viewDownloadProgress, "CERoundProgressView"),
       outlet("lblCompletionCount", &Self::lblCompletionCount, "UILabel"),
       outlet("btnCancel", &Self::btnCancel, "UIButton"), outlet("lblHeader1", &Self::lblHeader1, "UILabel"),
       outlet("lblHeader2", &Self::lblHeader2, "UILabel")},
      {action("btnDownloadCancelPressed:", &Self::btnDownloadCancelPressed)}};
  return object;
}

void TLXDownloadProgress::initWithCoder() {
  UIView::initWithCoder();
  initializaion();
}

void TLXDownloadProgress::awakeFromNib() {
  UIView::awakeFromNib();
  initializaion();
}

void TLXDownloadProgress::initializaion() {
  const auto indicator = viewDownloadProgress.lock();
  if (!indicator) return;
  indicator->setTintColor(kIndicatorColor);
  indicator->setTrackColor(UIColor::redColor());
  indicator->setProgress(0.0f);
}

void TLXDownloadProgress::btnDownloadCancelPressed(const std::shared_ptr<UIButton>& sender) {
  if (auto button = btnCancel.lock()) button->setHidden(true);
  setHeaders("Importing", "from library");
  if (customDelegate) customDelegate->cancelDownload();
}

void TLXDownloadProgress::updateCompletionCount_totalCount(std::int64_t done, std::int64_t total) {
  if (auto label = lblCompletionCount.lock()) label->setText(std::to_string(done) + "/" + std::to_string(total));
}

void TLXDownloadProgress::showCancelBtn() {
  if (auto button = btnCancel.lock()) button->setHidden(false);
  setHeaders("DOWNLOADING", "from iCloud");
}

void TLXDownloadProgress::setHeaders(const char* first, const char* second) {
  if (auto label = lblHeader1.lock()) label->setText(first);
  if (auto label = lblHeader2.lock()) label->setText(second);
}

}  // namespace tlx
