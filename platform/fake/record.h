#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvel {

/// Everything that was asked of the fake platform, in order, one line each.
class Record {
 public:
  void add(std::string entry) { entries_.push_back(std::move(entry)); }
  const std::vector<std::string> &entries() const { return entries_; }
  /// The entries that begin with one of the prefixes.
  std::vector<std::string> entriesStartingWith(const std::vector<std::string_view> &prefixes) const;
  /// How many entries begin with the prefix.
  std::size_t count(std::string_view prefix) const;
  /// Gives the entries and forgets them.
  std::vector<std::string> take();

 private:
  std::vector<std::string> entries_;
};

}  // namespace orvel
