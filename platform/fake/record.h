#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvel {

/// The recorded calls to the fake platform, in order, one line for each call.
class Record {
 public:
  void add(std::string call) { calls_.push_back(std::move(call)); }
  const std::vector<std::string> &calls() const { return calls_; }
  /// Returns the calls that start with the prefix.
  std::vector<std::string> callsStartingWith(std::string_view prefix) const {
    std::vector<std::string> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [&](const std::string &call) { return call.starts_with(prefix); });
    return found;
  }
  /// Returns the number of calls that start with the prefix.
  std::size_t count(std::string_view prefix) const { return callsStartingWith(prefix).size(); }
  /// Removes and returns all calls.
  std::vector<std::string> take() { return std::exchange(calls_, {}); }

 private:
  std::vector<std::string> calls_;
};

}  // namespace orvel
