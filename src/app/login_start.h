// How Velto starts with the user's session: not at all, as the tray application from the XDG
// autostart entry, or as `velto record` from the systemd user unit "velto.service". The settings
// hold the choice ("velto.launchAtLogin" on or off, "velto.launchAtLoginMode" "autostart" or
// "service"); the caller supplies the LoginStartTargets that write the entry and enable the unit
// (platform/linux/login_start_targets.h), so nothing here starts a process or touches D-Bus.
//
// Never both at once: applying a choice turns the other way off before turning the chosen one
// on, so a failure leaves at most the chosen way on.
//
// Thread: main thread, like Settings.
#pragma once

#include <string_view>

#include "base/result.h"
#include "settings/settings.h"

namespace velto {

enum class LoginStart { off, autostart, service };
// "off", "autostart", "service", as `velto status --json` names them.
std::string_view rawValue(LoginStart start);

// The way the settings choose.
LoginStart chosenLoginStart(const Settings& settings);

// The two ways of starting at log-in as the session sees them.
class LoginStartTargets {
 public:
  virtual ~LoginStartTargets() = default;
  virtual bool autostartEnabled() const = 0;
  virtual Status enableAutostart() = 0;
  virtual Status disableAutostart() = 0;  // disabling what is off is fine
  virtual bool serviceEnabled() const = 0;
  virtual Status enableService() = 0;
  virtual Status disableService() = 0;  // likewise
};

// What the targets hold now: the unit when it is enabled, else the entry when it is there, else
// off.
LoginStart installedLoginStart(const LoginStartTargets& targets);

// Makes the targets hold exactly `wanted`.
Status applyLoginStart(LoginStart wanted, LoginStartTargets& targets);

// Runs `change` (a write or reset of the two keys), then applies what the settings choose. When
// that fails, the two keys are put back as they were, the targets are brought back to what they
// chose, and the first error is returned.
template <typename Change>
Status changeLoginStart(Settings& settings, LoginStartTargets& targets, Change&& change);

// The same for a choice made in one go (the General pane).
Status chooseLoginStart(Settings& settings, LoginStart wanted, LoginStartTargets& targets);

// --- implementation of the template ---

struct LoginStartKeys {
  static LoginStartKeys of(const Settings& settings);
  void restore(Settings& settings) const;
  bool enabledStored;
  bool enabled;
  bool modeStored;
  std::string mode;
};

template <typename Change>
Status changeLoginStart(Settings& settings, LoginStartTargets& targets, Change&& change) {
  const LoginStartKeys before = LoginStartKeys::of(settings);
  change();
  Status applied = applyLoginStart(chosenLoginStart(settings), targets);
  if (applied) return applied;
  before.restore(settings);
  (void)applyLoginStart(chosenLoginStart(settings), targets);
  return applied;
}

}  // namespace velto
