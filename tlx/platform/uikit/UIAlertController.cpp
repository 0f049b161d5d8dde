#include "tlx/platform/uikit/UIAlertController.h"

#include <utility>

namespace tlx {

std::shared_ptr<UIAlertAction> UIAlertAction::actionWithTitle_style_handler(std::string title, UIAlertActionStyle style,
                                                                            Handler handler) {
  auto action = std::make_shared<UIAlertAction>();
  action->title_ = std::move(title);
  action->style_ = style;
  action->handler_ = std::move(handler);
  return action;
}

std::shared_ptr<UIAlertController> UIAlertController::alertControllerWithTitle_message_preferredStyle(
    std::string title, std::string message, UIAlertControllerStyle) {
  auto alert = std::make_shared<UIAlertController>();
  alert->title_ = std::move(title);
  alert->message_ = std::move(message);
  return alert;
}

void UIAlertController::addAction(std::shared_ptr<UIAlertAction> action) {
  if (action) actions_.push_back(std::move(action));
}

bool UIAlertController::perform(std::size_t index) {
  if (chosen_ || index >= actions_.size() || !presentingViewController()) return false;
  chosen_ = true;
  leave(true, [action = actions_[index]] {
    if (action->handler_) action->handler_(*action);
  });
  return true;
}

}  // namespace tlx
