#pragma once

#include "adapters/photolibrary/decoding/worker/Service.h"

namespace tlx::photolibrary {

/// A worker process from its first line to its last: bound to the picker that started it, shut in, serving. Whatever
/// the handler's libraries load or open must have been loaded and opened before the call. Arguments: the picker's
/// process number, then `--strict` to be ended by a system call that nobody expected. The process's exit status.
int serveAsWorker(int argc, char** argv, Service::Handler& handler);

}  // namespace tlx::photolibrary
