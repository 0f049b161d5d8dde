#include "tests/support/WebServers.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tlx::test {
namespace {

constexpr char kNginx[] = "/usr/sbin/nginx";
constexpr char kDavModule[] = "/usr/lib/nginx/modules/ngx_http_dav_ext_module.so";
constexpr char kRclone[] = "/usr/bin/rclone";

sockaddr_in addressOf(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

/// A socket that connections wait at from now on; `port` 0 takes any and says which.
int listenAt(std::uint16_t& port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address = addressOf(port);
  socklen_t size = sizeof address;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(fd, 128) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no port to listen at");
  }
  port = ntohs(address.sin_port);
  return fd;
}

pid_t spawn(const std::vector<std::string>& words, const std::vector<std::string>& variables, int keepOpen,
            int standardError) {
  std::vector<char*> arguments, environment;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  for (const std::string& variable : variables) environment.push_back(const_cast<char*>(variable.c_str()));
  arguments.push_back(nullptr);
  environment.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  if (keepOpen >= 0) posix_spawn_file_actions_adddup2(&files, keepOpen, 9);
  if (standardError >= 0) posix_spawn_file_actions_adddup2(&files, standardError, 2);
  pid_t process = -1;
  const int failed = posix_spawn(&process, arguments[0], &files, nullptr, arguments.data(), environment.data());
  posix_spawn_file_actions_destroy(&files);
  if (failed) throw std::runtime_error(words[0] + " does not start");
  return process;
}

void end(pid_t& process, int signal) {
  if (process <= 0) return;
  ::kill(process, signal);
  ::waitpid(process, nullptr, 0);
  process = -1;
}

}  // namespace

bool Nginx::installed() {
  return ::access(kNginx, X_OK) == 0 && ::access(kDavModule, R_OK) == 0;
}

Nginx::Nginx(const std::filesystem::path& root, const std::filesystem::path& scratch, const Options& options)
    : root_(root), scratch_(scratch), options_(options) {
  std::filesystem::create_directories(scratch_);
  start();
}

Nginx::~Nginx() {
  kill();
}

void Nginx::writeConfiguration() const {
  std::ofstream users(scratch_ / "users");
  users << options_.user << ":{PLAIN}" << options_.password << '\n';
  std::ofstream out(scratch_ / "nginx.conf");
  const std::string own = scratch_.string();
  out << "load_module " << kDavModule << ";\n"
      << (::geteuid() == 0 ? "user root;" : "") << "daemon off; pid " << own << "/pid; error_log " << own
      << "/errors;\nevents { worker_connections 256; }\nhttp {\n  log_format short '$request_method $uri $status "
      << "$body_bytes_sent $http_range'; access_log " << own << "/requests short;\n";
  for (const char* const each : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
    out << "  " << each << "_temp_path " << own << "/" << each << ";\n";
  }
  out << "  types { image/jpeg jpg; video/mp4 mp4; } default_type application/octet-stream;\n";
  if (options_.bytesPerSecond > 0) out << "  limit_rate " << options_.bytesPerSecond << ";\n";
  if (!options_.user.empty()) out << "  auth_basic here; auth_basic_user_file " << own << "/users;\n";
  const bool tls = !options_.certificate.empty();
  if (tls) out << "  ssl_certificate " << options_.certificate << "; ssl_certificate_key " << options_.key << ";\n";
  out << "  server { listen 127.0.0.1:" << port_ << (tls ? " ssl" : "") << "; root " << root_.string() << "; "
      << options_.rules << " location / { dav_ext_methods PROPFIND OPTIONS; } }\n}\n";
}

void Nginx::start() {
  const int listener = listenAt(port_);
  writeConfiguration();
  // It takes the socket over, so that nobody is refused while it gets ready.
  process_ = spawn(
      {kNginx, "-e", (scratch_ / "errors").string(), "-p", scratch_.string(), "-c", (scratch_ / "nginx.conf").string()},
      {"NGINX=9;"}, listener, -1);
  ::close(listener);
}

void Nginx::kill() {
  end(process_, SIGTERM);  // drops what it is doing, and takes its worker with it
}

void Nginx::setRate(std::int64_t bytesPerSecond) {
  options_.bytesPerSecond = bytesPerSecond;
  kill();
  start();
}

std::vector<std::string> Nginx::requests() const {
  // It notes a request after it has sent the answer, and serves one after the other: once this is answered, all earlier
  // ones are noted.
  const std::string mark = "GET /all-before-this";
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = addressOf(port_);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    const ScriptedServer::Connection connection(fd);
    connection.send(mark + " HTTP/1.0\r\n\r\n");
    connection.stall();
  }
  ::close(fd);
  std::vector<std::string> lines;
  std::ifstream log(scratch_ / "requests");
  for (std::string line; std::getline(log, line);) {
    if (!line.starts_with(mark)) lines.push_back(line);
  }
  return lines;
}

bool Rclone::installed() {
  return ::access(kRclone, X_OK) == 0;
}

Rclone::Rclone(const std::filesystem::path& root, const std::filesystem::path& scratch, const std::string& user,
               const std::string& password) {
  int words[2];
  if (::pipe2(words, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = spawn({kRclone, "serve", "webdav", root.string(), "--addr", "127.0.0.1:0", "--user", user, "--pass",
                    password, "--dir-cache-time", "0s", "--config", (scratch / "rclone.conf").string()},
                   {"HOME=" + scratch.string()}, -1, words[1]);
  ::close(words[1]);
  std::string said;
  char part[512];
  const std::string mark = "started on http://";
  while (host_.empty()) {
    const ssize_t got = ::read(words[0], part, sizeof part);
    if (got <= 0) throw std::runtime_error("rclone does not start: " + said);
    said.append(part, static_cast<std::size_t>(got));
    const auto at = said.find(mark);
    const auto stop = at == std::string::npos ? at : said.find('/', at + mark.size());
    if (stop != std::string::npos) host_ = said.substr(at + mark.size(), stop - at - mark.size());
  }
  ::close(words[0]);
}

Rclone::~Rclone() {
  end(process_, SIGKILL);
}

void ScriptedServer::Connection::send(const std::string& bytes) const {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t sent = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (sent <= 0) return;
    done += static_cast<std::size_t>(sent);
  }
}

void ScriptedServer::Connection::stall() const {
  char ignored[256];
  while (::recv(fd_, ignored, sizeof ignored, 0) > 0) {
  }
}

ScriptedServer::ScriptedServer(Answer answer) : answer_(std::move(answer)) {
  listener_ = listenAt(port_);
  thread_ = std::jthread([this] {
    while (true) {
      const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (fd < 0) return;
      const std::lock_guard lock(mutex_);
      open_.push_back(fd);
      answering_.emplace_back([this, fd] { serve(fd); });
    }
  });
}

ScriptedServer::~ScriptedServer() {
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
  for (const int fd : open_) ::shutdown(fd, SHUT_RDWR);
  answering_.clear();
  for (const int fd : open_) ::close(fd);
}

void ScriptedServer::serve(int fd) const {
  std::string request;
  std::size_t body = 0;
  auto end = std::string::npos;
  char part[4096];
  while (end == std::string::npos || request.size() < end + 4 + body) {
    const ssize_t got = ::recv(fd, part, sizeof part, 0);
    if (got <= 0) return;
    request.append(part, static_cast<std::size_t>(got));
    if (end != std::string::npos || (end = request.find("\r\n\r\n")) == std::string::npos) continue;
    const auto line = request.find("\r\n");
    std::transform(
        request.begin() + static_cast<std::ptrdiff_t>(line), request.begin() + static_cast<std::ptrdiff_t>(end),
        request.begin() + static_cast<std::ptrdiff_t>(line), [](unsigned char c) { return std::tolower(c); });
    const auto length = request.find("content-length: ");
    if (length < end) body = std::stoul(request.substr(length + 16));
  }
  answer_(request.substr(0, end + 2), Connection(fd));
  ::shutdown(fd, SHUT_RDWR);
}

std::string multistatus(const std::string& responses) {
  return R"(<?xml version="1.0"?><d:multistatus xmlns:d="DAV:" xmlns:oc="http://owncloud.org/ns">)" + responses +
         "</d:multistatus>";
}

std::string listed(const std::string& href, const std::string& properties) {
  return "<d:response><d:href>" + href + "</d:href><d:propstat><d:prop>" + properties +
         "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>";
}

std::string answer(const std::string& status, const std::string& headers, const std::string& body) {
  const bool told = headers.find("Content-Length") != std::string::npos || headers.find("chunked") != std::string::npos;
  return "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + headers +
         (told ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" + body;
}

}  // namespace tlx::test
