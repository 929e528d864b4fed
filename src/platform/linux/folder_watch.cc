#include "platform/linux/folder_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <vector>

#include "base/files.h"
#include "base/log.h"
#include "platform/linux/inotify_events.h"

namespace velto::platform {

FolderWatch::FolderWatch(EventLoop& loop, std::function<void(const std::filesystem::path&)> changed)
    : changed_(std::move(changed)) {
  fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd_ < 0) {
    log::error("Cannot watch folders: %{public}s", files::errnoText(errno));
    return;
  }
  watch_ = std::make_unique<FdWatch>(loop, fd_, [this] { readable(); });
}

FolderWatch::~FolderWatch() {
  watch_.reset();
  if (fd_ >= 0) ::close(fd_);
}

bool FolderWatch::add(const std::filesystem::path& folder) {
  if (fd_ < 0) return false;
  const int descriptor =
      inotify_add_watch(fd_, folder.c_str(),
                        IN_ATTRIB | IN_MOVE | IN_CREATE | IN_DELETE | IN_DELETE_SELF | IN_ONLYDIR);
  if (descriptor < 0) {
    log::error("Cannot watch %{public}s: %{public}s", folder.string(), files::errnoText(errno));
    return false;
  }
  folders_.emplace(descriptor, folder);  // a folder added twice keeps its first name
  return true;
}

void FolderWatch::readable() {
  std::set<int> touched;
  drainInotify(fd_, [&](const inotify_event& event) {
    if ((event.mask & IN_IGNORED) == 0) touched.insert(event.wd);
  });
  // Copied first: the handler may add folders.
  std::vector<std::filesystem::path> changed;
  for (int descriptor : touched) {
    if (auto found = folders_.find(descriptor); found != folders_.end()) {
      changed.push_back(found->second);
    }
  }
  for (const std::filesystem::path& folder : changed) {
    if (changed_) changed_(folder);
  }
}

}  // namespace velto::platform
