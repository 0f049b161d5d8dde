#include "tlx/views/AlbumPickerTableViewController.h"

#include "tests/views/ViewsTest.h"

namespace tlx {
namespace {

using memory::LibraryContents;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr UIColor kAccent{62 / 255.0, 193 / 255.0, 199 / 255.0, 1.0};

class AlbumPickerTableTest : public ViewsTest {
 protected:
  struct Delegate : AlbumPickerDelegate {
    void pickedAlbumWithAlbumModel(const std::shared_ptr<AlbumModel>& album) override {
      const auto told = list.lock();
      const bool current = album->isAlbumSelected() && (!told || told->lastSelectedAlbum == album);
      log.push_back(album->getAlbumName() + (current ? "" : ", not yet current"));
    }
    std::optional<UIFontRef> fontsForKey(const std::string& key) override {
      return fonts ? std::optional((*fonts)[key]) : std::nullopt;
    }

    std::weak_ptr<AlbumPickerTableViewController> list;
    std::optional<std::map<std::string, UIFontRef>> fonts;
    std::vector<std::string> log;
  };

  /// A list that has settled on its first album, presented as the picker presents it.
  void open(const std::vector<std::string>& userAlbums = {"A", "B", "C"}) {
    platform.library.edit([&](LibraryContents& library) {
      library.addSmartAlbum("Camera Roll", photos("p", 3));
      for (const auto& title : userAlbums) library.addUserAlbum(title, photos(title, 2));
    });
    openLibrary();
    delegate->list = list = makeList(delegate);
    platform.advance(0.2);
    list->setModalPresentationStyle(UIModalPresentationPopover);
    platform.application.host()->presentViewController_animated_completion(list, true, nullptr);
    platform.advance(1);
    delegate->log.clear();
  }
  std::shared_ptr<TableViewCell> cell(std::int64_t row) const {
    return std::dynamic_pointer_cast<TableViewCell>(list->tableView()->cellForRowAtIndexPath({0, row}));
  }
  /// Names of the albums that bear the mark.
  std::vector<std::string> marked() const {
    std::vector<std::string> names;
    for (const auto& known : photoManager->albumList()) {
      if (known->isAlbumSelected()) names.push_back(known->getAlbumName());
    }
    return names;
  }
  bool isPresented() const { return list->presentingViewController() != nullptr; }
  bool shownAsCurrent(std::int64_t row) const { return cell(row)->lblFolderName.lock()->textColor() == kAccent; }
  void tap(std::int64_t row) {
    EXPECT_TRUE(list->tableView()->tappedAt({0, row}));
    platform.advance(1);
  }

  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
  std::shared_ptr<AlbumPickerTableViewController> list;
};

TEST_F(AlbumPickerTableTest, ReportsItsFirstAlbumATenthOfASecondAfterItIsMade) {
  platform.library.edit([](LibraryContents& library) {
    library.addUserAlbum("Trip", photos("t", 1));
    library.addSmartAlbum("Camera Roll", photos("p", 1));
  });
  openLibrary();
  list = makeList(delegate);
  EXPECT_EQ(list->getView(), list->view()) << "waking loads the view";
  ASSERT_TRUE(list->tableView()->tableFooterView());
  platform.advance(0.099);
  EXPECT_THAT(delegate->log, IsEmpty());
  platform.advance(0.001);
  EXPECT_THAT(delegate->log, ElementsAre("Camera Roll"));
  EXPECT_EQ(list->lastSelectedAlbum, album(0));

  subscribers.clear();
  list = makeList(delegate);
  platform.advance(0.05);
  change([](LibraryContents& library) { library.add(memory::photo("new"), {"Camera Roll"}); });
  platform.advance(1);
  EXPECT_THAT(marked(), ElementsAre("Camera Roll")) << "a library that is still being read changes all the time";
  EXPECT_THAT(delegate->log, ElementsAre("Camera Roll", "Camera Roll")) << "told before the first load, and not again";
}

TEST_F(AlbumPickerTableTest, MeasuresItsRowsByTheWindow) {
  const struct {
    double width;
    std::optional<UIUserInterfaceIdiom> idiom;
    double height;
  } rows[] = {{375, UIUserInterfaceIdiomPhone, 60},
              {390, std::nullopt, 63},  // a device that does not tell counts as a phone
              {768, UIUserInterfaceIdiomPad, 54}};
  openLibrary();
  list = makeList(delegate);
  for (const auto& row : rows) {
    platform.application.openWindow({row.width, 800});
    platform.application.setIdiom(row.idiom);
    EXPECT_EQ(list->tableView_heightForRowAtIndexPath(*list->tableView(), {0, 0}), row.height) << row.width;
    EXPECT_EQ(list->flImageWidth, row.height);
  }
  platform.application.closeWindow();
  EXPECT_EQ(list->tableView_heightForRowAtIndexPath(*list->tableView(), {0, 0}), 0) << "no window, no width";
}

TEST_F(AlbumPickerTableTest, FillsItsRows) {
  platform.images.setScript("p0", {.colour = 0x123456});
  open({"A"});
  const auto current = cell(0), other = cell(1);
  const auto icon = current->imgViewFolderIcon.lock();
  const auto name = current->lblFolderName.lock(), count = current->lblFolderImageNo.lock();
  EXPECT_EQ(name->text() + " " + count->text(), "Camera Roll 3");
  EXPECT_EQ(colourOf(icon->image()), 0x123456) << "the newest item";
  EXPECT_EQ(icon->frame(), CGRectMake(0, 0, 60, 60));
  EXPECT_TRUE(icon->clipsToBounds());
  EXPECT_EQ(icon->contentMode(), UIViewContentModeScaleAspectFill);
  EXPECT_EQ(name->frame().origin.x, 76);
  EXPECT_EQ(count->frame().origin.x, 300) << "the count stays where its scene puts it";
  const auto request = platform.images.requests().front();
  EXPECT_TRUE(request.imageOptions.synchronous);
  EXPECT_EQ(request.imageOptions.deliveryMode, PHImageRequestOptionsDeliveryModeOpportunistic);
  EXPECT_EQ(request.targetSize, (CGSize{130, 130}));
  EXPECT_EQ(request.contentMode, PHImageContentModeAspectFill);
  EXPECT_FALSE(request.imageOptions.networkAccessAllowed);

  EXPECT_EQ(name->textColor(), kAccent);
  EXPECT_EQ(count->textColor(), kAccent);
  EXPECT_EQ(other->lblFolderName.lock()->textColor(), (UIColor{69 / 255.0, 92 / 255.0, 102 / 255.0, 1.0}));
  EXPECT_EQ(other->lblFolderImageNo.lock()->textColor(), (UIColor{69 / 255.0, 92 / 255.0, 102 / 255.0, 0.4}));
  EXPECT_EQ(current->backgroundColor(), UIColor::clearColor());
  EXPECT_EQ(current->selectionStyle(), UITableViewCellSelectionStyleNone);

  current->updateCell_forIndexPath(
      AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount("a", nullptr, "Many", 1'234), {});
  EXPECT_EQ(count->text(), "1234") << "without grouping";
  EXPECT_FALSE(icon->image()) << "not the one of the row's former album";
}

TEST_F(AlbumPickerTableTest, OpensAtOnceAndShowsAThumbnailWhenItIsMade) {
  memory::ItemScript slow;
  slow.seconds = 20;
  platform.images.setScript("p0", slow);
  slow.degradedFirst = true;
  platform.images.setScript("A0", slow);
  platform.images.setScript("B0", {.error = NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorDamaged, "Damaged"}});
  platform.library.edit([](LibraryContents& library) { library.addSmartAlbum("Favorites", photos("p", 1)); });
  open({"A", "B"});
  const auto widths = [&] {
    std::vector<double> all;
    for (const std::int64_t row : {0, 1, 2, 3}) {
      const auto image = cell(row)->imgViewFolderIcon.lock()->image();
      all.push_back(image ? image->size().width : 0);
    }
    return all;
  };
  EXPECT_EQ(cell(1)->lblFolderName.lock()->text(), "Favorites");
  EXPECT_THAT(widths(), ElementsAre(0, 0, 53, 0)) << "what is at hand";
  const auto asked = platform.images.requests().size();
  platform.advance(20);
  EXPECT_THAT(widths(), ElementsAre(173, 173, 173, 0)) << "both albums that show the item";
  EXPECT_EQ(platform.images.requests().size(), asked + 3)
      << "rows are drawn again where a thumbnail came, and no other";
}

TEST_F(AlbumPickerTableTest, TakesFontsFromTheDelegateOnlyWhereItAnswers) {
  open({"A"});
  const auto fonts = [&] {
    list->tableView()->reloadData();
    platform.runUntilIdle();
    std::vector<std::string> names;
    for (std::int64_t row : {0, 1}) {
      const auto name = cell(row)->lblFolderName.lock()->font();
      EXPECT_EQ(name, cell(row)->lblFolderImageNo.lock()->font());
      names.push_back(name ? name->fontName() + ":" + std::to_string(static_cast<int>(name->pointSize())) : "default");
    }
    return names;
  };
  EXPECT_THAT(fonts(), ElementsAre("Raleway-Bold:12", "Raleway-Regular:12")) << "no answer leaves the row's own";
  delegate->fonts = {{"Raleway-Bold:14", UIFont::fontWithName_size("Host Bold", 20)}};
  EXPECT_THAT(fonts(), ElementsAre("Host Bold:20", "default")) << "no font under a key resets the labels";
  (*delegate->fonts)["Raleway-Medium:14"] = UIFont::fontWithName_size("Host Medium", 21);
  EXPECT_THAT(fonts(), ElementsAre("Host Bold:20", "Host Medium:21"));
}

TEST_F(AlbumPickerTableTest, AChoiceMovesTheMarkTellsAndCloses) {
  open({"A", "B", "C", "D", "E", "F", "G", "H", "I", "J", "K", "L", "M"});
  EXPECT_TRUE(shownAsCurrent(0));
  const auto requestsBefore = platform.images.requests().size();
  EXPECT_TRUE(list->tableView()->tappedAt({0, 3}));
  platform.runUntilIdle();
  EXPECT_THAT(delegate->log, ElementsAre("C"));
  EXPECT_THAT(marked(), ElementsAre("C"));
  EXPECT_FALSE(shownAsCurrent(0));
  EXPECT_TRUE(shownAsCurrent(3));
  EXPECT_EQ(platform.images.requests().size(), requestsBefore + 2) << "two rows are drawn again";
  platform.advance(1);
  EXPECT_FALSE(isPresented());

  tap(3);
  EXPECT_THAT(marked(), ElementsAre("C")) << "the current album stays current";
  EXPECT_EQ(delegate->log.size(), 2u) << "and is told again";
  tap(13);
  EXPECT_FALSE(list->tableView()->indexPathForSelectedRow()) << "nor does a row out of view stay selected";
}

TEST_F(AlbumPickerTableTest, AChangeKeepsTheCurrentAlbumUnderItsNewRecordOrChoosesTheFirst) {
  open();
  list->tableView_didSelectRowAtIndexPath(*list->tableView(), {0, 4});
  EXPECT_TRUE(isPresented()) << "a tap on a row whose album is gone does nothing";
  EXPECT_THAT(marked(), ElementsAre("Camera Roll"));
  tap(2);
  delegate->log.clear();
  change([](LibraryContents& library) { library.removeAlbum("A"); });
  EXPECT_THAT(delegate->log, IsEmpty());
  EXPECT_THAT(marked(), ElementsAre("B"));
  EXPECT_EQ(list->lastSelectedAlbum, album(1)) << "the new record";

  platform.application.host()->presentViewController_animated_completion(list, true, nullptr);
  platform.advance(1);
  change([](LibraryContents& library) { library.removeAlbum("B"); });
  EXPECT_THAT(delegate->log, ElementsAre("Camera Roll"));
  EXPECT_THAT(marked(), ElementsAre("Camera Roll"));
  EXPECT_EQ(list->lastSelectedAlbum, album(0));
  platform.advance(1);
  EXPECT_FALSE(isPresented());
}

TEST_F(AlbumPickerTableTest, JumpsToTheCameraRollByItsTitle) {
  struct Row {
    const char* reason;
    std::vector<std::string> titles;  // in place of Camera Roll, A and B
    std::vector<std::string> told;
    const char* marked;
  };
  const Row rows[] = {
      {"from another album", {"Camera Roll", "A", "B"}, {"Camera Roll"}, "Camera Roll"},
      {"already current", {"Camera Roll", "A", "B"}, {"Camera Roll"}, "Camera Roll"},
      {"the first of either title", {"Kamera", "All Photos", "Camera Roll"}, {"All Photos"}, "All Photos"},
      {"titles are compared exactly", {"Kamera", "all photos", "Camera Roll "}, {}, "all photos"}};
  open({"A", "B"});
  tap(2);
  for (const Row& row : rows) {
    change([&](LibraryContents& library) {
      for (int at = 0; at < 3; ++at) library.renameAlbum(rows[0].titles[at], row.titles[at]);
    });
    delegate->log.clear();
    list->mediaPicker_selectCameraRollAlbum("", "");
    EXPECT_EQ(delegate->log, row.told) << row.reason;
    EXPECT_THAT(marked(), ElementsAre(row.marked)) << row.reason;
  }
}

}  // namespace
}  // namespace tlx
