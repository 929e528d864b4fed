#include "platform/linux/wayland_globals.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace velto::platform {

namespace {

void globalAdded(void* data, wl_registry*, std::uint32_t, const char* interface, std::uint32_t) {
  auto& names = *static_cast<std::vector<std::string>*>(data);
  if (std::find(names.begin(), names.end(), interface) == names.end()) {
    names.emplace_back(interface);
  }
}

void globalRemoved(void*, wl_registry*, std::uint32_t) {}

const wl_registry_listener kListener = {globalAdded, globalRemoved};

}  // namespace

std::optional<std::vector<std::string>> advertisedWaylandGlobals() {
  const char* name = std::getenv("WAYLAND_DISPLAY");
  if (name == nullptr || *name == '\0') return std::nullopt;
  wl_display* display = wl_display_connect(nullptr);
  if (display == nullptr) return std::nullopt;
  std::vector<std::string> names;
  wl_registry* registry = wl_display_get_registry(display);
  wl_registry_add_listener(registry, &kListener, &names);
  const bool answered = wl_display_roundtrip(display) >= 0;
  wl_registry_destroy(registry);
  wl_display_disconnect(display);
  if (!answered) return std::nullopt;
  return names;
}

bool readAndDispatch(wl_display* display) {
  if (display == nullptr) return false;
  while (wl_display_prepare_read(display) != 0) {
    if (wl_display_dispatch_pending(display) < 0) return false;
  }
  // EAGAIN: the socket buffer is full; the rest goes out with the next flush.
  wl_display_flush(display);
  // Reads what is there without waiting (0 when nothing is); -1 only when the connection broke.
  if (wl_display_read_events(display) < 0) return false;
  if (wl_display_dispatch_pending(display) < 0) return false;
  wl_display_flush(display);
  return true;
}

}  // namespace velto::platform
