#pragma once

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvel {

/// Wraps a handler that must be called exactly once: WebKit raises an exception
/// when one is dropped or called again. The first call reaches the handler,
/// further ones do not, and when the last copy goes without a call the handler
/// gets the fallback. The types of the answer are named by the caller. One thread
/// only.
template <typename... Answer>
std::function<void(Answer...)> oneShot(std::type_identity_t<std::function<void(Answer...)>> handler,
                                       std::type_identity_t<Answer>... fallback) {
  struct State {
    std::function<void(Answer...)> handler;
    std::tuple<Answer...> fallback;

    State(std::function<void(Answer...)> call, Answer... unanswered)
        : handler(std::move(call)), fallback(std::move(unanswered)...) {}
    ~State() {
      if (handler) std::apply(handler, fallback);
    }
    State(const State &) = delete;
    State &operator=(const State &) = delete;
  };
  auto state = std::make_shared<State>(std::move(handler), std::move(fallback)...);
  return [state](Answer... answer) {
    // Taken out first: the handler may come back here.
    if (const auto call = std::exchange(state->handler, nullptr)) call(std::move(answer)...);
  };
}

}  // namespace orvel
