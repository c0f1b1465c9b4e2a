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
  return std::string(static_cast<std::size_t>(n % 5 == 1 ? 150'000 + n : 10 + n),
                     static_cast<char>('a' + n % 26));
}

/// An application that does what the delegate's header asks of one whose effects must not come twice: each
/// effect, "info 3" or "file 2", is noted with where it came from, and what is given again is looked up.
class QueueApp : public SessionDelegate {
 public:
  using Note = std::function<void(const std::string& effect)>;
  QueueApp(std::vector<std::string> effects, Note note)
      : effects_(std::move(effects)), note_(std::move(note)) {}

  void sessionWillReceive(const Arrival& arrival) override { again_ = arrival.again; }
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override { effect("info", userInfo, ""); }
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override {
    effect("context", context, "");
  }
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override {
    std::ifstream file(path, std::ios::binary);
    const std::string contents{std::istreambuf_iterator<char>(file), {}};
    effect("file", metadata, contents == contentsOfFile(numberIn(metadata)) ? "" : " damaged");
  }
  void sessionDidFinishFileTransfer(std::uint64_t number, const std::optional<Error>& error) override {
    if (error && fileFailed) fileFailed(number, error->code);
  }
  void sessionDidResetQueues() override { note("reset"); }

  std::function<void(std::uint64_t number, ErrorCode code)> fileFailed;
  const std::vector<std::string>& effects() const { return effects_; }
  static std::int64_t numberIn(const PlistDictionary& body) {
    const PlistValue* value = body.find("n");
    return value != nullptr ? value->integer().value_or(-1) : -1;
  }

 private:
  void effect(const std::string& kind, const PlistDictionary& body, const char* flaw) {
    const std::string line = kind + " " + std::to_string(numberIn(body)) + flaw;
    if (again_ && std::find(effects_.begin(), effects_.end(), line) != effects_.end()) return;
    note(line);
  }
  void note(const std::string& line) {
    note_(line);
    effects_.push_back(line);
  }

  std::vector<std::string> effects_;
  const Note note_;
  bool again_ = false;
};

/// What an application should get: these, in order, and perhaps what else was tried.
struct Wanted {
  std::vector<std::int64_t> infos;
  std::vector<std::int64_t> files;
  std::int64_t lastContext = 0;
  std::set<std::string> perhaps{};
};

/// What is wrong with an application's effects; empty when nothing is.
inline std::string complaint(const std::vector<std::string>& effects, const Wanted& all) {
  std::vector<std::string> wanted[2];
  for (const std::int64_t n : all.infos) wanted[0].push_back("info " + std::to_string(n));
  for (const std::int64_t n : all.files) wanted[1].push_back("file " + std::to_string(n));
  std::vector<std::string> got[2];
  std::int64_t context = 0;
  for (const std::string& effect : effects) {
    if (effect.starts_with("context ")) {
      const std::int64_t n = std::stoll(effect.substr(8));
      if (n <= context) return effect + " after " + std::to_string(context);
      context = n;
    } else if (effect.starts_with("info ") || effect.starts_with("file ")) {
      const bool isFile = effect.starts_with("file ");
      const auto& sure = wanted[isFile ? 1 : 0];
      const bool isSure = std::find(sure.begin(), sure.end(), effect) != sure.end();
      if (isSure || !all.perhaps.contains(effect)) got[isFile ? 1 : 0].push_back(effect);
    } else {
      return effect;
    }
  }
  for (int kind = 0; kind < 2; ++kind) {
    for (std::size_t i = 0; i < std::max(wanted[kind].size(), got[kind].size()); ++i) {
      const std::string want = i < wanted[kind].size() ? wanted[kind][i] : "nothing";
      const std::string have = i < got[kind].size() ? got[kind][i] : "nothing";
      if (want != have) return have + " instead of " + want;
    }
  }
  if (context != all.lastContext && !all.perhaps.contains("context " + std::to_string(context)))
    return "context " + std::to_string(context) + " is the last";
  return "";
}

}  // namespace tunevale::link
