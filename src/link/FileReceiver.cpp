#include "link/FileReceiver.h"

#include <filesystem>

#include "link/MemoryStore.h"

namespace tunevale::link {
namespace {

/// Removes a file with the last of those who may still read it.
class Removal {
 public:
  explicit Removal(std::string path) : path_(std::move(path)) {}
  ~Removal() {
    std::error_code ignored;  // it may have been moved away, and a sweep at the next start finds what stays
    std::filesystem::remove(path_, ignored);
  }
  Removal(const Removal&) = delete;
  Removal& operator=(const Removal&) = delete;
  const std::string& path() const { return path_; }

 private:
  const std::string path_;
};

constexpr const char* kUnfinished = ".part";

}  // namespace

bool FileReceiver::fillAcknowledgements(FrameWriter& frames) {
  if (owed_.empty()) return false;
  for (const Owed& owed : owed_) frames.add(owed.type, owed.number, owed.body);
  owed_.clear();
  return true;
}

bool FileReceiver::didReceiveBegin(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return false;
  if (frame.id < cursor.nextFile) {
    owed_.push_back({FrameType::fileDone, frame.id, {}});
    return owed_.size() <= kMostUnreadAnswers;
  }
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* metadata = body ? body->find("metadata") : nullptr;
  if (metadata == nullptr || metadata->dictionary() == nullptr) {
    refuse(frame.id, ErrorCode::unsupportedTypes);
    return owed_.size() <= kMostUnreadAnswers;
  }
  const std::uint64_t size = numberIn(*body, "size");
  if (size > kMostFile || frame.body.size() > kMostMetadata + kBodyKeys) {
    refuse(frame.id, ErrorCode::payloadTooLarge);
    return owed_.size() <= kMostUnreadAnswers;
  }
  if (partial_ == nullptr || partial_->number != frame.id || partial_->size != size) {
    forget();
    partial_ = std::make_unique<Partial>();
    partial_->number = frame.id;
    partial_->size = size;
    partial_->path = newPath();
    partial_->file.open(partial_->path + kUnfinished, std::ios::binary | std::ios::trunc);
  }
  partial_->metadata = *metadata->dictionary();
  if (!partial_->file) {
    refuse(frame.id, ErrorCode::insufficientSpace);
    return true;
  }
  owed_.push_back({FrameType::fileHave, frame.id, PlistDictionary{{"offset", asNumber(partial_->received)}}});
  return completeIfWhole() && owed_.size() <= kMostUnreadAnswers;
}

bool FileReceiver::didReceiveData(const Frame& frame) {
  if (frame.id < store_.cursor().nextFile) return true;  // was refused while this was under way
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* value = body ? body->find("data") : nullptr;
  const std::optional<ByteView> data = value != nullptr ? value->bytes() : std::nullopt;
  if (!data || partial_ == nullptr || partial_->number != frame.id ||
      numberIn(*body, "offset") != partial_->received || data->size() > partial_->size - partial_->received) {
    return false;
  }
  partial_->file.write(asText(*data).data(), static_cast<std::streamsize>(data->size()));
  partial_->received += data->size();
  if (!partial_->file) {
    refuse(frame.id, ErrorCode::insufficientSpace);
    return true;
  }
  return completeIfWhole();
}

void FileReceiver::didReceiveCancel(const Frame& frame) {
  if (partial_ != nullptr && partial_->number == frame.id) forget();
}

void FileReceiver::forget() {
  if (partial_ == nullptr) return;
  const Removal unfinished(partial_->path + kUnfinished);
  partial_.reset();
}

void FileReceiver::refuse(std::uint64_t number, ErrorCode code) {
  forget();
  store_.skip(Queue::files, number);
  owed_.push_back({FrameType::fileError, number, PlistDictionary{{"code", static_cast<int>(code)}}});
}

bool FileReceiver::completeIfWhole() {
  if (partial_->received < partial_->size) return true;
  partial_->file.close();
  std::error_code error;
  std::filesystem::rename(partial_->path + kUnfinished, partial_->path, error);
  if (!partial_->file || error) {
    refuse(partial_->number, ErrorCode::insufficientSpace);
    return true;
  }
  const std::unique_ptr<Partial> whole = std::move(partial_);
  const auto removal = std::make_shared<Removal>(whole->path);
  const PlistDictionary row{{"path", whole->path}, {"metadata", whole->metadata}};
  if (!store_.receive(Queue::files, {whole->number, writePropertyList(row)})) return false;
  owed_.push_back({FrameType::fileDone, whole->number, {}});
  delivery_.deliver(
      0,
      [removal, metadata = whole->metadata](SessionDelegate& delegate) {
        delegate.sessionDidReceiveFile(removal->path(), metadata);
      },
      kMostAttempts,
      [&store = store_, number = whole->number] { store.removeReceived(Queue::files, number); });
  return true;
}

std::string FileReceiver::newPath() {
  Epoch bits = newEpoch(strand_);  // as a UUID of version 4 (RFC 4122)
  bits[6] = (bits[6] & std::byte{0x0F}) | std::byte{0x40};
  bits[8] = (bits[8] & std::byte{0x3F}) | std::byte{0x80};
  std::string path = folder_ + "/";
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) path += '-';
    path += "0123456789abcdef"[std::to_integer<unsigned>(bits[i] >> 4)];
    path += "0123456789abcdef"[std::to_integer<unsigned>(bits[i] & std::byte{0x0F})];
  }
  return path;
}

}  // namespace tunevale::link
