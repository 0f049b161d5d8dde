#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIStoryboard.h"
#include "tlx/progress/ProgressClasses.h"
#include "tlx/progress/TLXDownloadProgress.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

std::string lookOf(const TLXDownloadProgress& panel) {
  return panel.lblHeader1.lock()->text() + " / " + panel.lblHeader2.lock()->text() +
         (panel.btnCancel.lock()->isHidden() ? "" : " / cancel");
}

TEST(DownloadPanel, ShowsWhatItIsToldAndChangesItsLookBeforeItTellsOfACancel) {
  memory::MemoryPlatform platform;
  struct Delegate : TLXDownloadProgressDelegate {
    void cancelDownload() override { seenAtCancel.push_back(lookOf(*panel)); }
    std::shared_ptr<TLXDownloadProgress> panel;
    std::vector<std::string> seenAtCancel;
  } delegate;
  registerProgressClasses();
  const auto objects =
      loadNibNamed(NSBundle::bundleForClass(TLXDownloadProgress::classObject()), "TLXDownloadProgress");
  const auto panel = delegate.panel = std::dynamic_pointer_cast<TLXDownloadProgress>(objects.at(0));
  const auto indicator = panel->viewDownloadProgress.lock();
  EXPECT_EQ(indicator->tintColor(), (UIColor{1, 1, 1, 0.6}));
  EXPECT_EQ(indicator->trackColor(), UIColor::redColor());
  panel->updateCompletionCount_totalCount(-1, 1'000'000);
  EXPECT_EQ(panel->lblCompletionCount.lock()->text(), "-1/1000000");
  for (int i = 0; i < 2; ++i) {
    panel->showCancelBtn();
    EXPECT_EQ(lookOf(*panel), "DOWNLOADING / from iCloud / cancel");
    panel->customDelegate = &delegate;
    EXPECT_TRUE(panel->btnCancel.lock()->press());
  }
  EXPECT_EQ(delegate.seenAtCancel, std::vector<std::string>(2, "Importing / from library"));
}

}  // namespace
}  // namespace tlx
