#pragma once

#include <QImage>
#include <QSize>

namespace tlx::qtquick {

/// `picture`, four bytes a pixel in the order red, green, blue, alpha, premultiplied, made `size` as an image of the
/// screen's: each pixel is the mean of what it covers. `Format_RGB32` where all of it is opaque, else
/// `Format_ARGB32_Premultiplied`. A cell comes onto the screen in a fraction of the time that Qt's own scaling takes.
QImage screenImage(const QImage& picture, const QSize& size);

}  // namespace tlx::qtquick
