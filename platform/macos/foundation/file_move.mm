#include "base/file_move.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <cstdio>

#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// Renames a file within a volume. Returns 0 or the errno value: EEXIST when something
/// exists at the destination (renamex_np with RENAME_EXCL).
int renameExclusively(NSURL *from, NSURL *to) {
  const int result =
      ::renamex_np(from.fileSystemRepresentation, to.fileSystemRepresentation, RENAME_EXCL);
  return result == 0 ? 0 : errno;
}

/// Moves a file with NSFileManager. Not atomic: it tests whether the destination exists and
/// then moves.
MoveResult moveByFileManager(NSURL *from, NSURL *to) {
  NSError *error = nil;
  if ([NSFileManager.defaultManager moveItemAtURL:from toURL:to error:&error]) {
    return MoveResult::moved;
  }
  return error.code == NSFileWriteFileExistsError ? MoveResult::destinationExists
                                                  : MoveResult::failed;
}

/// Returns the result of a rename that ended with an errno value. Moves the file with
/// NSFileManager when the volume has no exclusive rename.
MoveResult resultOf(int error, NSURL *from, NSURL *to) {
  switch (error) {
    case 0:
      return MoveResult::moved;
    case EEXIST:
      return MoveResult::destinationExists;
    // Some network volumes do not support RENAME_EXCL.
    case ENOTSUP:
    case ENOSYS:
      return moveByFileManager(from, to);
    default:
      return MoveResult::failed;
  }
}

/// Moves a file to another volume. Copies it to a temporary folder on that volume first
/// (NSItemReplacementDirectory), so that a partial file never has the final name.
MoveResult moveAcrossVolumes(NSURL *from, NSURL *to) {
  NSFileManager *files = NSFileManager.defaultManager;
  NSURL *folder = [files URLForDirectory:NSItemReplacementDirectory
                                inDomain:NSUserDomainMask
                       appropriateForURL:to.URLByDeletingLastPathComponent
                                  create:YES
                                   error:nil];
  if (folder == nil) return MoveResult::failed;
  NSURL *copied = [folder URLByAppendingPathComponent:@"download"];
  MoveResult result = moveByFileManager(from, copied);
  if (result == MoveResult::moved) {
    result = resultOf(renameExclusively(copied, to), copied, to);
    // Move the file back, so that the caller can try another name.
    if (result != MoveResult::moved) moveByFileManager(copied, from);
  }
  [files removeItemAtURL:folder error:nil];
  return result;
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  NSURL *source = fileUrl(from);
  NSURL *destination = fileUrl(to);
  const int error = renameExclusively(source, destination);
  return error == EXDEV ? moveAcrossVolumes(source, destination)
                        : resultOf(error, source, destination);
}

}  // namespace orvel
