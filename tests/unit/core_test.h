#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/app_delegate.h"
#include "app/pages.h"
#include "app/settings.h"
#include "platform/fake/fake_platform.h"
#include "tests/support/posix_test_support.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

using namespace std::chrono_literals;
using posix_test::contentsOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// The shell commands and the URL by which the core lists the programs that listen on the local
/// port, probes the local server for readiness, and looks up node.
inline const std::string listenersCommand = "lsof -ti tcp:4767 -sTCP:LISTEN";
inline const std::string localProbeUrl = "http://127.0.0.1:4767/api/wie";
inline const std::string nodeLookupCommand =
    "source ~/.zprofile >/dev/null 2>&1; source ~/.zshrc >/dev/null 2>&1; command -v node";

/// The core on the fake platform. The data root contains a server script, and the folder of the
/// application's bundle exists. The bundle of the fake has version "1.0" and the app key "app-key",
/// by which the server recognizes the application. The fake has node at /usr/local/bin/node.
class CoreTest : public testing::Test {
 protected:
  CoreTest() {
    writeFile(root() + "/v3/server.mjs", "// the OS server\n");
    fake.bundle.folder = root() + "/Applications/Orvel OS.app";
    std::filesystem::create_directories(fake.bundle.folder);
  }

  std::string root() const { return folder_.path(); }
  std::string logPath() const { return root() + "/v3/.local/server.log"; }

  static void writeFile(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }

  /// Returns the delegate. The first call creates it from the current state of the fake and clears
  /// the record of the calls to the fake (`fake.record`).
  AppDelegate &delegate() {
    if (!delegate_) {
      Settings settings = readSettings(fake.locations, fake.bundle);
      settings.ROOT = root();
      delegate_ = std::make_shared<AppDelegate>(settings, fake.interfaces());
      fake.application.setDelegate(*delegate_);
      fake.record.take();
    }
    return *delegate_;
  }
  /// Releases the test's reference to the delegate and returns a weak one.
  std::weak_ptr<AppDelegate> releaseDelegate() { return std::exchange(delegate_, nullptr); }

  /// Creates the web view without the other steps of the application's launch. Clears the record.
  void createWebView() {
    delegate().web = fake.windows.create({}, {}, delegate()).web;
    fake.record.take();
  }
  /// Creates a new delegate with a web view from the current state of the fake.
  void recreateDelegate() {
    releaseDelegate();
    createWebView();
  }
  void launchApplication() { delegate().applicationDidFinishLaunching(); }

  FakeWebView &web() { return *fake.windows.web; }
  FakeChildProcess &lastServer() { return *fake.processes.launched.back(); }
  /// Ends the last server with a status and runs all due tasks.
  void exitServer(int status) {
    lastServer().exit(status);
    fake.scheduler.runUntilIdle();
  }
  /// Sets the behaviour of every node process that is launched from now on.
  void setNodeScript(const FakeProcessScript &script) {
    fake.processes.setScripts("/usr/local/bin/node", {script});
  }
  /// Makes a program of another user (`isOwn` is false) listen on the port of the local server.
  void occupyLocalPort() {
    fake.listeners.byPort[4767] = std::vector<TcpListener>{{.address = "127.0.0.1"}};
  }
  /// Undoes occupyLocalPort: by default, a program of this user listens on every port of the fake.
  void restoreLocalPort() { fake.listeners.byPort.clear(); }
  /// Stores a server address in the user defaults.
  void storeAddress(const std::string &address) { fake.defaults.texts["osURL"] = address; }
  void storeOnlineAddress() { storeAddress("https://os.test/"); }
  /// Answers the oldest open alert: presses the button with this index, or closes the alert for
  /// nullopt. `text` is then in its text field. Runs all due tasks.
  void answerAlert(std::optional<int> button, const std::string &text = "") {
    fake.panels.answer({button, text});
    fake.scheduler.runUntilIdle();
  }
  /// Returns the message of the error page, or the empty text when another page is shown.
  std::string shownError() {
    const std::string &html = web().shownHtml;
    // errorPage inserts the message after the only "<p>".
    const std::string empty = errorPage("");
    const auto split = empty.find("<p>") + 3;
    if (!html.starts_with(empty.substr(0, split))) return "";
    return html.substr(split, html.size() - empty.size());
  }

  FakePlatform fake;

 private:
  TemporaryFolder folder_;
  std::shared_ptr<AppDelegate> delegate_;
};

}  // namespace orvel
