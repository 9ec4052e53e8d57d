#include "app/app_delegate.h"

namespace orvel {

// The address is chosen in the defaults file until the dialog exists.
void AppDelegate::kiesAdres() {}

}  // namespace orvel
