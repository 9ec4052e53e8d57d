#pragma once

#include <glib-object.h>

#include <memory>

namespace orvel {

/// A connection of a GObject signal to a handler. Its destruction, or an assignment to it,
/// disconnects the handler. The object that emits the signal may be destroyed first. Used on
/// the thread that emits the signal.
class SignalConnection {
 public:
  /// A connection to nothing.
  SignalConnection() = default;

  /// Connects a signal, whose name may have a detail ("notify::title"). The handler's
  /// first parameter is the receiver; the signal's parameters follow, and trailing ones
  /// may be left out (like g_signal_connect_swapped). The receiver must outlive this
  /// object.
  template <typename Receiver, typename Result, typename... Parameters>
  SignalConnection(gpointer emitter, const char *signal, Receiver *receiver,
                   Result (*handler)(Receiver *, Parameters...))
      : closure_(g_cclosure_new_swap(reinterpret_cast<GCallback>(handler), receiver, nullptr)) {
    g_closure_ref(closure_.get());
    g_closure_sink(closure_.get());
    g_signal_connect_closure(emitter, signal, closure_.get(), FALSE);
  }

 private:
  struct Disconnect {
    // An invalid closure is disconnected from its signal. Unlike
    // g_signal_handler_disconnect this needs no pointer to the emitter.
    void operator()(GClosure *closure) const {
      g_closure_invalidate(closure);
      g_closure_unref(closure);
    }
  };

  std::unique_ptr<GClosure, Disconnect> closure_;
};

}  // namespace orvel
