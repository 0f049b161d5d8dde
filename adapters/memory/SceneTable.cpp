#include "adapters/memory/SceneTable.h"

#include "tlx/platform/uikit/UIView.h"

namespace tlx::memory {
namespace {

constexpr CGRect kScreen = CGRectMake(0, 0, 375, 667);
constexpr std::uint64_t kWide = UIViewAutoresizingFlexibleWidth;
constexpr std::uint64_t kWhole = UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight;

SceneView label(std::string outlet, const CGRect& frame, std::string text = {}) {
  return {.className = "UILabel", .outlet = std::move(outlet), .frame = frame, .text = std::move(text)};
}

Scene picker() {
  SceneView top{.className = "UIView", .frame = CGRectMake(0, 0, 375, 61), .autoresizing = kWide};
  top.subviews = {{.className = "UIButton",
                   .frame = CGRectMake(8, 16, 70, 40),
                   .tag = 106,
                   .text = "Cancel",
                   .action = "btnPressed:"},
                  {.className = "CustomAlbumButton",
                   .outlet = "btnAlbumPicker",
                   .frame = CGRectMake(86, 16, 203, 40),
                   .tag = 102,
                   .action = "btnPressed:",
                   .autoresizing = kWide},
                  {.className = "UIButton", .outlet = "btnSelected", .frame = CGRectMake(0, 0, 1, 1), .hidden = true},
                  {.className = "UILabel", .outlet = "lblPhotoCount", .frame = CGRectMake(347, 16, 28, 40), .alpha = 0},
                  {.className = "UIButton",
                   .outlet = "btnDone",
                   .frame = CGRectMake(297, 16, 50, 40),
                   .tag = 105,
                   .text = "Done",
                   .action = "btnPressed:",
                   .alpha = 0,
                   .takesTouches = false}};

  SceneView access{
      .className = "UIView", .outlet = "viewAccessContainer", .frame = kScreen, .hidden = true, .autoresizing = kWhole};
  access.subviews = {label("lblAllowAccess1", CGRectMake(20, 200, 335, 24)),
                     label("lblAllowAccess2", CGRectMake(20, 232, 335, 24)),
                     label("lblAllowAccess3", CGRectMake(20, 256, 335, 24)),
                     {.className = "UIButton",
                      .outlet = "btnAllowAccess",
                      .frame = CGRectMake(112, 300, 150, 44),
                      .text = "Allow access",
                      .action = "btnAllowAccess:"}};
  SceneView empty{
      .className = "UIView", .outlet = "viewNoPhotos", .frame = kScreen, .hidden = true, .autoresizing = kWhole};
  empty.subviews = {label("lblNoPhotos1", CGRectMake(20, 300, 335, 24)),
                    label("lblNoPhotos2", CGRectMake(20, 324, 335, 24))};
  SceneView banner{.className = "UIView",
                   .outlet = "viewPhotoLimitationWarning",
                   .frame = CGRectMake(0, 0, 375, 61),
                   .hidden = true,
                   .autoresizing = kWide};
  banner.subviews = {label("lblLimitationWarning", CGRectMake(20, 20, 335, 24))};

  SceneView container{.className = "UIView", .outlet = "viewContainer", .frame = kScreen, .autoresizing = kWhole};
  container.subviews = {top,
                        {.className = "UIView", .outlet = "viewCLContainer", .frame = kScreen, .autoresizing = kWhole},
                        empty,
                        access,
                        {.className = "UIView",
                         .outlet = "viewTbContainer",
                         .frame = kScreen,
                         .alpha = 0,
                         .takesTouches = false,
                         .autoresizing = kWhole},
                        {.className = "UIButton", .outlet = "btnCamera"}};

  Scene scene{"TLXMediaPickerController", {.className = "UIView", .frame = kScreen}};
  scene.view.subviews = {container, banner};
  return scene;
}

Scene grid() {
  Scene scene{"MediaCollectionViewController", {.className = "UICollectionView", .frame = kScreen}};
  const CGRect whole = CGRectMake(0, 0, 92, 92);
  SceneView cell{.className = "CollectionViewCell", .frame = whole};
  cell.subviews = {
      {.className = "UIImageView", .outlet = "imgViewImagIcon", .frame = whole, .autoresizing = kWhole},
      {.className = "UIImageView", .outlet = "imgViewOverLay", .frame = whole, .hidden = true, .autoresizing = kWhole},
      {.className = "UILabel", .outlet = "lblVideoLength", .frame = CGRectMake(4, 72, 84, 18), .hidden = true}};
  SceneView header{.className = "UICollectionReusableView", .frame = CGRectMake(0, 0, 375, 60)};
  header.subviews = {{.className = "UIButton", .frame = CGRectMake(160, 5, 55, 50), .tag = 101}};
  SceneView footer{.className = "UICollectionReusableView", .frame = CGRectMake(0, 0, 375, 50)};
  footer.subviews = {{.className = "UILabel", .frame = CGRectMake(0, 13, 375, 24), .tag = 101, .autoresizing = kWide}};
  scene.prototypes = {{ScenePrototype::Cell, "CollectionViewCell", cell},
                      {ScenePrototype::Header, "HeaderView", header},
                      {ScenePrototype::Footer, "FooterView", footer}};
  return scene;
}

Scene albumList() {
  Scene scene{"AlbumPickerTableViewController", {.className = "UITableView", .frame = kScreen}};
  SceneView row{.className = "TableViewCell", .frame = CGRectMake(0, 0, 375, 60)};
  row.subviews = {{.className = "UIImageView", .outlet = "imgViewFolderIcon", .frame = CGRectMake(0, 0, 60, 60)},
                  {.className = "UILabel", .outlet = "lblFolderName", .frame = CGRectMake(76, 20, 220, 20)},
                  {.className = "UILabel", .outlet = "lblFolderImageNo", .frame = CGRectMake(300, 20, 60, 20)}};
  scene.prototypes = {{ScenePrototype::Cell, "TableViewCell", row}};
  return scene;
}

Scene downloadPanel() {
  Scene scene{"TLXDownloadProgress", {.className = "TLXDownloadProgress", .frame = kScreen}};
  scene.view.subviews = {
      label("lblHeader1", CGRectMake(20, 200, 335, 24), "Importing"),
      label("lblHeader2", CGRectMake(20, 224, 335, 24), "from library"),
      {.className = "CERoundProgressView", .outlet = "viewDownloadProgress", .frame = CGRectMake(137, 260, 100, 100)},
      label("lblDownloadProgress", CGRectMake(137, 298, 100, 24)),
      label("lblCompletionCount", CGRectMake(20, 370, 335, 24)),
      {.className = "UIButton",
       .outlet = "btnCancel",
       .frame = CGRectMake(137, 410, 100, 44),
       .text = "Cancel",
       .action = "btnDownloadCancelPressed:"}};
  return scene;
}

}  // namespace

std::vector<Scene> pickerScenes() {
  return {picker(), grid(), albumList()};
}

std::vector<Scene> pickerInterfaceFiles() {
  return {downloadPanel()};
}

}  // namespace tlx::memory
