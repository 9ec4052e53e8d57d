#pragma once

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvel {

/// Wraps a completion handler so that it is called exactly once: WebKit raises an
/// exception when a handler is called twice or never. The first call is passed on and
/// later calls are ignored. When the last copy is destroyed without a call, the handler is
/// called with `fallback`. Not thread-safe. The template arguments are the parameter types of
/// the handler and must be given: oneShot<bool>(handler, false).
template <typename... Arguments>
std::function<void(Arguments...)> oneShot(
    std::type_identity_t<std::function<void(Arguments...)>> handler,
    std::type_identity_t<Arguments>... fallback) {
  struct State {
    std::function<void(Arguments...)> handler;
    std::tuple<Arguments...> fallback;

    State(std::function<void(Arguments...)> call, Arguments... defaults)
        : handler(std::move(call)), fallback(std::move(defaults)...) {}
    ~State() {
      if (handler) std::apply(handler, fallback);
    }
    State(const State &) = delete;
    State &operator=(const State &) = delete;
  };
  auto state = std::make_shared<State>(std::move(handler), std::move(fallback)...);
  return [state](Arguments... arguments) {
    // Cleared before the call, because the handler may call this function again.
    if (const auto call = std::exchange(state->handler, nullptr)) call(std::move(arguments)...);
  };
}

}  // namespace orvel
