#include "platform/fake/fake_storage.h"

#include <filesystem>
#include <system_error>

#include "base/real_folder.h"
#include "platform/posix/replaceable_folder.h"

namespace orvel {

namespace {

namespace fs = std::filesystem;

std::optional<std::string> find(const std::map<std::string, std::string, std::less<>> &texts,
                                std::string_view key) {
  const auto found = texts.find(key);
  if (found == texts.end()) return std::nullopt;
  return found->second;
}

}  // namespace

std::optional<std::string> FakeBundle::infoText(std::string_view key) const {
  return find(texts, key);
}

bool FakeBundle::isSignedByTeam(const std::string &bundlePath, const std::string &signer) const {
  const auto found = signers.find(bundlePath);
  return found != signers.end() && found->second == signer;
}

std::optional<std::string> FakeUserDefaults::text(std::string_view key) const {
  return find(texts, key);
}

bool FakeLocations::replaceItem(const std::string &original, const std::string &replacement) const {
  record_.add("replace " + original + " by " + replacement);
  std::error_code error;
  if (!replaceSucceeds || !isRealFolder(original) || !isRealFolder(replacement) ||
      fs::equivalent(original, replacement, error)) {
    return false;
  }
  const std::string aside = original + ".old";
  fs::rename(original, aside, error);
  if (error) return false;
  fs::rename(replacement, original, error);
  if (error) {
    // rename(2) fails with EXDEV between two file systems.
    fs::copy(replacement, original, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::remove_all(replacement);
  }
  fs::remove_all(aside);
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
