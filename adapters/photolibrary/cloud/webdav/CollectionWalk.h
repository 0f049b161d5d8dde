#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "adapters/photolibrary/base/WorkCrew.h"
#include "adapters/photolibrary/catalogue/KnownFiles.h"
#include "adapters/photolibrary/cloud/webdav/Listing.h"
#include "adapters/photolibrary/cloud/webdav/Server.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// One look at a collection on a server and all collections below it, a few requests at a time.
///
/// Left out, as in a folder tree: hidden names, a collection with a file `.nomedia` and all below it, empty files, what
/// is no photo or video by its first bytes. Of a file that is known as it stands nothing is read. A collection below
/// which nothing changed is not even listed where that can be known: see `ListedMember::fileId`; with other servers an
/// ETag of a collection says nothing about a file that was written over, so all are listed.
class CollectionWalk {
 public:
  /// `fileSystem` stands for the server and the person on it, in keys.
  CollectionWalk(Server& server, std::uint64_t fileSystem, const KnownFiles& known, DecodersPort& decoders,
                 WalkListener& listener, std::stop_token stop);
  WalkOutcome run();
  /// What went wrong first, so that something was missed.
  const std::optional<NSError>& problem() const { return problem_; }
  /// Whether the root itself could not be listed.
  bool rootFailed() const { return rootFailed_; }

 private:
  struct Collection {
    std::string path;  ///< on the server
    std::string relative;
    Collection* parent = nullptr;
    int depth = 0;
    std::string etag, fileId;
    Folder folder;
    std::atomic<bool> whole{true}, inhabited{false};
  };
  struct File {
    std::string name;
    ListedMember member;
  };

  std::string addressOf(const Collection& collection) const { return server_.address().server + collection.path; }
  void enter(Collection* collection);
  void enterBelow(Collection* parent, const std::string& name, ListedMember&& member);
  bool keepUnchanged(Collection& collection);
  void compare(Collection* collection, std::vector<File> files);
  void examine(Collection* collection, const std::vector<File>& files);
  FoundItem examined(const Collection& collection, const File& file, bool& rejected);
  FileKey keyOf(const Collection& collection, const File& file) const;
  void fail(Collection& collection, const NSError& error);
  void lose(const NSError& error);
  NSError whyLost();
  void confirm();

  Server& server_;
  DecodersPort& decoders_;
  const std::uint64_t fileSystem_;
  const KnownFiles& known_;
  WalkListener& listener_;
  const std::stop_token stop_;
  WorkCrew crew_;
  std::map<std::string, std::uint32_t> knownFolders_;  ///< by path, those of this server

  std::mutex mutex_;  ///< guards what follows
  std::vector<std::unique_ptr<Collection>> collections_;
  std::set<std::string> visited_;  ///< file ids
  std::vector<std::string> unreachable_;
  std::vector<std::pair<std::string, std::string>> skipped_;
  std::optional<NSError> problem_;
  bool rootFailed_ = false;
  std::atomic<bool> lost_{false};  ///< the server is gone: nothing more is asked of it
};

}  // namespace tlx::photolibrary
