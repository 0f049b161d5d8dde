#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

/// Gives each outlet that the view's class declares a new view of the outlet's class, below the view itself, as a scene
/// would. The classes must be registered.
template <class Owner>
void connectOutlets(const std::shared_ptr<Owner>& owner) {
  for (const Outlet& outlet : Owner::classObject().outlets) {
    const Class* targetClass = NSClassFromString(outlet.targetClass);
    ASSERT_TRUE(targetClass) << outlet.targetClass;
    const auto target = targetClass->alloc();
    target->initWithCoder();
    ASSERT_TRUE(outlet.connect(*owner, target)) << outlet.name;
    owner->addSubview(std::dynamic_pointer_cast<UIView>(target));
  }
}

}  // namespace tlx
