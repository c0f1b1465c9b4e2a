#include "foundation/Description.h"

#include <algorithm>
#include <charconv>

#include "foundation/Utf.h"

namespace tunevale {
namespace {

constexpr std::size_t kMostBytes = 4096;  // a log line that a person still scrolls through
constexpr int kMostDepth = 64;
constexpr std::string_view kCut = "…";

/// Characters that would end the line, move the cursor or reorder what follows.
bool isUnsafe(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0x200E || c == 0x200F ||
         c == 0x061C || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

bool isPlainWord(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '-' || c == ':' || c == '/';
  });
}

class Line {
 public:
  bool full() const { return full_; }
  std::string take() { return std::move(out_); }

  /// All of a piece or, when it does not fit any more, the mark that something was cut.
  void put(std::string_view piece) {
    if (full_) return;
    if (out_.size() + piece.size() + kCut.size() > kMostBytes) {
      full_ = true;
      piece = kCut;
    }
    out_ += piece;
  }

  void putText(std::string_view text, bool quoted) {
    for (std::size_t i = 0; i < text.size() && !full_;) {
      const Utf8Step step = utf8Step(text.substr(i));
      putCharacter(step.character, quoted);
      i += step.length;
    }
  }

  void putValue(const PlistValue& value, int depth);
  void putDictionary(const PlistDictionary& dictionary, int depth);

 private:
  void putCharacter(char32_t c, bool quoted) {
    char buffer[16];
    if (c == '\n') {
      put("\\n");
    } else if (c == '\r') {
      put("\\r");
    } else if (c == '\t') {
      put("\\t");
    } else if (quoted && (c == '"' || c == '\\')) {
      buffer[0] = '\\';
      buffer[1] = static_cast<char>(c);
      put({buffer, 2});
    } else if (isUnsafe(c)) {
      char* end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<std::uint32_t>(c), 16).ptr;
      put("\\u{");
      put({buffer, static_cast<std::size_t>(end - buffer)});
      put("}");
    } else {
      put({buffer, static_cast<std::size_t>(putUtf8(buffer, c) - buffer)});
    }
  }

  void putNested(std::string_view text) {
    if (isPlainWord(text)) return putText(text, false);
    put("\"");
    putText(text, true);
    put("\"");
  }

  template <typename Number>
  void putNumber(Number number) {
    char buffer[32];
    put({buffer,
         static_cast<std::size_t>(std::to_chars(buffer, buffer + sizeof buffer, number).ptr - buffer)});
  }

  void putBytes(ByteView bytes);

  std::string out_;
  bool full_ = false;
};

void Line::putBytes(ByteView bytes) {
  constexpr std::size_t kShown = 16;
  constexpr char kDigits[] = "0123456789abcdef";
  put("{length = ");
  putNumber(bytes.size());
  put(", bytes = 0x");
  for (const std::byte byte : bytes.first(std::min(bytes.size(), kShown))) {
    const char pair[] = {kDigits[std::to_integer<unsigned>(byte) >> 4],
                         kDigits[std::to_integer<unsigned>(byte) & 15U]};
    put({pair, 2});
  }
  put(bytes.size() > kShown ? " ...}" : "}");
}

void Line::putDictionary(const PlistDictionary& dictionary, int depth) {
  put("{");
  for (const PlistDictionary::Entry& entry : dictionary) {
    if (full_) return;
    putNested(entry.key.view());
    put(" = ");
    putValue(entry.value, depth + 1);
    put("; ");
  }
  put("}");
}

void Line::putValue(const PlistValue& value, int depth) {
  if (depth > kMostDepth) return put(kCut);
  switch (value.kind()) {
    case PlistValue::Kind::null:
      return put("<null>");
    case PlistValue::Kind::boolean:
      return put(value.boolean() == true ? "1" : "0");
    case PlistValue::Kind::integer:
      return putNumber(*value.integer());
    case PlistValue::Kind::real:
      return putNumber(*value.real());
    case PlistValue::Kind::string:
      return depth == 0 ? putText(*value.string(), false) : putNested(*value.string());
    case PlistValue::Kind::bytes:
      return putBytes(*value.bytes());
    case PlistValue::Kind::dictionary:
      return putDictionary(*value.dictionary(), depth);
    case PlistValue::Kind::array:
      break;
  }
  put("(");
  bool first = true;
  for (const PlistValue& item : *value.array()) {
    if (full_) return;
    if (!first) put(", ");
    first = false;
    putValue(item, depth + 1);
  }
  put(")");
}

}  // namespace

std::string description(const PlistValue* value) {
  return value == nullptr ? "(null)" : description(*value);
}

std::string description(const PlistValue& value) {
  Line line;
  line.putValue(value, 0);
  return line.take();
}

std::string description(const PlistDictionary& value) {
  Line line;
  line.putDictionary(value, 0);
  return line.take();
}

std::string description(const std::string& text) {
  return description(std::string_view(text));
}

std::string description(const char* text) {
  return description(std::string_view(text));
}

std::string description(std::string_view text) {
  Line line;
  line.putText(text, false);
  return line.take();
}

}  // namespace tunevale
