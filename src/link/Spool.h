#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// A file of the spool, open; closed when it goes. One thread at a time.
class SpoolFile {
 public:
  virtual ~SpoolFile() = default;
  virtual std::uint64_t size() const = 0;
  /// Fills all of `into`, or is false.
  virtual bool read(std::uint64_t offset, std::span<std::byte> into) = 0;
  virtual bool append(ByteView bytes) = 0;
  /// What was appended survives the power.
  virtual bool sync() = 0;
};

/// The folder where copies of files to send, and received files, wait. Names are this end's own. A session
/// has it alone. Any thread.
class Spool {
 public:
  virtual ~Spool() = default;
  /// A new and empty file (mode 0600), in the place of any other; null when there is no way.
  virtual std::unique_ptr<SpoolFile> create(const std::string& name) = 0;
  /// An existing one, to read and to append to; null when there is none. Links are none.
  virtual std::unique_ptr<SpoolFile> open(const std::string& name) = 0;
  virtual bool rename(const std::string& from, const std::string& to) = 0;
  virtual void remove(const std::string& name) = 0;
  /// The names that files have now survive the power.
  virtual bool sync() = 0;
  virtual std::vector<std::string> names() const = 0;
  virtual std::string path(const std::string& name) const = 0;
};

/// The spool in a folder, which is made (mode 0700) where it is missing. Throws std::runtime_error with a
/// reason of one line when it cannot be used.
std::unique_ptr<Spool> folderSpool(const std::string& folder);

/// A name for a new file that says nothing: a UUID of version 4 (RFC 4122).
std::string newSpoolName();

}  // namespace tunevale::link
