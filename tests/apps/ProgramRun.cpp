#include "tests/apps/ProgramRun.h"

#include <QBuffer>
#include <QImageReader>
#include <QJsonDocument>
#include <cstdlib>
#include <sstream>

namespace tlx::program::test {

QImage readPicture(const std::string& path, bool upright) {
  QByteArray bytes = QByteArray::fromStdString(contentOf(path));
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer);
  reader.setAutoTransform(upright);
  return reader.read().convertToFormat(QImage::Format_RGBA8888);
}

double difference(const QImage& one, const QImage& other) {
  if (one.size() != other.size() || one.isNull()) return 255;
  double sum = 0;
  for (qsizetype i = 0; i < one.sizeInBytes(); ++i) sum += std::abs(one.constBits()[i] - other.constBits()[i]);
  return sum / static_cast<double>(one.sizeInBytes());
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

std::unique_ptr<QProcess> ProgramTest::start(const std::vector<std::string>& words, const std::string& out) {
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
  auto process = std::make_unique<QProcess>();
  QStringList arguments, settings;
  for (const std::string& word : words) arguments << QString::fromStdString(word);
  for (const std::string& variable : variables) settings << QString::fromStdString(variable);
  process->setEnvironment(settings);
  process->setStandardInputFile(QProcess::nullDevice());
  process->setStandardOutputFile(QString::fromStdString(out));
  process->setStandardErrorFile(QString::fromStdString(top_ / "err"));
  process->start(QStringLiteral(TLX_PROGRAM), arguments);
  EXPECT_TRUE(process->waitForStarted(-1)) << TLX_PROGRAM << ": " << process->errorString().toStdString();
  return process;
}

int ProgramTest::waitFor(QProcess& process) {
  process.waitForFinished(-1);
  return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

Outcome ProgramTest::run(const std::vector<std::string>& words, const std::string& out) {
  const std::string kept = out.empty() ? top_ / "out" : out;
  Outcome outcome;
  outcome.status = waitFor(*start(words, kept));
  if (out.empty()) outcome.out = contentOf(kept);
  outcome.err = contentOf(top_ / "err");
  return outcome;
}

}  // namespace tlx::program::test
