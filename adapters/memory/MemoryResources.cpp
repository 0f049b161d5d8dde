#include "adapters/memory/MemoryResources.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/SceneParts.h"
#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"
#include "tlx/platform/uikit/UITableView.h"

#include "adapters/memory/Pictures.h"

namespace tlx::memory {
namespace {

template <class Object>
std::shared_ptr<Object> make(const std::string& className) {
  const Class* known = NSClassFromString(className);
  if (!known || !known->alloc) throw NSException(NSInvalidArgumentException, "No class " + className);
  auto object = std::dynamic_pointer_cast<Object>(known->alloc());
  if (!object) throw NSException(NSInvalidArgumentException, className + " is no class for this place in a scene");
  object->initWithCoder();
  return object;
}

/// Gives the view what is described, with everything in it, and notes what is to be connected.
void fill(const std::shared_ptr<UIView>& view, const SceneView& description, SceneParts& parts) {
  view->setFrame(description.frame);
  view->setTag(description.tag);
  view->setHidden(description.hidden);
  view->setAlpha(description.alpha);
  view->setUserInteractionEnabled(description.takesTouches);
  view->setAutoresizingMask(description.autoresizing);
  if (auto label = std::dynamic_pointer_cast<UILabel>(view)) label->setText(description.text);
  if (auto button = std::dynamic_pointer_cast<UIButton>(view)) {
    button->setTitle_forState(description.text, UIControlStateNormal);
  }
  if (!description.action.empty()) parts.actions.emplace_back(description.action, view);
  if (!description.outlet.empty()) parts.outlets.emplace_back(description.outlet, view);
  for (const SceneView& each : description.subviews) {
    const auto subview = make<UIView>(each.className);
    fill(subview, each, parts);
    view->addSubview(subview);
  }
  parts.objects.push_back(view);
}

/// A view that is its own owner: a cell, header, footer or panel.
std::shared_ptr<UIView> makeOwnedView(const SceneView& description, const CGRect* frame) {
  auto view = make<UIView>(description.className);
  SceneParts parts;
  fill(view, description, parts);
  if (frame) view->setFrame(*frame);
  connectScene(description.className, *view, description.className, parts);
  return view;
}

template <class View>
std::function<std::shared_ptr<View>(const CGRect&)> prototype(const ScenePrototype& description) {
  return [view = description.view](const CGRect& frame) {
    return std::dynamic_pointer_cast<View>(makeOwnedView(view, &frame));
  };
}

void furnish(UICollectionView& view, const Scene& scene, SceneParts& parts) {
  const auto layout = make<UICollectionViewFlowLayout>("UICollectionViewFlowLayout");
  for (const ScenePrototype& each : scene.prototypes) {
    view.registerPrototype(each.reuseIdentifier, prototype<UICollectionReusableView>(each));
    if (each.kind == ScenePrototype::Header) layout->setHeaderReferenceSize(each.view.frame.size);
    if (each.kind == ScenePrototype::Footer) layout->setFooterReferenceSize(each.view.frame.size);
  }
  view.setCollectionViewLayout(layout);
  parts.outlets.emplace_back("flowLayout", layout);
}

std::shared_ptr<UIView> loadView(const Scene& scene, NSObject& owner) {
  auto view = make<UIView>(scene.view.className);
  SceneParts parts;
  if (auto grid = std::dynamic_pointer_cast<UICollectionView>(view)) furnish(*grid, scene, parts);
  if (auto table = std::dynamic_pointer_cast<UITableView>(view)) {
    for (const ScenePrototype& each : scene.prototypes) {
      table->registerPrototype(each.reuseIdentifier, prototype<UITableViewCell>(each));
    }
  }
  fill(view, scene.view, parts);
  connectScene(scene.identifier, owner, scene.identifier, parts);
  return view;
}

}  // namespace

MemoryResources::MemoryResources() {
  registerPlatformClasses();
  for (Scene& scene : pickerScenes()) scenes_.emplace(scene.identifier, std::move(scene));
  for (Scene& file : pickerInterfaceFiles()) interfaceFiles_.emplace(file.identifier, std::move(file));
  const NSBundle own{kTLXMediaPickerBundle};
  setImage(own, "camera", solidPicture(24, 20, 0x455C66));
  setImage(own, "up_arrow_s", solidPicture(35, 19, 0x3EC1C7));
  setImage(own, "Overlay_strong", solidPicture(46, 46, 0x101820));
}

std::shared_ptr<UIViewController> MemoryResources::instantiateViewController(const NSBundle& bundle,
                                                                             const std::string& storyboard,
                                                                             const std::string& identifier) {
  const auto found = scenes_.find(identifier);
  if (bundle.identifier != kTLXMediaPickerBundle || storyboard != "PickerStoryboard" || found == scenes_.end()) {
    throw NSException(NSInvalidArgumentException,
                      "No scene " + identifier + " in " + storyboard + " of the bundle \"" + bundle.identifier + "\"");
  }
  auto controller = make<UIViewController>(identifier);
  // Weak, for the loader is the controller's own.
  controller->setViewLoader([scene = found->second, owner = controller->weak_from_this()] {
    const auto strongOwner = owner.lock();
    return strongOwner ? loadView(scene, *strongOwner) : nullptr;
  });
  controller->awakeFromNib();
  return controller;
}

std::vector<std::shared_ptr<NSObject>> MemoryResources::loadNib(const NSBundle& bundle, const std::string& name) {
  const auto found = interfaceFiles_.find(name);
  if (bundle.identifier != kTLXMediaPickerBundle || found == interfaceFiles_.end()) {
    throw NSException(NSInvalidArgumentException,
                      "No interface file " + name + " in the bundle \"" + bundle.identifier + "\"");
  }
  return {makeOwnedView(found->second.view, nullptr)};
}

std::shared_ptr<const UIImage> MemoryResources::imageNamed(const NSBundle& bundle, const std::string& name) {
  const auto found = images_.find({bundle.identifier, name});
  return found == images_.end() ? nullptr : found->second;
}

void MemoryResources::setImage(const NSBundle& bundle, const std::string& name, std::shared_ptr<const UIImage> image) {
  images_[{bundle.identifier, name}] = std::move(image);
}

}  // namespace tlx::memory
