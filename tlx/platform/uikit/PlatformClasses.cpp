#include "tlx/platform/uikit/PlatformClasses.h"

#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UITableView.h"

namespace tlx {

void registerPlatformClasses() {
  for (const Class* known :
       {&UIView::classObject(), &UILabel::classObject(), &UIImageView::classObject(), &UIControl::classObject(),
        &UIButton::classObject(), &UIScrollView::classObject(), &UICollectionView::classObject(),
        &UICollectionReusableView::classObject(), &UICollectionViewCell::classObject(),
        &UICollectionViewFlowLayout::classObject(), &UITableView::classObject(), &UITableViewCell::classObject(),
        &UIViewController::classObject(), &UICollectionViewController::classObject(),
        &UITableViewController::classObject()}) {
    registerClass(*known);
  }
}

}  // namespace tlx
