#pragma once

namespace orvel {

/// Sets LC_CTYPE to a UTF-8 locale in the environment of this process when none
/// of LC_ALL, LC_CTYPE and LANG is set or all are empty, as in a session that
/// names no locale. The C locale would apply, in which `ps` escapes the bytes of
/// a path that are not ASCII. Call it before the environment is read and while
/// there is one thread.
void ensureUtf8Locale();

}  // namespace orvel
