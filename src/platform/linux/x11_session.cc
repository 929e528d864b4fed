#include "platform/linux/x11_session.h"

#include <xcb/dpms.h>
#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <set>

#include "base/log.h"

namespace velto::platform {

namespace {

template <typename T>
struct FreeDeleter {
  void operator()(T* p) const { std::free(p); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter<T>>;

// WM_NAME of type STRING is Latin-1.
std::string latin1ToUtf8(const std::string& bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (unsigned char c : bytes) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

constexpr double kDpmsPollSeconds = 10;


}  // namespace

X11Session::X11Session(EventLoop& loop, Scheduler& scheduler,
                       std::function<void(SessionSignal)> sessionSignal)
    : scheduler_(scheduler), sessionSignal_(std::move(sessionSignal)) {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') return;
  int screenNumber = 0;
  connection_ = xcb_connect(nullptr, &screenNumber);
  if (xcb_connection_has_error(connection_) != 0) {
    log::error("Cannot open the X11 display %{public}s", std::string(display));
    xcb_disconnect(connection_);
    connection_ = nullptr;
    return;
  }
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
  for (int i = 0; i < screenNumber && screens.rem > 0; ++i) xcb_screen_next(&screens);
  if (screens.rem == 0) {
    xcb_disconnect(connection_);
    connection_ = nullptr;
    return;
  }
  root_ = screens.data->root;
  connected_ = true;

  atoms_.activeWindow = atom("_NET_ACTIVE_WINDOW");
  atoms_.netWmName = atom("_NET_WM_NAME");
  atoms_.utf8 = atom("UTF8_STRING");
  atoms_.wmPid = atom("_NET_WM_PID");
  atoms_.clientList = atom("_NET_CLIENT_LIST");
  atoms_.wmName = XCB_ATOM_WM_NAME;

  const std::uint32_t rootMask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &rootMask);

  const xcb_query_extension_reply_t* saver =
      xcb_get_extension_data(connection_, &xcb_screensaver_id);
  if (saver != nullptr && saver->present) {
    Reply<xcb_screensaver_query_version_reply_t> version(xcb_screensaver_query_version_reply(
        connection_, xcb_screensaver_query_version(connection_, 1, 1), nullptr));
    if (version) {
      hasScreenSaver_ = true;
      screenSaverEvent_ = saver->first_event;
      xcb_screensaver_select_input(connection_, root_, XCB_SCREENSAVER_EVENT_NOTIFY_MASK);
    }
  }
  const xcb_query_extension_reply_t* dpms = xcb_get_extension_data(connection_, &xcb_dpms_id);
  if (dpms != nullptr && dpms->present) {
    Reply<xcb_dpms_capable_reply_t> capable(
        xcb_dpms_capable_reply(connection_, xcb_dpms_capable(connection_), nullptr));
    hasDpms_ = capable && capable->capable;
  }

  entries_ = DesktopEntryIndex::load(DesktopEntryIndex::applicationFolders());

  watch_ =
      std::make_unique<FdWatch>(loop, xcb_get_file_descriptor(connection_), [this] { drain(); });
  refreshActiveWindow(false);
  if (hasDpms_) dpmsPoll_ = scheduler_.repeating(kDpmsPollSeconds, 2, [this] { pollDpms(); });
  xcb_flush(connection_);
  drainSoon();
}

X11Session::~X11Session() {
  dpmsPoll_.cancel();
  watch_.reset();
  if (connection_ != nullptr) xcb_disconnect(connection_);
}

bool X11Session::isConnected() const {
  return connected_;
}

std::uint32_t X11Session::atom(const char* name) {
  Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
      nullptr));
  return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

std::optional<X11Session::Property> X11Session::property(std::uint32_t window, std::uint32_t name,
                                                         std::uint32_t type) {
  if (!connected_ || window == 0 || name == XCB_ATOM_NONE) return std::nullopt;
  // 64 KiB of property data is far beyond any title or class.
  Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
      connection_, xcb_get_property(connection_, 0, window, name, type, 0, 16384), nullptr));
  if (!reply || reply->type == XCB_ATOM_NONE) return std::nullopt;
  const int length = xcb_get_property_value_length(reply.get());
  return Property{reply->type,
                  std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                              static_cast<size_t>(length))};
}

std::optional<std::string> X11Session::title(std::uint32_t window) {
  if (auto net = property(window, atoms_.netWmName, atoms_.utf8); net && !net->bytes.empty()) {
    return net->bytes;
  }
  auto plain = property(window, atoms_.wmName, XCB_GET_PROPERTY_TYPE_ANY);
  if (!plain) return std::nullopt;
  if (plain->type == XCB_ATOM_STRING) return latin1ToUtf8(plain->bytes);
  return plain->bytes;
}

int X11Session::pidOf(std::uint32_t window) {
  if (auto pid = property(window, atoms_.wmPid, XCB_ATOM_CARDINAL); pid && pid->bytes.size() >= 4) {
    std::uint32_t value = 0;
    std::memcpy(&value, pid->bytes.data(), sizeof value);
    if (value > 0) return static_cast<int>(value);
  }
  const xcb_query_extension_reply_t* res = xcb_get_extension_data(connection_, &xcb_res_id);
  if (res == nullptr || !res->present) return 0;
  xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  Reply<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
      connection_, xcb_res_query_client_ids(connection_, 1, &spec), nullptr));
  if (!reply) return 0;
  for (xcb_res_client_id_value_iterator_t it = xcb_res_query_client_ids_ids_iterator(reply.get());
       it.rem > 0; xcb_res_client_id_value_next(&it)) {
    if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
        xcb_res_client_id_value_value_length(it.data) >= 1) {
      return static_cast<int>(*xcb_res_client_id_value_value(it.data));
    }
  }
  return 0;
}

std::optional<RunningApplication> X11Session::applicationOf(std::uint32_t window) {
  if (window == 0) return std::nullopt;
  auto wmClass = property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
  std::optional<std::pair<std::string, std::string>> names;
  if (wmClass) names = parseWmClass(wmClass->bytes);
  const int pid = pidOf(window);
  RunningApplication app{std::nullopt, {}, pid, window, {}};
  if (!names) return app;
  WindowNames windowNames{names->first, names->second, {}, executableName(pid)};
  app = entries_.identify(windowNames, pid);
  app.windowId = window;
  return app;
}

void X11Session::refreshActiveWindow(bool notify) {
  std::uint32_t window = 0;
  if (auto active = property(root_, atoms_.activeWindow, XCB_ATOM_WINDOW);
      active && active->bytes.size() >= 4) {
    std::memcpy(&window, active->bytes.data(), sizeof window);
  }
  if (window == active_ && front_) return;
  if (active_ != 0 && active_ != window) {
    const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection_, active_, XCB_CW_EVENT_MASK, &none);
  }
  active_ = window;
  if (window != 0) {
    // Title changes, and the window going away (closed or unmapped) while it is in front.
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
  }
  xcb_flush(connection_);
  front_ = applicationOf(window);
  lastTitle_ = title(window);
  drainSoon();
  if (notify && activation_) activation_(front_);
}

void X11Session::activeWindowGone() {
  // Some window managers leave _NET_ACTIVE_WINDOW on a closed window until the next
  // activation: nothing is in front until then.
  active_ = 0;
  front_.reset();
  lastTitle_.reset();
  if (activation_) activation_(std::nullopt);
}

void X11Session::titleMayHaveChanged() {
  std::optional<std::string> now = title(active_);
  if (now == lastTitle_) return;
  lastTitle_ = std::move(now);
  if (onChange_ && observedWindow_ == active_) onChange_();
}

void X11Session::drainSoon() {
  if (drainPending_ || !connected_) return;
  drainPending_ = true;
  scheduler_.post([this] {
    drainPending_ = false;
    drain();
  });
}

void X11Session::drain() {
  if (!connected_) return;
  bool activeChanged = false;
  bool titleChanged = false;
  bool activeGone = false;
  while (xcb_generic_event_t* raw = xcb_poll_for_event(connection_)) {
    Reply<xcb_generic_event_t> event(raw);
    const std::uint8_t type = event->response_type & 0x7F;
    if (type == XCB_PROPERTY_NOTIFY) {
      const auto* notify = reinterpret_cast<const xcb_property_notify_event_t*>(raw);
      if (notify->window == root_ && notify->atom == atoms_.activeWindow) {
        activeChanged = true;
      } else if (notify->window == active_ &&
                 (notify->atom == atoms_.netWmName || notify->atom == atoms_.wmName)) {
        titleChanged = true;
      }
    } else if (type == XCB_DESTROY_NOTIFY) {
      const auto* notify = reinterpret_cast<const xcb_destroy_notify_event_t*>(raw);
      activeGone = activeGone || (active_ != 0 && notify->window == active_);
    } else if (type == XCB_UNMAP_NOTIFY) {
      const auto* notify = reinterpret_cast<const xcb_unmap_notify_event_t*>(raw);
      activeGone = activeGone || (active_ != 0 && notify->window == active_);
    } else if (hasScreenSaver_ && type == screenSaverEvent_ + XCB_SCREENSAVER_NOTIFY) {
      const auto* notify = reinterpret_cast<const xcb_screensaver_notify_event_t*>(raw);
      if (sessionSignal_) {
        sessionSignal_(notify->state == XCB_SCREENSAVER_STATE_OFF
                           ? SessionSignal::screenSaverStopped
                           : SessionSignal::screenSaverStarted);
      }
    }
  }
  if (xcb_connection_has_error(connection_) != 0) {
    lost();
    return;
  }
  if (activeGone) {
    activeWindowGone();
    // A new active window reported in the same batch is read now; the closed one is not read
    // again, since its id stays gone until the property names another window.
    if (activeChanged) refreshActiveWindow(true);
  } else if (activeChanged) {
    refreshActiveWindow(true);
  } else if (titleChanged) {
    titleMayHaveChanged();
  }
}

void X11Session::lost() {
  log::error("Lost the connection to the X11 display; window tracking stops");
  connected_ = false;
  watch_.reset();
  dpmsPoll_.cancel();
  active_ = 0;
  front_.reset();
  if (activation_) activation_(std::nullopt);
}

void X11Session::pollDpms() {
  if (!connected_) return;
  Reply<xcb_dpms_info_reply_t> info(
      xcb_dpms_info_reply(connection_, xcb_dpms_info(connection_), nullptr));
  drainSoon();
  if (!info) return;
  const bool asleep = info->state != 0 && info->power_level != XCB_DPMS_DPMS_MODE_ON;
  if (asleep == displaysAsleep_) return;
  displaysAsleep_ = asleep;
  if (sessionSignal_) {
    sessionSignal_(asleep ? SessionSignal::screensDidSleep : SessionSignal::screensDidWake);
  }
}

std::optional<RunningApplication> X11Session::frontmostApplication() {
  return front_;
}

void X11Session::setActivationHandler(
    std::function<void(const std::optional<RunningApplication>&)> handler) {
  activation_ = std::move(handler);
}

bool X11Session::observe(const RunningApplication& window, std::function<void()> onChange) {
  if (!connected_) return false;
  observedWindow_ = window.windowId != 0 ? static_cast<std::uint32_t>(window.windowId) : active_;
  onChange_ = std::move(onChange);
  return true;
}

void X11Session::stop() {
  observedWindow_ = 0;
  onChange_ = nullptr;
}

std::optional<std::string> X11Session::focusedWindowTitle(const RunningApplication& window) {
  if (!connected_) return std::nullopt;
  const std::uint32_t id =
      window.windowId != 0 ? static_cast<std::uint32_t>(window.windowId) : active_;
  if (id == 0) return std::nullopt;
  std::optional<std::string> now = title(id);
  drainSoon();
  if (now && now->empty()) return std::nullopt;
  return now;
}

double X11Session::secondsSinceLastInput() {
  if (!connected_ || !hasScreenSaver_) return 0;
  Reply<xcb_screensaver_query_info_reply_t> info(xcb_screensaver_query_info_reply(
      connection_, xcb_screensaver_query_info(connection_, root_), nullptr));
  drainSoon();
  return info ? info->ms_since_user_input / 1000.0 : 0;
}

std::vector<RunningApplication> X11Session::clientApplications() {
  std::vector<RunningApplication> apps;
  auto list = property(root_, atoms_.clientList, XCB_ATOM_WINDOW);
  drainSoon();
  if (!list) return apps;
  std::set<int> seen;
  for (size_t at = 0; at + 4 <= list->bytes.size(); at += 4) {
    std::uint32_t window = 0;
    std::memcpy(&window, list->bytes.data() + at, sizeof window);
    std::optional<RunningApplication> app = applicationOf(window);
    if (app && app->pid > 0 && seen.insert(app->pid).second) apps.push_back(std::move(*app));
  }
  return apps;
}

}  // namespace velto::platform
