#pragma once

namespace orvel {

/// Sets LC_CTYPE to a UTF-8 locale in the environment of this process when LC_ALL,
/// LC_CTYPE and LANG are all unset or empty. Otherwise the C locale would apply, in
/// which `ps` escapes the non-ASCII bytes of a path. AppDelegate::killStaleServer would then
/// not find the path of the data root in a server's command line. Call it before the
/// environment is read and before a second thread exists.
void ensureUtf8Locale();

}  // namespace orvel
