#pragma once

#include <QByteArray>
#include <QImage>
#include <QJsonObject>
#include <QProcess>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace tlx::program::test {

using support::contentOf;
using support::TemporaryFolder;

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
  /// Returns when the program runs. What it writes on standard error goes to "err" in `top_`.
  std::unique_ptr<QProcess> start(const std::vector<std::string>& words, const std::string& out);
  /// Its exit status once it has ended; -1 when a signal ended it.
  static int waitFor(QProcess& process);
  /// Variables beside the home: "NAME=value".
  std::vector<std::string> environment;

  /// The sample library, which is everybody's: not to be changed.
  static std::string samples();

  TemporaryFolder top_;
};

/// The picture in a file as another program reads it, in RGBA: as it lies there, or turned upright. Nothing in it when
/// the file holds none.
QImage readPicture(const std::string& path, bool upright = false);
/// The mean difference of two pictures' channels; 255 when their sizes differ.
double difference(const QImage& one, const QImage& other);

}  // namespace tlx::program::test
