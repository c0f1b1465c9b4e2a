#pragma once

#include <memory>
#include <string>

#include "link/KeyHash.h"

namespace tunevale::link {

/// Who this end is: a P-256 key and a certificate that it signed itself. Copies share it. Any thread.
class Identity {
 public:
  /// Reads `folder`/identity.pem, or makes it (mode 0600, synced) where there is none; makes the folder
  /// (mode 0700, parents too) where it is missing. Throws std::runtime_error with a line for the person when
  /// the file is damaged or others may read it: a key is never replaced without being asked, as every pairing
  /// hangs on it.
  static Identity loadOrCreate(const std::string& folder);
  /// One that goes with the process.
  static Identity temporary();

  const KeyHash& keyHash() const;

  /// For the connections of this end.
  struct Keys;
  const Keys& keys() const { return *keys_; }

 private:
  explicit Identity(std::shared_ptr<const Keys> keys) : keys_(std::move(keys)) {}
  std::shared_ptr<const Keys> keys_;
};

}  // namespace tunevale::link
