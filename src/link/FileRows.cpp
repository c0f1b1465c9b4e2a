#include "link/FileRows.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "link/FrameWriter.h"
#include "link/LinkLimits.h"

namespace tunevale::link {

Bytes writeFileRow(const FileRow& row) {
  return writePropertyList(PlistDictionary{{"name", row.name},
                                           {"size", asNumber(row.size)},
                                           {"sha256", ByteView(row.hash)},
                                           {"metadata", row.metadata}});
}

FileRow readFileRow(ByteView body) {
  const PlistDictionary values = readBody(body).value_or(PlistDictionary{});
  const PlistValue* name = values.find("name");
  const PlistValue* metadata = values.find("metadata");
  const std::optional<Bytes32> hash = bytes32In(values, "sha256");
  if (name == nullptr || metadata == nullptr || metadata->dictionary() == nullptr || !hash) return {};
  return {std::string(name->string().value_or("")), numberIn(values, "size"), *hash, *metadata->dictionary()};
}

std::variant<FileRow, ErrorCode> copyIntoSpool(const std::string& path, Spool& spool, LinkStore& store) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return ErrorCode::fileAccessDenied;
  if (std::filesystem::file_size(path, error) > kMostFile && !error) return ErrorCode::payloadTooLarge;
  std::ifstream source(path, std::ios::binary);
  if (!source) return ErrorCode::fileAccessDenied;

  FileRow row;
  row.name = newSpoolName();
  const auto fail = [&](ErrorCode code) {
    spool.remove(row.name);
    return code;
  };
  const std::unique_ptr<SpoolFile> copy = spool.create(row.name);
  if (copy == nullptr) return ErrorCode::insufficientSpace;
  Sha256 hash;
  Bytes chunk(kFileChunk);
  while (source) {
    source.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(chunk.size()));
    const ByteView read(chunk.data(), static_cast<std::size_t>(source.gcount()));
    if (copy->size() + read.size() > kMostFile) return fail(ErrorCode::payloadTooLarge);  // it has grown
    hash.add(read);
    if (!copy->append(read)) return fail(ErrorCode::insufficientSpace);
  }
  if (source.bad()) return fail(ErrorCode::fileAccessDenied);
  if (!copy->sync() || !spool.sync()) return fail(ErrorCode::insufficientSpace);
  row.size = copy->size();
  row.hash = hash.finish();
  store.passes(CrashPoint::fileCopied);
  return row;
}

namespace {

std::string partPrefix(const Epoch& epoch) {
  std::string name = "part-";
  for (const std::byte byte : epoch) {
    name += "0123456789abcdef"[std::to_integer<unsigned>(byte >> 4)];
    name += "0123456789abcdef"[std::to_integer<unsigned>(byte & std::byte{0x0F})];
  }
  return name + "-";
}

/// The part that may yet go on; numbers before it may have been cancelled. Null when there is none.
const std::string* latestBegun(const std::vector<std::string>& names, const Cursor& cursor) {
  const std::string* latest = nullptr;
  std::uint64_t next = cursor.nextFile;
  const std::string prefix = cursor.epoch ? partPrefix(*cursor.epoch) : "";
  for (const std::string& name : names) {
    if (prefix.empty() || !name.starts_with(prefix)) continue;
    const std::uint64_t number = std::strtoull(name.c_str() + prefix.size(), nullptr, 10);
    if (number < next) continue;
    latest = &name;
    next = number;
  }
  return latest;
}

}  // namespace

std::string partName(const Epoch& epoch, std::uint64_t number) {
  return partPrefix(epoch) + std::to_string(number);
}

std::optional<std::uint64_t> sweepSpool(Spool& spool, LinkStore& store) {
  std::uint64_t queued = 0;
  std::set<std::string> known;
  for (std::optional<Row> row; (row = store.firstFrom(Queue::files, row ? row->number + 1 : 1));) {
    const FileRow file = readFileRow(row->body);
    known.insert(file.name);
    queued += file.size;
  }
  for (const Received& row : store.received(Queue::files)) known.insert(readFileRow(row.body).name);
  if (store.takeReadFailure()) return std::nullopt;
  const std::vector<std::string> names = spool.names();
  const std::string* begun = latestBegun(names, store.cursor());
  for (const std::string& name : names) {
    if (!known.contains(name) && &name != begun) spool.remove(name);
  }
  return queued;
}

}  // namespace tunevale::link
