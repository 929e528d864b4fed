// The desktop backend chosen from the session's environment, the compositor's globals and
// VELTO_BACKEND.
#include "platform/linux/backend_choice.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/strings.h"
#include "platform/linux/linux_desktop.h"

namespace velto::platform {
namespace {

using Globals = std::optional<std::vector<std::string>>;

const std::vector<std::string> kWlrootsGlobals = {
    "wl_compositor", "wl_seat", "zwlr_foreign_toplevel_manager_v1", "ext_idle_notifier_v1"};
const std::vector<std::string> kBareGlobals = {"wl_compositor", "wl_seat", "xdg_wm_base"};

struct ChoiceCase {
  const char* name;
  BackendEnvironment environment;
  BackendChoice expected;
};

BackendChoice chosen(Backend backend, std::string reason = {}, bool requested = false) {
  return BackendChoice{backend, std::move(reason), requested};
}

TEST(BackendChoiceTest, ChoosesFromTheSessionAndTheCompositor) {
  // sessionType, waylandDisplay, display, currentDesktop, requested, waylandGlobals
  const std::vector<ChoiceCase> cases = {
      {"x11 session", {"x11", "", ":0", "XFCE", "", std::nullopt}, chosen(Backend::x11)},
      {"x11 session with a nested compositor's socket",
       {"x11", "wayland-1", ":0", "i3", "", std::nullopt},
       chosen(Backend::x11)},
      {"display only, no session type", {"", "", ":1", "", "", std::nullopt}, chosen(Backend::x11)},
      {"X server started from a console",
       {"tty", "", ":0", "", "", std::nullopt},
       chosen(Backend::x11)},
      {"nothing at all: the X11 session reports the missing display",
       {"", "", "", "", "", std::nullopt},
       chosen(Backend::x11)},
      {"sway with Xwayland",
       {"wayland", "wayland-1", ":0", "sway", "", std::nullopt},
       chosen(Backend::wlroots)},
      {"sway with Xwayland, toplevel list advertised",
       {"wayland", "wayland-1", ":0", "sway", "", kWlrootsGlobals},
       chosen(Backend::wlroots)},
      {"compositor started from a console",
       {"tty", "wayland-0", ":0", "", "", std::nullopt},
       chosen(Backend::wlroots)},
      {"wayland session type without a socket name",
       {"wayland", "", ":0", "Hyprland", "", {}},
       chosen(Backend::wlroots)},
      {"compositor without the toplevel list",
       {"wayland", "wayland-0", ":0", "weston", "", kBareGlobals},
       chosen(Backend::none, "backend.none.noToplevelList")},
      {"GNOME on Wayland",
       {"wayland", "wayland-0", ":0", "GNOME", "", std::nullopt},
       chosen(Backend::gnome)},
      {"GNOME on Wayland, distribution prefix",
       {"wayland", "wayland-0", ":0", "ubuntu:GNOME", "", std::nullopt},
       chosen(Backend::gnome)},
      {"GNOME Classic on Wayland",
       {"wayland", "wayland-0", "", "GNOME-Classic:GNOME", "", {}},
       chosen(Backend::gnome)},
      {"GNOME on Wayland, globals asked",
       {"wayland", "wayland-0", ":0", "GNOME", "", kBareGlobals},
       chosen(Backend::gnome)},
      {"KDE on Wayland",
       {"wayland", "wayland-0", ":0", "KDE", "", std::nullopt},
       chosen(Backend::kwin)},
      {"KDE on Wayland, globals asked (KWin has no wlroots toplevel list)",
       {"wayland", "wayland-0", ":0", "KDE", "", kBareGlobals},
       chosen(Backend::kwin)},
      {"KDE on X11 stays X11", {"x11", "", ":0", "KDE", "", std::nullopt}, chosen(Backend::x11)},
      {"GNOME on X11 stays X11",
       {"x11", "", ":0", "ubuntu:GNOME", "", std::nullopt},
       chosen(Backend::x11)},
      {"a desktop name that only contains gnome is not GNOME",
       {"wayland", "wayland-0", "", "gnomelike", "", std::nullopt},
       chosen(Backend::wlroots)},
      {"the compositor's globals outweigh the desktop's name",
       {"wayland", "wayland-0", "", "KDE", "", kWlrootsGlobals},
       chosen(Backend::wlroots)},
      {"auto is the automatic choice",
       {"wayland", "wayland-0", ":0", "sway", "auto", {}},
       chosen(Backend::wlroots)},
      {"VELTO_BACKEND=x11 on Wayland",
       {"wayland", "wayland-0", ":0", "GNOME", "x11", {}},
       chosen(Backend::x11, "", true)},
      {"VELTO_BACKEND=wlroots on X11",
       {"x11", "", ":0", "", "wlroots", {}},
       chosen(Backend::wlroots, "", true)},
      {"VELTO_BACKEND=kwin on sway",
       {"wayland", "wayland-0", "", "sway", "kwin", kWlrootsGlobals},
       chosen(Backend::kwin, "", true)},
      {"VELTO_BACKEND=gnome without a session type",
       {"", "wayland-0", "", "", "gnome", std::nullopt},
       chosen(Backend::gnome, "", true)},
      {"VELTO_BACKEND=none",
       {"x11", "", ":0", "", "none", std::nullopt},
       chosen(Backend::none, "backend.none.requested", true)},
  };
  for (const ChoiceCase& test : cases) {
    const Result<BackendChoice> choice = chooseBackend(test.environment);
    ASSERT_TRUE(choice.ok()) << test.name << ": " << choice.error();
    EXPECT_EQ(backendName(choice->backend), std::string(backendName(test.expected.backend)))
        << test.name;
    EXPECT_EQ(choice->reasonKey, test.expected.reasonKey) << test.name;
    EXPECT_EQ(choice->requested, test.expected.requested) << test.name;
    if (!choice->reasonKey.empty()) {
      EXPECT_TRUE(i18n::has("en", choice->reasonKey)) << choice->reasonKey;
    }
  }
}

TEST(BackendChoiceTest, NeverChoosesX11OnWaylandUnlessAsked) {
  for (const char* desktop : {"sway", "GNOME", "KDE", "Hyprland", "", "ubuntu:GNOME"}) {
    for (const Globals& globals : {Globals(), Globals(kBareGlobals), Globals(kWlrootsGlobals)}) {
      const Result<BackendChoice> choice =
          chooseBackend({"wayland", "wayland-0", ":0", desktop, "", globals});
      ASSERT_TRUE(choice.ok()) << desktop;
      EXPECT_NE(choice->backend, Backend::x11) << desktop;
    }
  }
}

TEST(BackendChoiceTest, AnUnknownRequestIsAnError) {
  for (const char* value : {"X11", "wayland", "GNOME", "kde", "x11 ", "wlroots,x11"}) {
    const Result<BackendChoice> choice = chooseBackend({"x11", "", ":0", "", value, std::nullopt});
    ASSERT_FALSE(choice.ok()) << value;
    EXPECT_NE(choice.error().find(value), std::string::npos) << choice.error();
  }
}

TEST(BackendChoiceTest, AWaylandSessionThatDoesNotConnectLeavesNoneWithItsReason) {
  struct Case {
    const char* name;
    BackendChoice choice;
    bool made;
    bool connected;
    BackendChoice expected;
    std::string sessionReason;
  };
  const std::vector<Case> cases = {
      {"wlroots connected", chosen(Backend::wlroots), true, true, chosen(Backend::wlroots), ""},
      {"wlroots not connected", chosen(Backend::wlroots), true, false,
       chosen(Backend::none, "backend.none.compositor"), ""},
      {"wlroots not in this build", chosen(Backend::wlroots), false, false,
       chosen(Backend::none, "backend.none.notBuilt"), ""},
      {"asked-for wlroots not connected", chosen(Backend::wlroots, "", true), true, false,
       chosen(Backend::none, "backend.none.compositor", true), ""},
      {"x11 without a display stays x11", chosen(Backend::x11), true, false, chosen(Backend::x11),
       ""},
      {"none stays none", chosen(Backend::none, "backend.none.requested"), false, false,
       chosen(Backend::none, "backend.none.requested"), ""},
      {"KWin running the script", chosen(Backend::kwin), true, true, chosen(Backend::kwin), ""},
      {"KWin refusing the script", chosen(Backend::kwin), true, false,
       chosen(Backend::none, "backend.none.kwinScript"), ""},
      {"GNOME Shell waiting for a log-out", chosen(Backend::gnome), true, false,
       chosen(Backend::none, "backend.none.gnomeExtension.logout"),
       "backend.none.gnomeExtension.logout"},
      {"GNOME Shell not answering", chosen(Backend::gnome), true, false,
       chosen(Backend::none, "backend.none.gnomeExtension"), ""},
      {"a connected session's reason is not used", chosen(Backend::gnome), true, true,
       chosen(Backend::gnome), "backend.none.gnomeExtension.disabled"},
  };
  for (const Case& test : cases) {
    const BackendChoice settled =
        afterConnecting(test.choice, test.made, test.connected, test.sessionReason);
    EXPECT_EQ(settled, test.expected) << test.name;
    if (!settled.reasonKey.empty()) {
      EXPECT_TRUE(i18n::has("en", settled.reasonKey)) << settled.reasonKey;
    }
  }
}

TEST(BackendChoiceTest, MessagesOfAMissingBackendAreInTheCatalog) {
  for (MissingSource source : {MissingSource::backend, MissingSource::compositor,
                               MissingSource::compositorIdle, MissingSource::processes}) {
    EXPECT_TRUE(i18n::has("en", missingSourceKey(source))) << missingSourceKey(source);
  }
  for (const char* key :
       {"backend.none.unknownRequest", "backend.error.unknown %@", "status.source.backend %@",
        "status.value.noBackend %@", "status.source.processes %@"}) {
    EXPECT_TRUE(i18n::has("en", key)) << key;
  }
}

}  // namespace
}  // namespace velto::platform
