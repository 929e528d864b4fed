// Cost of resolving categories for reports: lookups of (bundle, host, title) triples drawn from a
// few thousand distinct ones, against the shipped seed and a realistic set of user rules.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>

#include "base/log.h"
#include "categories/category_resolver.h"

namespace velto {
namespace {

struct Triple {
  std::string bundle;
  std::optional<std::string> host;
  std::optional<std::string> title;
};

std::vector<Triple> distinctTriples(size_t count, std::mt19937& random) {
  const char* browsers[] = {"firefox", "org.mozilla.firefox", "google-chrome", "com.apple.Safari"};
  const char* apps[] = {"code",       "com.microsoft.VSCode", "slack",    "org.gnome.Terminal",
                        "spotify",    "org.telegram.desktop", "obsidian", "org.gnome.Nautilus",
                        "unknown.app"};
  const char* hosts[] = {"github.com",           "docs.github.com", "mail.google.com",
                         "docs.google.com",      "youtube.com",     "en.wikipedia.org",
                         "news.ycombinator.com", "chatgpt.com",     "a.b.c.example.org",
                         "intranet.corp.local"};
  std::vector<Triple> out;
  for (size_t i = 0; i < count; ++i) {
    Triple triple;
    const std::string number = std::to_string(i);
    if (random() % 2 == 0) {
      triple.bundle = browsers[random() % std::size(browsers)];
      triple.host = std::string("s")
                        .append(std::to_string(i % 50))
                        .append(".")
                        .append(hosts[random() % std::size(hosts)]);
      triple.title = std::string("Page title ").append(number);
    } else {
      triple.bundle = apps[random() % std::size(apps)];
      triple.title = std::string("main.cc - velto - Window ").append(number);
    }
    out.push_back(std::move(triple));
  }
  return out;
}

std::vector<CategoryRule> userRules() {
  std::vector<CategoryRule> rules;
  auto add = [&](const char* subject, std::string pattern, const char* category) {
    CategoryRule rule;
    rule.id = Uuid::random();
    rule.subjectRaw = subject;
    rule.pattern = std::move(pattern);
    rule.categoryRaw = category;
    rule.createdAt = Instant(std::chrono::sys_days(std::chrono::year(2026) / 1 / 1));
    rules.push_back(std::move(rule));
  };
  for (int i = 0; i < 10; ++i) add("keyword", "project-" + std::to_string(i), "writing");
  for (int i = 0; i < 20; ++i) add("host", "client" + std::to_string(i) + ".com", "coding");
  for (int i = 0; i < 20; ++i) add("app", "com.example.app" + std::to_string(i), "design");
  return rules;
}

void BM_ResolveCategory(benchmark::State& state) {
  log::setSinks({});
  const auto seed = std::make_shared<const CategorySeed>(CategorySeed::load(
      std::filesystem::path(VELTO_SOURCE_DIR) / "resources" / "categories.json"));
  const std::vector<CategoryRule> rules = userRules();
  const CategoryResolver resolver(rules, {}, seed);
  std::mt19937 random(7);
  const std::vector<Triple> distinct = distinctTriples(3000, random);
  size_t next = 0;
  for (auto _ : state) {
    const Triple& t = distinct[next++ % distinct.size()];
    std::optional<std::string_view> host, title;
    if (t.host) host = *t.host;
    if (t.title) title = *t.title;
    benchmark::DoNotOptimize(resolver.category(t.bundle, host, title));
  }
}
BENCHMARK(BM_ResolveCategory);

}  // namespace
}  // namespace velto

BENCHMARK_MAIN();
