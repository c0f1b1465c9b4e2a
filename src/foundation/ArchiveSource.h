#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "foundation/ArchiveNames.h"
#include "foundation/GraphDecoder.h"

namespace tunevale {

/// A keyed archive for GraphDecoder: containers are records of `$objects`, their elements references into it.
class ArchiveSource {
 public:
  ArchiveSource(const BinaryObjects& objects, DecoderMemo& memo) : objects_(objects), memo_(memo) {}

  /// Reads the archive's frame: the object number of the root (kNoObject for `$null`), or nothing.
  std::optional<std::uint64_t> start();

  bool open(std::uint64_t number, const BinaryObjects::Object& object, OpenedObject& opened);
  bool element(const unsigned char* at, std::uint64_t& number) { return follow(objects_.refAt(at), number); }
  bool key(const unsigned char* at, KeyShapes::Key& key);

 private:
  /// The values of a record's known keys, as object numbers or kNoObject.
  using Record = std::array<std::uint64_t, kArchiveKeys.size()>;
  static std::uint64_t field(const Record& record, ArchiveKey key) {
    return record[static_cast<std::size_t>(key)];
  }

  bool readRecord(const BinaryObjects::Object& object, Record& record);
  ArchiveKey keyNamed(std::uint64_t number);
  /// From a reference to the object it stands for. What is no reference stands for itself; whether it is
  /// sound shows when it is read.
  bool follow(std::uint64_t reference, std::uint64_t& number) const {
    std::uint64_t entry = 0;
    if (!objects_.readUid(reference, entry)) {
      number = reference;
      return reference < objects_.size();
    }
    if (entry >= tableCount_) return false;
    number = entry == 0 ? DecoderMemo::kNoObject : objects_.refAt(objects_.skip(table_, entry));
    return entry == 0 || number < objects_.size();
  }
  bool classOf(std::uint64_t reference, ArchiveClass& kind);
  bool elements(std::uint64_t number, std::uint64_t& count, const unsigned char*& first) const;
  bool openText(const Record& record, PlistValue& value);
  bool openData(const Record& record, PlistValue& value);
  bool textIs(std::uint64_t number, std::string_view text) const;

  const BinaryObjects& objects_;
  DecoderMemo& memo_;
  std::uint64_t tableCount_ = 0;  // `$objects`
  const unsigned char* table_ = nullptr;

  struct NamedKey {
    std::uint64_t number = DecoderMemo::kNoObject;
    ArchiveKey key = ArchiveKey::other;
  };
  std::array<NamedKey, 32> namedKeys_;  // recent key objects, by their number's low bits
};

}  // namespace tunevale
