#include "update/signed_release.h"

#include "tests/unit/installation_test.h"
#include "update/update_check.h"

namespace orvel {
namespace {

// P-256 public keys and ECDSA signatures, made with OpenSSL for these tests. The private keys were
// deleted. Each signature is of an archive that contains "an archive". Unless its name says
// otherwise, it was made with the private key of ourKey for version 1.3 of the macOS edition.
const std::string ourKey =
    "BJSNQiaaPNCDke2b5cBngGwe4tKmi9xsr/5nY3dk0peIaGg5kCFZIdP419now1Bgx4scpLYVig2pIP73ABDy+p8=";
const std::string nextKey =
    "BDKKzDiVIqcONOGiVHo14ioLx7aQAsPco8VtRWgNxVM3qkaoLc9YlSbIAJLHJk1ZbFzFoHXMpekRt36MsieV5F8=";
const std::string validSignature =
    "MEQCIAWcV9TtlIUKGMbcOSYHXifUidI4zaZe4C6YYW0LJ2+TAiB0HfMOjiMj+VLa0oRNFfcj/"
    "q+il3yH9ixi+5sdw5ibUQ==";
const std::string signatureOfNextKey =
    "MEUCIGXDj1ux/ZLEg6s7S6sWMfsOA75ezIa0OeXGbDBplVTyAiEA5ofDeqRLJNiNvyJd8aRsJAAmnVhzeeTbLogBH3sA"
    "KEw=";
const std::string signatureOfVersion14 =
    "MEUCIQCeyaraBMLinMNog161HCym96LLFhGaTvH4Q23MIjOVOQIgUG5fNmZXzhE7Yy7bjLlsV2GRW/"
    "8eqx9I8s1d3kU418Q=";
const std::string signatureOfLinuxEdition =
    "MEUCIF98h2AQwtjGtCyKytHmB3saGclGm70N93Lf5PUSaM8LAiEAt9UfUDWVzn/"
    "KsTcKrERVdYX5eEjEjZr1KJvB3koAelw=";
// Also covers nextKey as the new public key of the manifest.
const std::string signatureOfKeyChange =
    "MEUCIBn7wvDSULe7cGnNQhsR4Geu8iLnlvakVaoviUcIaVcBAiEAg4Ps1ZAaPuqZzfhUlfMo4yeaZS+"
    "yPj7iFRipZ9XvEPI=";

/// A running application of version 1.2 with a public key.
class SignedRelease : public InstallationTest {
 protected:
  SignedRelease() {
    fake.bundle.texts["CFBundleShortVersionString"] = "1.2";
    fake.bundle.texts["ORVELOSUpdateKey"] = ourKey;
    unpackArchive = [this](const std::string &, const std::string &folder) {
      std::string info;
      for (const auto &[key, text] : releaseEntries) {
        info += "<key>" + key + "</key><string>" + text + "</string>";
      }
      writeRelease(folder + "/Orvel OS.app", infoPlist(info));
    };
  }

  /// Checks for updates at a server whose manifest has these members after "zip".
  void checkForUpdate(const std::string &members, const std::string &versie = "1.3") {
    fake.http.setResponses(
        "https://os.test/download/mac.json",
        {{.statusCode = 200,
          .body = R"({"versie":")" + versie + R"(","zip":"orvel-os-1.3.zip")" + members + "}"}});
    recreateDelegate();
    delegate().zoekUpdate(/*stil=*/false);
    fake.scheduler.runUntilIdle();
  }
  /// Returns the manifest members for a signature and, unless it is empty, a new public key.
  static std::string signedWith(const std::string &signature, const std::string &sleutel = "") {
    const std::string members = R"(,"handtekening":")" + signature + '"';
    return sleutel.empty() ? members : members + R"(,"sleutel":")" + sleutel + '"';
  }

  void expectInstalled() {
    EXPECT_EQ(installedVersion(), "new") << "the text in the bundle of the release";
    EXPECT_EQ(fake.record.count("alert Orvel OS is bijgewerkt naar 1.3"), 1U);
  }
  /// Restores the installed version and forgets the calls, requests and alerts of earlier rows.
  void reset() {
    fake.record.take();
    fake.http.sent.clear();
    fake.panels.shown.clear();
    writeRunningBundle();
  }

  /// The entries of Info.plist in the archive.
  TextMap releaseEntries{{"CFBundleIdentifier", "nl.orvel.os"},
                         {"CFBundleShortVersionString", "1.3"},
                         {"ORVELOSUpdateKey", ourKey}};
};

TEST_F(SignedRelease, MessageHasOneLineForEachPart) {
  // "0a" stands for the SHA-256 hash of an archive, and "BKey=" for a new public key.
  EXPECT_EQ(signedMessage("1.3", "mac", "0a", std::nullopt), "orvel-os-update\n1.3\nmac\n0a\n");
  EXPECT_EQ(signedMessage("1.3", "linux", "0a", "BKey="),
            "orvel-os-update\n1.3\nlinux\n0a\nBKey=\n");
}

TEST_F(SignedRelease, MissingSignatureOrArchiveIsNotSigned) {
  const std::string archive = root() + "/archive";
  writeFile(archive, "an archive");
  EXPECT_TRUE(isSigned(archive, "1.3", "mac", {validSignature, {}}, ourKey));
  EXPECT_FALSE(isSigned(archive, "1.3", "mac", {}, ourKey));
  EXPECT_FALSE(isSigned(root() + "/missing", "1.3", "mac", {validSignature, {}}, ourKey));
}

TEST_F(SignedRelease, ReleaseWithValidSignatureIsInstalled) {
  struct Row {
    std::string situation;
    std::string members;
    std::string bundleKey;
  };
  const std::vector<Row> rows{
      {"unchanged key", signedWith(validSignature), ourKey},
      {"signed key change", signedWith(signatureOfKeyChange, nextKey), nextKey},
      {"signed key change, but the release keeps the old key",
       signedWith(signatureOfKeyChange, nextKey), ourKey},
  };
  for (const auto &[situation, members, bundleKey] : rows) {
    SCOPED_TRACE(situation);
    reset();
    releaseEntries["ORVELOSUpdateKey"] = bundleKey;
    checkForUpdate(members);
    expectInstalled();
  }
}

TEST_F(SignedRelease, ArchiveWithInvalidSignatureIsNotUnpacked) {
  struct Row {
    std::string situation;
    std::string members;
    std::string key = ourKey;
    std::string versie = "1.3";
    std::string archive = "an archive";
  };
  const std::string valid = signedWith(validSignature);
  const std::vector<Row> rows{
      {"signed with another key", signedWith(signatureOfNextKey)},
      {"signed for another version", signedWith(signatureOfVersion14)},
      {"signed for the other edition", signedWith(signatureOfLinuxEdition)},
      {"new key added to the manifest", signedWith(validSignature, nextKey)},
      {"new key removed from the manifest", signedWith(signatureOfKeyChange)},
      {"new key replaced in the manifest", signedWith(signatureOfKeyChange, ourKey)},
      {"empty signature", signedWith("")},
      {"signature is not base64", signedWith("signature")},
      {"empty public key", valid, ""},
      {"malformed public key", valid, "no key"},
      {"signed with the old key after a key change", valid, nextKey},
      {"second key change by the old key", signedWith(signatureOfKeyChange, nextKey), nextKey},
      {"archive offered as a later version", valid, ourKey, "1.4"},
      {"changed archive", valid, ourKey, "1.3", "An archive"},
  };
  for (const auto &[situation, members, key, versie, archive] : rows) {
    SCOPED_TRACE(situation);
    reset();
    fake.bundle.texts["ORVELOSUpdateKey"] = key;
    fake.http.setResponses(archiveUrl, {{.statusCode = 200, .body = archive}});
    checkForUpdate(members, versie);
    // The requests for the manifest and for the archive.
    EXPECT_EQ(fake.http.sent.size(), 2U);
    EXPECT_EQ(fake.record.count("sh "), 0U);
    EXPECT_FALSE(std::filesystem::exists(fake.locations.temporaryFolder));
    expectNotInstalled();
  }
}

TEST_F(SignedRelease, ManifestWithoutSignatureIsMalformed) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"1.3", ""},
      {"1.3", R"(,"handtekening":1)"},
      {"1.3", R"(,"handtekening":null)"},
      // Also when it offers no newer version.
      {"1.2", ""},
  };
  for (const auto &[versie, members] : rows) {
    SCOPED_TRACE(versie + members);
    reset();
    checkForUpdate(members, versie);
    EXPECT_EQ(fake.record.count("download"), 0U);
    ASSERT_EQ(fake.panels.shown.size(), 1U);
    EXPECT_EQ(fake.panels.shown[0].messageText, "Kon niet controleren op updates.");
  }
  delegate().zoekUpdate(/*stil=*/true);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.panels.shown.size(), 1U) << "an alert of a silent check";
}

TEST_F(SignedRelease, EarlierSignedReleaseIsNotDownloaded) {
  fake.bundle.texts["CFBundleShortVersionString"] = "1.10";
  checkForUpdate(signedWith(validSignature));
  EXPECT_EQ(fake.record.count("download"), 0U);
  ASSERT_EQ(fake.panels.shown.size(), 1U);
  EXPECT_EQ(fake.panels.shown[0].messageText, "Orvel OS 1.10 is de nieuwste versie.");
}

TEST_F(SignedRelease, BundleThatDiffersFromSignedReleaseIsRejected) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> rows{
      {"CFBundleShortVersionString", "1.2"},
      {"CFBundleShortVersionString", "1.4"},
      {"CFBundleShortVersionString", "1.3.0"},
      {"CFBundleShortVersionString", ""},
      {"CFBundleShortVersionString", std::nullopt},
      {"CFBundleIdentifier", "nl.other.os"},
      {"ORVELOSUpdateKey", nextKey},
      {"ORVELOSUpdateKey", std::nullopt},
  };
  const TextMap validEntries = releaseEntries;
  for (const auto &[entry, text] : rows) {
    SCOPED_TRACE(entry + " = " + text.value_or("missing"));
    reset();
    releaseEntries = validEntries;
    releaseEntries.erase(entry);
    if (text) releaseEntries[entry] = *text;
    checkForUpdate(signedWith(validSignature));
    EXPECT_EQ(fake.record.count("sh /usr/bin/ditto"), 1U);
    EXPECT_EQ(fake.record.count("replace"), 0U);
    expectNotInstalled();
  }
}

// matchesRelease does not verify the signature: it compares the entries of the bundle with the
// signed version (second argument), and that version with the running one (third argument). The
// empty signature has no new key.
TEST_F(SignedRelease, OnlyBundleOfLaterVersionMatchesRelease) {
  EXPECT_TRUE(matchesRelease(releaseEntries, "1.3", "1.2", /*signature=*/{}, ourKey));
  EXPECT_FALSE(matchesRelease(releaseEntries, "1.3", "1.3", /*signature=*/{}, ourKey));
  EXPECT_FALSE(matchesRelease(releaseEntries, "1.3", "1.10", /*signature=*/{}, ourKey));
}

TEST_F(SignedRelease, BuildWithoutKeyInstallsWithoutSignatureAndVersionCheck) {
  fake.bundle.texts.erase("ORVELOSUpdateKey");
  releaseEntries.erase("ORVELOSUpdateKey");
  releaseEntries["CFBundleShortVersionString"] = "1.1";
  for (const std::string &members :
       {std::string(), signedWith(signatureOfNextKey), std::string(R"(,"handtekening":1)")}) {
    SCOPED_TRACE(members);
    reset();
    checkForUpdate(members);
    expectInstalled();
  }
}

}  // namespace
}  // namespace orvel
