#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIStoryboard.h"
#include "tlx/progress/ProgressClasses.h"
#include "tlx/progress/TLXDownloadProgress.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

class DownloadPanelTest : public testing::Test, public TLXDownloadProgressDelegate {
 protected:
  DownloadPanelTest() {
    registerProgressClasses();
    const auto objects =
        loadNibNamed(NSBundle::bundleForClass(TLXDownloadProgress::classObject()), "TLXDownloadProgress");
    panel = std::dynamic_pointer_cast<TLXDownloadProgress>(objects.at(0));
  }
  ~DownloadPanelTest() override { panel->customDelegate = nullptr; }

  void cancelDownload() override { seenAtCancel.push_back(look()); }

  std::string look() const {
    return panel->lblHeader1.lock()->text() + " / " + panel->lblHeader2.lock()->text() +
           (panel->btnCancel.lock()->isHidden() ? "" : " / cancel");
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<TLXDownloadProgress> panel;
  std::vector<std::string> seenAtCancel;
};

TEST_F(DownloadPanelTest, ShowsWhatItIsToldAndChangesItsLookBeforeItTellsOfACancel) {
  const auto indicator = panel->viewDownloadProgress.lock();
  EXPECT_EQ(indicator->tintColor(), (UIColor{1, 1, 1, 0.6}));
  EXPECT_EQ(indicator->trackColor(), UIColor::redColor());
  panel->updateCompletionCount_totalCount(-1, 1'000'000);
  EXPECT_EQ(panel->lblCompletionCount.lock()->text(), "-1/1000000");
  for (int i = 0; i < 2; ++i) {
    panel->showCancelBtn();
    EXPECT_EQ(look(), "DOWNLOADING / from iCloud / cancel");
    panel->customDelegate = this;
    EXPECT_TRUE(panel->btnCancel.lock()->press());
  }
  EXPECT_EQ(seenAtCancel, std::vector<std::string>(2, "Importing / from library"));
}

}  // namespace
}  // namespace tlx
