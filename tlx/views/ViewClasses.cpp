#include "tlx/views/ViewClasses.h"

#include "tlx/views/AlbumPickerTableViewController.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/CustomAlbumButton.h"
#include "tlx/views/MediaCollectionViewController.h"
#include "tlx/views/TableViewCell.h"

namespace tlx {

void registerViewClasses() {
  registerClass(MediaCollectionViewController::classObject());
  registerClass(CollectionViewCell::classObject());
  registerClass(AlbumPickerTableViewController::classObject());
  registerClass(TableViewCell::classObject());
  registerClass(CustomAlbumButton::classObject());
}

}  // namespace tlx
