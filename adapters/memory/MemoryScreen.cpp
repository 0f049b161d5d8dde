#include "adapters/memory/MemoryScreen.h"

#include <algorithm>

#include "tlx/platform/uikit/UIPopoverPresentationController.h"

namespace tlx::memory {

CGSize MemoryTextMeasurement::sizeOfText(const std::string& text, const UIFontRef& font) {
  if (text.empty()) return {};
  const double points = font ? font->pointSize() : defaultPointSize;
  // Bytes that continue a UTF-8 character add no width.
  const auto characters = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
  return {static_cast<double>(characters) * points / 2, points * 1.2};
}

void MemoryPresentation::record(const UIViewController& controller, bool presented, bool animated) {
  Event event{Event::FullScreen, presented, animated, {}, {}, {}};
  if (const auto* alert = dynamic_cast<const UIAlertController*>(&controller)) {
    event.kind = Event::Alert;
    event.title = alert->title();
    event.message = alert->message();
    for (const auto& action : alert->actions()) event.buttons.push_back(action->title());
  } else if (controller.modalPresentationStyle() == UIModalPresentationPopover) {
    event.kind = Event::Popover;
  }
  events_.push_back(std::move(event));
}

void MemoryPresentation::present(const std::shared_ptr<UIViewController>& presented, bool animated) {
  record(*presented, true, animated);
  screens_.push_back(presented);
}

void MemoryPresentation::dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) {
  record(*presented, false, animated);
  std::erase_if(screens_, [&](const auto& screen) { return screen.expired() || screen.lock() == presented; });
}

std::shared_ptr<UIViewController> MemoryPresentation::top() const {
  for (auto screen = screens_.rbegin(); screen != screens_.rend(); ++screen) {
    if (auto controller = screen->lock()) return controller;
  }
  return nullptr;
}

std::shared_ptr<UIPopoverPresentationController> MemoryPresentation::popover() const {
  const auto controller = top();
  return controller ? controller->popoverPresentationController() : nullptr;
}

bool MemoryPresentation::press(const std::string& button) {
  const auto shown = alert();
  if (!shown) return false;
  for (std::size_t index = 0; index < shown->actions().size(); ++index) {
    if (shown->actions()[index]->title() == button) return shown->perform(index);
  }
  return false;
}

bool MemoryPresentation::pressOutside() {
  const auto shown = popover();
  return shown && shown->requestDismissal();
}

bool MemoryApplication::openURL(const std::string& url) {
  openedURLs_.push_back(url);
  return true;
}

void MemoryApplication::openWindow(const CGSize& size) {
  window_ = std::make_shared<UIWindow>(CGRectMake(0, 0, size.width, size.height));
  window_->setRootViewController(std::make_shared<UIViewController>());
}

void MemoryApplication::closeWindow() {
  window_ = nullptr;
}

}  // namespace tlx::memory
