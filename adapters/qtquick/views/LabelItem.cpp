#include "adapters/qtquick/views/LabelItem.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <utility>

#include "tlx/platform/uikit/UIControl.h"
#include "tlx/platform/uikit/UILabel.h"

namespace tlx::qtquick {
namespace {

constexpr double kDefaultPointSize = 17;

struct NamedWeight {
  const char* name;
  QFont::Weight weight;
};
constexpr NamedWeight kWeights[] = {
    {"Light", QFont::Light},       {"Regular", QFont::Normal}, {"Medium", QFont::Medium},
    {"Semibold", QFont::DemiBold}, {"Bold", QFont::Bold},      {"Black", QFont::Black},
};

}  // namespace

QFont toQFont(const UIFontRef& font) {
  QFont drawn = QGuiApplication::font();
  drawn.setPixelSize(static_cast<int>(kDefaultPointSize));
  if (!font) return drawn;
  QString family = QString::fromStdString(font->fontName());
  for (const NamedWeight& named : kWeights) {
    if (!family.endsWith(QLatin1Char('-') + QLatin1String(named.name))) continue;
    drawn.setWeight(named.weight);
    family.chop(static_cast<int>(qstrlen(named.name)) + 1);
    break;
  }
  if (!family.isEmpty() && QFontDatabase::hasFamily(family)) drawn.setFamilies({family});
  if (font->pointSize() >= 1) drawn.setPixelSize(qRound(font->pointSize()));
  return drawn;
}

std::shared_ptr<UIView> LabelItem::makeView() {
  return std::make_shared<UILabel>();
}

void LabelItem::seed(UIView& view) {
  auto* label = dynamic_cast<UILabel*>(&view);
  if (!label) return;
  label->setText(seedText_.toStdString());
  if (seedSize_ > 0) label->setFont(UIFont::fontWithName_size(seedFontName_.toStdString(), seedSize_));
}

QString LabelItem::shownText() const {
  auto label = viewAs<UILabel>();
  return label ? QString::fromStdString(label->text()) : seedText_;
}

QFont LabelItem::shownFont() const {
  auto label = viewAs<UILabel>();
  return toQFont(label ? label->font() : nullptr);
}

bool LabelItem::isPartOfControl() const {
  auto label = view();
  return label && std::dynamic_pointer_cast<UIControl>(label->superview());
}

QColor LabelItem::shownColor() const {
  auto label = viewAs<UILabel>();
  if (!label || !label->textColor()) return sceneColor_;
  const UIColor& c = *label->textColor();
  return QColor::fromRgbF(static_cast<float>(c.red), static_cast<float>(c.green), static_cast<float>(c.blue),
                          static_cast<float>(c.alpha));
}

void LabelItem::attached() {
  if (auto label = viewAs<UILabel>()) toldText_ = label->text();
  Q_EMIT shownTextChanged();
  Q_EMIT shownFontChanged();
  Q_EMIT shownColorChanged();
}

void LabelItem::apply(UIView& view, UIViewChange change) {
  switch (change) {
    case UIViewChange::Text:
      if (auto label = viewAs<UILabel>(); label && std::exchange(toldText_, label->text()) != label->text()) {
        Q_EMIT shownTextChanged();
      }
      break;
    case UIViewChange::Font:
      Q_EMIT shownFontChanged();
      break;
    case UIViewChange::TextColor:
      Q_EMIT shownColorChanged();
      break;
    default:
      ViewItem::apply(view, change);
  }
}

}  // namespace tlx::qtquick
