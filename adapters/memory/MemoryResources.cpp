#include "adapters/memory/MemoryResources.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"
#include "tlx/platform/uikit/UITableView.h"

#include "adapters/memory/Pictures.h"

namespace tlx::memory {
namespace {

/// What of a scene its owner's outlets can be connected to, by outlet, with the class it was made of.
using Connections = std::map<std::string, std::pair<std::string, std::shared_ptr<NSObject>>>;

template <class Object>
std::shared_ptr<Object> make(const std::string& className) {
  const Class* known = NSClassFromString(className);
  if (!known || !known->alloc) throw NSException(NSInvalidArgumentException, "No class " + className);
  auto object = std::dynamic_pointer_cast<Object>(known->alloc());
  if (!object) throw NSException(NSInvalidArgumentException, className + " is no class for this place in a scene");
  object->initWithCoder();
  return object;
}

const Action* findAction(const std::string& className, const std::string& action) {
  for (const Class* known = NSClassFromString(className); known; known = NSClassFromString(known->superclass)) {
    for (const Action& each : known->actions) {
      if (each.name == action) return &each;
    }
  }
  return nullptr;
}

/// Puts together what is described within one owner.
class Assembly {
 public:
  Assembly(std::string className, std::weak_ptr<NSObject> owner)
      : className_(std::move(className)), owner_(std::move(owner)) {}

  /// The view without its outlets, and everything in it ready to use.
  void fill(const std::shared_ptr<UIView>& view, const SceneView& description) {
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
    if (!description.action.empty()) wire(view, description.action);
    if (!description.outlet.empty()) connections_[description.outlet] = {description.className, view};
    for (const SceneView& each : description.subviews) {
      const auto subview = make<UIView>(each.className);
      fill(subview, each);
      view->addSubview(subview);
      subview->awakeFromNib();
    }
  }
  void offer(const std::string& outlet, const std::string& className, std::shared_ptr<NSObject> object) {
    connections_[outlet] = {className, std::move(object)};
  }

  void connect(NSObject& owner) const {
    for (const Class* known = NSClassFromString(className_); known; known = NSClassFromString(known->superclass)) {
      for (const Outlet& outlet : known->outlets) {
        auto found = connections_.find(outlet.name);
        if (found == connections_.end()) {
          throw NSException(NSInternalInconsistencyException,
                            "The scene " + className_ + " lacks the outlet " + outlet.name);
        }
        const auto& [targetClass, target] = found->second;
        if (!isKindOfClass(targetClass, outlet.targetClass) || !outlet.connect(owner, target)) {
          throw NSException(NSInternalInconsistencyException,
                            "The scene " + className_ + " connects the outlet " + outlet.name + " to a " + targetClass);
        }
      }
    }
  }

 private:
  void wire(const std::shared_ptr<UIView>& view, const std::string& name) {
    const auto control = std::dynamic_pointer_cast<UIControl>(view);
    const Action* action = findAction(className_, name);
    if (!control || !action) {
      throw NSException(NSInternalInconsistencyException, "The scene " + className_ + " cannot send " + name);
    }
    control->addSceneAction(owner_, *action, UIControlEventTouchUpInside);
  }

  std::string className_;
  std::weak_ptr<NSObject> owner_;
  Connections connections_;
};

/// A view that is its own owner: a cell, header, footer or panel.
std::shared_ptr<UIView> makeOwnedView(const SceneView& description, const CGRect* frame) {
  auto view = make<UIView>(description.className);
  Assembly assembly(description.className, view);
  assembly.fill(view, description);
  if (frame) view->setFrame(*frame);
  assembly.connect(*view);
  view->awakeFromNib();
  return view;
}

template <class View>
std::function<std::shared_ptr<View>(const CGRect&)> prototype(const ScenePrototype& description) {
  return [view = description.view](const CGRect& frame) {
    return std::dynamic_pointer_cast<View>(makeOwnedView(view, &frame));
  };
}

void furnish(UICollectionView& view, const Scene& scene, Assembly& assembly) {
  const auto layout = make<UICollectionViewFlowLayout>("UICollectionViewFlowLayout");
  for (const ScenePrototype& each : scene.prototypes) {
    view.registerPrototype(each.reuseIdentifier, prototype<UICollectionReusableView>(each));
    if (each.kind == ScenePrototype::Header) layout->setHeaderReferenceSize(each.view.frame.size);
    if (each.kind == ScenePrototype::Footer) layout->setFooterReferenceSize(each.view.frame.size);
  }
  view.setCollectionViewLayout(layout);
  assembly.offer("flowLayout", "UICollectionViewFlowLayout", layout);
}

std::shared_ptr<UIView> loadView(const Scene& scene, const std::shared_ptr<NSObject>& owner) {
  auto view = make<UIView>(scene.view.className);
  Assembly assembly(scene.identifier, owner);
  if (auto grid = std::dynamic_pointer_cast<UICollectionView>(view)) furnish(*grid, scene, assembly);
  if (auto table = std::dynamic_pointer_cast<UITableView>(view)) {
    for (const ScenePrototype& each : scene.prototypes) {
      table->registerPrototype(each.reuseIdentifier, prototype<UITableViewCell>(each));
    }
  }
  assembly.fill(view, scene.view);
  view->awakeFromNib();
  assembly.connect(*owner);
  return view;
}

void visitViews(std::vector<SceneView>& views, const std::string& outlet,
                const std::function<void(SceneView&)>& change) {
  for (SceneView& view : views) {
    visitViews(view.subviews, outlet, change);
    if (view.outlet == outlet) change(view);
  }
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
    return strongOwner ? loadView(scene, strongOwner) : nullptr;
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

void MemoryResources::forEachView(const std::string& className, const std::string& outlet,
                                  const std::function<void(SceneView&)>& change) {
  for (auto* table : {&scenes_, &interfaceFiles_}) {
    for (auto& [identifier, scene] : *table) {
      if (identifier == className) visitViews(scene.view.subviews, outlet, change);
      for (ScenePrototype& each : scene.prototypes) {
        if (each.view.className == className) visitViews(each.view.subviews, outlet, change);
      }
    }
  }
}

void MemoryResources::disconnect(const std::string& className, const std::string& outlet) {
  forEachView(className, outlet, [](SceneView& view) { view.outlet.clear(); });
}

void MemoryResources::replace(const std::string& className, const std::string& outlet, const std::string& byClass) {
  forEachView(className, outlet, [&](SceneView& view) { view.className = byClass; });
}

}  // namespace tlx::memory
