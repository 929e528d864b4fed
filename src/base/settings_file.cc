#include "base/settings_file.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "base/files.h"
#include "base/log.h"

namespace velto {

namespace {

using nlohmann::json;

// Keys present in only one of the objects or holding different values there, sorted.
SettingsFile::ChangedKeys differingKeys(const json& before, const json& after) {
  SettingsFile::ChangedKeys keys;
  for (const auto& [key, value] : before.items()) {
    auto found = after.find(key);
    if (found == after.end() || *found != value) keys.push_back(key);
  }
  for (const auto& [key, value] : after.items()) {
    if (!before.contains(key)) keys.push_back(key);
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

void mergeInto(SettingsFile::ChangedKeys& into, const SettingsFile::ChangedKeys& more) {
  SettingsFile::ChangedKeys merged;
  std::set_union(into.begin(), into.end(), more.begin(), more.end(), std::back_inserter(merged));
  into = std::move(merged);
}

}  // namespace

SettingsFile::SettingsFile(std::filesystem::path path) : path_(std::move(path)) {
  adopt(read());
}

const nlohmann::json* SettingsFile::value(std::string_view key) const {
  auto found = values_.find(std::string(key));
  return found == values_.end() ? nullptr : &*found;
}

SettingsFile::ChangedKeys SettingsFile::set(std::string_view key, nlohmann::json value) {
  return apply({Edit{std::string(key), std::move(value)}});
}

SettingsFile::ChangedKeys SettingsFile::remove(std::string_view key) {
  return apply({Edit{std::string(key), std::nullopt}});
}

SettingsFile::ChangedKeys SettingsFile::apply(const std::vector<Edit>& edits) {
  ChangedKeys changed = reloadIfChanged();
  json next = values_;
  for (const auto& [key, value] : edits) {
    if (value) {
      next[key] = *value;
    } else {
      next.erase(key);
    }
  }
  const ChangedKeys edited = differingKeys(values_, next);
  if (edited.empty()) return changed;
  values_ = std::move(next);
  mergeInto(changed, edited);
  mergeInto(changed, save());
  return changed;
}

SettingsFile::ChangedKeys SettingsFile::reloadIfChanged() {
  if (stampOf(path_) == stamp_) return {};
  return adopt(read());
}

SettingsFile::Stamp SettingsFile::stampOf(const std::filesystem::path& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return Stamp{};
  return Stamp{true,
               info.st_dev,
               info.st_ino,
               info.st_size,
               static_cast<long long>(info.st_mtim.tv_sec),
               info.st_mtim.tv_nsec};
}

SettingsFile::Snapshot SettingsFile::read() const {
  // The stamp is taken before and after reading; equal stamps mean the bytes belong to it.
  // Writers replace the file by renaming, so a retry nearly always settles at once.
  Snapshot snapshot;
  for (int attempt = 0; attempt < 3; ++attempt) {
    snapshot = Snapshot{stampOf(path_), std::nullopt, {}};
    if (!snapshot.stamp.exists) {
      snapshot.object = json::object();
      return snapshot;
    }
    Result<std::string> bytes = files::readAll(path_);
    if (stampOf(path_) != snapshot.stamp) continue;
    if (!bytes) {
      snapshot.problem = bytes.error();
      return snapshot;
    }
    json parsed = json::parse(bytes.value(), nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded()) {
      snapshot.problem = path_.string() + " is not valid JSON";
    } else if (!parsed.is_object()) {
      snapshot.problem = path_.string() + " does not hold a JSON object";
    } else {
      snapshot.object = std::move(parsed);
    }
    return snapshot;
  }
  snapshot.problem = path_.string() + " kept changing while being read";
  return snapshot;
}

SettingsFile::ChangedKeys SettingsFile::adopt(Snapshot snapshot) {
  stamp_ = snapshot.stamp;
  if (!snapshot.object) {
    log::error("Could not read settings: %{public}s", snapshot.problem);
    badStamp_ = snapshot.stamp;
    return {};
  }
  badStamp_.reset();
  ChangedKeys changed = differingKeys(values_, *snapshot.object);
  values_ = std::move(*snapshot.object);
  return changed;
}

SettingsFile::ChangedKeys SettingsFile::save() {
  if (badStamp_) {
    if (stampOf(path_) == *badStamp_) {
      std::filesystem::path aside = path_;
      aside += ".bad";
      std::error_code error;
      std::filesystem::rename(path_, aside, error);
      if (error) {
        log::error("Could not save settings: %{public}s",
                   "could not move " + path_.string() + " aside: " + error.message());
        return {};
      }
      stamp_ = stampOf(path_);
    }
    badStamp_.reset();
  }
  // Text that is not UTF-8 is written with replacement characters rather than lost whole.
  const std::string text =
      values_.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  if (Status written = files::writeAtomically(path_, text, 0600); !written) {
    log::error("Could not save settings: %{public}s", written.error());
    return {};
  }
  // Reading back records the new version's stamp; should another process have replaced the file
  // right after the rename, its values are taken and reported like any external change.
  return adopt(read());
}

}  // namespace velto
