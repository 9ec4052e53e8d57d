#include "platform/linux/glib/signal_connection.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/glib/async_callback.h"
#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {
namespace {

/// A signal handler that counts its calls.
void countCall(int *calls) { ++*calls; }

class SignalConnections : public testing::Test {
 protected:
  /// Emits the signal "action-added".
  void emit() { g_action_group_action_added(G_ACTION_GROUP(emitter_.get()), "action"); }

  int calls_ = 0;
  GObjectPointer<GSimpleActionGroup> emitter_ = adopt(g_simple_action_group_new());
};

TEST_F(SignalConnections, DestructionAndAssignmentDisconnectHandler) {
  int newCalls = 0;
  {
    SignalConnection connection(emitter_.get(), "action-added", &calls_, countCall);
    emit();
    connection = SignalConnection(emitter_.get(), "action-added", &newCalls, countCall);
    emit();
  }
  emit();
  EXPECT_EQ(calls_, 1);
  EXPECT_EQ(newCalls, 1);
}

TEST_F(SignalConnections, MovedConnectionStaysConnected) {
  // A vector moves its elements when it grows.
  std::vector<SignalConnection> connections;
  for (int number = 0; number < 10; ++number) {
    connections.emplace_back(emitter_.get(), "action-added", &calls_, countCall);
  }
  emit();
  EXPECT_EQ(calls_, 10);
}

TEST_F(SignalConnections, EmitterMayBeDestroyedFirst) {
  SignalConnection connection(emitter_.get(), "action-added", &calls_, countCall);
  gpointer emitter = emitter_.get();
  g_object_add_weak_pointer(G_OBJECT(emitter_.get()), &emitter);
  emitter_.reset();
  EXPECT_EQ(emitter, nullptr) << "the connection keeps the emitter alive";
  connection = SignalConnection();
}

TEST_F(SignalConnections, HandlerMayDestroyItsConnection) {
  struct Receiver {
    SignalConnection connection;
    int calls = 0;
  } receiver;
  receiver.connection = SignalConnection(
      emitter_.get(), "action-added", &receiver, +[](Receiver *self) {
        self->connection = SignalConnection();
        ++self->calls;
      });
  emit();
  emit();
  EXPECT_EQ(receiver.calls, 1);
}

TEST(AsyncCallback, FunctionIsCalledOnceAndReleased) {
  int calls = 0;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> released = captured;
  GTask *task = g_task_new(nullptr, nullptr, callAsyncFunction,
                           asyncFunctionData([&calls, captured = std::move(captured)](
                                                 GObject *source, GAsyncResult *result) {
                             EXPECT_EQ(source, nullptr);
                             EXPECT_NE(result, nullptr);
                             ++calls;
                           }));
  g_task_return_boolean(task, TRUE);
  g_object_unref(task);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(released.expired());
}

}  // namespace
}  // namespace orvel
