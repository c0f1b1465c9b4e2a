#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "tagged/TaggedJson.h"

namespace {

constexpr std::string_view kUsage =
    "usage: tunevale-plist [--plain] decode|encode\n"
    "\n"
    "  decode   a keyed archive on standard input becomes tagged JSON on standard output\n"
    "  encode   the reverse\n"
    "  --plain  a property list instead, without an archive's table of objects\n"
    "\n"
    "Exit status: 0 done, 1 cannot read or write, 2 wrong arguments, 3 the input does not decode.\n";

constexpr int kNoInputOutput = 1;
constexpr int kWrongArguments = 2;
constexpr int kNoDecoding = 3;
constexpr std::size_t kMostInput = std::size_t{64} << 20;  // far above any payload of the link

int fail(std::string_view problem, int status) {
  std::fprintf(stderr, "tunevale-plist: %.*s\n", static_cast<int>(problem.size()), problem.data());
  return status;
}

struct Arguments {
  bool plain = false;
  bool decode = false;
  bool encode = false;
};

/// Nothing for arguments that make no sense, and then what is wrong.
std::optional<Arguments> parse(int count, char** texts, std::string& problem) {
  Arguments arguments;
  for (int i = 1; i < count; ++i) {
    const std::string_view text = texts[i];
    if (text == "--plain") {
      arguments.plain = true;
    } else if (text == "decode" && !arguments.encode) {
      arguments.decode = true;
    } else if (text == "encode" && !arguments.decode) {
      arguments.encode = true;
    } else {
      problem = "unexpected argument " + std::string(text);
      return std::nullopt;
    }
  }
  if (arguments.decode || arguments.encode) return arguments;
  problem = "say decode or encode";
  return std::nullopt;
}

/// All of standard input, or nothing when it cannot be read.
std::optional<std::string> readInput() {
  std::string input;
  char block[65536];
  while (const std::size_t size = std::fread(block, 1, sizeof block, stdin)) {
    input.append(block, size);
    if (input.size() > kMostInput) break;
  }
  if (std::ferror(stdin) != 0) return std::nullopt;
  return input;
}

int writeOutput(std::string_view output) {
  const bool written = std::fwrite(output.data(), 1, output.size(), stdout) == output.size();
  if (std::fflush(stdout) != 0 || !written) return fail("cannot write standard output", kNoInputOutput);
  return 0;
}

int decode(tunevale::ByteView input, bool plain) {
  const auto value = plain ? tunevale::readPropertyList(input) : tunevale::unarchiveObjectWithData(input);
  if (!value) {
    return fail(plain ? "the input is no sound binary property list" : "the input is no sound keyed archive",
                kNoDecoding);
  }
  return writeOutput(tunevale::toTaggedJsonText(*value) + "\n");
}

int encode(std::string_view input, bool plain) {
  std::string error;
  const auto value = tunevale::fromTaggedJsonText(input, error);
  if (!value) return fail(error, kNoDecoding);
  return writeOutput(tunevale::asText(plain ? tunevale::writePropertyList(*value)
                                            : tunevale::archivedDataWithRootObject(*value)));
}

}  // namespace

int main(int count, char** texts) {
  if (count == 2 && std::string_view(texts[1]) == "--help") return writeOutput(kUsage);
  if (count == 2 && std::string_view(texts[1]) == "--version") {
    return writeOutput("tunevale-plist " TUNEVALE_VERSION "\n");
  }
  std::string problem;
  const auto arguments = parse(count, texts, problem);
  if (!arguments) return fail(problem + "; see tunevale-plist --help", kWrongArguments);
  const auto input = readInput();
  if (!input) return fail("cannot read standard input", kNoInputOutput);
  if (input->size() > kMostInput) return fail("the input is larger than 64 MiB", kNoDecoding);
  return arguments->decode ? decode(tunevale::asBytes(*input), arguments->plain)
                           : encode(*input, arguments->plain);
}
