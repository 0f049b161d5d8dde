#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "adapters/photolibrary/KnownFiles.h"
#include "adapters/photolibrary/Source.h"
#include "adapters/photolibrary/files/FileStatus.h"
#include "adapters/photolibrary/files/WorkCrew.h"

namespace tlx::photolibrary {

/// One look at folder trees and the trash, by one worker per core.
///
/// Left out: hidden files and folders, a folder with a file `.nomedia` and all below it (a root itself excepted: naming
/// it is asking for it), empty files, and whatever is not a regular file. Real folders are walked first and symbolic
/// links followed afterwards, in order of their paths, so that a folder or file is met plainly where it can be,
/// whatever the workers' luck; a folder is entered once, and a link to a root or above one is not followed.
class FolderWalk {
 public:
  FolderWalk(const std::vector<std::string>& roots, const KnownFiles& known, WalkListener& listener,
             std::stop_token stop);
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
    Folder folder;
    std::vector<KnownFiles::File> known;
  };
  struct Listing {
    std::vector<std::string> files, folders, links;
    bool excluded = false;
    bool broken = false;
  };
  struct Link {
    Place place;  ///< of the folder that holds it
    std::string name;
  };

  void addRoots();
  void addTrash();
  void enter(const Place& place);
  std::shared_ptr<OpenFolder> open(const Place& place);
  static Listing list(int folder);
  void addFiles(const std::shared_ptr<OpenFolder>& folder, std::vector<std::string> names);
  void lookAt(const OpenFolder& folder, const std::vector<std::string>& names);
  void look(const OpenFolder& folder, const std::string& name, bool followLink, FolderFindings& findings);
  void examine(const OpenFolder& folder, const std::string& name, const FileStatus& status, bool linked,
               FolderFindings& findings);
  std::string identifyFolder(const FileKey& key);
  std::string identify(const OpenFolder& folder, const std::string& name, const FileStatus& status) const;
  void followLinks();
  bool leadsAboveARoot(const std::string& path) const;
  void rememberUnreachable(const Place& place, int error);

  const std::vector<std::string>& roots_;
  const KnownFiles& known_;
  WalkListener& listener_;
  std::stop_token stop_;
  WorkCrew crew_;
  FileStatusReader statuses_;

  std::mutex mutex_;                                           ///< guards what follows
  std::set<std::pair<std::uint64_t, std::uint64_t>> visited_;  ///< folders by device and inode
  std::map<std::pair<std::uint64_t, std::uint64_t>, std::string> mintedFolders_;
  std::vector<Link> links_;
  std::vector<std::string> unreachable_;
};

}  // namespace tlx::photolibrary
