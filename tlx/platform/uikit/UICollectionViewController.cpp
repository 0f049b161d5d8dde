#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/UICollectionView.h"

namespace tlx {

const Class& UICollectionViewController::classObject() {
  static const Class object{"UICollectionViewController",
                            "UIViewController",
                            "",
                            [] { return std::make_shared<UICollectionViewController>(); },
                            {},
                            {}};
  return object;
}

UICollectionViewController::UICollectionViewController() {
  setViewLoader([] { return std::make_shared<UICollectionView>(); });
}

std::shared_ptr<UICollectionView> UICollectionViewController::collectionView() {
  return std::dynamic_pointer_cast<UICollectionView>(view());
}

void UICollectionViewController::viewLoaded() {
  auto grid = collectionView();
  if (!grid)
    throw NSException(NSInternalInconsistencyException, "The view of a collection controller is no UICollectionView");
  grid->setDataSource(sharedAs<UICollectionViewDataSource>(this));
  grid->setDelegate(sharedAs<UICollectionViewDelegate>(this));
}

}  // namespace tlx
