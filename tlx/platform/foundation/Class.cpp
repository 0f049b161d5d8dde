#include "tlx/platform/foundation/Class.h"

#include <map>

namespace tlx {
namespace {

std::map<std::string, const Class*, std::less<>>& classes() {
  static std::map<std::string, const Class*, std::less<>> all;
  return all;
}

}  // namespace

void registerClass(const Class& classObject) {
  classes().emplace(classObject.name, &classObject);
}

const Class* NSClassFromString(std::string_view name) {
  auto found = classes().find(name);
  return found == classes().end() ? nullptr : found->second;
}

bool isKindOfClass(std::string_view name, std::string_view ancestor) {
  for (const Class* known = NSClassFromString(name);; known = NSClassFromString(known->superclass)) {
    if (name == ancestor || (known && known->superclass == ancestor)) return true;
    if (!known || known->superclass.empty()) return false;
  }
}

}  // namespace tlx
