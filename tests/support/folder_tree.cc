#include "tests/support/folder_tree.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <sstream>

namespace orvel::posix_test {

namespace {

namespace fs = std::filesystem;

std::string describeEntry(const fs::path &path) {
  const fs::file_status status = fs::symlink_status(path);
  if (fs::is_symlink(status)) return "link to " + fs::read_symlink(path).string();
  std::ostringstream text;
  text << std::oct << static_cast<unsigned>(status.permissions());
  if (fs::is_directory(status)) return "folder " + text.str();
  if (!fs::is_regular_file(status)) return "special file " + text.str();
  std::string contents = contentsOf(path);
  // A hash of long contents keeps failure messages readable.
  if (contents.size() > 200) {
    const std::size_t hash = std::hash<std::string>{}(contents);
    contents = std::to_string(contents.size()) + " bytes of hash " + std::to_string(hash);
  }
  return "file " + text.str() + " " + contents;
}

void makeFile(const fs::path &path, const std::string &contents, unsigned mode) {
  std::ofstream(path, std::ios::binary) << contents;
  fs::permissions(path, fs::perms(mode));
}

}  // namespace

Tree treeOf(const fs::path &folder) {
  Tree tree;
  std::error_code ignored;
  if (!fs::is_directory(fs::symlink_status(folder, ignored))) return tree;
  tree[""] = describeEntry(folder);
  for (const auto &entry : fs::recursive_directory_iterator(folder)) {
    tree[entry.path().lexically_relative(folder).string()] = describeEntry(entry.path());
  }
  return tree;
}

Tree makeTree(const fs::path &folder, const std::string &label) {
  const fs::path contents = folder / "Contents";
  fs::create_directories(contents / "Linux");
  fs::create_directories(contents / "Resources" / "empty");
  fs::permissions(contents / "Resources" / "empty", fs::perms(0700));
  fs::permissions(contents / "Resources", fs::perms(0750));
  makeFile(contents / "Info.plist", "information of " + label, 0644);
  makeFile(contents / "Linux" / "program", "#!/bin/sh\necho " + label + "\n", 0755);
  makeFile(contents / "Resources" / "with spaces, 'single' and \"double\" quotes\nand a line break",
           label, 0600);
  makeFile(contents / "Resources" / "read-only", label, 0444);
  makeFile(contents / "Resources" / "large", std::string(20'000, label.front()), 0640);
  makeFile(contents / "Resources" / "no bytes", "", 0644);
  makeFile(folder / ("only in " + label), label, 0644);
  fs::create_symlink("Linux", contents / "Current");
  fs::create_symlink("/nowhere/" + label, contents / "dangling");
  fs::create_symlink("../Info.plist", contents / "Linux" / "information");
  return treeOf(folder);
}

Tree makeSmallTree(const fs::path &folder, const std::string &label) {
  fs::create_directories(folder / "Contents");
  makeFile(folder / "Contents" / "program", "#!/bin/sh\necho " + label + "\n", 0755);
  makeFile(folder / ("only in " + label), label, 0600);
  fs::create_symlink("Contents/" + label, folder / "link");
  return treeOf(folder);
}

std::ptrdiff_t entryCount(const fs::path &folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

std::unique_ptr<TemporaryFolder> folderOnAnotherFileSystem() {
  const auto deviceOf = [](const fs::path &path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 ? status.st_dev : dev_t{0};
  };
  const fs::path temporary = fs::temp_directory_path();
  for (const fs::path candidate : {"/dev/shm", "/run/shm", "/var/tmp", "/tmp"}) {
    if (deviceOf(candidate) == 0 || deviceOf(candidate) == deviceOf(temporary) ||
        ::access(candidate.c_str(), W_OK) != 0) {
      continue;
    }
    return std::make_unique<TemporaryFolder>(candidate);
  }
  return nullptr;
}

}  // namespace orvel::posix_test
