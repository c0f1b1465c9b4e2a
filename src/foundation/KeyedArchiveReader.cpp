#include "foundation/ArchiveSource.h"
#include "foundation/KeyedArchive.h"

namespace tunevale {

std::optional<PlistValue> unarchiveObjectWithData(ByteView archive) {
  const auto objects = BinaryObjects::open(archive);
  if (!objects) return std::nullopt;
  DecoderMemo memo(*objects);
  ArchiveSource source(*objects, memo);
  const auto root = source.start();
  if (!root) return std::nullopt;
  return GraphDecoder(*objects, memo, source, mostNodesIn(archive.size())).decode(*root);
}

std::optional<PlistValue> unarchiveObjectWithData(const PlistValue* stored) {
  const auto bytes = stored == nullptr ? std::nullopt : stored->bytes();
  return bytes ? unarchiveObjectWithData(*bytes) : std::nullopt;
}

}  // namespace tunevale
