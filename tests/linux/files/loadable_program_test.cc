// Which programs count as loadable on this machine. The check must not execute them.

#include "platform/linux/files/loadable_program.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "platform/posix/posix_process_launcher.h"
#include "tests/linux/files/release_program.h"

namespace orvel {
namespace {

using namespace posix_test;

/// The headers of the release program, as copies that a test can change.
struct ElfProgram {
  ElfProgram() {
    std::memcpy(&header, bytes.data(), sizeof(header));
    segments.resize(header.e_phnum);
    std::memcpy(segments.data(), &bytes[header.e_phoff], segments.size() * sizeof(segments[0]));
  }
  ElfW(Phdr) & segmentOfType(ElfW(Word) type) {
    return *std::find_if(segments.begin(), segments.end(),
                         [type](const auto &segment) { return segment.p_type == type; });
  }
  /// Returns the bytes of the program with the changed headers.
  std::string changed() const {
    std::string result = bytes;
    std::memcpy(result.data(), &header, sizeof(header));
    std::memcpy(&result[header.e_phoff], segments.data(), segments.size() * sizeof(segments[0]));
    return result;
  }

  std::string bytes = releaseProgram();
  ElfW(Ehdr) header;
  std::vector<ElfW(Phdr)> segments;
};

class LoadableProgram : public testing::Test {
 protected:
  /// Returns the result for a program with these bytes. Fails the test if the check has
  /// executed it.
  bool isLoadable(const std::string &bytes, bool isExecutable = true) {
    const std::string program = folder_.file("program", bytes, isExecutable);
    const bool loadable = isLoadableProgram(launcher_, program);
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "executed")) << "it was executed";
    std::filesystem::remove(program);
    return loadable;
  }
  const TemporaryFolder folder_;
  PosixProcessLauncher launcher_{processEnvironment()};
};

TEST_F(LoadableProgram, ProgramBuiltForThisMachineIsLoadable) {
  EXPECT_TRUE(isLoadable(releaseProgram()));
  // Control: an execution of the program would be detected.
  const std::string path = folder_.file("program", releaseProgram(), true);
  EXPECT_EQ(run(launcher_, program(path)).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "executed"));
}

TEST_F(LoadableProgram, ProgramWithSpecialCharactersInPathIsLoadable) {
  for (const std::string name : {"blanks  and 'quotes'", "-rf", "x => not found",
                                 "a' not found (required by b", "line\nbreak"}) {
    const auto folder = folder_.path() / name;
    std::filesystem::create_directory(folder);
    const auto program = folder / "program";
    std::filesystem::copy_file(ORVELOS_RELEASE_PROGRAM, program);
    EXPECT_TRUE(isLoadableProgram(launcher_, program.string())) << name;
  }
}

TEST_F(LoadableProgram, MissingDependencyIsRejected) {
  EXPECT_FALSE(isLoadable(releaseProgramWith("libc.so.6", "libq.so.6"))) << "missing library";
  EXPECT_FALSE(isLoadable(releaseProgramWith("GLIBC_2.", "GLIBC_9."))) << "missing version";
  EXPECT_FALSE(isLoadable(releaseProgramWith("getpgid", "getpgix"))) << "missing symbol";
  EXPECT_FALSE(isLoadable(releaseProgramWith("/ld-", "/lx-"))) << "missing loader";
}

TEST_F(LoadableProgram, AnotherDynamicLoaderIsRejected) {
  ElfProgram program;
  const auto &segment = program.segmentOfType(PT_INTERP);
  // A program that succeeds with any arguments.
  std::string loader = "/bin/true";
  loader.resize(segment.p_filesz);
  program.bytes.replace(segment.p_offset, loader.size(), loader);
  EXPECT_FALSE(isLoadable(program.bytes));
}

TEST_F(LoadableProgram, AnotherMachineOrWordSizeIsRejected) {
  ElfProgram anotherMachine;
  anotherMachine.header.e_machine = EM_NONE;
  EXPECT_FALSE(isLoadable(anotherMachine.changed()));
  ElfProgram anotherWordSize;
  anotherWordSize.header.e_ident[EI_CLASS] = __ELF_NATIVE_CLASS == 64 ? ELFCLASS32 : ELFCLASS64;
  EXPECT_FALSE(isLoadable(anotherWordSize.changed()));
}

TEST_F(LoadableProgram, StaticProgramOrLibraryIsRejected) {
  for (const auto missingType : std::array<ElfW(Word), 2>{PT_INTERP, PT_DYNAMIC}) {
    ElfProgram program;
    program.segmentOfType(missingType).p_type = PT_NULL;
    EXPECT_FALSE(isLoadable(program.changed())) << missingType;
  }
}

TEST_F(LoadableProgram, AuditLibraryIsRejected) {
  ElfProgram program;
  const auto &section = program.segmentOfType(PT_DYNAMIC);
  std::vector<ElfW(Dyn)> entries(section.p_filesz / sizeof(ElfW(Dyn)));
  std::memcpy(entries.data(), &program.bytes[section.p_offset], section.p_filesz);
  // The loader does not need the entry DT_DEBUG.
  const auto replaced = std::find_if(entries.begin(), entries.end(),
                                     [](const auto &entry) { return entry.d_tag == DT_DEBUG; });
  ASSERT_NE(replaced, entries.end());
  for (const auto tag : {DT_AUDIT, DT_DEPAUDIT}) {
    replaced->d_tag = tag;
    std::memcpy(&program.bytes[section.p_offset], entries.data(), section.p_filesz);
    EXPECT_FALSE(isLoadable(program.bytes)) << tag;
  }
}

TEST_F(LoadableProgram, MissingExecutePermissionIsRejected) {
  EXPECT_FALSE(isLoadable(releaseProgram(), false));
}

TEST_F(LoadableProgram, ScriptOrTruncatedProgramIsRejected) {
  const std::string mark = folder_.path() / "executed";
  EXPECT_FALSE(isLoadable("#!/bin/sh\ntouch '" + mark + "'\n"));
  EXPECT_FALSE(isLoadable(""));
  EXPECT_FALSE(isLoadable("\177ELF"));
  const std::string whole = releaseProgram();
  for (const std::size_t size : {60U, 200U, 1000U}) EXPECT_FALSE(isLoadable(whole.substr(0, size)));
  // Truncation after the last loaded segment would only remove debug information.
  EXPECT_FALSE(
      isLoadable(whole.substr(0, ElfProgram().segmentOfType(PT_DYNAMIC).p_offset / 4096 * 4096)));
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path()));
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path() / "missing"));
}

}  // namespace
}  // namespace orvel
