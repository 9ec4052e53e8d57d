#include "app/app_delegate.h"

namespace orvel {

// Releases are not published yet, so there is nothing to look for.
void AppDelegate::zoekUpdate(bool /*stil*/) {}

void AppDelegate::zoekUpdateMenu() { zoekUpdate(false); }

}  // namespace orvel
