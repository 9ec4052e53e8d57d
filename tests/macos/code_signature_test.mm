#include "platform/macos/foundation/code_signature.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/macos/macos_test_support.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

TEST(CodeSignature, ProgramWithoutCertificateHasNoTeam) {
  // The linker signs programs for arm64 ad hoc, without a Team ID.
  EXPECT_EQ(teamIdentifierOfThisProcess(), std::nullopt);
}

TEST(CodeSignature, ValidSignatureWithoutCertificateOfTheTeamIsRejected) {
  const TemporaryFolder folder;
  const std::string adHocSigned = folder.path() / "Test.app";
  std::filesystem::create_directories(adHocSigned + "/Contents/MacOS");
  std::filesystem::copy_file("/usr/bin/true", adHocSigned + "/Contents/MacOS/Test");
  folder.file("Test.app/Contents/Info.plist",
              "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Test</string>"
              "<key>CFBundleIdentifier</key><string>nl.orvel.os.test</string></dict></plist>");
  runCommand("codesign --force --sign - '" + adHocSigned + "'");
  // Applications of macOS have a valid signature by Apple, but no Team ID.
  for (const std::string &bundle :
       {adHocSigned, std::string("/System/Applications/Calculator.app")}) {
    runCommand("codesign --verify --strict '" + bundle + "'");
    // codesign shows "not set" in place of a missing Team ID.
    for (const char *team : {"TEAM123456", "not set", ""}) {
      EXPECT_FALSE(hasValidSignatureOfTeam(bundle, team)) << bundle << ", " << team;
    }
  }
}

}  // namespace
}  // namespace orvel
