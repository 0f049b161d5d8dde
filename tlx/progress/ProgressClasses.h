#pragma once

namespace tlx {

/// Makes the classes of the progress views known by name, for interface files that hold them. Main thread; again
/// changes nothing.
void registerProgressClasses();

}  // namespace tlx
