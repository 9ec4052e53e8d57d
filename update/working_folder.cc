#include "update/working_folder.h"

#include <system_error>
#include <vector>

#include "base/private_folder.h"
#include "base/real_folder.h"

namespace orvel {

namespace {

constexpr const char *folderPrefix = "orvel-os-update-";

}  // namespace

std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie) {
  const std::string name = folderPrefix + versie;
  if (name.find('\0') != std::string::npos) return std::nullopt;
  for (const auto &component : std::filesystem::path(name)) {
    if (component == "..") return std::nullopt;
  }
  return temporary + "/" + name;
}

bool createWorkingFolder(const std::filesystem::path &temporary,
                         const std::filesystem::path &folder) {
  std::error_code error;
  // A version may contain "/", so there may be folders between `temporary` and `folder`.
  auto parent = temporary;
  for (const auto &name : folder.parent_path().lexically_relative(temporary)) {
    parent /= name;
    if (std::filesystem::exists(std::filesystem::symlink_status(parent, error)) &&
        !isRealFolder(parent)) {
      return false;
    }
  }
  std::filesystem::remove_all(folder, error);
  createPrivateFolder(folder);
  // Files that could not be removed would become part of the release.
  return isRealFolder(folder) && std::filesystem::is_empty(folder, error);
}

void removeWorkingFolders(const std::filesystem::path &temporary) {
  std::error_code error;
  std::vector<std::filesystem::path> folders;
  for (auto entry = std::filesystem::directory_iterator(temporary, error);
       !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const auto &path = entry->path();
    if (path.filename().string().starts_with(folderPrefix)) folders.push_back(path);
  }
  for (const auto &path : folders) std::filesystem::remove_all(path, error);
}

}  // namespace orvel
