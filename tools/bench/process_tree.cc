#include <dirent.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

// Runs a program and weighs it with all that descends from it, wherever in the
// tree its processes are or were:
//
//   process_tree PROGRAM [ARGUMENT...]
//
// Each line of its input is answered by one line of JSON about that moment. It
// ends with the last of the processes; when its input ends it kills them.

namespace {

struct Process {
  pid_t parent = 0;
  std::string name;
  /// Of the children that it has waited for, in clock ticks.
  long childTicks = 0;
};

double milliseconds(const timespec &time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double milliseconds(const timeval &time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return milliseconds(time);
}

std::map<pid_t, Process> allProcesses() {
  std::map<pid_t, Process> processes;
  DIR *folder = ::opendir("/proc");
  while (const dirent *entry = folder != nullptr ? ::readdir(folder) : nullptr) {
    if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0) continue;
    std::ifstream file(std::string("/proc/") + entry->d_name + "/stat");
    std::string text;
    std::getline(file, text);
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (close == std::string::npos) continue;
    Process process;
    process.name = text.substr(open + 1, close - open - 1);
    // The fields as proc(5) numbers them.
    std::istringstream fields(text.substr(close + 2));
    std::string field;
    for (int number = 3; fields >> field && number <= 17; ++number) {
      if (number == 4) process.parent = std::stoi(field);
      if (number == 16 || number == 17) process.childTicks += std::stol(field);
    }
    processes.emplace(std::stoi(entry->d_name), process);
  }
  if (folder != nullptr) ::closedir(folder);
  return processes;
}

std::map<pid_t, Process> descendants() {
  const auto all = allProcesses();
  std::map<pid_t, Process> mine;
  for (const auto &[pid, process] : all) {
    for (auto above = all.find(pid); above != all.end(); above = all.find(above->second.parent)) {
      if (above->second.parent != ::getpid()) continue;
      mine.emplace(pid, process);
      break;
    }
  }
  return mine;
}

double processorTime(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return 0;
  return milliseconds(time);
}

/// In kB.
struct Memory {
  /// What is shared is divided among those who share it, strangers too.
  long proportional = 0;
  /// Written by this process, and nobody else's.
  long own = 0;
};

Memory memoryOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
  Memory memory;
  std::string word;
  while (file >> word) {
    if (word == "Pss:") file >> memory.proportional;
    if (word == "Private_Dirty:") file >> memory.own;
  }
  return memory;
}

void tellMoment() {
  rusage ended{};
  ::getrusage(RUSAGE_CHILDREN, &ended);
  double processor = milliseconds(ended.ru_utime) + milliseconds(ended.ru_stime);
  Memory memory;
  std::string names;
  for (const auto &[pid, process] : descendants()) {
    processor += processorTime(pid);
    processor +=
        1e3 * static_cast<double>(process.childTicks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    const Memory its = memoryOf(pid);
    memory.proportional += its.proportional;
    memory.own += its.own;
    names += (names.empty() ? "\"" : ",\"") + process.name + '"';
  }
  std::cout << "{\"time\":" << now() << ",\"processor\":" << processor
            << ",\"memory\":" << memory.proportional << ",\"own\":" << memory.own
            << ",\"processes\":[" << names << "]}" << std::endl;
}

/// Whether some are left.
bool reap() {
  for (;;) {
    const pid_t pid = ::waitpid(-1, nullptr, WNOHANG);
    if (pid == 0) return true;
    if (pid < 0) return errno != ECHILD;
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return EXIT_FAILURE;
  std::cout << std::fixed;
  // Whoever loses its parent becomes a child of ours.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1UL, 0UL, 0UL, 0UL);
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  ::sigprocmask(SIG_BLOCK, &child, nullptr);
  const int ends = ::signalfd(-1, &child, SFD_CLOEXEC);

  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  posix_spawn_file_actions_t streams;
  ::posix_spawn_file_actions_init(&streams);
  ::posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, "/dev/null", 0, 0);
  ::posix_spawn_file_actions_adddup2(&streams, STDERR_FILENO, STDOUT_FILENO);
  const double start = now();
  pid_t program = 0;
  if (::posix_spawnp(&program, argv[1], &streams, &attributes, argv + 1, environ) != 0) {
    return EXIT_FAILURE;
  }
  std::cout << "{\"time\":" << start << ",\"pid\":" << program << "}" << std::endl;

  std::array<pollfd, 2> watched{{{ends, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
  for (;;) {
    ::poll(watched.data(), watched.size(), -1);
    if (watched[0].revents != 0) {
      signalfd_siginfo ignored;
      if (::read(ends, &ignored, sizeof ignored) < 0 || !reap()) break;
    }
    if (watched[1].revents == 0) continue;
    std::array<char, 256> text;
    if (::read(STDIN_FILENO, text.data(), text.size()) > 0) {
      tellMoment();
    } else {
      watched[1].fd = -1;
      // A process that is just being born is met in the next pass.
      while (reap()) {
        for (const auto &[pid, process] : descendants()) ::kill(pid, SIGKILL);
        ::usleep(5000);
      }
      break;
    }
  }
  std::cout << "{\"time\":" << now() << ",\"ended\":true}" << std::endl;
}
