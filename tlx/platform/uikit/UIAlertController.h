#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

enum UIAlertActionStyle : std::int64_t {
  UIAlertActionStyleDefault = 0,
  UIAlertActionStyleCancel = 1,
};
enum UIAlertControllerStyle : std::int64_t { UIAlertControllerStyleAlert = 1 };

/// One button of an alert.
class UIAlertAction {
 public:
  using Handler = std::function<void(UIAlertAction&)>;

  static std::shared_ptr<UIAlertAction> actionWithTitle_style_handler(std::string title, UIAlertActionStyle style,
                                                                      Handler handler);
  const std::string& title() const { return title_; }
  UIAlertActionStyle style() const { return style_; }

 private:
  friend class UIAlertController;
  std::string title_;
  UIAlertActionStyle style_ = UIAlertActionStyleDefault;
  Handler handler_;
};

/// A question over the screen. Its buttons keep the order in which they were added.
class UIAlertController : public UIViewController {
 public:
  static std::shared_ptr<UIAlertController> alertControllerWithTitle_message_preferredStyle(
      std::string title, std::string message, UIAlertControllerStyle style);

  const std::string& title() const { return title_; }
  const std::string& message() const { return message_; }
  const std::vector<std::shared_ptr<UIAlertAction>>& actions() const { return actions_; }
  void addAction(std::shared_ptr<UIAlertAction> action);

  /// The person chose a button: the alert is dismissed, then the action's handler runs, once. Further choices do
  /// nothing. Answers whether the index names an action and nothing was chosen before.
  bool perform(std::size_t index);

 private:
  std::string title_, message_;
  std::vector<std::shared_ptr<UIAlertAction>> actions_;
  bool chosen_ = false;
};

}  // namespace tlx
