#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace orvel::fuzz {

/// The server that stands at every address: in a program that has it, each
/// connection to wherever leads here, and every host's name is known. So what
/// is meant for another host can be seen, and nothing leaves the machine.
class ScriptedServer {
 public:
  /// The one of the process; it lasts as long as that.
  static ScriptedServer &instance();

  /// From now on each connection gets the next of the answers, which then ends;
  /// when none is left, the end alone.
  void answerWith(std::vector<std::string> answers);
  /// The heads of the requests since then.
  std::vector<std::string> heads() const;
  int port() const { return port_; }

 private:
  ScriptedServer();
  [[noreturn]] void serve();

  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> answers_;
  std::size_t next_ = 0;
  std::vector<std::string> heads_;
};

}  // namespace orvel::fuzz
