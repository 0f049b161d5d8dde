#include "tlx/platform/uikit/UIGraphics.h"

#include <vector>

namespace tlx {
namespace {

thread_local std::vector<std::unique_ptr<CGBitmapContext>> contexts;

}  // namespace

void UIGraphicsBeginImageContext(CGSize size) {
  contexts.push_back(std::make_unique<CGBitmapContext>(size));
}

CGBitmapContext* UIGraphicsGetCurrentContext() {
  return contexts.empty() ? nullptr : contexts.back().get();
}

std::shared_ptr<const UIImage> UIGraphicsGetImageFromCurrentImageContext() {
  CGBitmapContext* context = UIGraphicsGetCurrentContext();
  auto bitmap = context ? context->makeImage() : nullptr;
  return bitmap ? std::make_shared<UIImage>(std::move(bitmap)) : nullptr;
}

void UIGraphicsEndImageContext() {
  if (!contexts.empty()) contexts.pop_back();
}

}  // namespace tlx
