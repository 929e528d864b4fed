// Reports changes to the entries of folders (an entry created, deleted, renamed in or out, or
// its attributes changed) through inotify on the event loop. Contents written into an existing
// file are not reported: writers that want to be seen rename a finished file into place.
//
// Thread: the loop's thread.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>

#include "platform/linux/event_loop.h"

namespace velto::platform {

class FolderWatch {
 public:
  // `changed` receives the folder as it was added, once for each burst of events read.
  FolderWatch(EventLoop& loop, std::function<void(const std::filesystem::path&)> changed);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // Starts watching `folder`; false (and a log line) when it cannot be watched.
  bool add(const std::filesystem::path& folder);

 private:
  void readable();

  std::function<void(const std::filesystem::path&)> changed_;
  int fd_ = -1;
  std::unique_ptr<FdWatch> watch_;
  std::map<int, std::filesystem::path> folders_;  // by watch descriptor
};

}  // namespace velto::platform
