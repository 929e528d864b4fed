// A JSON object of settings keys and values, kept in one file and shared with other processes.
//
// The file holds a single JSON object. A missing file reads as an empty object. A file that
// cannot be read or parsed, or holds something other than an object, is logged once and leaves
// the values in memory unchanged (empty at start-up); it is never silently overwritten: before
// the next write it is moved aside to "<file>.bad" so that the user's hand edits survive.
//
// Every change is written at once with files::writeAtomically (file 0600, missing folders
// 0700). Before a write the file is re-read when another process changed it, so that process's
// edits to other keys are kept. Writers that do not use this class may still race between that
// re-read and the rename; nothing locks the file.
//
// A write failure is logged ("Could not save settings: ...") and the value in memory changes all
// the same; it is written with the next successful write.
//
// Thread: not synchronised; owned and used on the main thread.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class SettingsFile {
 public:
  // Keys whose values differ after an operation, sorted, each once.
  using ChangedKeys = std::vector<std::string>;
  // One key and its new value; none removes the key.
  using Edit = std::pair<std::string, std::optional<nlohmann::json>>;

  // Reads `path` at once; never fails (see above for missing and unreadable files).
  explicit SettingsFile(std::filesystem::path path);

  const std::filesystem::path& path() const { return path_; }

  // The value stored under `key`; null when absent. Valid until the next non-const call.
  const nlohmann::json* value(std::string_view key) const;

  // Stores, removes, or applies several edits in one write. The result lists every key that
  // changed, including keys another process changed since the last read. Storing a value equal
  // to the current one changes nothing and writes nothing.
  ChangedKeys set(std::string_view key, nlohmann::json value);
  ChangedKeys remove(std::string_view key);
  ChangedKeys apply(const std::vector<Edit>& edits);

  // Re-reads the file when it is not the version last read or written (compared by device,
  // inode, size and modification time in nanoseconds) and returns the keys whose values differ.
  ChangedKeys reloadIfChanged();

 private:
  // Identifies one version of the file; two reads of an unchanged file give equal stamps.
  struct Stamp {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long mtimeSeconds = 0;
    long mtimeNanoseconds = 0;
    bool operator==(const Stamp&) const = default;
  };
  // What one read of the file found: the object, or none when the file is unusable.
  struct Snapshot {
    Stamp stamp;
    std::optional<nlohmann::json> object;
    std::string problem;
  };

  static Stamp stampOf(const std::filesystem::path& path);
  Snapshot read() const;
  // Takes `snapshot` as the current file and returns the keys whose values changed.
  ChangedKeys adopt(Snapshot snapshot);
  // Writes the values in memory; returns keys a concurrent writer changed meanwhile.
  ChangedKeys save();

  std::filesystem::path path_;
  nlohmann::json values_ = nlohmann::json::object();
  Stamp stamp_;
  // The version of the file that could not be used, until it is moved aside or replaced.
  std::optional<Stamp> badStamp_;
};

}  // namespace velto
