#include "platform/fake/record.h"

#include <algorithm>
#include <utility>

namespace orvel {

std::vector<std::string> Record::entriesStartingWith(
    const std::vector<std::string_view> &prefixes) const {
  std::vector<std::string> found;
  for (const std::string &entry : entries_) {
    const auto begins = [&](std::string_view prefix) { return entry.starts_with(prefix); };
    if (std::any_of(prefixes.begin(), prefixes.end(), begins)) found.push_back(entry);
  }
  return found;
}

std::size_t Record::count(std::string_view prefix) const {
  return entriesStartingWith({prefix}).size();
}

std::vector<std::string> Record::take() { return std::exchange(entries_, {}); }

}  // namespace orvel
