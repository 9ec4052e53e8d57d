#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

// Runs a program and measures it with all its descendants, including orphaned ones:
//
//   process_tree PROGRAM [ARGUMENT...]
//
// Prints one line of JSON at the start, a measurement for each line on standard input, and one
// line at the end. Exits after the last process has exited. Kills all processes when its
// standard input ends. The standard output of the program goes to standard error.

namespace {

struct Process {
  pid_t parent = 0;
  std::string name;
  /// The processor time of the children that the process has reaped, in clock ticks.
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
  for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
    const pid_t pid = std::atoi(entry.path().filename().c_str());
    if (pid == 0) continue;
    std::ifstream file(entry.path() / "stat");
    std::string text;
    std::getline(file, text);
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (close == std::string::npos) continue;
    Process process;
    process.name = text.substr(open + 1, close - open - 1);
    long user = 0;
    long system = 0;
    // Fields 3, 4 and up to 17 of proc(5): state, ppid ... cutime, cstime.
    std::sscanf(text.c_str() + close + 1,
                " %*c %d %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %ld %ld", &process.parent,
                &user, &system);
    process.childTicks = user + system;
    processes.emplace(pid, process);
  }
  return processes;
}

std::map<pid_t, Process> descendants() {
  const auto all = allProcesses();
  std::map<pid_t, Process> result;
  for (const auto &[pid, process] : all) {
    for (auto ancestor = all.find(pid); ancestor != all.end();
         ancestor = all.find(ancestor->second.parent)) {
      if (ancestor->second.parent != ::getpid()) continue;
      result.emplace(pid, process);
      break;
    }
  }
  return result;
}

double processorTime(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return 0;
  return milliseconds(time);
}

void printMeasurement() {
  rusage exited{};
  ::getrusage(RUSAGE_CHILDREN, &exited);
  double processor = milliseconds(exited.ru_utime) + milliseconds(exited.ru_stime);
  // In kB.
  long proportional = 0;
  long privateDirty = 0;
  std::string names;
  for (const auto &[pid, process] : descendants()) {
    processor += processorTime(pid);
    processor +=
        1e3 * static_cast<double>(process.childTicks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    long value = 0;
    for (std::string word; file >> word;) {
      if (word == "Pss:" && file >> value) proportional += value;
      if (word == "Private_Dirty:" && file >> value) privateDirty += value;
    }
    names += (names.empty() ? "\"" : ",\"") + process.name + '"';
  }
  std::cout << "{\"time\":" << now() << ",\"processor\":" << processor
            << ",\"memory\":" << proportional << ",\"privateDirty\":" << privateDirty
            << ",\"processes\":[" << names << "]}" << '\n'
            << std::flush;
}

/// Reaps exited children; returns false when no child is left.
bool reap() {
  for (;;) {
    const pid_t pid = ::waitpid(-1, nullptr, WNOHANG);
    if (pid == 0) return true;
    if (pid < 0) return errno != ECHILD;
  }
}

void startProgram(char **command, const sigset_t &blocked) {
  if (::fork() != 0) return;
  ::sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
  const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::dup2(null, STDIN_FILENO);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  ::execvp(command[0], command);
  ::_exit(EXIT_FAILURE);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return EXIT_FAILURE;
  std::cout << std::fixed;
  // Orphaned descendants become children of this process.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1UL, 0UL, 0UL, 0UL);
  sigset_t childSignal;
  sigemptyset(&childSignal);
  sigaddset(&childSignal, SIGCHLD);
  ::sigprocmask(SIG_BLOCK, &childSignal, nullptr);
  const int exits = ::signalfd(-1, &childSignal, SFD_CLOEXEC);

  std::cout << "{\"time\":" << now() << "}" << '\n' << std::flush;
  startProgram(argv + 1, childSignal);

  std::array<pollfd, 2> watched{{{exits, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
  for (;;) {
    ::poll(watched.data(), watched.size(), -1);
    if (watched[0].revents != 0) {
      signalfd_siginfo ignored;
      if (::read(exits, &ignored, sizeof ignored) < 0 || !reap()) break;
    }
    if (watched[1].revents == 0) continue;
    std::array<char, 256> text;
    if (::read(STDIN_FILENO, text.data(), text.size()) > 0) {
      printMeasurement();
      continue;
    }
    // Repeats, because a process may fork while the others are killed.
    while (reap()) {
      for (const auto &[pid, process] : descendants()) ::kill(pid, SIGKILL);
      ::usleep(5000);
    }
    break;
  }
  std::cout << "{\"time\":" << now() << ",\"ended\":true}" << '\n' << std::flush;
}
