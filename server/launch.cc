#include <filesystem>
#include <system_error>

#include "app/app_delegate.h"
#include "base/private_folder.h"

namespace orvel {

namespace {

/// Creates or truncates server.log in a folder. Returns null when that fails. Other users
/// cannot read the file, because the server may log anything.
std::shared_ptr<FileHandle> openEmptyLog(const std::string &folder) {
  ensurePrivateFolder(folder);
  const std::string path = folder + "/server.log";
  // open(2) blocks on a FIFO until it has a reader.
  std::error_code ignored;
  if (std::filesystem::is_fifo(path, ignored)) return nullptr;
  return FileHandle::createPrivate(path);
}

}  // namespace

void AppDelegate::startServer() {
  killStaleServer();

  LaunchRequest request;
  request.executable = nodePath();
  request.arguments = {settings_.ROOT + "/v3/server.mjs"};
  request.workingDirectory = settings_.ROOT;
  // The PATH does not depend on whether the desktop or a shell has started the application.
  request.environmentChanges = {
      {"PORT", std::to_string(settings_.LOCAL_PORT)},
      {"PATH", "/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin"},
  };
  if (auto log = openEmptyLog(settings_.ROOT + "/v3/.local")) {
    request.standardOutput = {StandardStream::Kind::handle, log};
    request.standardError = {StandardStream::Kind::handle, log};
  }
  // An application that crashes or loses its display cannot stop the server as on quitting.
  request.endsWithParent = true;
  request.terminationHandler = [weak = weak_from_this(), &mainQueue = platform_.mainQueue](
                                   const std::shared_ptr<ChildProcess> &process) {
    mainQueue.post([weak, process] {
      if (const auto self = weak.lock()) self->serverDidExit(process);
    });
  };

  LaunchResult result = platform_.processes.launch(request);
  if (result.process) {
    server = std::move(result.process);
  } else {
    showError("Kon node niet starten: " + result.error);
  }
}

void AppDelegate::serverDidExit(const std::shared_ptr<ChildProcess> &process) {
  // Ignore the exit of a server that has been replaced.
  if (server != process) return;
  if (quitting) return;
  showError("De OS-server is gestopt (code " + std::to_string(process->terminationStatus()) +
            "). Zie ~/orvel-os/v3/.local/server.log. Herstarten met ⌘R.");
}

}  // namespace orvel
