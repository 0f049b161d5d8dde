#pragma once

namespace tlx {

/// Makes the classes of the browsing views known by name, for scenes that hold them. Main thread; again changes
/// nothing.
void registerViewClasses();

}  // namespace tlx
