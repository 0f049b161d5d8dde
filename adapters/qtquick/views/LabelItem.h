#pragma once

#include <QColor>
#include <QFont>
#include <QString>

#include "tlx/platform/uikit/UIFont.h"

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

/// The font that draws `font`, or the machine's own at the platform's default size for nothing. A name may end in a
/// weight after a dash, as in "Family-Bold".
QFont toQFont(const UIFontRef& font);

/// Shows a label. The scene's file draws `shownText` in `shownFont` and `shownColor`.
class LabelItem : public ViewItem {
  Q_OBJECT
  Q_PROPERTY(QString text MEMBER seedText_)
  Q_PROPERTY(qreal pointSize MEMBER seedSize_)
  Q_PROPERTY(QString fontName MEMBER seedFontName_)
  Q_PROPERTY(QColor color MEMBER sceneColor_ NOTIFY shownColorChanged)
  Q_PROPERTY(QString shownText READ shownText NOTIFY shownTextChanged)
  Q_PROPERTY(QFont shownFont READ shownFont NOTIFY shownFontChanged)
  Q_PROPERTY(bool partOfControl READ isPartOfControl NOTIFY shownTextChanged)
  Q_PROPERTY(QColor shownColor READ shownColor NOTIFY shownColorChanged)
  QML_NAMED_ELEMENT(LabelView)

 public:
  using ViewItem::ViewItem;
  QString shownText() const;
  QFont shownFont() const;
  QColor shownColor() const;
  /// A button's title, which the button says itself.
  bool isPartOfControl() const;

 Q_SIGNALS:
  void shownTextChanged();
  void shownFontChanged();
  void shownColorChanged();

 protected:
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;
  void attached() override;
  void apply(UIView& view, UIViewChange change) override;

 private:
  QString seedText_, seedFontName_;
  std::string toldText_;  // a cell that is used again is often given the text that it had
  qreal seedSize_ = 0;
  QColor sceneColor_;
};

}  // namespace tlx::qtquick
