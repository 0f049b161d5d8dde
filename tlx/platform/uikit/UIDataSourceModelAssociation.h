#pragma once

#include <optional>

#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/foundation/NSIndexPath.h"

namespace tlx {

class UIView;

/// What a grid's data source may also be, so that a place in the grid can be kept through changes of the data: elements
/// by what they show. Main thread.
class UIDataSourceModelAssociation {
 public:
  virtual ~UIDataSourceModelAssociation() = default;
  /// Absent where there is no element.
  virtual Identifier modelIdentifierForElementAtIndexPath_inView(const NSIndexPath& indexPath,
                                                                 const UIView& view) const = 0;
  /// Nothing when no element shows it. Asked rarely: it may look at every element.
  virtual std::optional<NSIndexPath> indexPathForElementWithModelIdentifier_inView(const Identifier& identifier,
                                                                                   const UIView& view) const = 0;
};

}  // namespace tlx
