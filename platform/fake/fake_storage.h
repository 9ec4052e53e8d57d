#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include "base/real_folder.h"
#include "base/text_map.h"
#include "platform/bundle.h"
#include "platform/fake/record.h"
#include "platform/locations.h"
#include "platform/posix/replaceable_folder.h"
#include "platform/user_defaults.h"

namespace orvel {

/// A bundle whose string entries and code signatures are in memory.
class FakeBundle final : public Bundle {
 public:
  std::string path() const override { return folder; }
  bool hasInfoDictionary() const override { return hasReadableInfo; }
  std::optional<std::string> infoText(std::string_view key) const override {
    return hasReadableInfo ? find(texts, key) : std::nullopt;
  }
  std::optional<std::string> teamIdentifier() const override { return team; }
  bool isSignedByTeam(const std::string &bundlePath, const std::string &signer) const override {
    return find(signers, bundlePath) == signer;
  }

  /// By default the application's version and the key by which the server recognizes it.
  TextMap texts{{"CFBundleShortVersionString", "1.0"}, {"ORVELOSKey", "app-key"}};
  /// False simulates an unreadable Info.plist.
  bool hasReadableInfo = true;
  std::string folder = "/Applications/Orvel OS.app";
  /// The Team ID of the running program.
  std::optional<std::string> team;
  /// The Team ID in the valid signature of each bundle, by its path.
  TextMap signers;
};

/// User defaults in memory.
class FakeUserDefaults final : public UserDefaults {
 public:
  explicit FakeUserDefaults(Record &record) : record_(record) {}

  std::optional<std::string> text(std::string_view key) const override { return find(texts, key); }
  void setText(std::string_view key, std::string_view value) override {
    record_.add("default " + std::string(key) + " = " + std::string(value));
    texts.insert_or_assign(std::string(key), std::string(value));
  }

  TextMap texts;

 private:
  Record &record_;
};

/// Paths that a test sets. Only replaceItem, canReplaceItem and quarantine access the disk.
class FakeLocations final : public Locations {
 public:
  explicit FakeLocations(Record &record) : record_(record) {}

  std::string home() const override { return "/Users/someone"; }
  std::string downloads() const override { return downloadsFolder; }
  std::string temporary() const override { return temporaryFolder; }
  /// Replaces the folder on the disk when `replaceSucceeds`. Not atomic. Refuses a
  /// symbolic link, and a folder as its own replacement, like the other implementations.
  bool replaceItem(const std::string &original, const std::string &replacement) const override {
    namespace fs = std::filesystem;
    record_.add("replace " + original + " by " + replacement);
    std::error_code error;
    if (!replaceSucceeds || !isRealFolder(original) || !isRealFolder(replacement) ||
        fs::equivalent(original, replacement, error)) {
      return false;
    }
    // Unlike rename(2), a copy works between two file systems.
    const std::string copy = original + ".new";
    fs::copy(replacement, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
             error);
    if (error) return false;
    fs::remove_all(original);
    fs::rename(copy, original);
    fs::remove_all(replacement);
    return true;
  }
  bool canReplaceItem(const std::string &original) const override {
    return bundleIsWritable && canReplaceFolder(original);
  }
  /// Records the URL, and whether the file exists.
  void quarantine(const std::string &file, const Url &source) const override {
    const std::string kind = std::filesystem::exists(file) ? "file" : "missing file";
    record_.add("quarantine " + kind + " from " + source.absoluteString);
  }
  bool isExecutableFile(const std::string &path) const override {
    return executables.contains(path);
  }

  std::string downloadsFolder = "/Users/someone/Downloads";
  std::string temporaryFolder = "/Users/someone/temporary";
  /// By default the first path at which the core looks for node.
  std::set<std::string> executables{"/usr/local/bin/node"};
  bool replaceSucceeds = true;
  /// False simulates a bundle folder that is not writable. A test that runs as root cannot
  /// create one, because access(2) ignores the mode of a folder for root.
  bool bundleIsWritable = true;

 private:
  Record &record_;
};

}  // namespace orvel
