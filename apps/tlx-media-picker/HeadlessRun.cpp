#include "apps/tlx-media-picker/HeadlessRun.h"

#include <QAbstractEventDispatcher>
#include <string>
#include <vector>

#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UITableView.h"
#include "tlx/platform/uikit/UIWindow.h"
#include "tlx/views/AlbumPickerTableViewController.h"

#include "apps/tlx-media-picker/Complaint.h"

namespace tlx::program {

HeadlessRun::HeadlessRun(const Arguments& arguments, TLXMediaPickerController& picker, UIWindow& window,
                         Session& session, SettledWindow& settled)
    : arguments_(arguments), picker_(picker), window_(window), session_(session), settled_(settled) {}

void HeadlessRun::start() {
  // The picker gives no other signs than a person sees. They change while the loop is awake, and are looked at each
  // time before it sleeps.
  connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this, &HeadlessRun::proceed);
}

void HeadlessRun::proceed() {
  if (session_.hasEnded()) return;
  if (auto alert = std::dynamic_pointer_cast<UIAlertController>(picker_.presentedViewController())) {
    if (!alert->isBeingDismissed()) answerAlert(*alert);
    return;
  }
  switch (stage_) {
    case Stage::Opening:
      if (!picker_.albumPickerTableViewController) return session_.end(NoAccess);
      // The first album is chosen a moment after the list was made; in an empty library there is none to wait for.
      if (picker_.photoManager->getAlbumCount() > 0 && !picker_.mediaCollectionViewCotroller->albumModel) return;
      if (!pickAll()) return session_.end(Usage);
      if (picker_.arrPickedModel()->empty()) {
        complain("nothing could be picked");
        return session_.end(Cancelled);
      }
      if (!arguments_.screenshot.empty()) return photograph();
      return goOn(Stage::Picked);
    case Stage::Photographing:
      return;
    case Stage::Picked:
      if (picker_.arrPickedModel()->empty()) {
        complain("what was picked is no longer there");
        return session_.end(Failed);
      }
      if (auto done = picker_.btnDone.lock(); done && done->press()) stage_ = Stage::Fetching;
      return;
    case Stage::Fetching:
      return;
  }
}

void HeadlessRun::goOn(Stage stage) {
  stage_ = stage;
  QMetaObject::invokeMethod(
      this, [] {}, Qt::QueuedConnection);
}

bool HeadlessRun::pickAll() {
  for (const Arguments::Pick& each : arguments_.picks) {
    if (!full_ && !pick(each)) return false;
  }
  return true;
}

bool HeadlessRun::pick(const Arguments::Pick& pick) {
  PhotoManager& manager = *picker_.photoManager;
  auto list = std::dynamic_pointer_cast<AlbumPickerTableViewController>(picker_.albumPickerTableViewController);
  std::int64_t row = -1;
  for (std::int64_t i = 0; i < manager.getAlbumCount() && row < 0; ++i) {
    const auto album = manager.getAlbumModelAtIndex(static_cast<std::uint64_t>(i));
    if (album->getAlbumName() == pick.album || album->localIdentifier().string() == pick.album) row = i;
  }
  if (row < 0) {
    complain("there is no album \"" + pick.album + "\"");
    return false;
  }
  list->tableView_didSelectRowAtIndexPath(*list->tableView(), {0, row});
  window_.layoutIfNeeded();
  const auto grid = picker_.mediaCollectionViewCotroller->collectionView();
  const auto album = manager.getAlbumModelAtIndex(static_cast<std::uint64_t>(row));
  for (const auto& [first, last] : pick.ranges) {
    if (last >= static_cast<std::uint64_t>(album->getMediaCount())) {
      complain("the album \"" + pick.album + "\" has " + std::to_string(album->getMediaCount()) +
               " items; there is no " + std::to_string(last));
      return false;
    }
    for (std::uint64_t position = first; position <= last; ++position) {
      const auto model = album->getMediaModelAtIndex(position);
      // A tap on a picked item would unpick it: naming an item twice picks it once.
      if (!model || picker_.isMediaAlreadyPicked(model->getMediaIdentifier())) continue;
      grid->tappedAt({0, static_cast<std::int64_t>(position)});
      if (!model->isModelSelected()) {
        complain("the limit of " + std::to_string(picker_.iImageLimit) + " items is reached");
        full_ = true;
        return true;
      }
    }
  }
  return true;
}

void HeadlessRun::photograph() {
  stage_ = Stage::Photographing;
  settled_.save(arguments_.screenshot, [this](const std::string& error) {
    if (error.empty()) return goOn(Stage::Picked);
    complain(error);
    session_.end(Failed);
  });
}

void HeadlessRun::answerAlert(UIAlertController& alert) {
  std::vector<std::string> wanted;
  if (arguments_.onFailure == Arguments::OnFailure::Continue) {
    wanted = {"Continue", "Continue Anyway"};
  } else if (arguments_.onFailure == Arguments::OnFailure::Retry && !retried_) {
    wanted = {"Retry"};
  }
  for (std::size_t i = 0; i < alert.actions().size(); ++i) {
    for (const std::string& title : wanted) {
      if (alert.actions()[i]->title() != title) continue;
      retried_ = retried_ || title == "Retry";
      alert.perform(i);
      return;
    }
  }
  for (std::size_t i = 0; i < alert.actions().size(); ++i) {
    if (alert.actions()[i]->style() == UIAlertActionStyleCancel) alert.perform(i);
  }
  session_.end(Failed);
}

}  // namespace tlx::program
