#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace tlx::test {

/// nginx on this machine over a folder: WebDAV listings, ranges, ETags, exact rates.
class Nginx {
 public:
  struct Options {
    std::string user, password;       ///< wanted of everybody, when set
    std::string certificate, key;     ///< paths; speaks TLS when set
    std::int64_t bytesPerSecond = 0;  ///< of each answer; 0 for all there is
    std::string rules;                ///< of nginx's own, for its server: "limit_rate_after 200k;"
  };
  static bool installed();

  /// Answers from now on. `scratch` is for its own files.
  Nginx(const std::filesystem::path& root, const std::filesystem::path& scratch, const Options& options);
  Nginx(const std::filesystem::path& root, const std::filesystem::path& scratch) : Nginx(root, scratch, Options()) {}
  ~Nginx();
  Nginx(const Nginx&) = delete;
  Nginx& operator=(const Nginx&) = delete;

  std::string host() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string url() const { return "http://" + host(); }
  /// Ends it in the middle of whatever it does; its port then refuses.
  void kill();
  /// Again, at the same port.
  void start();
  void setRate(std::int64_t bytesPerSecond);
  pid_t process() const { return process_; }
  /// "GET /path 200 bytes range" of every request so far.
  std::vector<std::string> requests() const;

 private:
  void writeConfiguration() const;

  const std::filesystem::path root_, scratch_;
  Options options_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

/// rclone's server, the second opinion.
class Rclone {
 public:
  static bool installed();
  Rclone(const std::filesystem::path& root, const std::filesystem::path& scratch, const std::string& user,
         const std::string& password);
  ~Rclone();
  Rclone(const Rclone&) = delete;
  Rclone& operator=(const Rclone&) = delete;
  std::string host() const { return host_; }

 private:
  pid_t process_ = -1;
  std::string host_;
};

/// A server that does whatever a test wants, however wrong. Each request is answered on a thread of its own.
class ScriptedServer {
 public:
  class Connection {
   public:
    explicit Connection(int fd) : fd_(fd) {}
    void send(const std::string& bytes) const;
    /// Says nothing more until the other side goes, or the server does.
    void stall() const;

   private:
    int fd_;
  };
  /// `request` holds the request's head, in lower case but for its first line.
  using Answer = std::function<void(const std::string& request, const Connection& connection)>;

  explicit ScriptedServer(Answer answer);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  void serve(int fd) const;

  const Answer answer_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  std::list<int> open_;
  std::list<std::jthread> answering_;
  std::jthread thread_;
};

/// A listing of a collection, as a server would write it.
std::string multistatus(const std::string& responses);
std::string listed(const std::string& href, const std::string& properties);
/// A whole answer of HTTP.
std::string answer(const std::string& status, const std::string& headers, const std::string& body);

}  // namespace tlx::test
