// Which programs count as loadable on this machine. None is executed by the check.

#include "platform/linux/files/loadable_program.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstring>

#include "platform/posix/posix_process_launcher.h"
#include "tests/linux/files/release_program.h"

namespace orvel {
namespace {

using namespace posix_test;

class LoadableProgram : public testing::Test {
 protected:
  bool isLoadable(const std::string &bytes, bool isExecutable = true) {
    const std::string program = folder_.file("program", bytes, isExecutable);
    const bool loadable = isLoadableProgram(launcher_, program);
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "executed")) << "it was executed";
    std::filesystem::remove(program);
    return loadable;
  }
  template <typename Change>
  static std::string withHeaders(Change change) {
    std::string bytes = releaseProgram();
    ElfW(Ehdr) header;
    std::memcpy(&header, bytes.data(), sizeof(header));
    for (unsigned number = 0; number < header.e_phnum; ++number) {
      char *place = bytes.data() + header.e_phoff + number * sizeof(ElfW(Phdr));
      ElfW(Phdr) segment;
      std::memcpy(&segment, place, sizeof(segment));
      change(header, segment);
      std::memcpy(place, &segment, sizeof(segment));
    }
    std::memcpy(bytes.data(), &header, sizeof(header));
    return bytes;
  }

  /// The file offset of the dynamic section.
  static std::size_t dynamicSection(const std::string &bytes) {
    std::size_t offset = 0;
    withHeaders([&](auto &, auto &segment) {
      if (segment.p_type == PT_DYNAMIC) offset = segment.p_offset;
    });
    EXPECT_LT(offset, bytes.size());
    return offset;
  }

  const TemporaryFolder folder_;
  PosixProcessLauncher launcher_{processEnvironment()};
};

TEST_F(LoadableProgram, ProgramBuiltHereIsLoadable) {
  EXPECT_TRUE(isLoadable(releaseProgram()));
  // Control: an execution of the program would be detected.
  const std::string path = folder_.file("program", releaseProgram(), true);
  EXPECT_EQ(run(launcher_, program(path)).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "executed"));
}

TEST_F(LoadableProgram, PathMayHoldAnyCharacter) {
  for (const std::string name : {"blanks  and 'quotes'", "-rf", "x => not found",
                                 "a' not found (required by b", "line\nbreak"}) {
    const auto folder = folder_.path() / name;
    std::filesystem::create_directory(folder);
    const auto program = folder / "program";
    std::filesystem::copy_file(ORVELOS_RELEASE_PROGRAM, program);
    EXPECT_TRUE(isLoadableProgram(launcher_, program.string())) << name;
  }
}

TEST_F(LoadableProgram, MissingLibraryIsRejected) {
  EXPECT_FALSE(isLoadable(releaseProgramWith("libc.so.6", "libq.so.6")));
}

TEST_F(LoadableProgram, MissingLibraryVersionIsRejected) {
  EXPECT_FALSE(isLoadable(releaseProgramWith("GLIBC_2.", "GLIBC_9.")));
}

TEST_F(LoadableProgram, MissingSymbolIsRejected) {
  EXPECT_FALSE(isLoadable(releaseProgramWith("getpgid", "getpgix")));
}

TEST_F(LoadableProgram, AnotherDynamicLoaderIsRejected) {
  std::string bytes = releaseProgram();
  withHeaders([&](auto &, auto &segment) {
    if (segment.p_type != PT_INTERP) return;
    // A program that succeeds with any arguments.
    std::string loader = "/bin/true";
    loader.resize(segment.p_filesz);
    bytes.replace(segment.p_offset, loader.size(), loader);
  });
  ASSERT_NE(bytes, releaseProgram());
  EXPECT_FALSE(isLoadable(bytes));
  EXPECT_FALSE(isLoadable(releaseProgramWith("/ld-", "/lx-")));
}

TEST_F(LoadableProgram, AnotherMachineOrWordSizeIsRejected) {
  EXPECT_FALSE(isLoadable(withHeaders([](auto &header, auto &) {
    header.e_machine = header.e_machine == EM_68K ? EM_SPARC : EM_68K;
  })));
  EXPECT_FALSE(isLoadable(withHeaders([](auto &header, auto &) {
    header.e_ident[EI_CLASS] = __ELF_NATIVE_CLASS == 64 ? ELFCLASS32 : ELFCLASS64;
  })));
}

TEST_F(LoadableProgram, StaticProgramOrLibraryIsRejected) {
  EXPECT_FALSE(isLoadable(withHeaders([](auto &, auto &segment) {
    if (segment.p_type == PT_INTERP) segment.p_type = PT_NULL;
  })));
  EXPECT_FALSE(isLoadable(withHeaders([](auto &, auto &segment) {
    if (segment.p_type == PT_DYNAMIC) segment.p_type = PT_NULL;
  })));
}

TEST_F(LoadableProgram, AuditLibraryIsRejected) {
  for (const auto tag : {DT_AUDIT, DT_DEPAUDIT}) {
    std::string bytes = releaseProgram();
    ElfW(Dyn) entry;
    std::size_t place = dynamicSection(bytes);
    // Replaces the entry DT_DEBUG, which the loader does not need.
    for (std::memcpy(&entry, &bytes[place], sizeof(entry)); entry.d_tag != DT_DEBUG;
         std::memcpy(&entry, &bytes[place], sizeof(entry))) {
      ASSERT_NE(entry.d_tag, DT_NULL);
      place += sizeof(entry);
    }
    entry.d_tag = tag;
    std::memcpy(&bytes[place], &entry, sizeof(entry));
    EXPECT_FALSE(isLoadable(bytes));
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
  EXPECT_FALSE(isLoadable(whole.substr(0, dynamicSection(whole) / 4096 * 4096)));
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path()));
  EXPECT_FALSE(isLoadableProgram(launcher_, folder_.path() / "missing"));
}

}  // namespace
}  // namespace orvel
