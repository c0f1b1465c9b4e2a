// bench_archives make DIR: writes the charts as plain property lists, and as archives of our own.
// bench_archives measure FILE...: decodes each archive and encodes it again, beside libplist, which parses
// and writes the bare property list and does not resolve the archive. One line per figure: file, what, who,
// microseconds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <plist/plist.h>

#include "Charts.h"
#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"

using namespace tunevale;
using Clock = std::chrono::steady_clock;

namespace {

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "bench_archives: %s\n", what.c_str());
  std::exit(1);
}

void write(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(asText(bytes).data(), static_cast<std::streamsize>(bytes.size()));
  require(file.flush().good(), "cannot write " + path);
}

std::string read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  require(file.good(), "cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The contenders take turns, so that whatever else the machine does befalls them alike.
struct Contender {
  const char* what;
  const char* who;
  std::function<void()> action;
  std::vector<double> microseconds = {};
};

void race(const std::string& path, std::vector<Contender>& contenders) {
  const auto end = Clock::now() + std::chrono::seconds(4);
  for (int round = 0; round < 15 || Clock::now() < end; ++round) {
    for (Contender& contender : contenders) {
      const auto start = Clock::now();
      contender.action();
      contender.microseconds.push_back(
          std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
  }
  for (Contender& contender : contenders) {
    auto& times = contender.microseconds;
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    std::printf("%s\t%s\t%s\t%.3f\n", path.c_str(), contender.what, contender.who, times[times.size() / 2]);
  }
}

void measure(const std::string& path) {
  const std::string archive = read(path);
  const auto value = unarchiveObjectWithData(asBytes(archive));
  require(value && value->dictionary() != nullptr, "cannot decode " + path);
  const auto size = static_cast<std::uint32_t>(archive.size());
  plist_t tree = nullptr;
  plist_from_bin(archive.data(), size, &tree);
  require(tree != nullptr, "libplist cannot read " + path);

  std::vector<Contender> contenders = {
      {"decode", "tunevale",
       [&] { require(unarchiveObjectWithData(asBytes(archive)).has_value(), "cannot decode any more"); }},
      {"decode", "libplist",
       [&] {
         plist_t parsed = nullptr;
         plist_from_bin(archive.data(), size, &parsed);
         plist_free(parsed);
       }},
      {"encode", "tunevale", [&] { require(!archivedDataWithRootObject(*value).empty(), "cannot encode"); }},
      {"encode", "libplist",
       [&] {
         char* bytes = nullptr;
         std::uint32_t length = 0;
         plist_to_bin(tree, &bytes, &length);
         plist_to_bin_free(bytes);
       }},
  };
  race(path, contenders);
  plist_free(tree);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 2 ? arguments[1] : "";
  require(command == "make" || command == "measure", "usage: bench_archives make DIR | measure FILE...");
  for (int i = 2; i < count; ++i) {
    const std::string path = arguments[i];
    if (command == "measure") {
      measure(path);
      continue;
    }
    for (const int songs : {15, 1000}) {
      const PlistDictionary chart = bench::chart(songs);
      const std::string name = path + "/" + std::to_string(songs) + "-songs";
      write(name + ".plist", writePropertyList(chart));
      write(name + "-ours.archive", archivedDataWithRootObject(chart));
    }
  }
  return 0;
}
