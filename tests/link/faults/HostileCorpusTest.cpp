// Inputs made to hurt, each given to its reader in a process of its own, so that all of its cost is seen.
#include <ctime>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "foundation/RawList.h"
#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"
#include "host/PngAssembly.h"
#include "link/FaultRow.h"
#include "link/FrameReader.h"
#include "link/FrameWriter.h"
#include "link/LinkLimits.h"
#include "support/Pictures.h"

namespace tunevale::link {
namespace {

using namespace test;

constexpr double kSlower = kSanitized ? 8 : 1;

enum class Reader { list, archive, frame, image };

/// Whether a reader makes anything of the input.
bool takes(Reader reader, const Bytes& input) {
  switch (reader) {
    case Reader::list:
      return readPropertyList(input).has_value();
    case Reader::archive:
      return unarchiveObjectWithData(input).has_value();
    case Reader::image:
      return host::ImageCodecs().imageWithData(input) != nullptr;
    case Reader::frame:
      break;
  }
  FrameReader frames(kMostFrameBody);
  frames.append(input);
  const auto frame = frames.next();
  return frame && readBody(frame->body);
}

struct Cost {
  bool taken = true;
  double milliseconds = 0;
  long kilobytes = 0;
};

Cost costOf(Reader reader, const Bytes& input) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const long before = usage.ru_maxrss;
    const std::clock_t start = std::clock();
    Cost cost;
    cost.taken = takes(reader, input);
    cost.milliseconds = 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    getrusage(RUSAGE_SELF, &usage);
    cost.kilobytes = usage.ru_maxrss - before;
    _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
  }
  close(ends[1]);
  Cost cost;
  const bool told = read(ends[0], &cost, sizeof cost) == sizeof cost;
  close(ends[0]);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_TRUE(told && status == 0) << "the reader died";
  return cost;
}

Bytes bytesOfText(const std::string& from) {
  const ByteView view = asBytes(from);
  return {view.begin(), view.end()};
}

struct Hostile {
  std::string name;
  Reader reader;
  Bytes input;
};

std::vector<Hostile> lists() {
  std::vector<Hostile> corpus;
  const auto list = [&](const std::string& name, const RawList& raw) {
    corpus.push_back({"list: " + name, Reader::list, raw.bytes()});
  };
  const auto object = [&](const std::string& name, const std::string& raw) {
    RawList around;
    around.array({1});
    around.add(raw);
    list(name, around);
  };
  RawList doubling;
  for (std::size_t i = 1; i <= 40; ++i) doubling.array({i, i});
  doubling.add(text("ha"));
  list("doubles forty times", doubling);
  RawList wide;
  for (std::size_t i = 1; i <= 10; ++i) wide.add(wide.arrayObject(std::vector<std::size_t>(80, i)));
  wide.add("\x09");
  list("eighty times ten times", wide);
  RawList keyed;
  for (std::size_t i = 0; i < 30; ++i) keyed.dictionary({31, 32}, {i + 1, i + 1});
  keyed.add("\x09");
  keyed.add(text("a"));
  keyed.add(text("b"));
  list("doubles in dictionaries", keyed);
  RawList deep;
  deep.refSize = 4;
  deep.offsetSize = 4;
  for (std::size_t i = 1; i <= 60'000; ++i) deep.array({i});
  deep.add("\x09");
  list("60,000 levels", deep);
  RawList around;
  around.array({1});
  around.array({0});
  list("a circle", around);
  object("itself", "\xA1\x01");
  object("text of 2^64-1", "\x5F\x13" + bigEndian(UINT64_MAX, 8));
  object("UTF-16 of 2^63", "\x6F\x13" + bigEndian(std::uint64_t{1} << 63, 8));
  object("data of 2^32-1", head(0x40, UINT32_MAX));
  object("array of 2^62", "\xAF\x13" + bigEndian(std::uint64_t{1} << 62, 8));
  object("dictionary of 2^63", "\xDF\x13" + bigEndian(std::uint64_t{1} << 63, 8));
  object("set of 2^61", "\xCF\x13" + bigEndian(std::uint64_t{1} << 61, 8));
  object("element past the objects", "\xA1\x09");
  RawList small;
  small.array({1});
  small.add(text("x"));
  for (const auto& [name, at, value] : {std::tuple("2^64-1 objects", 8, UINT64_MAX),
                                        {"2^61 objects", 8, std::uint64_t{1} << 61},
                                        {"top past the end", 16, UINT64_MAX},
                                        {"table past the end", 24, UINT64_MAX},
                                        {"table in the head", 24, 1}}) {
    Bytes bytes = small.bytes();
    const std::string raw = bigEndian(value, 8);
    std::copy_n(asBytes(raw).begin(), 8, bytes.end() - 32 + at);
    corpus.push_back({std::string("list: ") + name, Reader::list, bytes});
  }
  corpus.push_back({"list: a mebibyte of zeros", Reader::list, Bytes(1 << 20)});
  corpus.push_back({"list: XML", Reader::list, bytesOfText("<?xml version=\"1.0\"?><plist><dict/></plist>")});
  return corpus;
}

std::vector<Hostile> archives() {
  std::vector<Hostile> corpus;
  const auto archive = [&](const std::string& name, const std::function<std::uint64_t(RawArchive&)>& build) {
    RawArchive raw;
    raw.entry(text("x"));
    raw.root = build(raw);
    corpus.push_back({"archive: " + name, Reader::archive, raw.bytes()});
  };
  archive("root past the entries", [](RawArchive&) { return 1000; });
  archive("in itself", [](RawArchive& a) { return a.arrayRecord({a.entries.size() + 2}); });
  archive("more keys than values", [](RawArchive& a) { return a.dictionaryRecord({1, 1}, {1}); });
  archive("class past the entries", [](RawArchive& a) {
    return a.entry(a.list.dictionaryObject({a.list.add(text("$class"))}, {a.list.add(uid(1000))}));
  });
  archive("doubles forty times", [](RawArchive& a) {
    std::uint64_t level = 1;
    for (int i = 0; i < 40; ++i) level = a.arrayRecord({level, level});
    return level;
  });
  archive("65 levels", [](RawArchive& a) {
    std::uint64_t level = 1;
    for (int i = 0; i < 65; ++i) level = a.dictionaryRecord({1}, {level});
    return level;
  });
  archive("text that is none", [](RawArchive& a) {
    return a.record("NSString", {{"NS.string", a.list.add(number(1))}});
  });
  return corpus;
}

std::vector<Hostile> frames() {
  const auto frame = [](const std::string& name, std::uint32_t length, std::size_t body, int reserved = 0) {
    Bytes bytes = bytesOfText(bigEndian(length, 4) + "\x10\x01" +
                              bigEndian(static_cast<std::uint64_t>(reserved), 2) + bigEndian(1, 8));
    bytes.resize(bytes.size() + body, std::byte{0xA1});
    return Hostile{"frame: " + name, Reader::frame, bytes};
  };
  return {frame("of 4 GiB", UINT32_MAX, 100),
          frame("one byte too large", kMostFrameBody + 1, 100),
          frame("announced and not there", kMostFrameBody, 10),
          frame("not zero where it must be", 0, 0, 1),
          frame("the largest, full of nothing", kMostFrameBody, kMostFrameBody),
          frame("a body that is no list", 500, 500)};
}

std::vector<Hostile> images() {
  const auto png = [](const std::string& name, std::uint32_t width, std::uint32_t height, std::size_t zeros) {
    return Hostile{
        "image: PNG " + name, Reader::image,
        assemblePng(
            {{"IHDR", pngHeader(width, height, 8, 0)}, {"IDAT", deflated(Bytes(zeros))}, {"IEND", {}}})};
  };
  std::vector<Hostile> corpus = {
      png("one pixel too wide", 2049, 1, 2050), png("of 2^31-1 a side", 0x7FFFFFFF, 0x7FFFFFFF, 100),
      png("of 30,000 a side", 30'000, 30'000, 1 << 20), png("of no height", 5, 0, 100)};
  Bytes jpeg = jpegPicture(16, 16);
  const std::size_t at = asText(jpeg).find("\xFF\xC0") + 5;
  for (const int side : {2049, 0xFFFF}) {
    const Bytes size = bytesOf({side >> 8, side & 0xFF, side >> 8, side & 0xFF});
    std::copy(size.begin(), size.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at));
    corpus.push_back({"image: JPEG of " + std::to_string(side), Reader::image, jpeg});
  }
  const Bytes progressive = jpegPicture(64, 64, 1, 80, true);
  const std::string whole(asText(progressive));
  const std::size_t scan = whole.rfind("\xFF\xDA"), end = whole.rfind("\xFF\xD9");
  std::string many = whole.substr(0, end);
  for (int i = 0; i < 1000; ++i) many += whole.substr(scan, end - scan);
  corpus.push_back({"image: JPEG of 1,000 scans", Reader::image, bytesOfText(many + whole.substr(end))});
  Bytes large = pngPicture(4, 4);
  large.resize(host::kMostImageBytes + 1);
  corpus.push_back({"image: a byte too large", Reader::image, large});
  corpus.push_back({"image: GIF", Reader::image, bytesOfText("GIF89a" + std::string(1000, '\1'))});
  corpus.push_back({"image: SVG", Reader::image, bytesOfText("<svg xmlns=\"http://www.w3.org/2000/svg\"/>")});
  return corpus;
}

TEST(FaultTable, F13TheHostileCorpusIsRefusedAtLittleCost) {
  std::vector<Hostile> corpus;
  for (const auto& part : {lists(), archives(), frames(), images()})
    corpus.insert(corpus.end(), part.begin(), part.end());
  Cost most{false, 0, 0};
  for (const Hostile& one : corpus) {
    const Cost cost = costOf(one.reader, one.input);
    EXPECT_FALSE(cost.taken) << one.name;
    EXPECT_LT(cost.milliseconds, 50 * kSlower) << one.name;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(__clang__)
    EXPECT_LT(cost.kilobytes, 16 * 1024) << one.name;
#endif
    most.milliseconds = std::max(most.milliseconds, cost.milliseconds);
    most.kilobytes = std::max(most.kilobytes, cost.kilobytes);
  }
  EXPECT_GE(corpus.size(), 40U);
  FaultRow("F13") << corpus.size() << " hostile inputs refused, each within " << most.milliseconds
                  << " ms of processor time and " << most.kilobytes << " KiB";
}

}  // namespace
}  // namespace tunevale::link
