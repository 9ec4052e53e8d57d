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
  /// Returns the first segment of a type, which must exist.
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
  /// Writes a program with these bytes and returns whether it is loadable. Expects that the check
  /// has not executed it.
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
  // As a control, an execution of the program is detected.
  const std::string path = folder_.file("program", releaseProgram(), true);
  EXPECT_EQ(run(launcher_, program(path)).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "executed"));
}

TEST_F(LoadableProgram, ProgramWithSpecialCharactersInPathIsLoadable) {
  // Some names look like an option or a message of the loader about a missing dependency.
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
  // Each line changes a name in the program to one that does not exist.
  EXPECT_FALSE(isLoadable(releaseProgramWith("libc.so.6", "libq.so.6"))) << "missing library";
  EXPECT_FALSE(isLoadable(releaseProgramWith("GLIBC_2.", "GLIBC_9."))) << "missing version";
  EXPECT_FALSE(isLoadable(releaseProgramWith("getpgid", "getpgix"))) << "missing symbol";
  EXPECT_FALSE(isLoadable(releaseProgramWith("/ld-", "/lx-"))) << "missing loader";
}

TEST_F(LoadableProgram, ProgramOfAnotherDynamicLoaderIsRejected) {
  ElfProgram program;
  const auto &segment = program.segmentOfType(PT_INTERP);
  // A program that succeeds with any arguments.
  std::string loader = "/bin/true";
  loader.resize(segment.p_filesz);
  program.bytes.replace(segment.p_offset, loader.size(), loader);
  EXPECT_FALSE(isLoadable(program.bytes));
}

TEST_F(LoadableProgram, ProgramOfAnotherMachineOrWordSizeIsRejected) {
  ElfProgram anotherMachine;
  anotherMachine.header.e_machine = EM_NONE;
  EXPECT_FALSE(isLoadable(anotherMachine.changed()));
  ElfProgram anotherWordSize;
  anotherWordSize.header.e_ident[EI_CLASS] = __ELF_NATIVE_CLASS == 64 ? ELFCLASS32 : ELFCLASS64;
  EXPECT_FALSE(isLoadable(anotherWordSize.changed()));
}

TEST_F(LoadableProgram, StaticProgramOrLibraryIsRejected) {
  // A library has no PT_INTERP. A static program has no PT_DYNAMIC either, unless it is a PIE. One
  // missing type must be enough for the rejection.
  for (const auto missingType : std::array<ElfW(Word), 2>{PT_INTERP, PT_DYNAMIC}) {
    ElfProgram program;
    program.segmentOfType(missingType).p_type = PT_NULL;
    EXPECT_FALSE(isLoadable(program.changed())) << "without segment type " << missingType;
  }
}

// The loader would run the constructors of the audit libraries that a program names.
TEST_F(LoadableProgram, ProgramThatNamesAuditLibraryIsRejected) {
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
    EXPECT_FALSE(isLoadable(program.bytes)) << "tag " << tag;
  }
}

TEST_F(LoadableProgram, FileOtherThanWholeExecutableProgramIsRejected) {
  const std::string executed = folder_.path() / "executed";
  EXPECT_FALSE(isLoadable("#!/bin/sh\ntouch '" + executed + "'\n"));
  EXPECT_FALSE(isLoadable(releaseProgram(), false)) << "without execute permission";
  EXPECT_FALSE(isLoadable(""));
  EXPECT_FALSE(isLoadable("\177ELF"));
  const std::string whole = releaseProgram();
  // The sizes end in the ELF header, in the program headers, after them, and before the page of the
  // dynamic section. A file with more bytes may still be loadable, because the end of the file
  // holds only debug information.
  const std::size_t dynamicPage = ElfProgram().segmentOfType(PT_DYNAMIC).p_offset / 4096 * 4096;
  for (const std::size_t size :
       {std::size_t{60}, std::size_t{200}, std::size_t{1000}, dynamicPage}) {
    EXPECT_FALSE(isLoadable(whole.substr(0, size))) << "truncated to " << size << " bytes";
  }
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path())) << "a folder";
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path() / "missing"));
}

}  // namespace
}  // namespace orvel
