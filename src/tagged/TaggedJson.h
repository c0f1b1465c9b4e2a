#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "foundation/PlistValue.h"

namespace tunevale {

/// Values as JSON in which nothing is lost, each tagged with its kind: `{"t":"null"}`,
/// `{"t":"bool","v":true}`,
/// `{"t":"int","v":"-42"}`, `{"t":"real","v":"0.5"}` (the shortest text that reads back exactly; "nan",
/// "inf",
/// "-inf"), `{"t":"str","v":"…"}`, `{"t":"data","v":"base64"}`, `{"t":"arr","v":[…]}`,
/// `{"t":"dict","v":{…}}`. Any thread.

/// What is nested deeper than 64 containers, which no decoder of ours makes, becomes a null.
boost::json::value toTaggedJson(const PlistValue& value);
/// One line, no spaces, dictionary keys in the order of their bytes.
std::string toTaggedJsonText(const PlistValue& value);

/// Strict: exactly the members above, numbers as texts, padded base 64, at most 64 containers deep. Nothing
/// otherwise, and the error says in one line where and what, as in `["list"][3]: not base 64`.
std::optional<PlistValue> fromTaggedJson(const boost::json::value& json, std::string& error);
/// The same from JSON text (RFC 8259, UTF-8).
std::optional<PlistValue> fromTaggedJsonText(std::string_view text, std::string& error);

}  // namespace tunevale
