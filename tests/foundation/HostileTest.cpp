// Inputs that are broken or made to hurt: each is refused quickly and within little memory.
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <new>
#include <numeric>

#include <gtest/gtest.h>
#include <malloc.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "foundation/RawList.h"
#include "link/FaultRow.h"

namespace {

std::size_t inUse = 0;
std::size_t peak = 0;

}  // namespace

// All forms of single objects, because a sanitizer's own would not call these; nothing here makes arrays of
// objects.
void* operator new(std::size_t size) {
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  inUse += malloc_usable_size(block);
  peak = std::max(peak, inUse);
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size);
}

void operator delete(void* block) noexcept {
  inUse -= malloc_usable_size(block);
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}

namespace tunevale {
namespace {

using namespace test;
using namespace std::string_literals;

// Sanitizers, and builds without optimisation, get more time than what ships.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
constexpr double kSlower = 20;
#elif defined(__OPTIMIZE__)
constexpr double kSlower = 1;
#else
constexpr double kSlower = 6;
#endif

/// Keeps the figures of the fault table's row.
struct FaultTable : testing::Test {
  static void TearDownTestSuite() {
    link::FaultRow("F13") << inputs << " hostile inputs refused, each within " << mostMilliseconds
                          << " ms of processor time and " << mostBytes / 1024 << " KiB";
    EXPECT_GE(inputs, 40);
  }
  static void expectRefused(const std::string& name, const Bytes& input) {
    ++inputs;
    for (const bool archive : {false, true}) {
      const std::size_t before = inUse;
      peak = inUse;
      const std::clock_t start = std::clock();
      const bool decoded = (archive ? unarchiveObjectWithData(input) : readPropertyList(input)).has_value();
      const double milliseconds = 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
      // What is wrong in an archive may still be a sound list of other objects.
      EXPECT_FALSE(decoded && (archive || !name.starts_with("archive: "))) << name;
      EXPECT_LT(milliseconds, 50 * kSlower) << name;
      EXPECT_LT(peak - before, std::size_t{16} << 20) << name;
      mostMilliseconds = std::max(mostMilliseconds, milliseconds);
      mostBytes = std::max(mostBytes, peak - before);
    }
  }
  inline static int inputs = 0;
  inline static double mostMilliseconds = 0;
  inline static std::size_t mostBytes = 0;
};

TEST_F(FaultTable, F13ListsWithABrokenFrame) {
  const std::string begun = "bplist00", zeros(32, '\0');
  const std::string broken[] = {"", "<?xml version=\"1.0\"?><plist><dict/></plist>", begun, begun + zeros,
                                std::string(1 << 20, '\0'), std::string(1000, '\xFF'),
                                begun + "\x09\x08\x08" + trailer(1, 1, 2, 0, 9),  // two objects in one byte
                                // The table in the first of the trailer's bytes, which nobody uses.
                                begun + "\x09\x08" + trailer(1, 1, 1, 0, 9).substr(1),
                                // Read as an object, the table is a text of 14 characters or an array of 14
                                // references, and past the end.
                                begun + std::string(0x5E - 8, '\0') + "\x5E" + trailer(1, 1, 1, 0, 0x5E),
                                begun + std::string(0xAE - 8, '\0') + "\xAE" + trailer(1, 8, 1, 0, 0xAE)};
  for (const std::string& raw : broken) expectRefused(raw.substr(0, 99), bytesOf(raw));
  RawList list;
  list.array({1, 1});
  list.add(text("text"));
  const auto field = [&](std::size_t at, std::size_t size, std::initializer_list<std::uint64_t> values) {
    for (const std::uint64_t value : values) {
      Bytes bytes = list.bytes();
      const std::string raw = bigEndian(value, size);
      std::copy_n(asBytes(raw).begin(), size, bytes.end() - 32 + static_cast<std::ptrdiff_t>(at));
      expectRefused("field " + std::to_string(at) + ": " + std::to_string(value), bytes);
    }
  };
  field(6, 1, {0, 9, 255});                                    // size of offsets
  field(7, 1, {0, 9, 255});                                    // of references
  field(8, 8, {0, 1000, std::uint64_t{1} << 61, UINT64_MAX});  // objects
  field(16, 8, {2, UINT64_MAX});                               // the root
  field(24, 8, {0, 8, 10'000, UINT64_MAX});                    // the table
}

TEST_F(FaultTable, F13CutShortAnywhere) {
  PlistDictionary value{{"list", PlistArray{1, 2.5, "text", "नमस्ते", Bytes(20)}},
                        {"more", PlistDictionary{{"a", true}}}};
  for (const Bytes& whole : {writePropertyList(value), archivedDataWithRootObject(value)}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      expectRefused("cut at " + std::to_string(size),
                    Bytes(whole.begin(), whole.begin() + static_cast<int>(size)));
    }
  }
}

TEST_F(FaultTable, F13BrokenObjects) {
  const auto refuse = [](const std::string& raw, std::size_t offsetSize = 2) {
    RawList list;
    list.offsetSize = offsetSize;
    list.array({1});
    list.add(raw);
    expectRefused(testing::PrintToString(raw), list.bytes());
  };
  const std::string broken[] = {"\x13",     "\x21\0\0"s, "\x0F",        "\x70",     "\xF3",   "\x5F",
                                "\x5F\x50", "\xA1\x09",  "\xD1\x09\0"s, "\xA1\x01", "\xA1\0"s};
  for (const std::string& raw : broken) refuse(raw);
  for (const char* start : {"\x15", "\x8F", "\x5F\x14"}) refuse(start + std::string(32, '\0'));
  for (const int marker : {0x40, 0x50, 0x60, 0xA0, 0xC0, 0xD0}) {
    refuse(head(marker, 1000));
    refuse(head(marker, UINT32_MAX));
    for (const std::uint64_t count : {std::uint64_t{1} << 62, std::uint64_t{1} << 63, UINT64_MAX}) {
      refuse(static_cast<char>(marker | 15) + "\x13"s + bigEndian(count, 8));
    }
  }
  // Text and pairs of two bytes each, with room for as many single ones.
  for (const int ofTwo : {0x60, 0xD0}) refuse(head(ofTwo, 6) + std::string(8, '\0'));
  refuse(std::string(300, 'x'), 1);  // an offset before the first object
}

TEST_F(FaultTable, F13CyclesBombsAndTowers) {
  RawList mutual;
  mutual.dictionary({1}, {2});
  mutual.add(text("a"));
  mutual.array({3});
  mutual.dictionary({1}, {0});
  expectRefused("through a dictionary", mutual.bytes());

  RawList bomb;
  for (std::size_t i = 1; i <= 40; ++i) bomb.array({i, i});
  bomb.add(text("ha"));
  expectRefused("bomb", bomb.bytes());

  RawList wide;  // ten levels, each eighty times the one below
  for (std::size_t i = 1; i <= 10; ++i) wide.array(std::vector<std::size_t>(80, i));
  wide.add("\x09");
  expectRefused("wide bomb", wide.bytes());

  RawList deep;
  deep.refSize = deep.offsetSize = 4;
  for (std::size_t i = 1; i <= 60000; ++i) deep.array({i});
  deep.add("\x09");
  expectRefused("60,000 levels", deep.bytes());

  PlistArray nested{1};
  for (int i = 0; i < 50; ++i) nested = PlistArray{nested, nested};
  expectRefused("archive: bomb of our own", archivedDataWithRootObject(nested));
}

TEST_F(FaultTable, F13BrokenArchives) {
  const auto refuse = [](const std::string& name, const std::function<std::uint64_t(RawArchive&)>& build) {
    RawArchive archive;
    archive.entry(text("x"));
    archive.root = build(archive);
    expectRefused("archive: " + name, archive.bytes());
  };
  refuse("array in itself", [](RawArchive& a) { return a.arrayRecord({3}); });
  refuse("around two corners", [](RawArchive& a) {
    const auto outer = a.arrayRecord({a.dictionaryRecord({1}, {6})});
    return a.entry(a.list.objects[a.entries[outer]]);
  });
  refuse("bomb", [](RawArchive& a) {
    std::uint64_t level = 1;
    for (int i = 0; i < 40; ++i) level = a.arrayRecord({level, level});
    return level;
  });
  refuse("65 levels", [](RawArchive& a) {
    std::uint64_t level = 1;
    for (int i = 0; i < 65; ++i) level = a.dictionaryRecord({1}, {level});
    return level;
  });
  refuse("root past the entries", [](RawArchive&) { return 1000; });
  refuse("element past the entries", [](RawArchive& a) { return a.arrayRecord({1000}); });
  refuse("key past the entries", [](RawArchive& a) { return a.dictionaryRecord({1000}, {1}); });
  refuse("more keys", [](RawArchive& a) { return a.dictionaryRecord({1, 1}, {1}); });
  refuse("more values", [](RawArchive& a) { return a.dictionaryRecord({1}, {1, 1}); });
  refuse("no keys", [](RawArchive& a) { return a.record("NSDictionary", {{"NS.objects", a.uids({1})}}); });
  refuse("no elements", [](RawArchive& a) { return a.record("NSArray", {}); });
  const auto refuseField = [&](const std::string& name, const std::string& field, const std::string& raw) {
    refuse(name, [&](RawArchive& a) { return a.record(name, {{field, a.list.add(raw)}}); });
  };
  refuseField("NSArray", "NS.objects", text("x"));
  refuseField("NSString", "NS.string", number(1));
  refuseField("NSData", "NS.data", text("x"));
  refuse("no data", [](RawArchive& a) { return a.record("NSMutableData", {}); });
  const auto ofClass = [](RawArchive& a, std::uint64_t classRecord) {
    return a.entry(a.list.dictionaryObject({a.list.add(text("$class"))}, {a.list.add(uid(classRecord))}));
  };
  refuse("class past the entries", [&](RawArchive& a) { return ofClass(a, 1000); });
  refuse("class null", [&](RawArchive& a) { return ofClass(a, 0); });
  refuse("class no record", [&](RawArchive& a) { return ofClass(a, 1); });
  refuse("class without a name",
         [&](RawArchive& a) { return ofClass(a, a.entry(a.list.dictionaryObject({}, {}))); });
}

/// Many objects whose contents are one and the same stretch of bytes: work must follow the input's size, not
/// the product.
TEST_F(FaultTable, F13ObjectsThatOverlap) {
  std::vector<std::size_t> all(30'000);
  std::iota(all.begin(), all.end(), 1);
  for (const auto& [marker, unit] : {std::pair(0x40, 1U), {0x50, 1U}, {0x60, 2U}, {0xA0, 2U}, {0xD0, 4U}}) {
    RawList list;
    list.refSize = 2;
    list.offsetSize = 4;
    list.array(all);
    for (std::size_t i = 0; i < all.size(); ++i) list.add(head(marker, 390'000 / unit));
    list.add(std::string(400'000, '\0'));
    expectRefused("overlapping", list.bytes());
  }

  RawArchive archive;  // 4,000 records that name the same 4,000 keys and values
  archive.entry(text("x"));
  const std::size_t shared = archive.uids(RawArchive::Uids(4000, 1));
  const auto record = archive.record("NSDictionary", {{"NS.keys", shared}, {"NS.objects", shared}});
  const std::string raw = archive.list.objects[archive.entries[record]];
  RawArchive::Uids records;
  for (int i = 0; i < 4000; ++i) records.push_back(archive.entry(raw));
  archive.root = archive.arrayRecord(records);
  expectRefused("archive: one list for many records", archive.bytes());
}

}  // namespace
}  // namespace tunevale
