#pragma once

#include "platform/fake/fake_desktop.h"
#include "platform/fake/fake_http_session.h"
#include "platform/fake/fake_process_launcher.h"
#include "platform/fake/fake_scheduler.h"
#include "platform/fake/fake_storage.h"
#include "platform/fake/fake_tcp_listeners.h"
#include "platform/fake/fake_web_view.h"
#include "platform/fake/record.h"
#include "platform/platform.h"

namespace orvel {

/// A scripted desktop with virtual time and an ordered record of calls.
class FakePlatform {
 public:
  FakePlatform() = default;
  FakePlatform(const FakePlatform &) = delete;
  FakePlatform &operator=(const FakePlatform &) = delete;

  Platform interfaces() {
    return {.application = application,
            .windows = windows,
            .menuBar = menuBar,
            .panels = panels,
            .workspace = workspace,
            .mainQueue = mainQueue,
            .backgroundQueue = backgroundQueue,
            .clock = clock,
            .processes = processes,
            .http = http,
            .listeners = listeners,
            .bundle = bundle,
            .defaults = defaults,
            .locations = locations,
            .edition = edition,
            .unpacker = unpacker};
  }

  Record record;
  FakeScheduler scheduler{record};
  FakeMainQueue mainQueue{scheduler};
  FakeBackgroundQueue backgroundQueue{scheduler};
  FakeClock clock{scheduler};
  FakeProcessLauncher processes{scheduler};
  FakeHttpSession http{scheduler};
  FakeTcpListeners listeners;
  FakeApplication application{scheduler};
  FakeWindowSystem windows{scheduler};
  FakeMenuBar menuBar{scheduler};
  FakePanels panels{scheduler, application};
  FakeWorkspace workspace{scheduler};
  FakeBundle bundle;
  FakeUserDefaults defaults{record};
  FakeLocations locations{record};
  Edition edition = macosEdition;
  /// Null as on macOS, where the shell command `Edition::unpack` is used.
  const ReleaseUnpacker *unpacker = nullptr;
};

}  // namespace orvel
