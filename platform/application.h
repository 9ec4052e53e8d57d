#pragma once

namespace orvel {

enum class TerminateReply { now, later };

/// The receiver of the application object's events. Main thread.
class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  /// Called once when the event loop has started and windows can be created.
  virtual void applicationDidFinishLaunching() = 0;
  /// Decides on a request to quit. After `later`, the application continues to run
  /// until replyToShouldTerminate is called.
  virtual TerminateReply applicationShouldTerminate() = 0;
  /// Returns whether closing the last window is a request to quit.
  virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;

  /// Checks for an update and reports the result in an alert. Called by the menu item
  /// "Zoek naar update…".
  virtual void zoekUpdateMenu() = 0;
  /// Shows the dialog for the address of the OS server, the HTTP server of the web application.
  /// Called by the menu item "Serveradres…".
  virtual void kiesAdres() = 0;
  /// Loads the page of the OS server again. Called by the menu item "Herlaad".
  virtual void reloadPage() = 0;
};

/// The application object of the desktop. Main thread only.
class Application {
 public:
  virtual ~Application() = default;

  /// The delegate must outlive the event loop.
  virtual void setDelegate(ApplicationDelegate &delegate) = 0;
  /// Makes this a regular macOS application, with an icon in the dock and a menu bar. Without
  /// effect on Linux.
  virtual void setRegularActivationPolicy() = 0;
  /// Runs the event loop until the application has terminated. On macOS this call does not
  /// return: AppKit exits the process.
  virtual void run() = 0;
  /// Brings the application to the front.
  virtual void activate() = 0;
  /// Requests to quit, like the user's Quit command.
  virtual void terminate() = 0;
  /// Proceeds with a termination that was deferred by `later`.
  virtual void replyToShouldTerminate() = 0;
};

}  // namespace orvel
