#include "platform/posix/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>

namespace orvel {

namespace {

/// The actions in the child before exec: they set the three standard streams and the
/// working directory, and close all other descriptors.
class FileActions {
 public:
  explicit FileActions(const SpawnPlan &plan) {
    error_ = ::posix_spawn_file_actions_init(&actions_);
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      addStream(plan.streams()[static_cast<std::size_t>(number)], number);
    }
    if (!plan.workingDirectory().empty()) {
      keepFirstError(
          ::posix_spawn_file_actions_addchdir_np(&actions_, plan.workingDirectory().c_str()));
    }
    // On macOS, POSIX_SPAWN_CLOEXEC_DEFAULT closes the other descriptors.
#if !defined(__APPLE__)
    keepFirstError(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
#endif
  }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions &) = delete;
  FileActions &operator=(const FileActions &) = delete;

  const posix_spawn_file_actions_t *get() const { return &actions_; }
  /// Returns the first error of the construction, or zero.
  int error() const { return error_; }

 private:
  void addStream(int source, int number) {
    if (source == SpawnPlan::nullDevice) {
      const int mode = number == STDIN_FILENO ? O_RDONLY : O_WRONLY;
      keepFirstError(::posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", mode, 0));
    } else if (source != number) {
      keepFirstError(::posix_spawn_file_actions_adddup2(&actions_, source, number));
    } else {
#if defined(__APPLE__)
      // POSIX_SPAWN_CLOEXEC_DEFAULT would close the descriptor.
      keepFirstError(::posix_spawn_file_actions_addinherit_np(&actions_, number));
#endif
    }
  }

  void keepFirstError(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_;
  int error_ = 0;
};

/// The attributes for an empty signal mask and default signal dispositions.
class Attributes {
 public:
  Attributes() {
    ::posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    sigset_t all;
    sigfillset(&all);
    sigdelset(&all, SIGKILL);
    sigdelset(&all, SIGSTOP);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
    // NOLINTNEXTLINE(misc-const-correctness): not const on macOS.
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
#if defined(__APPLE__)
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    ::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }
  ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes &) = delete;
  Attributes &operator=(const Attributes &) = delete;

  const posix_spawnattr_t *get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

}  // namespace

int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child) {
  const SpawnPlan plan(request, environment);
  if (plan.error() != 0) return plan.error();
  return request.endsWithParent ? spawnEndingWithParent(plan, child) : posixSpawn(plan, child);
}

int posixSpawn(const SpawnPlan &plan, pid_t &child) {
  const FileActions actions(plan);
  if (actions.error() != 0) return actions.error();
  const Attributes attributes;
  return ::posix_spawn(&child, plan.executable(), actions.get(), attributes.get(), plan.arguments(),
                       plan.environment());
}

}  // namespace orvel
