#include "platform/linux/gnome_extension.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "platform/linux/bus_connection.h"
#include "platform/linux/shell_files.h"

namespace velto::platform {

namespace {

constexpr const char* kShell = "org.gnome.Shell";
constexpr const char* kShellPath = "/org/gnome/Shell";
constexpr const char* kExtensions = "org.gnome.Shell.Extensions";
constexpr std::chrono::milliseconds kCallTimeout{3000};
// The Shell's ExtensionState values.
constexpr double kStateEnabled = 1;
constexpr double kStateDisabled = 2;
constexpr double kStateInitialized = 6;

std::string shipped(const std::string& name) {
  return std::string(shellFile("gnome-shell/" + name).value_or(std::string_view()));
}

// A number out of a variant of type d (the Shell's "state"); none for another type.
std::optional<double> readDoubleVariant(sd_bus_message* message) {
  char type = 0;
  const char* contents = nullptr;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != 'v' ||
      contents == nullptr || std::strcmp(contents, "d") != 0) {
    sd_bus_message_skip(message, "v");
    return std::nullopt;
  }
  double value = 0;
  if (sd_bus_message_read(message, "v", "d", &value) <= 0) return std::nullopt;
  return value;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> gnomeExtensionFiles(int major) {
  const std::string format = major >= 45 ? "45" : "43";
  return {
      {"metadata.json", shipped("metadata-" + format + ".json")},
      {"extension.js", shipped("prologue-" + format + ".js") + "\n" + shipped("windows.js") +
                           shipped("epilogue-" + format + ".js")},
  };
}

std::filesystem::path gnomeExtensionFolder() {
  // Velto's data folder is <XDG data home>/Velto.
  return paths::dataDir().parent_path() / "gnome-shell" / "extensions" / kGnomeExtensionUuid;
}

Result<bool> installGnomeExtension(const std::filesystem::path& folder, int major) {
  bool changed = false;
  for (const auto& [name, text] : gnomeExtensionFiles(major)) {
    const std::filesystem::path path = folder / name;
    if (Result<std::string> now = files::readAll(path); now && *now == text) continue;
    // The Shell reads these as the user; they hold nothing private.
    if (Status written = files::writeAtomically(path, text, 0644); !written) {
      return Error{"Could not write " + path.string() + ": " + written.error()};
    }
    changed = true;
  }
  return changed;
}

std::optional<int> gnomeShellMajor(sd_bus* bus) {
  bus::Message call =
      bus::methodCall(bus, kShell, kShellPath, "org.freedesktop.DBus.Properties", "Get");
  if (!call || sd_bus_message_append(call.get(), "ss", kShell, "ShellVersion") < 0) {
    return std::nullopt;
  }
  bus::Message reply = bus::callBlocking(bus, call.get(), kCallTimeout);
  const char* version = nullptr;
  if (!reply || sd_bus_message_read(reply.get(), "v", "s", &version) <= 0 || version == nullptr) {
    return std::nullopt;
  }
  const int major = std::atoi(version);
  if (major <= 0) return std::nullopt;
  return major;
}

std::optional<GnomeExtensionState> gnomeExtensionState(sd_bus* bus) {
  bus::Message call = bus::methodCall(bus, kShell, kShellPath, kExtensions, "GetExtensionInfo");
  if (!call || sd_bus_message_append(call.get(), "s", kGnomeExtensionUuid) < 0) {
    return std::nullopt;
  }
  bus::Message reply = bus::callBlocking(bus, call.get(), kCallTimeout);
  if (!reply || bus::signatureOf(reply.get()) != "a{sv}") return std::nullopt;
  std::optional<double> state;
  bool any = false;
  if (sd_bus_message_enter_container(reply.get(), 'a', "{sv}") <= 0) return std::nullopt;
  while (sd_bus_message_enter_container(reply.get(), 'e', "sv") > 0) {
    any = true;
    const char* key = nullptr;
    if (sd_bus_message_read(reply.get(), "s", &key) <= 0) return std::nullopt;
    if (std::strcmp(key, "state") == 0) {
      state = readDoubleVariant(reply.get());
    } else if (sd_bus_message_skip(reply.get(), "v") < 0) {
      return std::nullopt;
    }
    if (sd_bus_message_exit_container(reply.get()) < 0) return std::nullopt;
  }
  // An empty answer: the Shell has never read the extension.
  if (!any || !state) return GnomeExtensionState::unknown;
  if (*state == kStateEnabled) return GnomeExtensionState::enabled;
  if (*state == kStateDisabled || *state == kStateInitialized) return GnomeExtensionState::disabled;
  return GnomeExtensionState::failed;
}

bool enableGnomeExtension(sd_bus* bus) {
  bus::Message call = bus::methodCall(bus, kShell, kShellPath, kExtensions, "EnableExtension");
  if (!call || sd_bus_message_append(call.get(), "s", kGnomeExtensionUuid) < 0) return false;
  std::string error;
  bus::Message reply = bus::callBlocking(bus, call.get(), kCallTimeout, &error);
  int done = 0;
  if (!reply || sd_bus_message_read(reply.get(), "b", &done) <= 0) {
    log::error("GNOME Shell did not turn on the extension: %{public}s", error);
    return false;
  }
  return done != 0;
}

}  // namespace velto::platform
