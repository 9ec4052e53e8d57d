#include "platform/posix/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

namespace orvel {

namespace {

/// Whether the number is a standard stream of ours to pass on. When the
/// application was started with the stream closed, the number may by now belong
/// to a private file, which the close-on-exec flag gives away.
bool isInheritable(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFD);
  return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

/// What happens between the birth of a child and its program: the three
/// standard streams, the working directory, and no other descriptor.
class FileActions {
 public:
  FileActions() { error_ = ::posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions &) = delete;
  FileActions &operator=(const FileActions &) = delete;

  const posix_spawn_file_actions_t *get() const { return &actions_; }
  /// The first error of all steps.
  int error() const { return error_; }

  void addStream(const StandardStream &stream, int number) {
    if (stream.kind == StandardStream::Kind::handle) {
      addHandle(stream.handle, number);
    } else if (stream.kind == StandardStream::Kind::null || !isInheritable(number)) {
      const int mode = number == STDIN_FILENO ? O_RDONLY : O_WRONLY;
      note(::posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", mode, 0));
    } else {
#if defined(__APPLE__)
      note(::posix_spawn_file_actions_addinherit_np(&actions_, number));
#endif
    }
  }

  void addWorkingDirectory(const std::string &path) {
    note(::posix_spawn_file_actions_addchdir_np(&actions_, path.c_str()));
  }

  /// On macOS a flag of the attributes does this.
  void addCloseOthers() {
#if !defined(__APPLE__)
    note(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
#endif
  }

 private:
  void addHandle(const std::shared_ptr<FileHandle> &handle, int number) {
    if (!handle) return note(EBADF);
    int source = handle->descriptor();
    // The streams are put in place one after the other: a source that has the
    // number of one of them would be overwritten before its turn.
    if (source <= STDERR_FILENO) {
      source = ::fcntl(source, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
      if (source < 0) return note(errno);
      copies_.push_back(std::make_unique<FileHandle>(source));
    }
    note(::posix_spawn_file_actions_adddup2(&actions_, source, number));
  }

  void note(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_;
  std::vector<std::unique_ptr<FileHandle>> copies_;
  int error_ = 0;
};

/// An empty signal mask and default dispositions, whatever ours are.
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

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  for (std::string &text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

bool holdsNul(const std::string &text) { return text.find('\0') != std::string::npos; }

}  // namespace

int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child) {
  std::vector<std::string> words{request.executable};
  words.insert(words.end(), request.arguments.begin(), request.arguments.end());
  std::vector<std::string> variables;
  for (const auto &[name, value] : environment) variables.push_back(name + "=" + value);
  // The system's texts end at a NUL: what stands behind it would be cut off.
  if (std::any_of(words.begin(), words.end(), holdsNul) ||
      std::any_of(variables.begin(), variables.end(), holdsNul) ||
      holdsNul(request.workingDirectory.value_or(""))) {
    return EINVAL;
  }

  FileActions actions;
  actions.addStream({}, STDIN_FILENO);
  actions.addStream(request.standardOutput, STDOUT_FILENO);
  actions.addStream(request.standardError, STDERR_FILENO);
  // The empty path is the directory that the process is in already.
  if (!request.workingDirectory.value_or("").empty()) {
    actions.addWorkingDirectory(*request.workingDirectory);
  }
  actions.addCloseOthers();
  if (actions.error() != 0) return actions.error();

  const Attributes attributes;
  return ::posix_spawn(&child, request.executable.c_str(), actions.get(), attributes.get(),
                       pointersTo(words).data(), pointersTo(variables).data());
}

}  // namespace orvel
