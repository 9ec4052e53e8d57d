#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

namespace orvel {

/// Returns the Foundation request for a request. Any thread.
NSMutableURLRequest *_Nonnull toCocoa(const UrlRequest &request);

}  // namespace orvel
