#include "platform/linux/files/loadable_program.h"

#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace orvel {

namespace {

/// The properties of an ELF file that determine which machine and loader can start it.
struct ProgramKind {
  unsigned char wordSize = 0;
  unsigned char byteOrder = 0;
  ElfW(Half) machine = 0;
  std::string loader;

  bool operator==(const ProgramKind &) const = default;
};

/// Reads `size` bytes at an offset. Returns false when the file is too short.
template <typename Value>
bool readAt(std::istream &file, ElfW(Off) offset, Value *value, std::size_t size = sizeof(Value)) {
  file.seekg(static_cast<std::streamoff>(offset));
  return static_cast<bool>(
      file.read(reinterpret_cast<char *>(value), static_cast<std::streamsize>(size)));
}

/// Returns whether the dynamic section names audit libraries or is malformed. The loader runs the
/// constructors of audit libraries even in trace mode (LD_TRACE_LOADED_OBJECTS).
bool hasAuditLibrary(std::istream &file, const ElfW(Phdr) & dynamic) {
  for (ElfW(Off) offset = 0; offset + sizeof(ElfW(Dyn)) <= dynamic.p_filesz;
       offset += sizeof(ElfW(Dyn))) {
    ElfW(Dyn) entry;
    if (!readAt(file, dynamic.p_offset + offset, &entry)) return true;
    if (entry.d_tag == DT_NULL) return false;
    if (entry.d_tag == DT_AUDIT || entry.d_tag == DT_DEPAUDIT) return true;
  }
  return true;
}

/// Reads the properties of a program. Returns nullopt when the file is not an ELF program,
/// has no dynamic loader or has audit libraries.
std::optional<ProgramKind> kindOf(const std::string &program) {
  constexpr std::size_t maxPathSize = 4096;
  std::ifstream file(program, std::ios::binary);
  ElfW(Ehdr) header;
  if (!readAt(file, 0, &header) ||
      std::string_view(reinterpret_cast<const char *>(header.e_ident), SELFMAG) != ELFMAG ||
      header.e_phentsize != sizeof(ElfW(Phdr))) {
    return std::nullopt;
  }
  std::string loader;
  for (unsigned number = 0; number < header.e_phnum; ++number) {
    ElfW(Phdr) segment;
    if (!readAt(file, header.e_phoff + number * sizeof(segment), &segment)) return std::nullopt;
    if (segment.p_type == PT_DYNAMIC && hasAuditLibrary(file, segment)) return std::nullopt;
    if (segment.p_type != PT_INTERP) continue;
    if (segment.p_filesz > maxPathSize) return std::nullopt;
    loader.assign(segment.p_filesz, '\0');
    if (!readAt(file, segment.p_offset, loader.data(), loader.size())) return std::nullopt;
    loader.resize(std::strlen(loader.c_str()));  // The segment ends in a NUL.
  }
  if (loader.empty()) return std::nullopt;
  return ProgramKind{header.e_ident[EI_CLASS], header.e_ident[EI_DATA], header.e_machine, loader};
}

/// Runs a program. Returns what it writes to stdout and stderr, or nullopt when it does not
/// exit with status 0.
std::optional<std::string> runForOutput(ProcessLauncher &processes, LaunchRequest request) {
  auto pipe = Pipe::create();
  if (!pipe) return std::nullopt;
  request.standardOutput = {StandardStream::Kind::handle, pipe->writing};
  request.standardError = {StandardStream::Kind::handle, std::move(pipe->writing)};
  const LaunchResult child = processes.launch(request);
  // Closes this process's writing end, so that the read ends when the program has ended.
  request.standardOutput = {};
  request.standardError = {};
  if (!child.process) return std::nullopt;
  std::string output = pipe->reading->readToEnd();
  child.process->waitUntilExit();
  if (child.process->terminationStatus() != 0) return std::nullopt;
  return output;
}

/// Returns whether the output of the dynamic loader has one of glibc's messages about a missing
/// library, a missing symbol version or an undefined symbol of the program itself. Undefined
/// symbols of system libraries are ignored: they may never be called.
bool reportsMissingDependency(const std::string &output, const std::string &program) {
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with(" => not found") ||
        line.find("' not found (required by ") != std::string::npos) {
      return true;
    }
    if (line.starts_with("undefined symbol: ") && line.ends_with("(" + program + ")")) return true;
  }
  return false;
}

}  // namespace

bool isLoadableProgram(ProcessLauncher &processes, const std::string &program) {
  const auto kind = kindOf(program);
  if (!kind || kind != kindOf("/proc/self/exe") || ::access(program.c_str(), X_OK) != 0) {
    return false;
  }
  LaunchRequest request;
  request.executable = kind->loader;
  request.environmentChanges = {{"LC_ALL", "C"}};
  // A loader that does not know --verify fails here. Such a loader might also ignore
  // LD_TRACE_LOADED_OBJECTS below and run the program.
  request.arguments = {"--verify", program};
  if (!runForOutput(processes, request)) return false;
  request.arguments = {program};
  request.environmentChanges["LD_TRACE_LOADED_OBJECTS"] = "1";
  // The loader resolves symbols in trace mode only when both variables are set.
  request.environmentChanges["LD_WARN"] = "1";
  request.environmentChanges["LD_BIND_NOW"] = "1";
  const auto trace = runForOutput(processes, request);
  return trace && !reportsMissingDependency(*trace, program);
}

}  // namespace orvel
