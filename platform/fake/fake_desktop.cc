#include "platform/fake/fake_desktop.h"

#include <stdexcept>
#include <string>

namespace orvel {

void FakeApplication::setDelegate(ApplicationDelegate &delegate) {
  scheduler_.requireMainThread("setting the delegate");
  scheduler_.record().add("application delegate");
  delegate_ = &delegate;
}

void FakeApplication::setRegularActivationPolicy() {
  scheduler_.requireMainThread("setting the activation policy");
  scheduler_.record().add("application regular");
}

void FakeApplication::run() {
  scheduler_.requireMainThread("running the application");
  scheduler_.record().add("application run");
  if (delegate_ == nullptr) throw std::logic_error("an application without a delegate");
  delegate_->applicationDidFinishLaunching();
  if (onRun) onRun();
}

void FakeApplication::activate() {
  scheduler_.requireMainThread("activating the application");
  scheduler_.record().add("application activate");
}

void FakeApplication::terminate() {
  scheduler_.requireMainThread("terminating the application");
  scheduler_.record().add("application terminate");
  requestTermination();
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
  scheduler_.record().add("last window closed");
  if (delegate_->applicationShouldTerminateAfterLastWindowClosed()) requestTermination();
}

void FakeApplication::replyToShouldTerminate() {
  scheduler_.requireMainThread("replying to the termination request");
  if (!waitingForReply) throw std::logic_error("a reply without a deferred termination");
  waitingForReply = false;
  finish();
}

void FakeApplication::finish() {
  scheduler_.record().add("application terminated");
  terminated = true;
}

void FakeWindow::makeKeyAndOrderFront() {
  scheduler_.requireMainThread("showing a window");
  scheduler_.record().add("window shown");
}

WebWindow FakeWindowSystem::create(const WindowConfiguration &window,
                                   const WebViewConfiguration &webView, WebViewDelegate &delegate) {
  scheduler_.requireMainThread("creating a window");
  scheduler_.record().add("web view " + webView.applicationNameForUserAgent);
  auto view = std::make_unique<FakeWebView>(scheduler_, webView, delegate, cookies);
  web = view.get();
  scheduler_.record().add("window " + window.title);
  configuration = window;
  return {std::move(view), std::make_unique<FakeWindow>(scheduler_)};
}

void FakeMenuBar::install(const std::vector<Menu> &newMenus) {
  scheduler_.requireMainThread("installing the menus");
  scheduler_.record().add("menu bar");
  menus = newMenus;
}

void FakePanels::runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) {
  scheduler_.requireMainThread("showing an alert");
  scheduler_.record().add("alert " + alert.messageText);
  shown.push_back(alert);
  open_.push_back(std::move(completion));
  deliverAnswers();
}

void FakePanels::answer(const AlertAnswer &answer) {
  answers_.push_back(answer);
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

void FakeWorkspace::open(const Url &url) {
  scheduler_.requireMainThread("opening a URL");
  scheduler_.record().add("open " + url.absoluteString);
}

void FakeWorkspace::openFile(const std::string &path) {
  scheduler_.requireMainThread("opening a file");
  scheduler_.record().add("open file " + path);
}

}  // namespace orvel
