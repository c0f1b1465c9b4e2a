#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// The fixed words of keyed archives, as NSKeyedArchiver writes them; for foundation's own coders.
namespace tunevale {

inline constexpr std::int64_t kArchiveVersion = 100000;
inline constexpr std::string_view kArchiver = "NSKeyedArchiver";
inline constexpr std::string_view kNullName = "$null";

/// Keys of the archive itself, of object records and of class records.
enum class ArchiveKey : std::uint8_t {
  archiver,
  version,
  top,
  objects,
  root,
  recordClass,
  className,
  classes,
  keys,
  values,
  string,
  bytes,
  data,
  other
};

inline constexpr std::array<std::string_view, 13> kArchiveKeys = {
    "$archiver", "$version", "$top",       "$objects",  "root",     "$class", "$classname",
    "$classes",  "NS.keys",  "NS.objects", "NS.string", "NS.bytes", "NS.data"};

/// What is made of an object of a class; everything that is not listed here becomes null.
enum class ArchiveClass : std::uint8_t { unknown, dictionary, array, string, data, null, other };

struct ArchiveClassName {
  std::string_view name;
  ArchiveClass kind;
};

inline constexpr std::array<ArchiveClassName, 9> kArchiveClasses = {{
    {"NSDictionary", ArchiveClass::dictionary},
    {"NSMutableDictionary", ArchiveClass::dictionary},
    {"NSArray", ArchiveClass::array},
    {"NSMutableArray", ArchiveClass::array},
    {"NSString", ArchiveClass::string},
    {"NSMutableString", ArchiveClass::string},
    {"NSData", ArchiveClass::data},
    {"NSMutableData", ArchiveClass::data},
    {"NSNull", ArchiveClass::null},
}};

}  // namespace tunevale
