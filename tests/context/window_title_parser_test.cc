#include "context/window_title_parser.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace velto {
namespace {

using Extract = std::optional<std::string> (*)(std::string_view, std::string_view);
using P = WindowTitleParser;

std::string repeat(std::string_view unit, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += unit;
  return out;
}

TEST(WindowTitleParserTest, ExtractionsOnRealTitles) {
  struct Case {
    const char* what;
    Extract extract;
    const char* title;
    const char* appName;
    std::optional<std::string> expected;
  };
  const Case cases[] = {
      // Editors: unsaved markers, the app's own name, project at either end.
      {"unsaved, trailing", P::trailing, "\u25CF index.ts \u2014 velto", "Code", "velto"},
      {"own name dropped", P::trailing, "index.ts \u2014 velto \u2014 Visual Studio Code",
       "Visual Studio Code", "velto"},
      {"leading", P::leading, "Planner \u2014 index.ts", "Xcode", "Planner"},
      {"en dash", P::leading, "velto \u2013 src/main.cpp", "IntelliJ IDEA", "velto"},
      {"star marker", P::leading, "*  notes.txt - gedit", "gedit", "notes.txt"},
      {"bullet marker then blanks", P::trailing, "\u2022\t draft \u2022 Pages", "Pages", "draft"},
      {"only one marker goes", P::leading, "** notes", "Kate", "* notes"},
      {"marker inside stays", P::leading, "a*b", "Kate", "a*b"},
      {"whitespace folded", P::leading, "  my \n\n report\t - Writer ", "LibreOffice Writer",
       "my report"},
      {"hyphen inside a word", P::leading, "state-of-the-art - Okular", "Okular",
       "state-of-the-art"},
      {"untitled editor", P::trailing, "\u25CF Untitled-1 \u2014 Visual Studio Code",
       "Visual Studio Code", std::nullopt},
      {"app suffix dropped", P::leading, "Inbox - Mozilla Thunderbird", "Thunderbird", "Inbox"},
      {"part is suffix of app name", P::trailing, "velto \u2014 Code", "Visual Studio Code",
       "velto"},
      {"short app name needs equality", P::window, "test - st", "st", "test"},
      {"short part needs equality", P::window, "Go | GoLand", "GoLand", "Go"},
      {"nothing but the app", P::chat, "Slack", "Slack", std::nullopt},
      {"empty", P::leading, "   ", "Code", std::nullopt},
      // Chat: unread counts and parenthesised workspaces.
      {"unread count removed", P::chat, "(3) Discord | #general | Velto Devs", "Discord",
       "Velto Devs"},
      {"parenthesised workspace", P::chat, "Chat | Jane Doe (Acme) | Microsoft Teams",
       "Microsoft Teams", "Acme"},
      {"numeric group skipped", P::chat, "Team Chat (1234) - Element", "Element",
       "Team Chat (1234)"},
      {"generic group falls back", P::chat, "Inbox (Home) - Element", "Element", "Inbox (Home)"},
      {"unread only", P::chat, "(12) Telegram", "Telegram", std::nullopt},
      {"count later is no unread marker", P::chat, "general (2) | Slack", "Slack", "general (2)"},
      // Unknown apps: the first part, never junk.
      {"window", P::window, "Budget 2026.ods - LibreOffice Calc", "Calc", "Budget 2026.ods"},
      {"size-like title", P::window, "1920 \u00D7 1080", "Image Viewer", std::nullopt},
      {"version title", P::window, "2.4.1", "Installer", std::nullopt},
      {"new tab", P::window, "New Tab", "Some Browser", std::nullopt},
      // Non-ASCII titles.
      {"turkish", P::leading, "Çalışma Planı — Belgeler", "Belgeler", "Çalışma Planı"},
      {"japanese", P::trailing, "メモ.txt — プロジェクト", "エディタ", "プロジェクト"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.extract(c.title, c.appName), c.expected) << c.title;
  }
}

TEST(WindowTitleParserTest, TerminalTitles) {
  struct Case {
    std::string title;
    std::optional<std::string> project;
    std::optional<std::string> tool;
  };
  const Case cases[] = {
      {"jane@laptop: ~/code/velto \u2014 vim", "velto", "vim"},
      {"jane@laptop:~/code/shop", "shop", std::nullopt},
      {"~/code/velto/ \u2014 -zsh", "velto", std::nullopt},
      {"vim \u2014 /etc/nginx/", "nginx", "vim"},
      {"npm run dev \u2014 shop \u2014 120\u00D740", std::nullopt, "npm run dev"},
      {"nvim main.cpp", std::nullopt, "nvim main.cpp"},
      {"htop - Konsole", std::nullopt, "htop"},
      {"bash", std::nullopt, std::nullopt},
      {"tmux | zellij | login", std::nullopt, std::nullopt},
      {"/", std::nullopt, std::nullopt},
      {"jane@laptop: ~", std::nullopt, std::nullopt},
      {"root@box:/ \u2014 top", std::nullopt, "top"},
      {"~/src/app/ \u2014 ~/src/lib", "app", std::nullopt},
      {"~/src/a \u2014 make", std::nullopt, "make"},
      {"", std::nullopt, std::nullopt},
      {"~/" + repeat("x", 60), repeat("x", 48) + "\u2026", std::nullopt},
      {"python3 " + repeat("y", 60), std::nullopt, "python3 " + repeat("y", 40) + "\u2026"},
      {"~/Masaüstü/çizim \u2014 nano", "çizim", "nano"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.title);
    const TerminalTitle parsed = P::terminal(c.title, "Konsole");
    EXPECT_EQ(parsed.project, c.project);
    EXPECT_EQ(parsed.tool, c.tool);
  }
}

TEST(WindowTitleParserTest, GenericValues) {
  for (const char* junk :
       {"",          " ",          "a",
        "~",         "é",          "e\u0301",
        "Untitled",  "untitled-3", "Untitled Document 2",
        " New Tab ", "NEW WINDOW", "no name",
        "Default",   "home",       "1920 \u00D7 1080",
        "1920x1080", "800 X 600",  "2.4.1",
        "42",        "...",        "\u0661\u0669\u0662\u0660\u00D7\u0661\u0660\u0668\u0660"}) {
    EXPECT_TRUE(P::isGeneric(junk)) << junk;
  }
  for (const char* kept : {"Go", "ab", "v2.4.1", "1920 \u00D7 1080 wallpaper", "home page",
                           "new tabs", "x86", "\u0661\u0669\u0662", "~/code", "🇹🇷🇩🇪"}) {
    EXPECT_FALSE(P::isGeneric(kept)) << kept;
  }
}

TEST(WindowTitleParserTest, CleaningCountsCharacters) {
  const std::string ellipsis = "\u2026";
  struct Case {
    const char* what;
    std::string value;
    std::string expected;
  };
  const Case cases[] = {
      {"48 kept", repeat("a", 48), repeat("a", 48)},
      {"49 cut", repeat("a", 49), repeat("a", 48) + ellipsis},
      {"blank at 30", repeat("a", 30) + " " + repeat("b", 29), repeat("a", 30) + ellipsis},
      {"blank at 25", repeat("a", 25) + " " + repeat("b", 34), repeat("a", 25) + ellipsis},
      {"blank at 24 ignored", repeat("a", 24) + " " + repeat("b", 35),
       repeat("a", 24) + " " + repeat("b", 23) + ellipsis},
      {"blank after the cut ignored", repeat("a", 48) + " b", repeat("a", 48) + ellipsis},
      {"trailing blanks trimmed", repeat("a", 30) + "  " + repeat("b", 30),
       repeat("a", 30) + ellipsis},
      {"two-byte letters", repeat("ş", 60), repeat("ş", 48) + ellipsis},
      {"combining accents", repeat("e\u0301", 50), repeat("e\u0301", 48) + ellipsis},
      {"flags", repeat("🇹🇷", 49), repeat("🇹🇷", 48) + ellipsis},
      {"ellipsis is one character", repeat("\u2026", 48), repeat("\u2026", 48)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(P::clean(c.value), c.expected);
  }
}

TEST(WindowTitleParserTest, SplitsOnEverySeparatorInOrder) {
  EXPECT_EQ(P::parts("a1 \u2014 b2 \u2013 c3 - d4 | e5 \u00B7 f6 \u2022 g7", "Z"),
            (std::vector<std::string>{"a1", "b2", "c3", "d4", "e5", "f6", "g7"}));
  // Separators need their blanks: these are single parts.
  EXPECT_EQ(P::parts("a-b|c\u2014d", "Z"), (std::vector<std::string>{"a-b|c\u2014d"}));
  // Ill-formed UTF-8 never escapes as such.
  EXPECT_EQ(P::prepare("ab\xff\xfe"), "ab\uFFFD\uFFFD");
}

}  // namespace
}  // namespace velto
