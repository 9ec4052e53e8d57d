#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/application.h"
#include "platform/fake/fake_scheduler.h"
#include "platform/fake/fake_web_view.h"
#include "platform/menu_bar.h"
#include "platform/panels.h"
#include "platform/window.h"
#include "platform/workspace.h"

namespace orvel {

/// An application object that a test drives as the desktop would.
class FakeApplication final : public Application {
 public:
  explicit FakeApplication(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void setDelegate(ApplicationDelegate &delegate) override;
  void setRegularActivationPolicy() override;
  /// Launches, then lets `whileRunning` play the user, if there is one.
  void run() override;
  void activate() override;
  void terminate() override;
  void replyToShouldTerminate() override;

  /// The user asks to quit, by the menu or otherwise. Ignored while an earlier
  /// request still waits for its reply.
  void requestTermination();
  /// The user closes the last window.
  void closeLastWindow();

  std::function<void()> whileRunning;
  bool terminated = false;
  /// A deferred termination waits for its reply.
  bool waitingForReply = false;

 private:
  void finish();

  FakeScheduler &scheduler_;
  ApplicationDelegate *delegate_ = nullptr;
};

class FakeWindow final : public Window {
 public:
  explicit FakeWindow(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void makeKeyAndOrderFront() override;

 private:
  FakeScheduler &scheduler_;
};

class FakeWindowSystem final : public WindowSystem {
 public:
  explicit FakeWindowSystem(FakeScheduler &scheduler) : cookies(scheduler), scheduler_(scheduler) {}

  std::optional<Rect> mainScreenVisibleFrame() const override { return visibleFrame; }
  WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &webView,
                   WebViewDelegate &delegate) override;

  std::optional<Rect> visibleFrame = Rect{0, 25, 1920, 1000};
  /// The cookies of every web view.
  FakeCookieStore cookies;
  /// The configuration of the window that was made last.
  WindowConfiguration configuration;
  /// The web view that was made last. Owned by the caller of `create`.
  FakeWebView *web = nullptr;

 private:
  FakeScheduler &scheduler_;
};

class FakeMenuBar final : public MenuBar {
 public:
  explicit FakeMenuBar(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void install(const std::vector<Menu> &newMenus) override;

  std::vector<Menu> menus;

 private:
  FakeScheduler &scheduler_;
};

/// Alerts that a script answers. An alert without an answer stays open until the
/// test answers it. No completion is called after the application has terminated.
class FakePanels final : public Panels {
 public:
  FakePanels(FakeScheduler &scheduler, const FakeApplication &application)
      : scheduler_(scheduler), application_(application) {}

  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

  /// Answers the alert that has been open longest, or else the next one.
  void answer(const AlertAnswer &answer);

  /// Every alert so far, oldest first.
  std::vector<Alert> shown;

 private:
  void settle();

  FakeScheduler &scheduler_;
  const FakeApplication &application_;
  std::deque<std::function<void(AlertAnswer)>> open_;
  std::deque<AlertAnswer> answers_;
};

/// Default applications that do nothing but stand in the record.
class FakeWorkspace final : public Workspace {
 public:
  explicit FakeWorkspace(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void open(const Url &url) override;
  void openFile(const std::string &path) override;

 private:
  FakeScheduler &scheduler_;
};

}  // namespace orvel
