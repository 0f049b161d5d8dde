#pragma once

#include <string>
#include <variant>

namespace tlx::photolibrary {

/// A user's name and password, as a server is told them.
struct Credentials {
  std::string user, password;
  bool empty() const { return user.empty() && password.empty(); }
};

/// A collection on a server.
struct CloudAddress {
  std::string server;       ///< scheme, host and port, as in "https://photos.example:8443"; the port only when unusual
  std::string path;         ///< unescaped bytes, with an opening and without a closing slash; empty for the top
  Credentials credentials;  ///< those that were in the address

  /// Without anything secret: for people, logs and the index.
  std::string text() const { return server + path; }
};

/// Reads an address, or answers what is wrong with it without repeating it: `https`, or `http` to this very machine,
/// with a host, without a query.
std::variant<CloudAddress, std::string> parseCloudAddress(const std::string& url);

/// As a request names it. All but unreserved letters and slashes are escaped.
std::string escapedPath(const std::string& path);

/// The name of the member of a collection that an answer to a listing speaks of. Servers write a member's address
/// absolute, from their top, or relative, escaped in one way or another. Nothing for the collection itself, for what
/// lies deeper or outside of it or on another server, and for what cannot be a name. `collection` is a path as in
/// `CloudAddress`.
std::string memberName(const std::string& href, const std::string& server, const std::string& collection);

}  // namespace tlx::photolibrary
