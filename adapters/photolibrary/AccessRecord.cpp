#include "adapters/photolibrary/AccessRecord.h"

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

std::optional<bool> AccessRecord::photosAllowed() const {
  std::ifstream file(path_);
  for (std::string line; std::getline(file, line);) {
    if (line == "photos=allowed") return true;
    if (line == "photos=denied") return false;
  }
  return std::nullopt;
}

bool AccessRecord::setPhotosAllowed(bool allowed) const {
  std::error_code failed;
  std::filesystem::create_directories(folder_, failed);
  const std::string draft = path_ + "~" + std::to_string(::getpid());
  {
    std::ofstream file(draft, std::ios::trunc);
    file << "photos=" << (allowed ? "allowed" : "denied") << '\n';
    file.close();
    if (!file) return false;
  }
  std::filesystem::rename(draft, path_, failed);
  return !failed;
}

}  // namespace tlx::photolibrary
