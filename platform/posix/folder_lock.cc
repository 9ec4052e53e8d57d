#include "platform/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace orvel {

FolderLock::FolderLock(const std::string &folder)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      isHeldElsewhere_(::flock(folder_.descriptor(), LOCK_EX | LOCK_NB) != 0 &&
                       errno == EWOULDBLOCK) {}

}  // namespace orvel
