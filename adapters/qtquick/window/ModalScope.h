#pragma once

#include <QPointer>
#include <QQuickItem>
#include <vector>

namespace tlx::qtquick {

/// Stands in an item that covers its screen. While that item is seen, what lies beneath it in the window hears neither
/// hands nor keys nor assistive technology, and the item has the keyboard; then what had it before has it again, unless
/// something else has taken it meanwhile.
class ModalScope : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT

 public:
  using QQuickItem::QQuickItem;
  ~ModalScope() override;

 protected:
  void componentComplete() override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;

 private:
  void follow();
  void cover();
  void uncover();

  bool covers_ = false;
  std::vector<QPointer<QQuickItem>> covered_;
  QPointer<QQuickItem> before_;  ///< had the keyboard
};

}  // namespace tlx::qtquick
