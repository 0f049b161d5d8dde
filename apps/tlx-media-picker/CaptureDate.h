#pragma once

struct _VipsImage;

namespace tlx::program {

/// Notes in an image's metadata when it was taken, in seconds since 1970 UTC, for savers of JPEG and of PNG. By the
/// clock on the wall here, with its distance from universal time: viewers that know of no distances then show the time
/// that a camera without one wrote.
void setCaptureDate(_VipsImage& image, double created);

}  // namespace tlx::program
