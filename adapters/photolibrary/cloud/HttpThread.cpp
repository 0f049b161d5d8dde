#include "adapters/photolibrary/cloud/HttpThread.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkInterface>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QThread>
#include <QUrl>
#include <algorithm>
#include <condition_variable>

namespace tlx::photolibrary {
namespace {

using Clock = std::chrono::steady_clock;

constexpr qint64 kBuffer = 256 << 10;

/// Whether any address of this machine leads to others.
bool hasNetwork() {
  const auto interfaces = QNetworkInterface::allInterfaces();
  return std::any_of(interfaces.begin(), interfaces.end(), [](const QNetworkInterface& each) {
    return each.flags().testFlag(QNetworkInterface::IsRunning) &&
           !each.flags().testFlag(QNetworkInterface::IsLoopBack) && !each.addressEntries().isEmpty();
  });
}

NSError errorOfStatus(int status, const std::string& server) {
  const std::string said = " (HTTP " + std::to_string(status) + ").";
  switch (status) {
    case 401:
    case 407:
      return cloudError(CloudErrorWrongCredentials, server + " wants other credentials" + said);
    case 403:
      return cloudError(CloudErrorForbidden, server + " gives no access" + said);
    case 404:
    case 410:
      return cloudError(CloudErrorNotFound, server + " does not have it" + said);
    case 412:
    case 416:
      return cloudError(CloudErrorChanged, "It is not the same on " + server + " any more" + said);
    default:
      return cloudError(CloudErrorServer,
                        server + (status >= 300 && status < 400 ? " sends elsewhere" : " failed") + said);
  }
}

NSError errorOfConnection(QNetworkReply::NetworkError error, bool begun, const std::string& server) {
  switch (error) {
    case QNetworkReply::HostNotFoundError:
      if (hasNetwork()) return cloudError(CloudErrorNameNotResolved, "The name of " + server + " is not known.");
      return cloudError(CloudErrorOffline, "There is no network to reach " + server + " through.");
    case QNetworkReply::ConnectionRefusedError:
      return cloudError(CloudErrorRefused, server + " refused the connection.");
    case QNetworkReply::SslHandshakeFailedError:
      return cloudError(CloudErrorCertificate, "The certificate of " + server + " is not to be trusted.");
    case QNetworkReply::TimeoutError:
      return cloudError(CloudErrorTimedOut, server + " does not answer.");
    case QNetworkReply::RemoteHostClosedError:
      return cloudError(CloudErrorConnectionLost, server + " broke the connection off.");
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
      if (begun) return cloudError(CloudErrorConnectionLost, "The connection to " + server + " was lost.");
      return cloudError(CloudErrorOffline, "There is no network to reach " + server + " through.");
    default:
      return cloudError(CloudErrorServer, server + " does not keep to the protocol.");
  }
}

std::optional<std::int64_t> numberIn(const QByteArray& text) {
  bool good = false;
  const qlonglong number = text.trimmed().toLongLong(&good);
  return good && number >= 0 ? std::optional<std::int64_t>(number) : std::nullopt;
}

HttpHead headOf(const QNetworkReply& reply) {
  HttpHead head;
  head.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
  head.etag = reply.rawHeader("ETag").toStdString();
  head.lastModified = reply.rawHeader("Last-Modified").toStdString();
  if (reply.hasRawHeader("Content-Length")) head.length = numberIn(reply.rawHeader("Content-Length"));
  const QByteArray range = reply.rawHeader("Content-Range");  // bytes 100-199/1000
  if (const auto dash = range.indexOf('-'); head.status == 206 && range.startsWith("bytes ") && dash > 0) {
    head.first = numberIn(range.mid(6, dash - 6)).value_or(-1);
    head.whole = numberIn(range.mid(range.indexOf('/') + 1));
  }
  return head;
}

/// One answer on its way from the thread that receives it to the one that waits.
struct Passage {
  std::mutex mutex;
  std::condition_variable_any changed;
  std::optional<HttpHead> head;
  QByteArray bytes;
  bool ended = false;
  QNetworkReply::NetworkError error = QNetworkReply::NoError;
};

/// Lives on the receiving thread, with its reply.
class Exchange final : public QObject {
 public:
  Exchange(QNetworkReply* reply, std::shared_ptr<Passage> passage) : reply_(reply), passage_(std::move(passage)) {
    reply_->setParent(this);
    // A limit that is set before the request is on its way is lost, and the whole body is then held in memory.
    QMetaObject::invokeMethod(
        this, [this] { reply_->setReadBufferSize(kBuffer); }, Qt::QueuedConnection);
    connect(reply_, &QNetworkReply::metaDataChanged, this, [this] {
      reply_->setReadBufferSize(kBuffer);
      pass();
    });
    connect(reply_, &QNetworkReply::readyRead, this, [this] { pass(); });
    connect(reply_, &QNetworkReply::finished, this, [this] { pass(); });
    if (reply_->isFinished()) pass();
  }

  /// Hands on what there is and there is room for.
  void pass() {
    const std::lock_guard lock(passage_->mutex);
    if (!passage_->head && reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid()) {
      passage_->head = headOf(*reply_);
    }
    const qint64 room = kBuffer - passage_->bytes.size();
    if (room > 0 && reply_->bytesAvailable() > 0) passage_->bytes += reply_->read(room);
    if (reply_->isFinished() && reply_->bytesAvailable() == 0) {
      passage_->error = reply_->error();
      passage_->ended = true;
    }
    passage_->changed.notify_one();
  }

  void abandon() {
    reply_->disconnect(this);
    // A reply that has failed already has nothing to abort, and complains.
    if (reply_->isRunning() && reply_->error() == QNetworkReply::NoError) reply_->abort();
    deleteLater();
  }

 private:
  QNetworkReply* const reply_;
  const std::shared_ptr<Passage> passage_;
};

}  // namespace

struct HttpThread::Thread {
  QThread thread;
  QNetworkAccessManager* access = nullptr;
};

HttpThread::HttpThread(std::chrono::milliseconds patience) : patience_(patience), thread_(std::make_unique<Thread>()) {
  auto* const access = new QNetworkAccessManager;
  access->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
  access->setAutoDeleteReplies(false);
  access->moveToThread(&thread_->thread);
  thread_->access = access;
  QObject::connect(&thread_->thread, &QThread::finished, access, &QObject::deleteLater);
  thread_->thread.setObjectName(QStringLiteral("webdav"));
  thread_->thread.start();
}

HttpThread::~HttpThread() {
  thread_->thread.quit();
  thread_->thread.wait();
}

std::optional<NSError> HttpThread::exchange(const HttpRequest& request, const Credentials& credentials,
                                            HttpReceiver& receiver, const std::stop_token& stop) {
  const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(request.url + request.query));
  const std::string server = url.authority(QUrl::FullyEncoded).toStdString();
  if (stop.stop_requested()) return cloudError(CloudErrorCancelled, "The transfer was cancelled.");
  QNetworkRequest asked(url);
  asked.setRawHeader("User-Agent", "tlx-media-picker");
  for (const auto& [name, value] : request.headers) {
    asked.setRawHeader(QByteArray::fromStdString(name), QByteArray::fromStdString(value));
  }
  if (!credentials.empty()) {
    const QByteArray both = QByteArray::fromStdString(credentials.user + ":" + credentials.password);
    asked.setRawHeader("Authorization", "Basic " + both.toBase64());
  }
  asked.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
  asked.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
  asked.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);

  const auto passage = std::make_shared<Passage>();
  // Lives on the other thread, which deletes it when `Leave` asks for that.
  auto* const access = thread_->access;
  auto exchange = std::make_shared<Exchange*>(nullptr);
  QMetaObject::invokeMethod(access, [=, verb = request.verb, body = request.body] {
    *exchange = new Exchange(
        access->sendCustomRequest(asked, QByteArray::fromStdString(verb), QByteArray::fromStdString(body)), passage);
  });
  struct Leave {
    QNetworkAccessManager* access;
    std::shared_ptr<Exchange*> exchange;
    ~Leave() {
      QMetaObject::invokeMethod(access, [exchange = exchange] { (*exchange)->abandon(); });
    }
  } const leave{access, exchange};

  bool begun = false;
  auto lastSign = Clock::now();
  while (true) {
    std::optional<HttpHead> head;
    QByteArray bytes;
    bool ended = false;
    QNetworkReply::NetworkError error;
    {
      std::unique_lock lock(passage->mutex);
      passage->changed.wait_until(lock, stop, lastSign + patience_, [&] {
        return passage->ended || !passage->bytes.isEmpty() || (!begun && passage->head);
      });
      head = passage->head;
      bytes.swap(passage->bytes);
      ended = passage->ended;
      error = passage->error;
    }
    if (stop.stop_requested()) return cloudError(CloudErrorCancelled, "The transfer was cancelled.");
    if (head && !begun) {
      begun = true;
      lastSign = Clock::now();
      if (head->status < 200 || head->status > 299) return errorOfStatus(head->status, server);
      if (auto refused = receiver.begin(*head)) return refused;
    }
    if (!bytes.isEmpty()) {
      if (!ended) QMetaObject::invokeMethod(access, [exchange] { (*exchange)->pass(); });
      if (auto refused = receiver.take(bytes.constData(), static_cast<std::size_t>(bytes.size()))) return refused;
      lastSign = Clock::now();
    }
    if (ended) {
      if (error == QNetworkReply::NoError && begun) return std::nullopt;
      return errorOfConnection(error, begun, server);
    }
    if (Clock::now() - lastSign >= patience_) {
      return cloudError(CloudErrorTimedOut, server + " does not answer.");
    }
  }
}

}  // namespace tlx::photolibrary
