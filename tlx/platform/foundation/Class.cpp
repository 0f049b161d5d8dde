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

}  // namespace tlx
