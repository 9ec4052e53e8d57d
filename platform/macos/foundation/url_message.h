#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

namespace orvel {

/// A request of our own as Foundation's. Any thread.
NSMutableURLRequest *_Nonnull toCocoa(const UrlRequest &request);

}  // namespace orvel
