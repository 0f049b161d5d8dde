#pragma once

namespace tlx {

/// The version of the picker's interface, and that of this build, such as "1.0.0".
extern "C" const double TLXMediaPickerVersionNumber;
extern "C" const char TLXMediaPickerVersionString[];

}  // namespace tlx
