#include "platform/posix/spawn_plan.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace orvel {

namespace {

/// Returns whether a child may inherit a standard stream's descriptor. When the
/// application was started with the stream closed, open(2) may have given the number to a file
/// of the application, which has the close-on-exec flag.
bool isInheritable(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFD);
  return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  for (std::string &text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

bool containsNul(const std::string &text) { return text.find('\0') != std::string::npos; }

}  // namespace

SpawnPlan::SpawnPlan(const LaunchRequest &request,
                     const std::map<std::string, std::string> &environment)
    : words_{request.executable}, workingDirectory_(request.workingDirectory) {
  words_.insert(words_.end(), request.arguments.begin(), request.arguments.end());
  for (const auto &[name, value] : environment) variables_.push_back(name + "=" + value);
  // exec and chdir would truncate a string at a NUL.
  if (std::any_of(words_.begin(), words_.end(), containsNul) ||
      std::any_of(variables_.begin(), variables_.end(), containsNul) ||
      containsNul(workingDirectory_)) {
    error_ = EINVAL;
    return;
  }
  argumentPointers_ = pointersTo(words_);
  variablePointers_ = pointersTo(variables_);
  streams_ = {sourceOf(StandardStream{}, STDIN_FILENO),
              sourceOf(request.standardOutput, STDOUT_FILENO),
              sourceOf(request.standardError, STDERR_FILENO)};
}

int SpawnPlan::sourceOf(const StandardStream &stream, int number) {
  switch (stream.kind) {
    case StandardStream::Kind::null:
      return nullDevice;
    case StandardStream::Kind::inherited:
      return isInheritable(number) ? number : nullDevice;
    case StandardStream::Kind::handle:
      if (stream.handle) return sourceOf(*stream.handle);
      error_ = EBADF;
  }
  return nullDevice;
}

int SpawnPlan::sourceOf(const FileHandle &handle) {
  if (handle.descriptor() > STDERR_FILENO) return handle.descriptor();
  // dup2 for another stream could overwrite this descriptor.
  const int copy = ::fcntl(handle.descriptor(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (copy < 0) {
    error_ = errno;
  } else {
    copies_.push_back(std::make_unique<FileHandle>(copy));
  }
  return copy;
}

}  // namespace orvel
