#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx {

enum NetworkStatus : std::int64_t {
  NetworkStatusNotReachable = 0,
  NetworkStatusViaWiFi = 1,  ///< by any route that is not cellular
  NetworkStatusViaWWAN = 2,  ///< by the cellular route
};

/// Name of the notification that each change of reachability posts, on the thread that started the monitor; its object
/// is the `InternetConnection`.
extern "C" const char kInternetConnectionChangedNotification[];

/// Watches whether one network target can be reached. Following starts and stops on one thread, which has a run loop;
/// the status may be read on any.
class InternetConnection : public NSObject {
 public:
  /// The monitor of the general internet route: one for the installed platform, started by the thread that asks first.
  /// Nothing, for good, when the platform refuses it.
  static std::shared_ptr<InternetConnection> sharedInstance();
  // Each of these answers nothing when the platform refuses the target.
  static std::shared_ptr<InternetConnection> reachabilityWithHostName(const std::string& hostName);
  static std::shared_ptr<InternetConnection> reachabilityWithAddress(const sockaddr* address);
  static std::shared_ptr<InternetConnection> reachabilityForInternetConnection();
  static std::shared_ptr<InternetConnection> reachabilityForLocalWiFi();

  /// Ends the following.
  ~InternetConnection() override;

  /// Follows changes on the calling thread's run loop. False when that is refused.
  bool startNotifier();
  void stopNotifier();

  /// Also logs the flags.
  NetworkStatus localWiFiStatusForFlags(SCNetworkReachabilityFlags flags) const;
  NetworkStatus networkStatusForFlags(SCNetworkReachabilityFlags flags) const;
  bool connectionRequired() const;
  NetworkStatus currentReachabilityStatus() const;

 private:
  static std::shared_ptr<InternetConnection> watching(std::unique_ptr<ReachabilityTarget> target);

  bool _alwaysReturnLocalWiFiStatus = false;
  std::unique_ptr<ReachabilityTarget> _reachabilityRef;
  // unretained: emptied by the destructor, so that a callback on its way finds nothing
  std::shared_ptr<std::atomic<InternetConnection*>> info_;
};

/// Posts the notification. `info` must be an `InternetConnection`: anything else fails an assertion, and nothing is
/// posted.
void ReachabilityCallback(ReachabilityTarget* target, SCNetworkReachabilityFlags flags, NSObject* info);
/// Logs one line: a letter for each flag that is set, a dash for each that is not, and the comment.
void PrintReachabilityFlags(SCNetworkReachabilityFlags flags, const char* comment);

}  // namespace tlx
