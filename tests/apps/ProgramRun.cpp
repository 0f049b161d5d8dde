#include "tests/apps/ProgramRun.h"

#include <QJsonDocument>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tlx::program::test {

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<QJsonObject> Outcome::objects() const {
  std::vector<QJsonObject> found;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
    if (!document.isObject()) ADD_FAILURE() << "no JSON object: " << line;
    found.push_back(document.object());
  }
  return found;
}

std::vector<std::string> Outcome::texts(const char* key) const {
  std::vector<std::string> found;
  for (const QJsonObject& object : objects()) found.push_back(object[QLatin1String(key)].toString().toStdString());
  return found;
}

std::string ProgramTest::samples() {
  return TLX_SAMPLES;
}

pid_t ProgramTest::start(const std::vector<std::string>& words, const std::string& out) {
  const std::string home = top_ / "home";
  std::filesystem::create_directories(home);
  std::filesystem::permissions(home, std::filesystem::perms::owner_all);
  std::vector<std::string> variables = {"HOME=" + home, "XDG_CACHE_HOME=" + home + "/cache",
                                        "XDG_CONFIG_HOME=" + home + "/config", "XDG_DATA_HOME=" + home + "/data",
                                        "XDG_RUNTIME_DIR=" + home};
  for (const char* const kept :
       {"PATH", "TZ", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(kept)) variables.push_back(std::string(kept) + "=" + value);
  }
  variables.insert(variables.end(), environment.begin(), environment.end());
  std::vector<char*> arguments, settings;
  std::vector<std::string> all = words;
  all.insert(all.begin(), TLX_PROGRAM);
  for (std::string& word : all) arguments.push_back(word.data());
  for (std::string& variable : variables) settings.push_back(variable.data());
  arguments.push_back(nullptr);
  settings.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, 2, (top_ / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t process = -1;
  const int failed = posix_spawn(&process, TLX_PROGRAM, &files, nullptr, arguments.data(), settings.data());
  posix_spawn_file_actions_destroy(&files);
  if (failed) ADD_FAILURE() << TLX_PROGRAM << ": " << std::strerror(failed);
  return process;
}

int ProgramTest::waitFor(pid_t process) {
  int status = 0;
  if (waitpid(process, &status, 0) != process || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

Outcome ProgramTest::run(const std::vector<std::string>& words, const std::string& out) {
  const std::string kept = out.empty() ? top_ / "out" : out;
  Outcome outcome;
  outcome.status = waitFor(start(words, kept));
  if (out.empty()) outcome.out = contentOf(kept);
  outcome.err = contentOf(top_ / "err");
  return outcome;
}

}  // namespace tlx::program::test
