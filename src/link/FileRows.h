#pragma once

#include <memory>
#include <string>
#include <variant>

#include "foundation/PlistDictionary.h"
#include "link/Crypto.h"
#include "link/LinkErrors.h"
#include "link/LinkStore.h"
#include "link/Spool.h"

namespace tunevale::link {

/// A file in the spool, on its way out or received, as its row keeps it.
struct FileRow {
  std::string name;  // in the spool
  std::uint64_t size = 0;
  Bytes32 hash{};
  PlistDictionary metadata;
};
Bytes writeFileRow(const FileRow& row);
/// What makes no sense gives a row with no name.
FileRow readFileRow(ByteView body);

/// Copies a file into the spool, where it survives the power, and takes its hash. Gives errors 7009, 7013 and
/// 7015, and leaves nothing behind then.
std::variant<FileRow, ErrorCode> copyIntoSpool(const std::string& path, Spool& spool, LinkStore& store);

/// The name under which a file that is not whole yet waits for the rest of it.
std::string partName(const Epoch& epoch, std::uint64_t number);

/// Removes what a crash left between spool and store: what no row knows, but for the beginnings of files that
/// may still come. Gives the bytes that wait to be sent; nothing, and removes nothing, when the store cannot
/// be read. Before anything else uses the spool.
std::optional<std::uint64_t> sweepSpool(Spool& spool, LinkStore& store);

}  // namespace tunevale::link
