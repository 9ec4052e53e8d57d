#include "platform/fake/fake_storage.h"

#include <filesystem>
#include <system_error>

#include "base/real_folder.h"
#include "platform/posix/replaceable_folder.h"

namespace orvel {

namespace fs = std::filesystem;

std::optional<std::string> find(const StoredTexts &texts, std::string_view key) {
  const auto found = texts.find(key);
  if (found == texts.end()) return std::nullopt;
  return found->second;
}

bool FakeBundle::isSignedByTeam(const std::string &bundlePath, const std::string &signer) const {
  return find(signers, bundlePath) == signer;
}

bool FakeLocations::replaceItem(const std::string &original, const std::string &replacement) const {
  record_.add("replace " + original + " by " + replacement);
  std::error_code error;
  if (!replaceSucceeds || !isRealFolder(original) || !isRealFolder(replacement) ||
      fs::equivalent(original, replacement, error)) {
    return false;
  }
  // Unlike rename(2), a copy works between two file systems.
  const std::string copy = original + ".new";
  fs::copy(replacement, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (error) return false;
  fs::remove_all(original);
  fs::rename(copy, original);
  fs::remove_all(replacement);
  return true;
}

bool FakeLocations::canReplaceItem(const std::string &original) const {
  return isWritable && canReplaceFolder(original);
}

void FakeLocations::quarantine(const std::string &file, const Url &source) const {
  const std::string kind = fs::exists(file) ? "file" : "missing file";
  record_.add("quarantine " + kind + " from " + source.absoluteString);
}

void FakeUserDefaults::setText(std::string_view key, std::string_view value) {
  record_.add("default " + std::string(key) + " = " + std::string(value));
  texts.insert_or_assign(std::string(key), std::string(value));
}

}  // namespace orvel
