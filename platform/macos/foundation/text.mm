#include "base/text.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// Whether the full stop at the place is a user-perceived character by itself.
bool standsAlone(NSString *text, NSUInteger place) {
  return [text rangeOfComposedCharacterSequenceAtIndex:place].length == 1;
}

void addPiece(std::vector<std::string> &pieces, std::string piece) {
  if (!piece.empty()) pieces.push_back(std::move(piece));
}

/// Bytes that are no text have no characters either.
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
  for (NSUInteger place = 0; place < text.length; ++place) {
    if ([text characterAtIndex:place] == '.' && standsAlone(text, place)) endPiece(place);
  }
  endPiece(text.length);
  return pieces;
}

}  // namespace orvel
