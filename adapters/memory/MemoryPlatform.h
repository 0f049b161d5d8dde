#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/Platform.h"

#include "adapters/memory/FaultyImageManager.h"
#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/memory/MemoryCamera.h"
#include "adapters/memory/MemoryImageManager.h"
#include "adapters/memory/MemoryLogs.h"
#include "adapters/memory/MemoryPhotoLibrary.h"
#include "adapters/memory/MemoryReachability.h"
#include "adapters/memory/MemoryResources.h"
#include "adapters/memory/MemoryScreen.h"

namespace tlx::memory {

/// A whole platform without a machine, installed while it lives; the thread that makes it is the main one. Its parts
/// are there for a test to set, to run and to read.
///
/// Whatever still waits when it goes is let go of without being run, so that a test may end at any moment; everything
/// that a test made on it must be gone, or hold no more than views and records, once it has gone.
class MemoryPlatform {
 public:
  MemoryPlatform();
  ~MemoryPlatform();
  MemoryPlatform(const MemoryPlatform&) = delete;
  MemoryPlatform& operator=(const MemoryPlatform&) = delete;

  void runUntilIdle() { loop.runUntilIdle(); }
  void advance(double seconds) { loop.advance(seconds); }
  void log(std::string text) { messageLog.add(std::move(text)); }
  std::vector<std::string> messages() const { return messageLog.messages(); }

  MessageLog messageLog;
  Background background;
  MainLoop loop{background};
  RunLoops runLoops{loop};
  MemorySystemLog systemLog;
  MemoryPhotoLibrary library{background};
  MemoryImageManager images{library, loop, background};
  FaultyImageManager faults{images, loop, background};
  MemoryReachability reachability;
  MemoryResources resources;
  MemoryTextMeasurement textMeasurement;
  MemoryPresentation presentation;
  MemoryApplication application;
  MemoryCamera camera{background, loop};

 private:
  std::optional<Platform> platform_;
};

}  // namespace tlx::memory
