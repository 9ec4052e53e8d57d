#include "base/file_move.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <cstdio>

#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// The number of the error, or 0.
int renameToFreeName(NSURL *from, NSURL *to) {
  const int result =
      ::renamex_np(from.fileSystemRepresentation, to.fileSystemRepresentation, RENAME_EXCL);
  return result == 0 ? 0 : errno;
}

/// The file manager refuses a name that is taken, but looks before it moves.
MoveResult moveByFileManager(NSURL *from, NSURL *to) {
  NSError *error = nil;
  if ([NSFileManager.defaultManager moveItemAtURL:from toURL:to error:&error]) {
    return MoveResult::moved;
  }
  return error.code == NSFileWriteFileExistsError ? MoveResult::destinationExists
                                                  : MoveResult::failed;
}

/// What became of a rename within a volume.
MoveResult resultOf(int error, NSURL *from, NSURL *to) {
  switch (error) {
    case 0:
      return MoveResult::moved;
    case EEXIST:
      return MoveResult::destinationExists;
    // Network volumes may not know how to rename without replacing.
    case ENOTSUP:
    case ENOSYS:
      return moveByFileManager(from, to);
    default:
      return MoveResult::failed;
  }
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
    result = resultOf(renameToFreeName(beside, to), beside, to);
    // The name is free for another try only while the file is where it was.
    if (result != MoveResult::moved) moveByFileManager(beside, from);
  }
  [files removeItemAtURL:folder error:nil];
  return result;
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  NSURL *source = fileUrl(from);
  NSURL *destination = fileUrl(to);
  const int error = renameToFreeName(source, destination);
  return error == EXDEV ? moveAcrossVolumes(source, destination)
                        : resultOf(error, source, destination);
}

}  // namespace orvel
