#include "platform/linux/inotify_events.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "test_support/temp_dir.h"

namespace velto::platform {
namespace {

// More events than one read can take (each named event is 16 bytes plus its padded name), so
// the drain must read again, and must walk events of every name length.
TEST(DrainInotify, HandsOverEveryWaitingEventInOrderAcrossReads) {
  testing::TempDir folder;
  const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(fd, 0);
  ASSERT_GE(inotify_add_watch(fd, folder.path().c_str(), IN_CREATE), 0);
  std::vector<std::string> made;
  for (int i = 0; i < 120; ++i) {
    made.push_back(std::string(static_cast<size_t>(1 + i % 40), 'a') + std::to_string(i));
    std::ofstream(folder / made.back()) << "x";
  }
  std::vector<std::string> seen;
  drainInotify(fd, [&](const inotify_event& event) {
    ASSERT_GT(event.len, 0u);
    seen.emplace_back(event.name);
  });
  EXPECT_EQ(seen, made);
  // Drained: nothing is handed over twice.
  drainInotify(fd, [&](const inotify_event&) { ADD_FAILURE() << "event after the drain"; });
  ::close(fd);
}

}  // namespace
}  // namespace velto::platform
