#pragma once

namespace orvel {

/// Has the C library return memory to the system when it is freed. By itself it
/// learns from each picture of the window's size to keep as much, and so keeps
/// all that starting has used. While there is one thread.
void limitMallocRetention();

}  // namespace orvel
