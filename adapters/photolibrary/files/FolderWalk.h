#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/base/WorkCrew.h"
#include "adapters/photolibrary/catalogue/KnownFiles.h"
#include "adapters/photolibrary/files/FolderWatch.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// One look at folder trees and the trash, by one worker per core.
///
/// Left out: hidden files and folders, file systems that only show the kernel's state (`FileStatus::pseudo`), a folder
/// with a file `.nomedia` and all below it (a root itself excepted: naming it is asking for it), empty files, and
/// whatever is not a regular file. Real folders are walked first and symbolic links followed afterwards, in order of
/// their paths, so that a folder or file is met plainly where it can be, whatever the workers' luck; a folder is
/// entered once, a link to a root or above one is never followed, and one that leads nowhere below a root is not, with
/// a word, unless links are said to lead anywhere. A file that is being written stays what it was, or unseen, until it
/// is whole. What cannot be reached by a path, being too deep, is passed over with a word.
class FolderWalk {
 public:
  enum class Links { WithinRoots, Anywhere };

  /// `watch` is told of every folder that is entered, and what to look at again later; nothing for a look by itself.
  /// All references outlive the walk.
  FolderWalk(const std::vector<std::string>& roots, const KnownFiles& known, DecodersPort& decoders,
             WalkListener& listener, const WalkScope& scope, Links links, FolderWatch* watch, std::stop_token stop);
  WalkOutcome run();

 private:
  struct Place {
    std::string path;
    std::size_t root = 0;
    std::string relative;
    bool trashed = false;
    bool followLink = false;
    bool isRoot() const { return relative.empty() && !trashed; }
    Place below(const std::string& name) const;
  };
  /// A folder while its files are looked at: several workers may share it.
  struct OpenFolder {
    Place place;
    FileDescriptor descriptor;
    std::uint64_t device = 0;
    Folder folder;
    std::vector<KnownFiles::File> known;
    /// The XMP files in it, by name; nothing when the folder was not listed.
    std::optional<std::vector<std::string>> sidecars;
  };
  struct Listing {
    std::vector<std::string> files, folders, links;
    bool excluded = false;
    bool broken = false;
  };
  struct Sidecar {
    std::string name;
    FileStatus status;
  };
  /// A file whose header is still to be read, and what is known of it without that.
  struct Unread {
    FoundItem found;
    FileDescriptor file;
    std::optional<Sidecar> sidecar;
  };
  /// What one look tells of a folder.
  struct Look {
    const OpenFolder& folder;
    FolderFindings findings = {};
    std::vector<Unread> unread = {};
  };
  struct Link {
    Place place;  ///< of the folder that holds it
    std::string name;
  };

  void addParts();
  std::vector<std::size_t> ownRoots() const;
  std::optional<Place> placeOf(const std::string& folder, const std::vector<std::size_t>& roots) const;
  void addTrash();
  void enter(const Place& place);
  void enterPart(const Place& place, const WalkScope::Names& names);
  bool entersAnew(const OpenFolder& folder);
  std::shared_ptr<OpenFolder> open(const Place& place, const WalkScope::Names* names = nullptr);
  static Listing list(int folder);
  void addFiles(const std::shared_ptr<OpenFolder>& folder, std::vector<std::string> names);
  void lookAt(const OpenFolder& folder, const std::vector<std::string>& names);
  void look(Look& look, const std::string& name, bool followLink);
  std::optional<Sidecar> sidecarOf(const OpenFolder& folder, const std::string& name) const;
  void examine(Look& look, const std::string& name, const FileStatus& status, const std::optional<Sidecar>& sidecar,
               bool linked);
  void readHeaders(Look& look);
  void leave(Look& look, const std::string& identifier, const std::string& name, int error);
  static FoundItem complete(const OpenFolder& folder, FoundItem found);
  void tell(Look& look, bool linked);
  std::string identifyFolder(const FileKey& key);
  std::string identify(const OpenFolder& folder, const std::string& name, const FileStatus& status) const;
  void followLinks();
  bool mustWait(const OpenFolder& folder, const std::string& name, const FileStatus& status, int file) const;
  bool leadsAboveARoot(const std::string& path) const;
  bool leadsBelowARoot(const std::string& path) const;
  bool mayFollow(const Link& link, const std::string& target, bool toFolder);
  bool isMetElsewhere(const FileStatus& folder, const std::string& path) const;
  void rememberUnreachable(const Place& place, int error);

  const std::vector<std::string>& roots_;
  const KnownFiles& known_;
  DecodersPort& decoders_;
  WalkListener& listener_;
  const WalkScope& scope_;
  const Links followed_;
  FolderWatch* const watch_;
  std::stop_token stop_;
  const std::size_t workers_, filesAtOnce_;
  WorkCrew crew_;
  mutable FileStatusReader statuses_;
  std::vector<std::string> realRoots_;  ///< where the roots' own links lead

  std::mutex mutex_;                                           ///< guards what follows
  std::set<std::pair<std::uint64_t, std::uint64_t>> visited_;  ///< folders by device and inode
  std::map<std::pair<std::uint64_t, std::uint64_t>, std::string> mintedFolders_;
  std::vector<Link> links_;
  WalkOutcome outcome_;
};

}  // namespace tlx::photolibrary
