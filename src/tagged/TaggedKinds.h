#pragma once

#include <string_view>

// The fixed words and limits of tagged JSON; for both directions.
namespace tunevale {

inline constexpr std::string_view kNull = "null";
inline constexpr std::string_view kBool = "bool";
inline constexpr std::string_view kInt = "int";
inline constexpr std::string_view kReal = "real";
inline constexpr std::string_view kStr = "str";
inline constexpr std::string_view kData = "data";
inline constexpr std::string_view kArr = "arr";
inline constexpr std::string_view kDict = "dict";

inline constexpr std::string_view kNan = "nan";
inline constexpr std::string_view kInfinity = "inf";
inline constexpr std::string_view kMinusInfinity = "-inf";

/// As deep as archives and property lists go, so that what is said in JSON can be written as one of them.
inline constexpr int kMostContainers = 64;

}  // namespace tunevale
