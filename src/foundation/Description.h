#pragma once

#include <string>
#include <string_view>

#include "foundation/PlistValue.h"

namespace tunevale {

/// A value as a person reads it in a log line: `{request = success; level = 7; }`, bytes as their length and
/// first bytes, "(null)" for nothing, "<null>" for the null value. One line always (control characters are
/// escaped) and at most 4 KiB, so no payload can forge or flood a log. Any thread.
std::string description(const PlistValue* value);
std::string description(const PlistValue& value);
std::string description(const PlistDictionary& value);
/// A text from outside, made safe for one log line in the same way.
std::string description(std::string_view text);
std::string description(const std::string& text);
std::string description(const char* text);

}  // namespace tunevale
