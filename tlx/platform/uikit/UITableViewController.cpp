#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/UITableView.h"

namespace tlx {

const Class& UITableViewController::classObject() {
  static const Class object{"UITableViewController",
                            "UIViewController",
                            "",
                            [] { return std::make_shared<UITableViewController>(); },
                            {},
                            {}};
  return object;
}

UITableViewController::UITableViewController() {
  setViewLoader([] { return std::make_shared<UITableView>(); });
}

std::shared_ptr<UITableView> UITableViewController::tableView() {
  return std::dynamic_pointer_cast<UITableView>(view());
}

void UITableViewController::viewLoaded() {
  auto table = tableView();
  if (!table) throw NSException(NSInternalInconsistencyException, "The view of a table controller is no UITableView");
  table->setDataSource(sharedAs<UITableViewDataSource>(this));
  table->setDelegate(sharedAs<UITableViewDelegate>(this));
}

}  // namespace tlx
