#include "base/file_move.h"

#import <Foundation/Foundation.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// Moves a file with NSFileManager. Not atomic: it tests whether the destination exists and
/// then moves.
MoveResult moveByFileManager(NSURL *from, NSURL *to) {
  NSError *error = nil;
  if ([NSFileManager.defaultManager moveItemAtURL:from toURL:to error:&error]) {
    return MoveResult::moved;
  }
  const bool exists =
      [error.domain isEqual:NSCocoaErrorDomain] && error.code == NSFileWriteFileExistsError;
  return exists ? MoveResult::destinationExists : MoveResult::failed;
}

/// Moves a file within a volume. Returns nullopt when the paths are on two volumes.
std::optional<MoveResult> moveWithinVolume(NSURL *from, NSURL *to) {
  if (::renamex_np(from.fileSystemRepresentation, to.fileSystemRepresentation, RENAME_EXCL) == 0) {
    return MoveResult::moved;
  }
  switch (errno) {
    case EXDEV:
      return std::nullopt;
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
    result = moveWithinVolume(copied, to).value_or(MoveResult::failed);
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
  const auto result = moveWithinVolume(source, destination);
  return result ? *result : moveAcrossVolumes(source, destination);
}

}  // namespace orvel
