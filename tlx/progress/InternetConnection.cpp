#include "tlx/progress/InternetConnection.h"

#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>

#include "tlx/platform/Platform.h"
#include "tlx/platform/dispatch/RunLoopPort.h"
#include "tlx/platform/foundation/NSNotificationCenter.h"
#include "tlx/platform/foundation/SystemLog.h"

namespace tlx {
namespace {

constexpr in_addr_t kDefaultRoute = 0x00000000;
constexpr in_addr_t kLinkLocalNetwork = 0xA9FE0000;  // 169.254.0.0
constexpr char kCallbackSignature[] =
    "void ReachabilityCallback(SCNetworkReachabilityRef, SCNetworkReachabilityFlags, void *)";

std::shared_ptr<InternetConnection> reachabilityWithIPv4(in_addr_t address) {
  sockaddr_in socketAddress{};
  socketAddress.sin_family = AF_INET;
  socketAddress.sin_addr.s_addr = htonl(address);
  return InternetConnection::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&socketAddress));
}

}  // namespace

extern "C" const char kInternetConnectionChangedNotification[] = "kInternetConnectionChangedNotification";

std::shared_ptr<InternetConnection> InternetConnection::sharedInstance() {
  return Platform::current().once<InternetConnection>([] {
    auto connection = reachabilityForInternetConnection();
    if (connection) connection->startNotifier();
    return connection;
  });
}

std::shared_ptr<InternetConnection> InternetConnection::watching(std::unique_ptr<ReachabilityTarget> target) {
  if (!target) return nullptr;
  auto connection = std::make_shared<InternetConnection>();
  connection->_reachabilityRef = std::move(target);
  connection->_alwaysReturnLocalWiFiStatus = false;
  return connection;
}

std::shared_ptr<InternetConnection> InternetConnection::reachabilityWithHostName(const std::string& hostName) {
  return watching(Platform::current().ports().reachability.createWithName(hostName));
}

std::shared_ptr<InternetConnection> InternetConnection::reachabilityWithAddress(const sockaddr* address) {
  return address ? watching(Platform::current().ports().reachability.createWithAddress(address)) : nullptr;
}

std::shared_ptr<InternetConnection> InternetConnection::reachabilityForInternetConnection() {
  return reachabilityWithIPv4(kDefaultRoute);
}

std::shared_ptr<InternetConnection> InternetConnection::reachabilityForLocalWiFi() {
  auto connection = reachabilityWithIPv4(kLinkLocalNetwork);
  if (connection) connection->_alwaysReturnLocalWiFiStatus = true;
  return connection;
}

InternetConnection::~InternetConnection() {
  if (info_) *info_ = nullptr;
  if (Platform::installed()) stopNotifier();
}

bool InternetConnection::startNotifier() {
  if (!_reachabilityRef) return false;
  if (!info_) info_ = std::make_shared<std::atomic<InternetConnection*>>(this);
  const auto installed =
      _reachabilityRef->setCallback([info = info_, target = _reachabilityRef.get()](SCNetworkReachabilityFlags flags) {
        if (InternetConnection* monitor = *info) ReachabilityCallback(target, flags, monitor);
      });
  if (!installed) return false;
  const auto loop = Platform::current().ports().runLoops.current();
  return loop && _reachabilityRef->schedule(loop);
}

void InternetConnection::stopNotifier() {
  if (!_reachabilityRef) return;
  if (const auto loop = Platform::current().ports().runLoops.current()) _reachabilityRef->unschedule(loop);
}

NetworkStatus InternetConnection::localWiFiStatusForFlags(SCNetworkReachabilityFlags flags) const {
  PrintReachabilityFlags(flags, "localWiFiStatusForFlags");
  const bool direct = (flags & kSCNetworkReachabilityFlagsReachable) && (flags & kSCNetworkReachabilityFlagsIsDirect);
  return direct ? NetworkStatusViaWiFi : NetworkStatusNotReachable;
}

NetworkStatus InternetConnection::networkStatusForFlags(SCNetworkReachabilityFlags flags) const {
  if (!(flags & kSCNetworkReachabilityFlagsReachable)) return NetworkStatusNotReachable;
  NetworkStatus status = NetworkStatusNotReachable;
  if (!(flags & kSCNetworkReachabilityFlagsConnectionRequired)) status = NetworkStatusViaWiFi;
  const bool connectsByItself =
      flags & (kSCNetworkReachabilityFlagsConnectionOnDemand | kSCNetworkReachabilityFlagsConnectionOnTraffic);
  if (connectsByItself && !(flags & kSCNetworkReachabilityFlagsInterventionRequired)) status = NetworkStatusViaWiFi;
  if (flags & kSCNetworkReachabilityFlagsIsWWAN) status = NetworkStatusViaWWAN;
  return status;
}

bool InternetConnection::connectionRequired() const {
  if (!_reachabilityRef) {
    NSAssertionFailed(__PRETTY_FUNCTION__, __FILE__, __LINE__, "connectionRequired called with NULL reachabilityRef");
    return false;
  }
  return _reachabilityRef->flags().value_or(0) & kSCNetworkReachabilityFlagsConnectionRequired;
}

NetworkStatus InternetConnection::currentReachabilityStatus() const {
  if (!_reachabilityRef) {
    NSAssertionFailed(__PRETTY_FUNCTION__, __FILE__, __LINE__,
                      "currentNetworkStatus called with NULL SCNetworkReachabilityRef");
    return NetworkStatusNotReachable;
  }
  const auto flags = _reachabilityRef->flags();
  if (!flags) return NetworkStatusNotReachable;
  return _alwaysReturnLocalWiFiStatus ? localWiFiStatusForFlags(*flags) : networkStatusForFlags(*flags);
}

void ReachabilityCallback(ReachabilityTarget* target, SCNetworkReachabilityFlags flags, NSObject* info) {
  if (!info) {
    NSAssertionFailed(kCallbackSignature, __FILE__, __LINE__, "info was NULL in ReachabilityCallback");
    return;
  }
  const auto* monitor = dynamic_cast<const InternetConnection*>(info);
  if (!monitor) {
    NSAssertionFailed(kCallbackSignature, __FILE__, __LINE__, "info was wrong class in ReachabilityCallback");
    return;
  }
  NSNotificationCenter::defaultCenter()->postNotificationName_object(kInternetConnectionChangedNotification, monitor);
}

void PrintReachabilityFlags(SCNetworkReachabilityFlags flags, const char* comment) {
  const auto letter = [flags](SCNetworkReachabilityFlags flag, char set) { return flags & flag ? set : '-'; };
  std::string line = "Reachability Flag Status: ";
  line += letter(kSCNetworkReachabilityFlagsIsWWAN, 'W');
  line += letter(kSCNetworkReachabilityFlagsReachable, 'R');
  line += ' ';
  line += letter(kSCNetworkReachabilityFlagsTransientConnection, 't');
  line += letter(kSCNetworkReachabilityFlagsConnectionRequired, 'c');
  line += letter(kSCNetworkReachabilityFlagsConnectionOnTraffic, 'C');
  line += letter(kSCNetworkReachabilityFlagsInterventionRequired, 'i');
  line += letter(kSCNetworkReachabilityFlagsConnectionOnDemand, 'D');
  line += letter(kSCNetworkReachabilityFlagsIsLocalAddress, 'l');
  line += letter(kSCNetworkReachabilityFlagsIsDirect, 'd');
  line += ' ';
  line += comment ? comment : "";
  NSLog(line + "\n");
}

}  // namespace tlx
