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

/// Copies to a folder beside the destination first, so that nothing that is
/// half there ever has the final name.
MoveResult moveAcrossVolumes(NSURL *from, NSURL *to) {
  NSFileManager *files = NSFileManager.defaultManager;
  NSURL *folder = [files URLForDirectory:NSItemReplacementDirectory
                                inDomain:NSUserDomainMask
                       appropriateForURL:to
                                  create:YES
                                   error:nil];
  if (folder == nil) return MoveResult::failed;
  NSURL *beside = [folder URLByAppendingPathComponent:@"download"];
  MoveResult result = moveByFileManager(from, beside);
  if (result == MoveResult::moved) {
    result = renameToFreeName(beside.fileSystemRepresentation, to.fileSystemRepresentation);
    // The name is free for another try only while the file is where it was.
    if (result != MoveResult::moved) moveByFileManager(beside, from);
  }
  [files removeItemAtURL:folder error:nil];
  return result;
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  const MoveResult result = renameToFreeName(from.c_str(), to.c_str());
  if (result != MoveResult::failed) return result;
  if (errno == EXDEV) return moveAcrossVolumes(fileUrl(from), fileUrl(to));
  // Network volumes may not know how to rename without replacing.
  if (errno == ENOTSUP) return moveByFileManager(fileUrl(from), fileUrl(to));
  return MoveResult::failed;
}

}  // namespace orvel
