#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/apps/TemporaryFolder.h"

namespace tlx::program::test {

struct Outcome {
  int status = -1;  ///< the exit status; -1 when a signal ended the program
  std::string out, err;

  /// Standard output as one object a line. A line that is none fails the test.
  std::vector<QJsonObject> objects() const;
  /// The named text of each of them, in order.
  std::vector<std::string> texts(const char* key) const;
};

/// The built program, run as a person's shell would, with a home of the test's own and no display.
class ProgramTest : public testing::Test {
 protected:
  /// Returns when the program has ended. `out` is where standard output goes instead of into the outcome.
  Outcome run(const std::vector<std::string>& words, const std::string& out = {});
  /// Returns at once.
  pid_t start(const std::vector<std::string>& words, const std::string& out);
  static int waitFor(pid_t process);
  /// Variables beside the home: "NAME=value".
  std::vector<std::string> environment;

  /// The sample library, which is everybody's: not to be changed.
  static std::string samples();

  TemporaryFolder top_;
};

std::string contentOf(const std::string& path);

}  // namespace tlx::program::test
