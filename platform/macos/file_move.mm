#include "platform/file_move.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <cstdio>

#import "platform/macos/cocoa_url.h"

namespace orvel {

namespace {

MoveResult renameToFreeName(const char *from, const char *to) {
  if (::renamex_np(from, to, RENAME_EXCL) == 0) return MoveResult::moved;
  return errno == EEXIST ? MoveResult::taken : MoveResult::failed;
}

/// The file manager refuses a name that is taken, but looks before it moves.
MoveResult moveByFileManager(NSURL *from, NSURL *to) {
  NSError *error = nil;
  if ([NSFileManager.defaultManager moveItemAtURL:from toURL:to error:&error]) {
    return MoveResult::moved;
  }
  return error.code == NSFileWriteFileExistsError ? MoveResult::taken : MoveResult::failed;
}

/// Moves within a volume. Network volumes may not know how to rename without
/// replacing.
MoveResult moveOnVolume(NSURL *from, NSURL *to) {
  const MoveResult result =
      renameToFreeName(from.fileSystemRepresentation, to.fileSystemRepresentation);
  const bool isUnknown = result == MoveResult::failed && (errno == ENOTSUP || errno == ENOSYS);
  return isUnknown ? moveByFileManager(from, to) : result;
}

/// Copies to a folder beside the destination first, so that nothing that is
/// half there ever has the final name.
MoveResult moveAcrossVolumes(NSURL *from, NSURL *to) {
  NSFileManager *files = NSFileManager.defaultManager;
  NSURL *folder = [files URLForDirectory:NSItemReplacementDirectory
                                inDomain:NSUserDomainMask
                       appropriateForURL:to.URLByDeletingLastPathComponent
                                  create:YES
                                   error:nil];
  if (folder == nil) return MoveResult::failed;
  NSURL *beside = [folder URLByAppendingPathComponent:@"download"];
  MoveResult result = moveByFileManager(from, beside);
  if (result == MoveResult::moved) {
    result = moveOnVolume(beside, to);
    // The name is free for another try only while the file is where it was.
    if (result != MoveResult::moved) moveByFileManager(beside, from);
  }
  [files removeItemAtURL:folder error:nil];
  return result;
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  const MoveResult result = moveOnVolume(fileUrl(from), fileUrl(to));
  return result == MoveResult::failed && errno == EXDEV
             ? moveAcrossVolumes(fileUrl(from), fileUrl(to))
             : result;
}

}  // namespace orvel
