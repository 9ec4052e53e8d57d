#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvel {

/// The calls to the fake platform, in order, one line for each call.
class Record {
 public:
  void add(std::string entry) { entries_.push_back(std::move(entry)); }
  const std::vector<std::string> &entries() const { return entries_; }
  /// Returns the entries that start with one of the prefixes.
  std::vector<std::string> entriesStartingWith(const std::vector<std::string_view> &prefixes) const;
  /// Returns the number of entries that start with the prefix.
  std::size_t count(std::string_view prefix) const;
  /// Returns the entries and clears the record.
  std::vector<std::string> take();

 private:
  std::vector<std::string> entries_;
};

}  // namespace orvel
