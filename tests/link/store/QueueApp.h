#pragma once

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "link/SessionDelegate.h"

namespace tunevale::link {

/// What file `n` holds: one in five takes several chunks.
inline std::string contentsOfFile(std::int64_t n) {
  return std::string(static_cast<std::size_t>(n % 5 == 1 ? 150'000 + n : n * 7919 % 9000),
                     static_cast<char>('a' + n % 26));
}

/// An application that does what the delegate's header asks of one whose effects must not come twice: each
/// effect, "info 3" or "file 2", is noted with where it came from, and what is given again is looked up.
struct QueueApp : SessionDelegate {
  /// Hears of each effect before it counts.
  using Note = std::function<void(const std::string& effect)>;
  explicit QueueApp(Note note = {}, std::vector<std::string> before = {})
      : effects(std::move(before)), note_(std::move(note)) {}

  void sessionWillReceive(const Arrival& arrival) override { again_ = arrival.again; }
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override { take("info", userInfo); }
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override {
    take("context", context);
  }
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override {
    std::ifstream file(path, std::ios::binary);
    const std::string contents{std::istreambuf_iterator<char>(file), {}};
    take(contents == contentsOfFile(numberIn(metadata)) ? "file" : "damaged file", metadata);
  }
  void sessionDidResetQueues() override { note("reset"); }

  static std::int64_t numberIn(const PlistDictionary& body) {
    const PlistValue* value = body.find("n");
    return value != nullptr ? value->integer().value_or(-1) : -1;
  }
  std::vector<std::string> effects;

 private:
  void take(const std::string& kind, const PlistDictionary& body) {
    const std::string effect = kind + " " + std::to_string(numberIn(body));
    if (!again_ || std::find(effects.begin(), effects.end(), effect) == effects.end()) note(effect);
  }
  void note(const std::string& effect) {
    if (note_) note_(effect);
    effects.push_back(effect);
  }
  const Note note_;
  bool again_ = false;
};

/// What an application should get: these, in order, and perhaps what else was tried.
struct Wanted {
  std::vector<std::int64_t> infos{};
  std::vector<std::int64_t> files{};
  std::int64_t lastContext = 0;
  std::set<std::string> perhaps{};
};

/// What is wrong with an application's effects; empty when nothing is.
inline std::string complaint(const std::vector<std::string>& effects, const Wanted& all) {
  std::vector<std::string> wanted, got, others;
  for (const std::int64_t n : all.infos) wanted.push_back("info " + std::to_string(n));
  for (const std::int64_t n : all.files) wanted.push_back("file " + std::to_string(n));
  std::int64_t context = 0;
  for (const std::string& effect : effects) {
    if (effect.starts_with("context ")) {
      const std::int64_t n = std::stoll(effect.substr(8));
      if (n <= context) return effect + " after " + std::to_string(context);
      context = n;
    } else if (!all.perhaps.contains(effect)) {
      (effect.starts_with("info ") ? got : others).push_back(effect);
    }
  }
  got.insert(got.end(), others.begin(), others.end());
  const auto [have, want] = std::mismatch(got.begin(), got.end(), wanted.begin(), wanted.end());
  if (have != got.end() || want != wanted.end())
    return (have != got.end() ? *have : "nothing") + " instead of " +
           (want != wanted.end() ? *want : "nothing");
  const std::string last = "context " + std::to_string(context);
  return context == all.lastContext || all.perhaps.contains(last) ? "" : last + " is the last";
}

}  // namespace tunevale::link
