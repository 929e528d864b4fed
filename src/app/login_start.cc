#include "app/login_start.h"

#include "settings/settings_keys.h"

namespace velto {

std::string_view rawValue(LoginStart start) {
  switch (start) {
    case LoginStart::off:
      return "off";
    case LoginStart::autostart:
      return "autostart";
    case LoginStart::service:
      return "service";
  }
  return "off";
}

LoginStart chosenLoginStart(const Settings& settings) {
  if (!settings.launchAtLogin()) return LoginStart::off;
  return settings.launchAtLoginMode() == "service" ? LoginStart::service : LoginStart::autostart;
}

LoginStart installedLoginStart(const LoginStartTargets& targets) {
  if (targets.serviceEnabled()) return LoginStart::service;
  if (targets.autostartEnabled()) return LoginStart::autostart;
  return LoginStart::off;
}

Status applyLoginStart(LoginStart wanted, LoginStartTargets& targets) {
  if (wanted != LoginStart::service && targets.serviceEnabled()) {
    if (Status off = targets.disableService(); !off) return off;
  }
  if (wanted != LoginStart::autostart && targets.autostartEnabled()) {
    if (Status off = targets.disableAutostart(); !off) return off;
  }
  if (wanted == LoginStart::service) return targets.enableService();
  if (wanted == LoginStart::autostart) return targets.enableAutostart();
  return {};
}

Status chooseLoginStart(Settings& settings, LoginStart wanted, LoginStartTargets& targets) {
  return changeLoginStart(settings, targets, [&] {
    settings.setLaunchAtLogin(wanted != LoginStart::off);
    if (wanted != LoginStart::off) settings.setLaunchAtLoginMode(rawValue(wanted));
  });
}

LoginStartKeys LoginStartKeys::of(const Settings& settings) {
  return LoginStartKeys{settings.isStored(keys::kLaunchAtLogin), settings.launchAtLogin(),
                        settings.isStored(keys::kLaunchAtLoginMode), settings.launchAtLoginMode()};
}

void LoginStartKeys::restore(Settings& settings) const {
  if (enabledStored) {
    settings.setLaunchAtLogin(enabled);
  } else {
    settings.reset(keys::kLaunchAtLogin);
  }
  if (modeStored) {
    settings.setLaunchAtLoginMode(mode);
  } else {
    settings.reset(keys::kLaunchAtLoginMode);
  }
}

}  // namespace velto
