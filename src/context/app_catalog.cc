#include "context/app_catalog.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "context/app_identity.h"
#include "context/browser_catalog.h"

namespace velto {

namespace {

using Entry = AppCatalog::Entry;
using F = AppFamily;
using S = TitleStrategy;

constexpr Entry kEntries[] = {
    // Terminals.
    {"com.apple.Terminal", F::terminal, S::terminal},
    {"com.googlecode.iterm2", F::terminal, S::terminal},
    {"com.mitchellh.ghostty", F::terminal, S::terminal},
    {"dev.warp.Warp-Stable", F::terminal, S::terminal},
    {"io.alacritty", F::terminal, S::terminal},
    {"net.kovidgoyal.kitty", F::terminal, S::terminal},
    {"com.github.wez.wezterm", F::terminal, S::terminal},
    {"co.zeit.hyper", F::terminal, S::terminal},
    {"org.tabby", F::terminal, S::terminal},
    // Editors.
    {"com.apple.dt.Xcode", F::editor, S::leading},
    {"com.microsoft.VSCode", F::editor, S::trailing},
    {"com.microsoft.VSCodeInsiders", F::editor, S::trailing},
    {"com.visualstudio.code.oss", F::editor, S::trailing},
    {"com.todesktop.230313mzl4w4u92", F::editor, S::trailing},
    {"dev.zed.Zed", F::editor, S::trailing},
    {"dev.zed.Zed-Preview", F::editor, S::trailing},
    {"com.sublimetext.4", F::editor, S::trailing},
    {"com.panic.Nova", F::editor, S::trailing},
    {"com.jetbrains.intellij", F::editor, S::leading},
    {"com.jetbrains.pycharm", F::editor, S::leading},
    {"com.jetbrains.WebStorm", F::editor, S::leading},
    {"com.jetbrains.goland", F::editor, S::leading},
    {"com.jetbrains.rider", F::editor, S::leading},
    // Chat.
    {"com.tinyspeck.slackmacgap", F::chat, S::chat},
    {"com.hnc.Discord", F::chat, S::chat},
    {"com.microsoft.teams2", F::chat, S::chat},
    {"ru.keepcoder.Telegram", F::chat, S::chat},
    {"net.whatsapp.WhatsApp", F::chat, S::chat},
    // Documents.
    {"com.figma.Desktop", F::document, S::leading},
    {"notion.id", F::document, S::leading},
    {"md.obsidian", F::document, S::leading},
    {"com.apple.Notes", F::document, S::leading},
    {"com.apple.Preview", F::document, S::leading},
    {"com.apple.iWork.Pages", F::document, S::leading},
    {"com.apple.iWork.Numbers", F::document, S::leading},
    {"com.apple.iWork.Keynote", F::document, S::leading},
    {"com.readdle.PDFExpert-Mac", F::document, S::leading},
    {"com.tinyapp.TablePlus", F::document, S::leading},
    // Media.
    {"com.spotify.client", F::media, S::ignore},
    {"com.apple.Music", F::media, S::ignore},
    {"com.apple.TV", F::media, S::ignore},
    {"com.apple.podcasts", F::media, S::ignore},
    {"com.colliderli.iina", F::media, S::ignore},
    {"com.valvesoftware.steam", F::media, S::ignore},
    {"us.zoom.xos", F::media, S::ignore},

    // Linux terminals.
    {"org.gnome.Terminal", F::terminal, S::terminal},
    {"gnome-terminal", F::terminal, S::terminal},
    {"gnome-terminal-server", F::terminal, S::terminal},
    {"org.gnome.Console", F::terminal, S::terminal},
    {"kgx", F::terminal, S::terminal},
    {"org.gnome.Ptyxis", F::terminal, S::terminal},
    {"ptyxis", F::terminal, S::terminal},
    {"org.kde.konsole", F::terminal, S::terminal},
    {"konsole", F::terminal, S::terminal},
    {"org.kde.yakuake", F::terminal, S::terminal},
    {"yakuake", F::terminal, S::terminal},
    {"kitty", F::terminal, S::terminal},
    {"Alacritty", F::terminal, S::terminal},
    {"alacritty", F::terminal, S::terminal},
    {"org.alacritty.Alacritty", F::terminal, S::terminal},
    {"org.wezfurlong.wezterm", F::terminal, S::terminal},
    {"wezterm", F::terminal, S::terminal},
    {"ghostty", F::terminal, S::terminal},
    {"dev.warp.Warp", F::terminal, S::terminal},
    {"warp", F::terminal, S::terminal},
    {"xterm", F::terminal, S::terminal},
    {"uxterm", F::terminal, S::terminal},
    {"urxvt", F::terminal, S::terminal},
    {"st-256color", F::terminal, S::terminal},
    {"foot", F::terminal, S::terminal},
    {"footclient", F::terminal, S::terminal},
    {"org.codeberg.dnkl.foot", F::terminal, S::terminal},
    {"tilix", F::terminal, S::terminal},
    {"com.gexperts.Tilix", F::terminal, S::terminal},
    {"terminator", F::terminal, S::terminal},
    {"xfce4-terminal", F::terminal, S::terminal},
    {"org.xfce.terminal", F::terminal, S::terminal},
    {"mate-terminal", F::terminal, S::terminal},
    {"lxterminal", F::terminal, S::terminal},
    {"qterminal", F::terminal, S::terminal},
    {"io.elementary.terminal", F::terminal, S::terminal},
    {"com.raggesilver.BlackBox", F::terminal, S::terminal},
    {"terminology", F::terminal, S::terminal},
    {"guake", F::terminal, S::terminal},
    {"tabby", F::terminal, S::terminal},
    {"hyper", F::terminal, S::terminal},
    {"com.system76.CosmicTerm", F::terminal, S::terminal},
    // Linux editors.
    {"code", F::editor, S::trailing},
    {"code-oss", F::editor, S::trailing},
    {"code-insiders", F::editor, S::trailing},
    {"com.visualstudio.code", F::editor, S::trailing},
    {"codium", F::editor, S::trailing},
    {"vscodium", F::editor, S::trailing},
    {"com.vscodium.codium", F::editor, S::trailing},
    {"cursor", F::editor, S::trailing},
    {"zed", F::editor, S::trailing},
    {"sublime_text", F::editor, S::trailing},
    {"com.sublimetext.three", F::editor, S::trailing},
    {"jetbrains-idea", F::editor, S::leading},
    {"jetbrains-idea-ce", F::editor, S::leading},
    {"jetbrains-pycharm", F::editor, S::leading},
    {"jetbrains-pycharm-ce", F::editor, S::leading},
    {"jetbrains-webstorm", F::editor, S::leading},
    {"jetbrains-goland", F::editor, S::leading},
    {"jetbrains-rider", F::editor, S::leading},
    {"jetbrains-clion", F::editor, S::leading},
    {"jetbrains-phpstorm", F::editor, S::leading},
    {"jetbrains-rubymine", F::editor, S::leading},
    {"jetbrains-rustrover", F::editor, S::leading},
    {"jetbrains-studio", F::editor, S::leading},
    {"com.jetbrains.IntelliJ-IDEA-Community", F::editor, S::leading},
    {"com.jetbrains.IntelliJ-IDEA-Ultimate", F::editor, S::leading},
    {"com.jetbrains.PyCharm-Community", F::editor, S::leading},
    {"com.jetbrains.PyCharm-Professional", F::editor, S::leading},
    {"emacs", F::editor, S::leading},
    {"org.gnu.emacs", F::editor, S::leading},
    // Linux chat.
    {"slack", F::chat, S::chat},
    {"com.slack.Slack", F::chat, S::chat},
    {"discord", F::chat, S::chat},
    {"com.discordapp.Discord", F::chat, S::chat},
    {"vesktop", F::chat, S::chat},
    {"teams-for-linux", F::chat, S::chat},
    {"com.github.IsmaelMartinez.teams_for_linux", F::chat, S::chat},
    {"telegram-desktop", F::chat, S::chat},
    {"telegramdesktop", F::chat, S::chat},
    {"org.telegram.desktop", F::chat, S::chat},
    {"whatsapp-for-linux", F::chat, S::chat},
    {"signal", F::chat, S::chat},
    {"signal-desktop", F::chat, S::chat},
    {"org.signal.Signal", F::chat, S::chat},
    {"element", F::chat, S::chat},
    {"element-desktop", F::chat, S::chat},
    {"im.riot.Riot", F::chat, S::chat},
    // Linux documents.
    {"figma-linux", F::document, S::leading},
    {"io.github.Figma_Linux.figma_linux", F::document, S::leading},
    {"notion-app", F::document, S::leading},
    {"obsidian", F::document, S::leading},
    {"md.obsidian.Obsidian", F::document, S::leading},
    {"org.gnome.Evince", F::document, S::leading},
    {"evince", F::document, S::leading},
    {"org.gnome.Papers", F::document, S::leading},
    {"org.kde.okular", F::document, S::leading},
    {"okular", F::document, S::leading},
    {"libreoffice-writer", F::document, S::leading},
    {"libreoffice-calc", F::document, S::leading},
    {"libreoffice-impress", F::document, S::leading},
    {"libreoffice-draw", F::document, S::leading},
    {"onlyoffice-desktopeditors", F::document, S::leading},
    {"org.onlyoffice.desktopeditors", F::document, S::leading},
    {"org.libreoffice.LibreOffice", F::document, S::leading},
    {"org.gnome.TextEditor", F::document, S::leading},
    {"org.gnome.gedit", F::document, S::leading},
    {"gedit", F::document, S::leading},
    {"org.kde.kate", F::document, S::leading},
    {"kate", F::document, S::leading},
    {"com.github.xournalpp.xournalpp", F::document, S::leading},
    {"xournalpp", F::document, S::leading},
    {"dbeaver", F::document, S::leading},
    {"io.dbeaver.DBeaverCommunity", F::document, S::leading},
    // Linux media.
    {"spotify", F::media, S::ignore},
    {"com.spotify.Client", F::media, S::ignore},
    {"rhythmbox", F::media, S::ignore},
    {"org.gnome.Rhythmbox3", F::media, S::ignore},
    {"org.gnome.Music", F::media, S::ignore},
    {"vlc", F::media, S::ignore},
    {"org.videolan.VLC", F::media, S::ignore},
    {"mpv", F::media, S::ignore},
    {"io.mpv.Mpv", F::media, S::ignore},
    {"totem", F::media, S::ignore},
    {"org.gnome.Totem", F::media, S::ignore},
    {"celluloid", F::media, S::ignore},
    {"io.github.celluloid_player.Celluloid", F::media, S::ignore},
    {"org.kde.elisa", F::media, S::ignore},
    {"strawberry", F::media, S::ignore},
    {"audacious", F::media, S::ignore},
    {"steam", F::media, S::ignore},
    {"com.valvesoftware.Steam", F::media, S::ignore},
    {"zoom", F::media, S::ignore},
    {"Zoom", F::media, S::ignore},
    {"us.zoom.Zoom", F::media, S::ignore},
};

constexpr std::string_view kNeverTracked[] = {
    // This program (its macOS bundle identifier and its Linux desktop file id).
    "studio.kestrova.Velto",
    "velto",
    // macOS login window, screen saver and authorisation prompts.
    "com.apple.loginwindow",
    "com.apple.ScreenSaver.Engine",
    "com.apple.SecurityAgent",
    // Linux lock screens and greeters.
    "gnome-screensaver",
    "cinnamon-screensaver",
    "mate-screensaver",
    "xfce4-screensaver",
    "xscreensaver",
    "light-locker",
    "i3lock",
    "swaylock",
    "slock",
    "xsecurelock",
    "kscreenlocker_greet",
    "org.kde.kscreenlocker_greet",
    "lightdm",
    "gdm",
    "sddm",
    // Linux authentication prompts.
    "polkit-gnome-authentication-agent-1",
    "polkit-kde-authentication-agent-1",
    "org.kde.polkit-kde-authentication-agent-1",
    "lxpolkit",
    "mate-polkit",
    "xfce-polkit",
};

const AliasIndex<const Entry*>& entryIndex() {
  static const auto* const index = [] {
    auto* made = new AliasIndex<const Entry*>();
    for (const Entry& entry : kEntries) made->add(entry.bundleIdentifier, &entry);
    return made;
  }();
  return *index;
}

const Entry* find(std::string_view bundleId, std::span<const std::string> aliases) {
  return entryIndex().find(bundleId, aliases).value_or(nullptr);
}

}  // namespace

std::span<const Entry> AppCatalog::entries() {
  return kEntries;
}

std::optional<AppFamily> AppCatalog::family(std::string_view bundleId,
                                            std::span<const std::string> aliases) {
  if (BrowserCatalog::isBrowser(bundleId, aliases)) return AppFamily::browser;
  if (const Entry* entry = find(bundleId, aliases)) return entry->family;
  return std::nullopt;
}

std::optional<TitleStrategy> AppCatalog::strategy(std::string_view bundleId,
                                                  std::span<const std::string> aliases) {
  if (const Entry* entry = find(bundleId, aliases)) return entry->strategy;
  return std::nullopt;
}

bool AppCatalog::isTerminal(std::string_view bundleId, std::span<const std::string> aliases) {
  return family(bundleId, aliases) == AppFamily::terminal;
}

bool AppCatalog::isNeverTracked(std::string_view bundleId, std::span<const std::string> aliases) {
  static const auto* const index = [] {
    auto* made = new AliasIndex<bool>();
    for (std::string_view id : kNeverTracked) made->add(id, true);
    return made;
  }();
  return index->find(bundleId, aliases).has_value();
}

}  // namespace velto
