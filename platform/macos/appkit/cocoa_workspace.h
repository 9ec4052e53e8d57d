#pragma once

#include "platform/workspace.h"

namespace orvel {

/// The default applications, by NSWorkspace. Main thread only.
class CocoaWorkspace final : public Workspace {
 public:
  void open(const Url &url) override;
  void openFile(const std::string &path) override;
};

}  // namespace orvel
