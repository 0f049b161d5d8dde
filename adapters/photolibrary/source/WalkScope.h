#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tlx::photolibrary {

/// What of a source is to be looked at: everything, or some paths, each with all that lies below it. What lay at such a
/// path and is met nowhere any more is gone; what lies elsewhere is taken to be as it was.
class WalkScope {
 public:
  using Names = std::set<std::string, std::less<>>;

  static WalkScope everything();
  /// `path` absolute, without a closing slash. Past some hundred thousand paths the scope is everything.
  void add(const std::string& path);
  void add(const WalkScope& other);

  bool isEverything() const { return everything_; }
  bool empty() const { return !everything_ && folders_.empty(); }
  /// Whether the folder itself is to be looked at, and so all below it.
  bool holds(const std::string& folder) const;
  /// Which names directly in the folder are to be looked at, when the folder itself is not held. Nothing for none.
  const Names* namesIn(const std::string& folder) const;
  /// Whether any path lies at or below this one, or holds it.
  bool touches(const std::string& path) const;

  /// The names by their folder, when not everything.
  const std::unordered_map<std::string, Names>& folders() const { return folders_; }

 private:
  bool everything_ = false;
  std::size_t count_ = 0;
  std::unordered_map<std::string, Names> folders_;
};

/// `path` without its last name; "/" for what lies directly there, and nothing above "/".
std::string folderOf(const std::string& path);
std::string_view lastNameOf(std::string_view path);
std::string pathIn(const std::string& folder, std::string_view name);

}  // namespace tlx::photolibrary
