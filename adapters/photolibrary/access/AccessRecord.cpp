#include "adapters/photolibrary/access/AccessRecord.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace tlx::photolibrary {
namespace {

std::string fileNameFor(const std::string& host) {
  std::string name;
  for (const char c : host) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || c == '-' || c == '_' || (c == '.' && !name.empty())) {
      name += c;
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
      name += escaped;
    }
  }
  return name.empty() ? "%" : name;
}

}  // namespace

AccessRecord::AccessRecord(std::string folder, const std::string& host)
    : folder_(std::move(folder)), path_(folder_ + "/" + fileNameFor(host)) {}

std::optional<bool> AccessRecord::allowed(const std::string& what) const {
  std::ifstream file(path_);
  for (std::string line; std::getline(file, line);) {
    if (line == what + "=allowed") return true;
    if (line == what + "=denied") return false;
  }
  return std::nullopt;
}

bool AccessRecord::setAllowed(const std::string& what, bool allowed) const {
  std::string others;
  {
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);) {
      if (!line.starts_with(what + "=")) others += line + '\n';
    }
  }
  std::error_code failed;
  std::filesystem::create_directories(folder_, failed);
  const std::string draft = path_ + "~" + std::to_string(::getpid());
  {
    std::ofstream file(draft, std::ios::trunc);
    file << others << what << '=' << (allowed ? "allowed" : "denied") << '\n';
    file.close();
    if (!file) return false;
  }
  std::filesystem::rename(draft, path_, failed);
  return !failed;
}

}  // namespace tlx::photolibrary
