#include "base/text.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// Returns whether the UTF-16 code unit at an index is a grapheme cluster of its own, without a
/// combining mark.
bool standsAlone(NSString *text, NSUInteger index) {
  return [text rangeOfComposedCharacterSequenceAtIndex:index].length == 1;
}

/// Appends a piece unless it is empty.
void addPiece(std::vector<std::string> &pieces, std::string piece) {
  if (!piece.empty()) pieces.push_back(std::move(piece));
}

/// Splits bytes that are not UTF-8 at every full stop.
std::vector<std::string> splitBytes(std::string_view bytes) {
  std::vector<std::string> pieces;
  for (;;) {
    const auto stop = bytes.find('.');
    addPiece(pieces, std::string(bytes.substr(0, stop)));
    if (stop == std::string_view::npos) return pieces;
    bytes.remove_prefix(stop + 1);
  }
}

}  // namespace

std::optional<std::string> trimmedText(std::string_view bytes) {
  NSString *text = utf8Text(bytes);
  if (text == nil) return std::nullopt;
  NSCharacterSet *blanks = NSCharacterSet.whitespaceAndNewlineCharacterSet;
  return fromCocoa([text stringByTrimmingCharactersInSet:blanks]);
}

std::vector<std::string> splitAtFullStops(std::string_view bytes) {
  NSString *text = utf8Text(bytes);
  if (text == nil) return splitBytes(bytes);
  std::vector<std::string> pieces;
  NSUInteger begin = 0;
  const auto endPiece = [&](NSUInteger end) {
    addPiece(pieces, fromCocoa([text substringWithRange:NSMakeRange(begin, end - begin)]));
    begin = end + 1;
  };
  for (NSUInteger index = 0; index < text.length; ++index) {
    if ([text characterAtIndex:index] == '.' && standsAlone(text, index)) endPiece(index);
  }
  endPiece(text.length);
  return pieces;
}

}  // namespace orvel
