#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <utility>

namespace orvel {

/// A function that finishes an asynchronous GIO call.
using AsyncFunction = std::function<void(GObject *source, GAsyncResult *result)>;

/// Returns the user data for `callAsyncFunction`, which calls the function and deletes it.
/// GIO calls a GAsyncReadyCallback exactly once, so each returned pointer must be passed to
/// exactly one asynchronous call:
///
///     g_file_read_async(file, ..., callAsyncFunction, asyncFunctionData([...] { ... }));
inline gpointer asyncFunctionData(AsyncFunction function) {
  return std::make_unique<AsyncFunction>(std::move(function)).release();
}

/// The GAsyncReadyCallback that goes with `asyncFunctionData`. Runs on the thread of the main
/// context that was the thread-default one when the asynchronous call started.
inline void callAsyncFunction(GObject *source, GAsyncResult *result, gpointer data) {
  const std::unique_ptr<AsyncFunction> function(static_cast<AsyncFunction *>(data));
  (*function)(source, result);
}

}  // namespace orvel
