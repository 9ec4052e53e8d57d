#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/application.h"
#include "platform/fake/fake_scheduler.h"
#include "platform/fake/fake_web_view.h"
#include "platform/menu_bar.h"
#include "platform/panels.h"
#include "platform/window.h"
#include "platform/workspace.h"

namespace orvel {

/// An application object that a test controls in place of the desktop.
class FakeApplication final : public Application, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void setDelegate(ApplicationDelegate &delegate) override {
    scheduler_.recordMainThreadCall("application delegate");
    delegate_ = &delegate;
  }
  void setRegularActivationPolicy() override {
    scheduler_.recordMainThreadCall("application regular");
  }
  /// Launches the application and calls `onRun`.
  void run() override {
    scheduler_.recordMainThreadCall("application run");
    if (delegate_ == nullptr) throw std::logic_error("run() without a delegate");
    delegate_->applicationDidFinishLaunching();
    if (onRun) onRun();
  }
  void activate() override { scheduler_.recordMainThreadCall("application activate"); }
  void terminate() override {
    scheduler_.recordMainThreadCall("application terminate");
    requestTermination();
  }
  void replyToShouldTerminate() override {
    if (!isWaitingForReply_) throw std::logic_error("reply although no termination is deferred");
    isWaitingForReply_ = false;
    finish();
  }

  /// Simulates the user's Quit command. Ignored while an earlier request waits for its
  /// reply.
  void requestTermination() {
    if (terminated || isWaitingForReply_) return;
    isWaitingForReply_ = delegate_->applicationShouldTerminate() == TerminateReply::later;
    if (!isWaitingForReply_) finish();
  }
  /// Simulates that the user closes the last window.
  void closeLastWindow() {
    scheduler_.recordMainThreadCall("last window closed");
    if (delegate_->applicationShouldTerminateAfterLastWindowClosed()) requestTermination();
  }

  /// Called by run() after the launch. A test can simulate the user in it.
  std::function<void()> onRun;
  bool terminated = false;

 private:
  void finish() {
    scheduler_.recordMainThreadCall("application terminated");
    terminated = true;
  }

  ApplicationDelegate *delegate_ = nullptr;
  /// Whether a deferred termination waits for its reply.
  bool isWaitingForReply_ = false;
};

/// A window that only records its calls.
class FakeWindow final : public Window, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void makeKeyAndOrderFront() override { scheduler_.recordMainThreadCall("window shown"); }
};

/// A screen, and a factory for windows.
class FakeWindowSystem final : public WindowSystem, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  std::optional<Rect> mainScreenVisibleFrame() const override { return visibleFrame; }
  WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &webView,
                   WebViewDelegate &delegate) override {
    scheduler_.recordMainThreadCall("web view " + webView.applicationNameForUserAgent);
    auto view = std::make_unique<FakeWebView>(scheduler_, webView, delegate, cookies);
    web = view.get();
    scheduler_.recordMainThreadCall("window " + window.title);
    configuration = window;
    return {std::move(view), std::make_unique<FakeWindow>(scheduler_)};
  }

  /// Nullopt simulates a machine without a screen.
  std::optional<Rect> visibleFrame = Rect{0, 25, 1920, 1000};
  /// The cookies of every web view.
  FakeCookieStore cookies{scheduler_};
  /// The configuration of the last window.
  WindowConfiguration configuration;
  /// The last web view. Owned by the caller of `create`.
  FakeWebView *web = nullptr;
};

/// A menu bar that keeps the installed menus.
class FakeMenuBar final : public MenuBar, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void install(const std::vector<Menu> &newMenus) override {
    scheduler_.recordMainThreadCall("menu bar");
    menus = newMenus;
  }

  std::vector<Menu> menus;
};

/// Alerts that stay open until the test answers them. No completion is called after the
/// application has terminated.
class FakePanels final : public Panels, private SchedulerUser {
 public:
  FakePanels(FakeScheduler &scheduler, const FakeApplication &application)
      : SchedulerUser(scheduler), application_(application) {}

  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override {
    scheduler_.recordMainThreadCall("alert " + alert.messageText);
    shown.push_back(alert);
    openAlerts_.push_back(std::move(completion));
  }

  /// Answers the oldest open alert. Throws when none is open.
  void answer(const AlertAnswer &answer) {
    scheduler_.schedule(FakeScheduler::Thread::main, FakeScheduler::Duration(0),
                        [this, completion = std::move(openAlerts_.at(0)), answer] {
                          if (!application_.terminated) completion(answer);
                        });
    openAlerts_.pop_front();
  }

  /// All alerts, including the answered ones, oldest first.
  std::vector<Alert> shown;

 private:
  const FakeApplication &application_;
  /// The completions of the open alerts.
  std::deque<std::function<void(AlertAnswer)>> openAlerts_;
};

/// A workspace that only records the URLs and files that it opens.
class FakeWorkspace final : public Workspace, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void open(const Url &url) override {
    scheduler_.recordMainThreadCall("open " + url.absoluteString);
  }
  void openFile(const std::string &path) override {
    scheduler_.recordMainThreadCall("open file " + path);
  }
};

}  // namespace orvel
