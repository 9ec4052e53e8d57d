#pragma once

namespace orvel {

enum class TerminateReply { now, later };

/// What the application object tells. Main thread.
class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  /// The event loop runs; windows may be made.
  virtual void applicationDidFinishLaunching() = 0;
  /// The application is asked to end: at once, or after a reply.
  virtual TerminateReply applicationShouldTerminate() = 0;
  /// Whether closing the last window asks the application to end.
  virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;

  /// The three menu commands of our own.
  virtual void zoekUpdateMenu() = 0;
  virtual void kiesAdres() = 0;
  virtual void reloadPage() = 0;
};

/// The application as the desktop knows it. Main thread only.
class Application {
 public:
  virtual ~Application() = default;

  /// The delegate must outlive the event loop.
  virtual void setDelegate(ApplicationDelegate &delegate) = 0;
  /// An ordinary application, with an icon in the dock and a menu bar.
  virtual void setRegularActivationPolicy() = 0;
  /// Runs the event loop until the application has terminated.
  virtual void run() = 0;
  /// Brings the application before all others.
  virtual void activate() = 0;
  /// Asks the application to end, as the user's own command does.
  virtual void terminate() = 0;
  /// Lets a deferred termination proceed.
  virtual void replyToShouldTerminate() = 0;
};

}  // namespace orvel
