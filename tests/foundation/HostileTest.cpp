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
  for (const std::string& none : {""s, "<?xml version=\"1.0\"?><plist><dict/></plist>"s, "bplist00"s,
                                  "bplist00" + std::string(32, '\0')}) {
    expectRefused("no list: " + none, bytesOf(none));
  }
  expectRefused("zeros", Bytes(1 << 20));
  expectRefused("ones", Bytes(1000, std::byte{0xFF}));
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

TEST_F(FaultTable, F13MoreObjectsThanBytes) {
  expectRefused("two in one byte", bytesOf("bplist00\x09\x08\x08" + std::string(6, '\0') + "\x01\x01" +
                                           bigEndian(2, 8) + bigEndian(0, 8) + bigEndian(9, 8)));
}

// Read as an object, the table is a text of 14 characters or an array of 14 references, and past the end.
TEST_F(FaultTable, F13AnObjectThatStartsAtTheTable) {
  for (const auto& [table, refSize] : {std::pair(0x5E, 1), {0xAE, 8}}) {
    const auto at = static_cast<std::uint64_t>(table);
    expectRefused("at its table", bytesOf("bplist00" + std::string(at - 8, '\0') + bigEndian(at, 1) +
                                          std::string(6, '\0') + "\x01" + static_cast<char>(refSize) +
                                          bigEndian(1, 8) + bigEndian(0, 8) + bigEndian(at, 8)));
  }
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
  const std::string huge = bigEndian(std::uint64_t{1} << 62, 8);
  const std::string half = bigEndian(std::uint64_t{1} << 63, 8), zeros(32, '\0');
  for (const std::string& raw : {"\x15" + zeros,
                                 "\x13"s,
                                 "\x21\0\0"s,
                                 "\x0F"s,
                                 "\x70"s,
                                 "\xF3"s,
                                 "\x8F" + zeros,
                                 "\x5F"s,
                                 "\x5F\x50"s,
                                 "\x5F\x14" + zeros,
                                 "\x5F\x13" + bigEndian(UINT64_MAX, 8),
                                 "\x6F\x13" + half,
                                 head(0x50, 1000),
                                 head(0x40, UINT32_MAX),
                                 head(0xA0, UINT32_MAX),
                                 "\xAF\x13" + huge,
                                 "\xDF\x13" + half,
                                 "\xCF\x13" + huge,
                                 "\xA1\x09"s,
                                 "\xD1\x09\0"s,
                                 "\xA1\x01"s,
                                 "\xA1\0"s}) {
    RawList list;
    list.array({1});
    list.add(raw);
    expectRefused(testing::PrintToString(raw), list.bytes());
  }
  RawList offsets;
  offsets.array({1});
  offsets.offsetSize = 1;
  offsets.add(std::string(300, 'x'));
  expectRefused("object before the first", offsets.bytes());
}

TEST_F(FaultTable, F13Cycles) {
  RawList mutual;
  mutual.dictionary({1}, {2});
  mutual.add(text("a"));
  mutual.array({3});
  mutual.dictionary({1}, {0});
  expectRefused("through a dictionary", mutual.bytes());

  RawArchive self;
  self.root = self.arrayRecord({2});
  expectRefused("archive: array in itself", self.bytes());

  RawArchive around;
  const auto key = around.entry(text("k"));
  const auto inner = around.dictionaryRecord({key}, {6});
  around.root = around.arrayRecord({inner});
  around.entry(around.list.objects[around.entries[around.root]]);
  around.root = 6;
  expectRefused("archive: around two corners", around.bytes());
}

TEST_F(FaultTable, F13DoubledAtEachLevel) {
  RawList bomb;
  for (std::size_t i = 1; i <= 40; ++i) bomb.array({i, i});
  bomb.add(text("ha"));
  EXPECT_LT(bomb.bytes().size(), 262U);
  expectRefused("bomb", bomb.bytes());

  RawList wide;  // ten levels, each eighty times the one below
  for (std::size_t i = 1; i <= 10; ++i) wide.array(std::vector<std::size_t>(80, i));
  wide.add("\x09");
  expectRefused("wide bomb", wide.bytes());

  RawArchive archive;
  auto level = archive.entry(text("ha"));
  for (int i = 0; i < 40; ++i) level = archive.arrayRecord({level, level});
  archive.root = level;
  expectRefused("archive: bomb", archive.bytes());
  expectRefused("archive: bomb of our own", [] {
    PlistArray nested{1};
    for (int i = 0; i < 50; ++i) nested = PlistArray{nested, nested};
    return archivedDataWithRootObject(nested);
  }());
}

TEST_F(FaultTable, F13NestedTooDeep) {
  RawList deep;
  deep.refSize = 4;
  deep.offsetSize = 4;
  for (std::size_t i = 1; i <= 60000; ++i) deep.array({i});
  deep.add("\x09");
  expectRefused("60,000 levels", deep.bytes());

  RawArchive archive;
  auto level = archive.entry(text("x"));
  for (int i = 0; i < 65; ++i) level = archive.dictionaryRecord({1}, {level});
  archive.root = level;
  expectRefused("archive: 65 levels", archive.bytes());
}

TEST_F(FaultTable, F13BrokenRecords) {
  const auto refuse = [](const std::string& name, const std::function<std::uint64_t(RawArchive&)>& build) {
    RawArchive archive;
    archive.entry(text("x"));
    archive.root = build(archive);
    expectRefused("archive: " + name, archive.bytes());
  };
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
  for (const auto& [marker, count] : {std::pair("\x5F\x12"s, 390'000U),
                                      {"\x6F\x12"s, 190'000U},
                                      {"\x4F\x12"s, 390'000U},
                                      {"\xAF\x12"s, 190'000U},
                                      {"\xDF\x12"s, 90'000U}}) {
    RawList list;
    list.refSize = 2;
    list.offsetSize = 4;
    list.array(all);
    for (std::size_t i = 0; i < all.size(); ++i) list.add(marker + bigEndian(count, 4));
    list.add(std::string(400'000, '\0'));
    expectRefused("overlapping", list.bytes());
  }

  RawArchive archive;  // 4,000 records that name the same 4,000 keys and values
  const std::vector<std::uint64_t> many(4000, 1);
  archive.entry(text("x"));
  const std::size_t list = archive.uids(many);
  const std::size_t keys = archive.list.add(text("NS.keys"));
  const std::size_t values = archive.list.add(text("NS.objects"));
  const std::size_t className = archive.list.add(text("$class"));
  const std::size_t classUid = archive.list.add(uid(archive.classRecord("NSDictionary")));
  std::vector<std::uint64_t> records;
  for (int i = 0; i < 4000; ++i) {
    records.push_back(
        archive.entry(archive.list.dictionaryObject({className, keys, values}, {classUid, list, list})));
  }
  archive.root = archive.arrayRecord(records);
  expectRefused("archive: one list for many records", archive.bytes());
}

}  // namespace
}  // namespace tunevale
