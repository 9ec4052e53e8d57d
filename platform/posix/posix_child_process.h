#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>

#include "platform/process_launcher.h"

namespace orvel {

/// A spawned child process. Exactly one thread must call waitAndReap().
class PosixChildProcess final : public ChildProcess {
 public:
  explicit PosixChildProcess(pid_t process) : process_(process) {}

  bool isRunning() const override;
  int terminationStatus() const override;
  void terminate() override;
  void kill() override;
  void waitUntilExit() override;

  /// Waits until the process has ended and reaps it.
  void waitAndReap();

 private:
  void send(int signal);
  /// Reaps the process if it has ended. Returns whether it has.
  bool reap();

  const pid_t process_;
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  bool running_ = true;
  int terminationStatus_ = 0;
};

}  // namespace orvel
