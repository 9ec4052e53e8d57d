#include "platform/fake/fake_desktop.h"

#include <stdexcept>
#include <string>

namespace orvel {

namespace {

/// A window that only records its calls.
class FakeWindow final : public Window {
 public:
  explicit FakeWindow(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void makeKeyAndOrderFront() override { scheduler_.recordOnMainThread("window shown"); }

 private:
  FakeScheduler &scheduler_;
};

}  // namespace

void FakeApplication::run() {
  scheduler_.recordOnMainThread("application run");
  if (delegate_ == nullptr) throw std::logic_error("an application without a delegate");
  delegate_->applicationDidFinishLaunching();
  if (onRun) onRun();
}

void FakeApplication::requestTermination() {
  if (terminated || waitingForReply) return;
  if (delegate_->applicationShouldTerminate() == TerminateReply::now) {
    finish();
  } else {
    waitingForReply = true;
  }
}

void FakeApplication::closeLastWindow() {
  scheduler_.recordOnMainThread("last window closed");
  if (delegate_->applicationShouldTerminateAfterLastWindowClosed()) requestTermination();
}

void FakeApplication::replyToShouldTerminate() {
  if (!waitingForReply) throw std::logic_error("a reply without a deferred termination");
  waitingForReply = false;
  finish();
}

void FakeApplication::finish() {
  scheduler_.recordOnMainThread("application terminated");
  terminated = true;
}

WebWindow FakeWindowSystem::create(const WindowConfiguration &window,
                                   const WebViewConfiguration &webView, WebViewDelegate &delegate) {
  scheduler_.recordOnMainThread("web view " + webView.applicationNameForUserAgent);
  auto view = std::make_unique<FakeWebView>(scheduler_, webView, delegate, cookies);
  web = view.get();
  scheduler_.recordOnMainThread("window " + window.title);
  configuration = window;
  return {std::move(view), std::make_unique<FakeWindow>(scheduler_)};
}

void FakePanels::runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) {
  scheduler_.recordOnMainThread("alert " + alert.messageText);
  shown.push_back(alert);
  open_.push_back(std::move(completion));
  deliverAnswers();
}

void FakePanels::deliverAnswers() {
  while (!open_.empty() && !answers_.empty()) {
    scheduler_.schedule(FakeScheduler::Thread::main, FakeScheduler::Duration(0),
                        [this, completion = std::move(open_.front()), answer = answers_.front()] {
                          if (!application_.terminated) completion(answer);
                        });
    open_.pop_front();
    answers_.pop_front();
  }
}

}  // namespace orvel
