#import "platform/macos/foundation/file_manager_locations.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

#include <filesystem>
#include <system_error>

#include "base/real_folder.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"
#include "platform/posix/replaceable_folder.h"

namespace orvel {

namespace {

/// Returns whether the paths are two folders, neither of them a symbolic link. NSFileManager
/// would also replace a folder with a file, follow a link, and accept a folder as its own
/// replacement.
bool areTwoFolders(const std::string &one, const std::string &other) {
  std::error_code error;
  return isRealFolder(one) && isRealFolder(other) &&
         !std::filesystem::equivalent(one, other, error);
}

}  // namespace

std::string FileManagerLocations::home() const {
  return fromCocoa(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
}

std::string FileManagerLocations::downloads() const {
  NSArray<NSURL *> *folders = [NSFileManager.defaultManager URLsForDirectory:NSDownloadsDirectory
                                                                   inDomains:NSUserDomainMask];
  return fromCocoa(folders[0].path);
}

std::string FileManagerLocations::temporary() const {
  return fromCocoa(NSFileManager.defaultManager.temporaryDirectory.path);
}

bool FileManagerLocations::replaceItem(const std::string &original,
                                       const std::string &replacement) const {
  if (!areTwoFolders(original, replacement)) return false;
  const BOOL replaced = [NSFileManager.defaultManager replaceItemAtURL:fileUrl(original)
                                                         withItemAtURL:fileUrl(replacement)
                                                        backupItemName:nil
                                                               options:0
                                                      resultingItemURL:nil
                                                                 error:nil];
  if (!replaced) return false;
  // Launch Services reads Info.plist again only when the date of the bundle has changed.
  [fileUrl(original) setResourceValue:NSDate.date forKey:NSURLContentModificationDateKey error:nil];
  return true;
}

bool FileManagerLocations::canReplaceItem(const std::string &original) const {
  return canReplaceFolder(original);
}

void FileManagerLocations::quarantine(const std::string &file, const Url &source) const {
  NSDictionary<NSString *, id> *properties = @{
    (__bridge NSString *)kLSQuarantineTypeKey : (__bridge NSString *)kLSQuarantineTypeWebDownload,
    (__bridge NSString *)kLSQuarantineAgentNameKey : NSProcessInfo.processInfo.processName,
    (__bridge NSString *)kLSQuarantineDataURLKey : toCocoa(source),
  };
  [fileUrl(file) setResourceValue:properties forKey:NSURLQuarantinePropertiesKey error:nil];
}

bool FileManagerLocations::isExecutableFile(const std::string &path) const {
  NSFileManager *files = NSFileManager.defaultManager;
  BOOL isFolder = NO;
  return [files fileExistsAtPath:toCocoa(path) isDirectory:&isFolder] && !isFolder &&
         [files isExecutableFileAtPath:toCocoa(path)];
}

}  // namespace orvel
