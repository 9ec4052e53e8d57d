// What the Foundation adapters promise beyond their interfaces.

#import <Foundation/Foundation.h>
#include <gmock/gmock.h>

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"
#include "platform/macos/foundation/file_manager_locations.h"
#include "platform/macos/foundation/main_bundle.h"
#include "tests/macos/macos_test_support.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

TEST(CocoaUrl, RequestGetsTimeoutInSecondsAndCachePolicy) {
  UrlRequest request;
  request.url = Url::parse("http://127.0.0.1/").value();
  // The defaults of UrlRequest: 60 seconds, and caching by the rules of HTTP.
  EXPECT_EQ(toCocoa(request).timeoutInterval, 60);
  EXPECT_EQ(toCocoa(request).cachePolicy, NSURLRequestUseProtocolCachePolicy);
  request.timeout = std::chrono::milliseconds(1500);
  request.cachePolicy = CachePolicy::reloadIgnoringLocalData;
  EXPECT_EQ(toCocoa(request).timeoutInterval, 1.5);
  EXPECT_EQ(toCocoa(request).cachePolicy, NSURLRequestReloadIgnoringLocalCacheData);
}

TEST(FileManagerLocations, FoldersAreThoseOfFoundation) {
  const FileManagerLocations locations;
  EXPECT_EQ(locations.home(), fromCocoa(NSHomeDirectory()));
  EXPECT_EQ(locations.downloads(), fromCocoa(NSHomeDirectory()) + "/Downloads");
  // NSTemporaryDirectory() ends with "/", which stringByStandardizingPath removes.
  EXPECT_EQ(locations.temporary(), fromCocoa(NSTemporaryDirectory().stringByStandardizingPath));
}

TEST(FileManagerLocations, QuarantineAttributeNamesTheApplication) {
  const TemporaryFolder folder;
  const std::string file = folder.file("letter.pdf", "contents");
  EXPECT_EQ(quarantineOf(file), "");
  FileManagerLocations().quarantine(file, Url::parse("https://os.test/letter.pdf").value());
  // The attribute has the form "flags;time;application;event".
  EXPECT_THAT(quarantineOf(file),
              testing::HasSubstr(";" + fromCocoa(NSProcessInfo.processInfo.processName) + ";"));
}

// The entries are in Info.plist beside this file.
TEST(MainBundle, OnlyStringEntriesOfInfoPlistHaveText) {
  const MainBundle bundle;
  EXPECT_TRUE(bundle.hasInfoDictionary());
  EXPECT_EQ(bundle.infoText("ORVELOSTestText"), "text");
  for (const char *key : {"ORVELOSTestNumber", "ORVELOSTestBoolean", "ORVELOSTestDate",
                          "ORVELOSTestData", "ORVELOSTestArray", "ORVELOSTestDictionary"}) {
    ASSERT_TRUE(NSBundle.mainBundle.infoDictionary[toCocoa(key)] != nil) << key;
    EXPECT_EQ(bundle.infoText(key), std::nullopt) << key;
  }
}

}  // namespace
}  // namespace orvel
