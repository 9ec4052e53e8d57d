#include "platform/fake/fake_stores.h"

namespace orvel {

namespace {

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

std::optional<std::string> FakeUserDefaults::text(std::string_view key) const {
  return find(texts, key);
}

void FakeUserDefaults::setText(std::string_view key, std::string_view value) {
  record_.add("default " + std::string(key) + " = " + std::string(value));
  texts.insert_or_assign(std::string(key), std::string(value));
}

}  // namespace orvel
